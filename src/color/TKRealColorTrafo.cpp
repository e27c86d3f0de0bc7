// Limiting colours to the values their type can take.
#include "color/TKRealColorTrafo.h"

#include <algorithm>
#include <cmath>

#include "color/TKColors.h"

namespace {

enum class Rule { kPass, kRange, kNonNegative, kLightness, kPolar };

// Which limits hold for a type. CIE opponent channels (a, b, u, v) have no natural bound and
// stay as they are; only what is physically impossible is changed.
Rule RuleOf(uint32_t type) {
    switch (type) {
        case TKXYZSpace: case TKXYZNSpace: case TKReflSpace: case TKTranSpace: case TKEmisSpace:
        case TKDensSpace: case TKCMYKDensSpace: return Rule::kNonNegative;
        case TKLabSpace: case TKLabXSpace: case TKLuvSpace: case TKJabSpace: case TKLcsSpace:
            return Rule::kLightness;
        case TKLChSpace: case TKLChuSpace: case TKJChSpace: case TKLcshSpace: return Rule::kPolar;
        case TKYxySpace: case TKYuvSpace: return Rule::kNonNegative;
        default: break;
    }
    const TKColorClass colourClass = GetColorClass(type);
    return colourClass == TKDeviceClass || colourClass == TKNormClass ? Rule::kRange : Rule::kPass;
}

double WrapHue(double h) {
    double wrapped = std::fmod(h, 360.0);
    return wrapped < 0 ? wrapped + 360.0 : wrapped;
}

}  // namespace

TKRealColorTrafo::TKRealColorTrafo(uint32_t type) : fType(type) {}

int32_t TKRealColorTrafo::GetSrcType() const { return int32_t(fType); }
int32_t TKRealColorTrafo::GetDstType(int32_t srcType) const { return fType ? int32_t(fType) : srcType; }

TKVector TKRealColorTrafo::MakeReal(const TKVector& colour, uint32_t type) {
    TKVector out(colour);
    const int32_t n = out.GetDim();
    switch (RuleOf(type)) {
        case Rule::kPass: break;
        case Rule::kRange:
            for (int32_t c = 0; c < n; ++c)
                out[c] = std::clamp(out[c], GetChannelMin(type, c), GetChannelMax(type, c));
            break;
        case Rule::kNonNegative:
            for (int32_t c = 0; c < n; ++c) out[c] = std::max(out[c], 0.0);
            break;
        case Rule::kLightness:
            if (n > 0) out[0] = std::clamp(out[0], 0.0, 100.0);
            break;
        case Rule::kPolar:
            if (n > 0) out[0] = std::clamp(out[0], 0.0, 100.0);
            if (n > 1 && out[1] < 0) {  // a negative chroma is the opposite hue
                out[1] = -out[1];
                if (n > 2) out[2] += 180.0;
            }
            if (n > 2) out[2] = WrapHue(out[2]);
            break;
    }
    return out;
}

TKVector TKRealColorTrafo::Trafo(const TKVector& source) const {
    const uint32_t type = fType ? fType : uint32_t(source.GetType());
    TKVector out = MakeReal(source, type);
    if (fType) out.SetType(int32_t(fType));
    return out;
}
