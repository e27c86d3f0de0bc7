// TKICCProfile: a profile that knows what its tags mean: text tags, curves, white, black,
// luminance and colorants. The profile-to-trafo family builds on it. The leaf classes differ
// only in what builds their tags.
#pragma once

#include <vector>

#include "icc/TKICCProfileBasic.h"
#include "numeric/TKVector.h"

class TKICCProfile : public TKICCProfileBasic {
    TK_DECLARE_CLASS(TKICCProfile, TKICCProfileBasic)
public:
    TKICCProfile() = default;
    TKICCProfile(const TKICCProfile& other) = default;
    TKICCProfile& operator=(const TKICCProfile& other) = default;

    // As the basic profile, but a missing tag is added as a "text" tag.
    bool SetTagText(uint32_t signature, const TKString& text) override;

    virtual void AddTextTag(uint32_t signature, const TKString& text);           // type "text"
    virtual void AddDescription(const TKString& text, uint32_t language = 0);   // type "mluc"
    virtual void AddCopyright(const TKString& text, uint32_t language = 0);     // type "mluc"
    // Stores the colour (XYZ, Y = 100 for white) times 0.01 in "wtpt".
    virtual void AddWhitePoint(const TKVector& xyz);
    // A "curv" tag with the range 0 to 1.
    virtual void AddCurveTag(uint32_t signature, const TKVector& curve);
    // A "data" tag with the whole file.
    virtual void AddFileDataTag(uint32_t signature, const TKFileSpec& spec);

    // "rXYZ", "gXYZ", "bXYZ" times 100; MissingICCTag unless all three are there.
    virtual void GetRGBColorants(TKVector& red, TKVector& green, TKVector& blue) const;
    // "bkpt" times 100, or XYZ zero without the tag.
    virtual TKVector GetBlackPoint() const;
    // The D50 white (96.42, 100, 82.49), or "wtpt" times 100 where present, except that a monitor
    // profile asked for the raw value keeps D50.
    virtual TKVector GetWhitePoint(bool rawForMonitor = false) const;
    // "lumi" as stored; with a non-positive X or Z the white scaled to its Y; without it the white.
    virtual TKVector GetLuminance() const;
    // The XYZ of a tag times `scale`, or an empty vector when it is absent or invalid.
    TKVector GetXYZTag(uint32_t signature, double scale = 100.0) const;
};

class TKICCProfileAuto : public TKICCProfile {
    TK_DECLARE_CLASS(TKICCProfileAuto, TKICCProfile)
};

class TKICCProfileMntr : public TKICCProfile {
    TK_DECLARE_CLASS(TKICCProfileMntr, TKICCProfile)
};

class TKICCProfileInput : public TKICCProfile {
    TK_DECLARE_CLASS(TKICCProfileInput, TKICCProfile)
};

class TKICCProfilePrtr : public TKICCProfileInput {
    TK_DECLARE_CLASS(TKICCProfilePrtr, TKICCProfileInput)
};

class TKICCProfileLink : public TKICCProfile {
    TK_DECLARE_CLASS(TKICCProfileLink, TKICCProfile)
public:
    // A "pseq" tag with no entries.
    virtual void AddEmptySequence();
    // A "psid" tag with the ID and description of each profile (at most ten).
    virtual void AddSequenceIdentifiers(const std::vector<TKICCProfileBasic*>& profiles);
    // The same from profile files; a file whose header has no ID gets the MD5 computed from it.
    virtual void AddSequenceIdentifiersFromFiles(const std::vector<TKFileSpec>& specs);
};
