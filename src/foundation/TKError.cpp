#include "foundation/TKError.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/TKDebug.h"
#include "foundation/TKSpinLock.h"

namespace {

struct CodeRow {
    int32_t code;
    const char* text;
};

// Indexed by code; a row whose code differs from its index is unassigned.
constexpr CodeRow kCodeTable[] = {
    {0, "NoErr"}, {1, "UndefProc"}, {2, "UnexpectedErr"}, {3, "ArgErr"}, {4, "MemFullErr"},
    {5, "BufferError"}, {6, "BufferTooSmall"}, {7, "IndexError"}, {8, "EOFReached"},
    {9, "NotFound"}, {10, "WrongDataType"}, {11, "FileInvalidDesc"}, {12, "FileNotOpen"},
    {13, "FileLengthFailed"}, {14, "FileSeekFailed"}, {15, "FilePosFailed"},
    {16, "FileReadFailed"}, {17, "FileWriteFailed"}, {18, "FileAccessErr"}, {19, "FormatErr"},
    {20, "PtrInvalid"}, {21, "StringInvalid"}, {22, "DivZero"}, {23, "DimMismatch"},
    {24, "SingularMatrixErr"}, {25, "MatrixSVDErr"}, {26, "LibraryNLoadErr"},
    {27, "CreateObjectErr"}, {28, "IllegalMeasurementData"}, {29, "InvalidGammaTable"},
    {-1, nullptr}, {31, "InvalidICCTag"}, {32, "MissingICCTag"}, {33, "MissingICCTagData"},
    {34, "InvalidTrafo"}, {35, "TrafoCreationErr"}, {36, "ICCProfileClassErr"},
    {37, "InvalidFileSpec"}, {38, "IllegalMeasureMode"}, {39, "MeasDeviceNotFound"},
    {40, "VideocardHasNoGammaTable"}, {41, "VideocardHasNoGammaTable"}, {42, "GeneralErr"},
    {43, "IOErr"}, {44, "MathErr"}, {45, "TrafoErr"}, {46, "ColorErr"}, {47, "ColorTrafoErr"},
    {48, "ICCTrafoErr"}, {49, "NoSystemProfile"}, {50, "SystemProfileNotSet"},
    {51, "OutOfRange"}, {52, "SyntaxError"}, {53, "DBError"}, {54, "CommandNotFound"},
    {55, "ObjectNotFound"}, {56, "Cancel"}, {57, "WrongObjectType"}, {58, "ResourceNotFound"},
    {59, "NoMeasurementData"}, {60, "MeasureCommunicationError"},
    {61, "MeasureUnexpectedReply"}, {62, "PDFError"}, {63, "VersionErr"}, {64, "DecodeErr"},
    {-1, nullptr}, {66, "MonitorNotFound"}, {67, "ThreadError"}, {68, "SystemError"},
    {69, "DirCreationError"}, {70, "WrongSensorPosition"}, {71, "MeasureFailed"},
    {72, "CustomError"}, {73, "Timeout"}, {74, "DeviceError"}, {75, "FeatureMissing"},
    {76, "WarningErr"}, {77, "ErrReadOnly"}, {78, "FlatteningFailed"},
    {79, "SpotColorNotFound"}, {80, "SpotColorLibNotFound"}, {81, "InitializationError"},
    {82, "AssignedProfileNotFound"},
};
constexpr int32_t kCodeCount = sizeof(kCodeTable) / sizeof(kCodeTable[0]);
static_assert(kCodeCount == 83, "the error table has codes 0 to 82");

TKSpinLock gLastErrorLock;
TKError* gLastError = nullptr;  // guarded by gLastErrorLock; lives until the process ends

char* gDescribeBuffer = nullptr;  // shared by every Describe call, grows only
size_t gDescribeCapacity = 0;

char* CopyText(const char* text) {
    if (!text) return nullptr;
    size_t n = std::strlen(text) + 1;
    char* copy = static_cast<char*>(std::malloc(n));
    if (copy) std::memcpy(copy, text, n);
    return copy;
}

// Keeps the name after the last path separator, and drops a "TK" prefix unless the rest
// starts with a vowel ("TKMatrix" -> "Matrix", "TKICCProfile" stays).
const char* ReduceFileName(const char* file, char* scratch, size_t size) {
    const char* name = file;
    for (const char* p = file + std::strlen(file); p > file; --p) {
        if (p[-1] == '/' || p[-1] == '\\') {
            name = p;
            break;
        }
    }
    auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; };
    if (lower(name[0]) == 't' && lower(name[1]) == 'k' && name[2] != 0) {
        char third = lower(name[2]);
        if (third != 'a' && third != 'e' && third != 'i' && third != 'o' && third != 'u') name += 2;
    }
    std::snprintf(scratch, size, "%s", name);
    return scratch;
}

}  // namespace

TKError::TKError(int32_t code, const char* message, const char* file, int32_t line, uint32_t flags) {
    if (file) {
        char scratch[512];
        fFile = CopyText(ReduceFileName(file, scratch, sizeof scratch));
    }
    fMessage = CopyText(message);
    fCode = code;
    fLine = line;
    fFlags = flags;
    Report();
}

void TKError::Report() const {
    if (fCode == NoErr) return;
    const char* format = "Error: %d \"%s\", file \"%s\", line %d";
    if (fCode == Cancel) {
        // A cancellation is a normal way out and never overwrites the last failure.
        if (ChannelEnabled(kDebugTest1)) DebugPrintf(kDebugTest1, format, fCode, message(), file(), fLine);
        if (!(fFlags & kNoStackTrace)) StackTrace();
        return;
    }
    if (ChannelEnabled(kDebugError) && !(fFlags & kNoLog)) {
        DebugPrintf(kDebugError, format, fCode, message(), file(), fLine);
        if (!(fFlags & kNoStackTrace)) StackTrace();
    }
    TKSpinLockGuard guard(&gLastErrorLock);
    if (!gLastError) gLastError = new TKError;
    *gLastError = *this;
}

TKError::TKError(const TKError& other) { Assign(other); }

TKError& TKError::operator=(const TKError& other) {
    if (this != &other) {
        std::free(fMessage);
        std::free(fFile);
        Assign(other);
    }
    return *this;
}

void TKError::Assign(const TKError& other) {
    fCode = other.fCode;
    fMessage = CopyText(other.fMessage);
    fFile = CopyText(other.fFile);
    fLine = other.fLine;
    fFlags = other.fFlags;
}

TKError::~TKError() {
    std::free(fMessage);
    std::free(fFile);
}

const char* TKError::TextOf(int32_t code) {
    if (code < 0 || code >= kCodeCount || kCodeTable[code].code != code) return "UnknownErorr";
    return kCodeTable[code].text;
}

const char* TKError::Describe() const {
    auto reserve = [](size_t needed) {
        if (!gDescribeBuffer || gDescribeCapacity < needed) {
            std::free(gDescribeBuffer);
            gDescribeBuffer = static_cast<char*>(std::malloc(needed));
            gDescribeCapacity = gDescribeBuffer ? needed : 0;
        }
        return gDescribeBuffer != nullptr;
    };
    if (fCode == NoErr) return "No Error";
    const char* text = fMessage ? fMessage : TextOf(fCode);
    if (text[0]) {
        size_t needed = std::strlen(text) + 50 + (fFile ? std::strlen(fFile) : 0);
        if (!reserve(needed)) return "";
        if (fLine < 1)
            std::snprintf(gDescribeBuffer, gDescribeCapacity - 2, "Error=%ld (%s)", long(fCode), text);
        else
            std::snprintf(gDescribeBuffer, gDescribeCapacity - 2, "Error=%ld (%s, %d)", long(fCode), text, fLine);
    } else {
        if (!reserve(50)) return "";
        std::snprintf(gDescribeBuffer, gDescribeCapacity - 2, "Error=%ld", long(fCode));
    }
    return gDescribeBuffer;
}

TKError TKError::LastError() {
    TKSpinLockGuard guard(&gLastErrorLock);
    if (!gLastError) return TKError();
    return *gLastError;
}

void TKError::ThrowSystemError(int32_t osCode, const char* text, uint32_t flags) {
    char message[1024];
    if (text && text[0])
        std::snprintf(message, sizeof message, "System error: %d %s", int(osCode), text);
    else
        std::snprintf(message, sizeof message, "System error: %d", int(osCode));
    throw TKError(SystemError, message, nullptr, 0, flags);
}
