// Closed-form inverse of the colour engine's 3x3 matrices.
#include "color/TKMat3.h"

#include "foundation/TKError.h"

TKMat3 TKMat3::Inverse() const {
    const double det = Determinant();
    if (det == 0.0) TKThrow(SingularMatrixErr);
    const double inv = 1.0 / det;
    return TKMat3{{(m[4] * m[8] - m[5] * m[7]) * inv, (m[2] * m[7] - m[1] * m[8]) * inv,
                   (m[1] * m[5] - m[2] * m[4]) * inv, (m[5] * m[6] - m[3] * m[8]) * inv,
                   (m[0] * m[8] - m[2] * m[6]) * inv, (m[2] * m[3] - m[0] * m[5]) * inv,
                   (m[3] * m[7] - m[4] * m[6]) * inv, (m[1] * m[6] - m[0] * m[7]) * inv,
                   (m[0] * m[4] - m[1] * m[3]) * inv}};
}
