// The table of file kinds: a numeric kind tied to a file type, a creator and an extension,
// and the detection of a kind from the first bytes of a stream.
#pragma once

#include <cstdint>

class TKStream;

enum TKFileKind : int32_t {
    kFileKindUnknown = 0, kFileKindText = 1, kFileKindICC = 2, kFileKindPSD = 3, kFileKindACO = 4,
    kFileKindPICT = 5, kFileKindJPEG = 6, kFileKindTIFF = 7, kFileKindPNG = 8, kFileKindTGA = 9,
    kFileKindSCT = 10, kFileKindGIF = 11, kFileKindPDF = 12, kFileKindBinary = 13, kFileKindApplication = 14,
    kFileKindHTML = 15, kFileKindAFM = 16, kFileKindPPM = 17, kFileKindLink = 18, kFileKindLibrary = 19,
    kFileKindJPEG2000 = 20, kFileKindCSC = 21, kFileKindScript = 22, kFileKindCSV = 23, kFileKindCCF = 24,
    kFileKindXML = 25, kFileKindPSN = 26, kFileKindMMD = 27, kFileKindCxF = 28, kFileKindICNS = 29,
    kFileKindGZIP = 30, kFileKindDB = 31, kFileKindTTF = 32, kFileKindTTX = 33
};

struct TKFileKindRow {
    int32_t kind;
    uint32_t type;
    uint32_t creator;
    const char* extension;  // without the dot; empty for none
};

// Every lookup runs from the top and the first fitting row wins; when nothing fits the result
// is the last row, kind 0 with type and creator '****'.
int32_t TKFileKindRowCount();
const TKFileKindRow& TKFileKindRowAt(int32_t index);  // IndexError outside
// Extensions compare without regard to case; an empty extension fits no row.
const TKFileKindRow& TKFileKindForExtension(const char* extension);
const TKFileKindRow& TKFileKindForType(uint32_t type);
const TKFileKindRow& TKFileKindForKind(int32_t kind);

// The kind of a stream's content from its magic bytes, or 0. The position is restored.
int32_t DetectFileKind(TKStream& stream);
