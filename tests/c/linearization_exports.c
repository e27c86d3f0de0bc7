/* The linearization exports from plain C: a host feeds step wedges of a simulated press through
   data set callbacks, calculates tone, reference and gray balance curves, applies them with
   TKDoTrafo, and gets the error codes for bad data. */
#include <math.h>
#include <stdio.h>
#include <string.h>

#include "tintara.h"
#include "CCheck.h"

#define SIG(a, b, c, d) (((uint32_t)(a) << 24) | ((uint32_t)(b) << 16) | ((uint32_t)(c) << 8) | (uint32_t)(d))
#define STEPS 11
#define MAX_ROWS (5 * STEPS)

/* The press: each ink absorbs its own share of X, Y, Z; `gain` is the dot gain exponent. */
static void press(const double cmyk[4], double gain, double xyz[3]) {
    static const double absorb[4][3] = {{0.85, 0.45, 0.15}, {0.35, 0.80, 0.30}, {0.05, 0.12, 0.90}, {0.90, 0.92, 0.88}};
    static const double white[3] = {93.0, 96.0, 80.0};
    int i, k;
    for (k = 0; k < 3; ++k) xyz[k] = white[k];
    for (i = 0; i < 4; ++i) {
        const double dot = pow(cmyk[i] / 100.0, gain);
        for (k = 0; k < 3; ++k) xyz[k] *= 1.0 - absorb[i][k] * dot;
    }
}

typedef struct {
    int rows;
    int width;
    double values[MAX_ROWS][4];
    int failAt;    /* index at which the callback reports 5, or -1 */
    int poisonAt;  /* index whose first value becomes NaN, or -1 */
} Table;

static int32_t serve_row(int32_t index, double* values, void* userData) {
    const Table* table = (const Table*)userData;
    int c;
    if (index == table->failAt) return 5;
    for (c = 0; c < table->width; ++c) values[c] = table->values[index][c];
    if (index == table->poisonAt) values[0] = NAN;
    return 0;
}

/* The paper, the four ink wedges and, if `withGray`, the gray wedge (C = M = Y). */
static int print_chart(Table* device, Table* measured, double gain, int withGray) {
    int wedge, i, rows = 0;
    memset(device, 0, sizeof *device);
    memset(measured, 0, sizeof *measured);
    for (wedge = 0; wedge < (withGray ? 5 : 4); ++wedge)
        for (i = 0; i < STEPS; ++i, ++rows) {
            const double v = 100.0 * i / (STEPS - 1);
            if (wedge < 4) device->values[rows][wedge] = v;
            else device->values[rows][0] = device->values[rows][1] = device->values[rows][2] = v;
            press(device->values[rows], gain, measured->values[rows]);
        }
    device->rows = measured->rows = rows;
    device->width = 4;
    measured->width = 3;
    device->failAt = measured->failAt = device->poisonAt = measured->poisonAt = -1;
    return rows;
}

static void sets(TKVectorDataSet* nominal, TKVectorDataSet* measured, Table* device, Table* values) {
    TKInitVectorDataSet(nominal, SIG('C', 'M', 'Y', 'K'), serve_row, device);
    TKInitVectorDataSet(measured, SIG('X', 'Y', 'Z', ' '), serve_row, values);
}

static double apply(TKLinearizationRef lin, int channel, double value) {
    double src[4] = {0, 0, 0, 0}, dst[4] = {-1, -1, -1, -1};
    src[channel] = value;
    if (TKDoTrafo(lin, src, dst) != 0) return -1.0;
    return dst[channel];
}

static Table gDevice, gMeasured, gRefDevice, gRefMeasured;

static void tone_curves(void) {
    TKVectorDataSet nominal, measured;
    const double limits[4] = {100.0, 90.0, 100.0, 100.0};
    const double badLimits[4] = {100.0, 150.0, 100.0, 100.0};
    int rows = print_chart(&gDevice, &gMeasured, 0.6, 0);
    TKLinearizationRef lin = TKNewTKLinearizationRef();
    TKTrafoRef plain = TKNewTKTrafoRef();
    check(lin != NULL && TKGetTrafoSrcDim(lin) == 4 && TKGetTrafoSrcType(lin) == SIG('C', 'M', 'Y', 'K') &&
              apply(lin, 0, 37.0) == 37.0,
          "a new linearization is an identity CMYK trafo");

    TKInitVectorDataSet(NULL, 0, serve_row, NULL); /* ignored */
    sets(&nominal, &measured, &gDevice, &gMeasured);
    check(TKCalcLinearization(lin, rows, &nominal, &measured, NULL) == 0, "TKCalcLinearization succeeds");
    check(apply(lin, 2, 0.0) == 0.0 && fabs(apply(lin, 2, 100.0) - 100.0) < 1e-9, "paper and solid stay");
    check(apply(lin, 1, 60.0) > apply(lin, 1, 50.0), "the curves rise");

    check(TKCalcLinearization(lin, rows, &nominal, &measured, limits) == 0, "ink limits are accepted");
    check(fabs(apply(lin, 1, 100.0) - 90.0) < 0.2, "the magenta curve ends at its limit of 90");
    check(TKLimitSlope(lin, 0.5, 1.5) == 0, "TKLimitSlope succeeds");
    check(apply(lin, 0, 100.0) - apply(lin, 0, 99.0) <= 1.5 + 1e-6, "no step is steeper than the upper limit");

    /* Bad input: codes, and the curves stay as they were. */
    {
        const double before = apply(lin, 0, 50.0);
        check(TKCalcLinearization(lin, 1, &nominal, &measured, NULL) == 3, "one row is too few: ArgErr");
        check(TKCalcLinearization(lin, rows, NULL, &measured, NULL) == 3, "no nominal set: ArgErr");
        check(TKCalcLinearization(plain, rows, &nominal, &measured, NULL) == 3, "a plain trafo is no linearization");
        check(TKCalcLinearization(lin, rows, &nominal, &measured, badLimits) == 3, "an ink limit of 150: ArgErr");
        gMeasured.failAt = 7;
        check(TKCalcLinearization(lin, rows, &nominal, &measured, NULL) == 23, "a failing callback gives DimMismatch");
        gMeasured.failAt = -1;
        gMeasured.poisonAt = 9;
        check(TKCalcLinearization(lin, rows, &nominal, &measured, NULL) == 28, "NaN gives IllegalMeasurementData");
        gMeasured.poisonAt = -1;
        check(TKLimitSlope(lin, 2.0, 1.0) == 3 && TKLimitSlope(lin, 0.0, 0.0) == 3, "reversed or zero slope limits: ArgErr");
        check(TKLimitSlope(plain, 0.0, 2.0) == 3, "TKLimitSlope on a plain trafo: ArgErr");
        check(apply(lin, 0, 50.0) == before, "failed calls keep the curves");
    }
    TKFreeTKTrafoRef(plain);
    TKFreeTKLinearizationRef(lin);
}

static void reference_curves(void) {
    TKVectorDataSet nominal, measured, refNominal, refMeasured;
    double cmyk[4] = {0, 0, 0, 0}, xyz[3], wanted[3];
    int rows = print_chart(&gDevice, &gMeasured, 0.6, 0);
    int refRows = print_chart(&gRefDevice, &gRefMeasured, 1.0, 0);
    TKLinearizationRef lin = TKNewTKLinearizationRef();
    sets(&nominal, &measured, &gDevice, &gMeasured);
    sets(&refNominal, &refMeasured, &gRefDevice, &gRefMeasured);
    check(TKCalcReferenceLinearization(lin, rows, &nominal, &measured, refRows, &refNominal, &refMeasured) == 0,
          "TKCalcReferenceLinearization succeeds");
    cmyk[1] = apply(lin, 1, 50.0);
    press(cmyk, 0.6, xyz);
    cmyk[1] = 50.0;
    press(cmyk, 1.0, wanted);
    check(fabs(xyz[1] - wanted[1]) < 0.3, "the press behind the curves prints the reference's 50 % magenta");
    check(TKCalcReferenceLinearization(lin, rows, &nominal, &measured, 1, &refNominal, &refMeasured) == 3,
          "a reference of one row: ArgErr");
    check(TKCalcReferenceLinearization(lin, rows, &nominal, &measured, refRows, &refNominal, NULL) == 3,
          "a missing reference set: ArgErr");
    TKFreeTKLinearizationRef(lin);
}

static void gray_balance(void) {
    TKVectorDataSet nominal, measured;
    double gray[4] = {50, 50, 50, 0}, dst[4];
    int rows = print_chart(&gDevice, &gMeasured, 0.8, 1);
    TKLinearizationRef lin = TKNewTKLinearizationRef();
    sets(&nominal, &measured, &gDevice, &gMeasured);
    check(TKCalcGrayBalance(lin, rows, &nominal, &measured) == 0, "TKCalcGrayBalance succeeds");
    check(TKDoTrafo(lin, gray, dst) == 0 && fabs(dst[0] - dst[1]) > 1.0, "the inks of a gray differ after balancing");
    check(TKAdjustGrayBalance(lin, rows, &nominal, &measured) == 0, "TKAdjustGrayBalance succeeds");
    check(TKAdjustGrayBalance(lin, 0, &nominal, &measured) == 3, "adjusting from no rows: ArgErr");
    rows = print_chart(&gDevice, &gMeasured, 0.8, 0);
    check(TKCalcGrayBalance(lin, rows, &nominal, &measured) == 59, "a chart without a gray wedge: NoMeasurementData");
    TKFreeTKLinearizationRef(lin);
}

int main(void) {
    tone_curves();
    reference_curves();
    gray_balance();
    return report();
}
