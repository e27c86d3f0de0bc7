/* The trafo exports from plain C through the shared library, with normal, null and absurd input. */
#include <math.h>
#include <stdio.h>
#include <string.h>

#include "tintara.h"
#include "CCheck.h"

static void plain_trafo(void) {
    double src[4] = {10.0, 20.0, 30.0, 40.0};
    double dst[4] = {-1.0, -1.0, -1.0, -1.0};
    TKTrafoRef ref = TKNewTKTrafoRef();
    check(ref != NULL, "TKNewTKTrafoRef gives a handle");
    check(TKGetTrafoSrcDim(ref) == 0, "a plain trafo takes any dimension");
    check(TKGetTrafoDstDim(ref) == 0, "and gives any dimension");
    check(TKGetTrafoSrcType(ref) == 0 && TKGetTrafoDstType(ref) == 0, "and any colour type");
    check(TKDoTrafo(ref, src, dst) == 0, "evaluating a plain trafo succeeds");
    check(dst[0] == -1.0, "a trafo of any dimension takes no channels from the host");
    TKFreeTKTrafoRef(ref);
}

static void concatenation(void) {
    double src[3] = {1.0, 2.0, 3.0};
    double dst[3] = {0.0, 0.0, 0.0};
    TKTrafoRef list = TKConcatenateTrafos(NULL, NULL, NULL, NULL, NULL, NULL);
    check(list != NULL, "concatenating nothing gives an empty list");
    check(TKGetTrafoSrcDim(list) == 0 && TKGetTrafoDstDim(list) == 0, "the empty list has any dimension");
    check(TKDoTrafo(list, src, dst) == 0, "the empty list evaluates");
    TKFreeTKTrafoRef(list);
}

static void null_and_absurd_input(void) {
    double v[2] = {NAN, INFINITY};
    double out[2] = {0.0, 0.0};
    TKTrafoRef ref = TKNewTKTrafoRef();
    check(TKGetTrafoSrcDim(NULL) == 0, "TKGetTrafoSrcDim(NULL) is 0");
    check(TKGetTrafoDstDim(NULL) == 0, "TKGetTrafoDstDim(NULL) is 0");
    check(TKGetTrafoSrcType(NULL) == 0, "TKGetTrafoSrcType(NULL) is 0");
    check(TKGetTrafoDstType(NULL) == 0, "TKGetTrafoDstType(NULL) is 0");
    TKFreeTKTrafoRef(NULL);
    check(1, "TKFreeTKTrafoRef(NULL) does nothing");
    check(TKDoTrafo(NULL, v, out) == 3, "TKDoTrafo without a handle is ArgErr");
    check(TKDoTrafo(ref, NULL, out) == 3, "TKDoTrafo without a source is ArgErr");
    check(TKDoTrafo(ref, v, NULL) == 3, "TKDoTrafo without a destination is ArgErr");
    check(TKDoTrafo(ref, v, out) == 0, "NaN and infinity pass through an identity");
    TKFreeTKTrafoRef(ref);
}

static void many_handles(void) {
    TKTrafoRef refs[1000];
    int i, ok = 1;
    for (i = 0; i < 1000; ++i) {
        refs[i] = i % 2 ? TKNewTKTrafoRef() : TKConcatenateTrafos(NULL, NULL, NULL, NULL, NULL, NULL);
        ok = ok && refs[i] != NULL;
    }
    for (i = 999; i >= 0; --i) TKFreeTKTrafoRef(refs[i]);
    check(ok, "a thousand handles are made and freed");
}

/* A device link from the test data is a trafo with fixed dimensions: the trafo functions
 * describe and evaluate it, and agree with its own 16-bit kernel. */
static void link_as_trafo(const char* dataDir) {
    char path[1024];
    double src[3] = {50.0, 25.0, 80.0}, dst[5] = {-1.0, -1.0, -1.0, -1.0, -7.0};
    double huge[3] = {1e300, -1e300, 50.0}, nan3[3] = {NAN, NAN, NAN};
    uint16_t in16[3] = {32768, 16384, 52428}, out16[4] = {0, 0, 0, 0};
    TKFileSpec* spec = TKNewFileSpecRef();
    TKLinkRef link = TKNewTKLink16Ref();
    int i, inRange = 1, agree = 1;
    snprintf(path, sizeof path, "%s/tools/hash-3to4-g5.lnk", dataDir);
    TKName2FileSpec(spec, path);
    check(TKLoadLink16(link, spec) == 0, "the test link loads");
    check(TKGetTrafoSrcDim(link) == 3 && TKGetTrafoDstDim(link) == 4, "the link maps 3 channels to 4");
    check(TKGetTrafoDstType(link) == 0x434D594Bu, "the link gives CMYK");
    check(TKDoTrafo(link, src, dst) == 0, "TKDoTrafo evaluates the link");
    check(dst[4] == -7.0, "TKDoTrafo writes no more than the destination dimension");
    check(TKLink16Match(link, 1, in16, out16, 0, 0, NULL, NULL) == 0, "the link's kernel runs");
    for (i = 0; i < 4; ++i) agree = agree && fabs(dst[i] - out16[i] * 100.0 / 65535.0) < 0.05;
    check(agree, "doubles and 16-bit kernel agree within 0.05 percent");
    check(TKDoTrafo(link, huge, dst) == 0, "absurd source values are taken");
    for (i = 0; i < 4; ++i) inRange = inRange && dst[i] >= 0.0 && dst[i] <= 100.0;
    check(inRange, "and the link's answer stays within its range");
    TKDoTrafo(link, nan3, dst);
    check(1, "NaN source values don't crash the link");
    TKFreeTKLink16Ref(link);
    TKFreeFileSpecRef(spec);
}

int main(int argc, char** argv) {
    plain_trafo();
    concatenation();
    null_and_absurd_input();
    many_handles();
    if (argc > 1) link_as_trafo(argv[1]);
    else printf("no data folder given: the link checks are left out\n");
    return report();
}
