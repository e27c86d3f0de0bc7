// "data", "vcgt" and "pseq" tags.
#include "icc/TKICCDataTags.h"

#include <cstring>

#include "foundation/TKError.h"
#include "io/TKStream.h"

void TKDataTag::SetBytes(const void* bytes, uint32_t count) {
    std::vector<uint8_t> block(4 + size_t(count));
    uint32_t flag = 1;
    std::memcpy(block.data(), &flag, 4);
    if (count) std::memcpy(block.data() + 4, bytes, count);
    SetHostBlock(std::move(block));
}

std::vector<uint8_t> TKDataTag::GetBytes() {
    if (fData.size() <= 4) return {};
    return std::vector<uint8_t>(fData.begin() + 4, fData.end());
}

void TKDataTag::WriteDataTo(TKStream& stream) {
    if (fData.size() > 4) stream.Write(fData.data() + 4, fData.size() - 4);
}

void TKDataTag::SwapBytes() {
    if (fData.size() >= 4) SwapU32s(0, 1);
    FlipOrder();
}

std::vector<uint8_t> TKICCGammaTag::GetGamma() {
    uint32_t size = 0;
    const uint8_t* data = GetData(&size, kBigEndian);
    return std::vector<uint8_t>(data, data + size);
}

TKICCSequenceDescTag::TKICCSequenceDescTag(uint32_t signature) : TKICCTag(TKICCSig("pseq"), signature) {
    SetHostBlock(std::vector<uint8_t>(4, 0));
}

uint32_t TKICCSequenceDescTag::GetCount() {
    if (fData.size() < 4) TKThrow(InvalidICCTag);
    return HostU32(0);
}

void TKICCSequenceDescTag::SwapBytes() {
    if (fData.size() >= 4) SwapU32s(0, 1);
    FlipOrder();
}
