// TKError: the one type the engine throws. Building a record reduces the source file name,
// logs it on the "Error" debug channel and remembers it as the process-wide last error.
#pragma once

#include <cstdint>

enum TKErrorCode : int32_t {
    NoErr = 0, UndefProc = 1, UnexpectedErr = 2, ArgErr = 3, MemFullErr = 4, BufferError = 5,
    BufferTooSmall = 6, IndexError = 7, EOFReached = 8, NotFound = 9, WrongDataType = 10,
    FileInvalidDesc = 11, FileNotOpen = 12, FileLengthFailed = 13, FileSeekFailed = 14,
    FilePosFailed = 15, FileReadFailed = 16, FileWriteFailed = 17, FileAccessErr = 18,
    FormatErr = 19, PtrInvalid = 20, StringInvalid = 21, DivZero = 22, DimMismatch = 23,
    SingularMatrixErr = 24, MatrixSVDErr = 25, LibraryNLoadErr = 26, CreateObjectErr = 27,
    IllegalMeasurementData = 28, InvalidGammaTable = 29, InvalidICCTag = 31, MissingICCTag = 32,
    MissingICCTagData = 33, InvalidTrafo = 34, TrafoCreationErr = 35, ICCProfileClassErr = 36,
    InvalidFileSpec = 37, IllegalMeasureMode = 38, MeasDeviceNotFound = 39,
    VideocardHasNoGammaTable = 40, VideocardHasNoGammaTable2 = 41, GeneralErr = 42, IOErr = 43,
    MathErr = 44, TrafoErr = 45, ColorErr = 46, ColorTrafoErr = 47, ICCTrafoErr = 48,
    NoSystemProfile = 49, SystemProfileNotSet = 50, OutOfRange = 51, SyntaxError = 52,
    DBError = 53, CommandNotFound = 54, ObjectNotFound = 55, Cancel = 56, WrongObjectType = 57,
    ResourceNotFound = 58, NoMeasurementData = 59, MeasureCommunicationError = 60,
    MeasureUnexpectedReply = 61, PDFError = 62, VersionErr = 63, DecodeErr = 64,
    MonitorNotFound = 66, ThreadError = 67, SystemError = 68, DirCreationError = 69,
    WrongSensorPosition = 70, MeasureFailed = 71, CustomError = 72, Timeout = 73,
    DeviceError = 74, FeatureMissing = 75, WarningErr = 76, ErrReadOnly = 77,
    FlatteningFailed = 78, SpotColorNotFound = 79, SpotColorLibNotFound = 80,
    InitializationError = 81, AssignedProfileNotFound = 82
};

class TKError {
public:
    enum Flags : uint32_t { kNoLog = 1u << 0, kNoStackTrace = 1u << 1 };

    TKError(int32_t code, const char* message = nullptr, const char* file = nullptr, int32_t line = 0,
            uint32_t flags = 0);
    TKError(const TKError& other);
    TKError& operator=(const TKError& other);
    ~TKError();

    int32_t code() const { return fCode; }
    const char* message() const { return fMessage ? fMessage : ""; }
    const char* file() const { return fFile ? fFile : ""; }
    int32_t line() const { return fLine; }
    uint32_t flags() const { return fFlags; }

    // The name of a code as the error table gives it; "UnknownErorr" for codes outside it.
    static const char* TextOf(int32_t code);
    // One line describing this record. Points into one buffer shared by every call.
    const char* Describe() const;
    // A copy of the last error remembered by the process.
    static TKError LastError();
    // Raises SystemError (68) with "System error: <osCode> <text>".
    [[noreturn]] static void ThrowSystemError(int32_t osCode, const char* text, uint32_t flags = 0);

private:
    TKError() = default;
    void Report() const;
    void Assign(const TKError& other);

    int32_t fCode = 0;
    char* fMessage = nullptr;
    char* fFile = nullptr;
    int32_t fLine = 0;
    uint32_t fFlags = 0;
};

// Throw a code with the current source position.
#define TKThrow(code) throw TKError((code), nullptr, __FILE__, __LINE__)
#define TKThrowMsg(code, message) throw TKError((code), (message), __FILE__, __LINE__)
