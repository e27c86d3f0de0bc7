// Spot inks in CxF3: reading and building the characterisation block, and using a spot chart.
#include "charts/TKCxFSpotInk.h"

#include <algorithm>
#include <cmath>

#include "charts/TKCxFValues.h"
#include "color/TKColors.h"

const char* const kTKSpotInkInfoKeys[5] = {"SubstrateName", "SubstrateType", "SurfaceFinish", "PrintProcess",
                                           "InventoryID"};

namespace {

// Substrate details go into their own group; the process and inventory number stand alone.
bool InSubstrateGroup(int32_t key) { return key < 3; }

// A value that stands as a child element or as an attribute.
TKString ChildOrAttribute(const TKCxFElement& element, const char* name) {
    const TKCxFElement child = element.Child(name);
    return child.IsValid() ? child.text : element.Attribute(name);
}

TKString ObjectReference(const TKCxFElement& measurement) {
    const TKCxFElement ref = measurement.Child("ObjectRef");
    if (!ref.IsValid()) return measurement.Attribute("ObjectRef");
    for (const char* attribute : {"ObjectId", "ObjectID", "Id", "Ref"})
        if (ref.HasAttribute(attribute)) return ref.Attribute(attribute);
    return ref.text;
}

int32_t ExtraColumn(const TKColorChart& chart, const char* name) {
    for (int32_t e = 0; e < chart.ExtraCount(); ++e)
        if (chart.ExtraName(e) == name) return e;
    return -1;
}

}  // namespace

bool TKCxFReadSpotInk(const TKCxFElement& resources, TKCxFSpotInkData& ink, TKString& problem) {
    const std::vector<TKCxFElement> blocks = resources.Child("CustomResources").Children("SpotInkCharacterisation");
    if (blocks.empty()) return false;
    const TKCxFElement& block = blocks.front();
    ink.inkCount = int32_t(blocks.size());
    ink.name = ChildOrAttribute(block, "SpotInkName");
    const TKCxFElement substrate = block.Child("Substrate");
    for (const char* key : kTKSpotInkInfoKeys) {
        TKString value = ChildOrAttribute(block, key);
        if (value.IsEmpty()) value = ChildOrAttribute(substrate, key);
        if (!value.IsEmpty()) ink.info.emplace_back(key, value);
    }
    double largest = 0;
    for (const TKCxFElement& set : block.Children("MeasurementSet")) {
        const TKString setBackground = ChildOrAttribute(set, "Background");
        for (const TKCxFElement& measurement : set.Children("Measurement")) {
            TKCxFSpotMeasurement m;
            m.background = ChildOrAttribute(measurement, "Background");
            if (m.background.IsEmpty()) m.background = setBackground;
            // A tint that names no background is printed on the bare substrate.
            if (m.background.IsEmpty()) m.background = "Substrate";
            TKString tint = ChildOrAttribute(measurement, "TintLevel");
            if (tint.IsEmpty()) tint = ChildOrAttribute(measurement, "Percentage");
            m.objectRef = ObjectReference(measurement);
            m.spectrumName = ChildOrAttribute(measurement, "RSNameRef");
            if (m.objectRef.IsEmpty()) {
                problem = "a spot ink measurement without ObjectRef";
                return false;
            }
            if (!TKCxFParseNumber(tint, m.tint) || m.tint < 0 || m.tint > 100) {
                problem = TKString::Format("spot ink measurement of \"%s\": TintLevel \"%s\" is no tint of 0 to 100",
                                           m.objectRef.Left(60).CString(), tint.Left(40).CString());
                return false;
            }
            largest = std::max(largest, m.tint);
            ink.measurements.push_back(m);
        }
    }
    // Tints written as fractions of the solid (the solid as 1): 0.5 is half tone, not half a percent.
    if (largest == 1)
        for (TKCxFSpotMeasurement& m : ink.measurements) m.tint *= 100;
    return true;
}

TKCxFElement TKCxFMakeSpotInk(const TKColorChart& chart, const std::vector<TKString>& objectIDs) {
    if (!TKSpotInkChart(chart)) return {};
    TKCxFElement block = TKCxFElement::Make("sic:SpotInkCharacterisation");
    TKString name = chart.Keyword("SpotInkName");
    const std::vector<TKString> channels = chart.ChannelNames();
    if (name.IsEmpty() && !channels.empty()) name = channels.front();
    block.AddChild("sic:SpotInkName", name.IsEmpty() ? TKString("Spot") : name);
    TKCxFElement substrate;
    for (int32_t k = 0; k < 5; ++k) {
        const TKString value = chart.Keyword(kTKSpotInkInfoKeys[k]);
        if (value.IsEmpty()) continue;
        if (InSubstrateGroup(k) && !substrate.IsValid()) substrate = block.AddChild("sic:Substrate");
        (InSubstrateGroup(k) ? substrate : block).AddChild((TKString("sic:") + kTKSpotInkInfoKeys[k]).CString(), value);
    }
    // One measurement set per background, in the order the backgrounds first appear.
    std::vector<TKString> backgrounds;
    std::vector<TKCxFElement> sets;
    for (int32_t i = 0; i < chart.Count(); ++i) {
        TKString background;
        double tint = 0;
        if (!TKSpotInkSample(chart, i, background, tint)) continue;
        const size_t set = size_t(std::find(backgrounds.begin(), backgrounds.end(), background) - backgrounds.begin());
        if (set == backgrounds.size()) {
            backgrounds.push_back(background);
            sets.push_back(block.AddChild("sic:MeasurementSet"));
            sets.back().AddChild("sic:Background", background);
        }
        TKCxFElement measurement = sets[set].AddChild("sic:Measurement");
        measurement.AddChild("sic:TintLevel", TKCxFNumber(tint));
        measurement.AddChild("sic:ObjectRef").SetAttribute("ObjectId", objectIDs[size_t(i)]);
    }
    return block;
}

bool TKSpotInkChart(const TKColorChart& chart) {
    return ExtraColumn(chart, "Background") >= 0 &&
           (chart.DeviceType() == TK1CLRSpace || ExtraColumn(chart, "TintLevel") >= 0);
}

bool TKSpotInkSample(const TKColorChart& chart, int32_t sample, TKString& background, double& tint) {
    const int32_t column = ExtraColumn(chart, "Background");
    if (column < 0) return false;
    background = chart.ExtraValue(sample, column);
    if (background.IsEmpty()) return false;
    const int32_t tintColumn = ExtraColumn(chart, "TintLevel");
    if (tintColumn >= 0) return TKCxFParseNumber(chart.ExtraValue(sample, tintColumn), tint);
    if (chart.DeviceType() != TK1CLRSpace) return false;
    tint = chart.Matrix(TK1CLRSpace)(sample, 0);
    return true;
}

std::vector<int32_t> TKSpotInkTints(const TKColorChart& chart, const char* background) {
    std::vector<std::pair<double, int32_t>> found;
    for (int32_t i = 0; i < chart.Count(); ++i) {
        TKString on;
        double tint = 0;
        if (TKSpotInkSample(chart, i, on, tint) && on == background) found.emplace_back(tint, i);
    }
    std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<int32_t> samples;
    for (const auto& f : found) samples.push_back(f.second);
    return samples;
}

std::vector<TKSpotInkOpacity> TKSpotInkOpacities(const TKColorChart& chart) {
    TKColorChart measured(chart);
    measured.ConvertMeasured(TKXYZSpace);
    const TKMatrix xyz = measured.Matrix(TKXYZSpace);
    auto tintsOf = [&](const char* background) {
        std::vector<std::pair<double, double>> tints;  // tint, Y
        for (int32_t i : TKSpotInkTints(chart, background)) {
            TKString on;
            double tint = 0;
            TKSpotInkSample(chart, i, on, tint);
            tints.emplace_back(tint, xyz(i, 1));
        }
        return tints;
    };
    const auto substrate = tintsOf("Substrate"), black = tintsOf("Black");
    if (substrate.empty() || black.empty() || substrate.front().first != 0 || black.front().first != 0)
        TKThrowMsg(NotFound, "Opacity needs the bare substrate and the bare black (tint 0)");
    const double contrast = substrate.front().second - black.front().second;
    if (!(std::fabs(contrast) > 1e-9)) TKThrowMsg(DivZero, "Substrate and black have the same Y");
    std::vector<TKSpotInkOpacity> out;
    for (const auto& s : substrate) {
        if (s.first == 0) continue;
        for (const auto& b : black)
            if (b.first == s.first) out.push_back({s.first, 100.0 * (1.0 - (s.second - b.second) / contrast)});
    }
    return out;
}
