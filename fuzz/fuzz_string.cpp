// Fuzz target: the string conversions and the token reader on untrusted bytes. Whatever the
// input, the Unicode conversions must give valid UTF-8 that survives a second round trip, and
// the token reader must consume the text in tokens that lie inside it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "foundation/TKError.h"
#include "foundation/TKString.h"

namespace {
void Check(bool condition) {
    if (!condition) std::abort();
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 1u << 16) return 0;
    const auto* bytes = reinterpret_cast<const char*>(data);
    TKString text(bytes, int32_t(size));

    TKString utf8 = TKString::FromUTF16(data, int32_t(size), 2, size % 2);
    TKString wide = utf8.ToUTF16(1, true);
    Check(TKString::FromUTF16(wide.CString(), wide.Length(), 2, 1) == utf8);
    TKString fromText = TKString::FromUTF16(text.ToUTF16(0, false).CString(), text.ToUTF16(0, false).Length(), 2, 0);
    Check(TKString::FromUTF16(fromText.ToUTF16(0, false).CString(), fromText.ToUTF16(0, false).Length(), 2, 0) ==
          fromText);
    TKString::FromUTF16(data, int32_t(size), 4, 0);
    Check(TKString::FromLatin1(bytes, int32_t(size)).ToLatin1() == TKString(bytes, int32_t(strnlen(bytes, size))));

    int32_t position = 0;
    int32_t tokens = 0;
    for (;;) {
        TKString token = text.NextToken(&position, size % 3 == 0, size % 5 == 0 ? ",;" : nullptr);
        Check(position >= 0 && position <= text.Length());
        if (token.IsEmpty()) break;
        Check(token.Length() <= text.Length());
        ++tokens;
    }
    Check(tokens == text.CountTokens(size % 5 == 0 ? ",;" : nullptr) || size % 3 == 0);

    try {
        text.HexDecode();
    } catch (const TKError& e) {
        Check(e.code() == FormatErr);
    }
    text.Unquote();
    if (strnlen(bytes, size) == size) Check(text.Quote().Unquote() == text);
    text.URLEncode();
    text.EscapeHigh();
    TKString::Match(text.Left(int32_t(size / 2)).CString(), text.Mid(int32_t(size / 2)).CString());
    return 0;
}
