/* The profile exports from a plain C99 host through the shared library: read real profiles, get
 * their trafos, concatenate sRGB -> FOGRA39 and FOGRA39 -> FOGRA29 with and without black point
 * compensation, and evaluate colours (options and bad input: the C++ host tests of the exports).
 * The first argument is the test data folder. */
#define _POSIX_C_SOURCE 200112L
#include <stdio.h>
#include <stdlib.h>

#include "tintara.h"
#include "CCheck.h"

static char folder[1024];

static TKFileSpec* spec_of(const char* name) {
    char path[1200];
    TKFileSpec* spec = TKNewFileSpecRef();
    snprintf(path, sizeof path, "%s/concat/%s", folder, name);
    TKName2FileSpec(spec, path);
    return spec;
}

static double ink_sum(const double* cmyk) { return cmyk[0] + cmyk[1] + cmyk[2] + cmyk[3]; }

static void test_profile_trafo(void) {
    TKICCProfile* profile = TKNewICCProfileRef();
    TKFileSpec* spec = spec_of("FOGRA39L.icc");
    TKTrafoRef toLab = NULL, fromLab = NULL;
    double paper[4] = {0, 0, 0, 0}, lab[3] = {0, 0, 0}, cmyk[4] = {0, 0, 0, 0};
    check(profile != NULL, "new profile");
    check(TKReadProfile(profile, spec) == 0, "read FOGRA39");
    check(TKGetICCProfileTrafo(&toLab, profile, 1, 1) == 0, "A2B trafo");
    check(TKGetICCProfileTrafo(&fromLab, profile, 0, 1) == 0, "B2A trafo");
    check(TKGetTrafoSrcDim(toLab) == 4 && TKGetTrafoDstDim(toLab) == 3, "A2B dimensions");
    check(TKDoTrafo(toLab, paper, lab) == 0 && lab[0] > 99.0 && lab[0] <= 100.5, "paper is L 100 relative");
    /* Lab 50 0 0 through B2A and back stays within a unit or two. */
    lab[0] = 50;
    lab[1] = 0;
    lab[2] = 0;
    check(TKDoTrafo(fromLab, lab, cmyk) == 0, "B2A of gray");
    check(TKDoTrafo(toLab, cmyk, lab) == 0 && lab[0] > 48.5 && lab[0] < 51.5, "gray round trip");
    TKFreeTKTrafoRef(toLab);
    TKFreeTKTrafoRef(fromLab);
    TKFreeFileSpecRef(spec);
    TKFreeICCProfileRef(profile);
}

static void test_concatenations(void) {
    TKFileSpec* srgb = spec_of("sRGB.icc");
    TKFileSpec* f39 = spec_of("FOGRA39L.icc");
    TKFileSpec* f29 = spec_of("FOGRA29L.icc");
    TKFileSpec* rgbChain[2];
    TKFileSpec* cmykChain[2];
    const int32_t relative[2] = {1, 1};
    const int32_t bpc[2] = {10, 10};
    TKTrafoRef rgbToCmyk = NULL, press = NULL, pressBpc = NULL;
    double white[3] = {255, 255, 255}, black[3] = {0, 0, 0}, out[4], outBpc[4];
    double solidBlack[4] = {100, 100, 100, 100}, paper[4] = {0, 0, 0, 0};
    rgbChain[0] = srgb;
    rgbChain[1] = f39;
    cmykChain[0] = f39;
    cmykChain[1] = f29;

    check(TKConcatICCProfiles(&rgbToCmyk, 2, rgbChain, relative) == 0, "sRGB -> FOGRA39");
    check(TKGetTrafoSrcType(rgbToCmyk) == 0x52474220u && TKGetTrafoDstType(rgbToCmyk) == 0x434D594Bu,
          "sRGB -> FOGRA39 types");
    check(TKDoTrafo(rgbToCmyk, white, out) == 0 && ink_sum(out) < 1.0, "RGB white takes no ink");
    check(TKDoTrafo(rgbToCmyk, black, out) == 0 && ink_sum(out) > 250.0, "RGB black is a rich black");

    check(TKConcatICCProfiles(&press, 2, cmykChain, relative) == 0, "FOGRA39 -> FOGRA29");
    check(TKConcatICCProfiles(&pressBpc, 2, cmykChain, bpc) == 0, "FOGRA39 -> FOGRA29 with BPC");
    check(TKDoTrafo(press, paper, out) == 0 && ink_sum(out) < 1.0, "paper stays paper");
    check(TKDoTrafo(pressBpc, paper, outBpc) == 0 && ink_sum(outBpc) < 1.0, "paper stays paper with BPC");
    /* FOGRA39's black is darker than FOGRA29 can print: relative clips to the destination's
     * darkest colour, compensation maps black onto black; both end near the maximum ink. */
    check(TKDoTrafo(pressBpc, solidBlack, outBpc) == 0 && outBpc[3] > 80.0, "black stays black with BPC");
    TKFreeTKTrafoRef(rgbToCmyk);
    TKFreeTKTrafoRef(press);
    TKFreeTKTrafoRef(pressBpc);
    TKFreeFileSpecRef(srgb);
    TKFreeFileSpecRef(f39);
    TKFreeFileSpecRef(f29);
}

int main(int argc, char** argv) {
    snprintf(folder, sizeof folder, "%s", argc > 1 ? argv[1] : "tests/data");
    /* Settings of this run go to a scratch folder, never the user's. */
    setenv("TINTARA_PREFERENCES_DIR", "/tmp/tintara-profile-exports", 0);
    test_profile_trafo();
    test_concatenations();
    return report();
}
