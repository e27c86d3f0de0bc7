// TKTrafo: the unit of all colour computation, an object that maps a vector of doubles to a
// vector of doubles and, where it can, whole tables and rasters of 8-bit or 16-bit pixels.
// Profiles, curves, look-up tables, links, separations and exception rules all derive from it.
#pragma once

#include <atomic>
#include <cstdint>

#include "foundation/TKObject.h"
#include "numeric/TKMatrix.h"
#include "numeric/TKVector.h"

class TKDataBase;
class TKProgress;

class TKTrafo : public TKObject {
    TK_DECLARE_CLASS(TKTrafo, TKObject)
public:
    static constexpr int32_t kInfoCount = 6;
    // Info entries with a meaning; 0, 3, 4 and 5 are spare.
    enum InfoIndex : int32_t {
        kInfoAll = -1,         // SetInfo only: every entry
        kInfoIdentity = 1,     // -1 unknown, 0 no, 1 this trafo is the identity
        kInfoGridPoints = 2,   // grid points of the interpolation table behind the trafo
    };
    // Channels a pixel path handles at most, on either side.
    static constexpr int32_t kMaxPixelChannels = 64;

    TKTrafo();
    TKTrafo(const TKTrafo& other);
    TKTrafo& operator=(const TKTrafo& other);
    ~TKTrafo() override;

    // 1 for every trafo.
    virtual int32_t IsTrafo() const;
    // 0 means any dimension.
    virtual int32_t GetSrcDim() const;
    // The destination dimension for a source of srcDim channels; the default passes it through.
    virtual int32_t GetDstDim(int32_t srcDim) const;
    // 0 means any colour type.
    virtual int32_t GetSrcType() const;
    virtual int32_t GetDstType(int32_t srcType) const;
    // Maps one colour. The default is the identity. Logically const: may run on several threads
    // at once, so an override writes no fields except declared caches.
    virtual TKVector Trafo(const TKVector& source) const;
    // Maps a table, one colour per row, through Trafo; equal neighbouring rows are mapped once.
    // Reports progress at most every 200 ms when a progress object is given.
    virtual TKMatrix TrafoMatrix(const TKMatrix& source, TKProgress* progress = nullptr) const;
    // Reads the parameters of the trafo; the default reads "Type" and discards it.
    virtual void Load(const TKDataBase& base);
    // Writes "Type" with the class name; subclasses add their parameters.
    virtual void Save(TKDataBase& base) const;
    // Cached answers about the trafo (see InfoIndex); -1 outside 0..5.
    virtual int32_t GetInfo(int32_t index) const;
    // index -1 sets all six entries, 0..5 one of them; anything else is ignored.
    virtual void SetInfo(int32_t index, int32_t value);
    // A trafo that answers true here also implements TrafoPixels8.
    virtual bool CanTrafo8() const;
    // Maps a raster of interleaved pixels: GetSrcDim channels plus srcPad samples per source
    // pixel, GetDstDim(GetSrcDim()) plus dstPad per destination pixel, rows without gaps.
    // The pads of the destination are left unwritten.
    virtual void TrafoRaster8(int32_t width, int32_t height, const uint8_t* source, uint8_t* destination,
                              int32_t srcPad, int32_t dstPad, TKProgress* progress) const;
    // Maps `count` pixels given channel by channel: src[c] points to channel c of the first
    // pixel, srcStrides[c] is the distance in samples to the next pixel's channel c.
    virtual void TrafoPixels8(int32_t count, const uint8_t* const* src, uint8_t* const* dst, const int32_t* srcStrides,
                              const int32_t* dstStrides, TKProgress* progress) const;
    virtual bool CanTrafo16() const;
    virtual void TrafoRaster16(int32_t width, int32_t height, const uint16_t* source, uint16_t* destination,
                               int32_t srcPad, int32_t dstPad, TKProgress* progress) const;
    virtual void TrafoPixels16(int32_t count, const uint16_t* const* src, uint16_t* const* dst,
                               const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) const;

    // The guarded evaluation: the vector is argument and result. A vector whose dimension
    // differs from a fixed source dimension raises DimMismatch before the trafo sees it.
    void TrafoInPlace(TKVector& vector) const;
    // Maps any vector-like object into any object that can be assigned a TKVector.
    template <class In, class Out>
    void TrafoVectorObject(const In& source, Out& result) const {
        result = Trafo(TKVector(source));
    }
    // Maps any matrix-like object into any object that can be assigned a TKMatrix.
    template <class In, class Out>
    void TrafoMatrixObject(const In& source, Out& result, void* /*unused*/ = nullptr) const {
        result = TrafoMatrix(TKMatrix(source), nullptr);
    }

protected:
    // Writes a cache entry from a const query; entries are written without a lock, and every
    // writer writes the same answer, so a lost or late write is harmless.
    void StoreInfo(int32_t index, int32_t value) const;

private:
    mutable std::atomic<int32_t> fInfo[kInfoCount];
};

