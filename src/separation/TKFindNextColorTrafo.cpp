// The nearest colour of a chart as an inverse.
#include "separation/TKFindNextColorTrafo.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"

TKFindInterpolationPoints::TKFindInterpolationPoints(const TKMatrix& colours, uint32_t type, int32_t method)
    : fColours(colours), fType(type), fDifference(method) {
    if (colours.GetHeight() < 1) TKThrowMsg(DimMismatch, "an empty chart");
}

std::vector<int32_t> TKFindInterpolationPoints::Nearest(const TKVector& colour, int32_t count) const {
    TKVector wanted = colour;
    if (wanted.GetType() == 0) wanted.SetType(int32_t(fType));
    if (uint32_t(wanted.GetType()) != fType) wanted = ConvertColor(fType, wanted);
    if (wanted.GetDim() != fColours.GetWidth()) TKThrowMsg(DimMismatch, "colour and chart differ in size");
    std::vector<std::pair<double, int32_t>> distances;
    distances.reserve(size_t(fColours.GetHeight()));
    for (int32_t row = 0; row < fColours.GetHeight(); ++row)
        distances.emplace_back(fDifference.GetDifference(wanted, fColours.GetRow(row)), row);
    const size_t keep = size_t(std::clamp<int32_t>(count, 0, fColours.GetHeight()));
    std::partial_sort(distances.begin(), distances.begin() + long(keep), distances.end());
    std::vector<int32_t> rows;
    for (size_t i = 0; i < keep; ++i) rows.push_back(distances[i].second);
    return rows;
}

namespace {
const TKMatrix& CheckedCharts(const TKMatrix& device, const TKMatrix& colours) {
    if (device.GetHeight() < 1 || device.GetHeight() != colours.GetHeight())
        TKThrowMsg(DimMismatch, "device and colour charts differ in rows");
    return colours;
}

TKMatrix Typed(const TKMatrix& matrix, uint32_t type) {
    TKMatrix typed = matrix;
    typed.SetType(int32_t(type));
    return typed;
}
}  // namespace

TKFindNextColorTrafo::TKFindNextColorTrafo(const TKMatrix& device, uint32_t deviceType, const TKMatrix& colours,
                                           uint32_t colourType)
    : fDevice(device), fDeviceType(deviceType), fColourType(colourType),
      fPoints(Typed(CheckedCharts(device, colours), colourType), colourType) {}

TKRefPtr<TKFindNextColorTrafo> TKFindNextColorTrafo::FromForward(const TKTrafo& forward, int32_t gridPoints) {
    if (gridPoints < 2 || gridPoints > 33) TKThrowMsg(ArgErr, "grid of 2 to 33 points");
    const int32_t dim = forward.GetSrcDim();
    if (dim < 1) TKThrowMsg(DimMismatch, "forward trafo of any dimension");
    double total = 1.0;
    for (int32_t i = 0; i < dim; ++i) total *= gridPoints;
    if (total > double(1 << 20)) TKThrowMsg(BufferTooSmall, "chart of more than 2^20 samples");
    const uint32_t deviceType = forward.GetSrcType() ? uint32_t(forward.GetSrcType()) : GetColorType(dim);
    const TKVector low = GetMinVector(deviceType), high = GetMaxVector(deviceType);
    const int32_t rows = int32_t(total);
    TKMatrix device(rows, dim, int32_t(deviceType));
    for (int32_t row = 0; row < rows; ++row)
        for (int32_t c = dim - 1, rest = row; c >= 0; --c, rest /= gridPoints)  // first channel slowest
            device(row, c) = low[c] + (high[c] - low[c]) * (rest % gridPoints) / (gridPoints - 1);
    const TKMatrix colours = forward.TrafoMatrix(device);
    const uint32_t colourType = uint32_t(forward.GetDstType(int32_t(deviceType)));
    return TKRefPtr<TKFindNextColorTrafo>(
        new TKFindNextColorTrafo(device, deviceType, colours, colourType ? colourType : TKLabSpace), true);
}

int32_t TKFindNextColorTrafo::GetSrcDim() const { return GetChannelCount(fColourType); }
int32_t TKFindNextColorTrafo::GetDstDim(int32_t) const { return fDevice.GetWidth(); }

TKVector TKFindNextColorTrafo::Trafo(const TKVector& source) const {
    TKVector device = fDevice.GetRow(fPoints.Nearest(source, 1).front());
    device.SetType(int32_t(fDeviceType));
    return device;
}
