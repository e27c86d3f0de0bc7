// Fuzz target: the report of `tintara info` on untrusted bytes, as a profile and as a link file;
// a link file that reads is written as an ICC device link and described again. A Failure is a
// valid outcome.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "HostSupport.h"
#include "IccLinkWriter.h"
#include "LinkFile.h"
#include "ProfileInfo.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The report goes to stdout; the fuzzer's own output is on stderr.
    if (!std::freopen("/dev/null", "w", stdout)) return 1;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::vector<uint8_t> bytes(data, data + size);
    try {
        host::PrintProfileInfo("input", bytes);
    } catch (const host::Failure&) {
    }
    try {
        const host::NativeLink link = host::ParseNativeLink(bytes, "input");
        host::PrintProfileInfo("written", host::MakeIccDeviceLink(link, host::IccLinkInfo{"fuzz", 0, {}}));
    } catch (const host::Failure&) {
    }
    return 0;
}
