// TKICCProfile: tag builders and the white, black, luminance and colorant helpers.
#include "icc/TKICCProfile.h"

#include <cstring>

#include "color/TKColors.h"
#include "foundation/TKError.h"
#include "icc/TKICCDataTags.h"
#include "icc/TKICCNumberTags.h"
#include "icc/TKICCSequenceIdentifierTag.h"
#include "icc/TKICCTextTags.h"
#include "io/TKFile.h"
#include "io/TKFileSpec.h"

namespace {

// The white of the connection space, Y = 100.
TKVector D50White() { return TKVector({96.42, 100.0, 82.49}, TKXYZSpace); }

}  // namespace

bool TKICCProfile::SetTagText(uint32_t signature, const TKString& text) {
    if (TKICCProfileBasic::SetTagText(signature, text)) return true;
    if (GetTag(signature, false)) return false;  // there, but of a type without text
    AddTextTag(signature, text);
    return true;
}

void TKICCProfile::AddTextTag(uint32_t signature, const TKString& text) {
    auto tag = TKMakeRef<TKICCTextTag>(signature);
    tag->SetText(text);
    AddTag(tag.Get(), false);
}

void TKICCProfile::AddDescription(const TKString& text, uint32_t language) {
    auto tag = TKMakeRef<TKICCMLUCTag>(TKICCSig("desc"));
    tag->SetText(text, language);
    AddTag(tag.Get(), false);
}

void TKICCProfile::AddCopyright(const TKString& text, uint32_t language) {
    auto tag = TKMakeRef<TKICCMLUCTag>(TKICCSig("cprt"));
    tag->SetText(text, language);
    AddTag(tag.Get(), false);
}

void TKICCProfile::AddWhitePoint(const TKVector& xyz) {
    TKVector scaled(xyz);
    scaled.Multiply(0.01);
    auto tag = TKMakeRef<TKICCXYZTag>(TKICCSig("wtpt"));
    tag->SetXYZ(scaled);
    AddTag(tag.Get(), false);
}

void TKICCProfile::AddCurveTag(uint32_t signature, const TKVector& curve) {
    auto tag = TKMakeRef<TKICCCurveTag>(signature);
    tag->SetCurve(curve, 0.0, 1.0);
    AddTag(tag.Get(), false);
}

void TKICCProfile::AddFileDataTag(uint32_t signature, const TKFileSpec& spec) {
    TKFile file(spec, TKFile::kRead);
    file.Open(TKFile::kRead);
    std::vector<uint8_t> bytes;
    uint8_t chunk[1024];
    for (;;) {
        size_t got = 0;
        file.Read(chunk, sizeof chunk, &got);
        bytes.insert(bytes.end(), chunk, chunk + got);
        if (got < sizeof chunk) break;
    }
    file.Close();
    if (bytes.size() > 0x7FFFFFF0u) TKThrow(MemFullErr);
    auto tag = TKMakeRef<TKDataTag>(signature);
    tag->SetBytes(bytes.data(), uint32_t(bytes.size()));
    AddTag(tag.Get(), false);
}

TKVector TKICCProfile::GetXYZTag(uint32_t signature, double scale) const {
    auto* tag = TKCast<TKICCXYZTag>(GetTag(signature, true), "TKICCXYZTag");
    if (!tag) return TKVector();
    TKVector xyz = tag->GetXYZ();
    xyz.Multiply(scale);
    return xyz;
}

void TKICCProfile::GetRGBColorants(TKVector& red, TKVector& green, TKVector& blue) const {
    red = GetXYZTag(TKICCSig("rXYZ"));
    green = GetXYZTag(TKICCSig("gXYZ"));
    blue = GetXYZTag(TKICCSig("bXYZ"));
    if (red.IsEmpty() || green.IsEmpty() || blue.IsEmpty()) TKThrow(MissingICCTag);
}

TKVector TKICCProfile::GetBlackPoint() const {
    TKVector black = GetXYZTag(TKICCSig("bkpt"));
    return black.IsEmpty() ? TKVector({0.0, 0.0, 0.0}, TKXYZSpace) : black;
}

TKVector TKICCProfile::GetWhitePoint(bool rawForMonitor) const {
    if (rawForMonitor && fHeader.deviceClass == TKICCSig("mntr")) return D50White();
    TKVector white = GetXYZTag(TKICCSig("wtpt"));
    return white.IsEmpty() ? D50White() : white;
}

TKVector TKICCProfile::GetLuminance() const {
    TKVector white = GetWhitePoint(false);
    TKVector lumi = GetXYZTag(TKICCSig("lumi"), 1.0);
    if (lumi.IsEmpty()) return white;
    if (lumi[0] > 0 && lumi[2] > 0) return lumi;
    // Only Y is trusted: the white's chromaticity at that luminance.
    if (white[1] != 0) white.Multiply(lumi[1] / white[1]);
    return white;
}

void TKICCProfileLink::AddEmptySequence() {
    auto tag = TKMakeRef<TKICCSequenceDescTag>(TKICCSig("pseq"));
    AddTag(tag.Get(), false);
}

void TKICCProfileLink::AddSequenceIdentifiers(const std::vector<TKICCProfileBasic*>& profiles) {
    auto tag = TKMakeRef<TKICCSequenceIdentifierTag>(TKICCSig("psid"));
    for (TKICCProfileBasic* profile : profiles)
        if (profile) tag->AddProfile(*profile);
    AddTag(tag.Get(), false);
}

void TKICCProfileLink::AddSequenceIdentifiersFromFiles(const std::vector<TKFileSpec>& specs) {
    auto tag = TKMakeRef<TKICCSequenceIdentifierTag>(TKICCSig("psid"));
    for (const TKFileSpec& spec : specs) {
        TKICCProfile profile;
        profile.ReadFile(spec, 2);
        uint8_t id[16];
        profile.GetProfileID(id);
        static const uint8_t kZero[16] = {};
        if (std::memcmp(id, kZero, 16) == 0) {
            ComputeProfileID(spec, id, nullptr);
            profile.SetProfileID(id);
        }
        tag->AddProfile(profile);
    }
    AddTag(tag.Get(), false);
}
