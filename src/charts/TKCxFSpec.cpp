// Colour specifications of CxF3 files and their keyword forms.
#include "charts/TKCxFSpec.h"

#include <cstdio>
#include <cstring>

#include "charts/TKCxFValues.h"
#include "color/TKColors.h"

namespace {

struct Term {
    const char* term;
    const char* text;
};

const Term kIlluminations[] = {
    {"M0_Incandescent", "Incandescent"}, {"M1_Daylight", "Daylight"}, {"M2_UVExcluded", "UV excluded"},
    {"M3_Polarized", "Polarized"},       {"Custom", "Custom"},
};

const char* const kFilters[] = {"Filter_None", "Filter_UVExcluded", "Filter_UVD65", "Filter_Partial", "Filter_Custom"};

struct SphereText {
    const char* type;
    const char* text;
};

const SphereText kSpheres[] = {
    {"Specular_Included", "sphere, specular included"},
    {"Specular_Excluded", "sphere, specular excluded"},
    {"Diffuse", "sphere, diffuse"},
};

void SetIfAbsent(TKColorChart& chart, const char* key, const TKString& value) {
    if (!value.IsEmpty() && !chart.Header().Exists(key)) chart.SetKeyword(key, value);
}

// The parts of a keyword that stands once, with parts between ";", or as numbered entries.
std::vector<TKString> KeywordValues(const TKColorChart& chart, const char* key) {
    std::vector<TKString> values;
    const TKDataBase& header = chart.Header();
    const int32_t index = header.IndexOfKey(key);
    if (index < 0) return values;
    std::vector<TKString> texts{header.Value(index)};
    if (const TKRefPtr<TKDataBase> sub = header.SubBaseAt(index))
        for (int32_t i = 0; i < sub->Count(); ++i) texts.push_back(sub->Value(i));
    for (const TKString& text : texts)
        for (int32_t start = 0; start < text.Length();) {
            int32_t end = text.FindChar(';', start);
            if (end < 0) end = text.Length();
            TKString part = text.Mid(start, end - start);
            if (!part.Trim(" ").IsEmpty()) values.push_back(part);
            start = end + 1;
        }
    return values;
}

TKString AfterPrefix(const TKString& text, const char* prefix) {
    const int32_t length = int32_t(std::strlen(prefix));
    if (text.Length() < length || TKString(text.Left(length)).CompareNoCase(prefix) != 0) return TKString();
    TKString rest = text.Mid(length);
    return rest.Trim(" ");
}

void AddGeometry(TKCxFElement& measurement, const TKString& geometry) {
    if (geometry.IsEmpty()) return;
    for (const SphereText& sphere : kSpheres) {
        if (geometry.Find(sphere.text, 0, true) < 0) continue;
        measurement.AddChild("cc:GeometryChoice").AddChild("cc:SphereGeometry").AddChild("cc:SphereType", sphere.type);
        return;
    }
    double illumination = 0, measured = 0;
    char rest[2] = {0, 0};
    if (std::sscanf(geometry.CString(), "%lf/%lf%1s", &illumination, &measured, rest) < 2) return;
    TKCxFElement single = measurement.AddChild("cc:GeometryChoice").AddChild("cc:SingleAngle");
    const int32_t comma = geometry.FindChar(',');
    if (comma > 0) single.AddChild("cc:SingleAngleConfiguration", TKString(geometry.Mid(comma + 1)).Trim(" "));
    single.AddChild("cc:IlluminationAngle", TKCxFNumber(illumination, "%.1f"));
    single.AddChild("cc:MeasurementAngle", TKCxFNumber(measured, "%.1f"));
}

TKString GeometryText(const TKCxFElement& geometry) {
    const TKCxFElement single = geometry.Child("SingleAngle");
    if (single.IsValid()) {
        double illumination = 0, measured = 0;
        if (!TKCxFParseNumber(single.ChildText("IlluminationAngle"), illumination) ||
            !TKCxFParseNumber(single.ChildText("MeasurementAngle"), measured))
            return TKString();
        TKString text = TKString::Format("%.1f/%.1f", illumination, measured);
        const TKString configuration = single.ChildText("SingleAngleConfiguration");
        if (!configuration.IsEmpty()) text += TKString(", ") + configuration;
        return text;
    }
    const TKString sphere = geometry.Child("SphereGeometry").ChildText("SphereType");
    for (const SphereText& known : kSpheres)
        if (sphere == known.type) return known.text;
    return sphere.IsEmpty() ? TKString() : TKString("sphere, ") + sphere;
}

TKString IlluminationTerm(const TKString& text) {
    for (const Term& term : kIlluminations)
        if (text == term.term || text.CompareNoCase(term.text) == 0) return term.term;
    return TKString();
}

}  // namespace

double TKCxFColorSpec::StartWL() const {
    double start = kTKSpectralStartNM;
    const TKCxFElement range = element.Child("MeasurementSpec").Child("WavelengthRange");
    if (range.HasAttribute("StartWL") && !TKCxFParseNumber(range.Attribute("StartWL"), start)) start = -1;
    return start;
}

double TKCxFColorSpec::Increment() const {
    double increment = kTKSpectralStepNM;
    const TKCxFElement range = element.Child("MeasurementSpec").Child("WavelengthRange");
    if (range.HasAttribute("Increment") && !TKCxFParseNumber(range.Attribute("Increment"), increment)) increment = -1;
    return increment;
}

TKString TKCxFColorSpec::MeasurementType() const { return element.Child("MeasurementSpec").ChildText("MeasurementType"); }

TKString TKCxFIlluminationText(const TKString& term) {
    for (const Term& known : kIlluminations)
        if (term == known.term) return known.text;
    if (term.Left(6) == "Custom" && term.Mid(6).IsInteger()) return TKString::Format("Custom %d", term.Mid(6).ToInt());
    return term;
}

void TKCxFSpecToKeywords(const TKCxFColorSpec& spec, TKColorChart& chart) {
    const TKCxFElement tristimulus = spec.element.Child("TristimulusSpec");
    // One keyword for all three: the CGATS reader keeps one value per keyword.
    TKString observer = tristimulus.ChildText("Observer");
    if (observer == "2_Degree") observer = "2";
    if (observer == "10_Degree") observer = "10";
    TKString weighting;
    const std::pair<const char*, TKString> parts[] = {
        {"ILLUMINANT, ", tristimulus.ChildText("Illuminant")}, {"OBSERVER, ", observer}, {"METHOD, ", tristimulus.ChildText("Method")}};
    for (const auto& part : parts)
        if (!part.second.IsEmpty()) weighting += (weighting.IsEmpty() ? "" : "; ") + TKString(part.first) + part.second;
    SetIfAbsent(chart, "WEIGHTING_FUNCTION", weighting);
    const TKCxFElement measurement = spec.element.Child("MeasurementSpec");
    SetIfAbsent(chart, "MEASUREMENT_GEOMETRY", GeometryText(measurement.Child("GeometryChoice")));
    const TKCxFElement device = measurement.Child("Device");
    SetIfAbsent(chart, "MEASUREMENT_SOURCE", device.ChildText("DeviceIllumination"));
    SetIfAbsent(chart, "FILTER", device.ChildText("DeviceFilter"));
    SetIfAbsent(chart, "POLARIZATION", device.ChildText("DevicePolarization"));
    const TKString maker = device.ChildText("Manufacturer"), model = device.ChildText("Model"),
                   serial = device.ChildText("SerialNumber");
    if (!maker.IsEmpty() || !serial.IsEmpty())
        SetIfAbsent(chart, "INSTRUMENT", maker + "; " + model + "; " + serial);
    else
        SetIfAbsent(chart, "INSTRUMENT", model);
}

TKCxFElement TKCxFSpecFromKeywords(const TKColorChart& chart, const TKString& id, const char* measurementType,
                                   bool spectral) {
    TKCxFElement spec = TKCxFElement::Make("cc:ColorSpecification");
    spec.SetAttribute("Id", id);
    TKString illuminant = "D50", observer = "2_Degree", method;
    for (const TKString& value : KeywordValues(chart, "WEIGHTING_FUNCTION")) {
        if (!AfterPrefix(value, "ILLUMINANT,").IsEmpty()) illuminant = AfterPrefix(value, "ILLUMINANT,");
        if (!AfterPrefix(value, "METHOD,").IsEmpty()) method = AfterPrefix(value, "METHOD,");
        const TKString angle = AfterPrefix(value, "OBSERVER,");
        if (angle == "2" || angle == "10")
            observer = angle + "_Degree";
        else if (!angle.IsEmpty())
            observer = angle;
    }
    TKCxFElement tristimulus = spec.AddChild("cc:TristimulusSpec");
    tristimulus.AddChild("cc:Illuminant", illuminant);
    tristimulus.AddChild("cc:Observer", observer);
    if (!method.IsEmpty()) tristimulus.AddChild("cc:Method", method);

    TKCxFElement measurement = spec.AddChild("cc:MeasurementSpec");
    measurement.AddChild("cc:MeasurementType", measurementType);
    AddGeometry(measurement, chart.Keyword("MEASUREMENT_GEOMETRY"));
    if (spectral) {
        TKCxFElement range = measurement.AddChild("cc:WavelengthRange");
        range.SetAttribute("StartWL", TKString::FromInt(kTKSpectralStartNM));
        range.SetAttribute("Increment", TKString::FromInt(kTKSpectralStepNM));
    }
    const TKString illumination = IlluminationTerm(chart.Keyword("MEASUREMENT_SOURCE"));
    TKString filter = chart.Keyword("FILTER"), polarization = chart.Keyword("POLARIZATION");
    bool knownFilter = false;
    for (const char* known : kFilters) knownFilter = knownFilter || filter == known;
    if (!knownFilter) filter.Clear();
    if (polarization != "true" && polarization != "false" && polarization != "yes" && polarization != "no")
        polarization.Clear();
    const TKString instrument = chart.Keyword("INSTRUMENT");
    if (illumination.IsEmpty() && filter.IsEmpty() && polarization.IsEmpty() && instrument.IsEmpty()) return spec;
    TKCxFElement device = measurement.AddChild("cc:Device");
    if (!illumination.IsEmpty()) device.AddChild("cc:DeviceIllumination", illumination);
    if (!filter.IsEmpty()) device.AddChild("cc:DeviceFilter", filter);
    if (!polarization.IsEmpty()) device.AddChild("cc:DevicePolarization", polarization);
    const int32_t first = instrument.Find("; ");
    const int32_t second = first < 0 ? -1 : instrument.Find("; ", first + 2);
    if (second > 0) {
        if (first > 0) device.AddChild("cc:Manufacturer", instrument.Left(first));
        if (second > first + 2) device.AddChild("cc:Model", instrument.Mid(first + 2, second - first - 2));
        if (instrument.Length() > second + 2) device.AddChild("cc:SerialNumber", instrument.Mid(second + 2));
    } else if (!instrument.IsEmpty()) {
        device.AddChild("cc:Model", instrument);
    }
    return spec;
}
