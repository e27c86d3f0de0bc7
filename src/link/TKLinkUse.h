// TKLinkUse: a host call's hold on a link for the length of the call. Matching, evaluating,
// asking and saving use a link; baking, loading and filling a merge link's members rebuild it.
// The two never overlap and neither waits: a call that finds the other kind running is told so
// and leaves the object alone, so the pixels themselves pass without a lock.
#pragma once

#include <deque>

#include "foundation/TKUseGate.h"

class TKTrafo;

class TKLinkUse {
public:
    // Holds `trafo` when it is a link: a plain link by its own gate, a merge link by its gate and
    // then by each member's, since a member may be a host's link that the host can re-bake.
    // Other trafos (and null) are not held and never busy.
    explicit TKLinkUse(TKTrafo* trafo);
    TKLinkUse(const TKLinkUse&) = delete;
    TKLinkUse& operator=(const TKLinkUse&) = delete;

    // True when the link or one of its members is being rebuilt: nothing of it may be touched.
    bool Busy() const { return fBusy; }

private:
    bool Enter(TKUseGate& gate);

    std::deque<TKUseGate::Use> fUses;  // a deque, as a use can be neither copied nor moved
    bool fBusy = false;
};
