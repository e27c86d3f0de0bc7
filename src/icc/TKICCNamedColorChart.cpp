// "ncl2" named colours to and from the chart model.
#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "icc/TKICCColorantTags.h"

TKRefPtr<TKColorChart> TKNamedColor2TypeTag::GetChart() {
    auto chart = TKMakeRef<TKColorChart>();
    const int32_t count = GetCount();
    if (count == 0) return chart;  // a block under 76 bytes gives nothing
    const int32_t n = GetDeviceChannels();
    TKMatrix pcs(count, 3, int32_t(fPCSSpace));
    TKMatrix device;
    std::vector<TKString> names(static_cast<size_t>(count));
    bool named = false;
    for (int32_t i = 0; i < count; ++i) {
        pcs.SetRow(i, GetPCS(i));
        if (n > 0) {
            const TKVector values = GetDevice(i);
            if (device.IsEmpty()) device = TKMatrix(count, n, values.GetType());
            device.SetRow(i, values);
        }
        names[size_t(i)] = GetColorName(i);
        named = named || !names[size_t(i)].IsEmpty();
    }
    if (!device.IsEmpty()) chart->SetMatrix(device);
    chart->SetMatrix(pcs);
    if (named) chart->SetNames(std::move(names));
    return chart;
}

void TKNamedColor2TypeTag::SetChart(const TKColorChart& chart) {
    std::vector<TKString> names;
    for (int32_t i = 0; i < chart.Count(); ++i) names.push_back(!chart.Name(i).IsEmpty() ? chart.Name(i) : chart.ID(i));
    TKMatrix pcs = chart.Matrix(fPCSSpace);
    if (pcs.IsEmpty() && chart.MeasuredType()) {
        TKColorChart converted(chart);
        converted.ConvertMeasured(fPCSSpace);
        pcs = converted.Matrix(fPCSSpace);
    }
    SetColors(names, pcs, chart.Matrix(chart.DeviceType()));
}
