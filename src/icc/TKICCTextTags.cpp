// Text tags: block layouts, their swap rules and the conversions at every crossing.
#include "icc/TKICCTextTags.h"

#include <algorithm>
#include <cstring>

#include "foundation/TKError.h"
#include "io/TKStreamTools.h"

namespace {

// Big-endian UTF-16 units from a block, trailing zero units dropped.
TKString FromUTF16BE(const uint8_t* units, uint64_t byteCount) {
    uint64_t n = byteCount / 2;
    while (n > 0 && units[2 * n - 2] == 0 && units[2 * n - 1] == 0) --n;
    if (n == 0) return TKString();
    return TKString::FromUTF16(units, int32_t(2 * n), 2, kBigEndian);
}

// The text as big-endian UTF-16 bytes, without a byte order mark or terminator.
TKString ToUTF16BE(const TKString& text) { return text.ToUTF16(kBigEndian, false); }

}  // namespace

// --- "text" -----------------------------------------------------------------------------------

TKString TKICCTextTag::GetText() {
    if (fData.empty()) return TKString();
    const char* bytes = reinterpret_cast<const char*>(fData.data());
    size_t n = fData.size() - 1;
    const void* zero = std::memchr(bytes, 0, n);
    if (zero) n = size_t(static_cast<const char*>(zero) - bytes);
    return TKString::FromLatin1(bytes, int32_t(n));
}

void TKICCTextTag::SetText(const TKString& text) {
    TKString latin = text.ToLatin1();
    std::vector<uint8_t> block(size_t(latin.Length()) + 1, 0);
    std::memcpy(block.data(), latin.CString(), size_t(latin.Length()));
    SetHostBlock(std::move(block));
}

void TKICCTextTag::Dump(TKStream& stream) { TKWriteText(&stream, GetText()); }

TKString TKICCTextTag::GetSummary() { return TKICCSummaryOfText(GetText(), true, fData.size() >= 256); }

// --- "desc" -----------------------------------------------------------------------------------
// Block: ASCII count n, n bytes, language (u32), Unicode count m at n + 4... counted from the
// block, the Unicode units at n + 12, then script code, Macintosh count and 67 bytes.

TKString TKICCDescriptionTag::GetText() {
    if (fData.empty()) return TKString();
    if (fData.size() <= 4) TKThrow(InvalidICCTag);
    uint64_t n = HostU32(0);
    uint64_t size = fData.size();
    if (n + 4 > size) TKThrow(InvalidICCTag);
    if (n + 12 <= size) {
        uint64_t m = HostU32(n + 8);
        // Unicode wins whenever it is complete.
        if (m != 0 && n + 12 + 2 * m <= size) return FromUTF16BE(fData.data() + n + 12, 2 * m);
    }
    const char* ascii = reinterpret_cast<const char*>(fData.data() + 4);
    const void* zero = std::memchr(ascii, 0, size_t(n));
    size_t length = zero ? size_t(static_cast<const char*>(zero) - ascii) : size_t(n);
    return TKString::FromLatin1(ascii, int32_t(length));
}

void TKICCDescriptionTag::SetText(const TKString& text) {
    TKString latin = text.ToLatin1();
    uint32_t n = uint32_t(latin.Length()) + 1;
    TKString utf16 = ToUTF16BE(text);
    uint32_t m = uint32_t(utf16.Length()) / 2 + 1;  // with the terminating zero unit
    uint32_t mac = std::min<uint32_t>(n, 67);
    // The format of this program declares 8 bytes beyond the Macintosh field.
    std::vector<uint8_t> block;
    block.reserve(size_t(latin.Length()) + 2 * size_t(m) + 91);
    auto hostU32 = [&block](uint32_t v) {
        uint8_t b[4];
        std::memcpy(b, &v, 4);
        block.insert(block.end(), b, b + 4);
    };
    hostU32(n);
    block.insert(block.end(), latin.CString(), latin.CString() + latin.Length());
    block.push_back(0);
    hostU32(0);
    hostU32(m);
    block.insert(block.end(), utf16.CString(), utf16.CString() + utf16.Length());
    block.insert(block.end(), {0, 0});  // the terminating zero unit
    block.insert(block.end(), {0, 0});  // script code
    block.push_back(uint8_t(mac));
    size_t macStart = block.size();
    block.resize(macStart + 67, 0);
    std::memcpy(block.data() + macStart, latin.CString(), std::min<size_t>(mac, size_t(latin.Length())));
    block.resize(size_t(latin.Length()) + 2 * size_t(m) + 91, 0);
    SetHostBlock(std::move(block));
}

void TKICCDescriptionTag::SwapBytes() {
    uint64_t size = fData.size();
    if (size >= 4) {
        uint64_t n = FieldU32(0);
        if (n + 4 > size) TKThrow(InvalidICCTag);
        SwapU32s(0, 1);
        if (n + 12 <= size) SwapU32s(n + 4, 2);
    }
    FlipOrder();
}

void TKICCDescriptionTag::Dump(TKStream& stream) { TKWriteFormat(&stream, "%s\n", GetText().CString()); }

// --- "mluc" -----------------------------------------------------------------------------------
// Block: count, record size, records of (language u16, country u16, length u32, offset u32).
// Offsets count from the start of the tag, that is 8 bytes before the block.

TKString TKICCMLUCTag::GetText() {
    uint64_t size = fData.size();
    if (size + 8 < 28) TKThrow(InvalidICCTag);
    uint32_t count = HostU32(0);
    uint64_t length = HostU32(12);
    uint64_t offset = HostU32(16);
    if (count == 0 || offset < 8 || offset + length > size + 8) TKThrow(InvalidICCTag);
    return FromUTF16BE(fData.data() + offset - 8, length);
}

void TKICCMLUCTag::SetText(const TKString& text, uint32_t language) {
    TKString utf16 = ToUTF16BE(text);
    std::vector<uint8_t> block(20 + size_t(utf16.Length()), 0);
    uint32_t head[5] = {1, 12, language ? language : kDefaultLanguage, uint32_t(utf16.Length()), 28};
    std::memcpy(block.data(), head, sizeof head);
    std::memcpy(block.data() + 20, utf16.CString(), size_t(utf16.Length()));
    SetHostBlock(std::move(block));
}

void TKICCMLUCTag::SwapBytes() {
    if (fData.size() >= 8) {
        uint64_t count = FieldU32(0);
        if (count * 12 + 8 > fData.size()) TKThrow(InvalidICCTag);
        SwapU32s(0, 2);
        for (uint64_t i = 0; i < count; ++i) {
            SwapU16s(8 + 12 * i, 2);
            SwapU32s(12 + 12 * i, 2);
        }
    }
    FlipOrder();
}

TKString TKICCMLUCTag::GetSummary() {
    TKString text = GetText();
    return TKICCSummaryOfText(text, true, text.Length() > 255);
}

void TKICCMLUCTag::Dump(TKStream& stream) { TKWriteFormat(&stream, "%s\n", GetText().CString()); }

// --- "csed" -----------------------------------------------------------------------------------

TKString TKCSEDTag::GetText() {
    if (fData.size() <= 4) return TKString();
    const char* text = reinterpret_cast<const char*>(fData.data() + 4);
    size_t n = fData.size() - 4;
    const void* zero = std::memchr(text, 0, n);
    if (zero) n = size_t(static_cast<const char*>(zero) - text);
    return TKString::FromLatin1(text, int32_t(n));
}

void TKCSEDTag::SetFromText(const TKString&) { TKThrow(UndefProc); }

void TKCSEDTag::Dump(TKStream& stream) { TKWriteFormat(&stream, "%s\n", GetText().CString()); }

TKString TKCSEDTag::GetSummary() {
    TKString text = GetText();
    return TKICCSummaryOfText(text, false, text.Length() > 255);
}
