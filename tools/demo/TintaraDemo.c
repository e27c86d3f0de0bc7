/*
 * TintaraDemo: a small host program that uses nothing but the public C interface of
 * libtintara. It creates trafo references, concatenates trafos, asks for their dimensions
 * and colour types, evaluates colours and shows the error codes of bad calls.
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

int main(void) {
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

    printf("4. References live independently\n");
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
