// Shared pieces of the tintara host: failures as words, owned library handles, argument
// reading, output files that appear whole or not at all, and a terminal progress bar.
#pragma once

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "tintara.h"

namespace host {

// A failure the host reports as one line and exit code 1.
class Failure : public std::runtime_error {
public:
    explicit Failure(const std::string& text) : std::runtime_error(text) {}
};

// A command-line mistake: reported with a hint to --help and exit code 2.
class UsageError : public std::runtime_error {
public:
    explicit UsageError(const std::string& text) : std::runtime_error(text) {}
};

// The name of one of the library's public error codes, such as "FormatErr".
const char* CodeName(int32_t code);

// Throws a Failure "what: CodeName (code)" for a non-zero library code.
void Check(int32_t code, const std::string& what);

// "CMYK", "Lab ", or "any" for 0.
std::string SignatureText(uint32_t signature);
// A signature from up to four characters, padded with blanks ("Lab" -> 'Lab ').
uint32_t SignatureFrom(const std::string& text);

constexpr uint32_t kLab = 0x4C616220;  // 'Lab '
constexpr uint32_t kXYZ = 0x58595A20;  // 'XYZ '

// Rendering intent from a name or a number: "perceptual"/"p"/0, "relative"/"r"/1,
// "saturation"/"s"/2, "absolute"/"a"/3, "perceptual-bpc" (9) and "relative-bpc" (10) with black
// point compensation, "header" (20), "custom1" to "custom5" (21 to 25), and the library's other
// intents 11-19 and 26-30 by number or by their names ("RelativeCompression", ...).
int32_t ParseIntent(const std::string& text);
constexpr int32_t kPerceptualBpc = 9, kRelativeBpc = 10;

// The black-point-compensated form of a perceptual or relative intent; a UsageError otherwise.
int32_t WithBlackPointCompensation(int32_t intent);

// A file spec owned by the host.
class FileSpec {
public:
    explicit FileSpec(const std::string& path);
    ~FileSpec() { TKFreeFileSpecRef(spec_); }
    FileSpec(const FileSpec&) = delete;
    FileSpec& operator=(const FileSpec&) = delete;
    TKFileSpec* get() const { return spec_; }

private:
    TKFileSpec* spec_;
};

// A trafo or link handle owned by the host.
class Ref {
public:
    Ref() = default;
    explicit Ref(TKTrafoRef ref) : ref_(ref) {}
    ~Ref() { TKFreeTKTrafoRef(ref_); }
    Ref(Ref&& other) noexcept : ref_(other.ref_) { other.ref_ = nullptr; }
    Ref& operator=(Ref&& other) noexcept;
    Ref(const Ref&) = delete;
    Ref& operator=(const Ref&) = delete;
    TKTrafoRef get() const { return ref_; }
    TKTrafoRef* out() { return &ref_; }

private:
    TKTrafoRef ref_ = nullptr;
};

// Reads the arguments of one subcommand: options with or without values and positional words.
class Args {
public:
    Args(int argc, char** argv, int first);
    bool Done() const { return next_ >= args_.size(); }
    // The next word; options begin with "-" (a lone "-" is a word: stdin).
    const std::string& Peek() const { return args_[next_]; }
    std::string Take() { return args_[next_++]; }
    // The value that follows an option, or a UsageError naming the option.
    std::string Value(const std::string& option);
    int IntValue(const std::string& option, int min, int max);

private:
    std::vector<std::string> args_;
    size_t next_ = 0;
};

bool IsOption(const std::string& word);

// An output file written under a temporary name beside its final one and renamed into place by
// Commit(); if the job fails first the temporary file goes again, so no partial output remains.
class OutputFile {
public:
    explicit OutputFile(const std::string& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    const std::string& TempPath() const { return temp_; }
    const std::string& Path() const { return path_; }
    void Commit();

private:
    std::string path_, temp_;
    bool committed_ = false;
};

// A progress bar drawn on stdout when it is a terminal, once the work has taken a second (short
// work stays silent); silent otherwise, and under -q, which sends stdout elsewhere. Asked for
// (--progress), it is drawn wherever stdout goes, from the start.
class ProgressBar {
public:
    // Set once, before any work: draw the bars whether or not stdout is a terminal.
    static void DrawAlways();

    explicit ProgressBar(const std::string& title);
    ~ProgressBar() { Finish(); }
    // Shows `done` of `total`; redraws at most a few times a second.
    void Show(int64_t done, int64_t total);
    // Shows elapsed time for work whose length is unknown.
    void Tick();
    void Finish();

private:
    static constexpr double kQuietSeconds = 1.0;
    std::string title_;
    double quietSeconds_;
    bool active_;
    bool drawn_ = false;
    std::chrono::steady_clock::time_point start_, last_;
};

// Seconds since `start`, for reports.
double SecondsSince(std::chrono::steady_clock::time_point start);

// Reads a whole file; a Failure names the file when it cannot be read.
std::vector<uint8_t> ReadFileBytes(const std::string& path);

// Writes a whole file; a Failure names the file when it cannot be written.
void WriteFileBytes(const std::string& path, const std::vector<uint8_t>& bytes);

// The file name without its folders.
std::string BaseName(const std::string& path);

}  // namespace host
