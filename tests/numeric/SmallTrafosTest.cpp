// The small general-purpose trafos: factor, matrix, dimension and type, limits, channel order,
// merge, and the reference-vector pair.
#include "io/TKDataBase.h"
#include "numeric/TKChannelOrderTrafo.h"
#include "numeric/TKFactorTrafo.h"
#include "numeric/TKLimitTrafo.h"
#include "numeric/TKMatrixTrafo.h"
#include "numeric/TKMergeTrafo.h"
#include "numeric/TKRefVectorTrafo.h"
#include "numeric/TKSetDimTypeTrafo.h"
#include "numeric/TKTrafoList.h"
#include "numeric/NumericTestSupport.h"
#include "numeric/TrafoTestSupport.h"
#include "support/TestSupport.h"

TEST(FactorTrafo, ScalesTheChannelsItHasFactorsFor) {
    TKFactorTrafo t(TKVector({2.0, 0.5}));
    EXPECT_EQ(t.Trafo(TKVector({1.0, 4.0, 9.0})), TKVector({2.0, 2.0, 9.0}));
    EXPECT_EQ(t.Trafo(TKVector({3.0})), TKVector({6.0}));
    t.SetFactors(TKVector());
    EXPECT_EQ(t.Trafo(TKVector({3.0})), TKVector({3.0}));
}

TEST(MatrixTrafo, MultipliesAndStampsTheType) {
    // sRGB (linear) to XYZ, D65, as published in IEC 61966-2-1.
    TKMatrix m(3, 3, Sig("XYZ "));
    const double rows[3][3] = {{0.4124, 0.3576, 0.1805}, {0.2126, 0.7152, 0.0722}, {0.0193, 0.1192, 0.9505}};
    for (int r = 0; r < 3; ++r) m.SetRow(r, TKVector({rows[r][0], rows[r][1], rows[r][2]}));
    TKMatrixTrafo t(m);
    EXPECT_EQ(t.GetSrcDim(), 3);
    EXPECT_EQ(t.GetDstDim(3), 3);
    EXPECT_EQ(t.GetSrcType(), 0);
    EXPECT_EQ(t.GetDstType(Sig("RGB ")), Sig("XYZ "));
    TKVector white = t.Trafo(TKVector({1.0, 1.0, 1.0}, Sig("RGB ")));
    EXPECT_NEAR(white[0], 0.9505, 1e-12);
    EXPECT_NEAR(white[1], 1.0, 1e-12);
    EXPECT_NEAR(white[2], 1.0890, 1e-12);
    EXPECT_EQ(white.GetType(), Sig("XYZ "));
    EXPECT_TKERROR(t.Trafo(TKVector(4)), DimMismatch);
    TKMatrixTrafo none;
    EXPECT_EQ(none.Trafo(TKVector({1.0, 2.0})), TKVector({1.0, 2.0}));
}

TEST(SetDimTypeTrafo, ResizesAndRetypes) {
    TKSetDimTypeTrafo t(4, Sig("CMYK"));
    EXPECT_EQ(t.GetDstDim(3), 4);
    EXPECT_EQ(t.GetDstType(Sig("RGB ")), Sig("CMYK"));
    TKVector r = t.Trafo(TKVector({1.0, 2.0, 3.0}, Sig("RGB ")));
    EXPECT_EQ(r, TKVector({1.0, 2.0, 3.0, 0.0}));
    EXPECT_EQ(r.GetType(), Sig("CMYK"));
    EXPECT_EQ(t.Trafo(TKVector({1.0, 2.0, 3.0, 4.0, 5.0})), TKVector({1.0, 2.0, 3.0, 4.0}));
    EXPECT_EQ(t.GetInfo(1), 1);
    t.SetInfo(1, 0);
    EXPECT_EQ(t.GetInfo(1), 0);
}

TEST(LimitTrafo, ClampsPerChannel) {
    TKLimitTrafo t(TKVector({0.0, 0.0}), TKVector({100.0}));
    EXPECT_EQ(t.Trafo(TKVector({-1.0, -1.0, 500.0})), TKVector({0.0, 0.0, 500.0}));
    EXPECT_EQ(t.Trafo(TKVector({150.0, 150.0})), TKVector({100.0, 150.0}));
}

TEST(ChannelOrderTrafo, ScattersOrGathers) {
    const int32_t order[3] = {2, 0, 1};
    TKChannelOrderTrafo scatter(order, 3, false);
    TKChannelOrderTrafo gather(order, 3, true);
    TKVector v({10.0, 20.0, 30.0, 40.0});
    EXPECT_EQ(scatter.Trafo(v), TKVector({20.0, 30.0, 10.0, 40.0}));
    EXPECT_EQ(gather.Trafo(v), TKVector({30.0, 10.0, 20.0, 40.0}));
    EXPECT_EQ(gather.Trafo(scatter.Trafo(v)), v);  // the two directions are inverse
    const int32_t bad[1] = {7};
    EXPECT_TKERROR(TKChannelOrderTrafo(bad, 1, false).Trafo(v), IndexError);
    EXPECT_TKERROR(TKChannelOrderTrafo(nullptr, 2, false), ArgErr);
}

TEST(MergeTrafo, WeightsTheResultsOfBothTrafos) {
    class ByLightness : public TKMergeTrafo {
    public:
        using TKMergeTrafo::TKMergeTrafo;
        void GetWeights(const TKVector& s, double* w1, double* w2) const override {
            *w1 = s[0] / 100.0;
            *w2 = 1.0 - *w1;
        }
    };
    ByLightness t(new TKTestAddTrafo(2, 10.0, Sig("Lab ")), new TKTestAddTrafo(2, 20.0), true);
    EXPECT_EQ(t.GetSrcDim(), 2);
    EXPECT_EQ(t.GetSrcType(), Sig("Lab "));
    EXPECT_EQ(t.Trafo(TKVector({25.0, 0.0})), TKVector({0.25 * 35 + 0.75 * 45, 0.25 * 10 + 0.75 * 20}));
    t.SetTrafo2(nullptr, false);
    EXPECT_EQ(t.Trafo(TKVector({50.0, 0.0})), TKVector({30.0, 5.0}));
    t.SetTrafo2(t.GetTrafo1(), false);  // the same trafo twice
    t.SetTrafo1(nullptr, false);
    EXPECT_EQ(t.GetSrcType(), Sig("Lab "));
    TKMergeTrafo empty;
    EXPECT_EQ(empty.Trafo(TKVector({1.0})), TKVector({1.0}));
    EXPECT_EQ(empty.GetDstDim(3), 3);
}

TEST(RefVectorTrafos, PassTheSourceAroundTheChain) {
    // In front a TKSetRefVectorTrafo, behind a constant that it feeds: the chain answers the
    // colour that entered it, whatever happened in between.
    auto constant = TKMakeRef<TKUseRefVectorTrafo>(TKVector({1.0, 2.0}, Sig("Lab ")));
    EXPECT_EQ(constant->GetDstDim(7), 2);
    EXPECT_EQ(constant->GetDstType(0), Sig("Lab "));
    EXPECT_EQ(constant->GetInfo(1), 0);
    EXPECT_EQ(constant->Trafo(TKVector(5)), TKVector({1.0, 2.0}));

    auto feeder = TKMakeRef<TKSetRefVectorTrafo>();
    EXPECT_EQ(feeder->GetInfo(1), 1);
    feeder->SetRefTrafo(constant.Get(), false);
    EXPECT_EQ(feeder->GetInfo(1), 0);  // the constant's answer
    TKTrafoList chain;
    chain.Append(feeder.Get(), false);
    chain.Append(new TKTestAddTrafo(3, 100.0), true);
    chain.Append(constant.Get(), false);
    TKVector out = chain.Trafo(TKVector({7.0, 8.0, 9.0}, Sig("RGB ")));
    EXPECT_EQ(out, TKVector({7.0, 8.0, 9.0}));
    EXPECT_EQ(out.GetType(), Sig("RGB "));
    // A held trafo that isn't a TKRefTrafo just gets nothing handed over.
    TKSetRefVectorTrafo plain(new TKTestAddTrafo(3, 1.0, Sig("RGB ")), true);
    EXPECT_EQ(plain.GetSrcDim(), 3);
    EXPECT_EQ(plain.GetDstDim(3), 3);
    EXPECT_EQ(plain.GetDstType(0), Sig("RGB "));
    EXPECT_EQ(plain.Trafo(TKVector({1.0, 1.0, 1.0})), TKVector({1.0, 1.0, 1.0}));
}

namespace {
// Saves a trafo, passes the data base through its text form and loads a fresh trafo from it.
template <class T>
void RoundTrip(const T& original, T& copy) {
    TKDataBase saved;
    original.Save(saved);
    TKDataBase reread;
    reread.FromText(saved.ToText());
    copy.Load(reread);
}
}  // namespace

TEST(SmallTrafos, ParametersSurviveSaveAndLoad) {
    TKFactorTrafo factor(TKVector({0.1, 1.0 / 3.0}));
    TKFactorTrafo factorCopy;
    RoundTrip(factor, factorCopy);
    EXPECT_EQ(factorCopy.GetFactors(), factor.GetFactors());  // bit for bit

    TKLimitTrafo limit(TKVector({0.0, -128.0}, Sig("Lab ")), TKVector({100.0, 127.0}));
    TKLimitTrafo limitCopy;
    RoundTrip(limit, limitCopy);
    EXPECT_EQ(limitCopy.GetMinVector(), limit.GetMinVector());
    EXPECT_EQ(limitCopy.GetMinVector().GetType(), Sig("Lab "));
    EXPECT_EQ(limitCopy.GetMaxVector(), limit.GetMaxVector());

    TKMatrix m(2, 3, Sig("XYZ "));
    m.SetRow(0, TKVector({0.4124, 1e-300, -7.0}));
    TKMatrixTrafo matrix(m), matrixCopy;
    RoundTrip(matrix, matrixCopy);
    EXPECT_EQ(matrixCopy.GetMatrix(), m);
    EXPECT_EQ(matrixCopy.GetMatrix().GetType(), Sig("XYZ "));

    TKSetDimTypeTrafo dimType(4, Sig("CMYK")), dimTypeCopy;
    RoundTrip(dimType, dimTypeCopy);
    EXPECT_EQ(dimTypeCopy.GetDim(), 4);
    EXPECT_EQ(dimTypeCopy.GetType(), Sig("CMYK"));

    const int32_t order[3] = {2, 0, 1};
    TKChannelOrderTrafo channels(order, 3, true), channelsCopy;
    RoundTrip(channels, channelsCopy);
    EXPECT_EQ(channelsCopy.GetOrder(), channels.GetOrder());
    EXPECT_TRUE(channelsCopy.IsGather());
}

TEST(SmallTrafos, BadSavedParametersAreFormatErrors) {
    TKDataBase base;
    base.SetString("Matrix", "1,2,3");
    base.SetInt("MatrixHeight", 2);
    base.SetInt("MatrixWidth", 2);
    TKMatrixTrafo matrix;
    EXPECT_TKERROR(matrix.Load(base), FormatErr);
    base.SetString("Order", "0,1.5");
    TKChannelOrderTrafo channels;
    EXPECT_TKERROR(channels.Load(base), FormatErr);
    base.SetString("Factors", "1,x");
    TKFactorTrafo factor;
    EXPECT_TKERROR(factor.Load(base), FormatErr);
}
