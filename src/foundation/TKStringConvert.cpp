// TKString conversions: numbers, quoting, hex and the URL and high-byte escapes.
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <locale.h>

#include "foundation/TKError.h"
#include "foundation/TKString.h"

namespace {
// Numbers in settings and charts always use "." whatever locale the host has chosen, so
// parsing goes through one "C" locale made on first use.
double ParseDoubleC(const char* text) {
    static locale_t cLocale = newlocale(LC_ALL_MASK, "C", locale_t(nullptr));
    if (cLocale) return strtod_l(text, nullptr, cLocale);
    return std::strtod(text, nullptr);
}

bool EqualsNoCase(const char* a, const char* b) {
    auto fold = [](char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; };
    for (; *a && *b; ++a, ++b)
        if (fold(*a) != fold(*b)) return false;
    return *a == *b;
}

constexpr char kHexUpper[] = "0123456789ABCDEF";

int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Builds a result byte by byte: bytes for which escape() gives a text are replaced by it.
template <class Escape>
TKString EscapeBytes(const TKString& source, Escape escape) {
    TKString result;
    const char* s = source.CString();
    int32_t n = source.Length();
    int32_t run = 0;  // start of the current stretch of unchanged bytes
    for (int32_t i = 0; i < n; ++i) {
        char code[4];
        if (escape(static_cast<unsigned char>(s[i]), code)) {
            result.Append(s + run, i - run);
            result.Append(code);
            run = i + 1;
        }
    }
    if (run == 0) return source;
    result.Append(s + run, n - run);
    return result;
}

void PercentHex(unsigned char c, char* code) {
    code[0] = '%';
    code[1] = kHexUpper[c >> 4];
    code[2] = kHexUpper[c & 15];
    code[3] = 0;
}
}  // namespace

// ---- numbers -----------------------------------------------------------------------------

int32_t TKString::ToInt() const {
    // atoi's reading, without its undefined behaviour on overflow: out-of-range values clamp.
    long value = std::strtol(CString(), nullptr, 10);
    if (value > INT32_MAX) return INT32_MAX;
    if (value < INT32_MIN) return INT32_MIN;
    return int32_t(value);
}

int64_t TKString::ToInt64() const {
    const char* p = CString();
    bool negative = *p == '-';
    if (negative) ++p;
    uint64_t value = 0;  // unsigned, so an overlong number wraps instead of being undefined
    for (; *p >= '0' && *p <= '9'; ++p) value = value * 10 + uint64_t(*p - '0');
    return int64_t(negative ? 0 - value : value);
}

double TKString::ToDouble() const {
    int32_t comma = FindChar(',');
    if (comma < 0) return ParseDoubleC(CString());
    TKString copy(CString(), Length());  // a private copy: the source keeps its comma
    copy.LockBuffer(Length() + 1)[comma] = '.';
    copy.UnlockBuffer(Length());
    return ParseDoubleC(copy.CString());
}

bool TKString::IsInteger() const {
    const char* p = CString();
    if (!*p) return true;
    if (*p == '-') ++p;
    if (!*p) return false;
    for (; *p; ++p)
        if (*p < '0' || *p > '9') return false;
    return true;
}

bool TKString::ToBool() const {
    if (ToInt() != 0) return true;
    return EqualsNoCase(CString(), "true") || EqualsNoCase(CString(), "yes");
}

TKString TKString::FromInt(int32_t n) { return Format("%d", int(n)); }
TKString TKString::FromLong(long n) { return Format("%ld", n); }
TKString TKString::FromULong(unsigned long n) { return Format("%lu", n); }

uint32_t TKString::ToSignature() const {
    int32_t n = Length();
    if (n == 0) return 0;
    uint32_t signature = 0;
    for (int i = 0; i < 4; ++i) signature = (signature << 8) | uint8_t(i < n ? fChars[i] : ' ');
    return signature;
}

TKString TKString::FromSignature(uint32_t signature) {
    char text[5] = {char(signature >> 24), char(signature >> 16), char(signature >> 8), char(signature), 0};
    return TKString(text, 4);
}

TKString& TKString::StripZeros() {
    // Only a plain decimal fraction: "1.5e10" must not lose the zero of its exponent.
    if (FindChar('.') < 0 || FindAnyOf("eE") >= 0) return *this;
    int32_t end = Length();
    while (end > 0 && fChars[end - 1] == '0') --end;
    if (end > 0 && fChars[end - 1] == '.') --end;
    if (end < Length()) *this = Left(end);
    return *this;
}

// ---- quoting -----------------------------------------------------------------------------

TKString TKString::Quote(bool escapes) const {
    TKString result("\"");
    if (escapes) {
        result.Append(EscapeBytes(*this, [](unsigned char c, char* code) {
            if (c != '"' && c != '\\') return false;
            code[0] = '\\';
            code[1] = char(c);
            code[2] = 0;
            return true;
        }));
    } else {
        result.Append(*this);
    }
    result.Append('"');
    return result;
}

TKString TKString::Unquote() const {
    int32_t n = Length();
    if (n < 2 || fChars[0] != '"' || fChars[n - 1] != '"') return *this;
    TKString result;
    char* out = result.LockBuffer(n);
    int32_t length = 0;
    for (int32_t i = 1; i < n - 1; ++i) {
        if (fChars[i] == '\\' && i + 1 < n - 1) ++i;
        out[length++] = fChars[i];
    }
    result.UnlockBuffer(length);
    return result;
}

// ---- encodings ---------------------------------------------------------------------------

TKString TKString::HexDecode() const {
    int32_t n = Length();
    if (n % 2) TKThrowMsg(FormatErr, "hex text of odd length");
    TKString result;
    if (n == 0) return result;
    char* out = result.LockBuffer(n / 2 + 1);
    for (int32_t i = 0; i < n; i += 2) {
        int high = HexValue(fChars[i]);
        int low = HexValue(fChars[i + 1]);
        if (high < 0 || low < 0) {
            result.UnlockBuffer(0);
            TKThrowMsg(FormatErr, "not a hex digit");
        }
        out[i / 2] = char(high * 16 + low);
    }
    result.UnlockBuffer(n / 2);
    return result;
}

TKString TKString::HexEncode() const {
    int32_t n = Length();
    TKString result;
    if (n == 0) return result;
    if (n > (INT32_MAX - 2) / 2) TKThrow(MemFullErr);
    char* out = result.LockBuffer(2 * n + 1);
    for (int32_t i = 0; i < n; ++i) {
        unsigned char c = static_cast<unsigned char>(fChars[i]);
        out[2 * i] = kHexUpper[c >> 4];
        out[2 * i + 1] = kHexUpper[c & 15];
    }
    result.UnlockBuffer(2 * n);
    return result;
}

TKString TKString::URLEncode() const {
    // One pass gives what replacing "%" first and then each other character would: every
    // "%" of the source stands alone as "%25" and no inserted "%" is escaped again.
    return EscapeBytes(*this, [](unsigned char c, char* code) {
        static const char* const kCodes[][2] = {
            {"%", "%25"}, {" ", "%20"}, {"\n", "%0a"}, {"$", "%24"}, {"&", "%26"}, {"+", "%2b"},
            {",", "%2c"}, {"/", "%2f"}, {":", "%3a"}, {";", "%3b"}, {"=", "%3d"}, {"?", "%3f"},
            {"@", "%40"}};
        for (const auto& entry : kCodes) {
            if (static_cast<unsigned char>(entry[0][0]) == c) {
                std::memcpy(code, entry[1], 4);
                return true;
            }
        }
        return false;
    });
}

TKString TKString::EscapeHigh() const {
    return EscapeBytes(*this, [](unsigned char c, char* code) {
        if (c < 128 && c != '%' && c != '&') return false;
        PercentHex(c, code);
        return true;
    });
}
