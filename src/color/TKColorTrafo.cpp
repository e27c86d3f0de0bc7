// Colour trafos with their conversions in front and behind.
#include "color/TKColorTrafo.h"

#include "color/TKColors.h"
#include "foundation/TKError.h"

namespace {

// Device and norm values carry no white: between types of one class and channel count they are
// the same numbers under another name ("CMYK" and "4CLR", "nm03" and "nm03").
bool SameNumbers(uint32_t from, uint32_t to) {
    return GetColorClass(from) == GetColorClass(to) && GetChannelCount(from) == GetChannelCount(to) &&
           GetChannelCount(from) > 0;
}

}  // namespace

TKColorTrafo::TKColorTrafo(uint32_t inType, uint32_t outType) : TKCIETrafo(inType, outType) {}

TKVector TKColorTrafo::ConvertTo(const TKVector& colour, uint32_t wantedType) const {
    const uint32_t type = uint32_t(colour.GetType());
    if (wantedType == 0 || type == wantedType) return colour;
    if (type == 0) {
        TKVector typed(colour);
        typed.SetType(int32_t(wantedType));
        return typed;
    }
    if (IsCIESpace(type) && IsCIESpace(wantedType)) return Convert(colour, wantedType);
    if (SameNumbers(type, wantedType) || IsCompatible(type, wantedType)) {
        TKVector renamed(colour);
        renamed.SetType(int32_t(wantedType));
        return renamed;
    }
    TKThrowMsg(WrongDataType, TKString::Format("no conversion from %s to %s", GetTypeName(type).CString(),
                                               GetTypeName(wantedType).CString())
                                  .CString());
}

TKVector TKColorTrafo::Evaluate(const TKVector& input) const {
    return ConvertTo(input, uint32_t(GetDstType(GetSrcType())));
}

TKVector TKColorTrafo::Trafo(const TKVector& source) const {
    TKVector out = Evaluate(ToInput(source));
    const int32_t outType = GetDstType(GetSrcType());
    if (outType != 0) out.SetType(outType);
    return out;
}

TKVector TKColorTrafo::TrafoTo(const TKVector& source, uint32_t wantedType) const {
    return ConvertTo(Trafo(source), wantedType);
}

TKDefaultColorTrafo::TKDefaultColorTrafo(uint32_t inType, uint32_t outType) : TKColorTrafo(inType, outType) {
    if (inType == outType) StoreInfo(kInfoIdentity, 1);
}
