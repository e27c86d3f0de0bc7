// Writes a baked link as an ICC version 2.4 device-link profile.
#include "IccLinkWriter.h"

#include <algorithm>
#include <ctime>

#include "HostSupport.h"
#include "ProfileInfo.h"

namespace host {

namespace {

// An 'mft2' table stores its channel counts in bytes and ICC colour spaces end at 15 channels.
constexpr int32_t kMaxIccChannels = 15;

// Big-endian output, tags padded to four bytes as the format asks.
class Writer {
public:
    std::vector<uint8_t> bytes;
    void U8(uint32_t v) { bytes.push_back(uint8_t(v)); }
    void U16(uint32_t v) {
        U8(v >> 8);
        U8(v);
    }
    void U32(uint32_t v) {
        U16(v >> 16);
        U16(v & 0xFFFF);
    }
    void Sig(const char* text) { U32(SignatureFrom(text)); }
    void Zeros(size_t count) { bytes.insert(bytes.end(), count, 0); }
    void Pad() { Zeros((4 - bytes.size() % 4) % 4); }
    void Put(uint32_t at, uint32_t v) {
        for (int i = 0; i < 4; ++i) bytes[at + size_t(i)] = uint8_t(v >> (24 - 8 * i));
    }
};

// textDescriptionType: the ASCII text with empty Unicode and ScriptCode parts.
void WriteDescription(Writer& w, const std::string& text) {
    std::string ascii;
    for (char c : text) ascii += (c >= 32 && c < 127) ? c : '?';
    w.Sig("desc");
    w.U32(0);
    w.U32(uint32_t(ascii.size() + 1));
    w.bytes.insert(w.bytes.end(), ascii.begin(), ascii.end());
    w.U8(0);
    w.U32(0);  // Unicode language
    w.U32(0);  // Unicode count
    w.U16(0);  // ScriptCode code
    w.U8(0);   // ScriptCode count
    w.Zeros(67);
}

void WriteText(Writer& w, const std::string& text) {
    w.Sig("text");
    w.U32(0);
    w.bytes.insert(w.bytes.end(), text.begin(), text.end());
    w.U8(0);
}

void WriteSequence(Writer& w, const std::vector<SequenceMember>& sequence) {
    w.Sig("pseq");
    w.U32(0);
    w.U32(uint32_t(sequence.size()));
    for (const SequenceMember& member : sequence) {
        w.U32(member.manufacturer);
        w.U32(member.model);
        w.U32(uint32_t(member.attributes >> 32));
        w.U32(uint32_t(member.attributes));
        w.U32(member.technology);
        WriteDescription(w, member.manufacturerText);
        WriteDescription(w, member.modelText);
    }
}

// A curve of `size` entries, or a straight line of two entries for a link without curves.
// ICC gray is a device value with 0 for black, the engine's gray an ink with 0 for white: a
// gray input curve is read backwards, a gray output curve turned upside down.
void WriteCurve(Writer& w, const NativeLink& link, const std::vector<uint16_t>& curves, bool present, int32_t c,
                bool reverse, bool invert) {
    const int32_t size = present ? link.curveSize : 2;
    for (int32_t k = 0; k < size; ++k) {
        const int32_t i = reverse ? size - 1 - k : k;
        uint32_t value = present ? curves[size_t(c) * size_t(link.curveSize) + size_t(i)] : (i == 0 ? 0u : 0xFFFFu);
        w.U16(invert ? 0xFFFF - value : value);
    }
}

void WriteTable(Writer& w, const NativeLink& link, bool graySource, bool grayDestination) {
    w.Sig("mft2");
    w.U32(0);
    w.U8(uint32_t(link.srcDim));
    w.U8(uint32_t(link.dstDim));
    w.U8(uint32_t(link.gridPoints));
    w.U8(0);
    for (int i = 0; i < 9; ++i) w.U32(i % 4 == 0 ? 0x10000 : 0);  // identity matrix
    w.U16(link.hasInputCurves ? uint32_t(link.curveSize) : 2);
    w.U16(link.hasOutputCurves ? uint32_t(link.curveSize) : 2);
    for (int32_t c = 0; c < link.srcDim; ++c)
        WriteCurve(w, link, link.inputCurves, link.hasInputCurves, c, graySource, false);
    // Both the link and the table store nodes first channel slowest.
    for (uint16_t value : link.nodes) w.U16(value);
    for (int32_t o = 0; o < link.dstDim; ++o)
        WriteCurve(w, link, link.outputCurves, link.hasOutputCurves, o, false, grayDestination);
}

// The ICC colour space of one end: the link's device type where ICC knows it, else the
// channel-count space "nCLR".
uint32_t IccSpace(uint32_t type, int32_t channels, const char* end) {
    for (const char* known : {"GRAY", "RGB ", "CMY ", "CMYK"})
        if (type == SignatureFrom(known)) return type;
    // ICC has no one-channel "1CLR": a single channel is gray.
    const uint32_t counted =
        channels == 1 ? SignatureFrom("GRAY") : SignatureFrom(std::string(1, "0123456789ABCDEF"[channels]) + "CLR");
    if (type == 0 || type == counted || (channels == 1 && type == SignatureFrom("1CLR"))) return counted;
    throw Failure(std::string("the link's ") + end + " is '" + SignatureText(type) +
                  "', not a device space an ICC device link can carry");
}

void CheckRanges(const std::vector<double>& min, const std::vector<double>& max, const char* end) {
    for (size_t c = 0; c < min.size(); ++c)
        if (min[c] != 0.0 || !(max[c] > 0.0))
            throw Failure(std::string("the link's ") + end + " range of channel " + std::to_string(c) +
                          " does not start at 0; an ICC device link cannot carry it");
}

}  // namespace

SequenceMember SequenceMemberOf(const std::vector<uint8_t>& profile) {
    SequenceMember member;
    if (profile.size() < 132) return member;
    auto u32 = [&](size_t at) {
        return uint32_t(profile[at]) << 24 | uint32_t(profile[at + 1]) << 16 | uint32_t(profile[at + 2]) << 8 |
               profile[at + 3];
    };
    member.manufacturer = u32(48);
    member.model = u32(52);
    member.attributes = uint64_t(u32(56)) << 32 | u32(60);
    const TagPlace tech = FindTag(profile, SignatureFrom("tech"));
    if (tech.size >= 12) member.technology = u32(size_t(tech.offset) + 8);
    member.manufacturerText = ProfileTagText(profile, SignatureFrom("dmnd"));
    member.modelText = ProfileTagText(profile, SignatureFrom("dmdd"));
    if (member.modelText.empty()) member.modelText = ProfileTagText(profile, SignatureFrom("desc"));
    return member;
}

std::vector<uint8_t> MakeIccDeviceLink(const NativeLink& link, const IccLinkInfo& info) {
    if (link.srcDim > kMaxIccChannels || link.dstDim > kMaxIccChannels)
        throw Failure("an ICC device link holds at most 15 channels a side; this link has " +
                      std::to_string(link.srcDim) + " -> " + std::to_string(link.dstDim));
    const uint32_t srcSpace = IccSpace(link.srcType, link.srcDim, "source");
    const uint32_t dstSpace = IccSpace(link.dstType, link.dstDim, "destination");
    CheckRanges(link.srcMin, link.srcMax, "source");
    CheckRanges(link.dstMin, link.dstMax, "destination");

    Writer w;
    w.Zeros(128);
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    Writer header;
    header.U32(0);  // size, set at the end
    header.U32(0);  // preferred CMM: none
    header.U32(0x02400000);
    header.Sig("link");
    header.U32(srcSpace);
    header.U32(dstSpace);
    for (int v : {utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec})
        header.U16(uint32_t(v));
    header.Sig("acsp");
    header.Zeros(4 + 4 + 4 + 4 + 8);  // platform, flags, manufacturer, model, attributes
    header.U32(info.intent);
    for (uint32_t v : {0x0000F6D6u, 0x00010000u, 0x0000D32Du}) header.U32(v);  // D50
    header.Sig("tnta");
    std::copy(header.bytes.begin(), header.bytes.end(), w.bytes.begin());

    struct Entry {
        const char* signature;
        uint32_t offset = 0, size = 0;
    };
    std::vector<Entry> tags = {{"desc"}, {"cprt"}, {"pseq"}, {"A2B0"}};
    w.U32(uint32_t(tags.size()));
    const size_t table = w.bytes.size();
    w.Zeros(tags.size() * 12);
    for (Entry& tag : tags) {
        w.Pad();
        tag.offset = uint32_t(w.bytes.size());
        const std::string name = tag.signature;
        if (name == "desc") WriteDescription(w, info.description);
        else if (name == "cprt") WriteText(w, "No copyright, use freely");
        else if (name == "pseq") WriteSequence(w, info.sequence);
        else WriteTable(w, link, srcSpace == SignatureFrom("GRAY"), dstSpace == SignatureFrom("GRAY"));
        tag.size = uint32_t(w.bytes.size() - tag.offset);
    }
    w.Pad();
    for (size_t i = 0; i < tags.size(); ++i) {
        w.Put(uint32_t(table + i * 12), SignatureFrom(tags[i].signature));
        w.Put(uint32_t(table + i * 12 + 4), tags[i].offset);
        w.Put(uint32_t(table + i * 12 + 8), tags[i].size);
    }
    w.Put(0, uint32_t(w.bytes.size()));
    return w.bytes;
}

}  // namespace host
