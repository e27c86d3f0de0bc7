// Accuracy of baked links: smooth analytic trafos against the 16-bit tables baked from them, at
// the default grid and at grid bits 4 and 5. The tables are read by the reference evaluator, the
// integer rules the kernels follow bit for bit.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

#include "color/TKColors.h"
#include "link/ReferenceLinkTrafo.h"
#include "link/TKLinkGridChoice.h"
#include "support/TestSupport.h"

namespace {

// RGB (0..255) to CMYK (percent): complements with a smooth black from their product.
class AnalyticRGBToCMYK : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 3; }
    int32_t GetDstDim(int32_t) const override { return 4; }
    int32_t GetSrcType() const override { return int32_t(TKRGBSpace); }
    int32_t GetDstType(int32_t) const override { return int32_t(TKCMYKSpace); }
    TKVector Trafo(const TKVector& rgb) const override {
        const double c = 1.0 - rgb[0] / 255.0, m = 1.0 - rgb[1] / 255.0, y = 1.0 - rgb[2] / 255.0;
        const double k = c * m * y;
        const double keep = 1.0 - 0.5 * k;
        return TKVector({100.0 * c * keep, 100.0 * m * keep, 100.0 * std::pow(y, 1.3) * keep, 100.0 * k},
                        int32_t(TKCMYKSpace));
    }
};

// CMYK (percent) to RGB (0..255): a print-like model with a gamma on black and cross talk.
class AnalyticCMYKToRGB : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 4; }
    int32_t GetDstDim(int32_t) const override { return 3; }
    int32_t GetSrcType() const override { return int32_t(TKCMYKSpace); }
    int32_t GetDstType(int32_t) const override { return int32_t(TKRGBSpace); }
    TKVector Trafo(const TKVector& cmyk) const override {
        const double c = cmyk[0] / 100.0, m = cmyk[1] / 100.0, y = cmyk[2] / 100.0, k = cmyk[3] / 100.0;
        const double black = std::pow(1.0 - k, 1.2);
        return TKVector({255.0 * (1.0 - c) * (1.0 - 0.1 * m) * black, 255.0 * (1.0 - m) * (1.0 - 0.1 * y) * black,
                         255.0 * (1.0 - y) * (1.0 - 0.1 * c) * black},
                        int32_t(TKRGBSpace));
    }
};

struct ErrorFigures {
    double mean, p95, max;
};

// Largest channel error of each sample, in percent of the destination range.
ErrorFigures Measure(const TKTrafo& exact, const TKLinkGenericTrafo& link, int32_t samples) {
    TKVector min, max, dstMin, dstMax;
    const int32_t n = exact.GetSrcDim();
    min = TKVector(n), max = TKVector(n);
    for (int32_t c = 0; c < n; ++c) {
        min[c] = GetChannelMin(uint32_t(exact.GetSrcType()), c);
        max[c] = GetChannelMax(uint32_t(exact.GetSrcType()), c);
    }
    std::mt19937 random(2024);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::vector<double> errors;
    for (int32_t i = 0; i < samples; ++i) {
        TKVector x(n, exact.GetSrcType());
        for (int32_t c = 0; c < n; ++c) x[c] = min[c] + unit(random) * (max[c] - min[c]);
        const TKVector want = exact.Trafo(x);
        const TKVector got = link.Trafo(x);
        double worst = 0.0;
        for (int32_t o = 0; o < want.GetDim(); ++o) {
            const double range = GetChannelMax(uint32_t(exact.GetDstType(0)), o);
            worst = std::max(worst, std::fabs(got[o] - want[o]) / range * 100.0);
        }
        errors.push_back(worst);
    }
    std::sort(errors.begin(), errors.end());
    double sum = 0.0;
    for (double e : errors) sum += e;
    return {sum / errors.size(), errors[size_t(errors.size() * 0.95)], errors.back()};
}

ErrorFigures BakeAndMeasure(TKTrafo* exact, int32_t gridBits, const char* name) {
    TKRefPtr<TKReferenceLinkTrafo> link = TKMakeRef<TKReferenceLinkTrafo>();
    link->CalcFromTrafo(exact, GridFromBits(gridBits), 0, nullptr);
    const ErrorFigures figures = Measure(*exact, *link, 20000);
    std::printf("[accuracy] %s grid %d: mean %.4f%%, p95 %.4f%%, max %.4f%% of range\n", name, link->GridPoints(),
                figures.mean, figures.p95, figures.max);
    return figures;
}

}  // namespace

TEST(LinkAccuracy, RGBToCMYKAtDefaultAndFineGrids) {
    TKRefPtr<TKTrafo> exact(new AnalyticRGBToCMYK, true);
    const ErrorFigures atDefault = BakeAndMeasure(exact.Get(), 0, "RGB->CMYK");  // 17 points
    const ErrorFigures at4 = BakeAndMeasure(exact.Get(), 4, "RGB->CMYK");
    const ErrorFigures at5 = BakeAndMeasure(exact.Get(), 5, "RGB->CMYK");
    // Measured: grid 17 mean 0.062%, p95 0.152%, max 0.273%; grid 33 max 0.106%.
    EXPECT_LT(atDefault.max, 0.6);
    EXPECT_LT(at4.p95, 0.3);
    EXPECT_LT(at5.max, 0.25);
    EXPECT_LT(at5.mean, at4.mean);  // a finer grid is closer
}

TEST(LinkAccuracy, CMYKToRGBAtDefaultAndFineGrids) {
    TKRefPtr<TKTrafo> exact(new AnalyticCMYKToRGB, true);
    const ErrorFigures atDefault = BakeAndMeasure(exact.Get(), 0, "CMYK->RGB");  // 11 points, divided cells
    const ErrorFigures at4 = BakeAndMeasure(exact.Get(), 4, "CMYK->RGB");
    const ErrorFigures at5 = BakeAndMeasure(exact.Get(), 5, "CMYK->RGB");
    // Measured: grid 11 max 0.420%, grid 17 max 0.242%, grid 33 max 0.103%.
    EXPECT_LT(atDefault.max, 0.9);
    EXPECT_LT(at4.max, 0.5);
    EXPECT_LT(at5.max, 0.25);
    EXPECT_LT(at5.mean, atDefault.mean);
}
