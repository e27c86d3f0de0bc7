#include "foundation/TKString.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/TKError.h"

namespace {
int32_t CapacityFor(int32_t n) { return ((n + 1) * 3) / 2 + 10; }
}  // namespace

void TKString::Allocate(int32_t length) {
    fCapacity = CapacityFor(length);
    fChars = static_cast<char*>(std::malloc(size_t(fCapacity)));
    if (!fChars) TKThrow(MemFullErr);
    fChars[0] = 0;
    fShare = new std::atomic<int32_t>(1);
    fLength = 0;
}

void TKString::Release() noexcept {
    if (fShare && fShare->fetch_sub(1) == 1) {
        std::free(fChars);
        delete fShare;
    }
    fChars = nullptr;
    fShare = nullptr;
    fLength = 0;
    fCapacity = 0;
}

TKString::TKString(const char* text) {
    if (text && text[0]) Append(text, int32_t(std::strlen(text)));
}

TKString::TKString(const char* bytes, int32_t length) {
    if (bytes && length > 0) Append(bytes, length);
}

TKString::TKString(const TKString& other) noexcept
    : fChars(other.fChars), fShare(other.fShare), fLength(other.fLength), fCapacity(other.fCapacity) {
    if (fShare) fShare->fetch_add(1);
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
        if (other.fShare) other.fShare->fetch_add(1);
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
        fChars = other.fChars;
        fShare = other.fShare;
        fLength = other.fLength;
        fCapacity = other.fCapacity;
        other.fChars = nullptr;
        other.fShare = nullptr;
        other.fLength = 0;
        other.fCapacity = 0;
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
    char* buffer = result.LockBuffer(n + 1);
    std::vsnprintf(buffer, size_t(n) + 1, format, args);
    result.UnlockBuffer(n);
    return result;
}

TKString TKString::Format(const char* format, ...) {
    va_list args;
    va_start(args, format);
    TKString result = FormatV(format, args);
    va_end(args);
    return result;
}

int32_t TKString::Length() const {
    if (!fChars) return 0;
    if (fLength < 0) fLength = int32_t(std::strlen(fChars));
    return fLength;
}

char TKString::At(int32_t index) const {
    if (index < 0 || index >= Length()) TKThrow(IndexError);
    return fChars[index];
}

TKString TKString::Mid(int32_t start, int32_t count) const {
    int32_t n = Length();
    if (start < 0) start = 0;
    if (start >= n) return TKString();
    if (count < 0 || start + count > n) count = n - start;
    return TKString(fChars + start, count);
}

TKString TKString::Left(int32_t count) const { return Mid(0, count < 0 ? 0 : count); }

TKString TKString::Right(int32_t count) const {
    int32_t n = Length();
    if (count >= n) return *this;
    if (count <= 0) return TKString();
    return Mid(n - count, count);
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

TKString& TKString::Append(const char* text) {
    if (!text) return *this;
    return Append(text, int32_t(std::strlen(text)));
}

TKString& TKString::Append(const TKString& text) { return Append(text.CString(), text.Length()); }

TKString& TKString::Append(char c) { return Append(&c, 1); }

TKString& TKString::Append(const char* bytes, int32_t length) {
    if (!bytes || length <= 0) return *this;
    int32_t old = Length();
    int32_t needed = old + length + 1;
    if (!fChars || fShare->load() > 1 || needed > fCapacity) {
        // Grow generously so that appending in a loop stays linear.
        int32_t capacity = 2 * (old + length);
        if (3 * fCapacity > capacity) capacity = 3 * fCapacity;
        if (capacity < CapacityFor(old + length)) capacity = CapacityFor(old + length);
        MakePrivate(capacity);
    }
    std::memmove(fChars + old, bytes, size_t(length));
    fLength = old + length;
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

void TKString::MakePrivate(int32_t minimumCapacity) {
    int32_t n = Length();
    if (minimumCapacity < n + 1) minimumCapacity = n + 1;
    if (fChars && fShare->load() == 1 && fCapacity >= minimumCapacity) return;
    char* block = static_cast<char*>(std::malloc(size_t(minimumCapacity)));
    if (!block) TKThrow(MemFullErr);
    if (n) std::memcpy(block, fChars, size_t(n));
    block[n] = 0;
    Release();
    fChars = block;
    fShare = new std::atomic<int32_t>(1);
    fCapacity = minimumCapacity;
    fLength = n;
}

char* TKString::LockBuffer(int32_t minimumCapacity) {
    MakePrivate(minimumCapacity < 1 ? 1 : minimumCapacity);
    fLength = -1;
    return fChars;
}

void TKString::UnlockBuffer(int32_t length) {
    if (!fChars) return;
    if (length >= 0 && length < fCapacity) fChars[length] = 0;
    fLength = length >= 0 && length < fCapacity ? length : -1;
}

void TKString::Clear() { Release(); }

int32_t TKString::ToInt() const { return std::atoi(CString()); }

double TKString::ToDouble() const {
    int32_t comma = FindChar(',');
    if (comma < 0) return std::atof(CString());
    TKString copy(*this);
    copy.LockBuffer(Length() + 1)[comma] = '.';
    copy.UnlockBuffer(Length());
    return std::atof(copy.CString());
}

TKString TKString::FromInt(int32_t n) { return Format("%d", int(n)); }

uint32_t TKString::ToSignature() const {
    int32_t n = Length();
    if (n == 0) return 0;
    uint32_t signature = 0;
    for (int i = 0; i < 4; ++i)
        signature = (signature << 8) | uint8_t(i < n ? fChars[i] : ' ');
    return signature;
}

TKString TKString::FromSignature(uint32_t signature) {
    char text[5] = {char(signature >> 24), char(signature >> 16), char(signature >> 8), char(signature), 0};
    return TKString(text, 4);
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
