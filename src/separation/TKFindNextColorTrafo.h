// Inversion without iteration: a chart of device colours and their CIE values, and the stored
// colour nearest to the one asked for. It serves as a start for the searching inverses.
#pragma once

#include <vector>

#include "color/TKColorDifference.h"
#include "numeric/TKMatrix.h"
#include "numeric/TKTrafo.h"

// The entries of a chart nearest to a colour by a colour difference.
class TKFindInterpolationPoints {
public:
    // `colours`: one CIE colour per row, of type `type`. DimMismatch for an empty chart.
    TKFindInterpolationPoints(const TKMatrix& colours, uint32_t type, int32_t method = kTKDeltaE76);
    // The rows of the `count` nearest entries, nearest first.
    std::vector<int32_t> Nearest(const TKVector& colour, int32_t count) const;

private:
    TKMatrix fColours;
    uint32_t fType;
    TKColorDifference fDifference;
};

class TKFindNextColorTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKFindNextColorTrafo, TKTrafo)
public:
    // DimMismatch unless both charts have the same number of rows and some.
    TKFindNextColorTrafo(const TKMatrix& device, uint32_t deviceType, const TKMatrix& colours, uint32_t colourType);
    // The chart of a forward trafo sampled on `gridPoints` per device channel (2 to 33,
    // ArgErr otherwise; at most 2^20 samples, BufferTooSmall above).
    static TKRefPtr<TKFindNextColorTrafo> FromForward(const TKTrafo& forward, int32_t gridPoints);

    int32_t GetSrcDim() const override;
    int32_t GetDstDim(int32_t) const override;
    int32_t GetSrcType() const override { return int32_t(fColourType); }
    int32_t GetDstType(int32_t) const override { return int32_t(fDeviceType); }
    // The device colour of the nearest chart entry.
    TKVector Trafo(const TKVector& source) const override;

private:
    TKMatrix fDevice;
    uint32_t fDeviceType;
    uint32_t fColourType;
    TKFindInterpolationPoints fPoints;
};
