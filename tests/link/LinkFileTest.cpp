// The link file: byte layout, round trips through memory and files, a checked-in file that must
// keep loading and matching the same, and every kind of corruption and truncation.
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

#include "color/TKColors.h"
#include "io/TKBuffer.h"
#include "io/TKFile.h"
#include "io/TKFileSpec.h"
#include "link/TKLinkFileFormat.h"
#include "link/TKLinkGenericTrafo.h"
#include "support/TestSupport.h"

namespace {

// A link with a known, irregular transformation: hashed nodes, curved input and output.
class HashLinkTrafo : public TKLinkGenericTrafo {
public:
    void EvalInput16(const uint16_t* in, uint16_t* out) override {
        for (int32_t c = 0; c < fSrcDim; ++c) out[c] = uint16_t(uint32_t(in[c]) * in[c] / 65535u);
    }
    void EvalNode(const uint16_t* position, uint16_t* out) override {
        uint32_t h = 2166136261u;
        for (int32_t c = 0; c < fSrcDim; ++c) h = (h ^ position[c]) * 16777619u;
        for (int32_t o = 0; o < fDstDim; ++o) out[o] = uint16_t((h = h * 1103515245u + 12345u) >> 12);
    }
    void EvalOutput16(const uint16_t* in, uint16_t* out) override {
        for (int32_t o = 0; o < fDstDim; ++o) out[o] = uint16_t(65535u - in[o]);
    }
};

TKRefPtr<HashLinkTrafo> MakeLink(int32_t srcDim, int32_t dstDim, int32_t grid, int32_t lazy = 0) {
    TKRefPtr<HashLinkTrafo> link = TKMakeRef<HashLinkTrafo>();
    link->Init(srcDim, dstDim, grid, lazy);
    link->SetRanges(int32_t(GetColorType(srcDim)), int32_t(GetColorType(dstDim)));
    link->Finish(true, true, nullptr);
    return link;
}

std::vector<uint8_t> Save(TKLinkGenericTrafo& link) {
    TKBuffer buffer;
    link.SaveStream(buffer);
    return buffer.ToDataPtr();
}

void Load(TKLinkGenericTrafo& link, const std::vector<uint8_t>& bytes) {
    TKBuffer buffer(bytes.data(), uint32_t(bytes.size()));
    link.LoadStream(buffer);
}

// 16- and 8-bit results of a fixed set of pixels, one after the other.
std::vector<uint32_t> MatchSome(TKLinkGeneric& link) {
    const int32_t n = link.GetSrcDim(), outs = link.GetDstDim(), count = 400;
    std::mt19937 rng(3);
    std::vector<uint16_t> in16(size_t(count) * n), out16(size_t(count) * outs);
    std::vector<uint8_t> in8(size_t(count) * n), out8(size_t(count) * outs);
    for (size_t i = 0; i < in16.size(); ++i) in8[i] = uint8_t(in16[i] = uint16_t(rng()));
    std::vector<const uint16_t*> s16;
    std::vector<const uint8_t*> s8;
    std::vector<uint16_t*> d16;
    std::vector<uint8_t*> d8;
    std::vector<int32_t> ss16(size_t(n), n * 2), ss8(size_t(n), n), ds16(size_t(outs), outs * 2), ds8(size_t(outs), outs);
    for (int32_t c = 0; c < n; ++c) s16.push_back(&in16[c]), s8.push_back(&in8[c]);
    for (int32_t o = 0; o < outs; ++o) d16.push_back(&out16[o]), d8.push_back(&out8[o]);
    link.Match16(count, s16.data(), d16.data(), ss16.data(), ds16.data(), nullptr);
    link.Match8(count, s8.data(), d8.data(), ss8.data(), ds8.data(), nullptr);
    std::vector<uint32_t> all(out16.begin(), out16.end());
    all.insert(all.end(), out8.begin(), out8.end());
    return all;
}

void PutU32(std::vector<uint8_t>& bytes, size_t at, uint32_t v) {
    for (int32_t i = 0; i < 4; ++i) bytes[at + i] = uint8_t(v >> (8 * i));
}

uint32_t GetU32(const std::vector<uint8_t>& bytes, size_t at) {
    uint32_t v = 0;
    for (int32_t i = 0; i < 4; ++i) v |= uint32_t(bytes[at + i]) << (8 * i);
    return v;
}

// Offsets in a file of a link with these dimensions.
struct Offsets {
    size_t grid = 4, srcDim = 8, dstDim = 12, hasIn = 16, inCurveSize = 24, outCurveSize, nodeBytes, innerEnd;
    Offsets(int32_t srcDim, int32_t dstDim, int32_t grid) {
        outCurveSize = 28 + size_t(srcDim) * (4096 * 2 + 256 * 2);
        nodeBytes = outCurveSize + 4 + size_t(dstDim) * (4096 * 2 + 4096);
        innerEnd = nodeBytes + 4 + TKLinkFileLayout::For(grid, srcDim, dstDim).nodeBytes;
    }
};

void ExpectLoadFails(const std::vector<uint8_t>& bytes, int32_t code, const char* what) {
    TKRefPtr<TKLinkGenericTrafo> link = TKMakeRef<TKLinkGenericTrafo>();
    try {
        Load(*link, bytes);
        ADD_FAILURE() << what << ": loaded";
    } catch (const TKError& e) {
        EXPECT_EQ(e.code(), code) << what;
    }
    EXPECT_EQ(link->GetSrcDim(), 0) << what << ": a failed load leaves an empty link";
}

TEST(LinkFile, LayoutOfTheRecords) {
    auto link = MakeLink(3, 4, 17);
    const std::vector<uint8_t> bytes = Save(*link);
    const Offsets at(3, 4, 17);
    EXPECT_EQ(std::memcmp(bytes.data(), "BEGT", 4), 0);
    EXPECT_EQ(std::memcmp(bytes.data() + 4, "BNGL", 4), 0);
    EXPECT_EQ(GetU32(bytes, 4 + at.grid), 17u);
    EXPECT_EQ(GetU32(bytes, 4 + at.srcDim), 3u);
    EXPECT_EQ(GetU32(bytes, 4 + at.dstDim), 4u);
    EXPECT_EQ(GetU32(bytes, 4 + at.hasIn), 1u);
    EXPECT_EQ(GetU32(bytes, 4 + at.inCurveSize), 4096u);
    EXPECT_EQ(GetU32(bytes, 4 + at.outCurveSize), 4096u);
    EXPECT_EQ(GetU32(bytes, 4 + at.nodeBytes), 39304u);  // 17^3 nodes of 4 words
    EXPECT_EQ(std::memcmp(bytes.data() + 4 + at.innerEnd, "ENGL", 4), 0);
    // Input-curve word 100, little-endian, and the last node word before "ENGL".
    EXPECT_EQ(bytes[4 + 28 + 200] | bytes[4 + 28 + 201] << 8, link->InputCurves()[100]);
    const uint16_t lastNode = link->Nodes()[size_t(link->NodeCount()) * 4 - 1];
    EXPECT_EQ(bytes[4 + at.innerEnd - 2] | bytes[4 + at.innerEnd - 1] << 8, lastNode);
    // Then the four ranges as text, and the end magic.
    const std::string text(bytes.begin() + long(4 + at.innerEnd + 4), bytes.end() - 4);
    EXPECT_EQ(text.rfind("DIM  3\nTYPE ", 0), 0u) << text;
    EXPECT_NE(text.find("END_DATA"), std::string::npos);
    EXPECT_EQ(std::memcmp(bytes.data() + bytes.size() - 4, "EEGT", 4), 0);
}

TEST(LinkFile, RoundTripReproducesTablesAndMatching) {
    for (const auto& d : {std::vector<int32_t>{3, 4, 17}, {4, 4, 9}, {1, 2, 13}, {5, 3, 6}, {3, 9, 2}}) {
        auto link = MakeLink(d[0], d[1], d[2]);
        const std::vector<uint8_t> bytes = Save(*link);
        TKRefPtr<TKLinkGenericTrafo> back = TKMakeRef<TKLinkGenericTrafo>();
        Load(*back, bytes);
        ASSERT_EQ(back->GetSrcDim(), d[0]);
        ASSERT_EQ(back->GetDstDim(), d[1]);
        EXPECT_EQ(back->GridPoints(), d[2]);
        EXPECT_TRUE(back->IsComplete());
        EXPECT_TRUE(back->HasInputCurves() && back->HasOutputCurves());
        EXPECT_EQ(std::memcmp(back->Nodes(), link->Nodes(), size_t(link->NodeCount()) * d[1] * 2), 0);
        EXPECT_EQ(std::memcmp(back->Input8(), link->Input8(), size_t(d[0]) * 256 * 2), 0);
        EXPECT_EQ(std::memcmp(back->Output8(), link->Output8(), size_t(d[1]) * 4096), 0);
        EXPECT_EQ(MatchSome(*back), MatchSome(*link));
        EXPECT_EQ(back->GetSrcType(), link->GetSrcType());
        EXPECT_EQ(back->GetDstMax().GetType(), link->GetDstMax().GetType());
        // Written again, the bytes are the same.
        EXPECT_EQ(Save(*back), bytes);
    }
}

TEST(LinkFile, RangesSurviveToSixDecimals) {
    auto link = MakeLink(3, 3, 5);
    TKVector min(3, int32_t(GetColorType(3))), max(3, int32_t(GetColorType(3)));
    for (int32_t i = 0; i < 3; ++i) min[i] = -0.1234567 * (i + 1), max[i] = 1.0 + 0.3333333 * i;
    link->SetSrcRange(min, max);
    TKRefPtr<TKLinkGenericTrafo> back = TKMakeRef<TKLinkGenericTrafo>();
    Load(*back, Save(*link));
    for (int32_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(back->GetSrcMin()[i], min[i], 5e-7);
        EXPECT_NEAR(back->GetSrcMax()[i], max[i], 5e-7);
    }
}

TEST(LinkFile, SavingALazyLinkCompletesIt) {
    auto lazy = MakeLink(4, 3, 5, 1);
    auto full = MakeLink(4, 3, 5, 0);
    EXPECT_FALSE(lazy->IsComplete());
    EXPECT_EQ(Save(*lazy), Save(*full));
    EXPECT_TRUE(lazy->IsComplete());
}

TEST(LinkFile, SaveAndLoadThroughAFile) {
    auto link = MakeLink(3, 4, 9);
    TKFileSpec spec(TKString((::testing::TempDir() + "LinkFileTest.lnk").c_str()));
    link->Save(&spec);
    TKRefPtr<TKLinkGenericTrafo> back = TKMakeRef<TKLinkGenericTrafo>();
    back->Load(&spec);
    EXPECT_EQ(MatchSome(*back), MatchSome(*link));
    std::remove((::testing::TempDir() + "LinkFileTest.lnk").c_str());
    EXPECT_TKERROR(back->Load(nullptr), ArgErr);
    EXPECT_TKERROR(back->Save(nullptr), ArgErr);
    TKFileSpec missing(TKString((::testing::TempDir() + "no/such/dir/x.lnk").c_str()));
    try {
        back->Load(&missing);
        ADD_FAILURE() << "loaded a missing file";
    } catch (const TKError&) {
    }
}

// Results of the first pixel of MatchSome, 16 and 8 bits, noted when the file below was made.
constexpr uint32_t kFixture16[4] = {36473, 24982, 62031, 34072};
constexpr uint32_t kFixture8[4] = {146, 184, 140, 103};

// tests/data/link/hash-3to4-g5.lnk was written once by this HashLinkTrafo (3 to 4 channels,
// 5 points): it must keep loading, equal the link baked now, and give the results noted when it
// was made.
TEST(LinkFile, CheckedInFileLoadsAndMatchesTheSame) {
    TKFileSpec spec(TKString(TestDataPath("link/hash-3to4-g5.lnk").c_str()));
    if (std::getenv("TINTARA_WRITE_LINK_FIXTURE")) MakeLink(3, 4, 5)->Save(&spec);
    TKRefPtr<TKLinkGenericTrafo> stored = TKMakeRef<TKLinkGenericTrafo>();
    stored->Load(&spec);
    auto baked = MakeLink(3, 4, 5);
    const std::vector<uint32_t> results = MatchSome(*stored);
    EXPECT_EQ(results, MatchSome(*baked));
    // The first pixel's 16-bit and 8-bit results when the file was made.
    const uint32_t first16[4] = {kFixture16[0], kFixture16[1], kFixture16[2], kFixture16[3]};
    for (int32_t o = 0; o < 4; ++o) EXPECT_EQ(results[o], first16[o]) << o;
    for (int32_t o = 0; o < 4; ++o) EXPECT_EQ(results[400 * 4 + o], kFixture8[o]) << o;
}

TEST(LinkFile, WrongMagicsAndSizesAreFormatErrors) {
    const std::vector<uint8_t> good = Save(*MakeLink(3, 4, 5));
    const Offsets at(3, 4, 5);
    auto with = [&](size_t offset, uint32_t value) {
        std::vector<uint8_t> bytes = good;
        PutU32(bytes, offset, value);
        return bytes;
    };
    ExpectLoadFails(with(0, 0x54474543), FormatErr, "outer magic");
    ExpectLoadFails(with(4, 0x4C474E43), FormatErr, "BEGT then a wrong inner magic");
    ExpectLoadFails(with(4 + at.inCurveSize, 4095), FormatErr, "input curve size");
    ExpectLoadFails(with(4 + at.outCurveSize, 256), FormatErr, "output curve size");
    ExpectLoadFails(with(4 + at.nodeBytes, 1000 - 2), FormatErr, "grid byte count");
    ExpectLoadFails(with(4 + at.innerEnd, 0), FormatErr, "inner end magic");
    ExpectLoadFails(with(good.size() - 4, 0x54474544), FormatErr, "outer end magic");
    ExpectLoadFails(with(4 + at.srcDim, 17), ArgErr, "17 input channels");
    ExpectLoadFails(with(4 + at.srcDim, 0), ArgErr, "no input channel");
    ExpectLoadFails(with(4 + at.dstDim, 37), ArgErr, "37 output channels");
    ExpectLoadFails(with(4 + at.dstDim, 0xFFFFFFFF), ArgErr, "negative output channels");
    ExpectLoadFails(with(4 + at.grid, 66), ArgErr, "66 grid points");
    ExpectLoadFails(with(4 + at.grid, 1), ArgErr, "1 grid point");
    // 65^16 nodes: refused from the header, before any allocation.
    ExpectLoadFails(with(4 + at.srcDim, 16), FormatErr, "a grid beyond any table");
    // 33^4 nodes of 36 words (85 MB) with the bytes of a 5^3 grid: short, refused before Init.
    std::vector<uint8_t> big = with(4 + at.grid, 33);
    PutU32(big, 4 + at.srcDim, 4);
    PutU32(big, 4 + at.dstDim, 36);
    ExpectLoadFails(big, EOFReached, "a large grid in a short stream");
    // A range of another dimension.
    std::vector<uint8_t> ranges = good;
    const size_t dim = 4 + at.innerEnd + 4;
    ASSERT_EQ(std::memcmp(&ranges[dim], "DIM  3", 6), 0);
    ranges[dim + 5] = '2';
    ExpectLoadFails(ranges, FormatErr, "a range of another dimension");
}

TEST(LinkFile, EveryTruncationFailsCleanly) {
    const std::vector<uint8_t> good = Save(*MakeLink(2, 3, 3));
    for (size_t length = 0; length < good.size(); length += (length < 64 || length + 600 > good.size()) ? 1 : 97) {
        std::vector<uint8_t> bytes(good.begin(), good.begin() + long(length));
        TKRefPtr<TKLinkGenericTrafo> link = TKMakeRef<TKLinkGenericTrafo>();
        try {
            Load(*link, bytes);
            ADD_FAILURE() << "loaded " << length << " of " << good.size() << " bytes";
        } catch (const TKError& e) {
            EXPECT_TRUE(e.code() == EOFReached || e.code() == FormatErr) << length << ": " << e.code();
        }
    }
}

}  // namespace

namespace {

// A stream that reads forward and cannot tell its length or seek, as a pipe or a socket.
class PipeStream : public TKStreamImplemented {
public:
    explicit PipeStream(std::vector<uint8_t> bytes) : fBytes(std::move(bytes)) {}
    void Read(void* destination, size_t count, size_t* bytesRead) override {
        const size_t take = std::min(count, fBytes.size() - fPosition);
        if (destination) std::memcpy(destination, fBytes.data() + fPosition, take);
        fPosition += take;
        if (bytesRead) *bytesRead = take;
    }

private:
    std::vector<uint8_t> fBytes;
    size_t fPosition = 0;
};

long PeakKilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

}  // namespace

TEST(LinkFile, PipeLoadsTheSameAsABuffer) {
    auto link = MakeLink(3, 4, 9);
    TKRefPtr<TKLinkGenericTrafo> back = TKMakeRef<TKLinkGenericTrafo>();
    PipeStream pipe(Save(*link));
    back->LoadStream(pipe);
    EXPECT_EQ(MatchSome(*back), MatchSome(*link));
}

TEST(LinkFile, PipeClaimingAGigabyteCostsOnlyWhatArrives) {
    // The header of a 65-point, 4 to 30 channel link (a gigabyte of nodes), then 1 MB of zeros.
    std::vector<uint8_t> bytes(8 + 16 + (1 << 20), 0);
    PutU32(bytes, 0, TKLinkFileLayout::kOuterBegin);
    PutU32(bytes, 4, TKLinkFileLayout::kInnerBegin);
    PutU32(bytes, 8, 65);
    PutU32(bytes, 12, 4);
    PutU32(bytes, 16, 30);
    ASSERT_GT(TKLinkFileLayout::For(65, 4, 30).nodeBytes, uint64_t(1) << 29);
    const long before = PeakKilobytes();
    TKRefPtr<TKLinkGenericTrafo> link = TKMakeRef<TKLinkGenericTrafo>();
    PipeStream pipe(std::move(bytes));
    EXPECT_TKERROR(link->LoadStream(pipe), EOFReached);
    EXPECT_LT(PeakKilobytes() - before, 64 * 1024) << "kilobytes of peak memory grown";
}
