// tintara calibrate: tone curves or gray balance from measured step wedges, written as a CGATS
// curve file, as a device link that 'tintara apply' puts in front of a job, and as an ICC
// device-link profile for any colour management system.
#include <cstdio>
#include <ctime>
#include <sstream>

#include "CalibrationData.h"
#include "Commands.h"
#include "LinkBake.h"
#include "color/TKColors.h"
#include "icc/TKICCLinkProfileWriter.h"
#include "io/TKFileSpec.h"

namespace host {

namespace {

const char* const kUsage =
    "usage: tintara calibrate [options] MEASURED.txt\n"
    "Calculates calibration curves from a CGATS file of step wedges (device values with their\n"
    "measurements: the paper, each ink from 0 to 100 % and, for gray balance, C = M = Y from 0\n"
    "to 100 %). Without --reference or --gray the curves make every ink linear in delta E from\n"
    "the paper. The curves go to a CGATS file (-o) and to a device link (-k) for\n"
    "'tintara apply -l LINK.lnk'.\n\noptions:\n"
    "  -r, --reference FILE  match the process to the one measured in FILE\n"
    "  -G, --gray            gray balance (G7 gray) from the wedges instead of tone curves\n"
    "  -a, --adjust FILE     refine the gray balance from FILE, printed through the curves so\n"
    "                        far (may be given more than once)\n"
    "  -L, --limits LIST     ink limits in percent, one per channel, separated by commas\n"
    "  -s, --slope MIN,MAX   limit the slope of every curve (1 is the slope of no change)\n"
    "  -o, --output FILE     the CGATS curve file to write\n"
    "  -n, --steps N         rows of the curve file, 2 to 4096 (default 256)\n"
    "  -k, --link FILE       the curves as a 16-bit device link\n"
    "  -p, --profile FILE    the curves as an ICC device-link profile (curves of 4096 entries)\n"
    "  -g, --grid BITS       2^BITS + 1 grid points per axis of the link, 1-6\n";

std::vector<double> ParseNumbers(const std::string& text, const std::string& option) {
    std::vector<double> numbers;
    std::stringstream in(text);
    std::string item;
    while (std::getline(in, item, ',')) {
        char* end = nullptr;
        const double value = std::strtod(item.c_str(), &end);
        if (item.empty() || *end != '\0') throw UsageError(option + " wants numbers separated by commas");
        numbers.push_back(value);
    }
    return numbers;
}

struct Options {
    std::string measured, reference, output, link, profile;
    std::vector<std::string> adjust;
    std::vector<double> limits, slope;
    bool gray = false;
    int32_t steps = 256, gridBits = 0;
};

Options ParseOptions(Args& args) {
    Options o;
    while (!args.Done()) {
        const std::string word = args.Take();
        if (word == "-r" || word == "--reference") o.reference = args.Value(word);
        else if (word == "-G" || word == "--gray") o.gray = true;
        else if (word == "-a" || word == "--adjust") o.adjust.push_back(args.Value(word));
        else if (word == "-L" || word == "--limits") o.limits = ParseNumbers(args.Value(word), word);
        else if (word == "-s" || word == "--slope") o.slope = ParseNumbers(args.Value(word), word);
        else if (word == "-o" || word == "--output") o.output = args.Value(word);
        else if (word == "-n" || word == "--steps") o.steps = args.IntValue(word, 2, 4096);
        else if (word == "-k" || word == "--link") o.link = args.Value(word);
        else if (word == "-p" || word == "--profile") o.profile = args.Value(word);
        else if (word == "-g" || word == "--grid") o.gridBits = args.IntValue(word, 1, 6);
        else if (!IsOption(word) && o.measured.empty()) o.measured = word;
        else throw UsageError("unexpected argument " + word);
    }
    if (o.measured.empty()) throw UsageError("no measurement file given");
    if (!o.slope.empty() && o.slope.size() != 2) throw UsageError("--slope wants MIN,MAX");
    if (o.gray && !o.reference.empty()) throw UsageError("--gray and --reference exclude each other");
    return o;
}

// The curves of every channel at `steps` equal inputs: each row is one input for all channels.
std::vector<std::vector<double>> SampleCurves(TKLinearizationRef lin, int32_t channels, int32_t steps) {
    std::vector<std::vector<double>> rows;
    std::vector<double> in(static_cast<size_t>(channels)), out(static_cast<size_t>(channels));
    for (int32_t i = 0; i < steps; ++i) {
        const double v = 100.0 * i / (steps - 1);
        std::fill(in.begin(), in.end(), v);
        Check(TKDoTrafo(lin, in.data(), out.data()), "applying the curves");
        std::vector<double> row{v};
        row.insert(row.end(), out.begin(), out.end());
        rows.push_back(row);
    }
    return rows;
}

// The CGATS curve file: INPUT in percent, then the output of each channel's curve.
void WriteCurves(const std::string& path, const std::string& source, uint32_t type,
                 const std::vector<std::vector<double>>& rows) {
    const std::string typeName = SignatureText(type);
    OutputFile file(path);
    FILE* out = std::fopen(file.TempPath().c_str(), "w");
    if (!out) throw Failure("cannot write " + path);
    const int32_t channels = int32_t(rows.front().size()) - 1;
    const std::time_t now = std::time(nullptr);
    char created[32];
    std::strftime(created, sizeof created, "%Y-%m-%dT%H:%M:%S", std::gmtime(&now));
    std::fprintf(out, "CGATS.17\nORIGINATOR \"tintara calibrate\"\nDESCRIPTOR \"Calibration curves from %s\"\n"
                 "CREATED \"%s\"\nKEYWORD \"INPUT\"\nNUMBER_OF_FIELDS %d\nBEGIN_DATA_FORMAT\nSAMPLE_ID INPUT",
                 source.c_str(), created, channels + 2);
    static const char kLetters[] = "CMYK";
    for (int32_t c = 0; c < channels; ++c) {
        if (typeName == "CMYK" || typeName == "CMY") std::fprintf(out, " %s_%c", typeName.c_str(), kLetters[c]);
        else std::fprintf(out, " %s_%d", typeName.c_str(), c + 1);
    }
    std::fprintf(out, "\nEND_DATA_FORMAT\nNUMBER_OF_SETS %zu\nBEGIN_DATA\n", rows.size());
    for (size_t i = 0; i < rows.size(); ++i) {
        std::fprintf(out, "%zu", i + 1);
        for (double v : rows[i]) std::fprintf(out, " %.4f", v);
        std::fputc('\n', out);
    }
    std::fputs("END_DATA\n", out);
    if (std::fclose(out) != 0) throw Failure("cannot write " + path);
    file.Commit();
}

// The ICC device link of the curves: each channel sampled at 4096 equal steps of its range.
void WriteCurveProfile(const std::string& path, const std::string& source, TKLinearizationRef lin, uint32_t type) {
    constexpr int32_t kEntries = 4096;
    const int32_t channels = GetChannelCount(type);
    const size_t n = static_cast<size_t>(channels);
    std::vector<TKVector> curves(n, TKVector(kEntries));
    std::vector<double> in(n), out(n);
    for (int32_t i = 0; i < kEntries; ++i) {
        for (int32_t c = 0; c < channels; ++c) in[size_t(c)] = GetChannelMax(type, c) * i / (kEntries - 1);
        Check(TKDoTrafo(lin, in.data(), out.data()), "applying the curves");
        for (int32_t c = 0; c < channels; ++c) curves[size_t(c)][i] = out[size_t(c)] / GetChannelMax(type, c);
    }
    OutputFile file(path);
    try {
        const TKString description(("Calibration curves from " + source).c_str());
        TKMakeCurveLinkProfile(type, curves, description)->WriteFile(TKFileSpec(TKString(file.TempPath().c_str())));
    } catch (const TKError& error) {
        throw Failure("cannot write " + path + ": " + error.message());
    }
    file.Commit();
}

class Linearization {
public:
    Linearization() : ref_(TKNewTKLinearizationRef()) {
        if (!ref_) throw Failure("the library could not create a linearization");
    }
    ~Linearization() { TKFreeTKLinearizationRef(ref_); }
    Linearization(const Linearization&) = delete;
    Linearization& operator=(const Linearization&) = delete;
    TKLinearizationRef get() const { return ref_; }

private:
    TKLinearizationRef ref_;
};

}  // namespace

int RunCalibrate(Args& args) {
    if (WantsHelp(args, kUsage)) return 0;
    const Options o = ParseOptions(args);
    const CalibrationData data = ReadCalibrationData(o.measured);
    const int32_t channels = data.device.width;
    if (!o.limits.empty() && int32_t(o.limits.size()) != channels)
        throw UsageError("--limits wants one value per channel (" + std::to_string(channels) + ")");

    Linearization lin;
    TKVectorDataSet device = data.DeviceSet(), measured = data.MeasuredSet();
    const std::string what = "calculating from " + o.measured;
    if (o.gray) {
        Check(TKCalcGrayBalance(lin.get(), data.Rows(), &device, &measured), what);
    } else if (!o.reference.empty()) {
        const CalibrationData reference = ReadCalibrationData(o.reference);
        TKVectorDataSet refDevice = reference.DeviceSet(), refMeasured = reference.MeasuredSet();
        Check(TKCalcReferenceLinearization(lin.get(), data.Rows(), &device, &measured, reference.Rows(), &refDevice,
                                           &refMeasured),
              what + " towards " + o.reference);
    } else {
        Check(TKCalcLinearization(lin.get(), data.Rows(), &device, &measured, o.limits.empty() ? nullptr : o.limits.data()),
              what);
    }
    for (const std::string& path : o.adjust) {
        const CalibrationData printed = ReadCalibrationData(path);
        TKVectorDataSet d = printed.DeviceSet(), m = printed.MeasuredSet();
        Check(TKAdjustGrayBalance(lin.get(), printed.Rows(), &d, &m), "adjusting the gray balance from " + path);
    }
    if (!o.slope.empty()) Check(TKLimitSlope(lin.get(), o.slope[0], o.slope[1]), "limiting the slopes");

    const std::vector<std::vector<double>> rows = SampleCurves(lin.get(), channels, o.steps);
    if (!o.output.empty()) WriteCurves(o.output, o.measured, data.device.type, rows);
    if (!o.link.empty()) {
        double seconds = 0;
        Ref link = BakeLink(lin.get(), o.gridBits, seconds);
        OutputFile file(o.link);
        FileSpec spec(file.TempPath());
        Check(TKSaveLink16(link.get(), spec.get()), "writing link " + o.link);
        file.Commit();
    }
    if (!o.profile.empty()) WriteCurveProfile(o.profile, o.measured, lin.get(), data.device.type);
    // A short summary: each channel's curve at a quarter, half and three quarters.
    const std::vector<std::vector<double>> quarters = SampleCurves(lin.get(), channels, 5);
    std::printf("%s curves from %d rows of %s:\n", SignatureText(data.device.type).c_str(), data.Rows(),
                o.measured.c_str());
    for (int32_t c = 0; c < channels; ++c)
        std::printf("  channel %d: 25 -> %.2f, 50 -> %.2f, 75 -> %.2f\n", c + 1, quarters[1][size_t(c) + 1],
                    quarters[2][size_t(c) + 1], quarters[3][size_t(c) + 1]);
    if (!o.output.empty()) std::printf("curves written to %s\n", o.output.c_str());
    if (!o.link.empty()) std::printf("device link written to %s\n", o.link.c_str());
    if (!o.profile.empty()) std::printf("ICC device-link profile written to %s\n", o.profile.c_str());
    return 0;
}

}  // namespace host
