// UTF-16 strings with a unit count in front, as binary formats store names.
#include <algorithm>
#include <vector>

#include "io/TKStreamTools.h"

TKString ReadUTF16String(TKStream& stream, bool strict, int32_t byteOrder) {
    const uint32_t count = uint32_t(ReadInt32(stream, strict, byteOrder));
    if (count == 0) return TKString();
    // The count comes from the data: never allocate more than the stream still holds.
    uint64_t bytes = uint64_t(count) * 2;
    const int64_t left = TKStreamRemaining(stream);
    if (left >= 0 && bytes > uint64_t(left)) {
        if (strict) TKThrow(FormatErr);
        bytes = uint64_t(left) & ~uint64_t(1);
    }
    if (bytes > uint64_t(INT32_MAX) - 16) {
        if (strict) TKThrow(FormatErr);
        bytes = (uint64_t(INT32_MAX) - 16) & ~uint64_t(1);
    }
    std::vector<uint8_t> data;
    const size_t kStep = 1 << 20;
    while (data.size() < bytes) {
        const size_t at = data.size();
        const size_t take = size_t(std::min<uint64_t>(kStep, bytes - at));
        data.resize(at + take);
        const size_t got = ReadBlock(stream, take, data.data() + at, strict);
        data.resize(at + got);
        if (got < take) break;
    }
    data.resize(data.size() & ~size_t(1));
    // Trailing zero units go; a zero unit inside becomes a blank, so the text is not cut there.
    while (data.size() >= 2 && data[data.size() - 1] == 0 && data[data.size() - 2] == 0) data.resize(data.size() - 2);
    for (size_t i = 0; i + 1 < data.size(); i += 2) {
        if (data[i] == 0 && data[i + 1] == 0) data[byteOrder == kLittleEndian ? i : i + 1] = ' ';
    }
    return TKString::FromUTF16(data.data(), int32_t(data.size()), 2, byteOrder);
}

void WriteUTF16String(TKStream& stream, const TKString& text, bool terminated, int32_t byteOrder) {
    const TKString units = text.ToUTF16(byteOrder, false);
    const int32_t count = units.Length() / 2 + (terminated ? 1 : 0);
    WriteInt32(stream, count, byteOrder);
    if (units.Length() > 0) stream.Write(units.CString(), size_t(units.Length()));
    if (terminated) WriteInt16(stream, 0, byteOrder);
}
