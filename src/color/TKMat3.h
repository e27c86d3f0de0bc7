// A 3x3 matrix of doubles by value, for the colour conversions that run per colour and must
// not allocate: adaptation, cone responses, observer sums.
#pragma once

#include <array>
#include <cstddef>

struct TKMat3 {
    std::array<double, 9> m{};  // row-major

    static constexpr TKMat3 Identity() { return TKMat3{{1, 0, 0, 0, 1, 0, 0, 0, 1}}; }
    static constexpr TKMat3 Diagonal(double a, double b, double c) { return TKMat3{{a, 0, 0, 0, b, 0, 0, 0, c}}; }

    double operator()(int row, int column) const { return m[std::size_t(row * 3 + column)]; }

    // out = M in; in and out may be the same array.
    void Apply(const double in[3], double out[3]) const {
        const double x = in[0], y = in[1], z = in[2];
        out[0] = m[0] * x + m[1] * y + m[2] * z;
        out[1] = m[3] * x + m[4] * y + m[5] * z;
        out[2] = m[6] * x + m[7] * y + m[8] * z;
    }

    TKMat3 operator*(const TKMat3& b) const {
        TKMat3 r;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                r.m[std::size_t(i * 3 + j)] = (*this)(i, 0) * b(0, j) + (*this)(i, 1) * b(1, j) + (*this)(i, 2) * b(2, j);
        return r;
    }

    double Determinant() const {
        return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) +
               m[2] * (m[3] * m[7] - m[4] * m[6]);
    }

    // The cofactors over the determinant; a singular matrix raises SingularMatrixErr.
    TKMat3 Inverse() const;
};
