// TKColorChart: sample data, texts, fields, keywords and further tables.
#include "charts/TKColorChart.h"

#include <algorithm>
#include <utility>

#include "charts/TKChartFieldNames.h"
#include "color/TKColors.h"

namespace {

// Device values go to the first container, everything measured to the second.
int32_t ContainerOf(uint32_t type) { return IsDeviceSpace(type) ? 0 : 1; }

// Copies of a data base share their nested bases; a chart's copy must not.
void DeepCopy(TKDataBase& target, const TKDataBase& source) {
    target.Clear();
    for (int32_t i = 0; i < source.Count(); ++i) {
        const TKRefPtr<TKDataBase> sub = source.SubBaseAt(i);
        if (!sub) {
            target.Add(source.Key(i), source.Value(i));
            continue;
        }
        auto copy = TKMakeRef<TKDataBase>();
        DeepCopy(*copy, *sub);
        target.Add(source.Key(i), source.Value(i), copy.Get(), false);
    }
}

}  // namespace

TKColorChart::TKColorChart() {
    fContainers.push_back(TKMakeRef<TKColorContainer>());
    fContainers.push_back(TKMakeRef<TKColorContainer>());
}

TKColorChart::TKColorChart(const TKMatrix& deviceColors, const TKMatrix& cieColors, const TKDataBase* info)
    : TKColorChart() {
    if (!deviceColors.IsEmpty()) SetMatrix(deviceColors);
    if (!cieColors.IsEmpty()) SetMatrix(cieColors);
    if (info) DeepCopy(fHeader, *info);
}

TKColorChart::TKColorChart(const TKColorChart& other)
    : TKObject(other),
      fFile(other.fFile),
      fIDs(other.fIDs),
      fNames(other.fNames),
      fLocations(other.fLocations),
      fFlag(other.fFlag),
      fCount(other.fCount),
      fExtraNames(other.fExtraNames),
      fExtraValues(other.fExtraValues),
      fFields(other.fFields) {
    DeepCopy(fHeader, other.fHeader);
    for (const auto& container : other.fContainers)
        fContainers.push_back(TKMakeRef<TKColorContainer>(*container));
    for (const auto& table : other.fTables) fTables.push_back(TKMakeRef<TKColorChart>(*table));
}

TKColorChart& TKColorChart::operator=(const TKColorChart& other) {
    if (this != &other) {
        TKColorChart copy(other);
        Swap(copy);
    }
    return *this;
}

TKColorChart::~TKColorChart() = default;

void TKColorChart::Swap(TKColorChart& other) noexcept {
    std::swap(fContainers, other.fContainers);
    std::swap(fFile, other.fFile);
    std::swap(fIDs, other.fIDs);
    std::swap(fNames, other.fNames);
    std::swap(fLocations, other.fLocations);
    std::swap(fHeader, other.fHeader);
    std::swap(fFlag, other.fFlag);
    std::swap(fCount, other.fCount);
    std::swap(fExtraNames, other.fExtraNames);
    std::swap(fExtraValues, other.fExtraValues);
    std::swap(fFields, other.fFields);
    std::swap(fTables, other.fTables);
}

void TKColorChart::Clear() {
    TKColorChart empty;
    empty.fFile = fFile;
    Swap(empty);
}

// --- Colour data --------------------------------------------------------------------------------

std::vector<uint32_t> TKColorChart::ColorTypes() const {
    std::vector<uint32_t> types = fContainers[0]->ColorTypes();
    const std::vector<uint32_t> measured = fContainers[1]->ColorTypes();
    types.insert(types.end(), measured.begin(), measured.end());
    return types;
}

bool TKColorChart::HasType(uint32_t type) const { return fContainers[ContainerOf(type)]->HasType(type); }

TKMatrix TKColorChart::Matrix(uint32_t type) const { return fContainers[ContainerOf(type)]->Matrix(type); }

TKColorContainer& TKColorChart::MutableContainer(uint32_t type) { return *fContainers[ContainerOf(type)]; }

void TKColorChart::CheckCount(int32_t rows) {
    const bool hasData = !fContainers[0]->IsEmpty() || !fContainers[1]->IsEmpty() || !fIDs.empty() ||
                         !fNames.empty() || !fLocations.empty() || !fExtraNames.empty();
    if (hasData && rows != fCount)
        TKThrowMsg(DimMismatch, TKString::Format("%d samples for a chart of %d", rows, fCount));
    fCount = rows;
}

void TKColorChart::SetMatrix(const TKMatrix& matrix) {
    const uint32_t type = uint32_t(matrix.GetType());
    const bool onlyBlock = ColorTypes() == std::vector<uint32_t>{type} && fIDs.empty() && fNames.empty() &&
                           fLocations.empty() && fExtraNames.empty();
    if (!onlyBlock) CheckCount(matrix.GetHeight());
    MutableContainer(type).SetMatrix(matrix);
    fCount = matrix.GetHeight();
}

bool TKColorChart::RemoveMatrix(uint32_t type) { return MutableContainer(type).Remove(type); }

uint32_t TKColorChart::DeviceType() const {
    const std::vector<uint32_t> types = fContainers[0]->ColorTypes();
    return types.empty() ? 0 : types.front();
}

uint32_t TKColorChart::MeasuredType() const {
    const std::vector<uint32_t> types = fContainers[1]->ColorTypes();
    return types.empty() ? 0 : types.front();
}

const TKColorContainer& TKColorChart::Container(int32_t index) const {
    if (index < 0 || index >= int32_t(fContainers.size())) TKThrow(IndexError);
    return *fContainers[size_t(index)];
}

// --- Samples ------------------------------------------------------------------------------------

void TKColorChart::CheckIndex(int32_t index) const {
    if (index < 0 || index >= fCount)
        TKThrowMsg(IndexError, TKString::Format("Sample %d of a chart of %d", index, fCount));
}

namespace {

TKString TextAt(const std::vector<TKString>& texts, int32_t index) {
    return texts.empty() ? TKString() : texts[size_t(index)];
}

void SetTextAt(std::vector<TKString>& texts, int32_t count, int32_t index, const TKString& text) {
    if (texts.empty()) texts.resize(size_t(count));
    texts[size_t(index)] = text;
}

}  // namespace

TKString TKColorChart::ID(int32_t index) const {
    CheckIndex(index);
    return TextAt(fIDs, index);
}

TKString TKColorChart::Name(int32_t index) const {
    CheckIndex(index);
    return TextAt(fNames, index);
}

TKString TKColorChart::Location(int32_t index) const {
    CheckIndex(index);
    return TextAt(fLocations, index);
}

void TKColorChart::SetID(int32_t index, const TKString& id) {
    CheckIndex(index);
    SetTextAt(fIDs, fCount, index, id);
}

void TKColorChart::SetName(int32_t index, const TKString& name) {
    CheckIndex(index);
    SetTextAt(fNames, fCount, index, name);
}

void TKColorChart::SetLocation(int32_t index, const TKString& location) {
    CheckIndex(index);
    SetTextAt(fLocations, fCount, index, location);
}

void TKColorChart::SetTexts(std::vector<TKString>& target, std::vector<TKString>&& texts, int32_t count) {
    if (!texts.empty() && int32_t(texts.size()) != count)
        TKThrowMsg(DimMismatch, TKString::Format("%d texts for a chart of %d", int32_t(texts.size()), count));
    target = std::move(texts);
}

void TKColorChart::SetIDs(std::vector<TKString> ids) {
    if (ColorTypes().empty() && fNames.empty() && fLocations.empty() && fExtraNames.empty()) fCount = int32_t(ids.size());
    SetTexts(fIDs, std::move(ids), fCount);
}

void TKColorChart::SetNames(std::vector<TKString> names) {
    if (ColorTypes().empty() && fIDs.empty() && fLocations.empty() && fExtraNames.empty()) fCount = int32_t(names.size());
    SetTexts(fNames, std::move(names), fCount);
}

void TKColorChart::SetLocations(std::vector<TKString> locations) {
    if (ColorTypes().empty() && fIDs.empty() && fNames.empty() && fExtraNames.empty()) fCount = int32_t(locations.size());
    SetTexts(fLocations, std::move(locations), fCount);
}

int32_t TKColorChart::FindID(const char* id) const {
    for (size_t i = 0; i < fIDs.size(); ++i)
        if (fIDs[i] == id) return int32_t(i);
    return -1;
}

int32_t TKColorChart::FindName(const char* name) const {
    for (size_t i = 0; i < fNames.size(); ++i)
        if (fNames[i] == name) return int32_t(i);
    return -1;
}

// --- Extras and fields --------------------------------------------------------------------------

TKString TKColorChart::ExtraName(int32_t column) const {
    if (column < 0 || column >= ExtraCount()) TKThrow(IndexError);
    return fExtraNames[size_t(column)];
}

TKString TKColorChart::ExtraValue(int32_t index, int32_t column) const {
    CheckIndex(index);
    if (column < 0 || column >= ExtraCount()) TKThrow(IndexError);
    return fExtraValues[size_t(index) * fExtraNames.size() + size_t(column)];
}

void TKColorChart::SetExtras(std::vector<TKString> names, std::vector<TKString> values) {
    if (names.empty() && values.empty()) {
        fExtraNames.clear();
        fExtraValues.clear();
        return;
    }
    if (values.size() % names.size() != 0)
        TKThrowMsg(DimMismatch, "Extra values do not fill whole rows");
    const int32_t rows = int32_t(values.size() / names.size());
    if (ColorTypes().empty() && fIDs.empty() && fNames.empty() && fLocations.empty()) fCount = rows;
    if (rows != fCount) TKThrowMsg(DimMismatch, TKString::Format("%d rows of extras for a chart of %d", rows, fCount));
    fExtraNames = std::move(names);
    fExtraValues = std::move(values);
}

std::vector<TKChartField> TKColorChart::WritableFields() const {
    std::vector<TKChartField> out;
    bool id = false, name = false, location = false;
    std::vector<bool> extras(fExtraNames.size(), false);
    std::vector<std::pair<uint32_t, int32_t>> channels;
    auto hasChannel = [&](uint32_t type, int32_t channel) {
        return std::find(channels.begin(), channels.end(), std::make_pair(type, channel)) != channels.end();
    };
    for (const TKChartField& field : fFields) {
        switch (field.kind) {
            case kChartFieldID: if (id || fIDs.empty()) continue; id = true; break;
            case kChartFieldName: if (name || fNames.empty()) continue; name = true; break;
            case kChartFieldLocation: if (location || fLocations.empty()) continue; location = true; break;
            case kChartFieldColor: {
                const TKMatrix m = Matrix(field.type);
                if (field.channel >= m.GetWidth() || hasChannel(field.type, field.channel)) continue;
                channels.emplace_back(field.type, field.channel);
                break;
            }
            default: {
                // A kept extra is found by its name, so that removed columns drop out.
                const auto at = std::find(fExtraNames.begin(), fExtraNames.end(), field.name);
                if (at == fExtraNames.end() || extras[size_t(at - fExtraNames.begin())]) continue;
                extras[size_t(at - fExtraNames.begin())] = true;
                out.push_back({field.name, kChartFieldExtra, 0, int32_t(at - fExtraNames.begin())});
                continue;
            }
        }
        out.push_back(field);
    }
    // What no kept field covers gets the standard names, ids and names in front.
    std::vector<TKChartField> front;
    if (!id && !fIDs.empty()) front.push_back({"SAMPLE_ID", kChartFieldID, 0, 0});
    if (!name && !fNames.empty()) front.push_back({"SAMPLE_NAME", kChartFieldName, 0, 0});
    if (!location && !fLocations.empty()) front.push_back({"SAMPLE_LOC", kChartFieldLocation, 0, 0});
    out.insert(out.begin(), front.begin(), front.end());
    // A type some kept fields name is written with those channels alone: the others of a
    // spectrum read from a narrower range were only extended from them.
    for (uint32_t type : ColorTypes()) {
        const bool kept = IsSpectral(type) &&
                          std::any_of(channels.begin(), channels.end(), [type](const auto& c) { return c.first == type; });
        const int32_t width = Matrix(type).GetWidth();
        for (int32_t c = 0; c < width && !kept; ++c)
            if (!hasChannel(type, c)) out.push_back({TKChartFieldName(type, c), kChartFieldColor, type, c});
    }
    for (size_t e = 0; e < fExtraNames.size(); ++e)
        if (!extras[e]) out.push_back({fExtraNames[e], kChartFieldExtra, 0, int32_t(e)});
    return out;
}

// --- Keywords -----------------------------------------------------------------------------------

void TKColorChart::SetHeader(const TKDataBase& header) { DeepCopy(fHeader, header); }

TKString TKColorChart::Keyword(const char* key) const { return fHeader.GetString(key, ""); }

void TKColorChart::SetKeyword(const char* key, const TKString& value) { fHeader.SetString(key, value); }

std::vector<TKString> TKColorChart::ChannelNames() const {
    std::vector<TKString> names;
    for (int32_t i = 1;; ++i) {
        const TKString path = TKString::Format("SPOT_ID/%d", i);
        if (!fHeader.Exists(path)) break;
        names.push_back(fHeader.GetString(path));
    }
    return names;
}

void TKColorChart::SetChannelNames(const std::vector<TKString>& names) {
    int32_t index = -1;
    if (fHeader.Find("SPOT_ID", &index)) fHeader.Remove(index);
    for (size_t i = 0; i < names.size(); ++i)
        fHeader.SetString(TKString::Format("SPOT_ID/%d", int32_t(i) + 1), names[i]);
}

// --- Tables -------------------------------------------------------------------------------------

TKColorChart& TKColorChart::Table(int32_t index) const {
    if (index < 0 || index >= TableCount()) TKThrow(IndexError);
    return *fTables[size_t(index)];
}

void TKColorChart::AddTable(TKColorChart* table, bool owned) {
    if (!table) TKThrow(ArgErr);
    fTables.emplace_back(table, owned);
}
