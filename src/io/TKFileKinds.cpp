// The 53 rows of file kinds and magic-byte detection.
#include "io/TKFileKinds.h"

#include <strings.h>

#include "io/TKStreamTools.h"

namespace {

constexpr uint32_t Sig(const char (&s)[5]) {
    return uint32_t(uint8_t(s[0])) << 24 | uint32_t(uint8_t(s[1])) << 16 | uint32_t(uint8_t(s[2])) << 8 |
           uint32_t(uint8_t(s[3]));
}

const TKFileKindRow kRows[] = {
    {1, Sig("TEXT"), Sig("ttxt"), "txt"},   {1, Sig("TEXT"), Sig("ttxt"), "text"},
    {1, Sig("TEXT"), Sig("TkTl"), "cie"},   {1, Sig("TEXT"), Sig("TkTl"), "ref"},
    {1, Sig("TEXT"), Sig("****"), "it8"},   {1, Sig("TEXT"), Sig("****"), "iso"},
    {1, Sig("TEXT"), Sig("****"), "ti3"},   {2, Sig("prof"), Sig("sync"), "icc"},
    {2, Sig("prof"), Sig("sync"), "icm"},   {3, Sig("8BPS"), Sig("8BIM"), "psd"},
    {3, Sig("8BPS"), Sig("8BIM"), "psb"},   {4, Sig("8BCO"), Sig("8BIM"), "aco"},
    {5, Sig("PICT"), Sig("8BIM"), "pct"},   {5, Sig("PICT"), Sig("8BIM"), "pict"},
    {6, Sig("JPEG"), Sig("8BIM"), "jpg"},   {6, Sig("JPEG"), Sig("8BIM"), "jpeg"},
    {6, Sig("JFIF"), Sig("8BIM"), "jpg"},   {7, Sig("TIFF"), Sig("8BIM"), "tif"},
    {7, Sig("TIFF"), Sig("8BIM"), "tiff"},  {8, Sig("PNGf"), Sig("8BIM"), "png"},
    {9, Sig("TPIC"), Sig("8BIM"), "tga"},   {10, Sig("..CT"), Sig("8BIM"), "sct"},
    {11, Sig("GIFf"), Sig("8BIM"), "gif"},  {12, Sig("PDF "), Sig("****"), "pdf"},
    {13, Sig("BINA"), Sig("****"), ""},     {14, Sig("APPL"), Sig("****"), "exe"},
    {15, Sig("HTML"), Sig("****"), "html"}, {15, Sig("HTML"), Sig("****"), "htm"},
    {16, Sig("AFM "), Sig("****"), "afm"},  {17, Sig("PPM "), Sig("****"), "ppm"},
    {18, Sig("LINK"), Sig("****"), "link"}, {19, Sig("DLL "), Sig("****"), "dll"},
    {19, Sig("DYLB"), Sig("****"), "dylib"},
    {20, Sig("jpf "), Sig("8BIM"), "jpf"},  {20, Sig("jp2 "), Sig("8BIM"), "jp2"},
    {20, Sig("jpx "), Sig("8BIM"), "jpx"},  {20, Sig("j2k "), Sig("8BIM"), "j2k"},
    {20, Sig("j2c "), Sig("8BIM"), "j2c"},  {20, Sig("pnm "), Sig("8BIM"), "pnm"},
    {21, Sig("CSC "), Sig("****"), "csc"},  {22, Sig("scri"), Sig("****"), "script"},
    {23, Sig("CSV "), Sig("****"), "csv"},  {24, Sig("CCF "), Sig("****"), "ccf"},
    {25, Sig("XML "), Sig("****"), "xml"},  {26, Sig("PSN "), Sig("****"), "psn"},
    {27, Sig("MMD "), Sig("****"), "mmd"},  {28, Sig("CxF "), Sig("****"), "cxf"},
    {29, Sig("ICNS"), Sig("****"), "icns"}, {30, Sig("GZIP"), Sig("****"), "gz"},
    {31, Sig("DB  "), Sig("****"), "db"},   {32, Sig("TTF "), Sig("****"), "ttf"},
    {33, Sig("TTX "), Sig("****"), "ttx"},  {0, Sig("****"), Sig("****"), ""},
};
constexpr int32_t kRowCount = int32_t(sizeof kRows / sizeof kRows[0]);
static_assert(kRowCount == 53, "the kinds table has 53 rows");

// Runs the rows above the last one and gives the first that fits, else the last row.
template <class Fits>
const TKFileKindRow& Lookup(Fits fits) {
    for (int32_t i = 0; i < kRowCount - 1; ++i)
        if (fits(kRows[i])) return kRows[i];
    return kRows[kRowCount - 1];
}

// Four bytes at `offset` as a big-endian value, so the magic compares the same on every machine.
// A short file is no error here: it just is not of that kind.
bool ReadMagic(TKStream& stream, int64_t offset, uint32_t* magic) {
    uint8_t bytes[4];
    stream.Seek(offset, kSeekStart);
    if (ReadBlock(stream, 4, bytes, false) != 4) return false;
    *magic = TKLoadOrdered<uint32_t>(bytes, kBigEndian);
    return true;
}

}  // namespace

int32_t TKFileKindRowCount() { return kRowCount; }

const TKFileKindRow& TKFileKindRowAt(int32_t index) {
    if (index < 0 || index >= kRowCount) TKThrow(IndexError);
    return kRows[index];
}

const TKFileKindRow& TKFileKindForExtension(const char* extension) {
    const bool empty = !extension || !extension[0];
    return Lookup([&](const TKFileKindRow& row) {
        return !empty && row.extension[0] && strcasecmp(row.extension, extension) == 0;
    });
}

const TKFileKindRow& TKFileKindForType(uint32_t type) {
    return Lookup([&](const TKFileKindRow& row) { return row.type == type; });
}

const TKFileKindRow& TKFileKindForKind(int32_t kind) {
    return Lookup([&](const TKFileKindRow& row) { return row.kind == kind; });
}

int32_t DetectFileKind(TKStream& stream) {
    int64_t saved = -1;
    int32_t kind = kFileKindUnknown;
    try {
        saved = stream.Tell();
        uint32_t magic = 0;
        if (!ReadMagic(stream, 0, &magic)) magic = 0;
        if (magic == Sig("%PDF")) kind = kFileKindPDF;
        else if (magic == Sig("8BPS")) kind = kFileKindPSD;
        else if (magic == Sig("<htm")) kind = kFileKindHTML;
        else if (magic == Sig("<?xm")) kind = kFileKindXML;
        else if (magic == Sig("GIF8")) kind = kFileKindGIF;
        else if (magic == 0x4D4D002Au || magic == 0x49492A00u) kind = kFileKindTIFF;
        else if (magic == 0x89504E47u) kind = kFileKindPNG;
        else if ((magic >> 8) == 0xFFD8FFu) kind = kFileKindJPEG;
        else if (magic > 100) {
            // An ICC profile has its 'acsp' signature at offset 36 of the header.
            uint32_t signature = 0;
            if (ReadMagic(stream, 36, &signature) && signature == Sig("acsp")) kind = kFileKindICC;
        }
    } catch (const TKError&) {
        kind = kFileKindUnknown;
    }
    if (saved >= 0) {
        try {
            stream.Seek(saved, kSeekStart);
        } catch (const TKError&) {
        }
    }
    return kind;
}
