// Reading CxF3 objects into a chart.
#include "charts/TKCxFReadObjects.h"

#include <algorithm>
#include <cstdio>

#include "charts/TKCxFValues.h"
#include "color/TKColors.h"

namespace {

// Derived text columns of objects, in the order they follow the objects' own tags.
constexpr const char* kObjectTypeColumn = "ObjectType";
constexpr const char* kGUIDColumn = "GUID";
constexpr const char* kCreatedColumn = "CreationDate";
constexpr const char* kMeasuredColumn = "MeasurementDate";
// Tags that hold the chart's id and location columns.
constexpr const char* kIDTag = "SAMPLE_ID";
constexpr const char* kLocationTag = "SAMPLE_LOC";

// Header paths nest at most this deep, so that a hostile tag name cannot build a tower.
constexpr int32_t kMaxTagDepth = 4;

TKString TagValue(const TKCxFElement& tag) { return tag.HasAttribute("Value") ? tag.Attribute("Value") : tag.text; }

std::string Key(const TKString& text) { return std::string(text.CString(), size_t(text.Length())); }

bool ParseField(const TKString& text, TKChartField& field) {
    int kind = 0, channel = 0, offset = 0;
    unsigned type = 0;
    if (std::sscanf(text.CString(), "%d %x %d %n", &kind, &type, &channel, &offset) < 3 || offset <= 0) return false;
    if (kind < kChartFieldID || kind > kChartFieldExtra || channel < 0 || channel > 4096) return false;
    field = {text.Mid(offset), kind, uint32_t(type), channel};
    return true;
}

int32_t Depth(const TKString& path) {
    int32_t depth = 1;
    for (int32_t i = 0; i < path.Length(); ++i) {
        if (path.At(i) == '\\') ++i;
        else if (path.At(i) == '/') ++depth;
    }
    return depth;
}

}  // namespace

bool TKCxFObjectReader::Read(TKColorChart& chart, TKString& problem) {
    for (int32_t i = 0; i < fSpecs.SpecCount(); ++i) fSpecIndex[Key(fSpecs.SpecName(i))] = i;
    fTables.resize(1);
    fTables[0].chart = &chart;
    if (!ReadHeader(problem) || !ReadSamples(problem) || !ResolveSpotInk(problem)) return false;
    for (Table& table : fTables)
        if (!BuildTable(table, problem)) return false;
    for (size_t t = 1; t < fTables.size(); ++t) chart.AddTable(fTables[t].further.Get(), false);
    return true;
}

bool TKCxFObjectReader::BuildTable(Table& table, TKString& problem) {
    if (table.samples.empty()) {
        problem = TKString::Format("table %d has no objects", int32_t(&table - fTables.data()) + 1);
        return false;
    }
    fTypes.clear();
    fRows.clear();
    fSeen.clear();
    fRanges.clear();
    for (size_t k = 0; k < table.samples.size(); ++k)
        if (!ReadValues(table.samples[k], k, problem)) return false;
    const int32_t count = int32_t(table.samples.size());
    for (size_t t = 0; t < fTypes.size(); ++t) {
        const int32_t width = int32_t(fRows[t].size() / table.samples.size());
        TKMatrix matrix(count, width, int32_t(fTypes[t]));
        std::copy(fRows[t].begin(), fRows[t].end(), matrix.MutableValues());
        table.chart->SetMatrix(matrix);
    }
    BuildTexts(table);
    // Kept fields name what the chart still has; the writer drops the rest.
    table.chart->SetFields(table.fields);
    table.chart->SetFromFile(true);
    return true;
}

bool TKCxFObjectReader::ReadHeader(TKString& problem) {
    const TKCxFElement info = fRoot.Child("FileInformation");
    for (const TKCxFElement& tag : info.Child("TagCollection").Children("Tag")) {
        TKString name = tag.Attribute("Name");
        // "TKTable<n>:" leads the tags of a further table.
        size_t t = 0;
        const int32_t colon = name.FindChar(':');
        if (name.Left(7) == kTableTag && colon > 7 && name.Mid(7, colon - 7).IsInteger()) {
            const int32_t number = name.Mid(7, colon - 7).ToInt();
            if (number < 1 || number >= kMaxTables) {
                problem = TKString::Format("a tag of table %d", number);
                return false;
            }
            t = size_t(number);
            name = name.Mid(colon + 1);
            while (fTables.size() <= t) {
                fTables.emplace_back();
                fTables.back().further = TKMakeRef<TKColorChart>();
                fTables.back().chart = fTables.back().further.Get();
            }
        }
        Table& table = fTables[t];
        if (name == kCompleteTag) {
            fComplete = true;
            table.withIDs = TagValue(tag) == kWithIDs;
        } else if (name == kFieldTag) {
            TKChartField field;
            if (!ParseField(TagValue(tag), field)) {
                problem = TKString::Format("the field tag \"%s\" does not read", TagValue(tag).Left(60).CString());
                return false;
            }
            table.fields.push_back(field);
        } else {
            // Nested keywords ("KEYWORD/0") come as paths; a deeper name is kept whole.
            if (Depth(name) <= kMaxTagDepth)
                table.chart->Header().SetString(name.CString(), TagValue(tag));
            else
                table.chart->Header().Add(name, TagValue(tag));
        }
    }
    return true;
}

bool TKCxFObjectReader::ReadSamples(TKString& problem) {
    const std::vector<TKCxFElement> objects = fResources.Child("ObjectCollection").Children("Object");
    if (objects.empty()) {
        problem = "no Object in an ObjectCollection";
        return false;
    }
    fSamples.reserve(objects.size());
    for (const TKCxFElement& object : objects) {
        Sample sample;
        sample.element = object;
        sample.id = object.Attribute("Id");
        if (sample.id.IsEmpty()) {
            problem = TKString::Format("object %d has no Id", int32_t(fSamples.size()) + 1);
            return false;
        }
        const int32_t index = int32_t(fSamples.size());
        if (!fByID.emplace(Key(sample.id), index).second) {
            problem = TKString::Format("two objects with the Id \"%s\"", sample.id.Left(60).CString());
            return false;
        }
        sample.hasName = object.HasAttribute("Name");
        sample.name = object.Attribute("Name");
        // Names may repeat (a patch printed twice); only unique ones serve as references.
        if (sample.hasName && !fByName.emplace(Key(sample.name), index).second) fByName[Key(sample.name)] = -1;
        sample.guid = object.Attribute("GUID");
        if (!sample.guid.IsEmpty()) fByGUID.emplace(Key(sample.guid), index);
        sample.objectType = object.Attribute("ObjectType", "Standard");
        sample.created = object.ChildText("CreationDate");
        sample.measured = object.HasAttribute("MeasureDate") ? object.Attribute("MeasureDate") : object.ChildText("MeasurementDate");
        for (const TKCxFElement& tag : object.Child("TagCollection").Children("Tag")) {
            const TKString name = tag.Attribute("Name");
            if (name != kTableTag || !fComplete) {
                sample.tags.emplace_back(name, TagValue(tag));
                continue;
            }
            const TKString number = TagValue(tag);
            sample.table = number.IsInteger() ? size_t(std::max(0, number.ToInt())) : 0;
            if (sample.table == 0 || sample.table >= fTables.size()) {
                problem = TKString::Format("object \"%s\" is of table %s, which the file does not declare",
                                           sample.id.Left(60).CString(), number.Left(20).CString());
                return false;
            }
        }
        fTables[sample.table].samples.push_back(fSamples.size());
        fSamples.push_back(std::move(sample));
    }
    return true;
}

bool TKCxFObjectReader::ResolveSpotInk(TKString& problem) {
    fHasSpot = TKCxFReadSpotInk(fResources, fSpot, problem);
    if (!problem.IsEmpty()) return false;
    if (!fHasSpot) return true;
    if (fSpot.inkCount > 1)
        fWarnings.push_back(TKString::Format("CxFReader: The file characterises %d spot inks; only \"%s\" is read",
                                             fSpot.inkCount, fSpot.name.CString()));
    for (TKCxFSpotMeasurement& m : fSpot.measurements) {
        const std::string key = Key(m.objectRef);
        for (const auto* map : {&fByID, &fByName, &fByGUID}) {
            const auto found = map->find(key);
            if (found != map->end() && found->second >= 0) {
                m.sample = found->second;
                break;
            }
        }
        if (m.sample < 0) {
            fWarnings.push_back(TKString::Format("CxFReader: Could not find the object \"%s\" that has been referenced in the "
                                                 "spot ink characterisation, this might result in undefined behaviour",
                                                 m.objectRef.CString()));
            continue;
        }
        Sample& sample = fSamples[size_t(m.sample)];
        if (sample.spot) {
            problem = TKString::Format("object \"%s\" is referenced twice in the spot ink characterisation",
                                       sample.id.Left(60).CString());
            return false;
        }
        sample.spot = &m;
    }
    return true;
}

bool TKCxFObjectReader::ReadValues(size_t index, size_t position, TKString& problem) {
    Sample& sample = fSamples[index];
    std::vector<std::pair<TKCxFElement, TKString>> values;
    for (const char* container : {"DeviceColorValues", "ColorValues"}) {
        std::vector<TKString> names;
        const std::vector<TKCxFElement> children = sample.element.Child(container).AllChildren(&names);
        for (size_t c = 0; c < children.size(); ++c)
            if (TKCxFIsValueElement(names[c])) values.emplace_back(children[c], names[c]);
    }
    // A spot measurement names which of several spectra it means.
    const TKCxFElement* spectrum = nullptr;
    if (sample.spot) {
        std::vector<const TKCxFElement*> spectra;
        for (const auto& value : values)
            if (value.second == "ReflectanceSpectrum") spectra.push_back(&value.first);
        const TKString& wanted = sample.spot->spectrumName;
        if (spectra.empty()) {
            fWarnings.push_back(TKString::Format(
                "CxFReader: There is no remission data in object \"%s\"; this might be spotty, since the measurement data for "
                "the spot ink characterisation should per standard definition be remission data", sample.id.CString()));
        } else if (!wanted.IsEmpty()) {
            for (const TKCxFElement* s : spectra)
                if (!spectrum && s->Attribute("Name") == wanted) spectrum = s;
            if (!spectrum)
                fWarnings.push_back(TKString::Format(
                    "CxFReader: Could not find the remission data name \"%s\" for object \"%s\" that has been referenced in "
                    "the spot ink characterisation, this might result in undefined behaviour",
                    wanted.CString(), sample.id.CString()));
        } else if (spectra.size() > 1) {
            fWarnings.push_back(TKString::Format("CxFReader: There is more than one remission data value in object\"%s\"; "
                                                 "maybe we'll encounter a named reference later.", sample.id.CString()));
        }
    }
    fSeen.emplace_back(fTypes.size(), false);
    for (const auto& value : values) {
        if (spectrum && value.second == "ReflectanceSpectrum" && value.first.base.Get() != spectrum->base.Get()) continue;
        if (!AddValue(index, position, value.first, value.second, problem)) return false;
    }
    for (size_t t = 0; t < fTypes.size(); ++t) {
        if (fSeen[position][t]) continue;
        problem = TKString::Format("object \"%s\" lacks the %s values of the first object", sample.id.Left(60).CString(),
                                   GetTypeName(fTypes[t]).CString());
        return false;
    }
    return true;
}

bool TKCxFObjectReader::AddValue(size_t index, size_t position, const TKCxFElement& element, const TKString& name,
                                 TKString& problem) {
    const Sample& sample = fSamples[index];
    double start = kTKSpectralStartNM, increment = kTKSpectralStepNM;
    int32_t specIndex = -1;
    const TKString specID = element.Attribute("ColorSpecification");
    if (!specID.IsEmpty()) {
        const auto found = fSpecIndex.find(Key(specID));
        if (found == fSpecIndex.end()) {
            problem = TKString::Format("object \"%s\": %s refers to the ColorSpecification \"%s\" that the file lacks",
                                       sample.id.Left(60).CString(), name.CString(), specID.Left(60).CString());
            return false;
        }
        specIndex = found->second;
        start = fSpecs.Spec(specIndex).StartWL();
        increment = fSpecs.Spec(specIndex).Increment();
    }
    TKVector value;
    TKString why;
    TKCxFSpectrumRange range;
    if (!TKCxFReadValue(element, name, start, increment, value, why, &range)) {
        problem = TKString::Format("object \"%s\": %s", sample.id.Left(60).CString(), why.CString());
        return false;
    }
    // One instrument setting measures every spectrum of a specification alike.
    if (range.count > 0) {
        const auto first = fRanges.emplace(Key(specID + "/" + name), range).first->second;
        if (first.count != range.count || first.start != range.start) {
            problem = TKString::Format("object \"%s\": %s of %d values from %g nm where the first of its specification has %d "
                                       "from %g nm", sample.id.Left(60).CString(), name.CString(), range.count, range.start,
                                       first.count, first.start);
            return false;
        }
    }
    const uint32_t type = uint32_t(value.GetType());
    if (!IsDeviceSpace(type) && fCurrentSpec < 0) fCurrentSpec = specIndex;
    size_t t = std::find(fTypes.begin(), fTypes.end(), type) - fTypes.begin();
    if (t == fTypes.size()) {
        if (position > 0) {
            problem = TKString::Format("object \"%s\" has %s values that the first object lacks", sample.id.Left(60).CString(),
                                       GetTypeName(type).CString());
            return false;
        }
        fTypes.push_back(type);
        fRows.emplace_back();
        fSeen[position].push_back(false);
    }
    if (fSeen[position][t]) return true;  // a second value of a type: the first stands
    fSeen[position][t] = true;
    fRows[t].insert(fRows[t].end(), value.Values(), value.Values() + value.GetDim());
    return true;
}

// --- Texts ----------------------------------------------------------------------------------------

bool TKCxFObjectReader::Listed(const Table& table, const char* extra) {
    for (const TKChartField& field : table.fields)
        if (field.kind == kChartFieldExtra && field.name == extra) return true;
    return false;
}

void TKCxFObjectReader::BuildTexts(const Table& table) const {
    TKColorChart& chart = *table.chart;
    std::vector<const Sample*> samples;
    for (size_t index : table.samples) samples.push_back(&fSamples[index]);
    const size_t n = samples.size();
    auto anyTag = [&](const char* name) {
        for (const Sample* s : samples)
            for (const auto& tag : s->tags)
                if (tag.first == name) return true;
        return false;
    };
    auto tagOf = [](const Sample* s, const char* name) {
        for (const auto& tag : s->tags)
            if (tag.first == name) return tag.second;
        return TKString();
    };
    const bool idTag = anyTag(kIDTag);
    std::vector<TKString> texts(n);
    if (!fComplete || table.withIDs) {
        for (size_t i = 0; i < n; ++i) texts[i] = idTag ? tagOf(samples[i], kIDTag) : samples[i]->id;
        chart.SetIDs(texts);
    }
    if (std::any_of(samples.begin(), samples.end(), [](const Sample* s) { return s->hasName; })) {
        for (size_t i = 0; i < n; ++i) texts[i] = samples[i]->name;
        chart.SetNames(texts);
    }
    if (anyTag(kLocationTag)) {
        for (size_t i = 0; i < n; ++i) texts[i] = tagOf(samples[i], kLocationTag);
        chart.SetLocations(texts);
    }

    // Text columns: the objects' tags in order of first sight, then what the objects say of
    // themselves, then the spot data.
    std::vector<TKString> names;
    std::vector<std::vector<TKString>> columns;
    auto column = [&](const TKString& name) -> std::vector<TKString>& {
        const auto at = std::find(names.begin(), names.end(), name);
        if (at != names.end()) return columns[size_t(at - names.begin())];
        names.push_back(name);
        columns.emplace_back(n);
        return columns.back();
    };
    for (size_t i = 0; i < n; ++i)
        for (const auto& tag : samples[i]->tags)
            if (tag.first != kIDTag && tag.first != kLocationTag) column(tag.first)[i] = tag.second;
    struct Own {
        const char* name;
        TKString Sample::*field;
    };
    for (const Own& own : {Own{kObjectTypeColumn, &Sample::objectType}, Own{kGUIDColumn, &Sample::guid},
                           Own{kCreatedColumn, &Sample::created}, Own{kMeasuredColumn, &Sample::measured}}) {
        bool wanted = false;
        for (const Sample* s : samples) {
            const TKString& value = s->*own.field;
            wanted = wanted || (own.name == kObjectTypeColumn ? value != "Standard" : !value.IsEmpty());
        }
        if (fComplete) wanted = Listed(table, own.name);
        if (!wanted) continue;
        std::vector<TKString>& values = column(own.name);
        for (size_t i = 0; i < n; ++i) values[i] = samples[i]->*own.field;
    }
    BuildSpotData(table, names, columns);
    if (names.empty()) return;
    // A file of this system keeps the columns in the order of its field list.
    std::vector<size_t> order(names.size());
    for (size_t c = 0; c < order.size(); ++c) order[c] = c;
    auto rank = [&](size_t c) {
        for (size_t f = 0; f < table.fields.size(); ++f)
            if (table.fields[f].kind == kChartFieldExtra && table.fields[f].name == names[c]) return f;
        return table.fields.size();
    };
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return rank(a) < rank(b); });
    std::vector<TKString> orderedNames, values;
    for (size_t c : order) orderedNames.push_back(names[c]);
    for (size_t i = 0; i < n; ++i)
        for (size_t c : order) values.push_back(columns[c][i]);
    chart.SetExtras(std::move(orderedNames), std::move(values));
}

void TKCxFObjectReader::BuildSpotData(const Table& table, std::vector<TKString>& names,
                                      std::vector<std::vector<TKString>>& columns) const {
    TKColorChart& chart = *table.chart;
    const size_t n = table.samples.size();
    std::vector<TKString> backgrounds(n), tints(n);
    bool all = true, any = false;
    for (size_t i = 0; i < n; ++i) {
        const TKCxFSpotMeasurement* m = fSamples[table.samples[i]].spot;
        all = all && m;
        any = any || m;
        if (!m) continue;
        backgrounds[i] = m->background;
        tints[i] = TKCxFNumber(m->tint);
    }
    if (!any) return;
    names.push_back("Background");
    columns.push_back(backgrounds);
    if (!fComplete) {
        chart.Header().GetOrAddString("SpotInkName", fSpot.name, true);
        for (const auto& info : fSpot.info) chart.Header().GetOrAddString(info.first, info.second, true);
    }
    // Tints are the device values where every object is one and the objects carry none.
    if (all && chart.DeviceType() == 0) {
        TKMatrix tint(int32_t(n), 1, int32_t(TK1CLRSpace));
        for (size_t i = 0; i < n; ++i) tint(int32_t(i), 0) = fSamples[table.samples[i]].spot->tint;
        chart.SetMatrix(tint);
    } else if (chart.DeviceType() != TK1CLRSpace) {
        names.push_back("TintLevel");
        columns.push_back(tints);
    }
}

void TKCxFObjectReader::AddDerivedGroups(TKDataBase& root) const {
    // Built entry by entry: a path per sample would search ever longer lists.
    auto objects = TKMakeRef<TKDataBase>();
    for (size_t i = 0; i < fSamples.size(); ++i) {
        auto object = TKMakeRef<TKDataBase>();
        if (!fSamples[i].guid.IsEmpty()) object->Add("GUID", fSamples[i].guid);
        object->Add("ObjectType", fSamples[i].objectType);
        objects->Add(TKString::FromInt(int32_t(i)), fSamples[i].id, object.Get(), false);
    }
    root.Add("Objects", "", objects.Get(), false);
    if (!fHasSpot) return;
    auto samples = TKMakeRef<TKDataBase>();
    for (size_t i = 0; i < fSamples.size(); ++i) {
        const TKCxFSpotMeasurement* m = fSamples[i].spot;
        if (!m) continue;
        auto entry = TKMakeRef<TKDataBase>();
        entry->Add("Background", m->background);
        entry->Add("TintLevel", TKCxFNumber(m->tint));
        samples->Add(TKString::FromInt(int32_t(i)), fSamples[i].id, entry.Get(), false);
    }
    auto spot = TKMakeRef<TKDataBase>();
    spot->Add("Name", fSpot.name);
    spot->Add("SAMPLE_ID", "", samples.Get(), false);
    root.Add("SpotInk", "", spot.Get(), false);
}
