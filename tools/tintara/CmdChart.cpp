// tintara chart: measurement files, CGATS text or CxF3 XML. `info` shows what a file holds,
// `convert` writes it again, in either format, with measured values converted to another colour
// type, chosen columns, repeated patches averaged, or in the CSC form. Charts have no function in the C interface, so this command uses
// the engine's charts layer directly.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "charts/TKCSCFormat.h"
#include "charts/TKColorChart.h"
#include "charts/TKCxFSpotInk.h"
#include "charts/TKCxFWriter.h"
#include "charts/TKIT8Writer.h"
#include "color/TKColors.h"
#include "foundation/TKError.h"

namespace host {

namespace {

const char* const kUsage =
    "usage: tintara chart info FILE\n"
    "       tintara chart convert IN OUT [--to TYPE] [--add TYPE] [--keep LIST] [--merge]\n"
    "                                    [--cgats | --cxf | --csc]\n"
    "info shows the kind of file, its keywords, fields, sample count and colour types, the\n"
    "tables that follow the first, and the tints and opacity of a spot ink.\n"
    "convert reads a CGATS file (.ti1 .ti2 .ti3 .txt .cie and the like) or a CxF3 file (told by\n"
    "the content) and writes CxF3 when OUT ends in .cxf, CGATS otherwise:\n"
    "  --to TYPE    measured values converted to TYPE (Lab, XYZ, LCh, Luv, Yxy, ...), which then\n"
    "               replaces the other measured types\n"
    "  --add TYPE   the same, keeping the measured types the file has\n"
    "  --keep LIST  only these columns, comma-separated: colour types (CMYK, Lab, XYZ, refl, ...)\n"
    "               and field names (SAMPLE_ID, SAMPLE_NAME, SAMPLE_LOC, other columns)\n"
    "  --merge      patches with equal device values become one, with their mean measurement\n"
    "  --cgats      write CGATS whatever the name of OUT\n"
    "  --cxf        write CxF3 (ISO 17972, with the spot ink characterisation of a spot chart)\n"
    "  --csc        write the CSC text (device values, then Lab) instead of CGATS\n";

std::string Text(const TKString& text) { return std::string(text.CString(), size_t(text.Length())); }

// A colour type from its shown name or signature text ("Lab", "lab", "CMYK", "refl").
uint32_t TypeFrom(const std::string& name) {
    uint32_t type = GetTypeFromName(name.c_str());
    if (!type) {
        const uint32_t signature = SignatureFrom(name);
        if (IsKnownSpace(signature)) type = signature;
    }
    if (!type) {
        std::string upper = name;
        for (char& c : upper) c = char(std::toupper(static_cast<unsigned char>(c)));
        for (uint32_t candidate : {uint32_t(TKLabSpace), uint32_t(TKXYZSpace), uint32_t(TKLChSpace),
                                   uint32_t(TKLuvSpace), uint32_t(TKYxySpace), uint32_t(TKRGBSpace)})
            if (Text(GetTypeName(candidate)) == upper || SignatureText(candidate) == upper) type = candidate;
    }
    if (!type) throw UsageError("unknown colour type '" + name + "'");
    return type;
}

TKRefPtr<TKColorChart> Load(const std::string& path) {
    auto chart = TKMakeRef<TKColorChart>();
    try {
        chart->Read(TKFileSpec(path.c_str()));
    } catch (const TKError& error) {
        throw Failure(path + ": " + TKError::TextOf(error.code()) + " (" + std::to_string(error.code()) + "): " + error.message());
    }
    return chart;
}

void PrintKeywords(const TKDataBase& base, const std::string& prefix) {
    for (int32_t i = 0; i < base.Count(); ++i) {
        const TKRefPtr<TKDataBase> sub = base.SubBaseAt(i);
        if (sub)
            PrintKeywords(*sub, prefix + Text(base.Key(i)) + "/");
        else
            std::printf("  %s%s = %s\n", prefix.c_str(), base.Key(i).CString(), base.Value(i).CString());
    }
}

// The tints of a spot ink per background, and its opacity where both backgrounds are measured.
void PrintSpotInk(const TKColorChart& chart) {
    if (!TKSpotInkChart(chart)) return;
    std::vector<std::string> backgrounds;
    for (int32_t i = 0; i < chart.Count(); ++i) {
        TKString background;
        double tint = 0;
        if (TKSpotInkSample(chart, i, background, tint) &&
            std::find(backgrounds.begin(), backgrounds.end(), Text(background)) == backgrounds.end())
            backgrounds.push_back(Text(background));
    }
    std::printf("spot ink: %s\n", Text(chart.Keyword("SpotInkName")).c_str());
    for (const std::string& background : backgrounds) {
        std::printf("  on %s:", background.c_str());
        for (int32_t i : TKSpotInkTints(chart, background.c_str())) {
            TKString on;
            double tint = 0;
            TKSpotInkSample(chart, i, on, tint);
            std::printf(" %g", tint);
        }
        std::printf(" %%\n");
    }
    try {
        const std::vector<TKSpotInkOpacity> opacities = TKSpotInkOpacities(chart);
        std::printf("  opacity:");
        for (const TKSpotInkOpacity& o : opacities) std::printf(" %g%%=%.1f", o.tint, o.opacity);
        std::printf("\n");
    } catch (const TKError&) {
        // Without the bare substrate and black, or without measurements, there is no opacity.
    }
}

void PrintTable(const TKColorChart& chart, int table) {
    std::printf("table %d: %s, %d samples\n", table, Text(chart.Keyword("STANDARD")).c_str(), chart.Count());
    std::printf("keywords:\n");
    PrintKeywords(chart.Header(), "");
    const std::vector<TKChartField> fields = chart.WritableFields();
    std::printf("fields (%zu):", fields.size());
    for (const TKChartField& field : fields) std::printf(" %s", field.name.CString());
    std::printf("\ncolour types:");
    for (uint32_t type : chart.ColorTypes())
        std::printf(" %s (%s, %d channels)", GetTypeName(type).CString(), IsDeviceSpace(type) ? "device" : "measured",
                    GetChannelCount(type));
    if (chart.ColorTypes().empty()) std::printf(" none");
    std::printf("\n");
    PrintSpotInk(chart);
}

// Whether a file is XML (a CxF3 document) rather than CGATS text.
bool IsXML(const std::string& path) {
    FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return false;
    int c = 0;
    while ((c = std::fgetc(file)) == ' ' || c == '\t' || c == '\r' || c == '\n' || c == 0xEF || c == 0xBB || c == 0xBF) {
    }
    std::fclose(file);
    return c == '<';
}

bool EndsWith(const std::string& text, const std::string& tail) {
    if (text.size() < tail.size()) return false;
    std::string end = text.substr(text.size() - tail.size());
    for (char& c : end) c = char(std::tolower(static_cast<unsigned char>(c)));
    return end == tail;
}

int Info(Args& args) {
    if (args.Done()) throw UsageError("chart info needs a file");
    const std::string path = args.Take();
    if (!args.Done()) throw UsageError("unexpected '" + args.Peek() + "'");
    const TKRefPtr<TKColorChart> chart = Load(path);
    std::printf("%s (%s)\n", path.c_str(), IsXML(path) ? "CxF3" : "CGATS");
    PrintTable(*chart, 1);
    for (int32_t t = 0; t < chart->TableCount(); ++t) PrintTable(chart->Table(t), t + 2);
    return 0;
}

// Keeps the listed colour types and text columns of a chart.
TKRefPtr<TKColorChart> Keep(const TKColorChart& chart, const std::string& list) {
    std::vector<std::string> items;
    for (size_t start = 0; start <= list.size();) {
        const size_t comma = std::min(list.find(',', start), list.size());
        if (comma > start) items.push_back(list.substr(start, comma - start));
        start = comma + 1;
    }
    auto kept = TKMakeRef<TKColorChart>(chart);
    auto listed = [&items](const std::string& name) { return std::find(items.begin(), items.end(), name) != items.end(); };
    std::vector<std::string> unknown = items;
    auto known = [&unknown](const std::string& name) { unknown.erase(std::remove(unknown.begin(), unknown.end(), name), unknown.end()); };
    for (uint32_t type : chart.ColorTypes()) {
        bool keep = false;
        for (const std::string& item : items) {
            if (GetTypeFromName(item.c_str()) == type || SignatureFrom(item) == type || Text(GetTypeName(type)) == item) {
                keep = true;
                known(item);
            }
        }
        if (!keep) kept->RemoveMatrix(type);
    }
    if (listed("SAMPLE_ID")) known("SAMPLE_ID"); else kept->SetIDs({});
    if (listed("SAMPLE_NAME")) known("SAMPLE_NAME"); else kept->SetNames({});
    if (listed("SAMPLE_LOC")) known("SAMPLE_LOC"); else kept->SetLocations({});
    std::vector<TKString> names, values;
    std::vector<int32_t> columns;
    for (int32_t e = 0; e < chart.ExtraCount(); ++e) {
        if (!listed(Text(chart.ExtraName(e)))) continue;
        known(Text(chart.ExtraName(e)));
        names.push_back(chart.ExtraName(e));
        columns.push_back(e);
    }
    for (int32_t r = 0; r < chart.Count(); ++r)
        for (int32_t e : columns) values.push_back(chart.ExtraValue(r, e));
    kept->SetExtras(std::move(names), std::move(values));
    if (!unknown.empty()) throw UsageError("the chart has no colour type or column '" + unknown.front() + "'");
    if (kept->ColorTypes().empty()) throw UsageError("--keep leaves no colour type");
    return kept;
}

int Convert(Args& args) {
    std::vector<std::string> words;
    std::string to, add, keep;
    bool merge = false, csc = false, cxf = false, cgats = false;
    while (!args.Done()) {
        const std::string word = args.Take();
        if (word == "--to") to = args.Value(word);
        else if (word == "--add") add = args.Value(word);
        else if (word == "--keep") keep = args.Value(word);
        else if (word == "--merge") merge = true;
        else if (word == "--csc") csc = true;
        else if (word == "--cxf") cxf = true;
        else if (word == "--cgats") cgats = true;
        else if (IsOption(word)) throw UsageError("unknown option '" + word + "'");
        else words.push_back(word);
    }
    if (words.size() != 2) throw UsageError("chart convert needs an input and an output file");
    if (!to.empty() && !add.empty()) throw UsageError("--to and --add exclude each other");
    if (int(csc) + int(cxf) + int(cgats) > 1) throw UsageError("--cgats, --cxf and --csc exclude each other");
    if (!csc && !cgats && (EndsWith(words[1], ".cxf") || EndsWith(words[1], ".cxf3"))) cxf = true;
    TKRefPtr<TKColorChart> chart = Load(words[0]);
    try {
        if (merge) chart = chart->MergeDuplicates();
        const std::string target = to.empty() ? add : to;
        if (!target.empty()) {
            const uint32_t type = TypeFrom(target);
            chart->ConvertMeasured(type);
            if (!to.empty())
                for (uint32_t other : chart->Container(1).ColorTypes())
                    if (other != type) chart->RemoveMatrix(other);
        }
        if (!keep.empty()) chart = Keep(*chart, keep);
        OutputFile output(words[1]);
        if (csc) {
            const uint32_t measured = chart->HasType(TKLabSpace) ? uint32_t(TKLabSpace) : chart->MeasuredType();
            if (!measured) throw Failure(words[0] + ": the CSC text needs measured values");
            CSCFormatMatrixWriter(chart->Matrix(chart->DeviceType()), chart->Matrix(measured))
                .WriteFile(TKFileSpec(output.TempPath().c_str()));
        } else if (cxf) {
            TKCxFWriter(*chart).WriteFile(TKFileSpec(output.TempPath().c_str()));
        } else {
            IT8FormatChartWriter(*chart).WriteFile(TKFileSpec(output.TempPath().c_str()));
        }
        output.Commit();
        std::printf("%s: %s, %d samples, %zu fields\n", words[1].c_str(), csc ? "CSC" : cxf ? "CxF3" : "CGATS", chart->Count(),
                    chart->WritableFields().size());
    } catch (const TKError& error) {
        throw Failure(words[0] + ": " + TKError::TextOf(error.code()) + " (" + std::to_string(error.code()) + "): " + error.message());
    }
    return 0;
}

}  // namespace

int RunChart(Args& args) {
    if (WantsHelp(args, kUsage)) return 0;
    if (args.Done()) throw UsageError("chart needs 'info' or 'convert'");
    const std::string what = args.Take();
    if (what == "info") return Info(args);
    if (what == "convert") return Convert(args);
    throw UsageError("unknown chart command '" + what + "'");
}

}  // namespace host
