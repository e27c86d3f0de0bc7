"""The library's error codes as a Python exception."""

# The code table of tintara.h; the texts are the names the library logs (41 repeats 40's).
ERROR_NAMES = dict(enumerate(
    "NoErr UndefProc UnexpectedErr ArgErr MemFullErr BufferError BufferTooSmall IndexError EOFReached NotFound "
    "WrongDataType FileInvalidDesc FileNotOpen FileLengthFailed FileSeekFailed FilePosFailed FileReadFailed "
    "FileWriteFailed FileAccessErr FormatErr PtrInvalid StringInvalid DivZero DimMismatch SingularMatrixErr "
    "MatrixSVDErr LibraryNLoadErr CreateObjectErr IllegalMeasurementData InvalidGammaTable - InvalidICCTag "
    "MissingICCTag MissingICCTagData InvalidTrafo TrafoCreationErr ICCProfileClassErr InvalidFileSpec "
    "IllegalMeasureMode MeasDeviceNotFound VideocardHasNoGammaTable VideocardHasNoGammaTable GeneralErr IOErr "
    "MathErr TrafoErr ColorErr ColorTrafoErr ICCTrafoErr NoSystemProfile SystemProfileNotSet OutOfRange "
    "SyntaxError DBError CommandNotFound ObjectNotFound Cancel WrongObjectType ResourceNotFound "
    "NoMeasurementData MeasureCommunicationError MeasureUnexpectedReply PDFError VersionErr DecodeErr - "
    "MonitorNotFound ThreadError SystemError DirCreationError WrongSensorPosition MeasureFailed CustomError "
    "Timeout DeviceError FeatureMissing WarningErr ErrReadOnly FlatteningFailed SpotColorNotFound "
    "SpotColorLibNotFound InitializationError AssignedProfileNotFound".split()))
ERROR_NAMES = {code: name for code, name in ERROR_NAMES.items() if name != "-"}

ARG_ERR, BUFFER_TOO_SMALL, WRONG_DATA_TYPE, PTR_INVALID, DIM_MISMATCH = 3, 6, 10, 20, 23
CREATE_OBJECT_ERR, CANCEL, THREAD_ERROR = 27, 56, 67


def error_name(code):
    """The text of a code; codes that host callbacks invent have none of their own."""
    return ERROR_NAMES.get(code, "UnknownErorr")


class TintaraError(Exception):
    """A failure with the library's code: `code` (int), `name` (the code's text), `where`
    (the C function or the Python check that failed) and an optional `detail`."""

    def __init__(self, code, where, detail=""):
        self.code = int(code)
        self.name = error_name(self.code)
        self.where = where
        self.detail = detail
        text = f"{where}: error {self.code} ({self.name})"
        super().__init__(f"{text}: {detail}" if detail else text)
