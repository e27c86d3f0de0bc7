// TKCxFReader: a spot ink file read to its numbers, the namespace styles ISO 17972 allows, the
// mirror paths, and every kind of broken input refused with its text.
#include <cmath>
#include <string>

#include "charts/TKColorChart.h"
#include "charts/TKCxFReader.h"
#include "charts/TKCxFSpotInk.h"
#include "color/TKCIETools.h"
#include "color/TKColors.h"
#include "io/TKFile.h"
#include "support/TestSupport.h"

namespace {

TKRefPtr<TKColorChart> ReadSpotInk() {
    auto chart = TKMakeRef<TKColorChart>();
    chart->Read(TKFileSpec(TestDataPath("charts/SpotInkWarmRed.cxf").c_str()));
    return chart;
}

// A small document in a given namespace style: `core` and `sic` are the prefixes with their
// colons, `declarations` the namespace attributes of the root.
std::string SmallDocument(const std::string& core, const std::string& sic, const std::string& declarations,
                          const std::string& objectAttributes = "Id=\"p1\" Name=\"paper\" ObjectType=\"Standard\"") {
    const std::string c = core, s = sic;
    return "<?xml version=\"1.0\"?>\n<" + c + "CxF " + declarations + ">\n<" + c + "Resources><" + c + "ObjectCollection>" +
           "<" + c + "Object " + objectAttributes + "><" + c + "ColorValues><" + c + "ColorCIELab ColorSpecification=\"L\"><" +
           c + "L>95</" + c + "L><" + c + "A>0.5</" + c + "A><" + c + "B>-2</" + c + "B></" + c + "ColorCIELab></" + c +
           "ColorValues></" + c + "Object></" + c + "ObjectCollection><" + c + "ColorSpecificationCollection><" + c +
           "ColorSpecification Id=\"L\"/></" + c + "ColorSpecificationCollection><" + c + "CustomResources><" + s +
           "SpotInkCharacterisation><" + s + "SpotInkName>Blue</" + s + "SpotInkName><" + s + "MeasurementSet><" + s +
           "Background>Substrate</" + s + "Background><" + s + "Measurement><" + s + "TintLevel>0</" + s + "TintLevel><" +
           s + "ObjectRef ObjectId=\"p1\"/></" + s + "Measurement></" + s + "MeasurementSet></" + s +
           "SpotInkCharacterisation></" + c + "CustomResources></" + c + "Resources></" + c + "CxF>\n";
}

const std::string kCore = "\"http://colorexchangeformat.com/CxF3-core\"";
const std::string kSic = "\"http://colorexchangeformat.com/CxF3-SpotInkCharacterisation\"";

}  // namespace

TEST(CxFReader, SpotInkFileReadsToItsNumbers) {
    const auto chart = ReadSpotInk();
    ASSERT_EQ(chart->Count(), 22);
    EXPECT_EQ(chart->ColorTypes(), (std::vector<uint32_t>{TK1CLRSpace, TKReflSpace, TKLabSpace}));
    EXPECT_EQ(chart->ChannelNames(), std::vector<TKString>{"Warm Red"});
    EXPECT_STREQ(chart->Keyword("SubstrateName").CString(), "Gloss 115");
    EXPECT_STREQ(chart->Keyword("PrintProcess").CString(), "Offset");
    EXPECT_STREQ(chart->Keyword("CxFCreator").CString(), "Ink kitchen");
    EXPECT_STREQ(chart->Keyword("MEASUREMENT_GEOMETRY").CString(), "45.0/0.0");
    EXPECT_STREQ(chart->Keyword("MEASUREMENT_SOURCE").CString(), "M1_Daylight");
    EXPECT_STREQ(chart->Keyword("WEIGHTING_FUNCTION").CString(), "ILLUMINANT, D50; OBSERVER, 2; METHOD, E308_Table5");
    EXPECT_STREQ(chart->ID(12).CString(), "RK010");
    EXPECT_STREQ(chart->Name(12).CString(), "Warm red 10% on black");

    const std::vector<int32_t> paper = TKSpotInkTints(*chart, "Substrate"), black = TKSpotInkTints(*chart, "Black");
    ASSERT_EQ(paper.size(), 11u);
    ASSERT_EQ(black.size(), 11u);
    const TKMatrix tints = chart->Matrix(TK1CLRSpace), spectra = chart->Matrix(TKReflSpace);
    for (int32_t k = 0; k <= 10; ++k) {
        EXPECT_EQ(tints(paper[size_t(k)], 0), 10.0 * k);
        EXPECT_EQ(tints(black[size_t(k)], 0), 10.0 * k);
    }
    // Values as written in the file: the solid on paper at 380, 600 and 730 nm.
    EXPECT_DOUBLE_EQ(spectra(paper[10], 0), 0.0499);
    EXPECT_DOUBLE_EQ(spectra(paper[10], 22), 0.2786);
    EXPECT_DOUBLE_EQ(spectra(paper[10], 35), 0.8037);

    // The Lab written in the file was computed from the same spectra outside this project (CIE 1931
    // observer and CIE D50 summed at 10 nm, Lab relative to the perfect reflector's XYZ): the
    // engine's spectral sums with the same white agree within 0.01.
    TKColorChart spectral(*chart);
    spectral.RemoveMatrix(TKLabSpace);
    spectral.ConvertMeasured(TKXYZSpace);
    TKColorChart reflector(TKMatrix(), TKMatrix(1, kTKSpectralChannels, int32_t(TKReflSpace)));
    TKMatrix ones = reflector.Matrix(TKReflSpace);
    for (int32_t c = 0; c < kTKSpectralChannels; ++c) ones(0, c) = 1.0;
    reflector.SetMatrix(ones);
    reflector.ConvertMeasured(TKXYZSpace);
    const double white[3] = {reflector.Matrix(TKXYZSpace)(0, 0), reflector.Matrix(TKXYZSpace)(0, 1), reflector.Matrix(TKXYZSpace)(0, 2)};
    const TKMatrix xyz = spectral.Matrix(TKXYZSpace), written = chart->Matrix(TKLabSpace);
    for (int32_t i : paper) {
        const double sample[3] = {xyz(i, 0), xyz(i, 1), xyz(i, 2)};
        double lab[3];
        XYZToLab(sample, white, lab);
        for (int32_t c = 0; c < 3; ++c) EXPECT_NEAR(lab[c], written(i, c), 0.01) << "sample " << i << " channel " << c;
    }

    // Opacity from the same outside computation: 8.636, 43.183 and 86.365 at 10, 50 and 100 %.
    const std::vector<TKSpotInkOpacity> opacity = TKSpotInkOpacities(*chart);
    ASSERT_EQ(opacity.size(), 10u);
    EXPECT_NEAR(opacity[0].opacity, 8.636, 0.005);
    EXPECT_NEAR(opacity[4].opacity, 43.183, 0.005);
    EXPECT_NEAR(opacity[9].opacity, 86.365, 0.005);
    EXPECT_EQ(opacity[9].tint, 100.0);
}

TEST(CxFReader, MirrorAndSpecifications) {
    TKColorChart chart;
    TKCxFReader reader(chart);
    TKFile file(TKFileSpec(TestDataPath("charts/SpotInkWarmRed.cxf").c_str()), 1);
    TKString text;
    file.ReadString(text, -1);
    reader.ReadData(text);
    const TKDataBase& mirror = reader.Mirror();
    EXPECT_STREQ(mirror.GetString(".CxF/ColorSpec/Current/MeasurementSpec/MeasurementType").CString(), "Spectrum_Reflectance");
    EXPECT_STREQ(mirror.GetString(".CxF/ColorSpec/Current/MeasurementSpec/Device/DeviceIllumination").CString(), "M1_Daylight");
    EXPECT_STREQ(mirror.GetString(".CxF/Objects/11/ObjectType").CString(), "Process_Black");
    EXPECT_STREQ(mirror.GetString(".CxF/SpotInk/SAMPLE_ID/13/Background").CString(), "Black");
    EXPECT_STREQ(mirror.GetString(".CxF/SpotInk/SAMPLE_ID/13/TintLevel").CString(), "20.00");
    // The spot ink elements carry the prefix "x4:" in the file and none in the mirror.
    EXPECT_STREQ(mirror.GetString(".CxF/Resources/CustomResources/SpotInkCharacterisation/SpotInkName").CString(), "Warm Red");
    EXPECT_STREQ(mirror.GetString(".CxF/Resources/ObjectCollection/Object/2/Attributes/Id").CString(), "RS020");

    ASSERT_EQ(reader.SpecCount(), 2);
    EXPECT_STREQ(reader.SpecName(1).CString(), "CS_lab");
    reader.SelectSpec("CS_lab");
    EXPECT_STREQ(mirror.GetString(".CxF/ColorSpec/Current/MeasurementSpec/MeasurementType").CString(), "Colorimetric_Reflectance");
    try {
        reader.SpecName(2);
        ADD_FAILURE();
    } catch (const TKError& error) {
        EXPECT_EQ(error.code(), IndexError);
        EXPECT_STREQ(error.message(), "Color specification index out of bounds");
    }
    try {
        reader.SelectSpec("CS_none");
        ADD_FAILURE();
    } catch (const TKError& error) {
        EXPECT_STREQ(error.message(), "Color specification does not exist");
    }
    const char* texts[] = {"CxF: No error occurred", "CxF: The data provided is not in a valid CxF3 format!",
                           "CxF: The file loaded is not a valid CxF3 file!",
                           "CxF: The data provided is in a former version of the CxF format. Only CxF version >= 3 supported!",
                           "CxF: The file loaded is in a former version of the CxF format. Only CxF version >= 3 supported",
                           "CxF: The file loaded is not a valid CxF file"};
    for (int32_t code = 0; code < 6; ++code) EXPECT_STREQ(TKCxFBase::ErrorText(code).CString(), texts[code]);
    EXPECT_TRUE(TKCxFBase::ErrorText(6).IsEmpty());
}

TEST(CxFReader, NamespaceStylesReadAlike) {
    const std::string both = "xmlns:cc=" + kCore + " xmlns:sic=" + kSic;
    const std::string styles[][3] = {
        {"cc:", "sic:", both},
        {"", "sic:", "xmlns=" + kCore + " xmlns:sic=" + kSic},  // core as the default namespace
        {"cxf3:", "x4:", "xmlns:x4=" + kSic + " xmlns:cxf3=" + kCore},
        {"", "", ""},  // no namespaces at all
        {"cc:", "sic:", both + " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" Version=\"3.0\""},
    };
    TKColorChart first;
    first.ReadText(SmallDocument("cc:", "sic:", both).c_str());
    EXPECT_EQ(first.ColorTypes(), (std::vector<uint32_t>{TK1CLRSpace, TKLabSpace}));
    EXPECT_STREQ(first.Keyword("SpotInkName").CString(), "Blue");
    for (const auto& style : styles) {
        for (const char* attributes : {"Id=\"p1\" Name=\"paper\" ObjectType=\"Standard\"", "ObjectType=\"Standard\" Name=\"paper\" Id=\"p1\""}) {
            TKColorChart chart;
            chart.ReadText(SmallDocument(style[0], style[1], style[2], attributes).c_str());
            TKString difference;
            EXPECT_TRUE(chart.SameContent(first, &difference)) << style[2] << ": " << difference.CString();
        }
    }
}

TEST(CxFReader, BrokenInputIsRefusedWithItsText) {
    const std::string good = SmallDocument("cc:", "sic:", "xmlns:cc=" + kCore + " xmlns:sic=" + kSic);
    auto replace = [&](const std::string& from, const std::string& to) {
        std::string text = good;
        const size_t at = text.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        return at == std::string::npos ? text : text.replace(at, from.size(), to);
    };
    std::string deep = "<CxF>";
    for (int i = 0; i < 300; ++i) deep += "<a>";
    for (int i = 0; i < 300; ++i) deep += "</a>";
    deep += "</CxF>";
    struct Case {
        std::string text;
        int32_t state;  // the error text
        const char* detail;
    };
    const Case cases[] = {
        {"<?xml version=\"1.0\"?><cc:CxF xmlns:cc=" + kCore + "><cc:Resources>", 1, "XML error"},
        {good.substr(0, good.size() / 2), 1, "XML error"},
        {replace("xmlns:cc=" + kCore, "xmlns:cc=\"http://example.com/other\""), 1, "namespace"},
        {replace("<cc:CxF ", "<cc:CxF Version=\"2.0\" "), 3, "Version 2.0"},
        {"<CxF><FileInformation/></CxF>", 1, "no Resources"},
        {"<CxF><Resources><ObjectCollection/></Resources></CxF>", 1, "no Object"},
        {replace("Id=\"p1\" ", ""), 1, "has no Id"},
        {replace("<cc:B>-2</cc:B>", ""), 1, "ColorCIELab lacks B"},
        {replace(">0.5<", ">half<"), 1, "\"half\" is no number"},
        {replace(">0.5<", ">1e999<"), 1, "is no number"},
        {replace("ColorSpecification=\"L\"", "ColorSpecification=\"X\""), 1, "lacks"},
        {replace("<cc:ColorSpecification Id=\"L\"/>", "<cc:ColorSpecification Id=\"L\"/><cc:ColorSpecification Id=\"L\"/>"), 1,
         "two ColorSpecifications"},
        {replace("<sic:TintLevel>0<", "<sic:TintLevel>150<"), 1, "no tint of 0 to 100"},
        {replace("<sic:TintLevel>0<", "<sic:TintLevel>-3<"), 1, "no tint of 0 to 100"},
        {replace("<sic:ObjectRef ObjectId=\"p1\"/>", ""), 1, "without ObjectRef"},
        {deep, 1, "XML error"},
    };
    for (const Case& c : cases) {
        TKColorChart chart(TKMatrix(1, 3, int32_t(TKLabSpace)), TKMatrix());
        try {
            chart.ReadText(c.text.c_str());
            ADD_FAILURE() << "read: " << c.text.substr(0, 200);
        } catch (const TKError& error) {
            EXPECT_EQ(error.code(), FormatErr);
            const std::string message = error.message();
            EXPECT_EQ(message.rfind(TKCxFBase::ErrorText(c.state).CString(), 0), 0u) << message;
            EXPECT_NE(message.find(c.detail), std::string::npos) << message;
        }
        EXPECT_EQ(chart.Count(), 1) << "a failed read leaves the chart as it was";
    }
    // Another root is no chart this reader knows; the CxF reader itself names the root.
    TKColorChart chart;
    try {
        chart.ReadText("<?xml version=\"1.0\"?><svg/>", "picture.svg");
        ADD_FAILURE();
    } catch (const TKError& error) {
        EXPECT_STREQ(error.message(), "The file \"picture.svg\" is not a valid CGATS XML file!");
    }
    TKCxFReader reader(chart);
    try {
        reader.ReadData("<svg/>");
        ADD_FAILURE();
    } catch (const TKError& error) {
        EXPECT_STREQ(error.message(), "CxF: The data provided is not in a valid CxF3 format! (the root element is \"svg\")");
    }
    // A file gets the file texts and its name.
    try {
        reader.ReadFileText(replace("<cc:CxF ", "<cc:CxF Version=\"1\" ").c_str(), "old.cxf");
        ADD_FAILURE();
    } catch (const TKError& error) {
        EXPECT_EQ(std::string(error.message()).rfind(TKCxFBase::ErrorText(4).CString(), 0), 0u) << error.message();
        EXPECT_NE(std::string(error.message()).find("\"old.cxf\""), std::string::npos);
        EXPECT_EQ(reader.Error(), TKCxFBase::kFormerFile);
    }
    EXPECT_TKERROR(reader.ReadFileText("<?xml version=\"1.0\"?><CxF><Resources>", "cut.cxf"), FormatErr);
    EXPECT_EQ(reader.Error(), TKCxFBase::kNotCxFFile);
    // A huge attribute is only a long name.
    const std::string name(1 << 20, 'n');
    reader.ReadData(replace("Name=\"paper\"", "Name=\"" + name + "\"").c_str());
    EXPECT_EQ(chart.Name(0).Length(), 1 << 20);
}

TEST(CxFReader, SpectraMustBeWholeAndAlike) {
    auto document = [](const std::string& spectra) {
        std::string objects;
        for (size_t i = 0, n = 0; i < spectra.size(); ++n) {
            const size_t end = spectra.find('|', i);
            objects += "<Object Id=\"o" + std::to_string(n) + "\"><ColorValues>" + spectra.substr(i, end - i) +
                       "</ColorValues></Object>";
            i = end == std::string::npos ? spectra.size() : end + 1;
        }
        return "<CxF><Resources><ObjectCollection>" + objects +
               "</ObjectCollection><ColorSpecificationCollection><ColorSpecification Id=\"S\"><MeasurementSpec>"
               "<WavelengthRange StartWL=\"400\" Increment=\"20\"/></MeasurementSpec></ColorSpecification>"
               "</ColorSpecificationCollection></Resources></CxF>";
    };
    const std::string sixteen = "0.1 0.2 0.3 0.4 0.5 0.6 0.7 0.8 0.8 0.8 0.8 0.8 0.8 0.8 0.8 0.9";
    const std::string spectrum = "<ReflectanceSpectrum ColorSpecification=\"S\">" + sixteen + "</ReflectanceSpectrum>";
    TKColorChart chart;
    chart.ReadText(document(spectrum + "|" + spectrum).c_str());
    const TKMatrix m = chart.Matrix(TKReflSpace);
    EXPECT_DOUBLE_EQ(m(0, 0), 0.1) << "380 nm holds the first value, measured at 400";
    EXPECT_DOUBLE_EQ(m(0, 2), 0.1);
    EXPECT_NEAR(m(0, 3), 0.15, 1e-12) << "410 nm lies between the 400 and 420 nm values";
    EXPECT_DOUBLE_EQ(m(0, 34), 0.9);
    EXPECT_DOUBLE_EQ(m(0, 35), 0.9);

    const std::string shorter = "<ReflectanceSpectrum ColorSpecification=\"S\">0.1 0.2</ReflectanceSpectrum>";
    const std::pair<std::string, const char*> bad[] = {
        {spectrum + "|" + shorter, "of 2 values from 400 nm where the first of its specification has 16"},
        {"<ReflectanceSpectrum StartWL=\"-380\">0.1 0.2</ReflectanceSpectrum>", "wavelengths -380"},
        {"<ReflectanceSpectrum StartWL=\"1e300\">0.1 0.2</ReflectanceSpectrum>", "wavelengths"},
        {"<ReflectanceSpectrum StartWL=\"800\">0.1 0.2</ReflectanceSpectrum>", "do not reach 380 to 730 nm"},
        {"<ReflectanceSpectrum></ReflectanceSpectrum>", "no values"},
        {spectrum + "|<ColorCIELab><L>1</L><A>2</A><B>3</B></ColorCIELab>", "has Lab values that the first object lacks"},
    };
    for (const auto& c : bad) {
        try {
            chart.ReadText(document(c.first).c_str());
            ADD_FAILURE() << c.first;
        } catch (const TKError& error) {
            EXPECT_NE(std::string(error.message()).find(c.second), std::string::npos) << error.message();
        }
    }
}

TEST(CxFReader, UnresolvedReferencesAreLoggedAndTheFileLoads) {
    std::string text = SmallDocument("", "", "");
    text.replace(text.find("ObjectId=\"p1\""), 13, "ObjectId=\"gone\"");
    TKColorChart chart;
    TKCxFReader reader(chart);
    reader.ReadData(text.c_str());
    EXPECT_EQ(chart.Count(), 1);
    ASSERT_EQ(reader.Warnings().size(), 1u);
    EXPECT_STREQ(reader.Warnings()[0].CString(),
                 "CxFReader: Could not find the object \"gone\" that has been referenced in the spot ink characterisation, "
                 "this might result in undefined behaviour");
    EXPECT_FALSE(TKSpotInkChart(chart));
}
