// TKVectorTmpl<T>: a vector of integer samples (8, 16 or 32 bit) with a colour type, stored
// like TKVector: up to 8 elements inline, more in a block shared until written. Used where
// pixels must be compared exactly, for instance as keys of exception rules.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <type_traits>

#include "foundation/TKString.h"
#include "numeric/TKVector.h"
#include "numeric/TKVectorStorage.h"

template <class T>
class TKVectorTmpl {
    static_assert(std::is_integral<T>::value, "TKVectorTmpl holds integer samples");

public:
    TKVectorTmpl() noexcept = default;
    explicit TKVectorTmpl(int32_t dim, int32_t type = 0, T fill = 0) : fType(type) {
        fStore.Resize(dim);
        std::fill(fStore.MutableData(), fStore.MutableData() + dim, fill);
    }
    // From doubles: each element rounded to nearest and clamped into T's range.
    explicit TKVectorTmpl(const TKVector& v) : TKVectorTmpl(v.GetDim(), v.GetType()) {
        for (int32_t i = 0; i < v.GetDim(); ++i) fStore.MutableData()[i] = Clamped(v[i]);
    }
    TKVectorTmpl(const TKVectorTmpl&) = default;
    TKVectorTmpl(TKVectorTmpl&&) noexcept = default;
    TKVectorTmpl& operator=(const TKVectorTmpl&) = default;
    TKVectorTmpl& operator=(TKVectorTmpl&&) noexcept = default;
    TKVectorTmpl& operator=(const TKVector& v) { return *this = TKVectorTmpl(v); }
    virtual ~TKVectorTmpl() = default;

    virtual const char* ClassName() const { return "TKVectorTmpl"; }
    virtual int32_t GetDim() const { return fStore.Dim(); }
    virtual void SetDim(int32_t dim) { fStore.Resize(dim); }
    virtual T& GetElementRef(int32_t index) {
        CheckIndex(index);
        return fStore.MutableData()[index];
    }
    virtual T GetElement(int32_t index) const {
        CheckIndex(index);
        return fStore.Data()[index];
    }
    virtual int32_t GetType() const { return fType; }
    virtual void SetType(int32_t type) { fType = type; }
    // count values follow, passed as int (or as long long for 32-bit unsigned samples).
    virtual void SetValues(int32_t count, ...) {
        if (count < 0) TKThrow(ArgErr);
        fStore.Resize(count);
        va_list args;
        va_start(args, count);
        for (int32_t i = 0; i < count; ++i) fStore.MutableData()[i] = T(va_arg(args, PromotedArg));
        va_end(args);
    }
    virtual void SetFromArray(int32_t count, const T* values) {
        if (count < 0 || (count > 0 && !values)) TKThrow(ArgErr);
        TKVectorStore<T, TKVectorBlock<T>> store;
        store.Resize(count);
        std::copy(values, values + count, store.MutableData());
        fStore = std::move(store);
    }
    virtual void CopyToArray(T* values) const {
        if (!values) TKThrow(ArgErr);
        std::copy(fStore.Data(), fStore.Data() + fStore.Dim(), values);
    }
    // The elements as decimal numbers, `separator` between them (a blank if 0).
    virtual TKString ToString(int separator = 0) const {
        TKString text;
        for (int32_t i = 0; i < GetDim(); ++i) {
            if (i > 0) text.Append(static_cast<char>(separator ? separator : ' '));
            text.AppendFormat("%lld", static_cast<long long>(fStore.Data()[i]));
        }
        return text;
    }
    // Reads integers separated by white space, commas or semicolons; FormatErr for anything
    // else or a number outside T's range.
    virtual void FromString(const char* text) {
        if (!text) TKThrow(ArgErr);
        TKVectorTmpl result(0, fType);
        for (const char* p = text;;) {
            while (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r' || *p == ',' || *p == ';') ++p;
            if (!*p) break;
            char* end = nullptr;
            long long value = std::strtoll(p, &end, 10);
            if (end == p || value < std::numeric_limits<T>::min() || value > std::numeric_limits<T>::max())
                TKThrowMsg(FormatErr, "integer sample expected");
            result.InsertAt(result.GetDim(), T(value));
            p = end;
        }
        *this = std::move(result);
    }

    T operator[](int32_t index) const { return fStore.Data()[index]; }
    T& operator[](int32_t index) { return fStore.MutableData()[index]; }
    const T* Values() const { return fStore.Data(); }
    T* MutableValues() { return fStore.MutableData(); }
    void MakeUnique() { fStore.MakeUnique(); }
    bool IsShared() const { return fStore.IsShared(); }
    bool IsEmpty() const { return fStore.Dim() == 0; }

    int64_t Sum() const {
        int64_t sum = 0;
        for (int32_t i = 0; i < GetDim(); ++i) sum += fStore.Data()[i];
        return sum;
    }
    int32_t MinIndex() const { return int32_t(std::min_element(Values(), Values() + NonEmptyDim()) - Values()); }
    int32_t MaxIndex() const { return int32_t(std::max_element(Values(), Values() + NonEmptyDim()) - Values()); }
    T Min() const { return Values()[MinIndex()]; }
    T Max() const { return Values()[MaxIndex()]; }
    void Fill(T value) { std::fill(MutableValues(), MutableValues() + GetDim(), value); }
    void Sort() { std::sort(MutableValues(), MutableValues() + GetDim()); }
    void RemoveAt(int32_t index) {
        CheckIndex(index);
        T* v = MutableValues();
        std::copy(v + index + 1, v + GetDim(), v + index);
        SetDim(GetDim() - 1);
    }
    void InsertAt(int32_t index, T value = 0) {
        if (index < 0 || index > GetDim()) TKThrow(IndexError);
        SetDim(GetDim() + 1);
        T* v = MutableValues();
        std::copy_backward(v + index, v + GetDim() - 1, v + GetDim());
        v[index] = value;
    }

    bool Differs(const TKVectorTmpl& other) const {
        return other.GetDim() != GetDim() || !std::equal(Values(), Values() + GetDim(), other.Values());
    }
    bool operator==(const TKVectorTmpl& other) const { return !Differs(other); }
    bool operator!=(const TKVectorTmpl& other) const { return Differs(other); }
    // Shorter vectors first, then element by element: a strict order for sorted keys.
    bool operator<(const TKVectorTmpl& other) const {
        if (GetDim() != other.GetDim()) return GetDim() < other.GetDim();
        return std::lexicographical_compare(Values(), Values() + GetDim(), other.Values(),
                                            other.Values() + other.GetDim());
    }
    // FNV-1a over the dimension and the elements, for hashed keys.
    uint64_t Hash() const {
        uint64_t hash = 1469598103934665603ull;
        auto mix = [&hash](uint64_t x) {
            for (int b = 0; b < 8; ++b) {
                hash ^= (x >> (8 * b)) & 0xFF;
                hash *= 1099511628211ull;
            }
        };
        mix(uint64_t(GetDim()));
        for (int32_t i = 0; i < GetDim(); ++i) mix(uint64_t(int64_t(fStore.Data()[i])));
        return hash;
    }
    // The elements as doubles with the same type.
    TKVector ToVector() const {
        TKVector v(GetDim(), fType);
        for (int32_t i = 0; i < GetDim(); ++i) v[i] = double(fStore.Data()[i]);
        return v;
    }

private:
    // Variable arguments arrive promoted: int for the small types, wider for 32 bits.
    using PromotedArg = std::conditional_t<(sizeof(T) < sizeof(int)), int, long long>;

    static T Clamped(double x) {
        if (std::isnan(x)) return 0;
        double r = std::floor(x + 0.5);
        if (r <= double(std::numeric_limits<T>::min())) return std::numeric_limits<T>::min();
        if (r >= double(std::numeric_limits<T>::max())) return std::numeric_limits<T>::max();
        return T(r);
    }
    void CheckIndex(int32_t index) const {
        if (index < 0 || index >= fStore.Dim()) TKThrow(IndexError);
    }
    int32_t NonEmptyDim() const {
        if (IsEmpty()) TKThrow(DimMismatch);
        return GetDim();
    }

    TKVectorStore<T, TKVectorBlock<T>> fStore;
    int32_t fType = 0;
};

using TKVector8 = TKVectorTmpl<uint8_t>;
using TKVector16 = TKVectorTmpl<uint16_t>;
using TKVector32 = TKVectorTmpl<int32_t>;
