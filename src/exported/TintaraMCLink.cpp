// The multi-colour link family of exports: merge links of device links for jobs with spot
// colours, from trafos or from device-link profiles.
#include "exported/TintaraMCLink.h"

#include <vector>

#include "exported/TKExport.h"
#include "foundation/TKHandle.h"
#include "icc/TKICCTrafoBuilder.h"
#include "io/TKFileSpec.h"
#include "link/TKLinkGridChoice.h"
#include "link/TKMCMergeLinkGenericTrafo.h"

namespace {

// Below -7 no quality exists, above kTKMaxGridBits no grid fits a link.
constexpr int32_t kMinGridBits = -7;

TKMCMergeLinkGenericTrafo* HeldMergeLink(TKLinkRef ref) {
    return RefObjectAs<TKMCMergeLinkGenericTrafo>(ref, "TKMCMergeLinkGenericTrafo");
}

// The handles a profile list is turned into, freed when the call ends however it ends.
class HandleList {
public:
    HandleList() = default;
    HandleList(const HandleList&) = delete;
    HandleList& operator=(const HandleList&) = delete;
    ~HandleList() {
        for (TKTrafoRef ref : fRefs) FreeRef(ref);
    }
    void Adopt(TKRefPtr<TKTrafo> trafo) {
        fRefs.reserve(fRefs.size() + 1);  // so that the push below cannot throw with the handle made
        TKTrafoRef ref = NewRef(trafo.Get(), false);
        if (!ref) TKThrow(MemFullErr);
        fRefs.push_back(ref);
    }
    int32_t Count() const { return int32_t(fRefs.size()); }
    TKTrafoRef* Data() { return fRefs.data(); }

private:
    std::vector<TKTrafoRef> fRefs;
};

void FillMergeLink(TKMCMergeLinkGenericTrafo& merge, int32_t count, TKTrafoRef* trafoRefs, const int32_t* gridBits) {
    merge.ClearMembers();
    merge.SetState(TKMCMergeLinkGenericTrafo::kBuilding);
    try {
        for (int32_t i = 0; i < count; ++i) {
            TKTrafoRef ref = trafoRefs[i];
            if (!ref) continue;
            if (auto* link = RefObjectAs<TKLinkGenericTrafo>(ref, "TKLinkGenericTrafo")) {
                // A host's link is read as a member only while no other call rebuilds it.
                const TKUseGate::Use use(link->UseGate());
                if (!use) TKThrowMsg(ThreadError, "a member link is being rebuilt by another call");
                merge.AddMember(link, false);
                continue;
            }
            auto* trafo = RefObjectAs<TKTrafo>(ref, "TKTrafo");
            if (!trafo) {
                if (RefObject(ref, nullptr)) TKThrowMsg(ArgErr, "merge member is not a trafo");
                continue;
            }
            TKRefPtr<TKLinkGenericTrafo> link = TKMakeRef<TKLinkGenericTrafo>();
            link->CalcFromTrafo(trafo, GridFromBits(gridBits ? gridBits[i] : 0), 0, nullptr);
            merge.AddMember(link.Get(), false);
        }
        merge.SetState(merge.GetMemberCount() > 0 ? TKMCMergeLinkGenericTrafo::kReady
                                                  : TKMCMergeLinkGenericTrafo::kEmpty);
    } catch (...) {
        merge.ClearMembers();
        throw;
    }
}

}  // namespace

int32_t TKTrafos2MCLink(TKLinkRef link, int32_t count, TKTrafoRef* trafoRefs, const int32_t* gridBits) {
    TKMCMergeLinkGenericTrafo* merge = HeldMergeLink(link);
    if (!merge || !trafoRefs || count < 0) return TK_ARG_ERROR();
    if (gridBits)
        for (int32_t i = 0; i < count; ++i)
            if (trafoRefs[i] && (gridBits[i] > kTKMaxGridBits || gridBits[i] < kMinGridBits)) return TK_ARG_ERROR();
    const TKUseGate::Rebuild rebuild(merge->UseGate());
    return TKGuardCode([&] {
        if (!rebuild) TKThrowMsg(ThreadError, "the merge link is being used or filled by another call");
        FillMergeLink(*merge, count, trafoRefs, gridBits);
        return int32_t(NoErr);
    });
}

extern "C" {

TKLinkRef TKNewTKMCLink16Ref(void) {
    return TKGuardRef([]() -> TKLinkRef {
        TKMCMergeLinkGenericTrafo* link = new TKMCMergeLinkGenericTrafo;
        // A host's spot planes are mostly empty over long runs: the links it gets pass them over.
        link->SetSkipEmptyChannels(true);
        TKLinkRef ref = NewRef(link, true);
        if (!ref) link->Release();
        return ref;
    });
}

TKLinkRef TKNewTKMCLink8Ref(void) { return TKNewTKMCLink16Ref(); }

int32_t TKDLProfiles2MCLink16(TKLinkRef link, int32_t count, TKFileSpec** specs, const int32_t* gridBits) {
    if (!link || !specs || count < 0) return TK_ARG_ERROR();
    return TKGuardCode([&] {
        // Every profile is read before the merge link is touched: a damaged one leaves it as it was.
        HandleList members;
        for (int32_t i = 0; i < count; ++i) {
            if (!specs[i]) continue;
            auto profile = TKMakeRef<TKICCProfile>();
            profile->ReadFile(*specs[i], 2);
            TKICCTrafoBuilder builder(profile.Get());
            members.Adopt(builder.GetA2BTrafo(0, TKICCTrafoBuilder::kOwnGrid, nullptr));
        }
        // gridBits follows the collected handles, not the places in `specs`.
        return TKTrafos2MCLink(link, members.Count(), members.Data(), gridBits);
    });
}

int32_t TKDLProfiles2MCLink8(TKLinkRef link, int32_t count, TKFileSpec** specs, const int32_t* gridBits) {
    return TKDLProfiles2MCLink16(link, count, specs, gridBits);
}

}  // extern "C"
