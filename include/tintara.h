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
 * link, and TKDLProfiles2MCLink* a merge link (whose matches hold its member links as well):
 * called while another call on the link runs, they return ThreadError (67) and leave it
 * as it is, and a match, TKDoTrafo or save called during a rebuild returns 67 as well: nothing
 * waits, so a host that re-bakes a shared link retries or serialises those calls itself. The
 * TKGetTrafo* queries answer 0 during a rebuild, as for no trafo.
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
/*
 * ---- Colour values and units ----------------------------------------------------------------
 * Colours cross this interface as arrays of double, one per channel in the order of the colour
 * type's channels, in these units (a value outside them passes, and trafos clip where their
 * tables end):
 *   'CMYK', 'CMY ', 'GRAY', 'nCLR' ('2CLR'..'FCLR'), 'mc1A'.. multi-inks: ink in percent, 0 to
 *            100, 0 the bare paper. GRAY is an ink too: 0 is white, 100 full black.
 *   'RGB '   0 to 255 per channel, 255 the white.
 *   'Lab '   L* 0 to 100, a* and b* -128 to 128 (D50).   'LCh ' L 0..100, C 0..255, h 0..360 deg.
 *   'XYZ '   Y = 100 for the media or perfect white, 0 to 200 per channel; the connection-space
 *            white is D50 = 96.42, 100, 82.49.   'Yxy ' Y 0..200, x and y 0..1.
 * Pixels of the match functions are the same ranges mapped linearly onto 0..255 (8 bit) or
 * 0..65535 (16 bit, native byte order): CMYK 255 is 100 % ink, Lab 8-bit 0 is a* = -128 and
 * 255 is a* = +128, XYZ 65535 is 200. Grids are normalized to 0 to 1, the first channel varying
 * slowest.
 *
 * ---- Rendering intents ------------------------------------------------------------------------
 * The `intent`/`intents` arguments of TKGetICCProfileTrafo and TKConcatICCProfiles*:
 *   0 Perceptual   1 RelativeColorimetric   2 Saturation   3 AbsoluteColorimetric (the ICC four)
 *   9 BlackCompensationPerceptual, 10 BlackCompensation: perceptual resp. relative colorimetric
 *      with black point compensation (BPC): the source black is scaled onto the destination's.
 *   11 AbsolutePerceptual   12 AbsLightenerCompensation (removes part of the optical brighteners'
 *      effect)   13 GamutCompression = 14 PerceptualCompression   15 RelativeCompression
 *   16 AbsoluteCompression   17 TKRelative   18 TKAbsolute   19 RelativeLightness (between two
 *      profiles of a chain: the source white is mapped onto the destination's lightness)
 *   20 the intent written in the profile's header
 *   21..25 CustomRendering1..5: custom intents configured through the global options
 *      ("CustomRendering1MergeAbsoluteRelative", "CustomRendering1ScaleLuminance" for 21;
 *      "CustomIntent<n>/mode" 0 or 1 and "CustomIntent<n>/factor" for 21 + n in the settings file;
 *      a mode other than 0 or 1 fails with ArgErr when the trafo is built)
 *   26 MinimumBlackCompression  27 MinimumWhiteCompression  28 MinimumCompression
 *   29 XYZ Scaling   30 TKTestCompression.  Codes 4 to 8 and above 30 act as absolute colorimetric.
 * Adding 64 (0x40) to an intent of a profile's inverse (connection space to device) refines the
 * table's answer by a search against the forward table of the same intent.
 *
 * ---- Error codes ------------------------------------------------------------------------------
 * Every int32_t result is one of these (the text is the code's name as the library logs it), or
 * a code that a host callback returned, passed on unchanged:
 *    0 NoErr                  1 UndefProc               2 UnexpectedErr           3 ArgErr
 *    4 MemFullErr             5 BufferError             6 BufferTooSmall          7 IndexError
 *    8 EOFReached             9 NotFound               10 WrongDataType          11 FileInvalidDesc
 *   12 FileNotOpen           13 FileLengthFailed       14 FileSeekFailed         15 FilePosFailed
 *   16 FileReadFailed        17 FileWriteFailed        18 FileAccessErr          19 FormatErr
 *   20 PtrInvalid            21 StringInvalid          22 DivZero                23 DimMismatch
 *   24 SingularMatrixErr     25 MatrixSVDErr           26 LibraryNLoadErr        27 CreateObjectErr
 *   28 IllegalMeasurementData 29 InvalidGammaTable     31 InvalidICCTag          32 MissingICCTag
 *   33 MissingICCTagData     34 InvalidTrafo           35 TrafoCreationErr       36 ICCProfileClassErr
 *   37 InvalidFileSpec       38 IllegalMeasureMode     39 MeasDeviceNotFound     40 VideocardHasNoGammaTable
 *   41 VideocardHasNoGammaTable 42 GeneralErr          43 IOErr                  44 MathErr
 *   45 TrafoErr              46 ColorErr               47 ColorTrafoErr          48 ICCTrafoErr
 *   49 NoSystemProfile       50 SystemProfileNotSet    51 OutOfRange             52 SyntaxError
 *   53 DBError               54 CommandNotFound        55 ObjectNotFound         56 Cancel
 *   57 WrongObjectType       58 ResourceNotFound       59 NoMeasurementData      60 MeasureCommunicationError
 *   61 MeasureUnexpectedReply 62 PDFError              63 VersionErr             64 DecodeErr
 *   66 MonitorNotFound       67 ThreadError            68 SystemError            69 DirCreationError
 *   70 WrongSensorPosition   71 MeasureFailed          72 CustomError            73 Timeout
 *   74 DeviceError           75 FeatureMissing         76 WarningErr             77 ErrReadOnly
 *   78 FlatteningFailed      79 SpotColorNotFound      80 SpotColorLibNotFound   81 InitializationError
 *   82 AssignedProfileNotFound
 * The ones a host meets: 3 a null or wrong handle, a bad argument or option value; 4 out of
 * memory; 6 a buffer too small (the needed size is still reported); 10 colour types that do not
 * chain (a profile fits the chain on neither side); 12/16/17/18 a file that cannot be opened,
 * read or written; 19 a damaged profile or link file; 23 a trafo whose dimensions do not fit;
 * 31..33 bad or missing ICC tags; 35 a profile class without conversion tables; 36 a profile of
 * an unusable class; 45 an option that needs another kind of trafo; 56 cancelled by the host's
 * progress callback (never recorded as a failure); 67 a link rebuilt while in use; 75 a feature
 * not built in. Each failure except 56 is also written to the debug log "TKDebugLog.txt".
 *
 * ---- Handles and ownership --------------------------------------------------------------------
 * Trafo, link and linearization handles (TKTrafoRef, TKLinkRef, TKLinearizationRef) own one
 * count of their object; free each with its TKFree...Ref (the four free functions are one and
 * the same). Objects shared with a list or a merge link live on until their last user ends, so
 * a handle may be freed right after its trafo was concatenated or baked. Profiles (TKICCProfile*)
 * and file specs (TKFileSpec*) are bare objects freed with TKFreeICCProfileRef/TKFreeFileSpecRef.
 * All free functions accept NULL. A freed handle must not be used again: the library cannot
 * tell, and a use after free fails with PtrInvalid (20) at best.
 *
 * ---- The settings file ------------------------------------------------------------------------
 * "TKGlobalData.txt", lines "key = value", in $TINTARA_PREFERENCES_DIR if set, else in
 * $XDG_CONFIG_HOME (default ~/.config). Read on first use; the file is optional. Keys the library
 * reads: "LinkDefaultOptions" (1: lazy links, nodes computed on first use), "DebugLogFolder"
 * (present and empty: no log file), "DebugLogMaxSize" (bytes), "PluginFolder",
 * "PluginIgnoreList", "OOGColor", "OOGLimit", "OOGMethod", "CustomIntent<n>/mode",
 * "CustomIntent<n>/factor", "gDensityMode", "gSeparationDefaultFactor" (0.9), "gInvColorFlags"
 * (1), "gInvColorDefaultRho" (0.7), "gInvColorDefaultErrLimit" (0.1), "gBrightenerSrc2DstFactor"
 * (0.15).
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

/* Progress of a match: `position` runs from 0 to `total` (1000). Return 0 to go on; any other
 * value stops the call, which returns that value (56, Cancel, by convention). Runs on the
 * calling thread. */
typedef int32_t (*TKProgressProc)(int32_t position, int32_t total, void* userData);
/* A host's colour function (TKNewCustomTrafoRef): `src` and `dst` are arrays of 16 doubles owned
 * by the library for the call only; return 0, or an error code that the calling function then
 * returns. Called on whichever thread evaluates or bakes the trafo. */
typedef int32_t (*TKCustomTrafoProc)(const double* src, double* dst, void* userData);
/* Delivers row `index` (0 to count - 1) of a measurement table: writes one double per channel
 * of the set's colour type into `values` (room for 36) and returns 0; any other result fails
 * the calculation with DimMismatch (23). */
typedef int32_t (*TKVectorDataSetProc)(int32_t index, double* values, void* userData);
typedef struct TKVectorDataSet { uint32_t colorType; TKVectorDataSetProc callback; void* userData; } TKVectorDataSet;

/* TKConcatenateTrafos takes the trafo objects themselves, not references. A reference is a record
 * of two pointers, the second of which is the object it holds; TK_TRAFO_OF_REF(ref) reads it
 * (NULL for a NULL reference). The pointer is borrowed from `ref`: pass it while `ref` lives.
 * The new list takes a count of its own on each member, so the references may be freed right
 * after the call, and a member can stand in several lists. NULL arguments are skipped; six
 * NULLs give an empty list, which changes no colour. A pointer to an object that is not a
 * trafo (an ICC profile, say) gives NULL; a reference itself must never be passed. */
#define TK_TRAFO_OF_REF(ref) ((ref) ? ((TKTrafo* const*)(const void*)(ref))[1] : (TKTrafo*)0)

/* ---- trafos ----------------------------------------------------------------------------------
 * A trafo maps a colour (doubles in the units above) to a colour. TKNewTKTrafoRef gives the
 * identity; TKConcatenateTrafos chains t1..t6 in that order (see above).
 * TKGetTrafoSrcDim/DstDim: channel counts, 0 for "any" (and for a NULL handle); TKGetTrafoSrcType
 * /DstType: colour type signatures, 0 for "any". Queries never fail and record nothing.
 * TKDoTrafo: evaluates one colour: reads SrcDim doubles from `src`, writes DstDim to `dst` (may be
 * the same array); 3 for a NULL handle or array, 23 if the trafo's result has another channel
 * count, 67 for a link being rebuilt. It may run on several threads at once, except on trafos
 * made by TKNewExceptionTrafoRef, which keep per-colour state (one thread at a time), and on a
 * custom trafo whose callback is not thread-safe.
 * TKSetTrafoOption: keys ignore case; an empty key gives 0, an unknown key gives 0 and changes
 * nothing; a NULL handle gives 3. Must not overlap any other call on the handle.
 *   "ReplaceSpot"     "<colour> <colour> Mode m [Tolerance t]": colours within t (default 1.0,
 *                     units of the type) of the first become the second. A colour is a type name
 *                     and its values, e.g. "CMYK 0 0 0 100 CMYK 0 0 0 100". m says where the rule
 *                     acts: 1 instead of the trafo, 2 on its input, 4 on its output (no Mode: 3).
 *   "ReplaceGradient" "<src1> <src2> <dst1> <dst2> [Mode m] [Tolerance t]": the ramp from src1
 *                     to src2 becomes the ramp from dst1 to dst2.
 *   "ReplaceMode"     decimal bit mask of the replacement lists in force, empty: 255.
 *                     Replacement options wrap the trafo once; the handle stays the same.
 *   "InkLimit"        "<total> [<limit channel 1> ...]": total area coverage in percent (e.g.
 *                     "300"), then optional limits per channel; appended behind the trafo; 10 for
 *                     a trafo whose output is not an ink type.
 *   "WhiteBase"       CIE trafos (connection-space conversions) only, else 45: the measured white,
 *                     a spectrum or a colour ("XYZ 96.4 100 82.5"); empty: a 5000 K light.
 *   "Observer"        CIE trafos only, else 45: "2" or "10" (degrees); empty: 2.
 *   "Smoothing"       linearization handles only, else 45: smoothing of the curves the next
 *                     calculation makes, a number; negative or empty: none.
 *   "DifferenceMethod" linearization handles only, else 45: the colour difference that measures
 *                     tone in the next calculation, a number or a name ("dE76", "dE00", ...);
 *                     empty: "dE76".
 *   Malformed values give 3 and leave the trafo as it was.
 * TKNewExceptionTrafoRef: a new trafo that runs `ref` and keeps defined colours pure; `ref`'s
 * handle stays valid and must still be freed. `mode` is a sum of flags: PureBlack 1,
 * BlackOverprint 2, LinearizeGray 4, IgnoreGray 8 (PureGray 12), FullCMY 16, PurePrimaries 32,
 * FullRGB 64, PureWhite 128, Duplex 256, Triplex 512, FullBlack 1024, Purify 2048,
 * PureSecondaries 4096, LimitPrimaries 8192, PreserveZeroBlack 16384, TriplexBelowTAC 32768,
 * ClipToEdge 65536, Preserve100Black 131072, FullBlackToBlack 262144, FilterExceptions 524288,
 * PureC 0x100000, PureM 0x200000, PureY 0x400000, PureMY 0x800000, PureCY 0x1000000,
 * PureCM 0x2000000, MaxCMY 0x4000000, MaxRGB 0x8000000 (K-only text and grays stay K-only with
 * PureBlack + LinearizeGray, 5). `percent`: width of the fall-off around each kept colour in
 * percent of the channel range (1.0 is a good start; negative or NaN: NULL).
 * `settings`: NULL or lines of "GridSize n", "Spot <type> <values> [Border b|Auto] [Radius r]
 * [IgnoreTAC]", "Range CMYK c m y k CMYK c m y k [IgnoreTAC]", "TAC Min a Max b"; malformed lines
 * are skipped. NULL for a handle without a trafo or with dimensions that contradict its types.
 * TKNewCustomTrafoRef: with a callback, a trafo of srcDim to dstDim channels (at most 16 each) of
 * the given types; srcDim 0 takes the source type's channel count, and dstDim 0 leaves the
 * destination's count open (and, with a colour type, puts that type's count in srcDim: pass
 * dstDim explicitly). `userData` must outlive the trafo. With a NULL callback: the library's own
 * conversion between two colour types (e.g. 'Lab ' to 'XYZ '), NULL if either is not one. */
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
/* ---- profiles and options --------------------------------------------------------------------
 * TKNewICCProfileRef: an empty profile; TKReadProfile reads an ICC file (version 2 or 4) into it,
 * replacing what it held: 3 for NULL arguments, 12/16 for a missing or unreadable file, 19/31..33
 * for a damaged one. A profile is for one thread at a time (tags are decoded in place).
 * TKGetICCProfileTrafo: the profile's trafo for `intent` (codes above): `toPCS` non-zero gives
 * device to connection space ('Lab ' or 'XYZ '), zero the way back. Stores a new handle in *out
 * (the caller frees it); 3 for NULL `out` or profile, 32 if the profile has no table for it.
 * TKConcatICCProfiles: one trafo through `count` (at most 10, else 6) profiles named by `specs`,
 * in order (NULL entries are skipped), with intents[i] for profile i (`intents` NULL: all
 * perceptual). A device profile between two others is passed both ways; a device link profile
 * takes the device values directly. 10 if neighbouring colour types do not chain, 3 for NULL
 * `out` or `specs`; file errors as for TKReadProfile. *out gets a new handle on success only.
 * TKConcatICCProfilesEx: the same with `srcType` (non-zero: a conversion from that type in front)
 * and `dstType` (non-zero: a conversion to it behind; both ends must then be connection-space
 * types, e.g. 'Lab ' to 'XYZ ', else 10).
 * TKGetProfileOption/TKSetProfileOption: keys are case-sensitive: "ChannelInfo<n>" (colorant
 * table, channel n counted from 0) and "DstChannelInfo<n>" (the output colorant table of a
 * device link, else the same as ChannelInfo). Values "name,type,values", e.g.
 * "Cyan,Lab,55 -37 -50". Get: an empty key gives 0 and writes nothing; an unknown key or an
 * unnamed channel 3; a text that does not fit `size` bytes (terminator included) 6; `value`
 * NULL tests whether the channel exists. Set: the name and, if type and values are given, the
 * colour; a channel the profile lacks is ignored.
 * TKTintaraSetOption: process-wide, case-sensitive keys; any other key gives 3:
 *   "OOGColor"  "r g b" (0..255): marking colour of out-of-gamut checks, default "255 0 255".
 *   "OOGLimit"  colour difference above which a colour is out of gamut, default "5.0".
 *   "OOGMethod" a colour difference name, default "dE76" (also "dE94", "dE00", "dE99" and the
 *               names that plug-ins add).
 *   "CustomRendering1MergeAbsoluteRelative" factor: intent 21 mixes absolute and relative
 *               rendering, 0 relative .. 1 absolute (default 0.5).
 *   "CustomRendering1ScaleLuminance" factor: intent 21 scales the white's luminance (default 1).
 *   "DensityMode" "Status-A", "Status-E", "Status-I", "Status-T", "Status-M" or "Maximum-Density".
 * A value that is not of the form given (a number out of its range, a colour of other than
 * three values, an unknown method name) gives 3 and keeps the option as it was.
 * Safe from any thread; a change applies to trafos built afterwards. */
TK_API TKICCProfile* TKNewICCProfileRef(void);
TK_API void       TKFreeICCProfileRef(TKICCProfile* profile);
TK_API int32_t    TKReadProfile(TKICCProfile* profile, TKFileSpec* spec);
TK_API int32_t    TKGetICCProfileTrafo(TKTrafoRef* out, TKICCProfile* profile, int32_t toPCS, int32_t intent);
TK_API int32_t    TKConcatICCProfilesEx(TKTrafoRef* out, uint32_t srcType, uint32_t dstType, int32_t count, TKFileSpec** specs, const int32_t* intents);
TK_API int32_t    TKConcatICCProfiles(TKTrafoRef* out, int32_t count, TKFileSpec** specs, const int32_t* intents);
TK_API int32_t    TKGetProfileOption(TKICCProfile* profile, const char* key, char* value, int32_t size);
TK_API int32_t    TKSetProfileOption(TKICCProfile* profile, const char* key, const char* value);
TK_API int32_t    TKTintaraSetOption(const char* key, const char* value);
/* ---- links: skips and steps count samples, not bytes ------------------------------------------
 * A link is a trafo baked into integer tables; it is also a trafo handle for the trafo functions.
 * TKNewTKLink8Ref and TKNewTKLink16Ref are the same: one link serves both depths. A new link is
 * empty: matching it gives 3 until it is baked or loaded.
 * TKColorTrafo2Link*: bakes `trafo` (any trafo with fixed channel counts, at most 16 in and 36
 * out) into `link`, replacing its tables. `gridBits` 1..6 gives 2^bits + 1 points per axis (4: 17,
 * 5: 33, 6: 65); 0 picks by channel count (65 for 1 channel .. 17 for 3, 11 for 4; a table
 * inside the trafo may raise it); -1, -2, -4..-7 are other quality levels. 3 for a NULL or
 * non-link handle or gridBits above 6; 67 while the link is in use. The trafo handle may be freed
 * right afterwards.
 * TKSaveLink* / TKLoadLink*: the link file (magic "BEGT"; little-endian, the same bytes for files
 * and memory). 3 for a NULL spec or a handle without a link; 17 cannot write; 12/16 cannot read,
 * 8/19 truncated or damaged: a failed load leaves the link as it was.
 * TKSaveLink*ToMemory: with `buffer` NULL and `length` set, stores the size only; with a buffer
 * of `size` bytes, copies the file's bytes (6 if it is too small, the size still stored).
 * TKLoadLink*FromMemory copies `size` bytes from `data`; the caller may free them afterwards.
 * TKLink8Match / TKLink16Match: `count` interleaved pixels of uint8_t / uint16_t from `src` to
 * `dst`, channels in the order of the link's colour types (SrcDim in, DstDim out); after each pixel
 * `srcSkip` / `dstSkip` samples are passed over (alpha, or other planes left as they are).
 * `src` and `dst` must not overlap. A NULL `progress` means no reports.
 * TKLink8MatchPlanes / TKLink16MatchPlanes: one pointer per channel in `srcPlanes` (SrcDim) and
 * `dstPlanes` (DstDim); `srcStep`/`dstStep` samples between two pixels of one plane (1 for packed
 * planes; may be negative).
 * The match functions return 0; 3 for an empty or NULL link, NULL pixel pointers with count > 0,
 * a negative count or skip, or strides beyond 2^31 bytes; 67 while the link is rebuilt; the
 * progress callback's code if it stops. They take no lock and allocate nothing: any number of
 * threads may match one link at once, each with its own pixels.
 * TKNewTKMCLink*Ref: an empty merge link, freed with TKFreeTKLink16Ref; it matches like a link.
 * TKDLProfiles2MCLink*: builds it from `count` device link profiles (NULL entries skipped), the
 * first taking the process colours and the others their spot channels, each baked with
 * gridBits[i] (NULL: 0 for all; i counts the non-NULL entries); 3 for NULL link or specs. */
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
/* ---- linearization ---------------------------------------------------------------------------
 * A linearization holds one tone curve per channel of 'CMYK' (0..100 % in and out) and is a trafo:
 * TKDoTrafo applies the curves, TKColorTrafo2Link* bakes them. Measurements reach the library
 * through TKVectorDataSet records (TKInitVectorDataSet fills one; the callback is called during
 * the calculation only, on the caller's thread, and the record is not kept). `nominal` rows are
 * the device values printed (inks in percent), `measured` rows what was measured, of any colour
 * type the library converts ('Lab ', 'XYZ ', densities...).
 * TKCalcLinearization: curves that make each channel's tone (its measured way from paper to
 * solid) follow the nominal value linearly, within `inkLimits` (NULL or one maximum per channel
 * in percent; NULL: 100 each).
 * TKCalcReferenceLinearization: curves that make this process print like the reference process
 * measured in refNominal/refMeasured (`refCount` rows).
 * TKCalcGrayBalance: curves that make C = M = Y print neutral; TKAdjustGrayBalance refines the
 * curves already held from a further measurement of the corrected print.
 * TKLimitSlope: bounds the slope of every curve to [minSlope, maxSlope].
 * All return 3 for a NULL or non-linearization handle, NULL sets or fewer than 2 rows (per set),
 * 23 when a callback fails or a type has more than 36 channels, 28/59 for unusable data, 51 for
 * nominal values outside 0..100; a failed calculation leaves the curves as they were. One thread
 * at a time per handle. */
TK_API TKLinearizationRef TKNewTKLinearizationRef(void);
TK_API void       TKFreeTKLinearizationRef(TKLinearizationRef lin);
TK_API void       TKInitVectorDataSet(TKVectorDataSet* set, uint32_t colorType, TKVectorDataSetProc callback, void* userData);
TK_API int32_t    TKLimitSlope(TKLinearizationRef lin, double minSlope, double maxSlope);
TK_API int32_t    TKCalcLinearization(TKLinearizationRef lin, int32_t count, TKVectorDataSet* nominal, TKVectorDataSet* measured, const double* inkLimits);
TK_API int32_t    TKCalcReferenceLinearization(TKLinearizationRef lin, int32_t count, TKVectorDataSet* nominal, TKVectorDataSet* measured, int32_t refCount, TKVectorDataSet* refNominal, TKVectorDataSet* refMeasured);
TK_API int32_t    TKCalcGrayBalance(TKLinearizationRef lin, int32_t count, TKVectorDataSet* nominal, TKVectorDataSet* measured);
TK_API int32_t    TKAdjustGrayBalance(TKLinearizationRef lin, int32_t count, TKVectorDataSet* nominal, TKVectorDataSet* measured);
/* ---- file specs ------------------------------------------------------------------------------
 * A file spec names a file for the functions above. TKName2FileSpec sets its path from a UTF-8
 * name (NULL or "" empties it) and returns `spec`. TKFileSpec2Name gives the file's name without
 * folder, TKFileSpec2FullName the whole path; a text of `size` bytes or more is cut to `size`
 * bytes without a terminator. A file spec is for one thread at a time. */
TK_API TKFileSpec* TKNewFileSpecRef(void);
TK_API void       TKFreeFileSpecRef(TKFileSpec* spec);
TK_API TKFileSpec* TKName2FileSpec(TKFileSpec* spec, const char* name);
TK_API void       TKFileSpec2Name(TKFileSpec* spec, char* buffer, int32_t size);
TK_API void       TKFileSpec2FullName(TKFileSpec* spec, char* buffer, int32_t size);

#ifdef __cplusplus
}
#endif

#endif /* TINTARA_H */
