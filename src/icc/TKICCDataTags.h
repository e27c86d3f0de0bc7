// Opaque and near-opaque tag types: "data", "vcgt" and the profile sequence "pseq".
#pragma once

#include "icc/TKICCTag.h"

// "data": a flag word (1, binary) and the bytes.
class TKDataTag : public TKICCTag {
    TK_DECLARE_CLASS(TKDataTag, TKICCTag)
public:
    explicit TKDataTag(uint32_t signature = 0) : TKICCTag(TKICCSig("data"), signature) {}
    // Replaces the content by these bytes, flagged binary.
    void SetBytes(const void* bytes, uint32_t count);
    // The bytes behind the flag.
    std::vector<uint8_t> GetBytes();
    void WriteDataTo(TKStream& stream);
    void SwapBytes() override;
};

// "vcgt": a video card gamma block whose meaning belongs to the monitor code; the tag only keeps it.
class TKICCGammaTag : public TKICCTag {
    TK_DECLARE_CLASS(TKICCGammaTag, TKICCTag)
public:
    explicit TKICCGammaTag(uint32_t signature = TKICCSig("vcgt")) : TKICCTag(TKICCSig("vcgt"), signature) {}
    // The block as the gamma object delivers it, in file order.
    void SetGamma(const std::vector<uint8_t>& block) { SetData(block.data(), uint32_t(block.size()), kBigEndian); }
    std::vector<uint8_t> GetGamma();
};

// "pseq": the profile sequence of a link; built here only empty (one count of 0).
class TKICCSequenceDescTag : public TKICCTag {
    TK_DECLARE_CLASS(TKICCSequenceDescTag, TKICCTag)
public:
    explicit TKICCSequenceDescTag(uint32_t signature = TKICCSig("pseq"));
    uint32_t GetCount();
    void SwapBytes() override;
};
