// The CSC gamut text and the PSN chart: writing, reading, type recognition and bad input.
#include <string>

#include "charts/TKCSCFormat.h"
#include "charts/TKPSNFormat.h"
#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "support/TestSupport.h"

namespace {

TKMatrix Filled(int32_t rows, uint32_t type, double start) {
    TKMatrix m(rows, GetChannelCount(type), int32_t(type));
    for (int32_t r = 0; r < rows; ++r)
        for (int32_t c = 0; c < m.GetWidth(); ++c) m(r, c) = start + r * 10 + c + 0.25;
    return m;
}

void ExpectFailure(void (*read)(const std::string&), const std::string& text, int32_t code, const char* message) {
    try {
        read(text);
        ADD_FAILURE() << "no error for " << text;
    } catch (const TKError& error) {
        EXPECT_EQ(error.code(), code) << text;
        EXPECT_EQ(std::string(error.message()).rfind(message, 0), 0u) << error.message();
    }
}

}  // namespace

TEST(CSCFormat, WritesAndReadsDeviceAndCIEValues) {
    struct Case {
        uint32_t device, cie;
        const char* names;
    };
    const Case cases[] = {
        {TKCMYKSpace, TKLabSpace, "% Cyan;Magenta;Yellow;Black;L;a;b\n"},
        {TKRGBSpace, TKXYZSpace, "% Red;Green;Blue;X;Y;Z\n"},
        {TKCMYSpace, TKLabSpace, "% Cyan;Magenta;Yellow;L;a;b\n"},
        {0, TKLabSpace, "% L;a;b\n"},
    };
    for (const Case& c : cases) {
        const TKMatrix device = c.device ? Filled(3, c.device, 1) : TKMatrix();
        const TKMatrix cie = Filled(3, c.cie, 50);
        const TKString text = CSCFormatMatrixWriter(device, cie).WriteString();
        EXPECT_EQ(std::string(text.CString()).rfind(std::string("% CSC gammut file\n% Version: 2\n\n") + c.names, 0), 0u)
            << text.CString();
        CSCFormatMatrixReader reader;
        reader.ReadString(text);
        EXPECT_EQ(reader.Device(), device) << "two decimals hold these values exactly";
        EXPECT_EQ(reader.CIE(), cie);
    }
    // A spectral or LCh matrix goes out as Lab, rounded to two decimals.
    TKMatrix lch(1, 3, int32_t(TKLChSpace));
    lch(0, 0) = 50, lch(0, 1) = 20, lch(0, 2) = 90;
    CSCFormatMatrixReader reader;
    reader.ReadString(CSCFormatMatrixWriter(TKMatrix(), lch).WriteString());
    EXPECT_EQ(reader.CIE().GetType(), int32_t(TKLabSpace));
    EXPECT_NEAR(reader.CIE()(0, 1), 0, 0.005);
    EXPECT_NEAR(reader.CIE()(0, 2), 20, 0.005);
    EXPECT_TKERROR(CSCFormatMatrixWriter(Filled(2, TKCMYKSpace, 0), Filled(3, TKLabSpace, 0)), DimMismatch);
}

TEST(CSCFormat, ReadsOtherWritersAndRejectsBadRows) {
    CSCFormatMatrixReader reader;
    reader.ReadString("% made elsewhere\r\n% CYAN ; magenta;YELLOW;Black;L;A;B\r\n1,5;2;3;4;50;0;0\r\n\r\n5;6;7;8;60;1;-1;\r\n");
    EXPECT_EQ(reader.Device().GetType(), int32_t(TKCMYKSpace));
    ASSERT_EQ(reader.Device().GetHeight(), 2);
    EXPECT_DOUBLE_EQ(reader.CIE()(1, 2), -1);
    auto read = [](const std::string& text) { CSCFormatMatrixReader().ReadString(TKString(text.c_str())); };
    ExpectFailure(read, "% L;a;b\n1;2;3\n1;2\n", FormatErr, "line 3: a row of 2 values where the names list 3");
    ExpectFailure(read, "% L;a;b\n1;two;3\n", FormatErr, "line 2: \"two\" is no number");
    ExpectFailure(read, "1;2;3\n", FormatErr, "line 1: values before the channel names");
    ExpectFailure(read, "% only a comment\n", FormatErr, "line 1: no rows");
}

TEST(PSNFormat, ReadsThePatchesSection) {
    PSNFormatMatrixReader reader;
    reader.ReadString("numPatches = 3\nPatchesColorspace = Lab\nnumAcquiredPatches = 2\nPatches =\n{\n"
                      "0 = 95 0 -2\n1 = 48;74;-3\n}\n");
    EXPECT_EQ(reader.PatchCount(), 3);
    ASSERT_EQ(reader.Matrix().GetHeight(), 2);
    EXPECT_EQ(reader.Matrix().GetType(), int32_t(TKLabSpace));
    EXPECT_DOUBLE_EQ(reader.Matrix()(1, 1), 74);
    reader.ReadString("numPatches = 1\nPatchesColorspace = CMYK\nPatches =\n{\na = 0, 100, 0, 0\n}\n");
    EXPECT_DOUBLE_EQ(reader.Matrix()(0, 1), 100);

    auto read = [](const std::string& text) { PSNFormatMatrixReader().ReadString(TKString(text.c_str())); };
    const std::string lab = "PatchesColorspace = Lab\n";
    ExpectFailure(read, "numPatches = 2\n" + lab + "Patches =\n{\n0 = 1 2 3\n}\n", FormatErr,
                  "numPatches 2, numAcquiredPatches 2 and 1 patches");
    ExpectFailure(read, "numPatches = 1\n" + lab + "Patches =\n{\n0 = 1 2\n}\n", FormatErr, "Patch \"0\" has 2 of 3 values");
    ExpectFailure(read, "numPatches = 1\n" + lab + "Patches =\n{\n0 = 1 2 3 4\n}\n", FormatErr, "Patch \"0\" is no Lab colour");
    ExpectFailure(read, "numPatches = 1\n" + lab + "Patches =\n{\n0 = 1 x 3\n}\n", FormatErr, "Patch \"0\" is no Lab colour");
    ExpectFailure(read, "numPatches = 1\nPatchesColorspace = Paint\n", FormatErr, "PatchesColorspace \"Paint\" is no colour type");
    ExpectFailure(read, "PatchesColorspace = Lab\n", FormatErr, "A PSN chart needs");
}
