/* The link exports from a plain C99 host through the shared library: load a stored link, bake
 * new links from it (a link is a trafo), match 8- and 16-bit pixels interleaved and planar, save
 * and load through memory and files, cancel through the progress callback, and bad input.
 * The first argument is the test data folder. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tintara.h"
#include "CCheck.h"

#define PIXELS 2000

static uint16_t src16[PIXELS * 3];
static uint8_t src8[PIXELS * 3];

static void make_pixels(void) {
    uint32_t seed = 12345;
    int i;
    for (i = 0; i < PIXELS * 3; ++i) {
        seed = seed * 1664525u + 1013904223u;
        src16[i] = (uint16_t)(seed >> 16);
        src8[i] = (uint8_t)(seed >> 24);
    }
    /* A flat area: runs of equal pixels. */
    for (i = 100; i < 400; ++i) memcpy(&src16[i * 3], &src16[99 * 3], 3 * sizeof(uint16_t));
}

static int same_matching(TKLinkRef a, TKLinkRef b) {
    static uint16_t outA[PIXELS * 4], outB[PIXELS * 4];
    static uint8_t outA8[PIXELS * 4], outB8[PIXELS * 4];
    if (TKLink16Match(a, PIXELS, src16, outA, 0, 0, NULL, NULL) != 0) return 0;
    if (TKLink16Match(b, PIXELS, src16, outB, 0, 0, NULL, NULL) != 0) return 0;
    if (TKLink8Match(a, PIXELS, src8, outA8, 0, 0, NULL, NULL) != 0) return 0;
    if (TKLink8Match(b, PIXELS, src8, outB8, 0, 0, NULL, NULL) != 0) return 0;
    return memcmp(outA, outB, sizeof outA) == 0 && memcmp(outA8, outB8, sizeof outA8) == 0;
}

static int cancel_at_once(int32_t position, int32_t total, void* userData) {
    int* calls = (int*)userData;
    (void)position;
    (void)total;
    ++*calls;
    return 56;
}

int main(int argc, char** argv) {
    char path[4096];
    TKFileSpec* spec = TKNewFileSpecRef();
    TKLinkRef stored = TKNewTKLink16Ref();
    TKLinkRef baked = TKNewTKLink8Ref();
    TKLinkRef back = TKNewTKLink16Ref();
    TKTrafoRef plain = TKNewTKTrafoRef();
    uint32_t size = 0;
    uint8_t* bytes;
    make_pixels();

    snprintf(path, sizeof path, "%s/link/hash-3to4-g5.lnk", argc > 1 ? argv[1] : "tests/data");
    TKName2FileSpec(spec, path);
    check(TKLoadLink16(stored, spec) == 0, "the stored link file loads");
    check(TKGetTrafoSrcDim(stored) == 3 && TKGetTrafoDstDim(stored) == 4, "it maps 3 channels to 4");

    /* Baking from a link at its own grid (2 bits: 5 points) copies it. */
    check(TKColorTrafo2Link16(baked, stored, 2) == 0, "a link bakes from a link");
    check(same_matching(stored, baked), "the copy matches the same");
    check(TKColorTrafo2Link8(baked, stored, 4) == 0, "and resamples to 17 points");
    {
        uint16_t px[3] = {0, 0, 0}, a[4], b[4];
        /* At the corner of the grid both links hold the same node. */
        check(TKLink16Match(stored, 1, px, a, 0, 0, NULL, NULL) == 0 &&
                  TKLink16Match(baked, 1, px, b, 0, 0, NULL, NULL) == 0 && memcmp(a, b, sizeof a) == 0,
              "the resampled link agrees at the grid corner");
    }

    /* Planes with one sample step give the interleaved results. */
    {
        static uint16_t planesIn[3][PIXELS], planesOut[4][PIXELS], inter[PIXELS * 4];
        const void* in[3] = {planesIn[0], planesIn[1], planesIn[2]};
        void* out[4] = {planesOut[0], planesOut[1], planesOut[2], planesOut[3]};
        int i, c, ok = 1;
        for (i = 0; i < PIXELS; ++i)
            for (c = 0; c < 3; ++c) planesIn[c][i] = src16[i * 3 + c];
        check(TKLink16MatchPlanes(stored, PIXELS, in, out, 1, 1, NULL, NULL) == 0, "planar 16-bit match");
        TKLink16Match(stored, PIXELS, src16, inter, 0, 0, NULL, NULL);
        for (i = 0; i < PIXELS; ++i)
            for (c = 0; c < 4; ++c) ok = ok && planesOut[c][i] == inter[i * 4 + c];
        check(ok, "planar and interleaved agree");
    }

    /* Memory: ask for the size, refuse a buffer one byte short, then copy and load back. */
    check(TKSaveLink16ToMemory(stored, NULL, 0, &size) == 0 && size > 0, "the size of the link in memory");
    bytes = (uint8_t*)malloc(size);
    {
        uint32_t again = 0;
        bytes[0] = 0x5A;
        check(TKSaveLink16ToMemory(stored, bytes, size - 1, &again) == 6 && again == size && bytes[0] == 0x5A,
              "a buffer one byte short is BufferTooSmall, gets the size and stays unwritten");
    }
    check(TKSaveLink8ToMemory(stored, bytes, size, NULL) == 0, "the link goes to memory");
    check(memcmp(bytes, "BEGT", 4) == 0 && memcmp(bytes + 4, "BNGL", 4) == 0, "with its magics");
    check(TKLoadLink16FromMemory(back, bytes, size) == 0, "and loads back");
    check(same_matching(stored, back), "matching the same");

    /* Files: write, read into another link. */
    snprintf(path, sizeof path, "link_exports_%d.lnk", (int)(size & 0xFFFF));
    TKName2FileSpec(spec, path);
    check(TKSaveLink8(baked, spec) == 0, "a link saves to a file");
    check(TKLoadLink8(back, spec) == 0, "and loads from it");
    check(same_matching(baked, back), "matching the same after the file");
    remove(path);

    /* Bad input. */
    bytes[4] = 'X';
    check(TKLoadLink16FromMemory(back, bytes, size) == 19, "a wrong inner magic is FormatErr");
    check(TKLink16Match(back, 1, src16, src16, 0, 0, NULL, NULL) == 3, "a failed load leaves no link to match");
    bytes[4] = 'B';
    check(TKLoadLink16FromMemory(back, bytes, 10) == 8, "a truncated link is EOFReached");
    check(TKLoadLink16FromMemory(back, NULL, 10) == 3, "null data is ArgErr");
    check(TKLoadLink16FromMemory(NULL, bytes, size) == 3, "a null link is ArgErr");
    check(TKSaveLink16(stored, NULL) == 3, "saving without a file spec is ArgErr");
    check(TKLoadLink16(plain, spec) == 3, "a plain trafo is no link");
    check(TKLink8Match(plain, 1, src8, src8, 0, 0, NULL, NULL) == 3, "nor can it match as one");
    check(TKLink16Match(stored, -1, src16, src16, 0, 0, NULL, NULL) == 3, "a negative count is ArgErr");
    check(TKLink16Match(stored, 5, NULL, src16, 0, 0, NULL, NULL) == 3, "a null source is ArgErr");
    check(TKColorTrafo2Link16(baked, NULL, 4) == 3, "baking from no trafo is ArgErr");
    check(TKColorTrafo2Link16(baked, plain, 4) != 0, "a trafo of no dimension bakes no link");
    free(bytes);

    /* A host's cancel ends the match with its code. */
    {
        static uint16_t big[200000 * 3], out[200000 * 4];
        int calls = 0;
        check(TKLink16Match(stored, 200000, big, out, 0, 0, cancel_at_once, &calls) == 56, "cancel returns 56");
        check(calls == 1, "after one report");
    }

    TKFreeTKTrafoRef(plain);
    TKFreeTKLink16Ref(stored);
    TKFreeTKLink8Ref(baked);
    TKFreeTKLink16Ref(back);
    TKFreeFileSpecRef(spec);
    TKFreeTKLink16Ref(NULL);
    return report();
}
