/* The multi-colour link exports from a plain C99 host through the shared library: a merge link
 * of real device-link profiles with a null entry, matched like any link, and bad input.
 * The first argument is the test data folder. */
#include <stdio.h>
#include <string.h>

#include "tintara.h"
#include "CCheck.h"

#define PIXELS 1000

static TKFileSpec* spec_of(const char* folder, const char* name) {
    char path[4096];
    snprintf(path, sizeof path, "%s/icc/%s", folder, name);
    return TKName2FileSpec(TKNewFileSpecRef(), path);
}

int main(int argc, char** argv) {
    const char* folder = argc > 1 ? argv[1] : "tests/data";
    TKFileSpec* cmyk = spec_of(folder, "FOGRA39-to-FOGRA29-link-v2.icc");
    TKFileSpec* rgb = spec_of(folder, "sRGB-to-FOGRA39-link-v2.icc");
    TKFileSpec* specs[3];
    const int32_t bits[2] = {3, 3};
    const int32_t badBits[2] = {3, 9};
    TKLinkRef merge = TKNewTKMCLink8Ref();
    TKLinkRef single = TKNewTKMCLink16Ref();
    static uint16_t src[PIXELS * 4], a[PIXELS * 4], b[PIXELS * 4];
    uint32_t seed = 7;
    int i;
    for (i = 0; i < PIXELS * 4; ++i) seed = seed * 1664525u + 1013904223u, src[i] = (uint16_t)(seed >> 16);

    check(merge != NULL && single != NULL, "merge links are created");
    check(TKGetTrafoSrcDim(merge) == 0, "an empty merge link has no fixed dimension");
    check(TKLink16Match(merge, 1, src, a, 0, 0, NULL, NULL) == 3, "an empty merge link matches nothing");

    /* A null entry is skipped; the second CMYK link adds no channels, so an empty-channel merge
     * link passes it over and gives what the first alone gives. */
    specs[0] = cmyk, specs[1] = NULL, specs[2] = cmyk;
    check(TKDLProfiles2MCLink8(merge, 3, specs, bits) == 0, "two CMYK device links make a merge link");
    check(TKDLProfiles2MCLink16(single, 1, specs, bits) == 0, "one CMYK device link makes a merge link");
    check(TKGetTrafoSrcDim(merge) == 4 && TKGetTrafoDstDim(merge) == 4, "the merge link is CMYK to CMYK");
    check(TKGetTrafoDstType(merge) == 0x434D594Bu, "its destination is CMYK");
    check(TKLink16Match(merge, PIXELS, src, a, 0, 0, NULL, NULL) == 0, "the merge link matches pixels");
    check(TKLink16Match(single, PIXELS, src, b, 0, 0, NULL, NULL) == 0, "the one-member link matches pixels");
    check(memcmp(a, b, sizeof a) == 0, "a member without extra channels is passed over");

    /* Bad input: the earlier merge link stays as it was when the arguments are refused. */
    check(TKDLProfiles2MCLink16(NULL, 1, specs, bits) == 3, "a null link is refused");
    check(TKDLProfiles2MCLink16(merge, 1, NULL, bits) == 3, "null specs are refused");
    specs[0] = cmyk, specs[1] = cmyk;
    check(TKDLProfiles2MCLink16(merge, 2, specs, badBits) == 3, "grid bits above 6 are refused");
    check(TKGetTrafoSrcDim(merge) == 4, "a refused call leaves the merge link");
    specs[1] = rgb;
    check(TKDLProfiles2MCLink16(merge, 2, specs, bits) == 34, "an RGB link cannot follow a CMYK one");
    check(TKLink16Match(merge, 1, src, a, 0, 0, NULL, NULL) == 3, "a failed build leaves no half-built link");

    TKFreeTKLink8Ref(merge);
    TKFreeTKTrafoRef(single);
    TKFreeFileSpecRef(cmyk);
    TKFreeFileSpecRef(rgb);
    return report();
}
