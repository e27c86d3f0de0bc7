/* The trafo exports from plain C through the shared library, with normal, null and absurd input. */
#include <math.h>
#include <stdio.h>
#include <string.h>

#include "tintara.h"

static int passed = 0;
static int failed = 0;

static void check(int ok, const char* what) {
    if (ok) {
        ++passed;
    } else {
        ++failed;
        printf("FAILED: %s\n", what);
    }
}

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

int main(void) {
    plain_trafo();
    concatenation();
    null_and_absurd_input();
    many_handles();
    printf("%d passed, %d failed\n", passed, failed);
    return failed ? 1 : 0;
}
