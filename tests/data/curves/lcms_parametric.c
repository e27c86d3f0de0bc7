/* Reference values of the five ICC parametric curve types from a peer engine, Little CMS 2
 * (Debian liblcms2-dev 2.14), for the curve tests. Regenerate with
 *   cc lcms_parametric.c -llcms2 -o lcms_parametric && ./lcms_parametric > lcms_parametric.csv
 * Little CMS numbers the ICC types 0..4 as 1..5. Each row: ICC type, x, y; 33 inputs per type. */
#include <lcms2.h>
#include <stdio.h>

int main(void) {
    /* g, a, b, c, d, e, f */
    static const cmsFloat64Number params[5][7] = {
        {2.2},
        {2.2, 1.1, -0.1},
        {2.0, 0.95, 0.05, 0.02},
        {2.4, 1.0 / 1.055, 0.055 / 1.055, 1.0 / 12.92, 0.04045},
        {2.6, 0.9, 0.1, 0.15, 0.12, 0.01, 0.005},
    };
    printf("type,x,y\n");
    for (int type = 0; type < 5; ++type) {
        cmsToneCurve* curve = cmsBuildParametricToneCurve(NULL, type + 1, params[type]);
        if (!curve) return 1;
        for (int i = 0; i <= 32; ++i) {
            const cmsFloat32Number x = (cmsFloat32Number)(i / 32.0);
            printf("%d,%.9g,%.9g\n", type, (double)x, (double)cmsEvalToneCurveFloat(curve, x));
        }
        cmsFreeToneCurve(curve);
    }
    return 0;
}
