// Reading measured wedges for tintara calibrate. The public interface takes measurements as
// data sets, not as files, so this is the one place where the host reads through the engine's
// own chart reader; everything it calculates goes through the public functions.
#include "CalibrationData.h"

#include "HostSupport.h"
#include "charts/TKColorChart.h"
#include "color/TKColors.h"
#include "io/TKFileSpec.h"

namespace host {

namespace {

int32_t ServeRow(int32_t index, double* values, void* userData) {
    const auto* table = static_cast<const CalibrationData::Table*>(userData);
    if (!table || index < 0 || index >= table->Rows()) return 7;
    for (int32_t c = 0; c < table->width; ++c) values[c] = table->values[size_t(index) * size_t(table->width) + size_t(c)];
    return 0;
}

CalibrationData::Table TableOf(const TKColorChart& chart, uint32_t type) {
    const TKMatrix matrix = chart.Matrix(type);
    CalibrationData::Table table;
    table.type = type;
    table.width = matrix.GetWidth();
    table.values.assign(matrix.Values(), matrix.Values() + size_t(matrix.GetHeight()) * size_t(matrix.GetWidth()));
    return table;
}

}  // namespace

TKVectorDataSet CalibrationData::DeviceSet() const {
    TKVectorDataSet set;
    TKInitVectorDataSet(&set, device.type, ServeRow, const_cast<Table*>(&device));
    return set;
}

TKVectorDataSet CalibrationData::MeasuredSet() const {
    TKVectorDataSet set;
    TKInitVectorDataSet(&set, measured.type, ServeRow, const_cast<Table*>(&measured));
    return set;
}

CalibrationData ReadCalibrationData(const std::string& path) {
    TKRefPtr<TKColorChart> chart(new TKColorChart, true);
    try {
        chart->Read(TKFileSpec(TKString(path.c_str())));
    } catch (const TKError& error) {
        throw Failure(path + ": " + CodeName(error.code()) + (*error.message() ? std::string(", ") + error.message() : ""));
    }
    const uint32_t deviceType = chart->DeviceType(), measuredType = chart->MeasuredType();
    if (!deviceType || !IsDeviceSpace(deviceType)) throw Failure(path + ": no device values");
    if (!measuredType || !(IsCIESpace(measuredType) || IsSpectral(measuredType))) throw Failure(path + ": no measurements");
    CalibrationData data;
    data.device = TableOf(*chart, deviceType);
    data.measured = TableOf(*chart, measuredType);
    if (data.device.Rows() != data.measured.Rows() || data.device.Rows() < 2)
        throw Failure(path + ": too few rows with device values and measurements");
    return data;
}

}  // namespace host
