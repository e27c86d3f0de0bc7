// tintara chart: measurement files. `info` shows what a file holds, `convert` writes it again,
// with measured values converted to another colour type, chosen columns, repeated patches
// averaged, or in the CSC form. Charts have no function in the C interface, so this command uses
// the engine's charts layer directly.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "charts/TKCSCFormat.h"
#include "charts/TKColorChart.h"
#include "charts/TKIT8Writer.h"
#include "color/TKColors.h"
#include "foundation/TKError.h"

namespace host {

namespace {

const char* const kUsage =
    "usage: tintara chart info FILE\n"
    "       tintara chart convert IN OUT [--to TYPE] [--add TYPE] [--keep LIST] [--merge] [--csc]\n"
    "info shows the kind of file, its keywords, fields, sample count and colour types, and the\n"
    "tables that follow the first.\n"
    "convert reads a CGATS file (.ti1 .ti2 .ti3 .txt .cie and the like) and writes it as CGATS:\n"
    "  --to TYPE    measured values converted to TYPE (Lab, XYZ, LCh, Luv, Yxy, ...), which then\n"
    "               replaces the other measured types\n"
    "  --add TYPE   the same, keeping the measured types the file has\n"
    "  --keep LIST  only these columns, comma-separated: colour types (CMYK, Lab, XYZ, refl, ...)\n"
    "               and field names (SAMPLE_ID, SAMPLE_NAME, SAMPLE_LOC, other columns)\n"
    "  --merge      patches with equal device values become one, with their mean measurement\n"
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
}

int Info(Args& args) {
    if (args.Done()) throw UsageError("chart info needs a file");
    const std::string path = args.Take();
    if (!args.Done()) throw UsageError("unexpected '" + args.Peek() + "'");
    const TKRefPtr<TKColorChart> chart = Load(path);
    std::printf("%s\n", path.c_str());
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
    bool merge = false, csc = false;
    while (!args.Done()) {
        const std::string word = args.Take();
        if (word == "--to") to = args.Value(word);
        else if (word == "--add") add = args.Value(word);
        else if (word == "--keep") keep = args.Value(word);
        else if (word == "--merge") merge = true;
        else if (word == "--csc") csc = true;
        else if (IsOption(word)) throw UsageError("unknown option '" + word + "'");
        else words.push_back(word);
    }
    if (words.size() != 2) throw UsageError("chart convert needs an input and an output file");
    if (!to.empty() && !add.empty()) throw UsageError("--to and --add exclude each other");
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
        } else {
            IT8FormatChartWriter(*chart).WriteFile(TKFileSpec(output.TempPath().c_str()));
        }
        output.Commit();
        std::printf("%s: %d samples, %zu fields\n", words[1].c_str(), chart->Count(), chart->WritableFields().size());
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
