// Singular value decomposition (Householder bidiagonalisation, then implicitly shifted QR
// sweeps on the bidiagonal, after Golub and Reinsch), the pseudo-inverse built on it, and
// the least-squares inverse.
#include <algorithm>
#include <cmath>
#include <vector>

#include "numeric/TKMatrix.h"

namespace {
constexpr int kMaxSweeps = 30;

double WithSign(double magnitude, double sign) { return sign >= 0.0 ? std::fabs(magnitude) : -std::fabs(magnitude); }

// A small dense m x n work matrix (m >= n) addressed as a[r][c].
struct Work {
    Work(int32_t rows, int32_t columns) : m(rows), n(columns), values(size_t(rows) * columns, 0.0) {}
    double* operator[](int32_t r) { return values.data() + size_t(r) * n; }
    int32_t m, n;
    std::vector<double> values;
};

// Decomposes a (m x n, m >= n) in place: a becomes U, w the singular values, v the n x n V.
void Decompose(Work& a, std::vector<double>& w, Work& v) {
    const int32_t m = a.m, n = a.n;
    std::vector<double> super(n, 0.0);  // the superdiagonal of the bidiagonal form
    double g = 0.0, scale = 0.0, norm = 0.0;

    // 1. Householder reflections from the left (columns) and right (rows) make a bidiagonal.
    for (int32_t i = 0; i < n; ++i) {
        int32_t l = i + 1;
        super[i] = scale * g;
        g = scale = 0.0;
        double s = 0.0;
        for (int32_t k = i; k < m; ++k) scale += std::fabs(a[k][i]);
        if (scale != 0.0) {
            for (int32_t k = i; k < m; ++k) {
                a[k][i] /= scale;
                s += a[k][i] * a[k][i];
            }
            double f = a[i][i];
            g = -WithSign(std::sqrt(s), f);
            double h = f * g - s;
            a[i][i] = f - g;
            for (int32_t j = l; j < n; ++j) {
                double dot = 0.0;
                for (int32_t k = i; k < m; ++k) dot += a[k][i] * a[k][j];
                double factor = dot / h;
                for (int32_t k = i; k < m; ++k) a[k][j] += factor * a[k][i];
            }
            for (int32_t k = i; k < m; ++k) a[k][i] *= scale;
        }
        w[i] = scale * g;
        g = scale = s = 0.0;
        if (i != n - 1) {
            for (int32_t k = l; k < n; ++k) scale += std::fabs(a[i][k]);
            if (scale != 0.0) {
                for (int32_t k = l; k < n; ++k) {
                    a[i][k] /= scale;
                    s += a[i][k] * a[i][k];
                }
                double f = a[i][l];
                g = -WithSign(std::sqrt(s), f);
                double h = f * g - s;
                a[i][l] = f - g;
                for (int32_t k = l; k < n; ++k) super[k] = a[i][k] / h;
                for (int32_t j = l; j < m; ++j) {
                    double dot = 0.0;
                    for (int32_t k = l; k < n; ++k) dot += a[j][k] * a[i][k];
                    for (int32_t k = l; k < n; ++k) a[j][k] += dot * super[k];
                }
                for (int32_t k = l; k < n; ++k) a[i][k] *= scale;
            }
        }
        norm = std::max(norm, std::fabs(w[i]) + std::fabs(super[i]));
    }

    // 2. Accumulate the right-hand reflections into V.
    for (int32_t i = n - 1, l = n; i >= 0; l = i--) {
        if (i < n - 1) {
            if (g != 0.0) {
                // Two divisions rather than one product avoid a possible underflow.
                for (int32_t j = l; j < n; ++j) v[j][i] = (a[i][j] / a[i][l]) / g;
                for (int32_t j = l; j < n; ++j) {
                    double dot = 0.0;
                    for (int32_t k = l; k < n; ++k) dot += a[i][k] * v[k][j];
                    for (int32_t k = l; k < n; ++k) v[k][j] += dot * v[k][i];
                }
            }
            for (int32_t j = l; j < n; ++j) v[i][j] = v[j][i] = 0.0;
        }
        v[i][i] = 1.0;
        g = super[i];
    }

    // 3. Accumulate the left-hand reflections into U, in place of a.
    for (int32_t i = n - 1; i >= 0; --i) {
        int32_t l = i + 1;
        g = w[i];
        for (int32_t j = l; j < n; ++j) a[i][j] = 0.0;
        if (g != 0.0) {
            g = 1.0 / g;
            for (int32_t j = l; j < n; ++j) {
                double dot = 0.0;
                for (int32_t k = l; k < m; ++k) dot += a[k][i] * a[k][j];
                double factor = (dot / a[i][i]) * g;
                for (int32_t k = i; k < m; ++k) a[k][j] += factor * a[k][i];
            }
            for (int32_t j = i; j < m; ++j) a[j][i] *= g;
        } else {
            for (int32_t j = i; j < m; ++j) a[j][i] = 0.0;
        }
        a[i][i] += 1.0;
    }

    // 4. Diagonalise the bidiagonal by QR sweeps, one singular value at a time from the bottom.
    // "Negligible" means that adding the value to the matrix norm leaves the norm unchanged.
    auto negligible = [norm](double x) { return std::fabs(x) + norm == norm; };
    for (int32_t k = n - 1; k >= 0; --k) {
        for (int sweep = 1;; ++sweep) {
            // Find the top l of the unreduced block that ends at k.
            bool cancel = true;
            int32_t l = k;
            for (; l >= 0; --l) {
                if (negligible(super[l])) {  // super[0] is always 0
                    cancel = false;
                    break;
                }
                if (negligible(w[l - 1])) break;
            }
            if (cancel) {
                // w[l-1] is negligible: chase super[l] out with Givens rotations from the left.
                double c = 0.0, s = 1.0;
                for (int32_t i = l; i <= k; ++i) {
                    double f = s * super[i];
                    super[i] = c * super[i];
                    if (negligible(f)) break;
                    double gg = w[i];
                    double h = std::hypot(f, gg);
                    w[i] = h;
                    c = gg / h;
                    s = -f / h;
                    for (int32_t j = 0; j < m; ++j) {
                        double y = a[j][l - 1], z = a[j][i];
                        a[j][l - 1] = y * c + z * s;
                        a[j][i] = z * c - y * s;
                    }
                }
            }
            double z = w[k];
            if (l == k) {  // converged
                if (z < 0.0) {
                    w[k] = -z;
                    for (int32_t j = 0; j < n; ++j) v[j][k] = -v[j][k];
                }
                break;
            }
            if (sweep == kMaxSweeps) TKThrow(MatrixSVDErr);
            // Wilkinson shift from the trailing 2 x 2 block.
            double x = w[l];
            double y = w[k - 1];
            double gg = super[k - 1];
            double h = super[k];
            double f = ((y - z) * (y + z) + (gg - h) * (gg + h)) / (2.0 * h * y);
            gg = std::hypot(f, 1.0);
            f = ((x - z) * (x + z) + h * ((y / (f + WithSign(gg, f))) - h)) / x;
            double c = 1.0, s = 1.0;
            for (int32_t j = l; j < k; ++j) {
                int32_t i = j + 1;
                gg = super[i];
                y = w[i];
                h = s * gg;
                gg = c * gg;
                z = std::hypot(f, h);
                super[j] = z;
                c = f / z;
                s = h / z;
                f = x * c + gg * s;
                gg = gg * c - x * s;
                h = y * s;
                y *= c;
                for (int32_t r = 0; r < n; ++r) {
                    double vx = v[r][j], vz = v[r][i];
                    v[r][j] = vx * c + vz * s;
                    v[r][i] = vz * c - vx * s;
                }
                z = std::hypot(f, h);
                w[j] = z;
                if (z != 0.0) {
                    c = f / z;
                    s = h / z;
                }
                f = c * gg + s * y;
                x = c * y - s * gg;
                for (int32_t r = 0; r < m; ++r) {
                    double uy = a[r][j], uz = a[r][i];
                    a[r][j] = uy * c + uz * s;
                    a[r][i] = uz * c - uy * s;
                }
            }
            super[l] = 0.0;
            super[k] = f;
            w[k] = x;
        }
    }
}

TKMatrix ToMatrix(Work& work, int32_t rows, int32_t columns) {
    TKMatrix result(rows, columns);
    if (rows > 0 && columns > 0) std::copy(work.values.begin(), work.values.begin() + size_t(rows) * columns, result.MutableValues());
    return result;
}
}  // namespace

void TKMatrix::SVD(TKMatrix& u, TKVector& w, TKMatrix& v) const {
    // The decomposition wants at least as many rows as columns; a wide matrix is decomposed
    // transposed, and u and v change places: A^T = U W V^T gives A = V W U^T.
    bool wide = fWidth > fHeight;
    TKMatrix transposed;
    if (wide) transposed = Transpose();
    const TKMatrix& a = wide ? transposed : *this;
    int32_t m = a.GetHeight(), n = a.GetWidth();
    Work work(m, n);
    if (m > 0 && n > 0) std::copy(a.Values(), a.Values() + int64_t(m) * n, work.values.begin());
    Work right(n, n);
    std::vector<double> values(size_t(n), 0.0);
    if (n > 0) Decompose(work, values, right);
    TKMatrix left = ToMatrix(work, m, n);
    TKMatrix rightMatrix = ToMatrix(right, n, n);
    w = TKVector();
    w.SetFromArray(n, values.data());
    u = wide ? rightMatrix : left;
    v = wide ? left : rightMatrix;
}

TKMatrix TKMatrix::PseudoInverse() const {
    TKMatrix u, v;
    TKVector w;
    SVD(u, w, v);
    // A+ = V diag(1/w) U^T, with 1/0 read as 0.
    TKMatrix result(fWidth, fHeight, fType);
    int32_t k = w.GetDim();
    for (int32_t r = 0; r < fWidth; ++r)
        for (int32_t c = 0; c < fHeight; ++c) {
            double sum = 0.0;
            for (int32_t i = 0; i < k; ++i)
                if (w[i] != 0.0) sum += v(r, i) * u(c, i) / w[i];
            result(r, c) = sum;
        }
    return result;
}

TKMatrix TKMatrix::LeastSquaresInverse() const {
    TKMatrix transposed = Transpose();
    return (transposed * *this).PseudoInverse() * transposed;
}
