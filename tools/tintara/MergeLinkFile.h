// The host's file form of a merge link for spot colours. The library saves and loads only plain
// links, and builds a merge link only from device-link profiles on disk; so the file keeps each
// member baked and written as an ICC device link, in chain order, and loading hands them back to
// the library. Layout, little-endian like a link file: "TMRG", format 1, member count, then per
// member its byte count and the profile, and "EMRG" at the end.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Chain.h"

namespace host {

// True when the bytes begin like a merge link file.
bool IsMergeLinkFile(const std::vector<uint8_t>& head);
// The same for the file at `path`; false when it cannot be read.
bool IsMergeLinkFileAt(const std::string& path);

// The file of the merge link of the chain's -m profiles: each member baked on 2^gridBits + 1
// points, or on the grid of its own table when gridBits is 0.
std::vector<uint8_t> MergeLinkFileOf(const ChainOptions& chain, int32_t gridBits);

// The members of a merge link file as ICC device-link profiles; a Failure names `path` and the
// flaw when the file is cut, a count or size is wrong, or a member is no device link.
std::vector<std::vector<uint8_t>> MergeLinkMembers(const std::vector<uint8_t>& bytes, const std::string& path);

// The merge link of a merge link file, ready for the match functions.
Ref LoadMergeLink(const std::string& path);

}  // namespace host
