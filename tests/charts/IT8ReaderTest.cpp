// The CGATS reader and writer: instrument quirks, type choice, collectors, bad input with its
// line numbers, and files that read back to the same chart after writing.

#include <string>

#include "charts/ChartTestFiles.h"
#include "charts/TKColorChart.h"
#include "charts/TKIT8Reader.h"
#include "charts/TKIT8Writer.h"
#include "color/TKColors.h"
#include "support/TestSupport.h"

namespace {

TKRefPtr<TKColorChart> ReadChart(const std::string& text) {
    auto chart = TKMakeRef<TKColorChart>();
    chart->ReadText(TKString(text.data(), int32_t(text.size())), "test");
    return chart;
}

// The chart written and read again must equal the one written.
void ExpectRoundTrip(const TKColorChart& chart, const std::string& what) {
    const TKString written = IT8FormatChartWriter(chart).WriteString();
    TKColorChart again;
    again.ReadText(written, "written");
    TKString difference;
    EXPECT_TRUE(chart.SameContent(again, &difference)) << what << ": " << difference.CString() << "\n" << written.CString();
}

const char kLabFile[] =
    "CGATS.17\nORIGINATOR \"test\"\nNUMBER_OF_FIELDS 4\nBEGIN_DATA_FORMAT\nSAMPLE_ID LAB_L LAB_A LAB_B\n"
    "END_DATA_FORMAT\nNUMBER_OF_SETS 2\nBEGIN_DATA\nA1 50 10 -10\nA2 60 -5 5\nEND_DATA\n";

}  // namespace

// Files from the instrument world that the reader meets: each reads to the same two patches.
TEST(IT8Reader, InstrumentQuirks) {
    struct Case {
        const char* what;
        std::string text;
    };
    const Case cases[] = {
        {"plain", kLabFile},
        {"comments", "# made by hand\nCGATS.17 # standard\nORIGINATOR \"test\" # who\nBEGIN_DATA_FORMAT\n# the fields\n"
                     "SAMPLE_ID LAB_L LAB_A LAB_B\nEND_DATA_FORMAT\nBEGIN_DATA\n# first\nA1 50 10 -10\nA2 60 -5 5 # second\nEND_DATA\n"},
        {"tabs", "CGATS.17\nORIGINATOR\t\"test\"\nBEGIN_DATA_FORMAT\nSAMPLE_ID\tLAB_L\tLAB_A\tLAB_B\t\nEND_DATA_FORMAT\n"
                 "NUMBER_OF_SETS\t2\nBEGIN_DATA\nA1\t50\t10\t-10\nA2\t60\t-5\t5\t\nEND_DATA\n"},
        {"CR LF", "CGATS.17\r\nORIGINATOR \"test\"\r\nBEGIN_DATA_FORMAT\r\nSAMPLE_ID LAB_L LAB_A LAB_B\r\nEND_DATA_FORMAT\r\n"
                  "BEGIN_DATA\r\nA1 50 10 -10\r\nA2 60 -5 5\r\nEND_DATA\r\n"},
        {"CR only, no END_DATA", "CGATS.17\rORIGINATOR \"test\"\rBEGIN_DATA_FORMAT\rSAMPLE_ID LAB_L LAB_A LAB_B\rEND_DATA_FORMAT\r"
                                 "BEGIN_DATA\rA1 50 10 -10\rA2 60 -5 5\r"},
        {"decimal commas, plus signs, quoted numbers",
         "CGATS.17\nORIGINATOR test\nBEGIN_DATA_FORMAT\nSAMPLE_ID LAB_L LAB_A LAB_B\nEND_DATA_FORMAT\nBEGIN_DATA\n"
         "A1 50,0 +10 -10\nA2 \"60\" -5,0 5\nEND_DATA\n"},
        {"lower-case words, UTF-8 mark", "\xEF\xBB\xBF" "CGATS.17\noriginator \"test\"\nbegin_data_format\nsample_id lab_l lab_a lab_b\n"
                                         "end_data_format\nbegin_data\nA1 50 10 -10\nA2 60 -5 5\nend_data\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        auto chart = ReadChart(c.text);
        ASSERT_EQ(chart->Count(), 2);
        EXPECT_EQ(chart->ColorTypes(), std::vector<uint32_t>{TKLabSpace});
        const TKMatrix lab = chart->Matrix(TKLabSpace);
        EXPECT_DOUBLE_EQ(lab(0, 0), 50);
        EXPECT_DOUBLE_EQ(lab(0, 1), 10);
        EXPECT_DOUBLE_EQ(lab(1, 1), -5);
        EXPECT_STREQ(chart->ID(1).CString(), "A2");
        EXPECT_STREQ(chart->Keyword("STANDARD").CString(), "CGATS.17");
        EXPECT_TRUE(chart->Keyword("ORIGINATOR") == "test" || chart->Keyword("originator") == "test");
        EXPECT_FALSE(chart->Header().Exists("NUMBER_OF_SETS")) << "counts describe the data and are not kept";
        ExpectRoundTrip(*chart, c.what);
    }
}

TEST(IT8Reader, KeywordsAndTexts) {
    auto chart = ReadChart(
        "CTI3\n\nKEYWORD \"DEVICE_CLASS\"\nDEVICE_CLASS \"OUTPUT\"\nKEYWORD \"COLOR_REP\"\nCOLOR_REP \"CMYK_LAB\"\n"
        "DESCRIPTOR \"two lines\nof text\"\nCREATED Sun Sep 04 06:04:18 2022\nWEIGHTING_FUNCTION\n"
        "SPOT_ID 2 \"Pantone 123\"\nPROCESSCOLOR_ID 1 Cyan\nORIGINATOR \"first\"\nORIGINATOR \"second\"\n"
        "BEGIN_DATA_FORMAT\nSAMPLE_ID SAMPLE_NAME SAMPLE_LOC CMYK_C CMYK_M CMYK_Y CMYK_K STDEV\nEND_DATA_FORMAT\n"
        "BEGIN_DATA\n1 \"Paper white\" A1 0 0 0 0 0.5\n2 \"\" A2 100 0 0 0 n/a\nEND_DATA\n");
    EXPECT_STREQ(chart->Keyword("STANDARD").CString(), "CTI3") << "the identifier line stays";
    EXPECT_STREQ(chart->Keyword("KEYWORD/0").CString(), "DEVICE_CLASS");
    EXPECT_STREQ(chart->Keyword("KEYWORD/1").CString(), "COLOR_REP");
    EXPECT_STREQ(chart->Keyword("DESCRIPTOR").CString(), "two lines\nof text") << "a quoted value over two lines";
    EXPECT_STREQ(chart->Keyword("CREATED").CString(), "Sun Sep 04 06:04:18 2022") << "an unquoted value to the line end";
    EXPECT_TRUE(chart->Header().Exists("WEIGHTING_FUNCTION")) << "the one keyword kept without a value";
    EXPECT_STREQ(chart->Keyword("ORIGINATOR").CString(), "second");
    EXPECT_EQ(chart->ChannelNames(), (std::vector<TKString>{"Cyan", "Pantone 123"}));
    EXPECT_STREQ(chart->Name(0).CString(), "Paper white");
    EXPECT_STREQ(chart->Name(1).CString(), "");
    EXPECT_STREQ(chart->Location(1).CString(), "A2");
    ASSERT_EQ(chart->ExtraCount(), 1);
    EXPECT_STREQ(chart->ExtraName(0).CString(), "STDEV");
    EXPECT_STREQ(chart->ExtraValue(1, 0).CString(), "n/a") << "unread columns keep their text";
    ExpectRoundTrip(*chart, "keywords");
}

TEST(IT8Reader, TypeChoiceOfTheMatrixCollector) {
    const std::string both =
        "CGATS.17\nBEGIN_DATA_FORMAT\nSAMPLE_ID CMYK_C CMYK_M CMYK_Y CMYK_K XYZ_X XYZ_Y XYZ_Z LAB_L LAB_A LAB_B\n"
        "END_DATA_FORMAT\nBEGIN_DATA\n1 0 0 0 255 1 2 3 50 1,5 -2\nEND_DATA\n";
    struct Case {
        uint32_t wanted;
        bool strict;
        uint32_t type;
    };
    const Case cases[] = {
        {0, false, TKCMYKSpace}, {TKLabSpace, false, TKLabSpace}, {TKXYZSpace, true, TKXYZSpace},
        {TKLChSpace, false, TKLabSpace},  // nearer: Lab beside a connection-space wish
    };
    for (const Case& c : cases) {
        IT8Format2MatrixReader reader;
        reader.SetWantedType(c.wanted, c.strict);
        reader.ReadString(TKString(both.c_str()));
        EXPECT_EQ(uint32_t(reader.Matrix().GetType()), c.type) << GetTypeName(c.wanted).CString();
        EXPECT_EQ(reader.FoundTypes(), (std::vector<uint32_t>{TKCMYKSpace, TKXYZSpace, TKLabSpace}));
        if (c.type == TKLabSpace) {
            EXPECT_DOUBLE_EQ(reader.Matrix()(0, 1), 1.5) << "1,5 is 1.5";
        }
        if (c.type == TKCMYKSpace) {
            EXPECT_DOUBLE_EQ(reader.Matrix()(0, 3), 100) << "255 full ink is taken for percent";
        }
    }
    IT8Format2MatrixReader strict;
    strict.SetWantedType(TKRGBSpace, true);
    EXPECT_TKERROR(strict.ReadString(TKString(both.c_str())), FormatErr);

    IT8Format2MatrixReader percent;
    percent.ReadString("CGATS.17\nBEGIN_DATA_FORMAT\nRGB_R RGB_G RGB_B\nEND_DATA_FORMAT\nBEGIN_DATA\n100 50 0\nEND_DATA\n");
    EXPECT_DOUBLE_EQ(percent.Matrix()(0, 0), 255) << "RGB in percent is scaled to 255";
    EXPECT_DOUBLE_EQ(percent.Matrix()(0, 1), 127.5);

    IT8FormatInfoReader info;
    info.ReadString(TKString(both.c_str()));
    EXPECT_EQ(info.FoundTypes().size(), 3u);
}

TEST(IT8Reader, SpectraAndInkSets) {
    struct Case {
        const char* fields;
        const char* values;
        uint32_t type;
    };
    const Case cases[] = {
        {"SPECTRAL_NM_380 SPECTRAL_NM_390", "0.1 0.2", TKReflSpace},
        {"E_380 E_390", "0.1 0.2", TKEmisSpace},
        {"nm380 nm390", "0.1 0.2", TKReflSpace},
        {"CMYK_C CMYK_M CMYK_Y CMYK_K CMYK_O CMYK_G", "1 2 3 4 5 6", TKColorSig("6CLR")},
        {"SPOT_1", "7", TKColorSig("1CLR")},
        {"PC6_1 PC6_2 PC6_3 PC6_4 PC6_5 PC6_6", "1 2 3 4 5 6", TKColorSig("6CLR")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fields);
        auto chart = ReadChart(std::string("CGATS.17\nBEGIN_DATA_FORMAT\n") + c.fields + "\nEND_DATA_FORMAT\nBEGIN_DATA\n" +
                               c.values + "\nEND_DATA\n");
        ASSERT_EQ(chart->ColorTypes(), std::vector<uint32_t>{c.type});
        ExpectRoundTrip(*chart, c.fields);
    }
    // A spectrum from 400 to 700 nm in 20 nm steps: the ends are held, the gaps bridged.
    std::string fields, values;
    for (int nm = 400; nm <= 700; nm += 20) {
        fields += " SPEC_" + std::to_string(nm);
        values += " " + std::to_string(nm / 10);
    }
    auto chart = ReadChart("CGATS.17\nBEGIN_DATA_FORMAT\n" + fields + "\nEND_DATA_FORMAT\nBEGIN_DATA\n" + values + "\nEND_DATA\n");
    const TKMatrix refl = chart->Matrix(TKReflSpace);
    EXPECT_DOUBLE_EQ(refl(0, 0), 40) << "380 nm takes the 400 nm value";
    EXPECT_DOUBLE_EQ(refl(0, 3), 41) << "410 nm halfway between 400 and 420 nm";
    EXPECT_DOUBLE_EQ(refl(0, 35), 70) << "730 nm takes the 700 nm value";
    EXPECT_EQ(chart->WritableFields().size(), 16u) << "only the measured bands are written";
    ExpectRoundTrip(*chart, "20 nm spectrum");

    auto inks = ReadChart("CGATS.17\nBEGIN_DATA_FORMAT\nCMYK_C CMYK_M CMYK_Y CMYK_K CMYK_O CMYK_V\nEND_DATA_FORMAT\n"
                          "BEGIN_DATA\n1 2 3 4 5 6\nEND_DATA\n");
    EXPECT_EQ(inks->ChannelNames(), (std::vector<TKString>{"Cyan", "Magenta", "Yellow", "Black", "Orange", "Violet"}));
}

// Bad input: the code, the line in the message, and the chart as it was before.
TEST(IT8Reader, BadInputNamesTheLine) {
    const std::string head = "CGATS.17\nBEGIN_DATA_FORMAT\nSAMPLE_ID LAB_L LAB_A LAB_B\nEND_DATA_FORMAT\n";  // lines 1-4
    std::string junk = head + "BEGIN_DATA\nA1 1 2 3\n";
    junk += std::string("\x01\x02\x00\xff\xfe", 5) + "\n";
    std::string megaToken = head + "BEGIN_DATA\nA1 1 2 " + std::string(1 << 20, '7') + "\nEND_DATA\n";
    std::string megaLine = "CGATS.17\nDESCRIPTOR " + std::string(1 << 20, 'x') + "\n";
    std::string megaRecord = head + "BEGIN_DATA\n";
    for (int i = 0; i < 200000; ++i) megaRecord += "A1 1 2 3 ";
    struct Case {
        const char* what;
        std::string text;
        int32_t code;
        const char* message;
    };
    const Case cases[] = {
        {"truncated record", head + "BEGIN_DATA\nA1 1 2 3\nA2 4 5", FormatErr, "line 7: a record with 3 fields where the format lists 4"},
        {"short record", head + "BEGIN_DATA\nA1 1 2\nA2 4 5 6\nEND_DATA\n", FormatErr, "line 6: a record with 3 fields"},
        {"long record", head + "BEGIN_DATA\nA1 1 2 3 4\nEND_DATA\n", FormatErr, "line 6: a record with more than the 4 fields"},
        {"unparsable number", head + "BEGIN_DATA\nA1 1 2 3\nA2 4 5x 6\nEND_DATA\n", FormatErr, "line 7: \"5x\" in field LAB_A is no number"},
        {"infinite number", head + "BEGIN_DATA\nA1 1 inf 3\nEND_DATA\n", FormatErr, "line 6: \"inf\""},
        {"duplicate field", "CGATS.17\nBEGIN_DATA_FORMAT\nLAB_L LAB_A LAB_B\nLAB_A\nEND_DATA_FORMAT\n", FormatErr,
         "line 4: the field LAB_A comes twice"},
        {"duplicate channel", "CGATS.17\nBEGIN_DATA_FORMAT\nLAB_L LAB_A LAB_B lab_a\n", FormatErr, "line 3: the field lab_a repeats LAB_A"},
        {"sets disagree", "CGATS.17\nNUMBER_OF_SETS 3\n" + head.substr(9) + "BEGIN_DATA\nA1 1 2 3\nEND_DATA\n", FormatErr,
         "line 2: NUMBER_OF_SETS says 3, the data holds 1 records"},
        {"sets disagree at the end", "CGATS.17\nNUMBER_OF_SETS 3\n" + head.substr(9) + "BEGIN_DATA\nA1 1 2 3\n", FormatErr,
         "line 8: NUMBER_OF_SETS says 3"},
        {"bad count", "CGATS.17\nNUMBER_OF_SETS many\n", FormatErr, "line 2: NUMBER_OF_SETS \"many\" is no count"},
        {"binary junk", junk, FormatErr, "line 7: "},
        {"megabyte token", megaToken, BufferTooSmall, "line 6: a token of 1048576 bytes"},
        {"megabyte keyword line", megaLine, BufferTooSmall, "line 2: a line of more than 9999 bytes"},
        {"megabyte record", megaRecord, FormatErr, "line 6: a record with more than the 4 fields"},
        {"no colour field", "CGATS.17\nBEGIN_DATA_FORMAT\nSAMPLE_ID\nEND_DATA_FORMAT\nBEGIN_DATA\n", FormatErr,
         "line 5: BEGIN_DATA without a colour type"},
        {"header only", "CGATS.17\nORIGINATOR x\n\n", FormatErr, "line 4: the text ends before any data"},
        {"empty", "", FormatErr, "line 1: the text ends before any data"},
        {"open field list", "CGATS.17\nBEGIN_DATA_FORMAT\nLAB_L", FormatErr, "line 3: the text ends inside the field list"},
        {"open quote", "CGATS.17\nDESCRIPTOR \"never closed\nBEGIN_DATA\n", FormatErr, "line 2: a quoted text is not closed"},
        {"unknown XML", "<?xml version=\"1.0\"?>\n<chart/>", FormatErr, "The file \"test\" is not a valid CGATS XML file!"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        auto chart = ReadChart(kLabFile);
        try {
            chart->ReadText(TKString(c.text.data(), int32_t(c.text.size())), "test");
            ADD_FAILURE() << "no error";
        } catch (const TKError& error) {
            EXPECT_EQ(error.code(), c.code);
            EXPECT_EQ(std::string(error.message()).rfind(c.message, 0), 0u) << error.message();
        }
        EXPECT_EQ(chart->Count(), 2) << "the chart keeps what it held";
        EXPECT_STREQ(chart->Keyword("ORIGINATOR").CString(), "test");
    }
}

TEST(IT8Writer, HeaderFieldsAndNumbers) {
    TKMatrix cmyk(2, 4, int32_t(TKCMYKSpace));
    cmyk(1, 0) = 12.5;
    cmyk(1, 1) = 1.0 / 3.0;
    TKMatrix refl(2, 36, int32_t(TKReflSpace));
    refl(0, 0) = 0.123456;
    TKColorChart chart(cmyk, refl);
    chart.SetNames({"a name", "\"quoted\""});
    chart.SetKeyword("KEYWORD/0", "MY_KEY");
    chart.SetKeyword("MY_KEY", "12.50");
    chart.SetKeyword("LGOROWLENGTH", "6");
    const std::string text = IT8FormatChartWriter(chart).WriteString().CString();
    const char* expectedLines[] = {
        "CGATS.17\nORIGINATOR \"Unknown\"\nFILE_DESCRIPTOR \"Unknown\"\nCREATED \"",
        "\"\nKEYWORD\t\"MY_KEY\"\nMY_KEY\t12.50\nLGOROWLENGTH\t6\nNUMBER_OF_FIELDS 41\nBEGIN_DATA_FORMAT\nSAMPLE_NAME\tCMYK_C\t",
        "\tSPECTRAL_NM_730\nEND_DATA_FORMAT\nNUMBER_OF_SETS 2\nBEGIN_DATA\n\"a name\"\t0.000\t0.000\t0.000\t0.000\t0.123456\t0.00000",
        "\n\"\\\"quoted\\\"\"\t12.500\t0.3333333333333333\t0.000\t0.000\t0.00000\t",
        "\t0.00000\nEND_DATA\n",
    };
    size_t at = 0;
    for (const char* line : expectedLines) {
        const size_t found = text.find(line, at);
        EXPECT_NE(found, std::string::npos) << "missing after " << at << ": " << line << "\n" << text;
        if (found != std::string::npos) at = found;
    }
    TKColorChart again;
    again.ReadText(TKString(text.c_str()));
    EXPECT_EQ(again.Matrix(TKCMYKSpace), cmyk) << "values with more digits than the format are written exactly";
    EXPECT_STREQ(again.Name(1).CString(), "\"quoted\"");
    EXPECT_STREQ(again.Keyword("MY_KEY").CString(), "12.50");

    IT8FormatMatrixWriter matrixWriter(cmyk);
    const std::string matrixText = matrixWriter.WriteString().CString();
    EXPECT_NE(matrixText.find("BEGIN_DATA_FORMAT\nCMYK_C\tCMYK_M\tCMYK_Y\tCMYK_K\nEND_DATA_FORMAT\nNUMBER_OF_SETS 2"), std::string::npos);
}

// Every chart file kept with the tests reads, writes and reads back to the same chart.
TEST(IT8Writer, TestFilesRoundTrip) {
    int files = 0, samples = 0;
    for (const std::string& path : TestDataFiles("charts")) {
        SCOPED_TRACE(path);
        TKColorChart chart;
        chart.Read(TKFileSpec(path.c_str()));
        ExpectRoundTrip(chart, path);
        ++files;
        samples += chart.Count();
        for (int32_t t = 0; t < chart.TableCount(); ++t) samples += chart.Table(t).Count();
    }
    EXPECT_GE(files, 7);
    EXPECT_GE(samples, 1617 + 24 + 24 + 63 + 1 + 256 + 50);
}

TEST(IT8Reader, ReferenceFiles) {
    TKColorChart fogra;
    fogra.Read(TKFileSpec(TestDataPath("charts/FOGRA39L.ti3").c_str()));
    EXPECT_EQ(fogra.Count(), 1617);
    EXPECT_EQ(fogra.ColorTypes(), (std::vector<uint32_t>{TKCMYKSpace, TKXYZSpace, TKLabSpace}));
    // Patch 9 is pure magenta: "9 0 100 0 0 33.03 16.79 15.01 48.00 74.00 -3.00".
    EXPECT_STREQ(fogra.ID(8).CString(), "9");
    EXPECT_DOUBLE_EQ(fogra.Matrix(TKCMYKSpace)(8, 1), 100);
    EXPECT_DOUBLE_EQ(fogra.Matrix(TKXYZSpace)(8, 1), 16.79);
    EXPECT_DOUBLE_EQ(fogra.Matrix(TKLabSpace)(8, 1), 74.0);
    EXPECT_STREQ(fogra.Keyword("STANDARD").CString(), "CTI3");
    EXPECT_STREQ(fogra.Keyword("DESCRIPTOR").CString(), "FOGRA39L");

    TKColorChart strip;
    strip.Read(TKFileSpec(TestDataPath("charts/FograStrip2.ti1").c_str()));
    EXPECT_EQ(strip.TableCount(), 2) << "the tables after the first are kept";
    EXPECT_STREQ(strip.Table(0).Fields().front().name.CString(), "INDEX");

    TKColorChart spectrum;
    spectrum.Read(TKFileSpec(TestDataPath("charts/example121.sp").c_str()));
    EXPECT_EQ(spectrum.ColorTypes(), std::vector<uint32_t>{TKReflSpace});
    EXPECT_EQ(spectrum.ExtraCount(), 121 - 36) << "the bands off the 10 nm grid stay as text";
}

// Inputs the fuzzer found: each reads or fails with a code, and what reads writes back alike.
TEST(IT8Reader, FuzzFindingsStayFixed) {
    int files = 0;
    for (const std::string& path : TestDataFiles("charts-fuzz")) {
        SCOPED_TRACE(path);
        ++files;
        TKColorChart chart;
        try {
            chart.Read(TKFileSpec(path.c_str()));
        } catch (const TKError& error) {
            EXPECT_NE(std::string(error.message()).find("line "), std::string::npos) << error.message();
            continue;
        }
        ExpectRoundTrip(chart, path);
    }
    EXPECT_GE(files, 1);
}

// Texts whose keywords, names or tables a careless writer would turn into something else: each
// reads, and writes back to the same chart.
TEST(IT8Writer, AwkwardTextsRoundTrip) {
    const std::string fields = "BEGIN_DATA_FORMAT\nSAMPLE_NAME LAB_L LAB_A LAB_B\nEND_DATA_FORMAT\n";
    const std::string data = "BEGIN_DATA\nx 1 2 3\nEND_DATA\n";
    struct Case {
        const char* what;
        std::string text;
        const char* key;  // a keyword to look at, and its value
        const char* value;
    };
    const Case cases[] = {
        {"quoted key with a blank", "CTI3\n\"MY KEY\" \"v\"\n" + fields + data, "", ""},
        {"keys that are words of the structure", "CTI3\n\"CGATS.17\" a\n\"BEGIN_DATA\" b\n" + fields + data, "", ""},
        {"key with a slash", "CTI3\nA/B \"x\"\n" + fields + data, "", ""},
        {"backslashes", "CTI3\nPATH \"C:\\dir\\file\"\nEND \"ends in \\\\\"\nQUOTE \"say \\\"hi\\\"\"\n" + fields + data, "",
         ""},
        {"name over two lines", "CTI3\n" + fields + "BEGIN_DATA\n\"two\nlines\" 1 2 3\ny 4 5 6\nEND_DATA\n", "", ""},
        {"no identifier line", "ORIGINATOR me\n" + fields + data, "ORIGINATOR", "me"},
        {"an empty weighting function first", "WEIGHTING_FUNCTION\n" + fields + data, "WEIGHTING_FUNCTION", ""},
        {"channel names by number and in order",
         "CTI3\nSPOT_ID 3 \"Orange\"\nPROCESSCOLOR_ID Cyan\nPROCESSCOLOR_ID 2 \"Magenta\"\n" + fields + data, "SPOT_ID/3",
         "Orange"},
        {"a text table after the first", "CTI3\n" + fields + data + "\nBEGIN_DATA_FORMAT\nA B\nEND_DATA_FORMAT\nBEGIN_DATA\n1 2\nEND_DATA\n",
         "", ""},
        {"texts that begin like numbers", "CTI3\n" + fields + "BEGIN_DATA\n2A1 1 2 3\n-x 4 5 6\n\"\" 7 8 9\nEND_DATA\n", "", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        auto chart = ReadChart(c.text);
        if (*c.key) {
            EXPECT_STREQ(chart->Keyword(c.key).CString(), c.value);
        }
        ExpectRoundTrip(*chart, c.what);
    }
    EXPECT_STREQ(ReadChart(cases[3].text)->Keyword("PATH").CString(), "C:\\dir\\file") << "a lone backslash is a character";
    EXPECT_STREQ(ReadChart(cases[3].text)->Keyword("QUOTE").CString(), "say \"hi\"");
    EXPECT_STREQ(ReadChart(cases[4].text)->Name(0).CString(), "two\nlines");
    EXPECT_EQ(ReadChart(cases[8].text)->Table(0).ColorTypes().size(), 0u);
    EXPECT_EQ(ReadChart(cases[8].text)->Table(0).Count(), 1);
    // A text table without rows keeps its columns.
    auto emptyTable = ReadChart("CTI3\n" + fields + data + "BEGIN_DATA_FORMAT\nA B\nEND_DATA_FORMAT\nBEGIN_DATA\nEND_DATA\n");
    EXPECT_EQ(emptyTable->Table(0).Count(), 0);
    EXPECT_EQ(emptyTable->Table(0).ExtraCount(), 2);
    const std::string written = IT8FormatChartWriter(*ReadChart(cases[5].text)).WriteString().CString();
    EXPECT_EQ(written.rfind("ORIGINATOR\t\"me\"\n", 0), 0u) << "no identifier, originator or date of its own added\n" << written;
}
