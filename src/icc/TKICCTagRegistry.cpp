// The tag factory and the table of allowed types: one row per signature in constexpr tables.
#include <iterator>

#include "icc/TKICCColorantTags.h"
#include "icc/TKICCDataTags.h"
#include "icc/TKICCLutTags.h"
#include "icc/TKICCNumberTags.h"
#include "icc/TKICCSequenceIdentifierTag.h"
#include "icc/TKICCTag.h"
#include "icc/TKICCTextTags.h"

namespace {

using TagFactory = TKICCTag* (*)(uint32_t type, uint32_t signature);

template <class Tag>
TKICCTag* Make(uint32_t, uint32_t signature) {
    return new Tag(signature);
}

// Classes whose constructor takes the type, since one class serves two types.
template <class Tag>
TKICCTag* MakeTyped(uint32_t type, uint32_t signature) {
    return new Tag(type, signature);
}

struct TagClassRow {
    uint32_t type;
    TagFactory make;
};

constexpr TagClassRow kTagClasses[] = {
    {TKICCSig("XYZ "), Make<TKICCXYZTag>},
    {TKICCSig("chad"), Make<TKChromaticAdaptationTag>},
    {TKICCSig("clrt"), Make<TKColorantTableTag>},
    {TKICCSig("csed"), Make<TKCSEDTag>},
    {TKICCSig("curv"), Make<TKICCCurveTag>},
    {TKICCSig("data"), Make<TKDataTag>},
    {TKICCSig("desc"), Make<TKICCDescriptionTag>},
    {TKICCSig("mAB "), MakeTyped<TKICC4LutTag>},
    {TKICCSig("mBA "), MakeTyped<TKICC4LutTag>},
    {TKICCSig("mft1"), MakeTyped<TKICCLutTag>},
    {TKICCSig("mft2"), MakeTyped<TKICCLutTag>},
    {TKICCSig("mluc"), Make<TKICCMLUCTag>},
    {TKICCSig("ncl2"), Make<TKNamedColor2TypeTag>},
    {TKICCSig("para"), Make<TKICCParametricCurveTag>},
    {TKICCSig("psid"), Make<TKICCSequenceIdentifierTag>},
    {TKICCSig("text"), Make<TKICCTextTag>},
    {TKICCSig("vcgt"), Make<TKICCGammaTag>},
};

// Allowed types per tag signature; up to four types, 0 ends the list. A row whose first type is
// kSameAsTag allows only the tag's own signature as type.
constexpr uint32_t kSameAsTag = 1;

struct AllowedRow {
    uint32_t signature;
    uint32_t types[4];
};

constexpr uint32_t kLutTypes[4] = {TKICCSig("mft2"), TKICCSig("mft1"), TKICCSig("mAB "), TKICCSig("mBA ")};
constexpr uint32_t kGamutTypes[4] = {TKICCSig("mft2"), TKICCSig("mft1"), TKICCSig("mBA "), 0};
constexpr uint32_t kCurveTypes[4] = {TKICCSig("curv"), TKICCSig("para"), 0, 0};
constexpr uint32_t kXYZTypes[4] = {TKICCSig("XYZ "), 0, 0, 0};
constexpr uint32_t kDescTypes[4] = {TKICCSig("mluc"), TKICCSig("desc"), TKICCSig("csed"), 0};
constexpr uint32_t kDataTypes[4] = {TKICCSig("data"), 0, 0, 0};
constexpr uint32_t kSame[4] = {kSameAsTag, 0, 0, 0};

#define TK_ALLOWED(sig, list) {TKICCSig(sig), {list[0], list[1], list[2], list[3]}}

constexpr AllowedRow kAllowed[] = {
    TK_ALLOWED("A2B0", kLutTypes), TK_ALLOWED("A2B1", kLutTypes), TK_ALLOWED("A2B2", kLutTypes),
    TK_ALLOWED("B2A0", kLutTypes), TK_ALLOWED("B2A1", kLutTypes), TK_ALLOWED("B2A2", kLutTypes),
    TK_ALLOWED("gamt", kGamutTypes), TK_ALLOWED("pre0", kGamutTypes), TK_ALLOWED("pre1", kGamutTypes),
    TK_ALLOWED("pre2", kGamutTypes),
    TK_ALLOWED("rTRC", kCurveTypes), TK_ALLOWED("gTRC", kCurveTypes), TK_ALLOWED("bTRC", kCurveTypes),
    TK_ALLOWED("kTRC", kCurveTypes),
    TK_ALLOWED("rXYZ", kXYZTypes), TK_ALLOWED("gXYZ", kXYZTypes), TK_ALLOWED("bXYZ", kXYZTypes),
    TK_ALLOWED("wtpt", kXYZTypes), TK_ALLOWED("bkpt", kXYZTypes), TK_ALLOWED("lumi", kXYZTypes),
    {TKICCSig("chad"), {TKICCSig("sf32"), 0, 0, 0}},
    {TKICCSig("cprt"), {TKICCSig("mluc"), TKICCSig("text"), 0, 0}},
    TK_ALLOWED("desc", kDescTypes), TK_ALLOWED("dmdd", kDescTypes), TK_ALLOWED("dmnd", kDescTypes),
    TK_ALLOWED("vued", kDescTypes),
    {TKICCSig("scrd"), {TKICCSig("desc"), 0, 0, 0}},
    {TKICCSig("clrt"), {TKICCSig("clrt"), 0, 0, 0}},
    {TKICCSig("clot"), {TKICCSig("clrt"), 0, 0, 0}},
    {TKICCSig("clro"), {TKICCSig("clro"), 0, 0, 0}},
    {TKICCSig("calt"), {TKICCSig("dtim"), 0, 0, 0}},
    {TKICCSig("tech"), {TKICCSig("sig "), 0, 0, 0}},
    {TKICCSig("targ"), {TKICCSig("text"), TKICCSig("CGAT"), 0, 0}},
    TK_ALLOWED("ps2i", kDataTypes), TK_ALLOWED("ps2s", kDataTypes), TK_ALLOWED("psd0", kDataTypes),
    TK_ALLOWED("psd1", kDataTypes), TK_ALLOWED("psd2", kDataTypes), TK_ALLOWED("psd3", kDataTypes),
    TK_ALLOWED("bfd ", kSame), TK_ALLOWED("crdi", kSame), TK_ALLOWED("meas", kSame), TK_ALLOWED("ncl2", kSame),
    TK_ALLOWED("pseq", kSame), TK_ALLOWED("scrn", kSame), TK_ALLOWED("view", kSame),
};

#undef TK_ALLOWED

}  // namespace

TKRefPtr<TKICCTag> TKICCTag::Create(uint32_t type, uint32_t signature) {
    // The adaptation matrix is known by its tag, whatever type it claims.
    if (signature == TKICCSig("chad")) return TKRefPtr<TKICCTag>(new TKChromaticAdaptationTag(signature), true);
    for (const TagClassRow& row : kTagClasses)
        if (row.type == type) return TKRefPtr<TKICCTag>(row.make(type, signature), true);
    TKRefPtr<TKICCTag> tag(new TKICCTag(TKICCSig("bina"), signature), true);
    tag->SetType(type);
    return tag;
}

bool TKICCTag::IsAllowedType(uint32_t signature, uint32_t type, bool* known) {
    for (const AllowedRow& row : kAllowed) {
        if (row.signature != signature) continue;
        if (known) *known = true;
        if (row.types[0] == kSameAsTag) return type == signature;
        for (uint32_t allowed : row.types)
            if (allowed && allowed == type) return true;
        return false;
    }
    if (known) *known = false;
    return type != 0;
}

bool TKICCTag::IsValid() const { return fSignature != 0 && IsAllowedType(fSignature, fType); }
