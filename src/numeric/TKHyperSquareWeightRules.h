// The weight rules of hyper-square interpolation: from the n fractions of a position inside one
// cell to the 2^n weights of the cell's corners. Corner mask bit (n-1-d) stands for channel d, so
// channel 0 is the top bit, matching the grid layout where channel 0 varies slowest.
#pragma once

#include <cstdint>

namespace TKWeightRules {

enum Mode : int32_t {
    kMultilinear = 0,
    kSimplex = 1,
    kSimplexLinear3 = 2,      // simplex over all channels but 3, channel 3 linear on top
    kSimplex3Multilinear = 3,  // simplex on channels 0..2, the rest multilinear
    kScaledMultilinear = 4,
    kCubeWithCentre = 5,
    kLastPlainMode = 5,
    kLinearizeEdges = 6
};

// The mask bit of channel d among n channels.
inline uint32_t Bit(int32_t n, int32_t d) { return 1u << (n - 1 - d); }

// Fills w[0 .. 2^n - 1] by the rule `mode` (0 to 5) for the fractions f[0 .. n-1].
// UndefProc for any other mode.
void Compute(int32_t mode, const double* f, int32_t n, double* w);

// The single rules, for callers that combine them.
void Multilinear(const double* f, int32_t n, double* w);
// Simplex over the listed channels, placed on the full n-channel mask space: the channels are
// sorted by descending fraction (stable: equal fractions keep channel order) and each step of the
// walk from corner 0 takes the difference of neighbouring fractions. Other entries are untouched.
void SimplexOver(const double* f, int32_t n, const int32_t* channels, int32_t count, double* w);
// Splits every non-zero entry without channel d's bit multilinearly by f (nothing if f is 0).
void SplitChannel(double f, int32_t n, int32_t d, double* w);
// Adds the six-pyramid weights of the first three fractions (a, b, c) to w[k << shift], k = 0..7.
void AddPyramidWeights(double a, double b, double c, int32_t shift, double* w);

}  // namespace TKWeightRules
