// TKCxFWriter: a chart as a CxF3 document.
#include "charts/TKCxFWriter.h"

#include <tinyxml2.h>

#include <algorithm>
#include <ctime>
#include <unordered_set>

#include "charts/TKCxFReadObjects.h"
#include "charts/TKCxFSpotInk.h"
#include "charts/TKCxFValues.h"
#include "color/TKColors.h"
#include "foundation/TKError.h"
#include "io/TKFile.h"

namespace {

constexpr const char* kColorimetricSpec = "CS_Colorimetric";
constexpr const char* kSpectralSpec = "CS_Spectral";

// Text columns that are parts of an object rather than tags of it.
bool IsObjectColumn(const TKString& name, bool spot) {
    return name == "ObjectType" || name == "GUID" || name == "CreationDate" || name == "MeasurementDate" ||
           (spot && (name == "Background" || name == "TintLevel"));
}

// A key as one step of a data base path.
TKString EscapedKey(const TKString& key) {
    TKString out;
    for (int32_t i = 0; i < key.Length(); ++i) {
        const char c = key.At(i);
        if (c == '/' || c == '\\') out += '\\';
        out += c;
    }
    return out;
}

void AddTag(TKCxFElement& collection, const TKString& name, const TKString& value) {
    TKCxFElement tag = collection.AddChild("cc:Tag");
    tag.SetAttribute("Name", name);
    tag.SetAttribute("Value", value);
}

// Names the file uses for the chart's own tags cannot be keywords or columns as well.
void CheckName(const TKString& name, bool keyword) {
    const bool reserved = keyword ? name == TKCxFObjectReader::kCompleteTag || name == TKCxFObjectReader::kFieldTag ||
                                        (name.Left(7) == TKCxFObjectReader::kTableTag && name.FindChar(':') > 7)
                                  : name == TKCxFObjectReader::kTableTag;
    if (reserved)
        TKThrowMsg(FormatErr, TKString::Format("The %s \"%s\" is a name CxF3 files of this system keep for themselves",
                                               keyword ? "keyword" : "column", name.CString()).CString());
}

// The keywords as tags, nested ones as paths.
void AddKeywordTags(TKCxFElement& collection, const TKDataBase& base, const TKString& prefix) {
    for (int32_t i = 0; i < base.Count(); ++i) {
        if (prefix.IsEmpty() || prefix.FindChar('/') < 0) CheckName(base.Key(i), true);
        const TKString path = prefix + EscapedKey(base.Key(i));
        const TKRefPtr<TKDataBase> sub = base.SubBaseAt(i);
        if (!sub || sub->Count() == 0 || !base.Value(i).IsEmpty()) AddTag(collection, path, base.Value(i));
        if (sub) AddKeywordTags(collection, *sub, path + "/");
    }
}

TKString Now() {
    char text[32];
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text;
}

bool HasSpectrumElement(uint32_t type) { return TKString(TKCxFValueElement(type)).Find("Spectrum") >= 0; }

// A spectrum read from a narrower range is written over that range alone, where the bands outside
// hold only the ends carried outward (as a reader extends it again); otherwise all of it.
void SpectralRange(const TKColorChart& chart, uint32_t type, int32_t& first, int32_t& last) {
    first = 0;
    last = -1;
    for (const TKChartField& field : chart.Fields()) {
        if (field.kind != kChartFieldColor || field.type != type) continue;
        first = last < 0 ? field.channel : std::min(first, field.channel);
        last = std::max(last, field.channel);
    }
    const TKMatrix m = chart.Matrix(type);
    if (last < 0 || last >= m.GetWidth()) {
        first = 0;
        last = -1;
        return;
    }
    for (int32_t r = 0; r < m.GetHeight(); ++r)
        for (int32_t c = 0; c < m.GetWidth(); ++c)
            if ((c < first && m(r, c) != m(r, first)) || (c > last && m(r, c) != m(r, last))) {
                first = 0;
                last = -1;
                return;
            }
}

int32_t ExtraColumn(const TKColorChart& chart, const char* name) {
    for (int32_t e = 0; e < chart.ExtraCount(); ++e)
        if (chart.ExtraName(e) == name) return e;
    return -1;
}

// The object ids: the sample ids where they are all there and all differ, else the numbers.
std::vector<TKString> ObjectIDs(const TKColorChart& chart, bool& own) {
    std::vector<TKString> ids;
    std::unordered_set<std::string> seen;
    own = chart.HasIDs();
    for (int32_t i = 0; i < chart.Count() && own; ++i) {
        const TKString id = chart.ID(i);
        own = !id.IsEmpty() && seen.insert(id.CString()).second;
        ids.push_back(id);
    }
    if (own) return ids;
    ids.clear();
    for (int32_t i = 0; i < chart.Count(); ++i) ids.push_back(TKString::FromInt(i + 1));
    return ids;
}

}  // namespace

TKString TKCxFWriter::WriteData() {
    BuildMirror();
    ResetDocument();
    tinyxml2::XMLDocument& document = Document();
    document.InsertFirstChild(document.NewDeclaration("xml version=\"1.0\" encoding=\"UTF-8\""));
    TKCxFEmitElement(MirrorRoot(), document, nullptr);
    tinyxml2::XMLPrinter printer;
    document.Print(&printer);
    return TKString(printer.CStr(), int32_t(printer.CStrSize() - 1));
}

void TKCxFWriter::WriteFile(const TKFileSpec& spec) {
    const TKString text = WriteData();
    TKFile file(spec, 2);
    file.Write(text.CString(), text.Length());
}

void TKCxFWriter::BuildMirror() {
    TKCxFElement root = TKCxFElement::Make("cc:CxF");
    root.SetAttribute("xmlns:xsi", kSchemaInstanceNamespace);
    root.SetAttribute("xmlns:cc", kCoreNamespace);
    root.SetAttribute("xmlns:sic", kSpotInkNamespace);
    root.AddChild(BuildFileInformation());
    TKCxFElement resources = root.AddChild("cc:Resources");
    TKCxFElement objects = resources.AddChild("cc:ObjectCollection");
    std::vector<TKString> ids;
    BuildObjects(objects, ids);
    TKCxFElement specs = resources.AddChild("cc:ColorSpecificationCollection");
    BuildSpecs(specs);
    const TKCxFElement spot = TKCxFMakeSpotInk(fChart, ids);
    if (spot.IsValid()) resources.AddChild("cc:CustomResources").AddChild(spot);
    fMirror.Clear();
    fMirror.Add(".CxF", "", root.base.Get(), false);
    fSpecs.clear();
    for (const TKCxFElement& element : specs.Children("ColorSpecification")) fSpecs.push_back({element.Attribute("Id"), element});
    fSelected = -1;
}

TKCxFElement TKCxFWriter::BuildFileInformation() const {
    TKCxFElement info = TKCxFElement::Make("cc:FileInformation");
    const TKString creator = fChart.Keyword("CxFCreator");
    info.AddChild("cc:Creator", creator.IsEmpty() ? TKString(kCreator) : creator);
    info.AddChild("cc:CreationDate", Now());
    TKString description = fChart.Keyword("DESCRIPTOR");
    if (description.IsEmpty()) description = fChart.Keyword("FILE_DESCRIPTOR");
    if (!description.IsEmpty()) info.AddChild("cc:Description", description);
    TKCxFElement tags = info.AddChild("cc:TagCollection");
    for (int32_t t = 0; t <= fChart.TableCount(); ++t) {
        const TKColorChart& table = TableChart(t);
        const TKString prefix = t == 0 ? TKString() : TKString::Format("%s%d:", TKCxFObjectReader::kTableTag, t);
        AddTag(tags, prefix + TKCxFObjectReader::kCompleteTag, table.HasIDs() ? TKCxFObjectReader::kWithIDs : "");
        AddKeywordTags(tags, table.Header(), prefix);
        for (const TKChartField& field : table.WritableFields())
            AddTag(tags, prefix + TKCxFObjectReader::kFieldTag,
                   TKString::Format("%d %08X %d ", int(field.kind), unsigned(field.type), int(field.channel)) + field.name);
    }
    return info;
}

const TKColorChart& TKCxFWriter::TableChart(int32_t table) const { return table == 0 ? fChart : fChart.Table(table - 1); }

void TKCxFWriter::BuildObjects(TKCxFElement& collection, std::vector<TKString>& ids) const {
    bool own = false;
    ids = ObjectIDs(fChart, own);
    // Tints of a chart that is all spot measurements travel in the characterisation alone.
    const bool spot = TKSpotInkChart(fChart);
    bool tintsElsewhere = spot && fChart.DeviceType() == TK1CLRSpace && ExtraColumn(fChart, "TintLevel") < 0;
    for (int32_t i = 0; i < fChart.Count() && tintsElsewhere; ++i) {
        TKString background;
        double tint = 0;
        tintsElsewhere = TKSpotInkSample(fChart, i, background, tint);
    }
    // Object ids are unique in a file: further tables number all objects.
    own = own && fChart.TableCount() == 0;
    int32_t number = 0;
    for (int32_t t = 0; t <= fChart.TableCount(); ++t) {
        const TKColorChart& table = TableChart(t);
        std::vector<Values> values;
        for (uint32_t type : table.ColorTypes()) {
            values.push_back({type, table.Matrix(type), 0, -1});
            if (IsSpectral(type)) SpectralRange(table, type, values.back().first, values.back().last);
        }
        for (int32_t i = 0; i < table.Count(); ++i) {
            const TKString id = own ? ids[size_t(i)] : TKString::FromInt(++number);
            if (t == 0) ids[size_t(i)] = id;
            TKCxFElement object = BuildObject(table, values, i, id, t == 0 && spot, tintsElsewhere);
            if ((!own && table.HasIDs()) || t > 0) {
                TKCxFElement tags = object.Child("TagCollection");
                if (!tags.IsValid()) tags = object.AddChild("cc:TagCollection");
                if (!own && table.HasIDs()) AddTag(tags, "SAMPLE_ID", table.ID(i));
                if (t > 0) AddTag(tags, TKCxFObjectReader::kTableTag, TKString::FromInt(t));
            }
            collection.AddChild(object);
        }
    }
}

TKCxFElement TKCxFWriter::BuildObject(const TKColorChart& chart, const std::vector<Values>& table, int32_t index,
                                       const TKString& id, bool spot, bool tintsElsewhere) const {
    auto column = [&](const char* name, const char* fallback) {
        const int32_t e = ExtraColumn(chart, name);
        const TKString value = e >= 0 ? chart.ExtraValue(index, e) : TKString();
        return value.IsEmpty() ? TKString(fallback) : value;
    };
    TKCxFElement object = TKCxFElement::Make("cc:Object");
    if (chart.HasNames()) object.SetAttribute("Name", chart.Name(index));
    object.SetAttribute("Id", id);
    if (!column("GUID", "").IsEmpty()) object.SetAttribute("GUID", column("GUID", ""));
    // A kept type column is written as it is, empty or not, so that it reads back alike.
    const int32_t typeColumn = ExtraColumn(chart, "ObjectType");
    object.SetAttribute("ObjectType", typeColumn >= 0 ? chart.ExtraValue(index, typeColumn) : TKString("Standard"));
    if (!column("MeasurementDate", "").IsEmpty()) object.SetAttribute("MeasureDate", column("MeasurementDate", ""));
    if (!column("CreationDate", "").IsEmpty()) object.AddChild("cc:CreationDate", column("CreationDate", ""));

    TKCxFElement tags;
    auto tag = [&](const TKString& name, const TKString& value) {
        if (!tags.IsValid()) tags = object.AddChild("cc:TagCollection");
        AddTag(tags, name, value);
    };
    if (chart.HasLocations()) tag("SAMPLE_LOC", chart.Location(index));
    for (int32_t e = 0; e < chart.ExtraCount(); ++e) {
        CheckName(chart.ExtraName(e), false);
        if (!IsObjectColumn(chart.ExtraName(e), spot)) tag(chart.ExtraName(e), chart.ExtraValue(index, e));
    }

    TKCxFElement measured, device;
    for (const Values& values : table) {
        if (values.type == TK1CLRSpace && tintsElsewhere) continue;
        const bool isDevice = IsDeviceSpace(values.type);
        TKCxFElement& container = isDevice ? device : measured;
        if (!container.IsValid())
            container = TKCxFElement::Make(isDevice ? "cc:DeviceColorValues" : "cc:ColorValues");
        container.AddChild(TKCxFMakeValue(values.matrix.GetRow(index),
                                          HasSpectrumElement(values.type) ? kSpectralSpec : kColorimetricSpec, values.first,
                                          values.last));
    }
    if (measured.IsValid()) object.AddChild(measured);
    if (device.IsValid()) object.AddChild(device);
    return object;
}

void TKCxFWriter::BuildSpecs(TKCxFElement& collection) const {
    collection.AddChild(TKCxFSpecFromKeywords(fChart, kColorimetricSpec, "Colorimetric_Reflectance", false));
    for (int32_t t = 0; t <= fChart.TableCount(); ++t) {
        for (uint32_t type : TableChart(t).ColorTypes()) {
            if (!HasSpectrumElement(type)) continue;
            const char* kind = type == TKEmisSpace   ? "Spectrum_Emissive"
                               : type == TKTranSpace ? "Spectrum_Transmittance"
                                                     : "Spectrum_Reflectance";
            collection.AddChild(TKCxFSpecFromKeywords(fChart, kSpectralSpec, kind, true));
            return;
        }
    }
}
