// The profile family of exports: profile objects, their trafos by intent, and concatenations of
// up to ten profiles into one trafo reference.
#include "exported/TintaraICCProfile.h"

#include <cstring>

#include "color/TKColorTrafo.h"
#include "color/TKColors.h"
#include "exported/TKExport.h"
#include "foundation/TKHandle.h"
#include "icc/TKICCConcatenation.h"
#include "icc/TKICCTrafoBuilder.h"
#include "io/TKBuffer.h"
#include "io/TKFileSpec.h"

namespace {

// Gives the trafo's count to a new handle.
TKTrafoRef AdoptInHandle(TKRefPtr<TKTrafo> trafo) {
    TKTrafoRef ref = NewRef(trafo.Get(), false);
    if (!ref) TKThrow(MemFullErr);
    return ref;
}

// What both concatenation exports share: an optional normalizing step in front, the chain
// filled by `fill`, and a conversion to a wanted connection-space type behind.
template <class Fill>
int32_t ConcatInto(TKTrafoRef* out, uint32_t srcType, uint32_t dstType, Fill&& fill) {
    if (!out) return TK_ARG_ERROR();
    return TKGuardCode([&] {
        auto list = TKMakeRef<TKTrafoList>();
        if (srcType != 0) {
            auto normalize = TKMakeRef<TKDefaultColorTrafo>(srcType, srcType);
            list->Append(normalize.Get(), false);
        }
        fill(list.Get());
        const uint32_t listType = list->GetCount() ? uint32_t(list->GetDstType(0)) : 0;
        if (dstType != 0 && dstType != listType) {
            if (GetColorClass(dstType) != TKCIEClass || GetColorClass(listType) != TKCIEClass) TKThrow(WrongDataType);
            auto convert = TKMakeRef<TKDefaultColorTrafo>(0, dstType);
            list->Append(convert.Get(), false);
        }
        *out = AdoptInHandle(TKRefPtr<TKTrafo>(list));
        return int32_t(NoErr);
    });
}

}  // namespace

extern "C" {

TKICCProfile* TKNewICCProfileRef(void) {
    return TKGuardRef([] { return new TKICCProfile; });
}

void TKFreeICCProfileRef(TKICCProfile* profile) {
    if (profile) profile->Release();
}

int32_t TKReadProfile(TKICCProfile* profile, TKFileSpec* spec) {
    if (!profile || !spec) return TK_ARG_ERROR();
    return TKGuardCode([&] {
        profile->ReadFile(*spec, 2);
        return int32_t(NoErr);
    });
}

int32_t TKGetICCProfileTrafo(TKTrafoRef* out, TKICCProfile* profile, int32_t toPCS, int32_t intent) {
    if (!out || !profile) return TK_ARG_ERROR();
    return TKGuardCode([&] {
        TKICCTrafoBuilder builder(profile);
        TKRefPtr<TKTrafo> trafo = toPCS ? builder.GetA2BTrafo(intent, TKICCTrafoBuilder::kOwnGrid)
                                        : builder.GetB2ATrafo(intent, TKICCTrafoBuilder::kOwnGrid);
        *out = AdoptInHandle(trafo);
        return int32_t(NoErr);
    });
}

int32_t TKConcatICCProfilesEx(TKTrafoRef* out, uint32_t srcType, uint32_t dstType, int32_t count, TKFileSpec** specs,
                              const int32_t* intents) {
    return ConcatInto(out, srcType, dstType, [&](TKTrafoList* list) {
        TKConcatICCProfilesByFile(list, count, specs, intents, 0);
    });
}

int32_t TKConcatICCProfiles(TKTrafoRef* out, int32_t count, TKFileSpec** specs, const int32_t* intents) {
    return TKConcatICCProfilesEx(out, 0, 0, count, specs, intents);
}

}  // extern "C"

int32_t TKConcatICCProfileList(TKTrafoRef* out, int32_t count, TKICCProfile** profiles, const int32_t* intents) {
    return ConcatInto(out, 0, 0, [&](TKTrafoList* list) {
        if (count > kTKMaxConcatProfiles) TKThrow(BufferTooSmall);
        if (!profiles) TKThrow(ArgErr);
        TKConcatICCProfiles(list, count, profiles, intents, 0);
    });
}

int32_t TKSaveProfileToMemory(TKICCProfile* profile, void* buffer, uint32_t size, uint32_t* length) {
    if (!profile) return TK_ARG_ERROR();
    if (!buffer && !length) return int32_t(NoErr);
    return TKGuardCode([&] {
        TKBuffer stream;
        profile->Write(stream);
        uint32_t written = 0;
        const uint8_t* data = stream.GetData(&written);
        if (length) *length = written;
        if (!buffer) return int32_t(NoErr);
        if (written > size) return int32_t(BufferTooSmall);
        if (written) std::memcpy(buffer, data, written);
        return int32_t(NoErr);
    });
}

int32_t TKReadProfileFromMemory(TKICCProfile* profile, const void* data, uint32_t size) {
    if (!profile || !data) return TK_ARG_ERROR();
    return TKGuardCode([&] {
        TKBuffer stream(data, size);
        profile->Read(stream, 2);
        return int32_t(NoErr);
    });
}
