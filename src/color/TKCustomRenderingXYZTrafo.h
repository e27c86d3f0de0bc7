// TKCustomRenderingXYZTrafo: the stage of the custom intents 21 to 25, whose white handling is
// configured in the global data base ("CustomIntent<n>/mode" and "/factor", n = intent - 21).
#pragma once

#include "color/TKWhiteXYZTrafo.h"

class TKCustomRenderingXYZTrafo : public TKXYZTrafoBase {
    TK_DECLARE_CLASS(TKCustomRenderingXYZTrafo, TKXYZTrafoBase)
public:
    enum : int32_t { kFirstCode = 21 };
    // Mode 0 mixes absolute and relative rendering: the white goes to
    //   source white + factor (destination white - source white), factor 0.5 by default.
    // Mode 1 scales luminance: the white goes to factor x source white, factor 1 by default.
    enum Mode : int32_t { kMergeAbsoluteRelative = 0, kScaleLuminance = 1 };

    // A code below 21 is ArgErr.
    TKCustomRenderingXYZTrafo(int32_t code, bool smoothBlack);
    // A copy gets its own inner white trafo: the two update independently.
    TKCustomRenderingXYZTrafo(const TKCustomRenderingXYZTrafo& other);

    // Reads the mode and factor; a mode other than 0 or 1 is ArgErr, and so, until the setting
    // is corrected, is every evaluation.
    void Update() override;
    int32_t GetCode() const { return fCode; }
    // The keys this stage reads ("CustomIntent2/mode" for code 23).
    TKString ModeKey() const;
    TKString FactorKey() const;

protected:
    TKVector Evaluate(const TKVector& xyz) const override;

private:
    int32_t fCode;
    TKRefPtr<TKWhiteXYZTrafo> fWhite;
};
