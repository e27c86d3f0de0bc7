// TKColor2NormTrafo and TKNorm2ColorTrafo: scale the values of a colour type to the norm 0 to 1
// of the grids and tables ("nm" of its channel count on the other side), and back.
#pragma once

#include <vector>

#include "color/TKColorTypeTrafo.h"
#include "color/TKColors.h"

class TKColor2NormTrafo : public TKColorTypeTrafo {
    TK_DECLARE_CLASS(TKColor2NormTrafo, TKColorTypeTrafo)
public:
    // The range of each channel follows the range mode. The default, kTKRange16Legacy, is the
    // 16-bit encoding of ICC tables: Lab L 0 to 100 at 0xFF00 (so 1.0 is L 100.390625), a and b
    // -128 to 127.99609375, XYZ 0 to 1 + 32767/32768 (times 100). kTKRange8Bit is the v4 and
    // 8-bit encoding (L 0..100, a and b -128..127, 0 and 1 exactly), kTKRangeReal the real range
    // of the type. Types without encodings (RGB 0..255, inks 0..100, ...) use their real range
    // in every mode. A type without channels is ArgErr; a mode other than 0..2 is ArgErr.
    explicit TKColor2NormTrafo(uint32_t type, int32_t mode = kTKRange16Legacy);

    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    // Values are scaled, not limited: what lies outside the range lies outside 0..1.
    TKVector Trafo(const TKVector& source) const override;

    uint32_t GetColorType() const { return fType; }
    int32_t GetRangeMode() const { return fMode; }
    // The value of channel c that the norm 0 and 1 stand for.
    double GetMin(int32_t channel) const;
    double GetMax(int32_t channel) const;

protected:
    TKVector Scale(const TKVector& source, bool toNorm) const;

private:
    uint32_t fType;
    int32_t fMode;
    std::vector<double> fMin, fMax;
};

class TKNorm2ColorTrafo : public TKColor2NormTrafo {
    TK_DECLARE_CLASS(TKNorm2ColorTrafo, TKColor2NormTrafo)
public:
    explicit TKNorm2ColorTrafo(uint32_t type, int32_t mode = kTKRange16Legacy);

    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    TKVector Trafo(const TKVector& source) const override;
};
