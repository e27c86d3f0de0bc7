// Registered colour-difference methods: descriptor checks and the guarded call into a plug-in.
#include "io/TKModuleDifference.h"

#include <cmath>
#include <cstring>

namespace {

// A plug-in's text as a name: present, short and printable, or ArgErr.
TKString CheckedName(const char* text, bool required, const char* what) {
    if (!text || !text[0]) {
        if (required) TKThrowMsg(ArgErr, TKString::Format("a registered method needs a %s", what).CString());
        return TKString();
    }
    const size_t length = strnlen(text, 256);
    if (length > 255) TKThrowMsg(ArgErr, TKString::Format("the %s of a registered method is too long", what).CString());
    for (size_t i = 0; i < length; ++i)
        if (static_cast<unsigned char>(text[i]) < 0x20 || text[i] == 0x7F)
            TKThrowMsg(ArgErr, TKString::Format("the %s of a registered method holds a control character", what).CString());
    return TKString(text);
}

const TKPluginColorDifference& Checked(const TKPluginColorDifference& descriptor) {
    if (!descriptor.difference) TKThrowMsg(ArgErr, "a registered method needs a function");
    if (!descriptor.workingType) TKThrowMsg(ArgErr, "a registered method needs a working type");
    return descriptor;
}

}  // namespace

TKModuleDifference::TKModuleDifference(const TKPluginColorDifference& descriptor, TKLibrary* library)
    : TKRegisteredObject(kTKModuleColorDifference, CheckedName(Checked(descriptor).name, true, "name"),
                         CheckedName(descriptor.shortName, false, "short name"),
                         CheckedName(descriptor.module, false, "module name"), library),
      fWorkingType(descriptor.workingType), fProc(descriptor.difference), fUserData(descriptor.userData) {}

double TKModuleDifference::Difference(const double* a, const double* b, int32_t channels) const {
    const double result = fProc(a, b, channels, fUserData);
    if (!std::isfinite(result) || result < 0.0) {
        TKString text = LongName() + ": the plug-in gave no difference";
        TKThrowMsg(MathErr, text.CString());
    }
    return result;
}
