// tintara info: the header, the tag table and a summary of each tag of an ICC profile.
#include <string>
#include <vector>

#include "Commands.h"
#include "ProfileInfo.h"

namespace host {

namespace {

const char* const kUsage =
    "usage: tintara info PROFILE.icc\n"
    "Shows the profile's header, its tag table (signature, type, offset, size, validity) and a\n"
    "summary of each tag.\n";

}  // namespace

int RunInfo(Args& args) {
    std::string path;
    while (!args.Done()) {
        if (WantsHelp(args, kUsage)) return 0;
        const std::string word = args.Take();
        if (IsOption(word) || !path.empty()) throw UsageError("unexpected argument " + word);
        path = word;
    }
    if (path.empty()) throw UsageError("no profile given");
    const std::vector<uint8_t> data = ReadFileBytes(path);
    PrintProfileInfo(path, data);
    return 0;
}

}  // namespace host
