/*
 * Plug-ins that must be refused, one per way of failing, built from this file with one of:
 *   NO_ENTRY        exports RegisterModules but no InitPlugin
 *   INIT_FAILS      InitPlugin returns 81
 *   REGISTER_FAILS  registers a method, then RegisterModules returns 72
 *   DUPLICATE       registers a second method under the sample plug-in's name
 *   BUILT_IN_NAME   registers a method under a built-in short name
 *   BAD_METHOD      registers a method without function and ignores the refusal
 * Each counts its UnRegisterModules calls in a file named by TK_FAULTY_TRACE, if set, so the
 * tests can see that a refused plug-in was given the chance to clean up.
 */
#include <stdio.h>
#include <stdlib.h>

#include "tintara_plugin.h"

static double Plain(const double* a, const double* b, int32_t channels, void* userData) {
    double sum = 0.0;
    (void)userData;
    for (int32_t i = 0; i < channels; ++i) sum += (a[i] - b[i]) * (a[i] - b[i]);
    return sum;
}

#ifndef NO_ENTRY
TK_PLUGIN_EXPORT int32_t InitPlugin(uint32_t hostVersion) {
    (void)hostVersion;
#ifdef INIT_FAILS
    return 81;
#else
    return 0;
#endif
}
#endif

TK_PLUGIN_EXPORT int32_t RegisterModules(TKModuleMgr* manager, const TKPluginHost* host) {
    TKPluginColorDifference method = {"Delta-Faulty", "dFaulty", 0, 0x4C616220u, Plain, 0};
#if defined(DUPLICATE)
    method.name = "Delta-HyAB";
    method.shortName = "dHyAB2";
#elif defined(BUILT_IN_NAME)
    method.shortName = "dE00";
#elif defined(BAD_METHOD)
    method.difference = 0;
    host->RegisterColorDifference(manager, &method);
    return 0;
#endif
    int32_t code = host->RegisterColorDifference(manager, &method);
#ifdef REGISTER_FAILS
    if (code == 0) code = 72;
#endif
    return code;
}

TK_PLUGIN_EXPORT void UnRegisterModules(TKModuleMgr* manager) {
    const char* trace = getenv("TK_FAULTY_TRACE");
    FILE* file = trace ? fopen(trace, "a") : 0;
    (void)manager;
    if (!file) return;
    fputs("UnRegisterModules\n", file);
    fclose(file);
}
