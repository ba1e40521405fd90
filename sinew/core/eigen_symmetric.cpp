// C. G. J. Jacobi, Über ein leichtes Verfahren, die in der Theorie der Säcularstörungen vorkommenden Gleichungen
// numerisch aufzulösen, Journal für die reine und angewandte Mathematik 30, 1846: each rotation annihilates the largest
// element off the diagonal. H. Rutishauser, The Jacobi Method for Real Symmetric Matrices, Numerische Mathematik 9,
// 1966, for the formulas with tau. J. Demmel, K. Veselić, Jacobi's Method is More Accurate than QR, SIAM Journal on
// Matrix Analysis and Applications 13, 1992, for a stop relative to the diagonal. The compensated sums are those of D.
// E. Knuth, The Art of Computer Programming 2, section 4.2.2.

#include <sinew/core/eigen_symmetric.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include <sinew/core/detail/power_scale.h>

namespace {

// Random matrices need 8 to 12 rotations; no matrix of the tests needs more than 13. The limit only makes the end of
// the loop obvious.
constexpr int kMaxRotations = 45;

// An off-diagonal element counts as zero if it is this small relative to both of its diagonal elements. The rotation
// that it asks for would then change neither of them, and no vector by more than a rounding error.
constexpr double kNegligible = 0x1p-54;

// Up to this tangent of the angle, its square is lost in 1 + t^2, so that the cosine is 1.
constexpr double kSmallTangent = 0x1p-28;

// Below this sum of squares, the squares themselves may have lost digits to underflow.
constexpr double kSmallSquare = 0x1p-900;
constexpr double kRescale = 0x1p500;

struct Symmetric
{
    double diagonal[3];
    double off[3];      // off[r] is the element in the plane of the other two axes
    double rounding[3]; // what the sums on the diagonal have lost so far
};

void addToDiagonal(Symmetric& s, int i, double change)
{
    double const old = s.diagonal[i];
    double const sum = old + change;
    double const added = sum - old;
    s.rounding[i] += (old - (sum - added)) + (change - added);
    s.diagonal[i] = sum;
}

// The bits of the element with the largest magnitude.
std::uint64_t largestMagnitude(Matrix3 const& m)
{
    std::uint64_t largest = 0;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) largest = std::max(largest, sinew::detail::magnitudeBits(m(i, j)));
    }
    return largest;
}

// The tangent of the smaller of the two angles that annihilate `off`, where half is (a_qq - a_pp) / 2 and off is not 0.
double tangent(double half, double off)
{
    double square = half * half + off * off;
    if (square < kSmallSquare) {
        half *= kRescale;
        off *= kRescale;
        square = half * half + off * off;
        if (square < kSmallSquare) {
            half *= kRescale;
            off *= kRescale;
            square = half * half + off * off;
        }
    }
    double const root = std::sqrt(square);
    return half < 0 ? off / (half - root) : off / (half + root);
}

// Annihilates the element in the plane of the axes p and q; r is the remaining one. The indices are template arguments
// so that the elements stay in registers.
template <int p, int q, int r>
void rotate(Symmetric& s, Vector3 (&v)[3])
{
    static_assert(p + q + r == 3);
    double const off = std::exchange(s.off[r], 0.0);
    if (std::fabs(off) <= kNegligible * std::min(std::fabs(s.diagonal[p]), std::fabs(s.diagonal[q]))) return;
    double const t = tangent(0.5 * (s.diagonal[q] - s.diagonal[p]), off);
    double sine = t;
    double tau = 0.5 * t; // sine / (1 + cosine)
    if (std::fabs(t) > kSmallTangent) {
        double const secant = std::sqrt(1 + t * t);
        sine = t * (1 / secant);
        tau = t / (1 + secant);
    }
    addToDiagonal(s, p, -t * off);
    addToDiagonal(s, q, t * off);
    // x - sine * (y + tau * x) is cosine * x - sine * y. It adds a small number to x, so that its rounding errors are
    // small, too.
    double const x = s.off[q];
    double const y = s.off[p];
    s.off[q] = x - sine * (y + tau * x);
    s.off[p] = y + sine * (x - tau * y);
    Vector3 const vp = v[p];
    Vector3 const vq = v[q];
    v[p] = vp - sine * (vq + tau * vp);
    v[q] = vq + sine * (vp - tau * vq);
}

// Rotates until the elements off the diagonal are 0. An element that is negligible becomes 0 as well.
void diagonalise(Symmetric& s, Vector3 (&v)[3])
{
    for (int rotation = 0; rotation < kMaxRotations; ++rotation) {
        double const yz = std::fabs(s.off[0]);
        double const xz = std::fabs(s.off[1]);
        double const xy = std::fabs(s.off[2]);
        if (xy >= xz && xy >= yz) {
            if (xy == 0) break;
            rotate<0, 1, 2>(s, v);
        } else if (xz >= yz) {
            rotate<0, 2, 1>(s, v);
        } else {
            rotate<1, 2, 0>(s, v);
        }
    }
    for (int i = 0; i < 3; ++i) s.diagonal[i] += s.rounding[i];
}

// One step of Newton's iteration for 1 / sqrt(x) at x near 1. It removes the errors that the rotations have added up.
Vector3 corrected(Vector3 const& nearlyUnit)
{
    return nearlyUnit * (1.5 - 0.5 * nearlyUnit.lengthSq());
}

sinew::SymmetricEigensystem notFinite()
{
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    sinew::SymmetricEigensystem result;
    for (int k = 0; k < 3; ++k) {
        result.values[k] = kNaN;
        result.vectors[k] = {kNaN, kNaN, kNaN};
    }
    result.isFinite = false;
    return result;
}

void sortPair(double (&values)[3], Vector3 (&v)[3], int k)
{
    if (!(values[k] > values[k + 1])) return;
    std::swap(values[k], values[k + 1]);
    std::swap(v[k], v[k + 1]);
}

} // namespace

auto sinew::eigenSymmetric(Matrix3 const& A) -> SymmetricEigensystem
{
    std::uint64_t const largest = largestMagnitude(A);
    if (largest >> detail::kFractionBits == detail::kFieldOfInfinity) return notFinite();
    // Sums of the scaled elements cannot overflow, and the halves of the sums are exact.
    auto const [scale, back] = detail::powerScale(largest);
    auto const mean = [&A, scale = scale](int i, int j) { return 0.5 * (A(i, j) * scale + A(j, i) * scale); };
    Symmetric s = {
        {A(0, 0) * scale, A(1, 1) * scale, A(2, 2) * scale}, {mean(1, 2), mean(0, 2), mean(0, 1)}, {0.0, 0.0, 0.0}};
    SymmetricEigensystem result;
    Vector3(&v)[3] = result.vectors;
    diagonalise(s, v);

    sortPair(s.diagonal, v, 0);
    sortPair(s.diagonal, v, 1);
    sortPair(s.diagonal, v, 0);
    for (int k = 0; k < 3; ++k) result.values[k] = s.diagonal[k] * back;
    v[0] = corrected(v[0]);
    v[1] = corrected(v[1] - (v[0] * v[1]) * v[0]);
    v[2] = corrected(cross(v[0], v[1]));
    return result;
}
