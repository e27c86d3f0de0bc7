// TKColorChart: a measurement file in memory. Samples with device values and measured values
// (one matrix per colour type), sample ids, names and locations, further text columns, the
// keyword data base with the channel information, and the tables that follow the first one in
// a file. Every chart file format reads into and writes from this model.
#pragma once

#include <cstdint>
#include <vector>

#include "charts/TKColorContainer.h"
#include "foundation/TKObject.h"
#include "io/TKDataBase.h"
#include "io/TKFileSpec.h"
#include "numeric/TKMatrix.h"

// One column of a chart as its file named it, so that a written file keeps the fields, their
// names and their order.
enum TKChartFieldKind : int32_t {
    kChartFieldID = 0,        // "SAMPLE_ID"
    kChartFieldName = 1,      // "SAMPLE_NAME"
    kChartFieldLocation = 2,  // "SAMPLE_LOC"
    kChartFieldColor = 3,     // one channel of a colour type
    kChartFieldExtra = 4,     // a text column the chart keeps without reading it
};

struct TKChartField {
    TKString name;
    int32_t kind = kChartFieldExtra;
    uint32_t type = 0;    // kChartFieldColor: the colour type
    int32_t channel = 0;  // kChartFieldColor: the channel; kChartFieldExtra: the extra column
};

class TKColorChart : public TKObject {
    TK_DECLARE_CLASS(TKColorChart, TKObject)
public:
    TKColorChart();
    // Filled from two matrices (either may be empty) of equal height, the header copied from `info`.
    TKColorChart(const TKMatrix& deviceColors, const TKMatrix& cieColors, const TKDataBase* info = nullptr);
    // A deep copy: the copy's tables and header are its own.
    TKColorChart(const TKColorChart& other);
    TKColorChart& operator=(const TKColorChart& other);
    ~TKColorChart() override;

    // Reads a chart file, choosing the format by its content: CGATS text, or XML by its root.
    // On any failure the chart is left as it was.
    void Read(const TKFileSpec& spec);
    // The same from text in memory; `name` stands for the file in messages.
    void ReadText(const TKString& text, const char* name = "");
    TKFileSpec File() const { return fFile; }
    void SetFile(const TKFileSpec& spec) { fFile = spec; }

    // --- Colour data ---------------------------------------------------------------------------
    // Device types first, then measured ones (CIE, spectral, density), each in order of setting.
    std::vector<uint32_t> ColorTypes() const;
    bool HasType(uint32_t type) const;
    // A type that the chart lacks yields an empty matrix.
    TKMatrix Matrix(uint32_t type) const;
    // Adds or replaces the matrix of its type. A chart with samples takes only matrices of as
    // many rows (DimMismatch); the first matrix of an empty chart sets the count.
    void SetMatrix(const TKMatrix& matrix);
    bool RemoveMatrix(uint32_t type);
    // The first device type and the first measured type, 0 when there is none.
    uint32_t DeviceType() const;
    uint32_t MeasuredType() const;
    const TKColorContainer& Container(int32_t index) const;  // 0 device, 1 measured

    // --- Samples ----------------------------------------------------------------------------
    int32_t Count() const { return fCount; }
    // An index outside 0..Count()-1 raises IndexError.
    TKString ID(int32_t index) const;
    TKString Name(int32_t index) const;
    TKString Location(int32_t index) const;
    void SetID(int32_t index, const TKString& id);
    void SetName(int32_t index, const TKString& name);
    void SetLocation(int32_t index, const TKString& location);
    using TKObject::SetName;
    using TKObject::GetName;
    // Whether any sample has the text.
    bool HasIDs() const { return !fIDs.empty(); }
    bool HasNames() const { return !fNames.empty(); }
    bool HasLocations() const { return !fLocations.empty(); }
    // Sets all texts of one kind at once; an empty list removes the column, another length
    // than Count() is DimMismatch.
    void SetIDs(std::vector<TKString> ids);
    void SetNames(std::vector<TKString> names);
    void SetLocations(std::vector<TKString> locations);
    // The first sample with that id or name, or -1.
    int32_t FindID(const char* id) const;
    int32_t FindName(const char* name) const;

    // --- Further text columns and the field list ---------------------------------------------
    int32_t ExtraCount() const { return int32_t(fExtraNames.size()); }
    TKString ExtraName(int32_t column) const;
    TKString ExtraValue(int32_t index, int32_t column) const;
    // Names and the values row by row (Count() x names); another size is DimMismatch.
    void SetExtras(std::vector<TKString> names, std::vector<TKString> values);
    // The columns in the order of the file that was read; empty for a chart made in memory.
    const std::vector<TKChartField>& Fields() const { return fFields; }
    void SetFields(std::vector<TKChartField> fields) { fFields = std::move(fields); }
    // The fields a writer puts out: the kept fields that still have data, then generated ones
    // for ids, names, locations, colour channels and extras that none of them covers.
    std::vector<TKChartField> WritableFields() const;

    // --- Keywords and channels --------------------------------------------------------------
    TKDataBase& Header() { return fHeader; }
    const TKDataBase& Header() const { return fHeader; }
    // A copy of `header` that shares no nested base with it.
    void SetHeader(const TKDataBase& header);
    TKString Keyword(const char* key) const;
    // A keyword set twice holds the last value, at the place of the first.
    void SetKeyword(const char* key, const TKString& value);
    // The channel names of the device values, from the "SPOT_ID/n" entries.
    std::vector<TKString> ChannelNames() const;
    void SetChannelNames(const std::vector<TKString>& names);

    // --- Further tables of the same file ----------------------------------------------------
    int32_t TableCount() const { return int32_t(fTables.size()); }
    TKColorChart& Table(int32_t index) const;  // IndexError outside
    void AddTable(TKColorChart* table, bool owned);

    // Whether the chart came from a file, whose keywords a writer then keeps as they are
    // instead of adding its own originator, descriptor and date.
    bool FromFile() const { return (fFlag & kFlagFromFile) != 0; }
    void SetFromFile(bool fromFile) { fFlag = uint8_t(fromFile ? fFlag | kFlagFromFile : fFlag & ~kFlagFromFile); }

    // --- Operations ---------------------------------------------------------------------------
    // A chart of the samples at the given indices, in that order, with this chart's header.
    TKRefPtr<TKColorChart> Select(const std::vector<int32_t>& rows) const;
    // Samples whose device values agree (within `tolerance` in each channel) become one, with
    // the mean of their measurements; order is that of the first of each group.
    TKRefPtr<TKColorChart> MergeDuplicates(double tolerance = 0.0) const;
    // The sample-by-sample mean of repeated measurements of one chart: every chart must have the
    // same count and types (DimMismatch, WrongDataType). Device values, texts and header come
    // from the first chart.
    static TKRefPtr<TKColorChart> Average(const std::vector<const TKColorChart*>& charts);
    // Adds the measured values in `type`, converted through the colour layer from the best
    // source the chart holds: a spectrum before XYZ before any other CIE type. A chart that
    // already holds `type` keeps it. WrongDataType when there is no measured type or `type` is no
    // CIE type.
    void ConvertMeasured(uint32_t type);

    // The data base form: "DCSType" and "CIEType" (signatures), "Name", "ImportDate",
    // "ChannelNames" (";" between names) and "Data" with sections "DCS" and "CIE" of one entry
    // per sample holding its values. FormatErr names the entry that does not read.
    static TKRefPtr<TKColorChart> FromDataBase(const TKDataBase& base);
    TKRefPtr<TKDataBase> ToDataBase() const;

    // Equal samples, colour values, texts, fields, keywords and further tables. The first
    // difference is described in `difference` if given.
    bool SameContent(const TKColorChart& other, TKString* difference = nullptr) const;
    // Removes everything but the file spec.
    void Clear();
    void Swap(TKColorChart& other) noexcept;

private:
    static constexpr uint8_t kFlagFromFile = 1;
    void CheckIndex(int32_t index) const;
    void CheckCount(int32_t rows);
    static void SetTexts(std::vector<TKString>& target, std::vector<TKString>&& texts, int32_t count);
    TKColorContainer& MutableContainer(uint32_t type);

    std::vector<TKRefPtr<TKColorContainer>> fContainers;
    TKFileSpec fFile;
    std::vector<TKString> fIDs;
    std::vector<TKString> fNames;
    std::vector<TKString> fLocations;
    TKDataBase fHeader;
    uint8_t fFlag = 0;
    int32_t fCount = 0;
    std::vector<TKString> fExtraNames;
    std::vector<TKString> fExtraValues;
    std::vector<TKChartField> fFields;
    std::vector<TKRefPtr<TKColorChart>> fTables;
};
