/*
 * A colour-difference plug-in: HyAB, the distance for large colour differences proposed by
 * Abasi, Tehran and Fairchild (Color Research & Application 45, 2020): the lightness difference
 * taken as it is plus the Euclidean distance in the a*b* plane,
 *     HyAB = |L1 - L2| + sqrt((a1 - a2)^2 + (b1 - b2)^2),
 * registered as "Delta-HyAB" ("dHyAB"), working in CIELAB.
 */
#include <math.h>

#include "tintara_plugin.h"

#define TK_LAB_SPACE 0x4C616220u /* 'Lab ' */

static double HyAB(const double* a, const double* b, int32_t channels, void* userData) {
    (void)userData;
    if (channels < 3) return NAN; /* the library refuses a result that is not a number */
    return fabs(a[0] - b[0]) + hypot(a[1] - b[1], a[2] - b[2]);
}

TK_PLUGIN_EXPORT int32_t InitPlugin(uint32_t hostVersion) {
    return hostVersion >= 1u ? 0 : 63; /* VersionErr */
}

TK_PLUGIN_EXPORT int32_t RegisterModules(TKModuleMgr* manager, const TKPluginHost* host) {
    const TKPluginColorDifference method = {"Delta-HyAB", "dHyAB", "HyAB colour difference", TK_LAB_SPACE, HyAB, 0};
    host->Log(manager, "HyAB registers Delta-HyAB");
    return host->RegisterColorDifference(manager, &method);
}

TK_PLUGIN_EXPORT void UnRegisterModules(TKModuleMgr* manager) { (void)manager; }
