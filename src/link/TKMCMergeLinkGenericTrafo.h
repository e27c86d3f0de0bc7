// TKMCMergeLinkGenericTrafo: a merge chain whose members are device links, so every pixel passes
// one baked table per member through the ordinary link kernels.
#pragma once

#include <vector>

#include "link/TKLinkGenericTrafo.h"
#include "link/TKMCMergeTrafoBase.h"

class TKMCMergeLinkGenericTrafo : public TKMCMergeTrafoBase {
    TK_DECLARE_CLASS(TKMCMergeLinkGenericTrafo, TKMCMergeTrafoBase)
public:
    enum State : int32_t { kEmpty = 0, kBuilding = 1, kReady = 2 };

    TKMCMergeLinkGenericTrafo() = default;
    TKMCMergeLinkGenericTrafo(const TKMCMergeLinkGenericTrafo& other);
    ~TKMCMergeLinkGenericTrafo() override;

    // IndexError outside the array.
    int32_t GetMemberCount() const override;
    TKTrafo* GetMember(int32_t index) const override;
    TKLinkGenericTrafo* GetLink(int32_t index) const;

    // Ends the count of every member and empties the chain (state kEmpty).
    void ClearMembers();
    // Appends a link after CheckMember; owned: the chain takes the caller's count, else adds its
    // own. PtrInvalid for null; InvalidTrafo for a link of other channels or one that would take
    // the chain past kMaxChannels source channels or members.
    void AddMember(TKLinkGenericTrafo* link, bool owned);

    State GetState() const { return fState; }
    void SetState(State state) { fState = state; }
    // The gate of the calls of a host: matching uses the merge link, filling its members anew
    // rebuilds it, and the two never overlap.
    TKUseGate& UseGate() const { return fUseGate; }
    // Ready, with at least one member, and every member's tables in place: what the match
    // functions ask before they hand pixels over.
    bool CanMatch() const;

    // 8-bit pixels pass the chain with 16-bit samples between the members and are rounded to 8
    // bits once at the end, so a chain of any length stays within one code of its 16-bit result.
    void TrafoPixels8(int32_t count, const uint8_t* const* src, uint8_t* const* dst, const int32_t* srcStrides,
                      const int32_t* dstStrides, TKProgress* progress) const override;

private:
    std::vector<TKRefPtr<TKLinkGenericTrafo>> fMembers;
    State fState = kEmpty;
    mutable TKUseGate fUseGate;
};
