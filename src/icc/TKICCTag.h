// TKICCTag: one tag of an ICC profile. It keeps the body exactly as the file has it behind the
// 8-byte type head and interprets it on demand, so unknown tags pass through byte for byte.
#pragma once

#include <cstdint>
#include <vector>

#include "foundation/TKObject.h"
#include "foundation/TKString.h"
#include "icc/TKICCFixed.h"
#include "io/TKByteOrder.h"

class TKStream;

class TKICCTag : public TKObject {
    TK_DECLARE_CLASS(TKICCTag, TKObject)
public:
    explicit TKICCTag(uint32_t type = TKICCSig("bina"), uint32_t signature = 0);
    ~TKICCTag() override;

    // The factory: the class is chosen by tag signature first ("chad"), then by type.
    static TKRefPtr<TKICCTag> Create(uint32_t type, uint32_t signature);

    // A new tag of the same class, type and signature with a copy of the block in its current
    // order. The offset is not copied: a clone is a new tag to be placed.
    virtual TKRefPtr<TKICCTag> Clone() const;
    virtual uint32_t GetSignature() const { return fSignature; }
    virtual uint32_t GetOffset() const { return fOffset; }
    virtual uint32_t GetType() const { return fType; }
    virtual uint32_t GetPaddedSize() const { return fSize + fPadding; }
    // The block brought to `wantedOrder` (0 big-endian as in files, 1 little-endian); swaps in place.
    virtual uint8_t* GetData(uint32_t* outSize, int32_t wantedOrder);
    virtual int32_t GetByteOrder() const { return fByteOrder; }
    virtual void SetSignature(uint32_t signature) { fSignature = signature; }
    virtual void SetOffset(uint32_t offset) { fOffset = offset; }
    virtual void SetType(uint32_t type) { fType = type; }
    // Copies `count` bytes standing in `order`; the size becomes count + 8.
    virtual void SetData(const void* bytes, uint32_t count, int32_t order);
    // The unpadded size in the file, head included; also sets the padding.
    virtual void SetSize(uint32_t size);
    // Swaps the tag's own numeric fields and flips the order. The base knows no fields.
    virtual void SwapBytes();
    // Reads type head and block of `size` bytes from the stream's position.
    virtual void Read(TKStream& stream);
    // Type head, block in file order, padding.
    virtual void Write(TKStream& stream);
    virtual void WriteTableEntry(TKStream& stream) const;
    virtual void Dump(TKStream& stream);
    virtual void SetFromText(const TKString& text);
    virtual TKString GetSummary();
    // Whether the type is allowed for the tag signature.
    virtual bool IsValid() const;

    uint32_t GetSize() const { return fSize; }
    uint32_t GetDataSize() const { return uint32_t(fData.size()); }
    // The types allowed for a tag signature; false when the table does not know the signature.
    static bool IsAllowedType(uint32_t signature, uint32_t type, bool* known = nullptr);

protected:
    TKICCTag(const TKICCTag&) = delete;
    TKICCTag& operator=(const TKICCTag&) = delete;

    // Called after the block was replaced (Read, SetData), for tags that parse it.
    virtual void BlockChanged() {}
    // Replaces the block by `bytes` in host order, keeping the size fields consistent.
    void SetHostBlock(std::vector<uint8_t> bytes);

    // Field helpers for SwapBytes and the getters. All raise InvalidICCTag (31) for a field
    // outside the block, so a short block never causes a read past it.
    void RequireBlock(uint64_t offset, uint64_t count) const;
    uint32_t FieldU32(uint64_t offset) const;  // in the block's current order
    uint16_t FieldU16(uint64_t offset) const;
    void SwapU32s(uint64_t offset, uint64_t count);
    void SwapU16s(uint64_t offset, uint64_t count);
    void FlipOrder() { fByteOrder = fByteOrder == kBigEndian ? kLittleEndian : kBigEndian; }
    // Brings the block to host order and reads fields from it.
    const uint8_t* HostData();
    uint32_t HostU32(uint64_t offset);
    uint16_t HostU16(uint64_t offset);
    void PutHostU32(uint64_t offset, uint32_t value);
    void PutHostU16(uint64_t offset, uint16_t value);

    uint32_t fSignature = 0;
    uint32_t fOffset = 0;
    uint32_t fSize = 8;
    uint32_t fType = 0;
    uint32_t fPadding = 0;
    std::vector<uint8_t> fData;
    int32_t fByteOrder = kBigEndian;
};

// A text cut for a summary: at most 255 bytes, trailing line ends dropped, cut at the first line
// feed. " ..." marks the cut when `markLineCut` is set and a line feed cut it, or when `longText`.
TKString TKICCSummaryOfText(const TKString& text, bool markLineCut, bool longText);
