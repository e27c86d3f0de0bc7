// TKCxFWriter: every chart of the test data written as CxF3 reads back to the same chart, the
// files are well-formed for an independent parser, and what XML cannot carry is refused.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "charts/ChartTestFiles.h"
#include "charts/TKColorChart.h"
#include "charts/TKCxFReader.h"
#include "charts/TKCxFSpotInk.h"
#include "charts/TKCxFWriter.h"
#include "color/TKColors.h"
#include "io/TKFile.h"
#include "support/TestSupport.h"

namespace {

void ExpectCxFRoundTrip(const TKColorChart& chart, const std::string& what) {
    TKString written;
    TKColorChart again;
    try {
        written = TKCxFWriter(chart).WriteData();
        again.ReadText(written);
    } catch (const TKError& error) {
        ADD_FAILURE() << what << ": " << error.message();
        return;
    }
    TKString difference;
    EXPECT_TRUE(chart.SameContent(again, &difference)) << what << ": " << difference.CString();
}

// xmllint (Debian libxml2-utils), an XML parser that shares nothing with TinyXML.
bool WellFormed(const TKString& text, std::string& report) {
    const std::string path = ::testing::TempDir() + "cxf_wellformed.xml";
    {
        TKFile file(TKFileSpec(path.c_str()), 2);
        file.Write(text.CString(), size_t(text.Length()));
    }
    const std::string command = "xmllint --noout '" + path + "' 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return false;
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, pipe)) report += buffer;
    const int status = pclose(pipe);
    std::remove(path.c_str());
    return status == 0;
}

}  // namespace

TEST(CxFWriter, EveryTestChartRoundTrips) {
    int files = 0;
    for (const std::string& path : TestDataFiles("charts")) {
        TKColorChart chart;
        chart.Read(TKFileSpec(path.c_str()));
        ExpectCxFRoundTrip(chart, path);
        ++files;
    }
    EXPECT_GE(files, 8);
}

// The fuzzer's finding: a byte that is no UTF-8 in a file read as it stood but was written as
// Latin-1. Texts are UTF-8 from reading on, so the written file reads back alike.
TEST(CxFWriter, TextsThatAreNoUTF8ReadAsLatin1) {
    TKColorChart chart;
    chart.ReadText("<CxF><FileInformation><TagCollection><Tag Name=\"D\xC9SCRIPTOR\" Value=\"caf\xE9\"/></TagCollection>"
                   "</FileInformation><Resources><ObjectCollection><Object Id=\"\xFF\" Name=\"\xC3\xA9t\xE9\"/>"
                   "</ObjectCollection></Resources></CxF>");
    EXPECT_STREQ(chart.Keyword("D\xC3\x89SCRIPTOR").CString(), "caf\xC3\xA9");
    EXPECT_STREQ(chart.ID(0).CString(), "\xC3\xBF");
    EXPECT_STREQ(chart.Name(0).CString(), "\xC3\xA9t\xC3\xA9") << "valid UTF-8 stays as it is";
    ExpectCxFRoundTrip(chart, "Latin-1 texts");
}

TEST(CxFWriter, WrittenFilesAreWellFormedAndNested) {
    TKColorChart fogra;
    fogra.Read(TKFileSpec(TestDataPath("charts/FOGRA39L.ti3").c_str()));
    TKColorChart spot;
    spot.Read(TKFileSpec(TestDataPath("charts/SpotInkWarmRed.cxf").c_str()));
    for (const TKColorChart* chart : {&fogra, &spot}) {
        const TKString text = TKCxFWriter(*chart).WriteData();
        std::string report;
        EXPECT_TRUE(WellFormed(text, report)) << report;
        const std::string xml = text.CString();
        EXPECT_EQ(xml.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>", 0), 0u);
        EXPECT_NE(xml.find("xmlns:xsi=\"http:///www.w3.org/2001/XMLSchema-instance\""), std::string::npos);
        EXPECT_NE(xml.find("xmlns:cc=\"http://colorexchangeformat.com/CxF3-core\""), std::string::npos);
        EXPECT_NE(xml.find("xmlns:sic=\"http://colorexchangeformat.com/CxF3-SpotInkCharacterisation\""), std::string::npos);
    }
    // The nesting, read through the mirror of what was written.
    TKColorChart chart;
    TKCxFReader reader(chart);
    reader.ReadData(TKCxFWriter(spot).WriteData());
    const TKDataBase& mirror = reader.Mirror();
    EXPECT_STREQ(mirror.GetString(".CxF/FileInformation/Creator").CString(), "Ink kitchen");
    EXPECT_STREQ(mirror.GetString(".CxF/Resources/ObjectCollection/Object/0/Attributes/ObjectType").CString(), "Background");
    EXPECT_STREQ(mirror.GetString(".CxF/Resources/ObjectCollection/Object/21/Attributes/Id").CString(), "RK100");
    EXPECT_TRUE(mirror.Exists(".CxF/Resources/ObjectCollection/Object/21/ColorValues/ReflectanceSpectrum"));
    EXPECT_FALSE(mirror.Exists(".CxF/Resources/ObjectCollection/Object/21/DeviceColorValues"))
        << "the tints are in the characterisation";
    EXPECT_STREQ(mirror.GetString(".CxF/Resources/CustomResources/SpotInkCharacterisation/Substrate/SubstrateName").CString(),
                 "Gloss 115");
    EXPECT_STREQ(
        mirror.GetString(".CxF/Resources/CustomResources/SpotInkCharacterisation/MeasurementSet/1/Measurement/3/TintLevel").CString(),
        "30.00");
    EXPECT_STREQ(mirror.GetString(".CxF/Resources/ColorSpecificationCollection/ColorSpecification/1/MeasurementSpec/"
                                  "GeometryChoice/SingleAngle/IlluminationAngle").CString(),
                 "45.0");
    EXPECT_EQ(reader.SpecCount(), 2);
}

TEST(CxFWriter, MemoryChartsAndTexts) {
    TKMatrix cmyk(2, 4, int32_t(TKCMYKSpace)), lab(2, 3, int32_t(TKLabSpace));
    cmyk(1, 0) = 33.333333333333336;
    lab(0, 0) = 95;
    lab(1, 1) = -0.1;
    TKColorChart chart(cmyk, lab);
    chart.SetIDs({"A1", "A1"});  // repeated ids cannot be object ids
    chart.SetNames({"Pap\xE9r", "<cyan> & \"more\""});
    chart.SetExtras({"GUID", "Note"}, {"0b6f", "first", "", "second"});
    chart.SetKeyword("MEASUREMENT_GEOMETRY", "0/45");
    chart.SetKeyword("KEYWORD", "");
    chart.Header().SetString("KEYWORD/0", "Note");
    chart.SetKeyword("a/b", "slash in a key");
    const TKString text = TKCxFWriter(chart).WriteData();
    std::string report;
    EXPECT_TRUE(WellFormed(text, report)) << report;
    TKColorChart again;
    again.ReadText(text);
    EXPECT_STREQ(again.Name(0).CString(), "Pap\xC3\xA9r") << "Latin-1 becomes UTF-8";
    chart.SetName(0, "Pap\xC3\xA9r");
    TKString difference;
    EXPECT_TRUE(chart.SameContent(again, &difference)) << difference.CString();
    EXPECT_NE(std::string(text.CString()).find("<cc:IlluminationAngle>0.0</cc:IlluminationAngle>"), std::string::npos);

    chart.SetName(1, "bell\x07");
    EXPECT_TKERROR(TKCxFWriter(chart).WriteData(), FormatErr);
    chart.SetName(1, "fine");
    TKColorChart reserved(chart);
    reserved.SetKeyword("TKFIELD", "a keyword named like the file's own tags");
    EXPECT_TKERROR(TKCxFWriter(reserved).WriteData(), FormatErr);
    chart.AddTable(new TKColorChart(chart), true);
    chart.Table(0).SetIDs({});
    ExpectCxFRoundTrip(chart, "a chart with a further table");
}
