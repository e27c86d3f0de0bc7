// TKString: the engine's counted, copy-on-write byte string with a cached length.
// Strings are passed and returned by value everywhere; copies share one block.
#pragma once

#include <atomic>
#include <cstdarg>
#include <cstdint>

class TKString {
public:
    TKString() noexcept = default;
    TKString(const char* text);  // NOLINT: implicit on purpose, strings are built from literals all over
    TKString(const char* bytes, int32_t length);
    TKString(const TKString& other) noexcept;
    TKString(TKString&& other) noexcept;
    ~TKString();
    TKString& operator=(const TKString& other) noexcept;
    TKString& operator=(TKString&& other) noexcept;
    TKString& operator=(const char* text);

    // printf-style construction, limited to the formatted length.
    static TKString Format(const char* format, ...) __attribute__((format(printf, 1, 2)));
    static TKString FormatV(const char* format, va_list args);

    // Reading
    int32_t Length() const;
    bool IsEmpty() const { return Length() == 0; }
    // Usable bytes of the block, terminator included; 0 without a block.
    int32_t Capacity() const { return fCapacity; }
    const char* CString() const { return fChars ? fChars : ""; }
    operator const char*() const { return CString(); }  // NOLINT
    char At(int32_t index) const;  // IndexError outside
    TKString Left(int32_t count) const;
    TKString Right(int32_t count) const;
    TKString Mid(int32_t start, int32_t count = -1) const;

    // Searching: positions, or -1
    int32_t Find(const char* text, int32_t start = 0, bool ignoreCase = false) const;
    int32_t FindLast(const char* text, bool ignoreCase = false) const;
    int32_t FindChar(char c, int32_t start = 0) const;
    int32_t FindLastChar(char c) const;
    int32_t FindAnyOf(const char* chars) const;

    // Comparison
    bool Equals(const char* text) const;
    int Compare(const char* text) const;        // ArgErr on null
    int CompareNoCase(const char* text) const;  // folds only A-Z; ArgErr on null
    bool operator==(const char* text) const { return Equals(text); }
    bool operator!=(const char* text) const { return !Equals(text); }
    bool operator==(const TKString& other) const { return Equals(other.CString()); }
    bool operator!=(const TKString& other) const { return !Equals(other.CString()); }
    bool operator<(const TKString& other) const { return Compare(other.CString()) < 0; }
    bool Match(const char* pattern) const { return Match(pattern, CString()); }
    static bool Match(const char* pattern, const char* text);

    // Editing: each makes the block private first
    TKString& Append(const char* text);
    TKString& Append(const char* bytes, int32_t length);
    TKString& Append(const TKString& text);
    TKString& Append(char c);
    TKString& AppendFormat(const char* format, ...) __attribute__((format(printf, 2, 3)));
    TKString& operator+=(const char* text) { return Append(text); }
    TKString& operator+=(const TKString& text) { return Append(text); }
    TKString& operator+=(char c) { return Append(c); }
    int32_t Replace(const char* oldText, const char* newText, int32_t count = -1);
    void ReplaceChar(char oldChar, char newChar);
    TKString& Trim(const char* chars = nullptr, bool left = true, bool right = true);
    TKString& ToUpper();
    TKString& ToLower();
    TKString& Insert(int32_t position, const char* text);
    TKString& Remove(int32_t position, int32_t count);
    void Clear();

    // Numbers
    int32_t ToInt() const;
    int64_t ToInt64() const;
    double ToDouble() const;
    bool IsInteger() const;
    bool ToBool() const;
    uint32_t ToSignature() const;
    static TKString FromInt(int32_t n);
    static TKString FromLong(long n);
    static TKString FromULong(unsigned long n);
    static TKString FromSignature(uint32_t signature);
    TKString& StripZeros();

    // Quoting and encodings
    TKString Quote(bool escapes = true) const;
    TKString Unquote() const;
    TKString HexDecode() const;  // FormatErr on odd length or a non-hex character
    TKString HexEncode() const;
    TKString URLEncode() const;
    TKString EscapeHigh() const;

    // Unicode. byteOrder: 0 big-endian, 1 little-endian.
    TKString ToUTF16(int byteOrder, bool bom) const;
    static TKString FromUTF16(const void* data, int32_t bytes, int width, int byteOrder);
    static TKString FromLatin1(const char* bytes, int32_t length);
    TKString ToLatin1() const;

    // Tokens: the reader behind every small text format.
    TKString NextToken(int32_t* position, bool quoted = false, const char* separators = nullptr) const;
    TKString Split(int32_t index, bool quoted = false, const char* separators = nullptr) const;
    int32_t CountTokens(const char* separators = nullptr) const;

    // Raw access for callers that write bytes themselves; the length becomes unknown.
    char* LockBuffer(int32_t minimumCapacity);
    void UnlockBuffer(int32_t length = -1);

private:
    void MakePrivate(int32_t minimumCapacity);
    void Release() noexcept;
    void Allocate(int32_t length);

    char* fChars = nullptr;
    std::atomic<int32_t>* fShare = nullptr;
    mutable int32_t fLength = 0;
    int32_t fCapacity = 0;
};

TKString operator+(const TKString& a, const TKString& b);
TKString operator+(const TKString& a, const char* b);
