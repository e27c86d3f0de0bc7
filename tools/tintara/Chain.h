// The trafo a subcommand works with: a chain of ICC profiles with an intent each, or a saved
// device link, given on the command line.
#pragma once

#include <string>
#include <vector>

#include "HostSupport.h"

namespace host {

struct ChainOptions {
    struct Member {
        std::string path;
        int32_t intent;
    };
    std::vector<Member> profiles;
    std::string link;        // a saved link file instead of profiles
    std::vector<std::string> merge;  // device-link profiles of a merge link for spot colours
    uint32_t pcsIn = 0;      // 'Lab ' or 'XYZ ': start in the connection space of the one profile
    uint32_t pcsOut = 0;     // 'Lab ' or 'XYZ ': end in the connection space
    int32_t intent = 0;      // the intent of the next profile
    bool refine = false;     // refine the tables from the connection space by inverse search
    bool bpc = false;        // black point compensation on every profile of the chain

    // Takes the option at the front of `args` if it is a chain option; false otherwise.
    bool Take(Args& args);
    bool Empty() const { return profiles.empty() && link.empty() && merge.empty(); }
    // The last profile of the chain: what the result is in, for embedding. Empty when the chain
    // ends in a device link, which describes no colour space of its own.
    std::string DestinationProfile() const;
};

// Whether this build of the library has the profile functions.
bool HaveProfiles();

// The usage lines of the chain options.
const char* ChainUsage();

// Builds the trafo of the chain, or loads the link; a Failure names the file and the reason.
Ref BuildTrafo(const ChainOptions& chain);

// The merge link of the device-link profiles given with -m: the first maps the process colours,
// each further one overprints its own extra channels on the result; every member table is baked
// with 2^gridBits + 1 points (0: the library's choice). Ready for the match functions.
Ref BuildMergeLink(const ChainOptions& chain, int32_t gridBits);

// The merge link of device-link profiles in chain order, member i baked on 2^gridBits[i] + 1
// points (0: the library's choice).
Ref MergeLinkOfProfiles(const std::vector<std::string>& paths, const std::vector<int32_t>& gridBits);

// The grid bits that hold the A2B0 table of a device-link profile's bytes on its own nodes: the
// smallest 2^bits + 1 at or above its grid points (the largest axis of an 'mAB ' table); the
// host's default grid when the table is of another kind.
int32_t GridBitsOfDeviceLink(const std::vector<uint8_t>& profile);

// Loads a saved link: a link file, a merge link file, or an ICC device-link profile (told apart
// by content), which is baked into a link on the grid of its own table.
Ref LoadLink(const std::string& path);

// A device-link profile baked into a link on 2^gridBits + 1 points, or with 0 on its own table's grid.
Ref BakeDeviceLinkProfile(const std::string& path, int32_t gridBits);

// True when the file is an ICC profile of the device-link class.
bool IsDeviceLinkProfile(const std::string& path);

}  // namespace host
