// The report of `tintara info`: the header, the tag table and a summary of each tag of an ICC
// profile, read straight from the file's bytes with every offset and size checked.
#include <algorithm>
#include <cinttypes>
#include <cstdarg>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "HostSupport.h"
#include "ProfileInfo.h"

namespace host {

namespace {

// Big-endian reads from a byte block that answer 0 past its end; callers check sizes first.
struct Bytes {
    const std::vector<uint8_t>& data;
    bool Has(uint64_t offset, uint64_t size) const { return offset <= data.size() && size <= data.size() - offset; }
    uint32_t U8(uint64_t at) const { return Has(at, 1) ? data[at] : 0; }
    uint32_t U16(uint64_t at) const { return Has(at, 2) ? uint32_t(data[at]) << 8 | data[at + 1] : 0; }
    uint32_t U32(uint64_t at) const {
        return Has(at, 4) ? uint32_t(data[at]) << 24 | uint32_t(data[at + 1]) << 16 | uint32_t(data[at + 2]) << 8 |
                                data[at + 3]
                          : 0;
    }
    double S15(uint64_t at) const { return double(int32_t(U32(at))) / 65536.0; }
    std::string Sig(uint64_t at) const { return U32(at) ? SignatureText(U32(at)) : "none"; }
};

const char* ClassName(const std::string& sig) {
    if (sig == "scnr") return "input";
    if (sig == "mntr") return "display";
    if (sig == "prtr") return "output";
    if (sig == "link") return "device link";
    if (sig == "spac") return "colour space";
    if (sig == "abst") return "abstract";
    if (sig == "nmcl") return "named colour";
    return "unknown class";
}

const char* IntentName(uint32_t intent) {
    static const char* const kNames[] = {"perceptual", "relative colorimetric", "saturation", "absolute colorimetric"};
    return intent < 4 ? kNames[intent] : "unknown";
}

// Printable text from bytes, stopping at a terminator; other bytes as '?'.
std::string Printable(const Bytes& b, uint64_t at, uint64_t count, bool utf16) {
    std::string text;
    const uint64_t step = utf16 ? 2 : 1;
    for (uint64_t i = 0; i + step <= count && text.size() < 200; i += step) {
        const uint32_t c = utf16 ? b.U16(at + i) : b.U8(at + i);
        if (c == 0) break;
        text += (c >= 32 && c < 127) ? char(c) : (c == '\n' || c == '\r' || c == '\t') ? ' ' : '?';
    }
    return text;
}

std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string Format(const char* format, ...) {
    char text[256];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    return text;
}

// The profiles of a 'pseq' tag by their model descriptions (version 2 'desc' or version 4 'mluc').
std::string SequenceSummary(const Bytes& b, uint64_t at, uint64_t size) {
    const uint64_t count = b.U32(at + 8);
    std::string text = Format("%" PRIu64 " profile%s", count, count == 1 ? "" : "s");
    uint64_t p = at + 12;
    const uint64_t end = at + size;
    // Each description is a whole tag body: 'desc' with its three parts, or 'mluc' with its records.
    auto descriptionSize = [&](uint64_t d) -> uint64_t {
        if (d + 12 > end) return 0;
        if (b.Sig(d) == "desc") {
            const uint64_t ascii = b.U32(d + 8), unicodeAt = d + 12 + ascii;
            if (unicodeAt + 8 > end) return 0;
            const uint64_t total = 12 + ascii + 8 + 2 * uint64_t(b.U32(unicodeAt + 4)) + 3 + 67;
            return d + total <= end ? total : 0;
        }
        if (b.Sig(d) == "mluc") {
            const uint64_t records = b.U32(d + 8), recordSize = b.U32(d + 12);
            uint64_t total = 16 + records * recordSize;
            for (uint64_t r = 0; r < records && recordSize >= 12; ++r)
                total = std::max<uint64_t>(total, uint64_t(b.U32(d + 16 + r * recordSize + 4)) + b.U32(d + 20 + r * recordSize + 4));
            return d + total <= end ? total : 0;
        }
        return 0;
    };
    for (uint64_t i = 0; i < count; ++i) {
        const uint64_t maker = p + 20, makerSize = descriptionSize(maker);
        if (!makerSize) return text + " (entries run past the tag)";
        const uint64_t model = maker + makerSize, modelSize = descriptionSize(model);
        if (!modelSize) return text + " (entries run past the tag)";
        const std::string name = b.Sig(model) == "desc" ? Printable(b, model + 12, b.U32(model + 8), false)
                                                        : Printable(b, model + b.U32(model + 24), b.U32(model + 20), true);
        text += (i ? "; " : ": ") + (name.empty() ? std::string("(no description)") : name);
        p = model + modelSize;
    }
    return text;
}

// One line on a tag's content by its type; an empty text when the body is too short.
std::string Summary(const Bytes& b, uint64_t at, uint64_t size) {
    const std::string type = b.Sig(at);
    auto need = [&](uint64_t bytes) { return size >= bytes; };
    if (type == "desc" && need(12)) {
        const uint64_t count = b.U32(at + 8);
        return "\"" + Printable(b, at + 12, std::min<uint64_t>(count, size - 12), false) + "\"";
    }
    if (type == "text" && need(8)) return "\"" + Printable(b, at + 8, size - 8, false) + "\"";
    if (type == "mluc" && need(16)) {
        const uint64_t records = b.U32(at + 8), recordSize = b.U32(at + 12);
        if (records == 0 || recordSize < 12 || !need(16 + recordSize)) return Format("%" PRIu64 " records", records);
        const uint64_t length = b.U32(at + 20), offset = b.U32(at + 24);
        if (offset > size || length > size - offset) return "first record out of bounds";
        return Format("%" PRIu64 " record%s, %s-%s: ", records, records == 1 ? "" : "s", b.Sig(at + 16).substr(0, 2).c_str(),
                      b.Sig(at + 16).substr(2, 2).c_str()) +
               "\"" + Printable(b, at + offset, length, true) + "\"";
    }
    if (type == "XYZ " && need(20)) {
        std::string text;
        for (uint64_t i = 0; i + 12 <= size - 8 && text.size() < 120; i += 12)
            text += Format("%sX %.4f Y %.4f Z %.4f", text.empty() ? "" : "; ", b.S15(at + 8 + i), b.S15(at + 12 + i),
                           b.S15(at + 16 + i));
        return text;
    }
    if (type == "curv" && need(12)) {
        const uint64_t count = b.U32(at + 8);
        if (count == 0) return "identity";
        if (count == 1) return Format("gamma %.4f", b.U16(at + 12) / 256.0);
        return Format("table of %" PRIu64 " entries%s", count, need(12 + 2 * count) ? "" : " (truncated)");
    }
    if (type == "para" && need(16)) return Format("function type %u, gamma %.4f", b.U16(at + 8), b.S15(at + 12));
    if ((type == "mft1" || type == "mft2") && need(52)) {
        const uint32_t in = b.U8(at + 8), out = b.U8(at + 9), grid = b.U8(at + 10);
        std::string text = Format("%u in, %u out, %u grid points", in, out, grid);
        if (type == "mft2" && need(52)) text += Format(", curves of %u and %u entries", b.U16(at + 48), b.U16(at + 50));
        return text;
    }
    if ((type == "mAB " || type == "mBA ") && need(32)) {
        std::string parts;
        const char* names[] = {"B curves", "matrix", "M curves", "CLUT", "A curves"};
        for (int i = 0; i < 5; ++i)
            if (b.U32(at + 12 + 4 * i)) parts += std::string(parts.empty() ? "" : ", ") + names[i];
        std::string text = Format("%u in, %u out", b.U8(at + 8), b.U8(at + 9));
        const uint32_t clut = b.U32(at + 24);
        if (clut && clut <= size - 16) {
            std::string grid;
            for (uint32_t i = 0; i < b.U8(at + 8) && i < 16; ++i) grid += Format("%s%u", i ? "x" : "", b.U8(at + clut + i));
            text += ", grid " + grid;
        }
        return text + (parts.empty() ? "" : " (" + parts + ")");
    }
    if (type == "pseq" && need(12)) return SequenceSummary(b, at, size);
    if (type == "sig " && need(12)) return "'" + b.Sig(at + 8) + "'";
    if (type == "dtim" && need(20))
        return Format("%04u-%02u-%02u %02u:%02u:%02u", b.U16(at + 8), b.U16(at + 10), b.U16(at + 12), b.U16(at + 14),
                      b.U16(at + 16), b.U16(at + 18));
    if (type == "sf32") return Format("%" PRIu64 " numbers", (size - 8) / 4);
    if (type == "clrt" && need(12)) {
        const uint64_t count = b.U32(at + 8);
        std::string text = Format("%" PRIu64 " colorants", count);
        for (uint64_t i = 0; i < count && i < 8 && need(12 + (i + 1) * 38); ++i)
            text += (i ? ", " : ": ") + Printable(b, at + 12 + i * 38, 32, false);
        return text;
    }
    if (type == "ncl2" && need(84))
        return Format("%u named colours, %u device channels", b.U32(at + 12), b.U32(at + 16));
    if (type == "view" && need(36))
        return Format("illuminant X %.2f Y %.2f Z %.2f, surround X %.2f Y %.2f Z %.2f", b.S15(at + 8), b.S15(at + 12),
                      b.S15(at + 16), b.S15(at + 20), b.S15(at + 24), b.S15(at + 28));
    if (type == "meas" && need(36))
        return Format("observer %u, backing X %.2f Y %.2f Z %.2f, geometry %u, flare %.3f, illuminant %u", b.U32(at + 8),
                      b.S15(at + 12), b.S15(at + 16), b.S15(at + 20), b.U32(at + 24), b.S15(at + 28) , b.U32(at + 32));
    if (type == "chrm" && need(12)) return Format("%u channels, phosphor/colorant type %u", b.U16(at + 8), b.U16(at + 10));
    return Format("%" PRIu64 " bytes of data", size >= 8 ? size - 8 : 0);
}

}  // namespace

TagPlace FindTag(const std::vector<uint8_t>& data, uint32_t signature) {
    const Bytes b{data};
    if (data.size() < 132) return {};
    const uint64_t count = b.U32(128);
    for (uint64_t i = 0; i < count && b.Has(132 + i * 12, 12); ++i) {
        const uint64_t entry = 132 + i * 12;
        if (b.U32(entry) != signature) continue;
        const uint64_t offset = b.U32(entry + 4), size = b.U32(entry + 8);
        if (size < 8 || !b.Has(offset, size)) return {};
        return {offset, size};
    }
    return {};
}

std::string ProfileTagText(const std::vector<uint8_t>& data, uint32_t signature) {
    const Bytes b{data};
    const TagPlace tag = FindTag(data, signature);
    if (!tag.size) return "";
    const std::string type = b.Sig(tag.offset);
    if (type == "desc" && tag.size >= 12)
        return Printable(b, tag.offset + 12, std::min<uint64_t>(b.U32(tag.offset + 8), tag.size - 12), false);
    if (type == "text") return Printable(b, tag.offset + 8, tag.size - 8, false);
    if (type == "mluc" && tag.size >= 28) {
        const uint64_t length = b.U32(tag.offset + 20), offset = b.U32(tag.offset + 24);
        if (offset <= tag.size && length <= tag.size - offset) return Printable(b, tag.offset + offset, length, true);
    }
    return "";
}

int PrintProfileInfo(const std::string& path, const std::vector<uint8_t>& data) {
    const Bytes b{data};
    if (data.size() < 132) throw Failure("cannot read " + path + ": " + std::to_string(data.size()) + " bytes are too few for an ICC profile");
    if (b.Sig(36) != "acsp") throw Failure("cannot read " + path + ": not an ICC profile (no 'acsp' signature)");
    const uint64_t declared = b.U32(0);
    const uint32_t version = b.U32(8);
    std::printf("%s\n", path.c_str());
    std::printf("  size             %" PRIu64 " bytes%s\n", declared,
                declared == data.size() ? "" : Format(" (the file holds %zu)", data.size()).c_str());
    std::printf("  CMM              '%s'\n", b.Sig(4).c_str());
    std::printf("  version          %u.%u.%u\n", version >> 24, (version >> 20) & 0xF, (version >> 16) & 0xF);
    std::printf("  class            '%s' (%s)\n", b.Sig(12).c_str(), ClassName(b.Sig(12)));
    std::printf("  colour space     '%s'\n", b.Sig(16).c_str());
    std::printf("  connection space '%s'\n", b.Sig(20).c_str());
    std::printf("  created          %04u-%02u-%02u %02u:%02u:%02u\n", b.U16(24), b.U16(26), b.U16(28), b.U16(30),
                b.U16(32), b.U16(34));
    std::printf("  platform         '%s'\n", b.Sig(40).c_str());
    std::printf("  flags            0x%08X\n", b.U32(44));
    std::printf("  device           manufacturer '%s', model '%s', attributes 0x%08X%08X\n", b.Sig(48).c_str(),
                b.Sig(52).c_str(), b.U32(56), b.U32(60));
    std::printf("  intent           %u (%s)\n", b.U32(64), IntentName(b.U32(64)));
    std::printf("  illuminant       X %.4f Y %.4f Z %.4f\n", b.S15(68), b.S15(72), b.S15(76));
    std::printf("  creator          '%s'\n", b.Sig(80).c_str());
    std::string id;
    for (int i = 0; i < 16; ++i) id += Format("%02x", b.U8(84 + i));
    std::printf("  profile ID       %s\n", id == std::string(32, '0') ? "none" : id.c_str());

    const uint64_t count = b.U32(128);
    const uint64_t limit = std::min<uint64_t>(declared, data.size());
    if (132 + count * 12 > limit) throw Failure("cannot read " + path + ": its tag table of " + std::to_string(count) + " entries runs past the end");
    std::printf("\n  %" PRIu64 " tags:\n  %-6s %-6s %8s %8s  %-8s %s\n", count, "tag", "type", "offset", "size", "status",
                "summary");
    int bad = 0;
    for (uint64_t i = 0; i < count; ++i) {
        const uint64_t entry = 132 + i * 12;
        const uint64_t offset = b.U32(entry + 4), size = b.U32(entry + 8);
        std::string status = "ok", type = "-", summary;
        if (offset + size > limit || size < 8 || offset < 132 + count * 12) {
            status = "invalid";
            summary = offset + size > limit ? "runs past the end of the profile" : size < 8 ? "too short for a type" : "overlaps the header or tag table";
        } else {
            type = b.Sig(offset);
            if (offset % 4 != 0) status = "unaligned";
            summary = Summary(b, offset, size);
        }
        if (status == "invalid") ++bad;
        std::printf("  %-6s %-6s %8" PRIu64 " %8" PRIu64 "  %-8s %s\n", ("'" + b.Sig(entry) + "'").c_str(),
                    type.c_str(), offset, size, status.c_str(), summary.c_str());
    }
    if (bad) std::printf("\n  %d tag%s invalid\n", bad, bad == 1 ? " is" : "s are");
    return bad;
}

}  // namespace host
