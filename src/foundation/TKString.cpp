// TKString core: block management through the two memory caches, construction, reading,
// searching, comparison and editing.
#include "foundation/TKString.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "foundation/TKError.h"
#include "foundation/TKMemoryCache.h"

namespace {
// Room for n characters: half as much again plus a little, so that short strings that grow
// by a few bytes do not reallocate at once.
int64_t CapacityFor(int64_t n) { return ((n + 1) * 3) / 2 + 10; }

// Blocks are limited to what a 32-bit length can address.
constexpr int64_t kMaxCapacity = INT32_MAX;

std::atomic<int32_t>* NewShareCount() {
    void* raw = TKMemoryCache::ShareCountCache().Allocate(sizeof(std::atomic<int32_t>));
    if (!raw) TKThrow(MemFullErr);
    return new (raw) std::atomic<int32_t>(1);
}

void FreeShareCount(std::atomic<int32_t>* share) noexcept {
    share->~atomic();
    TKMemoryCache::ShareCountCache().Free(share, sizeof(std::atomic<int32_t>));
}

// A character block of minimum to maximum bytes; *capacity receives its size.
char* NewCharBlock(int64_t minimum, int64_t maximum, int32_t* capacity) {
    if (minimum > kMaxCapacity) TKThrow(MemFullErr);
    if (maximum > kMaxCapacity) maximum = kMaxCapacity;
    if (maximum < minimum) maximum = minimum;
    std::size_t size = 0;
    void* block = TKMemoryCache::CharacterCache().Allocate(std::size_t(minimum), std::size_t(maximum), &size);
    if (!block) TKThrow(MemFullErr);
    *capacity = int32_t(size);
    return static_cast<char*>(block);
}

bool IsBlank(unsigned char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
char FoldAZ(char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; }

// True if the first m characters of a and b agree, optionally folding A-Z only.
bool SameChars(const char* a, const char* b, int32_t m, bool ignoreCase) {
    for (int32_t k = 0; k < m; ++k)
        if (ignoreCase ? FoldAZ(a[k]) != FoldAZ(b[k]) : a[k] != b[k]) return false;
    return true;
}

int32_t CheckedLength(int64_t n) {
    if (n > INT32_MAX - 1) TKThrow(MemFullErr);
    return int32_t(n);
}
}  // namespace

// ---- block management -------------------------------------------------------------------

void TKString::Allocate(int32_t length) {
    Release();
    fChars = NewCharBlock(int64_t(length) + 1, CapacityFor(length), &fCapacity);
    try {
        fShare = NewShareCount();
    } catch (...) {
        TKMemoryCache::CharacterCache().Free(fChars, std::size_t(fCapacity));
        fChars = nullptr;
        fCapacity = 0;
        throw;
    }
    fChars[0] = 0;
    fLength = 0;
}

void TKString::Release() noexcept {
    if (fShare && fShare->fetch_sub(1, std::memory_order_acq_rel) == 1) {
        TKMemoryCache::CharacterCache().Free(fChars, std::size_t(fCapacity));
        FreeShareCount(fShare);
    }
    fChars = nullptr;
    fShare = nullptr;
    fLength = 0;
    fCapacity = 0;
}

// Moves the text into a private block of at least minimumCapacity bytes (and always room
// for the text and its terminator). A private block that is large enough stays.
void TKString::MakePrivate(int32_t minimumCapacity) {
    int32_t n = Length();
    int64_t minimum = minimumCapacity < n + 1 ? int64_t(n) + 1 : minimumCapacity;
    if (fChars && fShare->load(std::memory_order_acquire) == 1 && fCapacity >= minimum) return;
    int32_t capacity = 0;
    char* block = NewCharBlock(minimum, minimum, &capacity);
    std::atomic<int32_t>* share = nullptr;
    try {
        share = NewShareCount();
    } catch (...) {
        TKMemoryCache::CharacterCache().Free(block, std::size_t(capacity));
        throw;
    }
    if (n) std::memcpy(block, fChars, std::size_t(n));
    block[n] = 0;
    Release();
    fChars = block;
    fShare = share;
    fCapacity = capacity;
    fLength = n;
}

char* TKString::LockBuffer(int32_t minimumCapacity) {
    MakePrivate(minimumCapacity < 1 ? 1 : minimumCapacity);
    fLength = -1;
    return fChars;
}

void TKString::UnlockBuffer(int32_t length) {
    if (!fChars) return;
    if (length >= 0 && length < fCapacity) {
        fChars[length] = 0;
        fLength = length;
    } else {
        fChars[fCapacity - 1] = 0;  // a caller that overfilled still leaves a terminated text
        fLength = -1;
    }
}

void TKString::Clear() { Release(); }

// ---- construction ------------------------------------------------------------------------

TKString::TKString(const char* text) {
    if (text && text[0]) {
        int32_t n = CheckedLength(int64_t(std::strlen(text)));
        Allocate(n);
        std::memcpy(fChars, text, std::size_t(n) + 1);
        fLength = n;
    }
}

TKString::TKString(const char* bytes, int32_t length) {
    if (bytes && length > 0) {
        Allocate(length);
        std::memcpy(fChars, bytes, std::size_t(length));
        fChars[length] = 0;
        fLength = length;
    }
}

TKString::TKString(const TKString& other) noexcept
    : fChars(other.fChars), fShare(other.fShare), fLength(other.fLength), fCapacity(other.fCapacity) {
    if (fShare) fShare->fetch_add(1, std::memory_order_relaxed);
}

TKString::TKString(TKString&& other) noexcept
    : fChars(other.fChars), fShare(other.fShare), fLength(other.fLength), fCapacity(other.fCapacity) {
    other.fChars = nullptr;
    other.fShare = nullptr;
    other.fLength = 0;
    other.fCapacity = 0;
}

TKString::~TKString() { Release(); }

TKString& TKString::operator=(const TKString& other) noexcept {
    if (fChars != other.fChars) {
        if (other.fShare) other.fShare->fetch_add(1, std::memory_order_relaxed);
        Release();
        fChars = other.fChars;
        fShare = other.fShare;
        fLength = other.fLength;
        fCapacity = other.fCapacity;
    }
    return *this;
}

TKString& TKString::operator=(TKString&& other) noexcept {
    if (this != &other) {
        Release();
        std::swap(fChars, other.fChars);
        std::swap(fShare, other.fShare);
        std::swap(fLength, other.fLength);
        std::swap(fCapacity, other.fCapacity);
    }
    return *this;
}

TKString& TKString::operator=(const char* text) {
    TKString copy(text);
    return *this = std::move(copy);
}

TKString TKString::FormatV(const char* format, va_list args) {
    TKString result;
    if (!format) return result;
    va_list copy;
    va_copy(copy, args);
    int n = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (n <= 0) return result;
    result.Allocate(n);
    std::vsnprintf(result.fChars, std::size_t(n) + 1, format, args);
    result.fLength = n;
    return result;
}

TKString TKString::Format(const char* format, ...) {
    va_list args;
    va_start(args, format);
    TKString result = FormatV(format, args);
    va_end(args);
    return result;
}

// ---- reading -----------------------------------------------------------------------------

int32_t TKString::Length() const {
    if (!fChars) return 0;
    if (fLength < 0) fLength = int32_t(strnlen(fChars, std::size_t(fCapacity)));
    return fLength;
}

char TKString::At(int32_t index) const {
    if (index < 0 || index >= Length()) TKThrow(IndexError);
    return fChars[index];
}

TKString TKString::Mid(int32_t start, int32_t count) const {
    int32_t n = Length();
    if (start < 0) start = 0;
    if (start >= n || count == 0) return TKString();
    if (count < 0 || count > n - start) count = n - start;
    if (start == 0 && count == n) return *this;
    return TKString(fChars + start, count);
}

TKString TKString::Left(int32_t count) const { return Mid(0, count < 0 ? 0 : count); }

TKString TKString::Right(int32_t count) const {
    int32_t n = Length();
    if (count >= n) return *this;
    if (count <= 0) return TKString();
    return Mid(n - count, count);
}

// ---- searching ---------------------------------------------------------------------------

int32_t TKString::Find(const char* text, int32_t start, bool ignoreCase) const {
    if (!text) return -1;
    int32_t n = Length();
    if (start < 0) start = 0;
    int32_t m = int32_t(strnlen(text, std::size_t(INT32_MAX)));
    if (start > n || m > n - start) return -1;
    const char* s = CString();
    for (int32_t i = start; i + m <= n; ++i) {
        if (SameChars(s + i, text, m, ignoreCase)) return i;
    }
    return -1;
}

int32_t TKString::FindLast(const char* text, bool ignoreCase) const {
    if (!text) return -1;
    int32_t n = Length();
    int32_t m = int32_t(strnlen(text, std::size_t(INT32_MAX)));
    if (m > n) return -1;
    const char* s = CString();
    for (int32_t i = n - m; i >= 0; --i) {
        if (SameChars(s + i, text, m, ignoreCase)) return i;
    }
    return -1;
}

int32_t TKString::FindChar(char c, int32_t start) const {
    int32_t n = Length();
    for (int32_t i = start < 0 ? 0 : start; i < n; ++i)
        if (fChars[i] == c) return i;
    return -1;
}

int32_t TKString::FindLastChar(char c) const {
    for (int32_t i = Length() - 1; i >= 0; --i)
        if (fChars[i] == c) return i;
    return -1;
}

int32_t TKString::FindAnyOf(const char* chars) const {
    if (!chars || !chars[0]) return -1;
    int32_t n = Length();
    for (int32_t i = 0; i < n; ++i)
        if (std::strchr(chars, fChars[i])) return i;
    return -1;
}

// ---- comparison --------------------------------------------------------------------------

bool TKString::Equals(const char* text) const {
    if (!text) return false;
    return std::strcmp(CString(), text) == 0;
}

int TKString::Compare(const char* text) const {
    if (!text) TKThrow(ArgErr);
    const char* mine = CString();
    if (mine == text) return 0;
    return std::strcmp(mine, text);
}

int TKString::CompareNoCase(const char* text) const {
    if (!text) TKThrow(ArgErr);
    const char* mine = CString();
    if (mine == text) return 0;
    for (;; ++mine, ++text) {
        unsigned char a = static_cast<unsigned char>(FoldAZ(*mine));
        unsigned char b = static_cast<unsigned char>(FoldAZ(*text));
        if (a != b) return a < b ? -1 : 1;
        if (!a) return 0;
    }
}

namespace {
// Wildcard matching: "*" absorbs any run of bytes, "?" one byte. budget is the number of text
// bytes that the stars may still absorb; every retry takes one from it, which bounds the work.
// Only the latest star ever needs to absorb more: once a later star has been reached, any
// longer run of an earlier star could have been absorbed by the later one instead. So the
// search for each star is the last thing the search for the previous star does, and the
// recursion runs as a loop: no stack depth for patterns full of stars, and about pattern
// length times text length steps at worst.
bool MatchFrom(const char* p, const char* t, int64_t budget) {
    const char* starPattern = nullptr;  // the pattern after the latest star
    const char* starText = nullptr;     // where the text after that star begins now
    for (;;) {
        if (*p == '*') {
            while (*p == '*') ++p;
            if (!*p) return true;
            starPattern = p;
            starText = t;
            continue;
        }
        if (*t && (*p == '?' || (*p && *p == *t))) {
            ++p;
            ++t;
            continue;
        }
        if (!*p && !*t) return true;
        // A mismatch: let the latest star absorb one more byte, if it still may.
        if (!starPattern || budget <= 0 || !*starText) return false;
        --budget;
        p = starPattern;
        t = ++starText;
    }
}
}  // namespace

bool TKString::Match(const char* pattern, const char* text) {
    if (pattern == text) return true;
    if (!pattern || !text) return false;
    if (std::strcmp(pattern, text) == 0) return true;
    int64_t stars = 0;
    int64_t patternLength = 0;
    for (const char* p = pattern; *p; ++p, ++patternLength) stars += *p == '*';
    int64_t budget = int64_t(std::strlen(text)) - patternLength + stars;
    if (budget < 0) return false;
    return MatchFrom(pattern, text, budget);
}

// ---- editing -----------------------------------------------------------------------------

TKString& TKString::Append(const char* text) {
    if (!text) return *this;
    return Append(text, CheckedLength(int64_t(std::strlen(text))));
}

TKString& TKString::Append(const TKString& text) {
    if (&text == this) {
        TKString copy(text);
        return Append(copy.CString(), copy.Length());
    }
    return Append(text.CString(), text.Length());
}

TKString& TKString::Append(char c) { return Append(&c, 1); }

TKString& TKString::Append(const char* bytes, int32_t length) {
    if (!bytes || length <= 0) return *this;
    int32_t old = Length();
    int64_t newLength = int64_t(old) + length;
    if (newLength > kMaxCapacity - 1) TKThrow(MemFullErr);
    if (!fChars || fShare->load(std::memory_order_acquire) > 1 || newLength + 1 > fCapacity) {
        // A text that grows once usually grows again: take the larger of twice the new length
        // and three times the old room, so that appending in a loop stays linear.
        int64_t capacity = 2 * newLength;
        if (3 * int64_t(fCapacity) > capacity) capacity = 3 * int64_t(fCapacity);
        if (capacity > kMaxCapacity) capacity = kMaxCapacity;
        // The bytes may lie inside this string's own block, which MakePrivate may free.
        if (fChars && bytes >= fChars && bytes < fChars + fCapacity) {
            TKString keep(*this);
            MakePrivate(int32_t(capacity));
            std::memcpy(fChars + old, keep.fChars + (bytes - keep.fChars), std::size_t(length));
        } else {
            MakePrivate(int32_t(capacity));
            std::memcpy(fChars + old, bytes, std::size_t(length));
        }
    } else {
        std::memmove(fChars + old, bytes, std::size_t(length));
    }
    fLength = int32_t(newLength);
    fChars[fLength] = 0;
    return *this;
}

TKString& TKString::AppendFormat(const char* format, ...) {
    va_list args;
    va_start(args, format);
    TKString text = FormatV(format, args);
    va_end(args);
    return Append(text);
}

int32_t TKString::Replace(const char* oldText, const char* newText, int32_t count) {
    if (!oldText || !oldText[0] || count == 0) return 0;
    if (!newText) newText = "";
    int32_t oldLength = int32_t(std::strlen(oldText));
    int32_t at = Find(oldText);
    if (at < 0) return 0;
    TKString result;
    int32_t done = 0;
    int32_t from = 0;
    const TKString source(*this);  // keeps the bytes alive while this string is rebuilt
    while (at >= 0 && (count < 0 || done < count)) {
        result.Append(source.CString() + from, at - from);
        result.Append(newText);
        from = at + oldLength;
        ++done;
        at = source.Find(oldText, from);
    }
    result.Append(source.CString() + from, source.Length() - from);
    *this = std::move(result);
    return done;
}

void TKString::ReplaceChar(char oldChar, char newChar) {
    int32_t at = FindChar(oldChar);
    if (at < 0 || oldChar == newChar) return;
    int32_t n = Length();
    MakePrivate(n + 1);
    for (int32_t i = at; i < n; ++i)
        if (fChars[i] == oldChar) fChars[i] = newChar;
    if (newChar == 0) fLength = -1;
}

TKString& TKString::Trim(const char* chars, bool left, bool right) {
    int32_t n = Length();
    auto trimmed = [chars](char c) {
        return chars ? (c != 0 && std::strchr(chars, c) != nullptr) : IsBlank(static_cast<unsigned char>(c));
    };
    int32_t begin = 0;
    int32_t end = n;
    if (left)
        while (begin < end && trimmed(fChars[begin])) ++begin;
    if (right)
        while (end > begin && trimmed(fChars[end - 1])) --end;
    if (begin > 0 || end < n) *this = Mid(begin, end - begin);
    return *this;
}

namespace {
// Applies a byte mapping, copying the block only if a byte actually changes.
template <class Map>
void MapBytes(TKString& s, Map map) {
    int32_t n = s.Length();
    const char* text = s.CString();
    int32_t first = 0;
    while (first < n && map(text[first]) == text[first]) ++first;
    if (first == n) return;
    char* chars = s.LockBuffer(n + 1);
    for (int32_t i = first; i < n; ++i) chars[i] = map(chars[i]);
    s.UnlockBuffer(n);
}
}  // namespace

TKString& TKString::ToUpper() {
    MapBytes(*this, [](char c) { return (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c; });
    return *this;
}

TKString& TKString::ToLower() {
    MapBytes(*this, FoldAZ);
    return *this;
}

TKString& TKString::Insert(int32_t position, const char* text) {
    int32_t n = Length();
    if (position < 0 || position > n) TKThrow(IndexError);
    if (!text || !text[0]) return *this;
    if (position == n) return Append(text);
    TKString result(CString(), position);
    result.Append(text);
    result.Append(CString() + position, n - position);
    *this = std::move(result);
    return *this;
}

TKString& TKString::Remove(int32_t position, int32_t count) {
    int32_t n = Length();
    if (position < 0 || position > n) TKThrow(IndexError);
    if (count < 0 || count > n - position) count = n - position;
    if (count == 0) return *this;
    MakePrivate(n + 1);
    std::memmove(fChars + position, fChars + position + count, std::size_t(n - position - count) + 1);
    fLength = n - count;
    return *this;
}

TKString operator+(const TKString& a, const TKString& b) {
    TKString result(a);
    result.Append(b);
    return result;
}

TKString operator+(const TKString& a, const char* b) {
    TKString result(a);
    result.Append(b);
    return result;
}
