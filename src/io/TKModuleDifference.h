// A colour-difference method that a plug-in registered: its names, working type and the
// plug-in's function, which the colour layer calls with both colours in that type.
#pragma once

#include <cstdint>

#include "io/TKObjectMgr.h"
#include "tintara_plugin.h"

class TKModuleDifference : public TKRegisteredObject {
    TK_DECLARE_CLASS(TKModuleDifference, TKRegisteredObject)
public:
    // Copies the descriptor's texts. ArgErr for a descriptor without name, function or working
    // type, or with names longer than 255 bytes or holding control characters.
    TKModuleDifference(const TKPluginColorDifference& descriptor, TKLibrary* library);

    uint32_t WorkingType() const { return fWorkingType; }
    // The plug-in's number; MathErr when it is not finite or below 0.
    double Difference(const double* a, const double* b, int32_t channels) const;

private:
    uint32_t fWorkingType;
    TKPluginDifferenceProc fProc;
    void* fUserData;
};
