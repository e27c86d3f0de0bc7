// The LUT tag bodies: "mft1" and "mft2" (TKICCLutTag), "mAB " and "mBA " (TKICC4LutTag).
// These classes read, swap, check and write the bodies; the trafo stages built on them
// live with the profile-to-trafo code.
#pragma once

#include "icc/TKICCTag.h"
#include "numeric/TKMatrix.h"

class TKICCLutTag : public TKICCTag {
    TK_DECLARE_CLASS(TKICCLutTag, TKICCTag)
public:
    TKICCLutTag(uint32_t type = TKICCSig("mft2"), uint32_t signature = 0) : TKICCTag(type, signature) {}

    // New blocks with zero tables and an identity matrix.
    void SetupLut8(int32_t in, int32_t out, int32_t grid);
    void SetupLut16(int32_t in, int32_t out, int32_t inEntries, int32_t outEntries, int32_t grid);

    int32_t GetInputChannels();
    int32_t GetOutputChannels();
    int32_t GetGridPoints();
    int32_t GetInputEntries();   // 256 for "mft1"
    int32_t GetOutputEntries();  // 256 for "mft1"
    // The size the header announces; saturates instead of overflowing for absurd headers.
    uint64_t GetExpectedSize();
    TKMatrix GetMatrix();
    void SetMatrix(const TKMatrix& matrix);  // DimMismatch unless 3 x 3; PtrInvalid without a block

    // Table access in the stored 16-bit form ("mft2"; "mft1" bytes are scaled to 16 bits on reading
    // and back on writing). InvalidICCTag when the block is shorter than the header announces,
    // IndexError for an index outside.
    uint16_t GetInputCurvePoint(int32_t channel, int32_t index);
    void SetInputCurvePoint(int32_t channel, int32_t index, uint16_t value);
    uint16_t GetOutputCurvePoint(int32_t channel, int32_t index);
    void SetOutputCurvePoint(int32_t channel, int32_t index, uint16_t value);
    // The `out` values of grid node `index` (below grid^in).
    void GetGridPoint(int64_t index, uint16_t* values);
    void SetGridPoint(int64_t index, const uint16_t* values);

    void SwapBytes() override;
    void Dump(TKStream& stream) override;
    // Reads the text of Dump back into a new block of this tag's type; FormatErr when a key or
    // a number is missing.
    void SetFromText(const TKString& text) override;
    TKString GetSummary() override;

private:
    bool IsLut8() const { return fType == TKICCSig("mft1"); }
    uint64_t GridNodes();  // grid^in, saturated
    uint64_t TableStart(int part);  // 0 input curves, 1 grid, 2 output curves (in entries)
    uint16_t Entry(uint64_t position);
    void SetEntry(uint64_t position, uint16_t value);
    void RequireLutType() const;
    void RequireComplete();
};

class TKICC4LutTag : public TKICCTag {
    TK_DECLARE_CLASS(TKICC4LutTag, TKICCTag)
public:
    enum CurveSet : int32_t { kBCurves = 0, kMatrix = 1, kMCurves = 2, kCLUT = 3, kACurves = 4 };

    TKICC4LutTag(uint32_t type = TKICCSig("mAB "), uint32_t signature = 0) : TKICCTag(type, signature) {}

    int32_t GetInputChannels();
    int32_t GetOutputChannels();
    // Offset of a stage from the tag's start, 0 when the stage is absent.
    uint32_t GetStageOffset(CurveSet stage);
    // Curves in a set: "mAB " has A curves on the input side, B and M on the output side.
    int32_t GetCurveCount(CurveSet set);
    // One curve of a set as a tag of its own type ("curv" or "para"), copied out of the block.
    TKRefPtr<TKICCTag> GetCurve(CurveSet set, int32_t index);
    // 3 x 4: nine factors and the three offsets in the last column. Empty without the stage.
    TKMatrix GetMatrix();
    int32_t GetGridPoints(int32_t channel);
    int32_t GetPrecision();
    uint64_t GetCLUTEntries();  // nodes x output channels
    uint16_t GetCLUTEntry(uint64_t index);  // 8-bit entries are scaled to 16 bits

    void SwapBytes() override;
    void Dump(TKStream& stream) override;
    TKString GetSummary() override;

private:
    struct Swap {
        uint64_t position;
        uint64_t count;
        int width;
    };
    // The fields of the whole body in the current order, each checked against the block.
    std::vector<Swap> CollectSwaps();
    // Block position of curve `index` of a set, walking the padded curves before it.
    uint64_t CurvePosition(CurveSet set, int32_t index, uint64_t* size);
    uint64_t CurveSize(uint64_t position);
    uint64_t CLUTNodes();
};
