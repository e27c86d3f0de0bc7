// The pure-colour options of link and apply: exception rules that keep black, paper, one-ink
// and two-ink colours pure inside the link, their settings text, and an ink limit.
#pragma once

#include <cstdint>
#include <string>

#include "HostSupport.h"

namespace host {

struct PureOptions {
    int32_t mode = 0;
    bool exceptions = false;  // --exceptions or --exception-settings given
    double tolerance = 1.0;   // percent of each channel's range
    std::string settings;
    std::string inkLimit;     // "TAC[,limit per channel...]"

    // Takes the option at the front of `args` if it is a pure-colour option; false otherwise.
    bool Take(Args& args);
    bool Any() const { return exceptions || !inkLimit.empty(); }
    // The trafo with the exceptions around it and the ink limit behind it.
    Ref Apply(Ref trafo) const;
    // What the link was built with, for the report line; empty without options.
    std::string Describe() const;
};

// The mode bits of a text of names and numbers joined by '+', '|' or ','; a UsageError names a
// word that is neither.
int32_t ParseExceptionMode(const std::string& text);

// The usage lines of the options.
const char* PureUsage();

}  // namespace host
