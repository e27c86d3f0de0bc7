// chartcheck: reads measurement files with the engine's chart reader, writes them, reads the
// written text again and compares the two charts; with Little CMS 2 at hand it also compares
// every value and text of every table with what cmsIT8LoadFromFile reads from the same file.
//
//   tintara_chartcheck FILE...      one line per file, a summary at the end; exit 1 on any failure
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include "charts/TKColorChart.h"
#include "charts/TKIT8Writer.h"
#include "foundation/TKError.h"

#if TINTARA_HAVE_LCMS2
#include <lcms2.h>
#endif

namespace {

struct Totals {
    int files = 0, failed = 0, tables = 0, peerRejected = 0;
    long samples = 0, peerValues = 0, peerTexts = 0;
    double peerMaxDifference = 0;
};

#if TINTARA_HAVE_LCMS2
// Compares one table with the peer's table of the same index. Returns an empty text when equal.
std::string ComparePeerTable(cmsHANDLE it8, const TKColorChart& table, Totals& totals) {
    const int rows = int(cmsIT8GetPropertyDbl(it8, "NUMBER_OF_SETS"));
    char** names = nullptr;
    const int fields = cmsIT8EnumDataFormat(it8, &names);
    const std::vector<TKChartField> ourFields = table.WritableFields();
    if (fields != int(ourFields.size()))
        return "peer has " + std::to_string(fields) + " fields, we have " + std::to_string(ourFields.size());
    if (rows != table.Count() && cmsIT8GetProperty(it8, "NUMBER_OF_SETS"))
        return "peer has " + std::to_string(rows) + " sets, we have " + std::to_string(table.Count());
    for (int f = 0; f < fields; ++f) {
        const TKChartField& field = ourFields[size_t(f)];
        if (field.name != names[f]) return std::string("field ") + std::to_string(f) + ": peer " + names[f];
        for (int r = 0; r < table.Count(); ++r) {
            const char* peer = cmsIT8GetDataRowCol(it8, r, f);
            if (!peer) return "peer has no value at row " + std::to_string(r) + " field " + names[f];
            if (field.kind == kChartFieldColor) {
                const double ours = table.Matrix(field.type)(r, field.channel);
                const double theirs = cmsIT8GetDataRowColDbl(it8, r, f);
                const double difference = std::fabs(ours - theirs);
                if (difference > 1e-9 * std::max(1.0, std::fabs(ours)))
                    return "row " + std::to_string(r) + " " + names[f] + ": " + std::to_string(ours) + " vs peer " + peer;
                totals.peerMaxDifference = std::max(totals.peerMaxDifference, difference);
                ++totals.peerValues;
                continue;
            }
            const TKString ours = field.kind == kChartFieldID     ? table.ID(r)
                                  : field.kind == kChartFieldName ? table.Name(r)
                                  : field.kind == kChartFieldLocation ? table.Location(r)
                                                                      : table.ExtraValue(r, field.channel);
            // The peer gives numbers of unread columns back in its own format.
            char* end = nullptr;
            const double number = std::strtod(ours.CString(), &end);
            if (field.kind == kChartFieldExtra && !ours.IsEmpty() && !*end &&
                std::fabs(number - cmsIT8GetDataRowColDbl(it8, r, f)) <= 1e-9 * std::max(1.0, std::fabs(number))) {
                ++totals.peerValues;
                continue;
            }
            if (ours != peer) return "row " + std::to_string(r) + " " + names[f] + ": \"" + ours.CString() + "\" vs peer \"" + peer + "\"";
            ++totals.peerTexts;
        }
    }
    return {};
}

std::string gPeerMessage;

std::string ComparePeer(const char* path, const TKColorChart& chart, Totals& totals) {
    gPeerMessage.clear();
    cmsHANDLE it8 = cmsIT8LoadFromFile(nullptr, path);
    if (!it8) {
        ++totals.peerRejected;
        return "the peer rejects the file (" + gPeerMessage + ")";
    }
    std::string result;
    const int tables = int(cmsIT8TableCount(it8));
    if (tables != chart.TableCount() + 1)
        result = "peer has " + std::to_string(tables) + " tables, we have " + std::to_string(chart.TableCount() + 1);
    for (int t = 0; t < tables && result.empty(); ++t) {
        cmsIT8SetTable(it8, t);
        result = ComparePeerTable(it8, t == 0 ? chart : chart.Table(t - 1), totals);
        if (!result.empty()) result = "table " + std::to_string(t + 1) + ": " + result;
    }
    cmsIT8Free(it8);
    return result;
}
#endif

void Check(const char* path, Totals& totals) {
    ++totals.files;
    std::string problem, peer = "no peer";
    int samples = 0, tables = 0;
    try {
        TKColorChart chart;
        chart.Read(TKFileSpec(path));
        IT8FormatChartWriter writer(chart);
        const TKString written = writer.WriteString();
        TKColorChart again;
        again.ReadText(written, "written text");
        TKString difference;
        if (!chart.SameContent(again, &difference)) problem = std::string("round trip: ") + difference.CString();
        samples = chart.Count();
        tables = chart.TableCount() + 1;
        for (int t = 0; t < chart.TableCount(); ++t) samples += chart.Table(t).Count();
#if TINTARA_HAVE_LCMS2
        peer = ComparePeer(path, chart, totals);
        if (peer.empty()) peer = "peer agrees";
        // The peer must also read what we write, to the same values.
        const std::string temp = "/tmp/tintara_chartcheck_" + std::to_string(getpid()) + ".txt";
        IT8FormatChartWriter(chart).WriteFile(TKFileSpec(temp.c_str()));
        const std::string ours = ComparePeer(temp.c_str(), chart, totals);
        std::remove(temp.c_str());
        peer += ours.empty() ? ", reads our file alike" : "; on our file: " + ours;
        if (!ours.empty()) problem = "peer on our file: " + ours;
#endif
    } catch (const TKError& error) {
        problem = std::string("error ") + std::to_string(error.code()) + ": " + error.message();
    }
    const bool ok = problem.empty() && (peer.rfind("peer agrees", 0) == 0 || peer == "no peer" || peer.rfind("the peer rejects", 0) == 0);
    if (!ok) ++totals.failed;
    totals.samples += samples;
    totals.tables += tables;
    std::printf("%s %s: %d tables, %d samples; %s; %s\n", ok ? "OK  " : "FAIL", path, tables, samples,
                problem.empty() ? "round trip equal" : problem.c_str(), peer.c_str());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: tintara_chartcheck FILE...\n");
        return 2;
    }
#if TINTARA_HAVE_LCMS2
    cmsSetLogErrorHandler([](cmsContext, cmsUInt32Number, const char* text) {
        gPeerMessage = text;
        while (!gPeerMessage.empty() && gPeerMessage.back() == '\n') gPeerMessage.pop_back();
    });
#endif
    Totals totals;
    for (int i = 1; i < argc; ++i) Check(argv[i], totals);
    std::printf("%d files, %d tables, %ld samples read, written and read back; %d failed", totals.files, totals.tables,
                totals.samples, totals.failed);
#if TINTARA_HAVE_LCMS2
    std::printf("; %ld values and %ld texts compared with Little CMS 2, largest difference %g; %d files the peer rejects",
                totals.peerValues, totals.peerTexts, totals.peerMaxDifference, totals.peerRejected);
#endif
    std::printf("\n");
    return totals.failed ? 1 : 0;
}
