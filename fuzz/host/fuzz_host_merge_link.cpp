// Fuzz target: the host's merge link files on untrusted bytes, and a single ICC device link (the
// members' form) when the bytes are no merge link file. The members go to the library as device
// links on small grids, as `tintara apply -l` hands them over, and a few pixels are matched
// through the merge link. A Failure is a valid outcome; a crash, an overrun or a leak is not.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "Chain.h"
#include "MemoryFile.h"
#include "MergeLinkFile.h"
#include "tintara.h"

namespace {

// Enough files for the most members a merge link file may have.
constexpr size_t kMaxMembers = 32;

void MatchSome(TKTrafoRef link) {
    const int32_t srcDim = TKGetTrafoSrcDim(link), dstDim = TKGetTrafoDstDim(link);
    if (srcDim < 1 || srcDim > 16 || dstDim < 1 || dstDim > 36) return;
    constexpr int32_t kCount = 16;
    std::vector<uint16_t> in(size_t(kCount) * size_t(srcDim)), out(size_t(kCount) * size_t(dstDim));
    for (size_t i = 0; i < in.size(); ++i) in[i] = uint16_t(i * 7919u);
    TKLink16Match(link, kCount, in.data(), out.data(), 0, 0, nullptr, nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static fuzz::MemoryFile files[kMaxMembers];
    const std::vector<uint8_t> bytes(data, data + size);
    try {
        const std::vector<std::vector<uint8_t>> members =
            host::IsMergeLinkFile(bytes) ? host::MergeLinkMembers(bytes, "input") : std::vector<std::vector<uint8_t>>{bytes};
        if (members.size() > kMaxMembers) __builtin_trap();  // the reader's own cap was passed
        std::vector<std::string> paths;
        std::vector<int32_t> grids;
        for (size_t i = 0; i < members.size(); ++i) {
            paths.push_back(files[i].Hold(members[i].data(), members[i].size()));
            // The member's own grid, capped so that an input stays quick to bake.
            grids.push_back(std::min(host::GridBitsOfDeviceLink(members[i]), 1));
        }
        const host::Ref link = host::MergeLinkOfProfiles(paths, grids);
        MatchSome(link.get());
    } catch (const host::Failure&) {
    }
    return 0;
}
