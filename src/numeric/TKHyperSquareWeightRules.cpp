// The weight rules of hyper-square interpolation, each a pure function of the fractions.
#include "numeric/TKHyperSquareWeightRules.h"

#include <algorithm>
#include <cmath>

#include "foundation/TKError.h"

namespace TKWeightRules {

namespace {

constexpr int32_t kMaxChannels = 31;

// Insertion sort by descending fraction: an element moves forward only past a strictly smaller
// one, so of equal fractions the lower channel stays first.
void SortDescending(const double* f, int32_t* order, int32_t count) {
    for (int32_t i = 1; i < count; ++i)
        for (int32_t j = i; j > 0 && f[order[j - 1]] < f[order[j]]; --j) std::swap(order[j], order[j - 1]);
}

void Clear(int32_t n, double* w) { std::fill(w, w + (size_t(1) << n), 0.0); }

void Simplex(const double* f, int32_t n, double* w) {
    int32_t all[kMaxChannels];
    for (int32_t d = 0; d < n; ++d) all[d] = d;
    SimplexOver(f, n, all, n, w);
}

}  // namespace

void Multilinear(const double* f, int32_t n, double* w) {
    Clear(n, w);
    if (n == 0) {
        w[0] = 1.0;
        return;
    }
    // Built from the last channel, whose bit is 1, towards channel 0, the top bit: the count of
    // entries in use doubles with each channel, also with one whose fraction is 0.
    w[0] = 1.0 - f[n - 1];
    w[1] = f[n - 1];
    uint32_t count = 2;
    for (int32_t d = n - 2; d >= 0; --d, count <<= 1) {
        if (f[d] == 0.0) continue;
        for (uint32_t i = 0; i < count; ++i) {
            if (w[i] == 0.0) continue;
            w[i + count] = w[i] * f[d];
            w[i] = w[i] - w[i] * f[d];
        }
    }
}

void SimplexOver(const double* f, int32_t n, const int32_t* channels, int32_t count, double* w) {
    if (count < 1) {
        w[0] = 1.0;
        return;
    }
    int32_t order[kMaxChannels];
    std::copy(channels, channels + count, order);
    SortDescending(f, order, count);
    w[0] = 1.0 - f[order[0]];
    uint32_t mask = 0;
    for (int32_t i = 0; i + 1 < count; ++i) {
        mask |= Bit(n, order[i]);
        w[mask] = f[order[i]] - f[order[i + 1]];
    }
    w[mask | Bit(n, order[count - 1])] = f[order[count - 1]];
}

void SplitChannel(double f, int32_t n, int32_t d, double* w) {
    if (f == 0.0) return;
    const uint32_t bit = Bit(n, d);
    const uint32_t total = 1u << n;
    for (uint32_t i = 0; i < total; ++i) {
        if ((i & bit) || w[i] == 0.0) continue;
        w[i + bit] = w[i] * f;
        w[i] = w[i] - w[i] * f;
    }
}

void AddPyramidWeights(double a, double b, double c, int32_t shift, double* w) {
    const double da = std::fabs(a - 0.5), db = std::fabs(b - 0.5), dc = std::fabs(c - 0.5);
    // The dominant channel is the one farthest from the centre; its near face is the base of the
    // pyramid that holds the point.
    int32_t dominant;
    double value, p, q;
    if (db < da && dc < da) {
        dominant = 0, value = a, p = b, q = c;
    } else if (db <= dc) {
        dominant = 2, value = c, p = a, q = b;
    } else {
        dominant = 1, value = b, p = a, q = c;
    }
    const double t = value < 0.5 ? value : 1.0 - value;
    const double d = 1.0 - 2.0 * t;
    if (d > 0.0) {
        // Project from the apex (the centre) onto the base face.
        p = (p - 0.5) / d + 0.5;
        q = (q - 0.5) / d + 0.5;
    }
    // Corner masks of the base face: the dominant channel at its near side, p and q free.
    const int32_t pChannel = dominant == 0 ? 1 : 0;
    const int32_t qChannel = dominant == 2 ? 1 : 2;
    auto bit3 = [](int32_t channel) { return 4u >> channel; };
    const uint32_t near = value < 0.5 ? 0u : bit3(dominant);
    const uint32_t pb = bit3(pChannel), qb = bit3(qChannel);
    w[size_t(near) << shift] += d * (1.0 - p) * (1.0 - q);
    w[size_t(near | qb) << shift] += d * (1.0 - p) * q;
    w[size_t(near | pb) << shift] += d * p * (1.0 - q);
    w[size_t(near | pb | qb) << shift] += d * p * q;
    // The centre is no node: its weight goes half to corner 0 and half to corner 7.
    w[0] += t;
    w[size_t(7) << shift] += t;
}

void Compute(int32_t mode, const double* f, int32_t n, double* w) {
    if (n < 0 || n > kMaxChannels) TKThrow(ArgErr);
    switch (mode) {
        case kMultilinear:
            Multilinear(f, n, w);
            return;
        case kSimplex:
            Clear(n, w);
            if (n == 0) w[0] = 1.0;
            else Simplex(f, n, w);
            return;
        case kSimplexLinear3: {
            Clear(n, w);
            if (n < 4) {
                if (n == 0) w[0] = 1.0;
                else Simplex(f, n, w);
                return;
            }
            int32_t rest[kMaxChannels];
            int32_t count = 0;
            for (int32_t d = 0; d < n; ++d)
                if (d != 3) rest[count++] = d;
            SimplexOver(f, n, rest, count, w);
            const uint32_t bit = Bit(n, 3);
            const double f3 = f[3];
            for (uint32_t i = 0; i < (1u << n); ++i) {
                if (i & bit) continue;
                w[i + bit] = f3 * w[i];
                w[i] = (1.0 - f3) * w[i];
            }
            return;
        }
        case kSimplex3Multilinear: {
            Clear(n, w);
            if (n < 4) {
                if (n == 0) w[0] = 1.0;
                else Simplex(f, n, w);
                return;
            }
            const int32_t first3[3] = {0, 1, 2};
            SimplexOver(f, n, first3, 3, w);
            for (int32_t d = 3; d < n; ++d) SplitChannel(f[d], n, d, w);
            return;
        }
        case kScaledMultilinear: {
            double m = 0.0;
            for (int32_t d = 0; d < n; ++d) m = std::max(m, f[d]);
            if (!(m > 0.0)) {
                Compute(kSimplex, f, n, w);
                return;
            }
            double scaled[kMaxChannels];
            for (int32_t d = 0; d < n; ++d) scaled[d] = f[d] / m;
            Multilinear(scaled, n, w);
            for (uint32_t i = 0; i < (1u << n); ++i) w[i] *= m;
            w[0] = 1.0 - m;
            return;
        }
        case kCubeWithCentre:
            Clear(n, w);
            if (n < 3) {
                w[0] = 1.0;
                for (int32_t d = 0; d < n; ++d) SplitChannel(f[d], n, d, w);
                return;
            }
            AddPyramidWeights(f[0], f[1], f[2], n - 3, w);
            for (int32_t d = 3; d < n; ++d) SplitChannel(f[d], n, d, w);
            return;
        default:
            TKThrow(UndefProc);
    }
}

}  // namespace TKWeightRules
