// The part of reading a CxF3 document that turns its objects, their values and texts, the file
// information's tags and the spot ink characterisation into a chart.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "charts/TKColorChart.h"
#include "charts/TKCxFBase.h"
#include "charts/TKCxFSpotInk.h"
#include "charts/TKCxFValues.h"

class TKCxFObjectReader {
public:
    TKCxFObjectReader(const TKCxFBase& specs, const TKCxFElement& root)
        : fSpecs(specs), fRoot(root), fResources(root.Child("Resources")) {}
    // The whole chart, or false with `problem` set.
    bool Read(TKColorChart& chart, TKString& problem);
    // References that did not resolve, as lines for the log.
    const std::vector<TKString>& Warnings() const { return fWarnings; }
    // The specification of the first measured value, -1 when there is none.
    int32_t CurrentSpec() const { return fCurrentSpec; }
    // Whether the file carries the chart's whole header and field list (as this system writes).
    bool Complete() const { return fComplete; }
    // ".CxF/Objects/n/..." with each object's GUID and type, ".CxF/SpotInk/SAMPLE_ID/n/" with the
    // background and tint level of each spot sample.
    void AddDerivedGroups(TKDataBase& root) const;

    // The chart's own tags in the file information: "TKChartHeader" says the tags are the whole
    // header (and whether the chart has sample ids), "TKFIELD" is one field ("kind type channel
    // name").
    static constexpr const char* kCompleteTag = "TKChartHeader";
    static constexpr const char* kWithIDs = "sample ids";  // its value when the chart has sample ids
    static constexpr const char* kFieldTag = "TKFIELD";
    // Further tables of a chart: their objects carry the tag "TKTable" with the table's number
    // from 1, their tags in the file information start with "TKTable<number>:".
    static constexpr const char* kTableTag = "TKTable";
    static constexpr int32_t kMaxTables = 1000;

private:
    struct Sample {
        TKCxFElement element;
        size_t table = 0;
        TKString id, name, guid, objectType, created, measured;
        bool hasName = false;
        std::vector<std::pair<TKString, TKString>> tags;
        const TKCxFSpotMeasurement* spot = nullptr;
    };

    // A table of the chart: its samples, fields and keywords.
    struct Table {
        TKColorChart* chart = nullptr;
        TKRefPtr<TKColorChart> further;  // holds the chart of tables after the first
        std::vector<size_t> samples;
        std::vector<TKChartField> fields;
        bool withIDs = true;
    };

    bool ReadHeader(TKString& problem);
    bool ReadSamples(TKString& problem);
    bool ResolveSpotInk(TKString& problem);
    bool BuildTable(Table& table, TKString& problem);
    bool ReadValues(size_t index, size_t position, TKString& problem);
    bool AddValue(size_t index, size_t position, const TKCxFElement& element, const TKString& name, TKString& problem);
    void BuildTexts(const Table& table) const;
    void BuildSpotData(const Table& table, std::vector<TKString>& names, std::vector<std::vector<TKString>>& columns) const;
    static bool Listed(const Table& table, const char* extra);

    const TKCxFBase& fSpecs;
    TKCxFElement fRoot, fResources;
    std::vector<TKString> fWarnings;
    int32_t fCurrentSpec = -1;
    bool fComplete = false;
    std::vector<Table> fTables;
    std::vector<Sample> fSamples;
    std::unordered_map<std::string, int32_t> fByID, fByName, fByGUID;
    std::unordered_map<std::string, int32_t> fSpecIndex;
    // Colour values of the table being built: the types of its first object, in order, and their rows.
    std::vector<uint32_t> fTypes;
    std::vector<std::vector<double>> fRows;
    std::vector<std::vector<bool>> fSeen;  // per sample of the table, which of fTypes it has given
    // The range of the first spectrum per specification and element: the others must match.
    std::unordered_map<std::string, TKCxFSpectrumRange> fRanges;
    bool fHasSpot = false;
    TKCxFSpotInkData fSpot;
};
