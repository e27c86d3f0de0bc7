// Colorant tags: "clrt" records and "ncl2" named colours with their 16-bit encodings.
#include "icc/TKICCColorantTags.h"

#include <algorithm>
#include <cstring>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "foundation/TKError.h"
#include "io/TKStreamTools.h"

namespace {

constexpr uint64_t kClrtRecord = 38;
constexpr uint64_t kNcl2Head = 76;
// Device channels beyond this are not a colour any ICC space can have.
constexpr uint64_t kMaxDeviceChannels = 16;

// A zero-terminated name from a fixed field of `width` bytes, Latin-1 in the file.
TKString FixedName(const uint8_t* field, size_t width) {
    const char* text = reinterpret_cast<const char*>(field);
    const void* zero = std::memchr(text, 0, width);
    size_t n = zero ? size_t(static_cast<const char*>(zero) - text) : width;
    return TKString::FromLatin1(text, int32_t(n));
}

void PutFixedName(uint8_t* field, size_t width, const TKString& name) {
    TKString latin = name.ToLatin1();
    std::memset(field, 0, width);
    std::memcpy(field, latin.CString(), std::min(width, size_t(latin.Length())));
}

// 16-bit values of a colour type in the legacy encoding; lScale stretches L for ncl2's Lab.
TKVector DecodeWords(const uint16_t* words, int32_t count, uint32_t type, double lScale) {
    TKVector colour(count, int32_t(type));
    for (int32_t c = 0; c < count; ++c) {
        double hi = GetChannelMax(type, c, kTKRange16Legacy);
        if (c == 0 && type == TKLabSpace) hi *= lScale;
        colour[c] = TKWordToRange(words[c], GetChannelMin(type, c), hi);
    }
    return colour;
}

void EncodeWords(uint16_t* words, const TKVector& colour, int32_t count, uint32_t type, double lScale) {
    for (int32_t c = 0; c < count; ++c) {
        double hi = GetChannelMax(type, c, kTKRange16Legacy);
        if (c == 0 && type == TKLabSpace) hi *= lScale;
        words[c] = c < colour.GetDim() ? TKRangeToWord(colour[c], GetChannelMin(type, c), hi) : 0;
    }
}

TKString CleanName(const TKString& raw) {
    TKString name = raw;
    name.Trim("\" ");
    name.ReplaceChar(' ', '_');
    return name;
}

}  // namespace

// --- "clrt" -----------------------------------------------------------------------------------

TKColorantTableTag::TKColorantTableTag(uint32_t signature) : TKICCTag(TKICCSig("clrt"), signature) {
    SetHostBlock(std::vector<uint8_t>(4, 0));
}

int32_t TKColorantTableTag::GetCount() {
    if (fData.size() < 4) return 0;
    uint64_t count = HostU32(0);
    return int32_t(std::min<uint64_t>(count, (fData.size() - 4) / kClrtRecord));
}

void TKColorantTableTag::SetCount(int32_t n) {
    if (n < 0) TKThrow(ArgErr);
    std::vector<uint8_t> block(4 + kClrtRecord * uint64_t(n), 0);
    uint32_t count = uint32_t(n);
    std::memcpy(block.data(), &count, 4);
    SetHostBlock(std::move(block));
}

TKString TKColorantTableTag::GetName(int32_t index) {
    if (index < 0 || index >= GetCount()) return TKString();
    return FixedName(HostData() + 4 + kClrtRecord * uint64_t(index), 32);
}

void TKColorantTableTag::SetName(int32_t index, const TKString& name) {
    if (index < 0 || index >= GetCount()) return;
    PutFixedName(const_cast<uint8_t*>(HostData()) + 4 + kClrtRecord * uint64_t(index), 32, name);
}

int32_t TKColorantTableTag::FindName(const TKString& name) {
    for (int32_t i = 0, n = GetCount(); i < n; ++i)
        if (GetName(i) == name) return i;
    return -1;
}

TKVector TKColorantTableTag::GetPCS(int32_t index, uint32_t colourType) {
    if (index < 0 || index >= GetCount()) return TKVector();
    uint16_t words[3];
    std::memcpy(words, HostData() + 4 + kClrtRecord * uint64_t(index) + 32, 6);
    return DecodeWords(words, 3, colourType, 1.0);
}

void TKColorantTableTag::SetPCS(int32_t index, const TKVector& colour) {
    if (index < 0 || index >= GetCount()) return;
    uint32_t type = colour.GetType() ? uint32_t(colour.GetType()) : TKLabSpace;
    uint16_t words[3];
    EncodeWords(words, colour, 3, type, 1.0);
    std::memcpy(const_cast<uint8_t*>(HostData()) + 4 + kClrtRecord * uint64_t(index) + 32, words, 6);
}

void TKColorantTableTag::SwapBytes() {
    if (fData.size() >= 4) {
        uint64_t count = std::min<uint64_t>(FieldU32(0), (fData.size() - 4) / kClrtRecord);
        SwapU32s(0, 1);
        for (uint64_t i = 0; i < count; ++i) SwapU16s(4 + kClrtRecord * i + 32, 3);
    }
    FlipOrder();
}

void TKColorantTableTag::Dump(TKStream& stream) {
    int32_t n = GetCount();
    TKWriteFormat(&stream, "Number of colorants: %d\n", int(n));
    for (int32_t i = 0; i < n; ++i)
        TKWriteFormat(&stream, "%d: %s, %s\n", int(i), GetName(i).CString(),
                      GetPCS(i, TKLabSpace).ToString("%.2f ").CString());
}

TKString TKColorantTableTag::GetSummary() {
    TKString summary;
    for (int32_t i = 0, n = GetCount(); i < n; ++i) {
        if (i) summary.Append(", ");
        summary.Append(GetName(i));
    }
    return summary;
}

// --- "ncl2" -----------------------------------------------------------------------------------
// Block: vendor flags, count, device channel count n, 32-byte prefix, 32-byte suffix at 44,
// records from 76 of a 32-byte root name, three PCS words and n device words.

void TKNamedColor2TypeTag::SetSpaces(uint32_t device, uint32_t pcs) {
    if (GetChannelCount(fPCSSpace) != 3) TKThrow(ArgErr);
    fDeviceSpace = device;
    fPCSSpace = pcs;
}

int32_t TKNamedColor2TypeTag::GetDeviceChannels() {
    if (fData.size() < kNcl2Head) return 0;
    uint32_t n = HostU32(8);
    if (n > kMaxDeviceChannels) TKThrow(InvalidICCTag);
    return int32_t(n);
}

uint64_t TKNamedColor2TypeTag::RecordSize() { return 38 + 2 * uint64_t(GetDeviceChannels()); }

int32_t TKNamedColor2TypeTag::GetCount() {
    if (fData.size() < kNcl2Head) return 0;
    uint64_t room = (fData.size() - kNcl2Head) / RecordSize();
    return int32_t(std::min<uint64_t>(HostU32(4), room));
}

TKString TKNamedColor2TypeTag::GetPrefix() {
    return fData.size() < kNcl2Head ? TKString() : FixedName(HostData() + 12, 32);
}

TKString TKNamedColor2TypeTag::GetSuffix() {
    return fData.size() < kNcl2Head ? TKString() : FixedName(HostData() + 44, 32);
}

const uint8_t* TKNamedColor2TypeTag::Record(int32_t index) {
    if (index < 0 || index >= GetCount()) TKThrow(IndexError);
    return HostData() + kNcl2Head + RecordSize() * uint64_t(index);
}

TKString TKNamedColor2TypeTag::GetColorName(int32_t index) {
    TKString name = GetPrefix() + FixedName(Record(index), 32) + GetSuffix();
    return CleanName(name);
}

TKVector TKNamedColor2TypeTag::GetPCS(int32_t index) {
    uint16_t words[3];
    std::memcpy(words, Record(index) + 32, 6);
    // Lab here is the legacy encoding in which 0xFF00 is L 100.
    return DecodeWords(words, 3, fPCSSpace, 1.00390625);
}

TKVector TKNamedColor2TypeTag::GetDevice(int32_t index) {
    int32_t n = GetDeviceChannels();
    std::vector<uint16_t> words(size_t(n) + 1);
    std::memcpy(words.data(), Record(index) + 38, 2 * size_t(n));
    uint32_t type = fDeviceSpace && GetChannelCount(fDeviceSpace) == n ? fDeviceSpace : GetDeviceType(n);
    return DecodeWords(words.data(), n, type, 1.0);
}

void TKNamedColor2TypeTag::SetColors(const std::vector<TKString>& names, const TKMatrix& pcs, const TKMatrix& device) {
    int32_t n = device.GetWidth();
    if (n < 0 || uint64_t(n) > kMaxDeviceChannels) TKThrow(DimMismatch);
    int32_t count = std::max(pcs.GetHeight(), device.GetHeight());
    uint64_t record = 38 + 2 * uint64_t(n);
    std::vector<uint8_t> block(kNcl2Head + record * uint64_t(count), 0);
    uint32_t head[3] = {0, uint32_t(count), uint32_t(n)};
    std::memcpy(block.data(), head, sizeof head);
    uint32_t deviceType = fDeviceSpace && GetChannelCount(fDeviceSpace) == n ? fDeviceSpace : GetDeviceType(n);
    for (int32_t i = 0; i < count; ++i) {
        uint8_t* r = block.data() + kNcl2Head + record * uint64_t(i);
        TKString name = size_t(i) < names.size() && !names[size_t(i)].IsEmpty() ? names[size_t(i)]
                                                                                 : TKString::Format("Color%d", int(i));
        PutFixedName(r, 31, name);  // at most 31 characters and a terminator
        uint16_t words[3 + kMaxDeviceChannels] = {};
        if (i < pcs.GetHeight()) {
            EncodeWords(words, pcs.GetRow(i), 3, fPCSSpace, 1.00390625);
        } else if (i < device.GetHeight() && IsCIESpace(deviceType)) {
            // A colour missing on the PCS side is taken from the device side where that is CIE.
            EncodeWords(words, ConvertColor(fPCSSpace, device.GetRow(i)), 3, fPCSSpace, 1.00390625);
        }
        if (i < device.GetHeight()) EncodeWords(words + 3, device.GetRow(i), n, deviceType, 1.0);
        std::memcpy(r + 32, words, 6 + 2 * size_t(n));
    }
    SetHostBlock(std::move(block));
}

void TKNamedColor2TypeTag::SwapBytes() {
    if (fData.size() >= kNcl2Head) {
        uint64_t count = FieldU32(4);
        uint64_t n = std::min<uint64_t>(FieldU32(8), kMaxDeviceChannels);
        uint64_t record = 38 + 2 * n;
        count = std::min<uint64_t>(count, (fData.size() - kNcl2Head) / record);
        SwapU32s(4, 2);
        for (uint64_t i = 0; i < count; ++i) SwapU16s(kNcl2Head + record * i + 32, 3 + n);
    }
    FlipOrder();
}

void TKNamedColor2TypeTag::Dump(TKStream& stream) {
    int32_t count = GetCount();
    TKWriteFormat(&stream, "Number of colors: %d\n", int(count));
    for (int32_t i = 0; i < count; ++i)
        TKWriteFormat(&stream, "%d: %s, %s, %s\n", int(i), GetColorName(i).CString(),
                      GetPCS(i).ToString("%.2f ").CString(), GetDevice(i).ToString("%.2f ").CString());
}

TKString TKNamedColor2TypeTag::GetSummary() {
    return TKString::Format("%d named colors, %d device channels", int(GetCount()), int(GetDeviceChannels()));
}
