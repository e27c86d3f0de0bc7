/* The trafo exports from plain C through the shared library, with normal, null and absurd input. */
#include <math.h>
#include <stdio.h>
#include <string.h>

#include "tintara.h"
#include "CCheck.h"

/* A plain trafo takes and gives any dimension and type: it evaluates without touching the
 * host's channels. Null handles and absurd values are refused or passed, never a crash. */
static void plain_trafo_and_bad_input(void) {
    double src[4] = {10.0, 20.0, 30.0, 40.0}, dst[4] = {-1.0, -1.0, -1.0, -1.0};
    double v[2] = {NAN, INFINITY}, out[2] = {0.0, 0.0};
    TKTrafoRef ref = TKNewTKTrafoRef();
    check(ref != NULL && TKGetTrafoSrcDim(ref) == 0 && TKGetTrafoDstDim(ref) == 0 && TKGetTrafoSrcType(ref) == 0 &&
              TKGetTrafoDstType(ref) == 0,
          "a plain trafo has any dimension and colour type");
    check(TKDoTrafo(ref, src, dst) == 0 && dst[0] == -1.0, "it evaluates and takes no channels from the host");
    check(TKGetTrafoSrcDim(NULL) == 0 && TKGetTrafoDstDim(NULL) == 0 && TKGetTrafoSrcType(NULL) == 0 &&
              TKGetTrafoDstType(NULL) == 0,
          "the getters give 0 for a null handle");
    TKFreeTKTrafoRef(NULL);
    check(TKDoTrafo(NULL, v, out) == 3 && TKDoTrafo(ref, NULL, out) == 3 && TKDoTrafo(ref, v, NULL) == 3,
          "TKDoTrafo without a handle, source or destination is ArgErr");
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
    TKDoTrafo(link, nan3, dst); /* NaN source values must not crash the link */
    TKFreeTKLink16Ref(link);
    TKFreeFileSpecRef(spec);
}

int main(int argc, char** argv) {
    plain_trafo_and_bad_input();
    many_handles();
    if (argc > 1) link_as_trafo(argv[1]);
    else printf("no data folder given: the link checks are left out\n");
    return report();
}
