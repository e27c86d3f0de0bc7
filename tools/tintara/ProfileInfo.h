// The report of `tintara info` on the bytes of a profile file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace host {

// Prints the header, the tag table and a line on each tag to stdout; throws a Failure naming
// `path` when the bytes are no ICC profile or its tag table runs past their end.
void PrintProfileInfo(const std::string& path, const std::vector<uint8_t>& data);

}  // namespace host
