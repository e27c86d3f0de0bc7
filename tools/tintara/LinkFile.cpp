// Reads the tables of the library's link file from its bytes.
#include "LinkFile.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "HostSupport.h"

namespace host {

namespace {

constexpr int32_t kMaxSrcDim = 16, kMaxDstDim = 36, kMaxGrid = 65;
constexpr uint64_t kInput8Entries = 256;

// Little-endian reads with a cursor; any read past the end is a Failure.
class Reader {
public:
    Reader(const std::vector<uint8_t>& bytes, const std::string& what) : bytes_(bytes), what_(what) {}
    void Need(uint64_t count) const {
        if (count > bytes_.size() - at_) Fail("it ends early");
    }
    uint32_t U32() {
        Need(4);
        const uint8_t* p = bytes_.data() + at_;
        at_ += 4;
        return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
    }
    std::vector<uint16_t> Words(uint64_t count) {
        Need(count * 2);
        std::vector<uint16_t> words(count);
        const uint8_t* p = bytes_.data() + at_;
        for (uint64_t i = 0; i < count; ++i) words[i] = uint16_t(p[2 * i] | p[2 * i + 1] << 8);
        at_ += count * 2;
        return words;
    }
    void Skip(uint64_t count) {
        Need(count);
        at_ += count;
    }
    uint64_t At() const { return at_; }
    [[noreturn]] void Fail(const std::string& flaw) const {
        throw Failure("cannot read link " + what_ + ": " + flaw);
    }

private:
    const std::vector<uint8_t>& bytes_;
    const std::string& what_;
    uint64_t at_ = 0;
};

// One range vector in its text form: "DIM n", "TYPE t", "BEGIN_DATA", n numbers, "END_DATA".
struct TextVectors {
    const char* p;
    const char* end;
    const Reader& reader;

    std::string Word() {
        while (p < end && (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r')) ++p;
        const char* start = p;
        while (p < end && !(*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r')) ++p;
        return std::string(start, p);
    }
    double Number() {
        const std::string word = Word();
        char* stop = nullptr;
        const double value = std::strtod(word.c_str(), &stop);
        if (word.empty() || *stop != '\0' || !std::isfinite(value)) reader.Fail("a range holds '" + word + "'");
        return value;
    }
    std::vector<double> Vector(int32_t dim, uint32_t& type) {
        if (Word() != "DIM" || Number() != dim) reader.Fail("a range does not have the link's dimension");
        if (Word() != "TYPE") reader.Fail("a range has no colour type");
        type = uint32_t(int64_t(Number()));
        if (Word() != "BEGIN_DATA") reader.Fail("a range has no data");
        std::vector<double> values(size_t(dim), 0.0);
        for (double& value : values) value = Number();
        if (Word() != "END_DATA") reader.Fail("a range does not end where its dimension says");
        return values;
    }
};

}  // namespace

LinkFileKind KindOfLinkFile(const std::vector<uint8_t>& head) {
    if (head.size() >= 4 && std::memcmp(head.data(), "BEGT", 4) == 0) return LinkFileKind::Native;
    if (head.size() >= 40 && std::memcmp(head.data() + 36, "acsp", 4) == 0) return LinkFileKind::IccProfile;
    return LinkFileKind::Unknown;
}

uint64_t NativeLink::NodeCount() const {
    uint64_t count = 1;
    for (int32_t c = 0; c < srcDim; ++c) count *= uint64_t(gridPoints);
    return count;
}

bool NativeLink::IsIdentity(const std::vector<uint16_t>& curves, int32_t c) const {
    const size_t base = size_t(c) * size_t(curveSize);
    for (int32_t i = 0; i < curveSize; ++i)
        if (curves[base + size_t(i)] != uint16_t(int64_t(i) * 65535 / (curveSize - 1))) return false;
    return true;
}

NativeLink ParseNativeLink(const std::vector<uint8_t>& bytes, const std::string& what) {
    Reader in(bytes, what);
    NativeLink link;
    if (bytes.size() < 8 || std::memcmp(bytes.data(), "BEGTBNGL", 8) != 0)
        in.Fail("it is not a link file (no 'BEGT' 'BNGL' at its start)");
    in.Skip(8);
    link.gridPoints = int32_t(in.U32());
    link.srcDim = int32_t(in.U32());
    link.dstDim = int32_t(in.U32());
    if (link.srcDim < 1 || link.srcDim > kMaxSrcDim || link.dstDim < 1 || link.dstDim > kMaxDstDim)
        in.Fail("its channel counts " + std::to_string(link.srcDim) + " -> " + std::to_string(link.dstDim) +
                " are out of range");
    if (link.gridPoints < 2 || link.gridPoints > kMaxGrid)
        in.Fail("its grid of " + std::to_string(link.gridPoints) + " points is out of range");
    link.hasInputCurves = in.U32() != 0;
    link.hasOutputCurves = in.U32() != 0;
    link.curveSize = int32_t(in.U32());
    if (link.curveSize < 2 || link.curveSize > 65536) in.Fail("its input curves have a wrong size");
    const uint64_t srcs = uint64_t(link.srcDim), dsts = uint64_t(link.dstDim), curve = uint64_t(link.curveSize);
    link.inputCurves = in.Words(srcs * curve);
    in.Skip(srcs * kInput8Entries * 2);
    if (in.U32() != uint32_t(link.curveSize)) in.Fail("its output curves differ in size from its input curves");
    link.outputCurves = in.Words(dsts * curve);
    in.Skip(dsts * curve);  // the 8-bit output curves follow from the 16-bit ones
    const uint64_t gridBytes = link.NodeCount() * dsts * 2;
    if (in.U32() != gridBytes) in.Fail("its grid byte count does not match its dimensions");
    link.nodes = in.Words(gridBytes / 2);
    if (in.U32() != 0x4C474E45) in.Fail("its tables do not end with 'ENGL'");

    if (bytes.size() < in.At() + 4 || std::memcmp(bytes.data() + bytes.size() - 4, "EEGT", 4) != 0)
        in.Fail("it does not end with 'EEGT'");
    const char* text = reinterpret_cast<const char*>(bytes.data() + in.At());
    TextVectors ranges{text, reinterpret_cast<const char*>(bytes.data() + bytes.size() - 4), in};
    uint32_t ignored = 0;
    link.srcMin = ranges.Vector(link.srcDim, link.srcType);
    link.srcMax = ranges.Vector(link.srcDim, ignored);
    link.dstMin = ranges.Vector(link.dstDim, link.dstType);
    link.dstMax = ranges.Vector(link.dstDim, ignored);
    if (!ranges.Word().empty()) in.Fail("unexpected text after its ranges");
    return link;
}

}  // namespace host
