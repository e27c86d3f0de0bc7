// The collectors of the CGATS reader: rows of one type into a matrix, whole tables into a chart.
#include <algorithm>
#include <cmath>

#include "charts/TKIT8Reader.h"
#include "color/TKColors.h"

// --- Matrix ---------------------------------------------------------------------------------------

void IT8Format2MatrixReader::Begin() {
    fMatrix = TKMatrix();
    fRowsData.clear();
    fRowCount = 0;
    fType = 0;
}

void IT8Format2MatrixReader::SetColorType(uint32_t colorType) {
    fType = colorType;
    SetDimension(GetChannelCount(colorType));
}

void IT8Format2MatrixReader::AddRow(const TKVector& row) {
    if (Dimension() < 1) TKThrowMsg(DimMismatch, "Rows of a type without channels");
    // Capacity doubles when full, from a first block of 32 rows.
    if (fRowsData.capacity() < size_t(fRowCount + 1) * size_t(Dimension()))
        fRowsData.reserve(size_t(std::max(32, 2 * fRowCount)) * size_t(Dimension()));
    for (int32_t c = 0; c < Dimension(); ++c) fRowsData.push_back(c < row.GetDim() ? row[c] : 0.0);
    ++fRowCount;
}

void IT8Format2MatrixReader::End() {
    TKMatrix matrix(fRowCount, Dimension(), int32_t(fType));
    std::copy(fRowsData.begin(), fRowsData.end(), matrix.MutableValues());
    fRowsData = std::vector<double>();
    if (!matrix.IsEmpty()) {
        double largest = matrix(0, 0);
        for (int32_t i = 0; i < fRowCount * Dimension(); ++i) largest = std::max(largest, matrix.Values()[i]);
        // Percent RGB and 8-bit inks come from instruments and profilers that count otherwise.
        double scale = 1;
        if (fType == TKRGBSpace && std::fabs(largest - 100) < 1e-6) scale = 255.0 / 100.0;
        if (IsInkSpace(fType) && std::fabs(largest - 255) < 1e-6) scale = 100.0 / 255.0;
        if (scale != 1)
            for (int32_t i = 0; i < fRowCount * Dimension(); ++i) matrix.MutableValues()[i] *= scale;
    }
    fMatrix = matrix;
}

// --- Chart ----------------------------------------------------------------------------------------

void IT8Format2ChartReader::Begin() { fResult.Reset(); }

void IT8Format2ChartReader::SetColorType(uint32_t colorType) { SetDimension(GetChannelCount(colorType)); }

void IT8Format2ChartReader::BeginRecords() {
    fTypeValues.assign(Types().size(), std::vector<double>());
    fIDs.clear();
    fNames.clear();
    fLocations.clear();
    fExtras.clear();
    fExtraColumns.clear();
    fIDColumn = fNameColumn = fLocationColumn = -1;
    const std::vector<TKChartField>& fields = Fields();
    for (size_t f = 0; f < fields.size(); ++f) {
        switch (fields[f].kind) {
            case kChartFieldID: fIDColumn = int32_t(f); break;
            case kChartFieldName: fNameColumn = int32_t(f); break;
            case kChartFieldLocation: fLocationColumn = int32_t(f); break;
            case kChartFieldExtra: fExtraColumns.push_back(int32_t(f)); break;
            default: break;
        }
    }
}

void IT8Format2ChartReader::AddRecord() {
    const std::vector<TypeColumns>& types = Types();
    for (size_t t = 0; t < types.size(); ++t) {
        std::vector<double>& out = fTypeValues[t];
        if (IsSpectral(types[t].type)) {
            const TKVector row = TypeRow(types[t]);
            out.insert(out.end(), row.Values(), row.Values() + row.GetDim());
        } else {
            const double* values = Values() + types[t].firstSlot;
            out.insert(out.end(), values, values + types[t].columns.size());
        }
    }
    if (fIDColumn >= 0) fIDs.emplace_back(Text(fIDColumn).c_str(), int32_t(Text(fIDColumn).size()));
    if (fNameColumn >= 0) fNames.emplace_back(Text(fNameColumn).c_str(), int32_t(Text(fNameColumn).size()));
    if (fLocationColumn >= 0) fLocations.emplace_back(Text(fLocationColumn).c_str(), int32_t(Text(fLocationColumn).size()));
    for (int32_t column : fExtraColumns) fExtras.emplace_back(Text(column).c_str(), int32_t(Text(column).size()));
}

void IT8Format2ChartReader::EndTable() {
    auto table = TKMakeRef<TKColorChart>();
    const std::vector<TypeColumns>& types = Types();
    for (size_t t = 0; t < types.size(); ++t) {
        const int32_t width = int32_t(types[t].columns.size());
        TKMatrix matrix(Rows(), width, int32_t(types[t].type));
        std::copy(fTypeValues[t].begin(), fTypeValues[t].end(), matrix.MutableValues());
        table->SetMatrix(matrix);
    }
    fTypeValues.clear();
    std::vector<TKString> extraNames;
    for (int32_t column : fExtraColumns) extraNames.push_back(Fields()[size_t(column)].name);
    if (!extraNames.empty()) table->SetExtras(std::move(extraNames), std::move(fExtras));
    if (fIDColumn >= 0) table->SetIDs(std::move(fIDs));
    if (fNameColumn >= 0) table->SetNames(std::move(fNames));
    if (fLocationColumn >= 0) table->SetLocations(std::move(fLocations));
    // Extras of a text-only table set its count; a table of no columns at all has Rows() samples.
    table->SetFields(Fields());
    table->SetHeader(Keywords());
    table->SetFromFile(true);
    if (fResult)
        fResult->AddTable(table.Detach(), true);
    else
        fResult = table;
}

void IT8Format2ChartReader::End() {
    if (!fResult) return;
    const TKFileSpec file = fTarget.File();
    fTarget.Swap(*fResult);
    fTarget.SetFile(file);
    fResult.Reset();
}
