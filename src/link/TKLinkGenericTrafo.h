// TKLinkGenericTrafo: a device link that is itself a trafo. It cuts a trafo into front curves, a
// grid and back curves, bakes them into the tables of TKLinkGeneric, and evaluates colours and
// pixels through those tables.
// Cast("TKLinkGenericTrafo") answers the address of this class; reach the table model from it
// (a TKLinkGenericTrafo* converts to TKLinkGeneric*), never by reading that address as the base.
#pragma once

#include "foundation/TKUseGate.h"
#include "link/TKLinkGeneric.h"
#include "numeric/TKLutTrafo.h"
#include "numeric/TKTrafoList.h"

class TKFileSpec;
class TKStream;

class TKLinkGenericTrafo : public TKLutTrafo, public TKLinkGeneric {
    TK_DECLARE_CLASS(TKLinkGenericTrafo, TKLutTrafo)
public:
    // Bits values of the colour path: 8-bit samples, 8 in and 16 out, else 16-bit samples.
    static constexpr int32_t kBits8 = 8;
    static constexpr int32_t kBits8To16 = 0x330;
    static constexpr int32_t kBits16 = 16;
    // The global integer option that stands in for options of 0 in CalcFromTrafo.
    static constexpr const char* kLinkDefaultOptionsKey = "LinkDefaultOptions";
    // The share of each XYZ axis at which the encoding puts the white.
    static constexpr double kXYZWhiteShare = 0.875;

    TKLinkGenericTrafo();
    TKLinkGenericTrafo(const TKLinkGenericTrafo& other);
    ~TKLinkGenericTrafo() override;

    // ---- TKTrafo ----
    int32_t GetSrcDim() const override;
    int32_t GetDstDim(int32_t srcDim) const override;
    int32_t GetDstDim() const override;
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    // A colour through the tables: converted to samples by Bits, matched as one pixel, converted
    // back. DimMismatch for a source of another dimension.
    TKVector Trafo(const TKVector& source) const override;
    bool CanTrafo8() const override { return true; }
    bool CanTrafo16() const override { return true; }
    // Sample strides, as TKTrafo counts them.
    void TrafoPixels8(int32_t count, const uint8_t* const* src, uint8_t* const* dst, const int32_t* srcStrides,
                      const int32_t* dstStrides, TKProgress* progress) const override;
    void TrafoPixels16(int32_t count, const uint16_t* const* src, uint16_t* const* dst, const int32_t* srcStrides,
                       const int32_t* dstStrides, TKProgress* progress) const override;
    // The grid's nodes, normalized to 0..1, as a look-up table reads them.
    TKVector GetNodeDst(int32_t node) const override;
    using TKTrafo::Load;
    using TKTrafo::Save;

    // ---- TKLinkGeneric ----
    void Init(int32_t srcDim, int32_t dstDim, int32_t grid, int32_t lazy) override;
    void CopyFrom(const TKLinkGeneric& link) override;
    void EvalInput16(const uint16_t* in, uint16_t* out) override;
    void EvalInput8(const uint8_t* in, uint16_t* out) override;
    void EvalNode(const uint16_t* position, uint16_t* out) override;
    void EvalOutput16(const uint16_t* in, uint16_t* out) override;
    void EvalOutput8(const uint16_t* in, uint8_t* out) override;

    // ---- Operations added to TKLutTrafo, in table order ----
    // 8-bit interleaved pixels in, 16-bit out: the raster form builds the per-channel pointers
    // and strides (channels plus pad samples per pixel) for the pixel form, which calls Match8To16.
    virtual void TrafoRaster8To16(int32_t count, const uint8_t* source, uint16_t* destination, int32_t srcPad,
                                  int32_t dstPad, TKProgress* progress) const;
    virtual void TrafoPixels8To16(int32_t count, const uint8_t* const* src, uint16_t* const* dst,
                                  const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) const;
    // Stores the three stages (owned by the caller: each gets a count of its own), bakes the
    // tables, and lets the stages go at once if the link is complete.
    virtual void SetTrafos(TKTrafo* inTrafo, TKTrafo* mainTrafo, TKTrafo* outTrafo, TKProgress* progress);
    // The main entry: a link of `trafo` with `grid` points per axis (below 1: a quality, see
    // FindGrid). The low two bits of `options` (0: the global "LinkDefaultOptions") equal to 1
    // make a lazy link. A trafo that is a link is copied, resampled if the grid differs.
    virtual void CalcFromTrafo(TKTrafo* trafo, int32_t grid, int32_t options, TKProgress* progress);
    virtual void CalcFromStages(TKTrafo* front, TKTrafo* middle, TKTrafo* back, int32_t srcType, int32_t dstType,
                                int32_t grid, int32_t options, TKProgress* progress);
    // As CalcFromStages with explicit source and destination ranges. ArgErr without any stage;
    // DimMismatch for ranges that don't have the stages' channel counts.
    virtual void CalcFromRanges(TKTrafo* front, TKTrafo* middle, TKTrafo* back, const TKVector& srcMin,
                                const TKVector& srcMax, const TKVector& dstMin, const TKVector& dstMax, int32_t grid,
                                int32_t options, TKProgress* progress);
    // The link file (defined with the file format).
    virtual void Load(TKFileSpec* fileSpec);
    virtual void LoadStream(TKStream& stream);
    virtual void Save(TKFileSpec* fileSpec);
    virtual void SaveStream(TKStream& stream);
    virtual int32_t GetBits() const;
    // Source and destination ranges from the two colour types.
    virtual void SetRanges(int32_t srcType, int32_t dstType);

    // ---- Grid choice and splitting ----
    // The grid for a trafo at `quality`: the quality table's grid, unless a table inside the
    // trafo suggests more points, or fewer whose grid lines the link's can share.
    static int32_t FindGrid(TKTrafo* trafo, int32_t quality);
    // Cuts `trafo` into separable front curves, a middle and separable back curves.
    static void SplitTrafo(TKTrafo* trafo, TKTrafoList& front, TKTrafoList& middle, TKTrafoList& back,
                           int32_t quality);

    void SetBits(int32_t bits) { fBits = bits; }
    TKTrafo* GetInTrafo() const { return fInTrafo.Get(); }
    TKTrafo* GetMainTrafo() const { return fMainTrafo.Get(); }
    TKTrafo* GetOutTrafo() const { return fOutTrafo.Get(); }
    TKTrafo* GetColorFrom() const { return fColorFrom.Get(); }
    TKTrafo* GetColorTo() const { return fColorTo.Get(); }
    const TKVector& GetDstMin() const { return fDstMin; }
    const TKVector& GetDstMax() const { return fDstMax; }

    // Drops the stage trafos once every node is baked: a complete link needs no colour machinery.
    void ReleaseStagesIfComplete() const;
    // The gate of the calls of a host: matching and saving use the link, baking and loading
    // rebuild it, and the two never overlap.
    TKUseGate& UseGate() const { return fUseGate; }

protected:
    // Takes every range, Bits and the five trafos of another link (not its tables).
    void CopyLinkFields(const TKLinkGenericTrafo& other);
    // Ranges between the stages, from the stages' colour types.
    void UpdateStageRanges();
    // Init for the ranges' channel counts and the grid of `grid` (a grid or a quality), then the
    // stages and the baking.
    void Bake(TKTrafo* front, TKTrafo* middle, TKTrafo* back, int32_t grid, int32_t options, TKProgress* progress);
    // The match kernels reach the lazy node cache; it's guarded by the link's lock.
    TKLinkGenericTrafo& Mutable() const { return const_cast<TKLinkGenericTrafo&>(*this); }

    // ---- Fields ----
    TKVector fDstMin;
    TKVector fDstMax;
    TKVector fInOutMin;    // output of the input stage
    TKVector fInOutMax;
    TKVector fGridInMin;   // input of the grid
    TKVector fGridInMax;
    TKVector fGridOutMin;  // output of the grid
    TKVector fGridOutMax;
    mutable TKRefPtr<TKTrafo> fColorFrom;
    mutable TKRefPtr<TKTrafo> fColorTo;
    mutable TKRefPtr<TKTrafo> fInTrafo;
    mutable TKRefPtr<TKTrafo> fMainTrafo;
    mutable TKRefPtr<TKTrafo> fOutTrafo;
    int32_t fBits = kBits16;

private:
    // Set while stage trafos are held, so matching a complete link tests one flag.
    mutable std::atomic<bool> fHoldsStages{false};
    mutable TKUseGate fUseGate;
};
