// TKColorChart: sample access, texts, keywords, channel names, fields, selection, merging,
// averaging, conversion of measured values and comparison.
#include <cmath>

#include "charts/TKChartFieldNames.h"
#include "charts/TKColorChart.h"
#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "support/TestSupport.h"

namespace {

TKMatrix Rows(uint32_t type, std::initializer_list<std::initializer_list<double>> rows) {
    const int32_t width = int32_t(rows.begin()->size());
    TKMatrix m(int32_t(rows.size()), width, int32_t(type));
    int32_t r = 0;
    for (const auto& row : rows) {
        int32_t c = 0;
        for (double v : row) m(r, c++) = v;
        ++r;
    }
    return m;
}

// Three CMYK patches, the second repeated, with their Lab values.
TKRefPtr<TKColorChart> SmallChart() {
    auto chart = TKMakeRef<TKColorChart>(
        Rows(TKCMYKSpace, {{0, 0, 0, 0}, {100, 0, 0, 0}, {100, 0, 0, 0}}),
        Rows(TKLabSpace, {{95, 0, -2}, {55, -37, -50}, {57, -35, -48}}));
    chart->SetIDs({"1", "A2", "3"});
    chart->SetNames({"paper", "cyan", "cyan again"});
    return chart;
}

}  // namespace

TEST(ColorChart, HoldsDeviceAndMeasuredTypes) {
    auto chart = SmallChart();
    EXPECT_EQ(chart->Count(), 3);
    EXPECT_EQ(chart->ColorTypes(), (std::vector<uint32_t>{TKCMYKSpace, TKLabSpace}));
    EXPECT_EQ(chart->DeviceType(), uint32_t(TKCMYKSpace));
    EXPECT_EQ(chart->MeasuredType(), uint32_t(TKLabSpace));
    EXPECT_DOUBLE_EQ(chart->Matrix(TKLabSpace)(1, 2), -50);
    EXPECT_TRUE(chart->Matrix(TKXYZSpace).IsEmpty()) << "a missing type gives an empty matrix";
    EXPECT_TRUE(chart->Container(0).HasType(TKCMYKSpace));
    EXPECT_TRUE(chart->Container(1).HasType(TKLabSpace));
    EXPECT_TKERROR(chart->SetMatrix(Rows(TKXYZSpace, {{1, 2, 3}})), DimMismatch);
    EXPECT_TKERROR(chart->SetMatrix(TKMatrix(3, 4, int32_t(TKLabSpace))), DimMismatch);
    EXPECT_TKERROR(chart->SetMatrix(TKMatrix(3, 3, 0)), ArgErr);
    EXPECT_TRUE(chart->RemoveMatrix(TKLabSpace));
    EXPECT_FALSE(chart->RemoveMatrix(TKLabSpace));
    EXPECT_EQ(chart->MeasuredType(), 0u);
}

TEST(ColorChart, SampleTextsAndLookUp) {
    auto chart = SmallChart();
    EXPECT_STREQ(chart->ID(1).CString(), "A2") << "ids stay texts";
    EXPECT_STREQ(chart->Name(2).CString(), "cyan again");
    EXPECT_STREQ(chart->Location(0).CString(), "") << "no locations: empty texts";
    EXPECT_FALSE(chart->HasLocations());
    chart->SetLocation(2, "C1");
    EXPECT_TRUE(chart->HasLocations());
    EXPECT_STREQ(chart->Location(2).CString(), "C1");
    EXPECT_EQ(chart->FindID("A2"), 1);
    EXPECT_EQ(chart->FindID("2"), -1);
    EXPECT_EQ(chart->FindName("cyan again"), 2);
    EXPECT_EQ(chart->FindName("magenta"), -1);
    for (int32_t bad : {-1, 3}) {
        EXPECT_TKERROR(chart->ID(bad), IndexError);
        EXPECT_TKERROR(chart->Name(bad), IndexError);
        EXPECT_TKERROR(chart->SetLocation(bad, "x"), IndexError);
    }
    EXPECT_TKERROR(chart->SetNames({"only one"}), DimMismatch);
}

TEST(ColorChart, KeywordsAndChannelNames) {
    TKColorChart chart;
    chart.SetKeyword("ORIGINATOR", "first");
    chart.SetKeyword("DESCRIPTOR", "d");
    chart.SetKeyword("ORIGINATOR", "second");
    EXPECT_STREQ(chart.Keyword("ORIGINATOR").CString(), "second") << "the last value holds";
    EXPECT_EQ(chart.Header().Key(0), TKString("ORIGINATOR")) << "at the place of the first";
    EXPECT_STREQ(chart.Keyword("MISSING").CString(), "");
    chart.SetChannelNames({"Cyan", "Magenta", "Pantone 123"});
    EXPECT_STREQ(chart.Keyword("SPOT_ID/3").CString(), "Pantone 123");
    chart.SetChannelNames({"Orange"});
    EXPECT_EQ(chart.ChannelNames(), std::vector<TKString>{"Orange"});
}

TEST(ColorChart, WritableFieldsKeepFileOrderAndAddTheRest) {
    auto chart = SmallChart();
    EXPECT_EQ(chart->WritableFields().size(), 9u) << "id, name, four CMYK and three Lab fields";
    chart->SetFields({{"LAB_L", kChartFieldColor, TKLabSpace, 0}, {"ID", kChartFieldID, 0, 0},
                      {"XYZ_X", kChartFieldColor, TKXYZSpace, 0}, {"gone", kChartFieldExtra, 0, 0}});
    const std::vector<TKChartField> fields = chart->WritableFields();
    std::vector<std::string> names;
    for (const auto& f : fields) names.push_back(f.name.CString());
    EXPECT_EQ(names, (std::vector<std::string>{"SAMPLE_NAME", "LAB_L", "ID", "CMYK_C", "CMYK_M", "CMYK_Y", "CMYK_K",
                                               "LAB_A", "LAB_B"}))
        << "kept names stay, fields without data drop out, the rest follows in standard form";
}

TEST(ColorChart, SelectAndMergeDuplicates) {
    auto chart = SmallChart();
    auto picked = chart->Select({2, 0});
    EXPECT_EQ(picked->Count(), 2);
    EXPECT_STREQ(picked->Name(0).CString(), "cyan again");
    EXPECT_DOUBLE_EQ(picked->Matrix(TKLabSpace)(1, 0), 95);
    EXPECT_TKERROR(chart->Select({3}), IndexError);

    auto merged = chart->MergeDuplicates();
    ASSERT_EQ(merged->Count(), 2);
    EXPECT_STREQ(merged->ID(1).CString(), "A2") << "a group keeps its first sample's texts";
    // The mean of two Lab colours is taken in XYZ.
    TKVector xyz1 = ConvertColor(TKXYZSpace, TKVector({55, -37, -50}, TKLabSpace));
    TKVector xyz2 = ConvertColor(TKXYZSpace, TKVector({57, -35, -48}, TKLabSpace));
    TKVector mean({(xyz1[0] + xyz2[0]) / 2, (xyz1[1] + xyz2[1]) / 2, (xyz1[2] + xyz2[2]) / 2}, TKXYZSpace);
    TKVector lab = ConvertColor(TKLabSpace, mean);
    for (int32_t c = 0; c < 3; ++c) EXPECT_NEAR(merged->Matrix(TKLabSpace)(1, c), lab[c], 1e-9);
    EXPECT_GT(merged->Matrix(TKLabSpace)(1, 0), 55.9) << "within the pair";
    EXPECT_LT(merged->Matrix(TKLabSpace)(1, 0), 56.1);
}

TEST(ColorChart, AverageRepeatedMeasurements) {
    auto a = TKMakeRef<TKColorChart>(Rows(TKRGBSpace, {{0, 0, 0}, {255, 255, 255}}), Rows(TKXYZSpace, {{1, 1, 1}, {90, 94, 80}}));
    auto b = TKMakeRef<TKColorChart>(Rows(TKRGBSpace, {{0, 0, 0}, {255, 255, 255}}), Rows(TKXYZSpace, {{3, 3, 3}, {92, 96, 82}}));
    auto mean = TKColorChart::Average({a.Get(), b.Get()});
    EXPECT_EQ(mean->Matrix(TKXYZSpace), Rows(TKXYZSpace, {{2, 2, 2}, {91, 95, 81}}));
    EXPECT_EQ(mean->Matrix(TKRGBSpace), a->Matrix(TKRGBSpace));
    auto shorter = a->Select({0});
    EXPECT_TKERROR(TKColorChart::Average({a.Get(), shorter.Get()}), DimMismatch);
    auto other = TKMakeRef<TKColorChart>(Rows(TKRGBSpace, {{0, 0, 0}, {1, 1, 1}}), Rows(TKLabSpace, {{1, 1, 1}, {9, 9, 9}}));
    EXPECT_TKERROR(TKColorChart::Average({a.Get(), other.Get()}), WrongDataType);
}

TEST(ColorChart, ConvertMeasuredFromTheBestSource) {
    // A flat 50 % reflectance seen under D50 by the 2-degree observer is a neutral of Y = 50.
    TKMatrix spectra(1, kTKSpectralChannels, int32_t(TKReflSpace));
    for (int32_t c = 0; c < kTKSpectralChannels; ++c) spectra(0, c) = 0.5;
    TKColorChart chart(TKMatrix(), spectra);
    chart.SetMatrix(Rows(TKXYZSpace, {{1, 2, 3}}));  // a stale XYZ: the spectrum must win
    chart.ConvertMeasured(TKLabSpace);
    const TKMatrix lab = chart.Matrix(TKLabSpace);
    const TKVector expected = ConvertColor(TKLabSpace, spectra.GetRow(0));
    for (int32_t c = 0; c < 3; ++c) EXPECT_NEAR(lab(0, c), expected[c], 1e-12);
    EXPECT_NEAR(lab(0, 0), 76.07, 0.05) << "L* of Y = 50 (CIE 15: 116 * 0.5^(1/3) - 16)";
    EXPECT_NEAR(lab(0, 1), 0, 0.5);
    chart.SetMatrix(Rows(TKLChSpace, {{1, 2, 3}}));
    chart.ConvertMeasured(TKLChSpace);
    EXPECT_EQ(chart.Matrix(TKLChSpace), Rows(TKLChSpace, {{1, 2, 3}})) << "measured values of the type stay";
    EXPECT_TKERROR(chart.ConvertMeasured(TKCMYKSpace), WrongDataType);
    TKColorChart deviceOnly(Rows(TKCMYKSpace, {{1, 2, 3, 4}}), TKMatrix());
    EXPECT_TKERROR(deviceOnly.ConvertMeasured(TKLabSpace), WrongDataType);
}

TEST(ColorChart, CopiesAreDeepAndCompareEqual) {
    auto chart = SmallChart();
    chart->SetKeyword("KEYWORD/0", "MY_KEY");
    chart->AddTable(new TKColorChart(Rows(TKLabSpace, {{1, 2, 3}}), TKMatrix()), true);
    TKColorChart copy(*chart);
    TKString why;
    EXPECT_TRUE(copy.SameContent(*chart, &why)) << why.CString();
    copy.Table(0).SetKeyword("X", "y");
    EXPECT_FALSE(copy.SameContent(*chart, &why));
    EXPECT_STREQ(why.CString(), "table 2: keywords: 1 vs 0 entries");
    EXPECT_EQ(chart->Table(0).Header().Count(), 0) << "the original's table is untouched";

    struct Change {
        const char* expected;
        void (*apply)(TKColorChart&);
    };
    const Change changes[] = {
        {"SAMPLE_NAME of sample 1: \"x\" vs \"cyan\"", [](TKColorChart& c) { c.SetName(1, "x"); }},
        {"Lab of sample 0, channel 2: 1 vs -2", [](TKColorChart& c) { c.SetMatrix(Rows(TKLabSpace, {{95, 0, 1}, {55, -37, -50}, {57, -35, -48}})); }},
        {"keyword KEYWORD/0 = \"OTHER\" vs 0 = \"MY_KEY\"", [](TKColorChart& c) { c.SetKeyword("KEYWORD/0", "OTHER"); }},
        {"different colour types", [](TKColorChart& c) { c.RemoveMatrix(TKCMYKSpace); }},
    };
    for (const Change& change : changes) {
        TKColorChart changed(*chart);
        change.apply(changed);
        EXPECT_FALSE(changed.SameContent(*chart, &why));
        EXPECT_STREQ(why.CString(), change.expected);
    }
}

TEST(ChartFieldNames, BothWays) {
    struct Case {
        uint32_t type;
        int32_t channel;
        const char* name;
    };
    const Case cases[] = {
        {TKCMYKSpace, 0, "CMYK_C"}, {TKCMYKSpace, 3, "CMYK_K"}, {TKRGBSpace, 2, "RGB_B"}, {TKXYZSpace, 1, "XYZ_Y"},
        {TKLabSpace, 0, "LAB_L"}, {TKLabSpace, 2, "LAB_B"}, {TKReflSpace, 0, "SPECTRAL_NM_380"},
        {TKReflSpace, 35, "SPECTRAL_NM_730"}, {TKEmisSpace, 1, "E_390"}, {TKTranSpace, 0, "T_380"},
        {TKColorSig("6CLR"), 2, "PC6_3"}, {TKColorSig("1CLR"), 0, "PC1_1"}, {TKColorSig("FCLR"), 14, "PC15_15"},
        {TKYxySpace, 2, "Yxy_y"}, {TKYxySpace, 1, "Yxy_x"},
    };
    for (const Case& c : cases) {
        EXPECT_STREQ(TKChartFieldName(c.type, c.channel).CString(), c.name);
        const TKChartFieldMeaning m = TKChartRecogniseField(c.name);
        EXPECT_EQ(m.type, c.type) << c.name;
        EXPECT_EQ(m.channel, c.channel) << c.name;
    }
    EXPECT_STREQ(TKChartFieldName(TKLabSpace, 3).CString(), "");

    const Case recognised[] = {
        {TKLabSpace, 1, "lab_a"}, {TKReflSpace, 0, "SPEC_380"}, {TKReflSpace, 2, "nm400"}, {TKEmisSpace, 35, "E_730"}, {TKReflSpace, 2, "T_400"},
        {TKReflSpace, 1, "SPEC_390000"}, {0, 0, "SPEC_385"}, {0, 0, "SPEC_3800"}, {0, 0, "SPEC_740"},
        {0, 0, "SPEC_380500"}, {0, 0, "SPEC_438000"}, {0, 0, "RGB_I"}, {0, 0, "SAMPLE_XYZ"},
    };
    for (const Case& c : recognised) {
        const TKChartFieldMeaning m = TKChartRecogniseField(c.name);
        EXPECT_EQ(m.type, c.type) << c.name;
        EXPECT_EQ(m.channel, c.channel) << c.name;
    }
    EXPECT_EQ(TKChartRecogniseField("E_500", TKReflSpace).type, uint32_t(TKReflSpace)) << "the first spectral type stays";
    EXPECT_STREQ(TKChartExtraInkName("CMYK_O"), "Orange");
    EXPECT_STREQ(TKChartExtraInkName("SPOT_3"), "");
    EXPECT_EQ(TKChartExtraInkName("CMYK_K"), nullptr);
}

TEST(ColorChart, DataBaseFormBothWays) {
    auto chart = SmallChart();
    chart->TKObject::SetName("press run");
    chart->SetChannelNames({"Cyan", "Magenta", "Yellow", "Black"});
    chart->SetKeyword("ImportDate", "2026-11-22 19:00:00");
    const TKRefPtr<TKDataBase> base = chart->ToDataBase();
    EXPECT_STREQ(base->GetString("DCSType").CString(), "CMYK");
    EXPECT_STREQ(base->GetString("CIEType").CString(), "Lab ");
    EXPECT_STREQ(base->GetString("ChannelNames").CString(), "Cyan;Magenta;Yellow;Black");
    EXPECT_STREQ(base->GetString("Data/CIE/1").CString(), "55.000 -37.000 -50.000");
    // Through the data base text and back.
    TKDataBase text;
    text.FromText(base->ToText());
    auto back = TKColorChart::FromDataBase(text);
    EXPECT_EQ(back->Matrix(TKCMYKSpace), chart->Matrix(TKCMYKSpace));
    EXPECT_EQ(back->Matrix(TKLabSpace), chart->Matrix(TKLabSpace));
    EXPECT_EQ(back->ChannelNames(), chart->ChannelNames());
    EXPECT_STREQ(back->GetName().CString(), "press run");
    EXPECT_STREQ(back->Keyword("ImportDate").CString(), "2026-11-22 19:00:00");

    struct Bad {
        const char* text;
        const char* message;
    };
    const Bad bad[] = {
        {"Name = x\n", "A chart needs \"DCSType\" or \"CIEType\""},
        {"CIEType = Paint\n", "CIEType \"Paint\" is no colour type"},
        {"CIEType = Lab\nData =\n{\nCIE =\n{\n0 = 1 2\n}\n}\n", "Data/CIE/0: \"1 2\" is no Lab colour"},
        {"CIEType = Lab\nData =\n{\nCIE =\n{\n0 = 1 2 3 4\n}\n}\n", "Data/CIE/0: \"1 2 3 4\" is no Lab colour"},
    };
    for (const Bad& b : bad) {
        TKDataBase broken;
        broken.FromText(TKString(b.text));
        try {
            TKColorChart::FromDataBase(broken);
            ADD_FAILURE() << b.text;
        } catch (const TKError& error) {
            EXPECT_EQ(error.code(), FormatErr);
            EXPECT_STREQ(error.message(), b.message);
        }
    }
}
