// tintara info: the header, the tag table and a summary of each tag of an ICC profile, or the
// tables of a saved link file.
#include <cinttypes>
#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "LinkFile.h"
#include "MergeLinkFile.h"
#include "ProfileInfo.h"

namespace host {

namespace {

const char* const kUsage =
    "usage: tintara info FILE\n"
    "Describes an ICC profile (device links included): its header, its tag table (signature, type,\n"
    "offset, size, validity) and a summary of each tag; a saved link file: its channels, grid,\n"
    "curves and ranges; or a merge link file: its members. Exits with 1 when the profile has\n"
    "invalid tags or the link file is damaged.\n";

std::string Channels(uint32_t type, int32_t count) {
    return "'" + SignatureText(type) + "' (" + std::to_string(count) + ")";
}

// "identity" when every curve of a side is the straight line, else how many are shaped.
std::string CurveText(const NativeLink& link, const std::vector<uint16_t>& curves, bool present, int32_t count) {
    if (!present) return "none";
    int32_t shaped = 0;
    for (int32_t c = 0; c < count; ++c) shaped += link.IsIdentity(curves, c) ? 0 : 1;
    if (shaped == 0) return std::to_string(link.curveSize) + " entries each, all straight";
    return std::to_string(link.curveSize) + " entries each, " + std::to_string(shaped) + " of " +
           std::to_string(count) + " shaped";
}

std::string RangeText(const std::vector<double>& min, const std::vector<double>& max) {
    std::string text;
    char part[64];
    for (size_t c = 0; c < min.size(); ++c) {
        std::snprintf(part, sizeof part, "%s%g..%g", c ? ", " : "", min[c], max[c]);
        text += part;
    }
    return text;
}

void PrintLinkInfo(const std::string& path, const std::vector<uint8_t>& bytes) {
    const NativeLink link = ParseNativeLink(bytes, path);
    std::printf("%s\n", path.c_str());
    std::printf("  form             link file, %zu bytes\n", bytes.size());
    std::printf("  channels         %s -> %s\n", Channels(link.srcType, link.srcDim).c_str(),
                Channels(link.dstType, link.dstDim).c_str());
    std::printf("  grid             %d^%d = %" PRIu64 " nodes, %" PRIu64 " bytes\n", link.gridPoints, link.srcDim,
                link.NodeCount(), link.NodeCount() * uint64_t(link.dstDim) * 2);
    std::printf("  input curves     %s\n",
                CurveText(link, link.inputCurves, link.hasInputCurves, link.srcDim).c_str());
    std::printf("  output curves    %s\n",
                CurveText(link, link.outputCurves, link.hasOutputCurves, link.dstDim).c_str());
    std::printf("  source range     %s\n", RangeText(link.srcMin, link.srcMax).c_str());
    std::printf("  result range     %s\n", RangeText(link.dstMin, link.dstMax).c_str());
    std::printf("  settings         not recorded in a link file ('tintara link -o NAME.icc' keeps\n"
                "                   the chain, intents, grid and options in the profile's description)\n");
}

void PrintMergeLinkInfo(const std::string& path, const std::vector<uint8_t>& bytes) {
    const auto members = MergeLinkMembers(bytes, path);
    std::printf("%s\n  form             merge link file, %zu bytes, %zu members in chain order\n", path.c_str(),
                bytes.size(), members.size());
    for (size_t i = 0; i < members.size(); ++i) {
        const auto& m = members[i];
        const TagPlace table = FindTag(m, SignatureFrom("A2B0"));
        const unsigned grid = table.size > 10 ? m[size_t(table.offset) + 10] : 0;
        const uint32_t from = uint32_t(m[16]) << 24 | uint32_t(m[17]) << 16 | uint32_t(m[18]) << 8 | m[19];
        const uint32_t to = uint32_t(m[20]) << 24 | uint32_t(m[21]) << 16 | uint32_t(m[22]) << 8 | m[23];
        std::printf("  member %-2zu       '%s' -> '%s', grid %u, \"%s\"\n", i + 1, SignatureText(from).c_str(),
                    SignatureText(to).c_str(), grid, ProfileTagText(m, SignatureFrom("desc")).c_str());
    }
}

}  // namespace

int RunInfo(Args& args) {
    std::string path;
    while (!args.Done()) {
        if (WantsHelp(args, kUsage)) return 0;
        const std::string word = args.Take();
        if (IsOption(word) || !path.empty()) throw UsageError("unexpected argument " + word);
        path = word;
    }
    if (path.empty()) throw UsageError("no profile or link given");
    const std::vector<uint8_t> data = ReadFileBytes(path);
    if (IsMergeLinkFile(data)) {
        PrintMergeLinkInfo(path, data);
        return 0;
    }
    if (KindOfLinkFile(data) == LinkFileKind::Native) {
        PrintLinkInfo(path, data);
        return 0;
    }
    return PrintProfileInfo(path, data) > 0 ? 1 : 0;
}

}  // namespace host
