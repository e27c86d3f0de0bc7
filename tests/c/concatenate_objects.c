/* TKConcatenateTrafos from plain C: a host takes the trafo objects out of its references with
 * TK_TRAFO_OF_REF and chains them; the list keeps its members alive after the references end.
 * The members are the two directions of the sRGB profile of the test data. */
#include <math.h>
#include <stdio.h>

#include "tintara.h"
#include "CCheck.h"

static const double kRGB[3] = {200.0, 100.0, 50.0};

/* Evaluates `src` and tells whether the result lies within `tolerance` of `wanted`. */
static int gives(TKTrafoRef ref, const double* src, const double* wanted, double tolerance) {
    double dst[3] = {-1.0, -1.0, -1.0};
    if (TKDoTrafo(ref, src, dst) != 0) return 0;
    for (int i = 0; i < 3; ++i)
        if (fabs(dst[i] - wanted[i]) > tolerance) return 0;
    return 1;
}

int main(int argc, char** argv) {
    char path[1200];
    TKFileSpec* spec = TKNewFileSpecRef();
    TKICCProfile* profile = TKNewICCProfileRef();
    TKTrafoRef toPCS = NULL, fromPCS = NULL, roundTrip, backAndForth, twice, nested, empty, around;
    uint32_t rgbType, pcsType;
    double pcs[3];

    snprintf(path, sizeof path, "%s/icc/sRGB-v2.icc", argc > 1 ? argv[1] : "tests/data");
    TKName2FileSpec(spec, path);
    if (TKReadProfile(profile, spec) != 0 || TKGetICCProfileTrafo(&toPCS, profile, 1, 1) != 0 ||
        TKGetICCProfileTrafo(&fromPCS, profile, 0, 1) != 0 || TKDoTrafo(toPCS, kRGB, pcs) != 0) {
        check(0, "the sRGB profile gives both trafos");
        return report();
    }
    rgbType = TKGetTrafoSrcType(toPCS);
    pcsType = TKGetTrafoDstType(toPCS);

    check(TK_TRAFO_OF_REF((TKTrafoRef)NULL) == NULL, "a null reference holds no object");
    roundTrip = TKConcatenateTrafos(TK_TRAFO_OF_REF(toPCS), TK_TRAFO_OF_REF(fromPCS), NULL, NULL, NULL, NULL);
    backAndForth = TKConcatenateTrafos(NULL, TK_TRAFO_OF_REF(fromPCS), NULL, TK_TRAFO_OF_REF(toPCS), NULL, NULL);
    twice = TKConcatenateTrafos(TK_TRAFO_OF_REF(toPCS), TK_TRAFO_OF_REF(fromPCS), TK_TRAFO_OF_REF(toPCS),
                                TK_TRAFO_OF_REF(fromPCS), NULL, NULL);
    /* The references may end at once: each list holds counts of its own. */
    TKFreeTKTrafoRef(toPCS);
    TKFreeTKTrafoRef(fromPCS);
    TKFreeICCProfileRef(profile);

    /* A matrix-and-curve profile inverts to well below a unit of 255. */
    check(TKGetTrafoSrcType(roundTrip) == rgbType && gives(roundTrip, kRGB, kRGB, 0.05),
          "members run from t1 on: RGB to the connection space and back");
    check(TKGetTrafoSrcType(backAndForth) == pcsType && gives(backAndForth, pcs, pcs, 0.05),
          "null members are skipped: the connection space to RGB and back");
    check(gives(twice, kRGB, kRGB, 0.05), "one object may stand twice in a list");

    /* A list is a trafo object too, and goes into further lists. */
    nested = TKConcatenateTrafos(TK_TRAFO_OF_REF(roundTrip), TK_TRAFO_OF_REF(twice), NULL, NULL, NULL, NULL);
    TKFreeTKTrafoRef(roundTrip);
    TKFreeTKTrafoRef(twice);
    check(gives(nested, kRGB, kRGB, 0.05), "lists nest");

    empty = TKConcatenateTrafos(NULL, NULL, NULL, NULL, NULL, NULL);
    check(TKGetTrafoSrcDim(empty) == 0 && TKGetTrafoDstDim(empty) == 0, "the empty list has any dimension");
    /* Behind a member: in front, its dimension of 0 ("any") would stand for the whole list. */
    around = TKConcatenateTrafos(TK_TRAFO_OF_REF(nested), TK_TRAFO_OF_REF(empty), NULL, NULL, NULL, NULL);
    check(gives(around, kRGB, kRGB, 0.05), "an empty list changes no colour");

    profile = TKNewICCProfileRef();
    check(TKConcatenateTrafos((TKTrafo*)(void*)profile, NULL, NULL, NULL, NULL, NULL) == NULL,
          "an object that is no trafo is refused");

    TKFreeICCProfileRef(profile);
    TKFreeTKTrafoRef(around);
    TKFreeTKTrafoRef(empty);
    TKFreeTKTrafoRef(nested);
    TKFreeTKTrafoRef(backAndForth);
    TKFreeFileSpecRef(spec);
    return report();
}
