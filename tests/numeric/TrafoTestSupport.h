// Small trafos for the trafo tests: each is simple enough to be its own reference.
#pragma once

#include <string>
#include <vector>

#include "numeric/TKTrafo.h"

// Squares every channel: along the line from 0 to 1 the tone d1/(d1+d2) is t^2.
class TKTestSquareTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKTestSquareTrafo, TKTrafo)
public:
    TKVector Trafo(const TKVector& source) const override {
        TKVector r(source);
        for (int32_t i = 0; i < r.GetDim(); ++i) r[i] = source[i] * source[i];
        return r;
    }
};

// Adds a constant to every channel, in doubles and in pixels (saturating samples).
class TKTestAddTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKTestAddTrafo, TKTrafo)
public:
    TKTestAddTrafo(int32_t dim, double add, int32_t srcType = 0, int32_t dstType = 0)
        : fDim(dim), fAdd(add), fSrcType(srcType), fDstType(dstType) {}
    int32_t GetSrcDim() const override { return fDim; }
    int32_t GetSrcType() const override { return fSrcType; }
    int32_t GetDstType(int32_t srcType) const override { return fDstType ? fDstType : srcType; }
    TKVector Trafo(const TKVector& source) const override {
        if (source.GetDim() != fDim) TKThrow(DimMismatch);
        TKVector result(source);
        result.AddScalar(fAdd);
        result.SetType(GetDstType(source.GetType()));
        return result;
    }
    bool CanTrafo8() const override { return true; }
    bool CanTrafo16() const override { return true; }
    void TrafoPixels8(int32_t n, const uint8_t* const* s, uint8_t* const* d, const int32_t* ss, const int32_t* ds,
                      TKProgress*) const override {
        Pixels(n, s, d, ss, ds, 255);
    }
    void TrafoPixels16(int32_t n, const uint16_t* const* s, uint16_t* const* d, const int32_t* ss, const int32_t* ds,
                       TKProgress*) const override {
        Pixels(n, s, d, ss, ds, 65535);
    }

private:
    template <class S>
    void Pixels(int32_t n, const S* const* s, S* const* d, const int32_t* ss, const int32_t* ds, int top) const {
        for (int32_t p = 0; p < n; ++p)
            for (int32_t c = 0; c < fDim; ++c) {
                int v = int(s[c][int64_t(p) * ss[c]]) + int(fAdd);
                d[c][int64_t(p) * ds[c]] = S(v < 0 ? 0 : v > top ? top : v);
            }
    }
    int32_t fDim;
    double fAdd;
    int32_t fSrcType, fDstType;
};

// Maps `in` channels to `out` channels: output c is the sum of all inputs plus c.
class TKTestFanTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKTestFanTrafo, TKTrafo)
public:
    TKTestFanTrafo(int32_t in, int32_t out) : fIn(in), fOut(out) {}
    int32_t GetSrcDim() const override { return fIn; }
    int32_t GetDstDim(int32_t) const override { return fOut; }
    TKVector Trafo(const TKVector& source) const override {
        if (source.GetDim() != fIn) TKThrow(DimMismatch);
        TKVector result(fOut);
        for (int32_t c = 0; c < fOut; ++c) result[c] = source.Sum() + c;
        return result;
    }
    bool CanTrafo8() const override { return true; }
    void TrafoPixels8(int32_t n, const uint8_t* const* s, uint8_t* const* d, const int32_t* ss, const int32_t* ds,
                      TKProgress*) const override {
        for (int32_t p = 0; p < n; ++p) {
            int sum = 0;  // read every input before writing: the list may run this in place
            for (int32_t c = 0; c < fIn; ++c) sum += s[c][int64_t(p) * ss[c]];
            for (int32_t c = 0; c < fOut; ++c) d[c][int64_t(p) * ds[c]] = uint8_t((sum + c) & 0xFF);
        }
    }

private:
    int32_t fIn, fOut;
};

// Copies pixels and records every pixel call: its count and the strides of channel 0.
class TKTestRecordingTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKTestRecordingTrafo, TKTrafo)
public:
    struct Call {
        int32_t count;
        int32_t srcStride;
        int32_t dstStride;
        bool withProgress;
    };
    explicit TKTestRecordingTrafo(int32_t dim) : fDim(dim) {}
    int32_t GetSrcDim() const override { return fDim; }
    bool CanTrafo8() const override { return true; }
    bool CanTrafo16() const override { return true; }
    void TrafoPixels8(int32_t n, const uint8_t* const* s, uint8_t* const* d, const int32_t* ss, const int32_t* ds,
                      TKProgress* p) const override {
        Copy(n, s, d, ss, ds, p);
    }
    void TrafoPixels16(int32_t n, const uint16_t* const* s, uint16_t* const* d, const int32_t* ss, const int32_t* ds,
                       TKProgress* p) const override {
        Copy(n, s, d, ss, ds, p);
    }
    mutable std::vector<Call> calls;

private:
    template <class S>
    void Copy(int32_t n, const S* const* s, S* const* d, const int32_t* ss, const int32_t* ds, TKProgress* p) const {
        calls.push_back({n, fDim ? ss[0] : 0, fDim ? ds[0] : 0, p != nullptr});
        for (int32_t i = 0; i < n; ++i)
            for (int32_t c = 0; c < fDim; ++c) d[c][int64_t(i) * ds[c]] = S(s[c][int64_t(i) * ss[c]] + 1);
    }
    int32_t fDim;
};
