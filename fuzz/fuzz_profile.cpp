// Fuzz target: an ICC profile from untrusted bytes, read at level 2, every tag asked for its
// values, then written back. Any TKError is a valid outcome; a crash or leak is not.
#include <cstddef>
#include <cstdint>

#include "icc/TKICCColorantTags.h"
#include "icc/TKICCLutTags.h"
#include "icc/TKICCNumberTags.h"
#include "icc/TKICCProfile.h"
#include "icc/TKICCSequenceIdentifierTag.h"
#include "icc/TKICCTextTags.h"
#include "io/TKBuffer.h"

namespace {

template <class F>
void Try(F&& f) {
    try {
        f();
    } catch (const TKError&) {
    }
}

void AskValues(TKICCTag* tag) {
    Try([&] { tag->GetSummary(); });
    Try([&] {
        TKBuffer dump;
        tag->Dump(dump);
    });
    Try([&] { tag->IsValid(); });
    if (auto* curve = TKCast<TKICCCurveTag>(tag, "TKICCCurveTag")) Try([&] { curve->GetCurve(0, 1); });
    if (auto* para = TKCast<TKICCParametricCurveTag>(tag, "TKICCParametricCurveTag")) {
        int32_t type = 0;
        Try([&] { para->GetCurve(&type); });
    }
    if (auto* lut = TKCast<TKICCLutTag>(tag, "TKICCLutTag")) {
        Try([&] {
            uint16_t node[256];
            if (lut->GetOutputChannels() <= 256) lut->GetGridPoint(0, node);
            lut->GetInputCurvePoint(0, 0);
            lut->GetOutputCurvePoint(0, lut->GetOutputEntries() - 1);
            lut->GetMatrix();
        });
    }
    if (auto* lut4 = TKCast<TKICC4LutTag>(tag, "TKICC4LutTag")) {
        for (auto set : {TKICC4LutTag::kACurves, TKICC4LutTag::kBCurves, TKICC4LutTag::kMCurves})
            Try([&] { lut4->GetCurve(set, 0)->GetSummary(); });
        Try([&] { lut4->GetMatrix(); });
        Try([&] { lut4->GetCLUTEntry(0); });
    }
    if (auto* ncl2 = TKCast<TKNamedColor2TypeTag>(tag, "TKNamedColor2TypeTag")) {
        Try([&] {
            if (ncl2->GetCount() > 0) {
                ncl2->GetColorName(0);
                ncl2->GetPCS(0);
                ncl2->GetDevice(0);
            }
        });
    }
    if (auto* clrt = TKCast<TKColorantTableTag>(tag, "TKColorantTableTag")) Try([&] { clrt->GetPCS(0); });
    if (auto* psid = TKCast<TKICCSequenceIdentifierTag>(tag, "TKICCSequenceIdentifierTag"))
        Try([&] {
            for (int32_t i = 0; i < psid->GetCount(); ++i) psid->GetDescription(i)->GetText();
        });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 4u << 20) return 0;
    Try([&] {
        auto profile = TKMakeRef<TKICCProfile>();
        TKBuffer in(data, uint32_t(size));
        Try([&] { profile->Read(in, 2); });
        for (int32_t i = 0; i < profile->GetTagCount(); ++i) AskValues(profile->GetTagAt(i));
        Try([&] { profile->GetWhitePoint(false); });
        Try([&] { profile->GetLuminance(); });
        Try([&] { profile->HeaderText(); });
        Try([&] {
            TKBuffer out;
            profile->Write(out, 0, false, false);
        });
        Try([&] {
            TKBuffer out;
            profile->Write(out, 4, true, true);
        });
    });
    return 0;
}
