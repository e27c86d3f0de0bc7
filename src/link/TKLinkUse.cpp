// Holds a link, or a merge link and its members, for one call.
#include "link/TKLinkUse.h"

#include "link/TKLinkGenericTrafo.h"
#include "link/TKMCMergeLinkGenericTrafo.h"

TKLinkUse::TKLinkUse(TKTrafo* trafo) {
    if (!trafo) return;
    if (auto* link = TKCast<TKLinkGenericTrafo>(trafo, "TKLinkGenericTrafo")) {
        Enter(link->UseGate());
        return;
    }
    auto* merge = TKCast<TKMCMergeLinkGenericTrafo>(trafo, "TKMCMergeLinkGenericTrafo");
    // The members are read only once the merge link itself is held: no refill can run then.
    if (!merge || !Enter(merge->UseGate())) return;
    for (int32_t i = 0; i < merge->GetMemberCount(); ++i)
        if (TKLinkGenericTrafo* member = merge->GetLink(i))
            if (!Enter(member->UseGate())) return;
}

bool TKLinkUse::Enter(TKUseGate& gate) {
    fUses.emplace_back(gate);
    fBusy = !fUses.back();
    return !fBusy;
}
