/* Calculates linearization curves from a measured step wedge and applies them.
 *
 *   linearize
 *
 * The "press" here is a formula with dot gain; a host would read the measurements from a chart.
 * Nominal rows are the inks printed (CMYK, 0..100 %), measured rows the XYZ of each patch (Y 0..100).
 * The library pulls the rows through TKVectorDataSet callbacks. */
#include <math.h>
#include <stdio.h>

#include "tintara.h"

#define SIG(a, b, c, d) (((uint32_t)(a) << 24) | ((uint32_t)(b) << 16) | ((uint32_t)(c) << 8) | (uint32_t)(d))
#define STEPS 11
#define ROWS (4 * STEPS)

typedef struct {
    int width;
    double rows[ROWS][4];
} Table;

/* Each ink absorbs its own share of X, Y and Z; `gain` > 1 darkens the mid tones. */
static void press(const double cmyk[4], double gain, double xyz[3]) {
    static const double absorb[4][3] = {{0.85, 0.45, 0.15}, {0.35, 0.80, 0.30}, {0.05, 0.12, 0.90}, {0.90, 0.92, 0.88}};
    int i, k;
    xyz[0] = 93.0, xyz[1] = 96.0, xyz[2] = 80.0;
    for (i = 0; i < 4; ++i)
        for (k = 0; k < 3; ++k) xyz[k] *= 1.0 - absorb[i][k] * (1.0 - pow(1.0 - cmyk[i] / 100.0, gain));
}

static int32_t row(int32_t index, double* values, void* userData) {
    const Table* table = (const Table*)userData;
    int c;
    if (index < 0 || index >= ROWS) return 7; /* any non-zero code fails the calculation */
    for (c = 0; c < table->width; ++c) values[c] = table->rows[index][c];
    return 0;
}

int main(void) {
    static Table nominal = {4, {{0}}}, measured = {3, {{0}}};
    TKVectorDataSet nominalSet, measuredSet;
    TKLinearizationRef lin = TKNewTKLinearizationRef();
    int wedge, i;
    int32_t code;
    for (wedge = 0; wedge < 4; ++wedge)
        for (i = 0; i < STEPS; ++i) {
            double* ink = nominal.rows[wedge * STEPS + i];
            ink[wedge] = 100.0 * i / (STEPS - 1);
            press(ink, 2.0, measured.rows[wedge * STEPS + i]);
        }
    TKInitVectorDataSet(&nominalSet, SIG('C', 'M', 'Y', 'K'), row, &nominal);
    TKInitVectorDataSet(&measuredSet, SIG('X', 'Y', 'Z', ' '), row, &measured);
    if ((code = TKCalcLinearization(lin, ROWS, &nominalSet, &measuredSet, NULL)) != 0) {
        printf("linearization: error %d\n", (int)code);
        return 1;
    }
    /* The curves are a trafo: 50 % asked for prints less, since the press adds dot gain. */
    for (i = 0; i <= 100; i += 25) {
        const double in[4] = {i, i, i, i};
        double out[4];
        if ((code = TKDoTrafo(lin, in, out)) != 0) return 1;
        printf("%3d %% -> C %5.1f  M %5.1f  Y %5.1f  K %5.1f\n", i, out[0], out[1], out[2], out[3]);
        if (i == 50 && !(out[0] < 50.0)) return 1;
    }
    /* Too few rows: ArgErr (3), and the curves stay as they were. */
    code = TKCalcLinearization(lin, 1, &nominalSet, &measuredSet, NULL);
    printf("one row only: error %d\n", (int)code);
    TKFreeTKLinearizationRef(lin);
    return code == 3 ? 0 : 1;
}
