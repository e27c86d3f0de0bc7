/*
 * TintaraDemo: a small host program that uses nothing but the public C interface of
 * libtintara. It creates trafo references, concatenates trafos, asks for their dimensions
 * and colour types, evaluates colours and shows the error codes of bad calls. A device link
 * file (the first argument, by default the one in tests/data/tools) is loaded and evaluated
 * through the same trafo functions.
 */
#include <stdio.h>
#include <string.h>

#include "tintara.h"

/* Four-character colour signature as text; "any" for 0. */
static const char* signature_text(uint32_t signature, char text[5]) {
    int i;
    if (signature == 0) return "any";
    for (i = 0; i < 4; ++i) {
        char c = (char)((signature >> (24 - 8 * i)) & 0xFF);
        text[i] = (c >= 32 && c < 127) ? c : '?';
    }
    text[4] = '\0';
    return text;
}

/* The names of the codes this demo can meet; the library's table has them all. */
static const char* code_name(int32_t code) {
    switch (code) {
    case 0: return "NoErr";
    case 3: return "ArgErr";
    case 12: return "FileNotOpen";
    case 16: return "FileReadFailed";
    case 19: return "FormatErr";
    case 23: return "DimMismatch";
    case 45: return "TrafoErr";
    default: return "see the error table";
    }
}

/* A channel count as text; "any" for 0. */
static const char* dim_text(int32_t dim, char text[12]) {
    if (dim == 0) return "any";
    snprintf(text, 12, "%d", (int)dim);
    return text;
}

static void describe(const char* title, TKTrafoRef ref) {
    char srcDim[12], dstDim[12], srcType[5], dstType[5];
    printf("  %-34s source %s channels of %s, destination %s channels of %s\n", title,
           dim_text(TKGetTrafoSrcDim(ref), srcDim), signature_text(TKGetTrafoSrcType(ref), srcType),
           dim_text(TKGetTrafoDstDim(ref), dstDim), signature_text(TKGetTrafoDstType(ref), dstType));
}

static void evaluate(const char* title, TKTrafoRef ref, const double* src, int channels) {
    double dst[16];
    int i;
    int32_t code;
    for (i = 0; i < 16; ++i) dst[i] = -1.0;
    code = TKDoTrafo(ref, src, dst);
    printf("  %-34s (", title);
    for (i = 0; i < channels; ++i) printf("%s%.2f", i ? ", " : "", src[i]);
    printf(") -> code %d (%s)", code, code_name(code));
    if (code == 0) {
        int out = TKGetTrafoDstDim(ref);
        printf(", %d channel%s out", out, out == 1 ? "" : "s");
        for (i = 0; i < out && i < 16; ++i) printf("%s%.2f", i ? ", " : ": ", dst[i]);
    }
    printf("\n");
}

/* Full scale of a colour type in double vectors: 255 for RGB, 100 (percent) for inks and
 * the other device types. */
static double full_scale(uint32_t type) { return type == 0x52474220u /* 'RGB ' */ ? 255.0 : 100.0; }

/* A device link is a trafo as well: its reference answers the trafo queries and TKDoTrafo
 * evaluates it in doubles, while TKLink16Match runs the baked integer tables. The two are
 * printed side by side on the doubles' scale. */
static void link_as_trafo(const char* path) {
    static const double fractions[3][3] = {{0.0, 0.0, 0.0}, {0.5, 0.25, 0.8}, {1.0, 1.0, 1.0}};
    TKFileSpec* spec = TKNewFileSpecRef();
    TKLinkRef link = TKNewTKLink16Ref();
    int32_t code, i, c;
    if (!spec || !link) {
        printf("  could not create a file spec or a link reference\n");
        TKFreeFileSpecRef(spec);
        TKFreeTKLink16Ref(link);
        return;
    }
    TKName2FileSpec(spec, path);
    code = TKLoadLink16(link, spec);
    printf("  TKLoadLink16(\"%s\") -> code %d (%s)\n", path, code, code_name(code));
    if (code == 0) {
        int32_t srcDim = TKGetTrafoSrcDim(link), dstDim = TKGetTrafoDstDim(link);
        double inScale = full_scale(TKGetTrafoSrcType(link)), outScale = full_scale(TKGetTrafoDstType(link));
        describe("the link as a trafo:", link);
        if (srcDim == 3 && dstDim > 0 && dstDim <= 16) {
            printf("  doubles through TKDoTrafo, and 16-bit samples through TKLink16Match, on a scale of %.0f:\n",
                   outScale);
            for (i = 0; i < 3; ++i) {
                double in[3], out[16];
                uint16_t in16[3], out16[16];
                for (c = 0; c < 3; ++c) {
                    in[c] = fractions[i][c] * inScale;
                    in16[c] = (uint16_t)(fractions[i][c] * 65535.0 + 0.5);
                }
                printf("  (%.1f, %.1f, %.1f)\n", in[0], in[1], in[2]);
                code = TKDoTrafo(link, in, out);
                printf("    %-16s code %d", "TKDoTrafo", code);
                for (c = 0; code == 0 && c < dstDim; ++c) printf("%s%6.2f", c ? ", " : ": ", out[c]);
                code = TKLink16Match(link, 1, in16, out16, 0, 0, NULL, NULL);
                printf("\n    %-16s code %d", "TKLink16Match", code);
                for (c = 0; code == 0 && c < dstDim; ++c) printf("%s%6.2f", c ? ", " : ": ", out16[c] * outScale / 65535.0);
                printf("\n");
            }
        }
    }
    TKFreeTKLink16Ref(link);
    TKFreeFileSpecRef(spec);
}

int main(int argc, char** argv) {
    const char* linkPath = argc > 1 ? argv[1] : "tests/data/tools/hash-3to4-g5.lnk";
    const double cmyk[4] = {20.0, 40.0, 60.0, 10.0};
    const double lab[3] = {50.0, 10.0, -20.0};
    TKTrafoRef plain, chain, many[6];
    int i, ok = 1;

    printf("TintaraLib demo: trafos through the public C interface\n\n");

    printf("1. A plain trafo: the identity, open to any colour\n");
    plain = TKNewTKTrafoRef();
    if (!plain) {
        printf("  TKNewTKTrafoRef failed\n");
        return 1;
    }
    describe("TKNewTKTrafoRef:", plain);
    evaluate("TKDoTrafo on CMYK", plain, cmyk, 4);
    printf("  A trafo of any dimension takes no fixed channel count from the host, so it\n"
           "  reads and writes nothing; trafos from profiles and links have fixed counts.\n\n");

    printf("2. Concatenation\n");
    printf("  TKConcatenateTrafos takes trafo objects (not references) and keeps a count of\n"
           "  each; a C host has no object pointers of its own, so it chains references\n"
           "  through the profile functions. Concatenating nothing gives the empty chain:\n");
    chain = TKConcatenateTrafos(NULL, NULL, NULL, NULL, NULL, NULL);
    describe("TKConcatenateTrafos(none):", chain);
    evaluate("TKDoTrafo on Lab", chain, lab, 3);
    printf("\n");

    printf("3. Bad calls and their codes\n");
    evaluate("TKDoTrafo without a reference", NULL, lab, 3);
    {
        double out[4];
        int32_t code = TKDoTrafo(plain, NULL, out);
        printf("  %-34s code %d (%s)\n", "TKDoTrafo without a source:", code, code_name(code));
        code = TKDoTrafo(plain, lab, NULL);
        printf("  %-34s code %d (%s)\n", "TKDoTrafo without a destination:", code, code_name(code));
    }
    printf("  %-34s %d\n", "TKGetTrafoSrcDim(NULL):", TKGetTrafoSrcDim(NULL));
    TKFreeTKTrafoRef(NULL);
    printf("  %-34s nothing happens\n\n", "TKFreeTKTrafoRef(NULL):");

    printf("4. A device link seen through the trafo functions\n");
    link_as_trafo(linkPath);
    printf("\n");

    printf("5. References live independently\n");
    for (i = 0; i < 6; ++i) {
        many[i] = TKNewTKTrafoRef();
        ok = ok && many[i] != NULL;
    }
    for (i = 0; i < 6; ++i) TKFreeTKTrafoRef(many[i]);
    printf("  six references made and freed: %s\n\n", ok ? "ok" : "FAILED");

    TKFreeTKTrafoRef(chain);
    TKFreeTKTrafoRef(plain);
    printf("done\n");
    return ok ? 0 : 1;
}
