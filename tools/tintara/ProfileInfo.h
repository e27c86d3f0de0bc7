// The report of `tintara info` on the bytes of a profile file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace host {

// Prints the header, the tag table and a line on each tag to stdout and returns the number of
// invalid tags; throws a Failure naming `path` when the bytes are no ICC profile or its tag
// table runs past their end.
int PrintProfileInfo(const std::string& path, const std::vector<uint8_t>& data);

// Where the tag `signature` lies in a profile's bytes: its offset and size, both 0 when the tag
// is missing or its entry points outside the bytes.
struct TagPlace {
    uint64_t offset = 0, size = 0;
};
TagPlace FindTag(const std::vector<uint8_t>& data, uint32_t signature);

// The text of a 'desc', 'text' or 'mluc' tag (its first record), empty when there is none.
std::string ProfileTagText(const std::vector<uint8_t>& data, uint32_t signature);

}  // namespace host
