// Writes a baked link as an ICC device-link profile (version 2.4, class 'link', one 'mft2'
// table in A2B0 and the profile sequence in 'pseq'), so that other colour engines can apply it.
// The table carries the link's own curves and nodes, so a peer's result differs from the link's
// only by the way it interpolates between nodes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "LinkFile.h"

namespace host {

// One profile of the sequence the link was made from, as the 'pseq' tag records it.
struct SequenceMember {
    uint32_t manufacturer = 0, model = 0, technology = 0;
    uint64_t attributes = 0;
    std::string manufacturerText, modelText;
};

struct IccLinkInfo {
    std::string description;  // what the link is and how it was made
    uint32_t intent = 0;      // rendering intent of the header
    std::vector<SequenceMember> sequence;
};

// The sequence entry of a profile file's bytes: its header's device fields, its 'tech' tag and
// its manufacturer and model descriptions (or its own description as the model).
SequenceMember SequenceMemberOf(const std::vector<uint8_t>& profile);

// The bytes of the device-link profile. Throws a Failure when the link cannot be carried: more
// than 15 channels a side, an end that is no device space, or ranges that do not start at 0.
std::vector<uint8_t> MakeIccDeviceLink(const NativeLink& link, const IccLinkInfo& info);

}  // namespace host
