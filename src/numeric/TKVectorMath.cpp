// TKVector arithmetic: norms, extremes, distances, in-place operations, sorting and the
// vector read as an evenly sampled curve.
#include <algorithm>
#include <cmath>

#include "numeric/TKVector.h"

namespace {
// Sums term(v[i]) over [first, last] in groups of four: each group is added as
// a0 + a1 + a2 + a3 to the running total, which fixes the order of summation.
template <class Term>
double GroupedSum(const double* v, int32_t first, int32_t last, Term term) {
    double total = 0.0;
    int32_t i = first;
    for (; i + 3 <= last; i += 4) total += term(v[i]) + term(v[i + 1]) + term(v[i + 2]) + term(v[i + 3]);
    for (; i <= last; ++i) total += term(v[i]);
    return total;
}

// Index of the first element that `better` prefers over all before it.
template <class Better>
int32_t FirstBest(const double* v, int32_t first, int32_t last, Better better) {
    int32_t best = first;
    for (int32_t i = first + 1; i <= last; ++i)
        if (better(v[i], v[best])) best = i;
    return best;
}

bool Less(double a, double b) { return a < b; }
bool Greater(double a, double b) { return a > b; }
double Identity(double a) { return a; }
double Square(double a) { return a * a; }
double Absolute(double a) { return std::fabs(a); }
}  // namespace

void TKVector::ResolveRange(int32_t& first, int32_t& last) const {
    if (first < 0) first = 0;
    if (last < 0) last = fStore.Dim() - 1;
    if (first >= fStore.Dim() || last < first || last >= fStore.Dim()) TKThrow(IndexError);
}

void TKVector::CheckSameDim(const TKVector& other) const {
    if (other.GetDim() != fStore.Dim()) TKThrow(DimMismatch);
}

double TKVector::SqrNorm(int32_t first, int32_t last) const {
    if (IsEmpty()) return 0.0;
    ResolveRange(first, last);
    return GroupedSum(Values(), first, last, Square);
}

double TKVector::Norm(int32_t first, int32_t last) const {
    if (IsEmpty()) return 0.0;
    ResolveRange(first, last);
    if (first == last) return std::fabs(Values()[first]);
    return std::sqrt(GroupedSum(Values(), first, last, Square));
}

double TKVector::SumAbs(int32_t first, int32_t last) const {
    if (IsEmpty()) return 0.0;
    ResolveRange(first, last);
    return GroupedSum(Values(), first, last, Absolute);
}

double TKVector::LpNorm(double p) const {
    if (p < 0.0 || std::isnan(p)) TKThrow(ArgErr);
    if (IsEmpty()) return 0.0;
    if (p == 0.0) return MaxAbs();
    if (p == 1.0) return SumAbs();
    if (p == 2.0) return Norm();
    double sum = GroupedSum(Values(), 0, GetDim() - 1, [p](double a) { return std::pow(std::fabs(a), p); });
    return std::pow(sum, 1.0 / p);
}

double TKVector::Sum(int32_t first, int32_t last) const {
    if (IsEmpty()) return 0.0;
    ResolveRange(first, last);
    return GroupedSum(Values(), first, last, Identity);
}

double TKVector::Mean(int32_t first, int32_t last) const {
    if (IsEmpty()) return 0.0;
    ResolveRange(first, last);
    return GroupedSum(Values(), first, last, Identity) / (last - first + 1);
}

int32_t TKVector::MinIndex(int32_t first, int32_t last) const {
    if (IsEmpty()) TKThrow(DimMismatch);
    ResolveRange(first, last);
    return FirstBest(Values(), first, last, Less);
}

int32_t TKVector::MaxIndex(int32_t first, int32_t last) const {
    if (IsEmpty()) TKThrow(DimMismatch);
    ResolveRange(first, last);
    return FirstBest(Values(), first, last, Greater);
}

double TKVector::Min(int32_t first, int32_t last) const { return Values()[MinIndex(first, last)]; }

double TKVector::Max(int32_t first, int32_t last) const { return Values()[MaxIndex(first, last)]; }

double TKVector::MinAbs(int32_t first, int32_t last) const {
    if (IsEmpty()) TKThrow(DimMismatch);
    ResolveRange(first, last);
    const double* v = Values();
    return std::fabs(v[FirstBest(v, first, last, [](double a, double b) { return std::fabs(a) < std::fabs(b); })]);
}

double TKVector::MaxAbs(int32_t first, int32_t last) const {
    if (IsEmpty()) TKThrow(DimMismatch);
    ResolveRange(first, last);
    const double* v = Values();
    return std::fabs(v[FirstBest(v, first, last, [](double a, double b) { return std::fabs(a) > std::fabs(b); })]);
}

double TKVector::SqrDistance(const TKVector& other) const {
    CheckSameDim(other);
    const double* a = Values();
    const double* b = other.Values();
    double total = 0.0;
    int32_t n = GetDim();
    int32_t i = 0;
    auto d2 = [&](int32_t k) { return (a[k] - b[k]) * (a[k] - b[k]); };
    for (; i + 3 < n; i += 4) total += d2(i) + d2(i + 1) + d2(i + 2) + d2(i + 3);
    for (; i < n; ++i) total += d2(i);
    return total;
}

double TKVector::Distance(const TKVector& other) const { return std::sqrt(SqrDistance(other)); }

double TKVector::MaxDistance(const TKVector& other) const {
    CheckSameDim(other);
    double best = 0.0;
    for (int32_t i = 0; i < GetDim(); ++i) best = std::max(best, std::fabs(Values()[i] - other.Values()[i]));
    return best;
}

double TKVector::Dot(const TKVector& other) const {
    CheckSameDim(other);
    const double* a = Values();
    const double* b = other.Values();
    double total = 0.0;
    int32_t n = GetDim();
    int32_t i = 0;
    for (; i + 3 < n; i += 4) total += a[i] * b[i] + a[i + 1] * b[i + 1] + a[i + 2] * b[i + 2] + a[i + 3] * b[i + 3];
    for (; i < n; ++i) total += a[i] * b[i];
    return total;
}

bool TKVector::Differs(const TKVector& other) const {
    if (other.GetDim() != GetDim()) return true;
    return !std::equal(Values(), Values() + GetDim(), other.Values());
}

void TKVector::Fill(double value, int32_t first, int32_t last) {
    if (IsEmpty()) return;
    ResolveRange(first, last);
    std::fill(MutableValues() + first, MutableValues() + last + 1, value);
}

// Shell sort whose gap starts at the element count and halves, rounding up, down to 1; each
// gap runs an insertion pass, so the final pass with gap 1 leaves the range sorted.
void TKVector::Sort(int32_t first, int32_t last) {
    if (IsEmpty()) return;
    ResolveRange(first, last);
    double* v = MutableValues() + first;
    int32_t n = last - first + 1;
    int32_t gap = n;
    for (;;) {
        for (int32_t i = gap; i < n; ++i) {
            double value = v[i];
            int32_t j = i;
            for (; j >= gap && value < v[j - gap]; j -= gap) v[j] = v[j - gap];
            v[j] = value;
        }
        if (gap <= 1) break;
        gap = (gap + 1) / 2;
    }
}

void TKVector::RemoveAt(int32_t index) {
    if (index < 0 || index >= GetDim()) TKThrow(IndexError);
    double* v = MutableValues();
    std::copy(v + index + 1, v + GetDim(), v + index);
    SetDim(GetDim() - 1);
}

void TKVector::InsertAt(int32_t index, double value) {
    if (index < 0 || index > GetDim()) TKThrow(IndexError);
    SetDim(GetDim() + 1);
    double* v = MutableValues();
    std::copy_backward(v + index, v + GetDim() - 1, v + GetDim());
    v[index] = value;
}

void TKVector::Add(const TKVector& other) {
    CheckSameDim(other);
    double* a = MutableValues();
    const double* b = other.Values();  // after unsharing: `other` may be this vector
    for (int32_t i = 0; i < GetDim(); ++i) a[i] += b[i];
}

void TKVector::Subtract(const TKVector& other) {
    CheckSameDim(other);
    double* a = MutableValues();
    const double* b = other.Values();
    for (int32_t i = 0; i < GetDim(); ++i) a[i] -= b[i];
}

void TKVector::AddScalar(double x) {
    if (x == 0.0) return;
    double* a = MutableValues();
    for (int32_t i = 0; i < GetDim(); ++i) a[i] += x;
}

void TKVector::SubtractScalar(double x) {
    if (x == 0.0) return;
    double* a = MutableValues();
    for (int32_t i = 0; i < GetDim(); ++i) a[i] -= x;
}

void TKVector::Multiply(double x) {
    if (x == 1.0) return;
    double* a = MutableValues();
    for (int32_t i = 0; i < GetDim(); ++i) a[i] *= x;
}

void TKVector::Divide(double x) {
    if (x == 1.0) return;
    if (x == 0.0) TKThrow(DivZero);
    double* a = MutableValues();
    for (int32_t i = 0; i < GetDim(); ++i) a[i] /= x;
}

void TKVector::Limit(const TKVector& minV, const TKVector& maxV, int32_t first, int32_t last) {
    if (IsEmpty()) return;
    ResolveRange(first, last);
    double* a = MutableValues();
    for (int32_t i = first; i <= last; ++i) {
        if (i < minV.GetDim() && a[i] < minV[i]) a[i] = minV[i];
        if (i < maxV.GetDim() && a[i] > maxV[i]) a[i] = maxV[i];
    }
}

void TKVector::LimitScalar(double min, double max, int32_t first, int32_t last) {
    if (IsEmpty()) return;
    ResolveRange(first, last);
    double* a = MutableValues();
    for (int32_t i = first; i <= last; ++i) {
        if (a[i] < min) a[i] = min;
        if (a[i] > max) a[i] = max;
    }
}

double TKVector::Interpolate(double t) const {
    int32_t n = GetDim();
    if (n == 0) return t;
    const double* v = Values();
    if (n == 1 || !(t > 0.0)) return v[0];
    if (t >= 1.0) return v[n - 1];
    double position = t * (n - 1);
    int32_t i = std::min(static_cast<int32_t>(position), n - 2);
    return v[i] + (v[i + 1] - v[i]) * (position - i);
}

double TKVector::InverseInterpolate(double y) const {
    int32_t n = GetDim();
    if (n < 2) return 0.0;
    const double* v = Values();
    bool ascending = v[n - 1] >= v[0];
    // Beyond either end the answer is that end.
    if (ascending ? !(y > v[0]) : !(y < v[0])) return 0.0;
    if (ascending ? y >= v[n - 1] : y <= v[n - 1]) return 1.0;
    int32_t low = 0;
    int32_t high = n - 1;
    while (high - low > 1) {
        int32_t middle = (low + high) / 2;
        if (ascending ? v[middle] <= y : v[middle] >= y)
            low = middle;
        else
            high = middle;
    }
    double span = v[high] - v[low];
    double fraction = span != 0.0 ? (y - v[low]) / span : 0.0;
    return (low + fraction) / (n - 1);
}

TKVector operator+(const TKVector& a, const TKVector& b) {
    TKVector result(a);
    result.Add(b);
    return result;
}

TKVector operator-(const TKVector& a, const TKVector& b) {
    TKVector result(a);
    result.Subtract(b);
    return result;
}

TKVector operator-(const TKVector& a) {
    TKVector result(a);
    result.Multiply(-1.0);
    return result;
}

TKVector operator*(const TKVector& v, double x) {
    TKVector result(v);
    result.Multiply(x);
    return result;
}

TKVector operator*(double x, const TKVector& v) { return v * x; }

TKVector operator/(const TKVector& v, double x) {
    TKVector result(v);
    result.Divide(x);
    return result;
}

double Dot(const TKVector& a, const TKVector& b) { return a.Dot(b); }
