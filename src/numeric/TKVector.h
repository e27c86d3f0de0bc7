// TKVector: the colour value of the engine, doubles with a colour type. Up to 8 elements live
// inline (no heap for a colour); larger vectors share a counted block until one copy writes.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <type_traits>
#include <utility>

#include "foundation/TKString.h"
#include "numeric/TKVectorStorage.h"

class TKMatrix;
class TKStream;

// The shared block of a vector with more than 8 elements.
class TKVectorData : public TKVectorBlock<double> {
public:
    using TKVectorBlock<double>::TKVectorBlock;
};

namespace tk_detail {
// Anything with GetDim, GetType and GetElement can be turned into a vector.
template <class V, class = void>
struct IsVectorLike : std::false_type {};
template <class V>
struct IsVectorLike<V, std::void_t<decltype(std::declval<const V&>().GetDim()),
                                   decltype(std::declval<const V&>().GetType()),
                                   decltype(std::declval<const V&>().GetElement(0))>> : std::true_type {};
}  // namespace tk_detail

class TKVector {
public:
    static constexpr int32_t kInlineCount = 8;

    TKVector() noexcept = default;
    explicit TKVector(int32_t dim, int32_t type = 0, double fill = 0.0);
    TKVector(std::initializer_list<double> values, int32_t type = 0);
    TKVector(const TKVector& other) = default;
    TKVector(TKVector&& other) noexcept = default;
    // From any vector-like object: its type and dimension, element by element.
    template <class V, class = std::enable_if_t<tk_detail::IsVectorLike<V>::value &&
                                                !std::is_base_of<TKVector, V>::value>>
    explicit TKVector(const V& other) : TKVector(static_cast<int32_t>(other.GetDim()), other.GetType()) {
        double* out = fStore.MutableData();
        for (int32_t i = 0; i < fStore.Dim(); ++i) out[i] = static_cast<double>(other.GetElement(i));
    }
    // From a matrix of one column; IndexError for any other width.
    explicit TKVector(const TKMatrix& column);
    virtual ~TKVector();
    TKVector& operator=(const TKVector& other) = default;
    TKVector& operator=(TKVector&& other) noexcept = default;

    // Virtual operations, in table order.
    virtual const char* ClassName() const;
    virtual int32_t GetDim() const;
    virtual void SetDim(int32_t dim);
    virtual double& GetElementRef(int32_t index);  // IndexError outside; unshares
    virtual double GetElement(int32_t index) const;  // IndexError outside
    virtual int32_t GetType() const;
    virtual void SetType(int32_t type);
    // count doubles follow; they must be passed as double (write 1.0, not 1).
    virtual void SetValues(int32_t count, ...);
    virtual void SetFromArray(int32_t count, const double* values);
    virtual void CopyToArray(double* values) const;
    virtual void ToWords(uint16_t* out, const TKVector& minV, const TKVector& maxV) const;
    virtual void FromWords(const uint16_t* in, const TKVector& minV, const TKVector& maxV);
    virtual void ToBytes(uint8_t* out, const TKVector& minV, const TKVector& maxV) const;
    virtual void FromBytes(const uint8_t* in, const TKVector& minV, const TKVector& maxV);
    // Each element with `format` (default "%f "), `separator` between elements if nonzero,
    // trailing white space removed.
    virtual TKString ToString(const char* format = nullptr, int separator = 0) const;
    // Reads numbers separated by white space, commas or semicolons; the count becomes Dim.
    virtual void FromString(const char* text);
    // The keyword block of ToText/FromText through a stream; Read stops right after "END_DATA".
    virtual int32_t Read(TKStream& stream);
    virtual void Write(TKStream& stream, const char* format = nullptr) const;

    // The text block "DIM", "TYPE", "BEGIN_DATA" ... "END_DATA" that Write and Read use.
    TKString ToText(const char* format = nullptr) const;
    // Returns 0 when a whole block was read, EOFReached when the text ends before any data
    // block; malformed text raises FormatErr. `consumed` receives the bytes used.
    int32_t FromText(const char* text, int32_t length, int32_t* consumed = nullptr);

    // Unchecked inline access for inner loops.
    double operator[](int32_t index) const { return fStore.Data()[index]; }
    double& operator[](int32_t index) { return fStore.MutableData()[index]; }
    const double* Values() const { return fStore.Data(); }
    double* MutableValues() { return fStore.MutableData(); }
    // Gives this vector its own storage if it shares it with another.
    void MakeUnique() { fStore.MakeUnique(); }
    bool IsShared() const { return fStore.IsShared(); }
    bool IsEmpty() const { return fStore.Dim() == 0; }

    // Ranges: first < 0 means 0, last < 0 means Dim-1; first >= Dim or last < first is IndexError.
    double SqrNorm(int32_t first = -1, int32_t last = -1) const;
    double Norm(int32_t first = -1, int32_t last = -1) const;
    double SumAbs(int32_t first = -1, int32_t last = -1) const;
    double LpNorm(double p) const;  // p 0 is the maximum norm; p < 0 ArgErr
    double Sum(int32_t first = -1, int32_t last = -1) const;
    double Mean(int32_t first = -1, int32_t last = -1) const;
    double Min(int32_t first = -1, int32_t last = -1) const;  // DimMismatch when empty
    double Max(int32_t first = -1, int32_t last = -1) const;
    int32_t MinIndex(int32_t first = -1, int32_t last = -1) const;
    int32_t MaxIndex(int32_t first = -1, int32_t last = -1) const;
    double MinAbs(int32_t first = -1, int32_t last = -1) const;
    double MaxAbs(int32_t first = -1, int32_t last = -1) const;
    double SqrDistance(const TKVector& other) const;  // DimMismatch unless dims agree
    double Distance(const TKVector& other) const;
    double MaxDistance(const TKVector& other) const;
    double Dot(const TKVector& other) const;
    bool Differs(const TKVector& other) const;  // dimension or any element; not the type

    void Fill(double value, int32_t first = -1, int32_t last = -1);
    void Sort(int32_t first = -1, int32_t last = -1);
    void RemoveAt(int32_t index);
    void InsertAt(int32_t index, double value = 0.0);  // index may equal Dim

    void Add(const TKVector& other);
    void Subtract(const TKVector& other);
    void AddScalar(double x);       // 0 changes nothing, not even the sharing
    void SubtractScalar(double x);
    void Multiply(double x);        // 1 changes nothing
    void Divide(double x);          // 1 changes nothing; 0 is DivZero
    // Raises each element to minV's and lowers it to maxV's; positions beyond either vector
    // aren't limited on that side.
    void Limit(const TKVector& minV, const TKVector& maxV, int32_t first = -1, int32_t last = -1);
    void LimitScalar(double min, double max, int32_t first = -1, int32_t last = -1);

    // The vector read as a curve sampled evenly on 0..1, and its inverse for monotonic curves.
    double Interpolate(double t) const;
    double InverseInterpolate(double y) const;

    bool operator==(const TKVector& other) const { return !Differs(other); }
    bool operator!=(const TKVector& other) const { return Differs(other); }
    TKVector& operator+=(const TKVector& other) {
        Add(other);
        return *this;
    }
    TKVector& operator-=(const TKVector& other) {
        Subtract(other);
        return *this;
    }
    TKVector& operator*=(double x) {
        Multiply(x);
        return *this;
    }
    TKVector& operator/=(double x) {
        Divide(x);
        return *this;
    }

private:
    void ResolveRange(int32_t& first, int32_t& last) const;
    void CheckSameDim(const TKVector& other) const;
    void CheckLimits(const void* samples, const TKVector& minV, const TKVector& maxV) const;

    TKVectorStore<double, TKVectorData> fStore;
    int32_t fType = 0;
};

TKVector operator+(const TKVector& a, const TKVector& b);
TKVector operator-(const TKVector& a, const TKVector& b);
TKVector operator-(const TKVector& a);
TKVector operator*(const TKVector& v, double x);
TKVector operator*(double x, const TKVector& v);
TKVector operator/(const TKVector& v, double x);
double Dot(const TKVector& a, const TKVector& b);
