/* Bakes a device link from two profiles, saves and loads it, and matches pixels with it:
 * 8-bit interleaved CMYK, 16-bit planar CMYK, and with black kept pure by exception rules.
 *
 *   bake_and_match PROFILE_DIR [LINK_FILE]
 *   bake_and_match PROFILE_DIR --time WIDTH HEIGHT    times one 8-bit match of WIDTH x HEIGHT pixels
 *
 * PROFILE_DIR holds FOGRA39L.icc and FOGRA29L.icc; LINK_FILE (default: fogra39-to-29.lnk in the
 * current folder) receives the link. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "tintara.h"

enum { kRelative = 1, kPureBlack = 1, kLinearizeGray = 4, kChannels = 4 };

static int failed(const char* what, int32_t code) {
    printf("%s: error %d\n", what, (int)code);
    return 1;
}

/* FOGRA39 to FOGRA29, relative colorimetric, as a trafo. */
static int32_t press_trafo(const char* dir, TKTrafoRef* trafo) {
    static const char* const names[2] = {"FOGRA39L.icc", "FOGRA29L.icc"};
    static const int32_t intents[2] = {kRelative, kRelative};
    TKFileSpec* specs[2];
    char path[4096];
    int32_t code;
    int i;
    for (i = 0; i < 2; ++i) {
        snprintf(path, sizeof path, "%s/%s", dir, names[i]);
        specs[i] = TKName2FileSpec(TKNewFileSpecRef(), path);
    }
    code = TKConcatICCProfiles(trafo, 2, specs, intents);
    for (i = 0; i < 2; ++i) TKFreeFileSpecRef(specs[i]);
    return code;
}

/* A CMYK test raster: ramps in every ink, so that neighbours differ as in a photograph. */
static uint8_t* test_pixels(size_t count) {
    uint8_t* pixels = (uint8_t*)malloc(count * kChannels);
    size_t i;
    if (!pixels) return NULL;
    for (i = 0; i < count; ++i) {
        pixels[i * 4 + 0] = (uint8_t)(i * 7);
        pixels[i * 4 + 1] = (uint8_t)(i * 13 / 7);
        pixels[i * 4 + 2] = (uint8_t)(i / 251);
        pixels[i * 4 + 3] = (uint8_t)(i % 3 == 0 ? 0 : i / 17);
    }
    return pixels;
}

static double seconds(clockid_t clock) {
    struct timespec now;
    clock_gettime(clock, &now);
    return (double)now.tv_sec + now.tv_nsec * 1e-9;
}

/* The C reference of a host's cost: one call over the whole raster on one thread, best of five,
 * in wall time and in the thread's CPU time (which a busy machine does not inflate). */
static int time_match(TKLinkRef link, long width, long height) {
    const size_t count = (size_t)width * (size_t)height;
    uint8_t* src = test_pixels(count);
    uint8_t* dst = (uint8_t*)malloc(count * kChannels);
    double best = 1e9, bestCpu = 1e9;
    int round;
    if (!src || !dst || count > 0x7FFFFFFF) return failed("raster", 4);
    for (round = 0; round < 5; ++round) {
        const double start = seconds(CLOCK_MONOTONIC), startCpu = seconds(CLOCK_THREAD_CPUTIME_ID);
        int32_t code = TKLink8Match(link, (int32_t)count, src, dst, 0, 0, NULL, NULL);
        const double took = seconds(CLOCK_MONOTONIC) - start, tookCpu = seconds(CLOCK_THREAD_CPUTIME_ID) - startCpu;
        if (code != 0) return failed("TKLink8Match", code);
        if (took < best) best = took;
        if (tookCpu < bestCpu) bestCpu = tookCpu;
    }
    printf("TKLink8Match %ldx%ld CMYK: %.1f ms, %.1f ms CPU (%.1f Mpixel/s)\n", width, height, best * 1e3,
           bestCpu * 1e3, count / best * 1e-6);
    free(src);
    free(dst);
    return 0;
}

int main(int argc, char** argv) {
    const char* dir = argc > 1 ? argv[1] : "tests/data/tools";
    const int timing = argc > 4 && strcmp(argv[2], "--time") == 0;
    const char* linkFile = argc > 2 && !timing ? argv[2] : "fogra39-to-29.lnk";
    TKTrafoRef trafo = NULL, keepBlack = NULL;
    TKLinkRef link = TKNewTKLink8Ref(), loaded = TKNewTKLink8Ref(), pure = TKNewTKLink8Ref();
    TKFileSpec* file = TKName2FileSpec(TKNewFileSpecRef(), linkFile);
    uint8_t *pixels, out[64 * 4], again[64 * 4];
    uint16_t planesIn[kChannels][64], planesOut[kChannels][64];
    const void* srcPlanes[kChannels];
    void* dstPlanes[kChannels];
    uint32_t size = 0;
    void* bytes;
    int32_t code;
    int i, c;

    /* Bake at 33 points per axis (2^5 + 1); the trafo's handle may go at once. */
    if ((code = press_trafo(dir, &trafo)) != 0) return failed("chain", code);
    if ((code = TKColorTrafo2Link8(link, trafo, 5)) != 0) return failed("bake", code);
    if (timing) return time_match(link, atol(argv[3]), atol(argv[4]));

    /* Save to a file, and through memory into a second link: both match alike. */
    if ((code = TKSaveLink8(link, file)) != 0) return failed("save", code);
    if ((code = TKSaveLink8ToMemory(link, NULL, 0, &size)) != 0) return failed("link size", code);
    bytes = malloc(size);
    if (!bytes || (code = TKSaveLink8ToMemory(link, bytes, size, &size)) != 0) return failed("save to memory", code);
    if ((code = TKLoadLink8FromMemory(loaded, bytes, size)) != 0) return failed("load from memory", code);
    free(bytes);
    printf("link: %d -> %d channels, %u bytes, saved to %s\n", (int)TKGetTrafoSrcDim(link),
           (int)TKGetTrafoDstDim(link), (unsigned)size, linkFile);

    /* 8-bit interleaved CMYK: 255 is 100 % ink. */
    pixels = test_pixels(64);
    if ((code = TKLink8Match(link, 64, pixels, out, 0, 0, NULL, NULL)) != 0) return failed("match", code);
    if ((code = TKLink8Match(loaded, 64, pixels, again, 0, 0, NULL, NULL)) != 0) return failed("match", code);
    if (memcmp(out, again, sizeof out) != 0) return failed("the loaded link matches otherwise", 0);
    printf("CMYK %3d %3d %3d %3d -> %3d %3d %3d %3d\n", pixels[8], pixels[9], pixels[10], pixels[11], out[8], out[9],
           out[10], out[11]);

    /* 16-bit planes, one per ink: the same colours widened by 257 give the same result, to 8 bits. */
    for (c = 0; c < kChannels; ++c) {
        for (i = 0; i < 64; ++i) planesIn[c][i] = (uint16_t)(pixels[i * 4 + c] * 257);
        srcPlanes[c] = planesIn[c];
        dstPlanes[c] = planesOut[c];
    }
    if ((code = TKLink16MatchPlanes(link, 64, srcPlanes, dstPlanes, 1, 1, NULL, NULL)) != 0) return failed("planes", code);
    for (c = 0; c < kChannels; ++c)
        for (i = 0; i < 64; ++i)
            if (abs((planesOut[c][i] + 128) / 257 - out[i * 4 + c]) > 1) return failed("16-bit planes differ", 0);

    /* Exception rules: K-only source colours stay K-only (a gray text keeps no C, M, Y): full black
     * by PureBlack, the grays of K by LinearizeGray. */
    keepBlack = TKNewExceptionTrafoRef(trafo, kPureBlack | kLinearizeGray, 1.0, NULL);
    if (!keepBlack) return failed("exception trafo", 3);
    if ((code = TKColorTrafo2Link8(pure, keepBlack, 4)) != 0) return failed("bake with exceptions", code);
    {
        const uint8_t gray[4] = {0, 0, 0, 128};
        uint8_t plain[4], kept[4];
        TKLink8Match(link, 1, gray, plain, 0, 0, NULL, NULL);
        TKLink8Match(pure, 1, gray, kept, 0, 0, NULL, NULL);
        printf("K 50 %%: plain link %d %d %d %d, kept pure %d %d %d %d\n", plain[0], plain[1], plain[2], plain[3],
               kept[0], kept[1], kept[2], kept[3]);
        if (kept[0] || kept[1] || kept[2]) return failed("K-only gray picked up colour", 0);
    }

    /* Bad input gives codes, never a crash: an empty link, a negative count. */
    {
        TKLinkRef empty = TKNewTKLink8Ref();
        if (TKLink8Match(empty, 64, pixels, out, 0, 0, NULL, NULL) != 3) return failed("an empty link matched", 0);
        if (TKLink8Match(link, -1, pixels, out, 0, 0, NULL, NULL) != 3) return failed("a negative count passed", 0);
        TKFreeTKLink8Ref(empty);
    }
    free(pixels);
    TKFreeTKTrafoRef(trafo);
    TKFreeTKTrafoRef(keepBlack);
    TKFreeTKLink8Ref(link);
    TKFreeTKLink8Ref(loaded);
    TKFreeTKLink8Ref(pure);
    TKFreeFileSpecRef(file);
    return 0;
}
