/*
 * TintaraLib — the interface between the library and its plug-ins.
 *
 * A plug-in is a shared library (".so") in the library's plug-in folder. It is plain C and links
 * nothing of the library: everything it may call arrives as function pointers in a
 * TKPluginHost, and everything it registers is copied, so its own data may be temporary.
 *
 * Entry points, looked up by these names (declare them with TK_PLUGIN_EXPORT):
 *   int32_t InitPlugin(uint32_t hostVersion);
 *       First call after loading. Return 0 to go on, any other value refuses the plug-in with that
 *       code (for instance when hostVersion is older than the plug-in needs).
 *   int32_t RegisterModules(TKModuleMgr* manager, const TKPluginHost* host);
 *       Registers the plug-in's objects through `host`. Return 0 to keep them; any other value
 *       refuses the plug-in and drops everything it registered in this call. A registration
 *       refused by the host (a name that is taken, a missing function) refuses the whole
 *       plug-in as well: a plug-in is registered completely or not at all.
 *   void UnRegisterModules(TKModuleMgr* manager);       optional
 *       Last call before the library is unloaded (at the end of the process, or when its
 *       manager unloads its plug-ins), after its objects have left the registry.
 *
 * The functions a plug-in registers are called on the host's threads, possibly from several at
 * once, and must not throw C++ exceptions.
 */
#ifndef TINTARA_PLUGIN_H
#define TINTARA_PLUGIN_H

#include <stdint.h>

#define TK_PLUGIN_HOST_VERSION 1u

#if defined(__GNUC__)
#define TK_PLUGIN_EXPORT __attribute__((visibility("default")))
#else
#define TK_PLUGIN_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef struct TKModuleMgr TKModuleMgr; /* the loading manager, opaque to plug-ins */

/* A colour-difference method. Both colours arrive converted to `workingType`, as `channels`
 * doubles each (Lab: L, a, b; XYZ with Y = 100 for the white). The result must be 0 for equal
 * colours and grow with the visual difference. */
typedef double (*TKPluginDifferenceProc)(const double* a, const double* b, int32_t channels, void* userData);

typedef struct TKPluginColorDifference {
    const char* name;       /* long name, unique among all methods, e.g. "Delta-HyAB" */
    const char* shortName;  /* short name, unique as well; NULL or "" for none */
    const char* module;     /* the module it belongs to in reports; NULL: "Generic Module" */
    uint32_t workingType;   /* colour type signature, e.g. 0x4C616220 for 'Lab ' */
    TKPluginDifferenceProc difference;
    void* userData;
} TKPluginColorDifference;

typedef struct TKPluginHost {
    uint32_t version; /* TK_PLUGIN_HOST_VERSION of the library */
    /* 0 when taken into the plug-in's registration, else an error code of the library. */
    int32_t (*RegisterColorDifference)(TKModuleMgr* manager, const TKPluginColorDifference* method);
    /* Writes a line to the library's log. */
    void (*Log)(TKModuleMgr* manager, const char* text);
} TKPluginHost;

typedef int32_t (*TKInitPluginProc)(uint32_t hostVersion);
typedef int32_t (*TKRegisterModulesProc)(TKModuleMgr* manager, const TKPluginHost* host);
typedef void (*TKUnRegisterModulesProc)(TKModuleMgr* manager);

#ifdef __cplusplus
}
#endif

#endif /* TINTARA_PLUGIN_H */
