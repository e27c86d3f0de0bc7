// Shared pieces of the tintara host: error names, handles, arguments, output files, progress.
#include "HostSupport.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace host {

const char* CodeName(int32_t code) {
    // The library's public codes by number; empty entries are codes that are not assigned.
    static const char* const kNames[] = {
        "NoErr", "UndefProc", "UnexpectedErr", "ArgErr", "MemFullErr", "BufferError", "BufferTooSmall",
        "IndexError", "EOFReached", "NotFound", "WrongDataType", "FileInvalidDesc", "FileNotOpen",
        "FileLengthFailed", "FileSeekFailed", "FilePosFailed", "FileReadFailed", "FileWriteFailed",
        "FileAccessErr", "FormatErr", "PtrInvalid", "StringInvalid", "DivZero", "DimMismatch",
        "SingularMatrixErr", "MatrixSVDErr", "LibraryNLoadErr", "CreateObjectErr", "IllegalMeasurementData",
        "InvalidGammaTable", "", "InvalidICCTag", "MissingICCTag", "MissingICCTagData", "InvalidTrafo",
        "TrafoCreationErr", "ICCProfileClassErr", "InvalidFileSpec", "IllegalMeasureMode",
        "MeasDeviceNotFound", "VideocardHasNoGammaTable", "VideocardHasNoGammaTable", "GeneralErr", "IOErr",
        "MathErr", "TrafoErr", "ColorErr", "ColorTrafoErr", "ICCTrafoErr", "NoSystemProfile",
        "SystemProfileNotSet", "OutOfRange", "SyntaxError", "DBError", "CommandNotFound", "ObjectNotFound",
        "Cancel", "WrongObjectType", "ResourceNotFound", "NoMeasurementData", "MeasureCommunicationError",
        "MeasureUnexpectedReply", "PDFError", "VersionErr", "DecodeErr", "", "MonitorNotFound", "ThreadError",
        "SystemError", "DirCreationError", "WrongSensorPosition", "MeasureFailed", "CustomError", "Timeout",
        "DeviceError", "FeatureMissing", "WarningErr", "ErrReadOnly", "FlatteningFailed", "SpotColorNotFound",
        "SpotColorLibNotFound", "InitializationError", "AssignedProfileNotFound"};
    constexpr int32_t kCount = int32_t(sizeof(kNames) / sizeof(kNames[0]));
    if (code < 0 || code >= kCount || !kNames[code][0]) return "unknown error";
    return kNames[code];
}

void Check(int32_t code, const std::string& what) {
    if (code != 0) throw Failure(what + ": " + CodeName(code) + " (" + std::to_string(code) + ")");
}

std::string SignatureText(uint32_t signature) {
    if (signature == 0) return "any";
    std::string text;
    for (int i = 0; i < 4; ++i) {
        const char c = char((signature >> (24 - 8 * i)) & 0xFF);
        text += (c >= 32 && c < 127) ? c : '?';
    }
    return text;
}

uint32_t SignatureFrom(const std::string& text) {
    uint32_t signature = 0;
    for (size_t i = 0; i < 4; ++i) signature = (signature << 8) | uint8_t(i < text.size() ? text[i] : ' ');
    return signature;
}

namespace {

std::string Lower(const std::string& text) {
    std::string lower = text;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return lower;
}

// The library's intent names by code, for the codes beyond the four of ICC.
struct IntentName {
    int32_t code;
    const char* name;
};
const IntentName kLibraryIntents[] = {
    {9, "BlackCompensationPerceptual"}, {10, "BlackCompensation"}, {11, "AbsolutePerceptual"},
    {12, "AbsLightenerCompensation"}, {13, "GamutCompression"}, {14, "PerceptualCompression"},
    {15, "RelativeCompression"}, {16, "AbsoluteCompression"}, {17, "TKRelative"}, {18, "TKAbsolute"},
    {19, "RelativeLightness"}, {21, "CustomRendering1"}, {22, "CustomRendering2"}, {23, "CustomRendering3"},
    {24, "CustomRendering4"}, {25, "CustomRendering5"}, {26, "MinimumBlackCompression"},
    {27, "MinimumWhiteCompression"}, {28, "MinimumCompression"}, {29, "XYZ Scaling"}, {30, "TKTestCompression"}};

}  // namespace

int32_t ParseIntent(const std::string& text) {
    const std::string lower = Lower(text);
    if (lower == "p" || lower == "perceptual") return 0;
    if (lower == "r" || lower == "relative" || lower == "relative-colorimetric") return 1;
    if (lower == "s" || lower == "saturation") return 2;
    if (lower == "a" || lower == "absolute" || lower == "absolute-colorimetric") return 3;
    if (lower == "perceptual-bpc") return kPerceptualBpc;
    if (lower == "relative-bpc") return kRelativeBpc;
    if (lower == "header") return 20;
    if (lower.size() == 7 && lower.compare(0, 6, "custom") == 0 && lower[6] >= '1' && lower[6] <= '5')
        return 20 + (lower[6] - '0');
    for (const IntentName& intent : kLibraryIntents)
        if (lower == Lower(intent.name)) return intent.code;
    char* end = nullptr;
    const long number = std::strtol(text.c_str(), &end, 10);
    if (!text.empty() && *end == '\0' && ((number >= 0 && number <= 3) || (number >= 9 && number <= 30)))
        return int32_t(number);
    throw UsageError("unknown rendering intent '" + text +
                     "' (see --help: perceptual, relative, saturation, absolute, perceptual-bpc, relative-bpc, "
                     "header, custom1-5, or 0-3, 9-30)");
}

int32_t WithBlackPointCompensation(int32_t intent) {
    if (intent == 0 || intent == kPerceptualBpc) return kPerceptualBpc;
    if (intent == 1 || intent == kRelativeBpc) return kRelativeBpc;
    throw UsageError("black point compensation (-b) goes with the perceptual and relative intents only");
}

FileSpec::FileSpec(const std::string& path) : spec_(TKNewFileSpecRef()) {
    if (!spec_) throw Failure("cannot create a file spec for " + path);
    TKName2FileSpec(spec_, path.c_str());
}

Ref& Ref::operator=(Ref&& other) noexcept {
    if (this != &other) {
        TKFreeTKTrafoRef(ref_);
        ref_ = other.ref_;
        other.ref_ = nullptr;
    }
    return *this;
}

Args::Args(int argc, char** argv, int first) {
    for (int i = first; i < argc; ++i) args_.emplace_back(argv[i]);
}

std::string Args::Value(const std::string& option) {
    if (Done()) throw UsageError("option " + option + " needs a value");
    return Take();
}

int Args::IntValue(const std::string& option, int min, int max) {
    const std::string text = Value(option);
    char* end = nullptr;
    errno = 0;
    const long number = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno != 0 || number < min || number > max)
        throw UsageError("option " + option + " takes a whole number from " + std::to_string(min) + " to " +
                         std::to_string(max) + ", not '" + text + "'");
    return int(number);
}

bool IsOption(const std::string& word) { return word.size() > 1 && word[0] == '-'; }

OutputFile::OutputFile(const std::string& path) : path_(path) {
    std::string pattern = path + ".partXXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    const int fd = mkstemp(name.data());
    if (fd < 0) throw Failure("cannot write " + path + ": " + std::strerror(errno));
    close(fd);
    temp_ = name.data();
}

OutputFile::~OutputFile() {
    if (!committed_) std::remove(temp_.c_str());
}

void OutputFile::Commit() {
    // mkstemp makes the file private; the result gets the usual permissions under the umask.
    const mode_t mask = umask(0);
    umask(mask);
    chmod(temp_.c_str(), 0666 & ~mask);
    if (std::rename(temp_.c_str(), path_.c_str()) != 0)
        throw Failure("cannot write " + path_ + ": " + std::strerror(errno));
    committed_ = true;
}

namespace {
// The command line's choice, made before any bar exists.
bool drawAlways = false;
}  // namespace

void ProgressBar::DrawAlways() { drawAlways = true; }

ProgressBar::ProgressBar(const std::string& title)
    : title_(title),
      quietSeconds_(drawAlways ? 0.0 : kQuietSeconds),
      active_(drawAlways || isatty(STDOUT_FILENO) != 0),
      start_(std::chrono::steady_clock::now()),
      last_() {}

void ProgressBar::Show(int64_t done, int64_t total) {
    if (!active_ || SecondsSince(start_) < quietSeconds_) return;
    const auto now = std::chrono::steady_clock::now();
    if (drawn_ && done < total && now - last_ < std::chrono::milliseconds(100)) return;
    last_ = now;
    constexpr int kWidth = 40;
    const double fraction = total > 0 ? std::min(1.0, double(done) / double(total)) : 1.0;
    const int filled = int(fraction * kWidth);
    std::printf("\r%-24s [%s%s] %3d%% %6.1f s", title_.c_str(), std::string(size_t(filled), '#').c_str(),
                std::string(size_t(kWidth - filled), '.').c_str(), int(fraction * 100.0), SecondsSince(start_));
    std::fflush(stdout);
    drawn_ = true;
}

void ProgressBar::Tick() {
    if (!active_ || SecondsSince(start_) < quietSeconds_) return;
    const auto now = std::chrono::steady_clock::now();
    if (drawn_ && now - last_ < std::chrono::milliseconds(100)) return;
    last_ = now;
    static const char kSpin[] = "|/-\\";
    const int step = int(SecondsSince(start_) * 8.0) % 4;
    std::printf("\r%-24s %c %6.1f s", title_.c_str(), kSpin[step], SecondsSince(start_));
    std::fflush(stdout);
    drawn_ = true;
}

void ProgressBar::Finish() {
    if (!active_ || !drawn_) return;
    // Clear the line so that the report that follows starts clean.
    std::printf("\r%80s\r", "");
    std::fflush(stdout);
    drawn_ = false;
}

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::vector<uint8_t> ReadFileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw Failure("cannot read " + path + ": " + std::strerror(errno));
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) throw Failure("cannot read " + path);
    return bytes;
}

void WriteFileBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    out.close();
    if (!out) throw Failure("cannot write " + path);
}

std::string BaseName(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace host
