// The link family of exports: create links from trafos, save and load them through files and
// memory, and match interleaved or planar pixels with a host's progress callback.
#include <climits>
#include <cstring>

#include "exported/TKExport.h"
#include "exported/TintaraMCLink.h"
#include "foundation/TKHandle.h"
#include "foundation/TKProgress.h"
#include "io/TKBuffer.h"
#include "io/TKFileSpec.h"
#include "link/TKLinkGenericTrafo.h"
#include "link/TKLinkGridChoice.h"
#include "link/TKLinkUse.h"
#include "link/TKMCMergeLinkGenericTrafo.h"
#include "tintara.h"

namespace {

TKLinkGenericTrafo* HeldLink(TKLinkRef ref) { return RefObjectAs<TKLinkGenericTrafo>(ref, "TKLinkGenericTrafo"); }

// A link is ready for pixels once its tables exist: computed or loaded. A lazy link is ready too;
// its nodes come on first use.
bool CanMatch(const TKLinkGenericTrafo& link) { return link.GetSrcDim() >= 1 && link.Nodes() != nullptr; }

// A call that found the link in the other kind of call: matching or saving during a bake or a
// load, or the other way round. Recorded as an error like any other failure.
int32_t LinkBusy() {
    return TKGuardCode([]() -> int32_t {
        TKThrowMsg(ThreadError, "the link is being used or rebuilt by another call");
    });
}

// One match call's hold on a link, or on a merge link and its members: the call counts as a use,
// so that no bake, load or refill overlaps it.
struct MatchHold : TKLinkUse {
    explicit MatchHold(TKLinkRef ref) : TKLinkUse(RefObjectAs<TKTrafo>(ref, "TKTrafo")) {}
};

// The trafo the match functions push pixels through: a ready link, or a ready merge link of links.
const TKTrafo* MatchableLink(TKLinkRef ref) {
    if (const TKLinkGenericTrafo* link = HeldLink(ref)) return CanMatch(*link) ? link : nullptr;
    const auto* merge = RefObjectAs<TKMCMergeLinkGenericTrafo>(ref, "TKMCMergeLinkGenericTrafo");
    return merge && merge->CanMatch() ? merge : nullptr;
}

// Sample distances must give byte strides that fit the kernels' 32-bit pointer steps.
bool StrideFits(int64_t samples, int32_t sampleBytes) {
    return samples * sampleBytes <= INT32_MAX && samples * sampleBytes >= INT32_MIN;
}

// The interleaved match of both depths: one row of `count` pixels through the raster walk.
template <class Sample>
int32_t MatchInterleaved(TKLinkRef ref, int32_t count, const void* src, void* dst, int32_t srcSkip, int32_t dstSkip,
                         TKProgressProc callback, void* userData) {
    TKCallBackProgress progress(callback, userData);
    MatchHold hold(ref);
    if (hold.Busy()) return LinkBusy();
    const TKTrafo* link = MatchableLink(ref);
    if (!link) return ArgErr;
    if (count < 0 || srcSkip < 0 || dstSkip < 0 || ((!src || !dst) && count > 0) ||
        !StrideFits(int64_t(link->GetSrcDim()) + srcSkip, sizeof(Sample)) ||
        !StrideFits(int64_t(link->GetDstDim(link->GetSrcDim())) + dstSkip, sizeof(Sample)))
        return TK_ARG_ERROR();
    if (count == 0) return int32_t(NoErr);
    return TKGuardCode([&] {
        if constexpr (sizeof(Sample) == 1)
            link->TrafoRaster8(count, 1, static_cast<const uint8_t*>(src), static_cast<uint8_t*>(dst), srcSkip,
                               dstSkip, &progress);
        else
            link->TrafoRaster16(count, 1, static_cast<const uint16_t*>(src), static_cast<uint16_t*>(dst), srcSkip,
                                dstSkip, &progress);
        return int32_t(NoErr);
    });
}

// The planar match: one plane per channel, every plane with the same sample step.
template <class Sample>
int32_t MatchPlanes(TKLinkRef ref, int32_t count, const void** srcPlanes, void** dstPlanes, int32_t srcStep,
                    int32_t dstStep, TKProgressProc callback, void* userData) {
    TKCallBackProgress progress(callback, userData);
    MatchHold hold(ref);
    if (hold.Busy()) return LinkBusy();
    const TKTrafo* link = MatchableLink(ref);
    if (!link) return ArgErr;
    const int32_t srcDim = link->GetSrcDim(), dstDim = link->GetDstDim(srcDim);
    if (count < 0 || ((!srcPlanes || !dstPlanes) && count > 0) || !StrideFits(srcStep, sizeof(Sample)) ||
        !StrideFits(dstStep, sizeof(Sample)))
        return TK_ARG_ERROR();
    if (count == 0) return int32_t(NoErr);
    for (int32_t c = 0; c < srcDim; ++c)
        if (!srcPlanes[c]) return TK_ARG_ERROR();
    for (int32_t o = 0; o < dstDim; ++o)
        if (!dstPlanes[o]) return TK_ARG_ERROR();

    int32_t srcSteps[TKLinkGeneric::kMaxDstDim], dstSteps[TKLinkGeneric::kMaxDstDim];
    const Sample* src[TKLinkGeneric::kMaxDstDim];
    Sample* dst[TKLinkGeneric::kMaxDstDim];
    for (int32_t c = 0; c < srcDim; ++c) srcSteps[c] = srcStep, src[c] = static_cast<const Sample*>(srcPlanes[c]);
    for (int32_t o = 0; o < dstDim; ++o) dstSteps[o] = dstStep, dst[o] = static_cast<Sample*>(dstPlanes[o]);
    return TKGuardCode([&] {
        if constexpr (sizeof(Sample) == 1) link->TrafoPixels8(count, src, dst, srcSteps, dstSteps, &progress);
        else link->TrafoPixels16(count, src, dst, srcSteps, dstSteps, &progress);
        return int32_t(NoErr);
    });
}

}  // namespace

extern "C" {

TKLinkRef TKNewTKLink16Ref(void) {
    return TKGuardRef([]() -> TKLinkRef {
        TKLinkGenericTrafo* link = new TKLinkGenericTrafo;
        TKLinkRef ref = NewRef(link, true);
        if (!ref) link->Release();
        return ref;
    });
}

TKLinkRef TKNewTKLink8Ref(void) { return TKNewTKLink16Ref(); }

void TKFreeTKLink16Ref(TKLinkRef link) { FreeRef(link); }

void TKFreeTKLink8Ref(TKLinkRef link) { FreeRef(link); }

int32_t TKColorTrafo2Link16(TKLinkRef link, TKTrafoRef trafo, int32_t gridBits) {
    TKTrafo* source = RefObjectAs<TKTrafo>(trafo, "TKTrafo");
    if (!source) return TK_ARG_ERROR();
    TKLinkGenericTrafo* target = HeldLink(link);
    if (!target) return ArgErr;
    if (gridBits > kTKMaxGridBits) return TK_ARG_ERROR();
    TKUseGate::Rebuild rebuild(target->UseGate());
    if (!rebuild) return LinkBusy();
    return TKGuardCode([&] {
        // Below 1 the value passes as a quality: 0 is the link's default grid.
        target->CalcFromTrafo(source, GridFromBits(gridBits), 0, nullptr);
        return int32_t(NoErr);
    });
}

int32_t TKColorTrafo2Link8(TKLinkRef link, TKTrafoRef trafo, int32_t gridBits) {
    return TKColorTrafo2Link16(link, trafo, gridBits);
}

int32_t TKSaveLink16(TKLinkRef link, TKFileSpec* spec) {
    if (!spec) return TK_ARG_ERROR();
    TKLinkGenericTrafo* held = HeldLink(link);
    if (!held) return ArgErr;
    TKUseGate::Use use(held->UseGate());
    if (!use) return LinkBusy();
    return TKGuardCode([&] {
        held->Save(spec);
        return int32_t(NoErr);
    });
}

int32_t TKSaveLink8(TKLinkRef link, TKFileSpec* spec) { return TKSaveLink16(link, spec); }

int32_t TKLoadLink16(TKLinkRef link, TKFileSpec* spec) {
    if (!spec) return TK_ARG_ERROR();
    TKLinkGenericTrafo* held = HeldLink(link);
    if (!held) return ArgErr;
    TKUseGate::Rebuild rebuild(held->UseGate());
    if (!rebuild) return LinkBusy();
    return TKGuardCode([&] {
        held->Load(spec);
        return int32_t(NoErr);
    });
}

int32_t TKLoadLink8(TKLinkRef link, TKFileSpec* spec) { return TKLoadLink16(link, spec); }

int32_t TKSaveLink16ToMemory(TKLinkRef link, void* buffer, uint32_t size, uint32_t* length) {
    TKLinkGenericTrafo* held = HeldLink(link);
    if (!held) return TK_ARG_ERROR();
    if (!buffer && !length) return int32_t(NoErr);
    TKUseGate::Use use(held->UseGate());
    if (!use) return LinkBusy();
    return TKGuardCode([&] {
        TKBuffer stream;
        held->SaveStream(stream);
        uint32_t bytes = 0;
        const uint8_t* data = stream.GetData(&bytes);
        if (length) *length = bytes;
        if (buffer && bytes > 0) {
            if (size < bytes) return int32_t(BufferTooSmall);
            std::memcpy(buffer, data, bytes);
        }
        return int32_t(NoErr);
    });
}

int32_t TKSaveLink8ToMemory(TKLinkRef link, void* buffer, uint32_t size, uint32_t* length) {
    return TKSaveLink16ToMemory(link, buffer, size, length);
}

int32_t TKLoadLink16FromMemory(TKLinkRef link, const void* data, uint32_t size) {
    TKLinkGenericTrafo* held = HeldLink(link);
    if (!held || !data) return TK_ARG_ERROR();
    TKUseGate::Rebuild rebuild(held->UseGate());
    if (!rebuild) return LinkBusy();
    return TKGuardCode([&] {
        TKBuffer stream(data, size);
        held->LoadStream(stream);
        return int32_t(NoErr);
    });
}

int32_t TKLoadLink8FromMemory(TKLinkRef link, const void* data, uint32_t size) {
    return TKLoadLink16FromMemory(link, data, size);
}

int32_t TKLink8Match(TKLinkRef link, int32_t count, const void* src, void* dst, int32_t srcSkip, int32_t dstSkip,
                     TKProgressProc progress, void* userData) {
    return MatchInterleaved<uint8_t>(link, count, src, dst, srcSkip, dstSkip, progress, userData);
}

int32_t TKLink16Match(TKLinkRef link, int32_t count, const void* src, void* dst, int32_t srcSkip, int32_t dstSkip,
                      TKProgressProc progress, void* userData) {
    return MatchInterleaved<uint16_t>(link, count, src, dst, srcSkip, dstSkip, progress, userData);
}

int32_t TKLink8MatchPlanes(TKLinkRef link, int32_t count, const void** srcPlanes, void** dstPlanes, int32_t srcStep,
                           int32_t dstStep, TKProgressProc progress, void* userData) {
    return MatchPlanes<uint8_t>(link, count, srcPlanes, dstPlanes, srcStep, dstStep, progress, userData);
}

int32_t TKLink16MatchPlanes(TKLinkRef link, int32_t count, const void** srcPlanes, void** dstPlanes, int32_t srcStep,
                            int32_t dstStep, TKProgressProc progress, void* userData) {
    return MatchPlanes<uint16_t>(link, count, srcPlanes, dstPlanes, srcStep, dstStep, progress, userData);
}

}  // extern "C"
