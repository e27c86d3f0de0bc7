/*
 * TintaraLib — colour management engine, public C interface.
 *
 * Valid C99 and C++. Colour types are 32-bit signatures with the first character in the most
 * significant byte ('CMYK' = 0x434D594B, 'Lab ' = 0x4C616220). Functions returning int32_t give
 * 0 on success and an error code otherwise; factories return NULL on failure.
 * In the match functions srcSkip, dstSkip, srcStep and dstStep count samples, not bytes.
 *
 * Threads and one link handle: the match functions, TKDoTrafo, TKGetTrafo*, TKSaveLink* and
 * TKSaveLink*ToMemory may run on any number of threads at once (a lazy link computes its missing
 * nodes under its own lock). TKColorTrafo2Link*, TKLoadLink* and TKLoad*FromMemory rebuild the
 * link: called while another call on the link runs, they return ThreadError (67) and leave it
 * as it is, and a match, TKDoTrafo or save called during a rebuild returns 67 as well: nothing
 * waits, so a host that re-bakes a shared link retries or serialises those calls itself. The
 * TKGetTrafo* queries are not checked: during a rebuild they may answer the old or the new link.
 * TKFreeTKLink*Ref must come after every other call on the handle has returned, and a link
 * used inside another trafo (TKConcatenateTrafos) is not checked through that trafo.
 * Other handles (trafos, profiles, file specs) are for one thread at a time, except that
 * evaluating a trafo (TKDoTrafo) may run on several threads.
 *
 * Global options: TKTintaraSetOption takes only the keys it documents and answers ArgErr (3) for
 * any other. "LinkDefaultOptions" (1: links baked with options 0 are lazy) is read from the
 * global settings file "TKGlobalData.txt" in the preferences folder, not set through this call:
 * a host cannot change it under links being baked on other threads.
 */
#ifndef TINTARA_H
#define TINTARA_H

#include <stddef.h>
#include <stdint.h>

#if defined(TINTARA_BUILDING) && defined(__GNUC__)
#define TK_API __attribute__((visibility("default")))
#else
#define TK_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef struct TKHandleTrafo* TKTrafoRef;
typedef TKTrafoRef TKLinkRef;
typedef TKTrafoRef TKLinearizationRef;
typedef struct TKTrafo TKTrafo;            /* object pointers for TKConcatenateTrafos */
typedef struct TKICCProfile TKICCProfile;  /* bare profile object */
typedef struct TKFileSpec TKFileSpec;      /* bare file spec object */

typedef int32_t (*TKProgressProc)(int32_t position, int32_t total, void* userData);
typedef int32_t (*TKCustomTrafoProc)(const double* src, double* dst, void* userData);
typedef int32_t (*TKVectorDataSetProc)(int32_t index, double* values, void* userData);
typedef struct TKVectorDataSet { uint32_t colorType; TKVectorDataSetProc callback; void* userData; } TKVectorDataSet;

/* trafos */
TK_API TKTrafoRef TKNewTKTrafoRef(void);
TK_API void       TKFreeTKTrafoRef(TKTrafoRef ref);
TK_API TKTrafoRef TKConcatenateTrafos(TKTrafo* t1, TKTrafo* t2, TKTrafo* t3, TKTrafo* t4, TKTrafo* t5, TKTrafo* t6);
TK_API int32_t    TKGetTrafoSrcDim(TKTrafoRef ref);
TK_API int32_t    TKGetTrafoDstDim(TKTrafoRef ref);
TK_API uint32_t   TKGetTrafoSrcType(TKTrafoRef ref);
TK_API uint32_t   TKGetTrafoDstType(TKTrafoRef ref);
TK_API int32_t    TKDoTrafo(TKTrafoRef ref, const double* src, double* dst);
TK_API int32_t    TKSetTrafoOption(TKTrafoRef ref, const char* key, const char* value);
TK_API TKTrafoRef TKNewExceptionTrafoRef(TKTrafoRef ref, int32_t mode, double percent, const char* settings);
TK_API TKTrafoRef TKNewCustomTrafoRef(int32_t srcDim, int32_t dstDim, uint32_t srcType, uint32_t dstType, TKCustomTrafoProc callback, void* userData);
/* profiles and options */
TK_API TKICCProfile* TKNewICCProfileRef(void);
TK_API void       TKFreeICCProfileRef(TKICCProfile* profile);
TK_API int32_t    TKReadProfile(TKICCProfile* profile, TKFileSpec* spec);
TK_API int32_t    TKGetICCProfileTrafo(TKTrafoRef* out, TKICCProfile* profile, int32_t toPCS, int32_t intent);
TK_API int32_t    TKConcatICCProfilesEx(TKTrafoRef* out, uint32_t srcType, uint32_t dstType, int32_t count, TKFileSpec** specs, const int32_t* intents);
TK_API int32_t    TKConcatICCProfiles(TKTrafoRef* out, int32_t count, TKFileSpec** specs, const int32_t* intents);
TK_API int32_t    TKGetProfileOption(TKICCProfile* profile, const char* key, char* value, int32_t size);
TK_API int32_t    TKSetProfileOption(TKICCProfile* profile, const char* key, const char* value);
TK_API int32_t    TKTintaraSetOption(const char* key, const char* value);
/* links: skips and steps count samples, not bytes */
TK_API TKLinkRef  TKNewTKLink16Ref(void);
TK_API TKLinkRef  TKNewTKLink8Ref(void);
TK_API void       TKFreeTKLink16Ref(TKLinkRef link);
TK_API void       TKFreeTKLink8Ref(TKLinkRef link);
TK_API int32_t    TKColorTrafo2Link16(TKLinkRef link, TKTrafoRef trafo, int32_t gridBits);
TK_API int32_t    TKColorTrafo2Link8(TKLinkRef link, TKTrafoRef trafo, int32_t gridBits);
TK_API int32_t    TKSaveLink16(TKLinkRef link, TKFileSpec* spec);
TK_API int32_t    TKSaveLink8(TKLinkRef link, TKFileSpec* spec);
TK_API int32_t    TKLoadLink16(TKLinkRef link, TKFileSpec* spec);
TK_API int32_t    TKLoadLink8(TKLinkRef link, TKFileSpec* spec);
TK_API int32_t    TKSaveLink16ToMemory(TKLinkRef link, void* buffer, uint32_t size, uint32_t* length);
TK_API int32_t    TKSaveLink8ToMemory(TKLinkRef link, void* buffer, uint32_t size, uint32_t* length);
TK_API int32_t    TKLoadLink16FromMemory(TKLinkRef link, const void* data, uint32_t size);
TK_API int32_t    TKLoadLink8FromMemory(TKLinkRef link, const void* data, uint32_t size);
TK_API int32_t    TKLink8Match(TKLinkRef link, int32_t count, const void* src, void* dst, int32_t srcSkip, int32_t dstSkip, TKProgressProc progress, void* userData);
TK_API int32_t    TKLink16Match(TKLinkRef link, int32_t count, const void* src, void* dst, int32_t srcSkip, int32_t dstSkip, TKProgressProc progress, void* userData);
TK_API int32_t    TKLink8MatchPlanes(TKLinkRef link, int32_t count, const void** srcPlanes, void** dstPlanes, int32_t srcStep, int32_t dstStep, TKProgressProc progress, void* userData);
TK_API int32_t    TKLink16MatchPlanes(TKLinkRef link, int32_t count, const void** srcPlanes, void** dstPlanes, int32_t srcStep, int32_t dstStep, TKProgressProc progress, void* userData);
TK_API TKLinkRef  TKNewTKMCLink16Ref(void);
TK_API TKLinkRef  TKNewTKMCLink8Ref(void);
TK_API int32_t    TKDLProfiles2MCLink16(TKLinkRef link, int32_t count, TKFileSpec** specs, const int32_t* gridBits);
TK_API int32_t    TKDLProfiles2MCLink8(TKLinkRef link, int32_t count, TKFileSpec** specs, const int32_t* gridBits);
/* linearization */
TK_API TKLinearizationRef TKNewTKLinearizationRef(void);
TK_API void       TKFreeTKLinearizationRef(TKLinearizationRef lin);
TK_API void       TKInitVectorDataSet(TKVectorDataSet* set, uint32_t colorType, TKVectorDataSetProc callback, void* userData);
TK_API int32_t    TKLimitSlope(TKLinearizationRef lin, double minSlope, double maxSlope);
TK_API int32_t    TKCalcLinearization(TKLinearizationRef lin, int32_t count, TKVectorDataSet* nominal, TKVectorDataSet* measured, const double* inkLimits);
TK_API int32_t    TKCalcReferenceLinearization(TKLinearizationRef lin, int32_t count, TKVectorDataSet* nominal, TKVectorDataSet* measured, int32_t refCount, TKVectorDataSet* refNominal, TKVectorDataSet* refMeasured);
TK_API int32_t    TKCalcGrayBalance(TKLinearizationRef lin, int32_t count, TKVectorDataSet* nominal, TKVectorDataSet* measured);
TK_API int32_t    TKAdjustGrayBalance(TKLinearizationRef lin, int32_t count, TKVectorDataSet* nominal, TKVectorDataSet* measured);
/* file specs */
TK_API TKFileSpec* TKNewFileSpecRef(void);
TK_API void       TKFreeFileSpecRef(TKFileSpec* spec);
TK_API TKFileSpec* TKName2FileSpec(TKFileSpec* spec, const char* name);
TK_API void       TKFileSpec2Name(TKFileSpec* spec, char* buffer, int32_t size);
TK_API void       TKFileSpec2FullName(TKFileSpec* spec, char* buffer, int32_t size);

#ifdef __cplusplus
}
#endif

#endif /* TINTARA_H */
