/* Reads profiles, chains them into one trafo and converts single colours with it.
 *
 *   convert_colours PROFILE_DIR   (holding sRGB.icc, FOGRA39L.icc, FOGRA29L.icc and the device link
 *                                  profile FOGRA39_to_FOGRA29_link.icc)
 *
 * Shows the units of colour values (RGB 0..255, inks 0..100 %, Lab), the intents, the error
 * codes of a chain that does not fit, and that every handle is freed. */
#include <stdio.h>

#include "tintara.h"

#define SIG(a, b, c, d) (((uint32_t)(a) << 24) | ((uint32_t)(b) << 16) | ((uint32_t)(c) << 8) | (uint32_t)(d))

enum { kPerceptual = 0, kRelative = 1, kAbsolute = 3 };

/* A file spec for PROFILE_DIR/name; the caller frees it. */
static TKFileSpec* profile_spec(const char* dir, const char* name) {
    char path[4096];
    snprintf(path, sizeof path, "%s/%s", dir, name);
    return TKName2FileSpec(TKNewFileSpecRef(), path);
}

/* One trafo through up to three profiles into *trafo; gives the library's code. */
static int32_t chain(TKTrafoRef* trafo, const char* dir, int count, const char* const* names, const int32_t* intents,
                     uint32_t srcType, uint32_t dstType) {
    TKFileSpec* specs[3] = {NULL, NULL, NULL};
    int32_t code;
    int i;
    for (i = 0; i < count; ++i) specs[i] = profile_spec(dir, names[i]);
    *trafo = NULL;
    code = TKConcatICCProfilesEx(trafo, srcType, dstType, count, specs, intents);
    for (i = 0; i < count; ++i) TKFreeFileSpecRef(specs[i]);
    if (code != 0) printf("chain %s -> %s: error %d\n", names[0], names[count - 1], (int)code);
    return code;
}

static int print_conversion(TKTrafoRef trafo, const double* in, const char* label) {
    double out[16];
    int32_t code = TKDoTrafo(trafo, in, out), c;
    if (code != 0) {
        printf("%s: error %d\n", label, (int)code);
        return 0;
    }
    printf("%-28s ->", label);
    for (c = 0; c < TKGetTrafoDstDim(trafo); ++c) printf(" %7.2f", out[c]);
    printf("\n");
    return 1;
}

int main(int argc, char** argv) {
    const char* dir = argc > 1 ? argv[1] : "tests/data/concat";
    static const char* const toPrint[] = {"sRGB.icc", "FOGRA39L.icc"};
    static const char* const proof[] = {"FOGRA39L.icc", "FOGRA29L.icc"};
    static const char* const wrong[] = {"sRGB.icc", "FOGRA39_to_FOGRA29_link.icc"};
    static const int32_t perceptual[] = {kPerceptual, kPerceptual};
    static const int32_t relative[] = {kRelative, kRelative};
    static const int32_t absolute[] = {kAbsolute};
    static const double rgb[][3] = {{255, 255, 255}, {0, 0, 0}, {233, 196, 170}, {255, 0, 0}};
    static const double cmyk[][4] = {{0, 0, 0, 0}, {100, 0, 0, 0}, {0, 0, 0, 100}, {40, 30, 30, 10}};
    int ok = 1, i;

    /* sRGB (0..255) to FOGRA39 CMYK (0..100 % ink), perceptual; FOGRA39 to FOGRA29, relative
     * colorimetric; FOGRA39 alone to Lab, absolute colorimetric. */
    TKTrafoRef separation, press, toLab, bad;
    if (chain(&separation, dir, 2, toPrint, perceptual, 0, 0) != 0 || chain(&press, dir, 2, proof, relative, 0, 0) != 0 ||
        chain(&toLab, dir, 1, proof, absolute, 0, SIG('L', 'a', 'b', ' ')) != 0)
        return 1;
    printf("sRGB -> FOGRA39: %d channels in, %d out\n", (int)TKGetTrafoSrcDim(separation),
           (int)TKGetTrafoDstDim(separation));
    for (i = 0; i < 4; ++i) {
        char label[64];
        snprintf(label, sizeof label, "RGB %3.0f %3.0f %3.0f", rgb[i][0], rgb[i][1], rgb[i][2]);
        ok &= print_conversion(separation, rgb[i], label);
    }
    for (i = 0; i < 4; ++i) {
        char label[64];
        snprintf(label, sizeof label, "CMYK %3.0f %3.0f %3.0f %3.0f", cmyk[i][0], cmyk[i][1], cmyk[i][2], cmyk[i][3]);
        ok &= print_conversion(press, cmyk[i], label);
        ok &= print_conversion(toLab, cmyk[i], "  as Lab (absolute)");
    }

    /* A chain that does not fit: sRGB gives Lab, and a CMYK device link cannot take it. The
     * library answers WrongDataType (10) and makes no trafo. */
    if (chain(&bad, dir, 2, wrong, perceptual, 0, 0) != 10 || bad != NULL) {
        printf("an sRGB image went into a CMYK link\n");
        TKFreeTKTrafoRef(bad);
        ok = 0;
    }
    TKFreeTKTrafoRef(separation);
    TKFreeTKTrafoRef(press);
    TKFreeTKTrafoRef(toLab);
    return ok ? 0 : 1;
}
