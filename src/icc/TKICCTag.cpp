// TKICCTag: the raw block, its byte order, reading and writing of the type head and body.
#include "icc/TKICCTag.h"

#include <cstring>

#include "foundation/TKError.h"
#include "io/TKStream.h"
#include "io/TKStreamTools.h"

TKICCTag::TKICCTag(uint32_t type, uint32_t signature) : fSignature(signature), fType(type) {}

TKICCTag::~TKICCTag() = default;

TKRefPtr<TKICCTag> TKICCTag::Clone() const {
    TKRefPtr<TKICCTag> copy = Create(fType, fSignature);
    copy->SetType(fType);
    copy->SetData(fData.data(), uint32_t(fData.size()), fByteOrder);
    return copy;
}

uint8_t* TKICCTag::GetData(uint32_t* outSize, int32_t wantedOrder) {
    if (wantedOrder != fByteOrder) SwapBytes();
    if (outSize) *outSize = uint32_t(fData.size());
    return fData.data();
}

void TKICCTag::SetData(const void* bytes, uint32_t count, int32_t order) {
    const uint8_t* begin = static_cast<const uint8_t*>(bytes);
    fData.assign(begin, begin + (bytes ? count : 0));
    if (!bytes) fData.resize(count);
    fByteOrder = order;
    SetSize(count + 8);
    BlockChanged();
}

void TKICCTag::SetHostBlock(std::vector<uint8_t> bytes) {
    // A body of another size cannot stay where it was: the profile places it anew when written.
    if (bytes.size() != fData.size()) fOffset = 0;
    fData = std::move(bytes);
    fByteOrder = TKHostByteOrder();
    SetSize(uint32_t(fData.size()) + 8);
}

void TKICCTag::SetSize(uint32_t size) {
    fSize = size;
    fPadding = (0u - size) & 3u;
}

void TKICCTag::SwapBytes() { FlipOrder(); }

void TKICCTag::Read(TKStream& stream) {
    uint32_t dataSize = fSize < 8 ? 0 : fSize - 8;
    // The size comes from the file: it must be there before the block is allocated.
    int64_t remaining = TKStreamRemaining(stream);
    if (remaining >= 0 && int64_t(fSize) > remaining)
        TKThrowMsg(FormatErr, TKString::Format("Tag %s reaches past the end of the data",
                                               TKString::FromSignature(fSignature).CString())
                                  .CString());
    fByteOrder = kBigEndian;
    if (fSize > 3) fType = uint32_t(ReadInt32(stream, true, kBigEndian));
    if (fSize > 7) ReadBlock(stream, 4, nullptr, true);
    std::vector<uint8_t> block(dataSize);
    if (fSize > 8) ReadBlock(stream, dataSize, block.data(), true);
    fData = std::move(block);
    // Write always puts out the 8-byte head: a tag too small for it becomes an empty tag, so
    // that its size in the table stays true to the bytes written.
    if (fSize < 8) SetSize(8);
    BlockChanged();
}

void TKICCTag::Write(TKStream& stream) {
    uint32_t count = 0;
    const uint8_t* data = GetData(&count, kBigEndian);
    WriteInt32(stream, int32_t(fType), kBigEndian);
    WriteInt32(stream, 0, kBigEndian);
    if (count) stream.Write(data, count);
    static const uint8_t kZeros[4] = {0, 0, 0, 0};
    if (fPadding) stream.Write(kZeros, fPadding);
}

void TKICCTag::WriteTableEntry(TKStream& stream) const {
    WriteInt32(stream, int32_t(fSignature), kBigEndian);
    WriteInt32(stream, int32_t(fOffset), kBigEndian);
    WriteInt32(stream, int32_t(fSize), kBigEndian);
}

void TKICCTag::Dump(TKStream&) {}

void TKICCTag::SetFromText(const TKString&) {}

TKString TKICCTag::GetSummary() { return TKString(); }

void TKICCTag::RequireBlock(uint64_t offset, uint64_t count) const {
    if (offset + count > fData.size() || offset + count < offset) TKThrow(InvalidICCTag);
}

uint32_t TKICCTag::FieldU32(uint64_t offset) const {
    RequireBlock(offset, 4);
    return TKLoadOrdered<uint32_t>(fData.data() + offset, fByteOrder);
}

uint16_t TKICCTag::FieldU16(uint64_t offset) const {
    RequireBlock(offset, 2);
    return TKLoadOrdered<uint16_t>(fData.data() + offset, fByteOrder);
}

void TKICCTag::SwapU32s(uint64_t offset, uint64_t count) {
    RequireBlock(offset, count * 4);
    uint8_t* p = fData.data() + offset;
    for (uint64_t i = 0; i < count; ++i, p += 4) {
        std::swap(p[0], p[3]);
        std::swap(p[1], p[2]);
    }
}

void TKICCTag::SwapU16s(uint64_t offset, uint64_t count) {
    RequireBlock(offset, count * 2);
    uint8_t* p = fData.data() + offset;
    for (uint64_t i = 0; i < count; ++i, p += 2) std::swap(p[0], p[1]);
}

const uint8_t* TKICCTag::HostData() { return GetData(nullptr, TKHostByteOrder()); }

uint32_t TKICCTag::HostU32(uint64_t offset) {
    HostData();
    RequireBlock(offset, 4);
    uint32_t v;
    std::memcpy(&v, fData.data() + offset, 4);
    return v;
}

uint16_t TKICCTag::HostU16(uint64_t offset) {
    HostData();
    RequireBlock(offset, 2);
    uint16_t v;
    std::memcpy(&v, fData.data() + offset, 2);
    return v;
}

void TKICCTag::PutHostU32(uint64_t offset, uint32_t value) {
    RequireBlock(offset, 4);
    std::memcpy(fData.data() + offset, &value, 4);
}

void TKICCTag::PutHostU16(uint64_t offset, uint16_t value) {
    RequireBlock(offset, 2);
    std::memcpy(fData.data() + offset, &value, 2);
}

TKString TKICCSummaryOfText(const TKString& text, bool markLineCut, bool longText) {
    int32_t n = text.Length() < 255 ? text.Length() : 255;
    const char* s = text.CString();
    while (n > 0 && (s[n - 1] == '\n' || s[n - 1] == '\r')) --n;
    bool cutAtLine = false;
    for (int32_t i = 0; i < n; ++i) {
        if (s[i] == '\n') {
            n = i;
            cutAtLine = true;
            break;
        }
    }
    TKString result(s, n);
    if ((markLineCut && cutAtLine) || longText) result.Append(" ...");
    return result;
}
