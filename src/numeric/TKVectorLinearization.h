// TKVectorLinearization: one TKCurveLinearization per channel, applied as a trafo. Channel i of
// a colour goes through curve i; channels beyond the curves pass unchanged, and the colour type
// stays. The front and back curves of links and the A, B and M curves of ICC tables are such
// trafos.
#pragma once

#include <cstdint>
#include <vector>

#include "numeric/TKCurveLinearization.h"
#include "numeric/TKTrafo.h"

class TKVectorLinearization : public TKTrafo {
    TK_DECLARE_CLASS(TKVectorLinearization, TKTrafo)
public:
    // The most channels a linearization holds.
    static constexpr int32_t kMaxChannels = 4096;

    TKVectorLinearization() = default;
    // `count` identity curves.
    explicit TKVectorLinearization(int32_t count);
    TKVectorLinearization(const TKVectorLinearization& other);
    TKVectorLinearization& operator=(const TKVectorLinearization& other);
    ~TKVectorLinearization() override;

    virtual int32_t GetCount() const;
    // Keeps the curves of channels that remain; new channels get the identity. ArgErr for a
    // count below 0 or above kMaxChannels.
    virtual void SetCount(int32_t count);
    // IndexError outside 0..count-1.
    virtual const TKCurveLinearization& GetCurve(int32_t channel) const;
    virtual TKCurveLinearization& GetCurveRef(int32_t channel);
    // Copies the curve into the channel.
    virtual void SetCurve(int32_t channel, const TKCurveLinearization& curve);
    // True when every curve is the identity (also for no curves).
    virtual bool IsIdentity() const;
    // Every curve becomes a table of `count` samples; ArgErr below 2.
    virtual void Resample(int32_t count);
    // Every curve is replaced by its inverse.
    virtual void Invert();
    // The inverse curves applied channel by channel, the counterpart of Trafo.
    virtual TKVector TrafoInverse(const TKVector& source) const;

    // The curve count, or 0 (any) without curves.
    int32_t GetSrcDim() const override;
    TKVector Trafo(const TKVector& source) const override;
    // The identity entry is answered from the curves on every call, since they can change.
    int32_t GetInfo(int32_t index) const override;

private:
    void CheckChannel(int32_t channel) const;

    std::vector<TKCurveLinearization> fCurves;
};
