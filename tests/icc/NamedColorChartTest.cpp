// "ncl2" named colours through the chart model: a real profile's colours as a chart, and charts
// written into the tag and read back within the 16-bit encoding.
#include <string>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "icc/TKICCColorantTags.h"
#include "icc/TKICCProfile.h"
#include "support/TestSupport.h"

TEST(NamedColorChart, RealProfileAsChart) {
    auto profile = TKMakeRef<TKICCProfile>();
    profile->ReadFile(TKFileSpec(TKString(TestDataPath("icc/Crayons-named-v4.icc").c_str())), 2);
    auto* ncl2 = TKCast<TKNamedColor2TypeTag>(profile->GetTag(TKICCSig("ncl2")), "TKNamedColor2TypeTag");
    ASSERT_NE(ncl2, nullptr);
    TKRefPtr<TKColorChart> chart = ncl2->GetChart();
    ASSERT_EQ(chart->Count(), 24);
    // The device side of this profile is Lab too: the chart keeps the PCS values under that type.
    EXPECT_EQ(chart->ColorTypes(), std::vector<uint32_t>{TKLabSpace});
    EXPECT_STREQ(chart->Name(2).CString(), "Carnation_Pink");
    EXPECT_EQ(chart->FindName("Green"), 23);
    for (int32_t i = 0; i < 24; ++i)
        for (int32_t c = 0; c < 3; ++c) EXPECT_DOUBLE_EQ(chart->Matrix(TKLabSpace)(i, c), ncl2->GetPCS(i)[c]);
}

TEST(NamedColorChart, ChartsThroughTheTag) {
    TKMatrix cmyk(3, 4, int32_t(TKCMYKSpace)), xyz(3, 3, int32_t(TKXYZSpace));
    for (int32_t r = 0; r < 3; ++r) {
        for (int32_t c = 0; c < 4; ++c) cmyk(r, c) = 10.0 * (r + c);
        xyz(r, 0) = 20 + r, xyz(r, 1) = 21 + r, xyz(r, 2) = 18 + r;
    }
    TKColorChart chart(cmyk, xyz);
    chart.SetIDs({"id0", "id1", ""});
    chart.SetNames({"A name longer than thirty-one characters", "", ""});
    auto tag = TKMakeRef<TKNamedColor2TypeTag>(TKICCSig("ncl2"));
    tag->SetSpaces(TKCMYKSpace, TKLabSpace);
    tag->SetChart(chart);
    TKRefPtr<TKColorChart> back = tag->GetChart();
    ASSERT_EQ(back->Count(), 3);
    EXPECT_EQ(back->ColorTypes(), (std::vector<uint32_t>{TKCMYKSpace, TKLabSpace}));
    const char* names[] = {"A_name_longer_than_thirty-one_c", "id1", "Color2"};  // name, else id, else "Color%d"
    for (int32_t i = 0; i < 3; ++i) {
        EXPECT_STREQ(back->Name(i).CString(), names[i]);
        for (int32_t c = 0; c < 4; ++c) EXPECT_NEAR(back->Matrix(TKCMYKSpace)(i, c), cmyk(i, c), 100.0 / 65535);
        // XYZ became Lab on the way in: one 16-bit step of L is 100/65280, of a and b 1/256.
        const TKVector lab = ConvertColor(TKLabSpace, xyz.GetRow(i));
        EXPECT_NEAR(back->Matrix(TKLabSpace)(i, 0), lab[0], 100.0 / 65280);
        EXPECT_NEAR(back->Matrix(TKLabSpace)(i, 1), lab[1], 1.0 / 256);
    }
    // A chart with device values alone: no PCS values to take, so the words stay zero, which
    // this encoding reads as L 0, a and b -128.
    tag->SetChart(TKColorChart(cmyk, TKMatrix()));
    const TKVector zero = tag->GetChart()->Matrix(TKLabSpace).GetRow(2);
    EXPECT_EQ(zero[0], 0.0);
    EXPECT_EQ(zero[1], -128.0);
    tag->SetChart(TKColorChart());
    EXPECT_EQ(tag->GetChart()->Count(), 0);
}
