// CxF3 content beyond the basics: every kind of colour value, the measurement specification and
// its keywords in both directions, and the references of a spot ink characterisation.
#include <string>
#include <vector>

#include "charts/TKColorChart.h"
#include "charts/TKCxFReader.h"
#include "charts/TKCxFSpotInk.h"
#include "charts/TKCxFWriter.h"
#include "color/TKColors.h"
#include "support/TestSupport.h"

namespace {

// A document of one object per entry of `objects`, each the inside of its "ColorValues"; `more`
// follows the object collection inside "Resources".
std::string Document(const std::vector<std::string>& objects, const std::string& more = "") {
    std::string text = "<CxF><Resources><ObjectCollection>";
    for (size_t i = 0; i < objects.size(); ++i)
        text += "<Object Id=\"o" + std::to_string(i) + "\"><ColorValues>" + objects[i] + "</ColorValues></Object>";
    return text + "</ObjectCollection>" + more + "</Resources></CxF>";
}

}  // namespace

TEST(CxFContent, EveryKindOfColourValue) {
    struct Case {
        std::string element;
        uint32_t type;
        std::vector<double> values;
    };
    const Case cases[] = {
        {"<ColorCIEXYZ><X>41.2</X><Y>21.3</Y><Z>1.9</Z></ColorCIEXYZ>", TKXYZSpace, {41.2, 21.3, 1.9}},
        {"<ColorCIELCH><L>50</L><C>20</C><H>270</H></ColorCIELCH>", TKLChSpace, {50, 20, 270}},
        {"<ColorCIELuv><L>50</L><U>-3</U><V>4</V></ColorCIELuv>", TKLuvSpace, {50, -3, 4}},
        {"<ColorRGB><R>255</R><G>128</G><B>0</B></ColorRGB>", TKRGBSpace, {255, 128, 0}},
        {"<ColorCMYK><Cyan>100</Cyan><Magenta>0</Magenta><Yellow>0</Yellow><Black>10</Black></ColorCMYK>", TKCMYKSpace, {100, 0, 0, 10}},
        {"<ColorCMYKPlusN><Cyan>1</Cyan><Magenta>2</Magenta><Yellow>3</Yellow><Black>4</Black><Orange>5</Orange></ColorCMYKPlusN>",
         TKColorSig("5CLR"), {1, 2, 3, 4, 5}},
        {"<ColorCustom><CustomColorSpace>Yxy</CustomColorSpace><C1>20</C1><C2>0.3</C2><C3>0.31</C3></ColorCustom>", TKYxySpace,
         {20, 0.3, 0.31}},
        // A named space whose channel count disagrees with the values is not taken for them.
        {"<ColorCustom><CustomColorSpace>RGB</CustomColorSpace><C1>1</C1><C2>2</C2><C3>3</C3><C4>4</C4></ColorCustom>",
         TKColorSig("4CLR"), {1, 2, 3, 4}},
        {"<ColorRecipe><Base>70</Base><Red>30</Red></ColorRecipe>", TK2CLRSpace, {70, 30}},
        {"<TransmittanceSpectrum StartWL=\"380\">0.5</TransmittanceSpectrum>", TKTranSpace, std::vector<double>(36, 0.5)},
    };
    for (const Case& c : cases) {
        TKColorChart chart;
        chart.ReadText(Document({c.element, c.element}).c_str());
        ASSERT_EQ(chart.ColorTypes(), std::vector<uint32_t>{c.type}) << c.element;
        const TKMatrix m = chart.Matrix(c.type);
        ASSERT_EQ(m.GetWidth(), int32_t(c.values.size())) << c.element;
        for (int32_t k = 0; k < m.GetWidth(); ++k) EXPECT_EQ(m(1, k), c.values[size_t(k)]) << c.element;
        // And each comes back through the writer.
        TKColorChart again;
        again.ReadText(TKCxFWriter(chart).WriteData());
        TKString difference;
        EXPECT_TRUE(chart.SameContent(again, &difference)) << c.element << ": " << difference.CString();
    }
    TKColorChart chart;
    EXPECT_TKERROR(chart.ReadText(Document({"<ColorCustom/>"}).c_str()), FormatErr);
    EXPECT_TKERROR(chart.ReadText(Document({"<ColorCIELab><L>1</L><A>0x10</A><B>2</B></ColorCIELab>"}).c_str()), FormatErr);
}

TEST(CxFContent, SpecificationKeywordsBothWays) {
    const std::string spec =
        "<ColorSpecificationCollection><ColorSpecification Id=\"S\"><TristimulusSpec><Illuminant>D65</Illuminant>"
        "<Observer>10_Degree</Observer></TristimulusSpec><MeasurementSpec><MeasurementType>Colorimetric_Reflectance"
        "</MeasurementType><GeometryChoice><SphereGeometry><SphereType>Specular_Excluded</SphereType></SphereGeometry>"
        "</GeometryChoice><Device><DeviceIllumination>M2_UVExcluded</DeviceIllumination><DeviceFilter>Filter_UVExcluded"
        "</DeviceFilter><DevicePolarization>false</DevicePolarization><Manufacturer>Maker</Manufacturer><Model>Spectro 2"
        "</Model><SerialNumber>1234</SerialNumber></Device></MeasurementSpec></ColorSpecification>"
        "</ColorSpecificationCollection>";
    const std::string lab = "<ColorCIELab ColorSpecification=\"S\"><L>50</L><A>1</A><B>2</B></ColorCIELab>";
    TKColorChart chart;
    chart.ReadText(Document({lab}, spec).c_str());
    const std::pair<const char*, const char*> keywords[] = {
        {"WEIGHTING_FUNCTION", "ILLUMINANT, D65; OBSERVER, 10"}, {"MEASUREMENT_GEOMETRY", "sphere, specular excluded"},
        {"MEASUREMENT_SOURCE", "M2_UVExcluded"}, {"FILTER", "Filter_UVExcluded"}, {"POLARIZATION", "false"},
        {"INSTRUMENT", "Maker; Spectro 2; 1234"}};
    for (const auto& k : keywords) EXPECT_STREQ(chart.Keyword(k.first).CString(), k.second) << k.first;
    EXPECT_STREQ(TKCxFIlluminationText("M2_UVExcluded").CString(), "UV excluded");
    EXPECT_STREQ(TKCxFIlluminationText("Custom3").CString(), "Custom 3");

    // Written again, the keywords give the same specification.
    TKColorChart again;
    TKCxFReader reader(again);
    reader.ReadData(TKCxFWriter(chart).WriteData());
    const TKDataBase& mirror = reader.Mirror();
    const std::pair<const char*, const char*> paths[] = {
        {"TristimulusSpec/Illuminant", "D65"}, {"TristimulusSpec/Observer", "10_Degree"},
        {"MeasurementSpec/GeometryChoice/SphereGeometry/SphereType", "Specular_Excluded"},
        {"MeasurementSpec/Device/DeviceIllumination", "M2_UVExcluded"}, {"MeasurementSpec/Device/Manufacturer", "Maker"},
        {"MeasurementSpec/Device/Model", "Spectro 2"}, {"MeasurementSpec/Device/SerialNumber", "1234"}};
    for (const auto& p : paths)
        EXPECT_STREQ(mirror.GetString((std::string(".CxF/ColorSpec/Current/") + p.first).c_str()).CString(), p.second) << p.first;

    // A specification with a broken wavelength range is refused.
    std::string broken = spec;
    broken.replace(broken.find("<Device>"), 0, "<WavelengthRange Increment=\"0\"/>");
    EXPECT_TKERROR(chart.ReadText(Document({lab}, broken).c_str()), FormatErr);
}

TEST(CxFContent, SpotInkReferencesAndTheirLogLines) {
    const std::string two = "<ReflectanceSpectrum Name=\"M0\" StartWL=\"380\">0.2</ReflectanceSpectrum>"
                            "<ReflectanceSpectrum Name=\"M1\" StartWL=\"380\">0.3</ReflectanceSpectrum>";
    auto sic = [](const std::string& measurements) {
        return "<CustomResources><SpotInkCharacterisation><SpotInkName>Green</SpotInkName><MeasurementSet>" + measurements +
               "</MeasurementSet></SpotInkCharacterisation><SpotInkCharacterisation/></CustomResources>";
    };
    // Tints as fractions of the solid, a named spectrum, one without a name among two, and one
    // whose name is missing; the set names no background.
    const std::string text = Document({two, two, two},
                                      sic("<Measurement><TintLevel>0</TintLevel><ObjectRef ObjectId=\"o0\"/><RSNameRef>M1"
                                          "</RSNameRef></Measurement><Measurement><TintLevel>0.5</TintLevel><ObjectRef>o1"
                                          "</ObjectRef></Measurement><Measurement Percentage=\"1\"><ObjectRef ObjectId=\"o2\"/>"
                                          "<RSNameRef>M7</RSNameRef></Measurement>"));
    TKColorChart chart;
    TKCxFReader reader(chart);
    reader.ReadData(text.c_str());
    const TKMatrix tints = chart.Matrix(TK1CLRSpace), spectra = chart.Matrix(TKReflSpace);
    EXPECT_EQ(tints(1, 0), 50.0);
    EXPECT_EQ(tints(2, 0), 100.0);
    EXPECT_EQ(spectra(0, 0), 0.3) << "the named spectrum";
    EXPECT_EQ(spectra(1, 0), 0.2) << "the first of two";
    EXPECT_EQ(TKSpotInkTints(chart, "Substrate"), (std::vector<int32_t>{0, 1, 2}));
    EXPECT_EQ(chart.ChannelNames(), std::vector<TKString>{"Green"});
    ASSERT_EQ(reader.Warnings().size(), 3u);
    EXPECT_STREQ(reader.Warnings()[0].CString(), "CxFReader: The file characterises 2 spot inks; only \"Green\" is read");
    EXPECT_STREQ(reader.Warnings()[1].CString(),
                 "CxFReader: There is more than one remission data value in object\"o1\"; maybe we'll encounter a named "
                 "reference later.");
    EXPECT_STREQ(reader.Warnings()[2].CString(),
                 "CxFReader: Could not find the remission data name \"M7\" for object \"o2\" that has been referenced in the "
                 "spot ink characterisation, this might result in undefined behaviour");
    EXPECT_TKERROR(TKSpotInkOpacities(chart), NotFound);  // no tints on black

    // Only some objects are tints: the tint is a text column; a second reference is refused.
    TKColorChart partial;
    TKCxFReader partialReader(partial);
    partialReader.ReadData(Document({"<ColorCIELab><L>1</L><A>0</A><B>0</B></ColorCIELab>", "<ColorCIELab><L>2</L><A>0</A><B>0</B></ColorCIELab>"},
                             sic("<Background>Black</Background><Measurement><TintLevel>40</TintLevel><ObjectRef ObjectId=\"o1\"/>"
                                 "</Measurement>")).c_str());
    ASSERT_EQ(partialReader.Warnings().size(), 2u);
    EXPECT_NE(std::string(partialReader.Warnings()[1].CString()).find("There is no remission data in object \"o1\""),
              std::string::npos);
    EXPECT_STREQ(partial.ExtraValue(1, 1).CString(), "40.00");
    EXPECT_STREQ(partial.ExtraValue(1, 0).CString(), "Black");
    TKString background;
    double tint = 0;
    EXPECT_FALSE(TKSpotInkSample(partial, 0, background, tint));
    EXPECT_TRUE(TKSpotInkSample(partial, 1, background, tint));
    EXPECT_EQ(tint, 40.0);
    EXPECT_TKERROR(partialReader.ReadData(Document({"<ColorCIELab><L>1</L><A>0</A><B>0</B></ColorCIELab>"},
                                            sic("<Measurement><TintLevel>1</TintLevel><ObjectRef>o0</ObjectRef></Measurement>"
                                                "<Measurement><TintLevel>2</TintLevel><ObjectRef>o0</ObjectRef></Measurement>"))
                                       .c_str()),
                   FormatErr);
}
