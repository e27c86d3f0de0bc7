// The two file forms a device link travels in: the library's own link file (little-endian
// tables between "BEGT" and "EEGT") and an ICC device-link profile. The host reads the tables of
// the first to describe a link and to write the second; the library itself saves and loads only
// its own form.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace host {

enum class LinkFileKind { Native, IccProfile, Unknown };

// What the first bytes of a file say it is: "BEGT" starts a link file, "acsp" at byte 36 an ICC
// profile (of any class: the caller checks for 'link').
LinkFileKind KindOfLinkFile(const std::vector<uint8_t>& head);

// The tables of a link file, every size checked against the bytes before use.
struct NativeLink {
    int32_t gridPoints = 0, srcDim = 0, dstDim = 0;
    bool hasInputCurves = false, hasOutputCurves = false;
    int32_t curveSize = 0;  // entries of each input and output curve
    std::vector<uint16_t> inputCurves, outputCurves, nodes;
    uint32_t srcType = 0, dstType = 0;
    std::vector<double> srcMin, srcMax, dstMin, dstMax;

    // The 16-bit value of output channel `o` at grid node `node` after the output curve.
    uint16_t Node(size_t node, int32_t o) const { return nodes[node * size_t(dstDim) + size_t(o)]; }
    uint64_t NodeCount() const;
    // True when curve `c` of `curves` maps every entry to its own position (i * 65535 / (n-1)).
    bool IsIdentity(const std::vector<uint16_t>& curves, int32_t c) const;
};

// Parses a link file; throws a Failure naming `what` and the flaw (wrong magic, a size that
// does not match the dimensions, a short file, unreadable ranges).
NativeLink ParseNativeLink(const std::vector<uint8_t>& bytes, const std::string& what);

}  // namespace host
