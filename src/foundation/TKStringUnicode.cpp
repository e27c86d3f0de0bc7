// TKString Unicode conversions: UTF-8 to and from UTF-16 (and UTF-32), and Latin-1, the
// encoding of 8-bit text in ICC tags.
#include <cstring>

#include "foundation/TKDebug.h"
#include "foundation/TKError.h"
#include "foundation/TKString.h"

namespace {
constexpr uint32_t kReplacement = 0xFFFD;
constexpr uint32_t kByteOrderMark = 0xFEFF;  // 65279

bool IsContinuation(unsigned char c) { return (c & 0xC0) == 0x80; }

// Decodes the character at s[*i] and advances *i past it. A malformed sequence is logged,
// gives U+FFFD and consumes only its first byte, so that decoding resynchronises on the next
// byte; *bad tells the caller. Overlong forms, surrogates and values above U+10FFFF are
// malformed: they are the usual ways to smuggle characters past a filter.
uint32_t DecodeUTF8(const unsigned char* s, int32_t n, int32_t* i, bool* bad) {
    int32_t at = *i;
    unsigned char c = s[at];
    *bad = false;
    if (c < 0x80) {
        *i = at + 1;
        return c;
    }
    if (IsContinuation(c)) {
        DebugPrintf(kDebugGeneral, "Unexpected UTF8 start character at %ld\n", long(at));
        *bad = true;
        *i = at + 1;
        return kReplacement;
    }
    int32_t extra = 0;
    uint32_t cp = 0;
    unsigned char low = 0x80, high = 0xBF;  // valid range of the second byte
    if (c >= 0xC2 && c <= 0xDF) {
        extra = 1;
        cp = c & 0x1F;
    } else if (c >= 0xE0 && c <= 0xEF) {
        extra = 2;
        cp = c & 0x0F;
        if (c == 0xE0) low = 0xA0;   // overlong below U+0800
        if (c == 0xED) high = 0x9F;  // UTF-16 surrogates
    } else if (c >= 0xF0 && c <= 0xF4) {
        extra = 3;
        cp = c & 0x07;
        if (c == 0xF0) low = 0x90;   // overlong below U+10000
        if (c == 0xF4) high = 0x8F;  // above U+10FFFF
    }
    bool ok = extra > 0 && int64_t(at) + extra < int64_t(n);
    if (ok) {
        unsigned char second = s[at + 1];
        ok = second >= low && second <= high;
        for (int32_t k = 1; ok && k <= extra; ++k) {
            ok = IsContinuation(s[at + k]);
            cp = (cp << 6) | (s[at + k] & 0x3F);
        }
    }
    if (!ok) {
        DebugPrintf(kDebugGeneral, "Bad UTF8 start character at %ld\n", long(at));
        *bad = true;
        *i = at + 1;
        return kReplacement;
    }
    *i = at + 1 + extra;
    return cp;
}

void AppendUTF8(TKString& out, uint32_t cp) {
    char bytes[4];
    int32_t n;
    if (cp < 0x80) {
        bytes[0] = char(cp);
        n = 1;
    } else if (cp < 0x800) {
        bytes[0] = char(0xC0 | (cp >> 6));
        bytes[1] = char(0x80 | (cp & 0x3F));
        n = 2;
    } else if (cp < 0x10000) {
        bytes[0] = char(0xE0 | (cp >> 12));
        bytes[1] = char(0x80 | ((cp >> 6) & 0x3F));
        bytes[2] = char(0x80 | (cp & 0x3F));
        n = 3;
    } else {
        bytes[0] = char(0xF0 | (cp >> 18));
        bytes[1] = char(0x80 | ((cp >> 12) & 0x3F));
        bytes[2] = char(0x80 | ((cp >> 6) & 0x3F));
        bytes[3] = char(0x80 | (cp & 0x3F));
        n = 4;
    }
    out.Append(bytes, n);
}

// Appends one code unit of width bytes in the given byte order (0 big-endian, 1 little-endian).
void PutUnit(char* out, uint32_t unit, int width, int byteOrder) {
    for (int k = 0; k < width; ++k) {
        int shift = byteOrder == 1 ? 8 * k : 8 * (width - 1 - k);
        out[k] = char((unit >> shift) & 0xFF);
    }
}

uint32_t GetUnit(const unsigned char* in, int width, int byteOrder) {
    uint32_t unit = 0;
    for (int k = 0; k < width; ++k) {
        int shift = byteOrder == 1 ? 8 * k : 8 * (width - 1 - k);
        unit |= uint32_t(in[k]) << shift;
    }
    return unit;
}

uint32_t SwappedBOM(int width) { return width == 2 ? 0xFFFEu : 0xFFFE0000u; }
}  // namespace

TKString TKString::ToUTF16(int byteOrder, bool bom) const {
    const auto* s = reinterpret_cast<const unsigned char*>(CString());
    int32_t n = Length();
    // At most two bytes of UTF-16 per byte of UTF-8 (ASCII); a BOM and a wide terminator more.
    int64_t room = 2 * int64_t(n) + 4;
    if (room > INT32_MAX) TKThrow(MemFullErr);
    TKString result;
    char* out = result.LockBuffer(int32_t(room));
    int32_t length = 0;
    if (bom) {
        PutUnit(out, kByteOrderMark, 2, byteOrder);
        length = 2;
    }
    for (int32_t i = 0; i < n;) {
        bool bad = false;
        uint32_t cp = DecodeUTF8(s, n, &i, &bad);
        if (cp >= 0x10000) {
            cp -= 0x10000;
            PutUnit(out + length, 0xD800 + (cp >> 10), 2, byteOrder);
            PutUnit(out + length + 2, 0xDC00 + (cp & 0x3FF), 2, byteOrder);
            length += 4;
        } else {
            PutUnit(out + length, cp, 2, byteOrder);
            length += 2;
        }
    }
    // Two zero bytes, so the block also reads as a terminated wide string.
    out[length] = 0;
    out[length + 1] = 0;
    result.UnlockBuffer(length);
    return result;
}

TKString TKString::FromUTF16(const void* data, int32_t bytes, int width, int byteOrder) {
    TKString result;
    if (!data || bytes <= 0 || (width != 2 && width != 4)) return result;
    const auto* in = static_cast<const unsigned char*>(data);
    int32_t units = bytes / width;  // a trailing partial unit is ignored
    int32_t u = 0;
    if (units > 0) {
        uint32_t first = GetUnit(in, width, byteOrder);
        if (first == kByteOrderMark) {
            u = 1;
        } else if (first == SwappedBOM(width)) {
            byteOrder = byteOrder == 1 ? 0 : 1;
            u = 1;
        }
    }
    for (; u < units; ++u) {
        uint32_t cp = GetUnit(in + int64_t(u) * width, width, byteOrder);
        if (cp == 0) break;
        if (width == 2 && cp >= 0xD800 && cp <= 0xDBFF && u + 1 < units) {
            uint32_t next = GetUnit(in + int64_t(u + 1) * width, width, byteOrder);
            if (next >= 0xDC00 && next <= 0xDFFF) {
                cp = 0x10000 + ((cp - 0xD800) << 10) + (next - 0xDC00);
                ++u;
            }
        }
        // Unpaired surrogates and values beyond Unicode cannot be written as UTF-8.
        if ((cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF) cp = kReplacement;
        AppendUTF8(result, cp);
    }
    return result;
}

TKString TKString::FromLatin1(const char* bytes, int32_t length) {
    TKString result;
    if (!bytes) return result;
    if (length < 0) length = int32_t(strnlen(bytes, INT32_MAX));
    int32_t run = 0;  // stretches of ASCII are appended whole
    for (int32_t i = 0; i < length; ++i) {
        auto c = static_cast<unsigned char>(bytes[i]);
        if (c >= 0x80) {
            result.Append(bytes + run, i - run);
            AppendUTF8(result, c);
            run = i + 1;
        }
    }
    result.Append(bytes + run, length - run);
    return result;
}

TKString TKString::ToLatin1() const {
    const auto* s = reinterpret_cast<const unsigned char*>(CString());
    int32_t n = Length();
    TKString result;
    if (n == 0) return result;
    char* out = result.LockBuffer(n + 1);
    int32_t length = 0;
    for (int32_t i = 0; i < n;) {
        int32_t at = i;
        bool bad = false;
        uint32_t cp = DecodeUTF8(s, n, &i, &bad);
        // A byte that is not UTF-8 is most likely Latin-1 already: keep it as it is.
        if (bad)
            out[length++] = char(s[at]);
        else
            out[length++] = cp <= 0xFF ? char(cp) : '?';
    }
    result.UnlockBuffer(length);
    return result;
}
