// A forward model of a printing process built from a calibration chart, so that gray balance
// can be solved on measurements as on a profile. Each ink's wedge gives its own transmission
// (its XYZ over the paper's, along the wedge); inks together multiply. Where the gray wedge
// (equal C, M, Y, no black) was measured, the model is corrected by the ratio of measured to
// modelled gray, weighted by the colour's gray component, so it is exact on the gray and the
// ink wedges and keeps the inks' mutual slopes around the gray.
#pragma once

#include <cstdint>
#include <vector>

#include "numeric/TKMatrix.h"
#include "numeric/TKTrafo.h"

class TKChartPressModel : public TKTrafo {
    TK_DECLARE_CLASS(TKChartPressModel, TKTrafo)
public:
    // device: an ink type of three or more channels (percent), measured: any CIE type.
    // NoMeasurementData without a paper row, without two steps of each chromatic ink's wedge
    // or without three steps of the gray wedge. A missing black wedge leaves black without effect.
    TKChartPressModel(const TKMatrix& device, const TKMatrix& measured);

    // True when the chart had a wedge of the channel.
    bool HasWedge(int32_t channel) const;

    int32_t GetSrcDim() const override { return fChannels; }
    int32_t GetDstDim(int32_t) const override { return 3; }
    int32_t GetSrcType() const override { return int32_t(fType); }
    int32_t GetDstType(int32_t) const override;
    // Device values in percent to "XYZ ".
    TKVector Trafo(const TKVector& source) const override;

private:
    // XYZ samples along one wedge, by position 0..1.
    struct Wedge {
        std::vector<double> position;
        std::vector<TKVector> xyz;
        TKVector At(double t) const;
    };
    bool ReadWedge(const TKVector& end, Wedge& wedge) const;
    TKVector Uncorrected(const TKVector& source) const;

    TKMatrix fDevice;
    TKMatrix fXYZ;
    uint32_t fType = 0;
    int32_t fChannels = 0;
    TKVector fPaper;
    std::vector<Wedge> fInks;  // empty wedge: the ink has no effect
    Wedge fGrayRatio;          // measured over modelled gray, by the gray step
};
