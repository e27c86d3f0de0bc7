// TKColorChart operations on whole charts: selection, merging and averaging of repeated
// measurements, conversion of measured values, and comparison.
#include <cmath>
#include <cstring>

#include "charts/TKColorChart.h"
#include "color/TKCIEConverter.h"
#include "color/TKColors.h"

namespace {

// Averages of Lab-like values are taken in XYZ: a mean of L* is not the L* of the mean light.
bool AveragesThroughXYZ(uint32_t type) { return IsCIESpace(type) && type != TKXYZSpace && !IsSpectralOrDensity(type); }

// The sum of rows `rows` of `m`, as a colour of the matrix's type or through XYZ.
TKVector MeanOfRows(const TKMatrix& m, const std::vector<int32_t>& rows) {
    const uint32_t type = uint32_t(m.GetType());
    const bool viaXYZ = AveragesThroughXYZ(type);
    TKVector sum(viaXYZ ? 3 : m.GetWidth(), viaXYZ ? int32_t(TKXYZSpace) : int32_t(type));
    for (int32_t r : rows) {
        const TKVector row = viaXYZ ? ConvertColor(TKXYZSpace, m.GetRow(r)) : m.GetRow(r);
        for (int32_t c = 0; c < sum.GetDim(); ++c) sum[c] += row[c];
    }
    for (int32_t c = 0; c < sum.GetDim(); ++c) sum[c] /= double(rows.size());
    return viaXYZ ? ConvertColor(type, sum) : sum;
}

// Each measured matrix of `chart` replaced by the means over the groups of rows.
void AverageMeasured(TKColorChart& target, const TKColorChart& source, const std::vector<std::vector<int32_t>>& groups) {
    for (uint32_t type : source.Container(1).ColorTypes()) {
        const TKMatrix m = source.Matrix(type);
        TKMatrix out(int32_t(groups.size()), m.GetWidth(), m.GetType());
        for (size_t g = 0; g < groups.size(); ++g) out.SetRow(int32_t(g), MeanOfRows(m, groups[g]));
        target.SetMatrix(out);
    }
}

bool SameTexts(const TKColorChart& a, const TKColorChart& b, TKString (TKColorChart::*get)(int32_t) const,
               const char* what, TKString* difference) {
    for (int32_t i = 0; i < a.Count(); ++i) {
        if ((a.*get)(i) != (b.*get)(i)) {
            if (difference)
                *difference = TKString::Format("%s of sample %d: \"%s\" vs \"%s\"", what, i, (a.*get)(i).CString(),
                                               (b.*get)(i).CString());
            return false;
        }
    }
    return true;
}

bool SameBase(const TKDataBase& a, const TKDataBase& b, const TKString& prefix, TKString* difference) {
    if (a.Count() != b.Count()) {
        if (difference)
            *difference = TKString::Format("keywords%s: %d vs %d entries", prefix.CString(), a.Count(), b.Count());
        return false;
    }
    for (int32_t i = 0; i < a.Count(); ++i) {
        if (a.Key(i) != b.Key(i) || a.Value(i) != b.Value(i)) {
            if (difference)
                *difference = TKString::Format("keyword %s%s = \"%s\" vs %s = \"%s\"", prefix.CString(), a.Key(i).CString(),
                                               a.Value(i).CString(), b.Key(i).CString(), b.Value(i).CString());
            return false;
        }
        const TKRefPtr<TKDataBase> subA = a.SubBaseAt(i), subB = b.SubBaseAt(i);
        if (bool(subA) != bool(subB)) {
            if (difference) *difference = TKString::Format("keyword %s%s: nested in one only", prefix.CString(), a.Key(i).CString());
            return false;
        }
        if (subA && !SameBase(*subA, *subB, prefix + a.Key(i) + "/", difference)) return false;
    }
    return true;
}

}  // namespace

TKRefPtr<TKColorChart> TKColorChart::Select(const std::vector<int32_t>& rows) const {
    for (int32_t r : rows) CheckIndex(r);
    auto out = TKMakeRef<TKColorChart>(*this);
    for (auto& container : out->fContainers) container->SelectRows(rows);
    auto pick = [&rows](std::vector<TKString>& texts, size_t width) {
        if (texts.empty()) return;
        std::vector<TKString> kept;
        kept.reserve(rows.size() * width);
        for (int32_t r : rows)
            for (size_t c = 0; c < width; ++c) kept.push_back(texts[size_t(r) * width + c]);
        texts = std::move(kept);
    };
    pick(out->fIDs, 1);
    pick(out->fNames, 1);
    pick(out->fLocations, 1);
    pick(out->fExtraValues, fExtraNames.size());
    out->fCount = int32_t(rows.size());
    return out;
}

TKRefPtr<TKColorChart> TKColorChart::MergeDuplicates(double tolerance) const {
    const TKMatrix device = Matrix(DeviceType());
    if (device.IsEmpty()) TKThrowMsg(WrongDataType, "A chart without device values has no duplicates to merge");
    std::vector<std::vector<int32_t>> groups;
    std::vector<int32_t> firsts;
    for (int32_t r = 0; r < fCount; ++r) {
        size_t g = 0;
        for (; g < groups.size(); ++g) {
            bool same = true;
            for (int32_t c = 0; c < device.GetWidth() && same; ++c)
                same = std::fabs(device(r, c) - device(firsts[g], c)) <= tolerance;
            if (same) break;
        }
        if (g == groups.size()) {
            groups.emplace_back();
            firsts.push_back(r);
        }
        groups[g].push_back(r);
    }
    TKRefPtr<TKColorChart> out = Select(firsts);
    AverageMeasured(*out, *this, groups);
    return out;
}

TKRefPtr<TKColorChart> TKColorChart::Average(const std::vector<const TKColorChart*>& charts) {
    if (charts.empty() || !charts.front()) TKThrow(ArgErr);
    const TKColorChart& first = *charts.front();
    const std::vector<uint32_t> measured = first.Container(1).ColorTypes();
    for (const TKColorChart* chart : charts) {
        if (!chart) TKThrow(ArgErr);
        if (chart->Count() != first.Count())
            TKThrowMsg(DimMismatch, TKString::Format("Charts of %d and %d samples", first.Count(), chart->Count()));
        if (chart->Container(1).ColorTypes() != measured)
            TKThrowMsg(WrongDataType, "Charts with different measured types");
    }
    // All measurements of one sample form a group of a combined chart.
    TKColorChart combined;
    for (uint32_t type : measured) {
        TKMatrix all(first.Count() * int32_t(charts.size()), first.Matrix(type).GetWidth(), int32_t(type));
        for (size_t k = 0; k < charts.size(); ++k) {
            const TKMatrix m = charts[k]->Matrix(type);
            for (int32_t r = 0; r < m.GetHeight(); ++r)
                for (int32_t c = 0; c < m.GetWidth(); ++c) all(int32_t(k) * first.Count() + r, c) = m(r, c);
        }
        combined.SetMatrix(all);
    }
    std::vector<std::vector<int32_t>> groups(size_t(first.Count()));
    for (int32_t r = 0; r < first.Count(); ++r)
        for (size_t k = 0; k < charts.size(); ++k) groups[size_t(r)].push_back(int32_t(k) * first.Count() + r);
    auto out = TKMakeRef<TKColorChart>(first);
    AverageMeasured(*out, combined, groups);
    return out;
}

void TKColorChart::ConvertMeasured(uint32_t type) {
    if (!IsCIESpace(type) || IsSpectralOrDensity(type))
        TKThrowMsg(WrongDataType, TKString::Format("Measured values cannot be converted to %s", GetTypeName(type).CString()));
    if (HasType(type)) return;  // measured values in that type stay as measured
    uint32_t source = 0;
    for (uint32_t t : fContainers[1]->ColorTypes()) {
        auto rank = [](uint32_t x) { return IsSpectral(x) && x != TKDensSpace ? 0 : x == TKXYZSpace ? 1 : IsCIESpace(x) ? 2 : 3; };
        if (rank(t) < 3 && (!source || rank(t) < rank(source))) source = t;
    }
    if (!source) TKThrowMsg(WrongDataType, "The chart has no measured values to convert");
    TKMatrix converted;
    ConvertColors(converted, type, Matrix(source));
    SetMatrix(converted);
}

bool TKColorChart::SameContent(const TKColorChart& other, TKString* difference) const {
    auto fail = [difference](const TKString& text) {
        if (difference) *difference = text;
        return false;
    };
    if (fCount != other.fCount) return fail(TKString::Format("%d vs %d samples", fCount, other.fCount));
    if (ColorTypes() != other.ColorTypes()) return fail("different colour types");
    for (uint32_t type : ColorTypes()) {
        const TKMatrix a = Matrix(type), b = other.Matrix(type);
        if (a.GetWidth() != b.GetWidth()) return fail(TKString::Format("widths of %s", GetTypeName(type).CString()));
        for (int32_t r = 0; r < a.GetHeight(); ++r)
            for (int32_t c = 0; c < a.GetWidth(); ++c)
                if (a(r, c) != b(r, c))
                    return fail(TKString::Format("%s of sample %d, channel %d: %.17g vs %.17g", GetTypeName(type).CString(),
                                                 r, c, a(r, c), b(r, c)));
    }
    if (!SameTexts(*this, other, &TKColorChart::ID, "SAMPLE_ID", difference) ||
        !SameTexts(*this, other, &TKColorChart::Name, "SAMPLE_NAME", difference) ||
        !SameTexts(*this, other, &TKColorChart::Location, "SAMPLE_LOC", difference))
        return false;
    if (fExtraNames != other.fExtraNames) return fail("different extra fields");
    for (size_t i = 0; i < fExtraValues.size(); ++i)
        if (fExtraValues[i] != other.fExtraValues[i])
            return fail(TKString::Format("extra value %d: \"%s\" vs \"%s\"", int32_t(i), fExtraValues[i].CString(),
                                         other.fExtraValues[i].CString()));
    const std::vector<TKChartField> fieldsA = WritableFields(), fieldsB = other.WritableFields();
    if (fieldsA.size() != fieldsB.size()) return fail("different numbers of fields");
    for (size_t i = 0; i < fieldsA.size(); ++i)
        if (fieldsA[i].name != fieldsB[i].name)
            return fail(TKString::Format("field %d: %s vs %s", int32_t(i), fieldsA[i].name.CString(), fieldsB[i].name.CString()));
    if (!SameBase(fHeader, other.fHeader, "", difference)) return false;
    if (fTables.size() != other.fTables.size()) return fail("different numbers of tables");
    for (size_t t = 0; t < fTables.size(); ++t) {
        TKString inner;
        if (!fTables[t]->SameContent(*other.fTables[t], &inner))
            return fail(TKString::Format("table %d: %s", int32_t(t) + 2, inner.CString()));
    }
    return true;
}
