#include <sinew/core/matrix.h>

#include <cstdio>

#include <sinew/core/detail/math.h>

namespace math = sinew::detail::math;

namespace {

// Distance from a rotation up to which a matrix is rigid; absolute, in the sense of `distTo` after division
// by the scale.
constexpr double kRigidDistance = 0.0001;

// Length below which a rotation axis may give the identity; absolute, compared with the length as the caller gives it.
constexpr double kShortAxis = 0.0001;

Matrix translationMatrix(Vector3 const& t)
{
    Matrix result;
    for (int i = 0; i < 3; ++i) result(i, 3) = t[i];
    return result;
}

// The scale of a uniformly scaled rotation: the length of the linear part of row 0.
double scaleOf(Matrix const& m)
{
    return Vector3(m(0, 0), m(0, 1), m(0, 2)).length();
}

// The matrix without its translation, all sixteen elements divided by the scale. Element (3, 3) is divided too: part
// of the contract of `isRigid`.
Matrix withoutTranslationAndScale(Matrix const& m)
{
    double const scale = scaleOf(m);
    Matrix result;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) result(i, j) = (i < 3 && j == 3 ? 0.0 : m(i, j)) / scale;
    }
    return result;
}

void setLinearBlock(Matrix& m, Matrix3 const& block)
{
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) m(i, j) = block(i, j);
    }
}

// Changes the type of a vector of length 1. The constructor of `UVector3` would normalise it again,
// with another rounding.
UVector3 asUnit(Vector3 const& v)
{
    UVector3 unit;
    static_cast<Vector3&>(unit) = v;
    return unit;
}

} // namespace

// Here and not in matrix3.cpp, so that `Matrix3` does not depend on `Matrix`.
Matrix3::Matrix3(Matrix const& m)
    : entries_{{m(0, 0), m(0, 1), m(0, 2)}, {m(1, 0), m(1, 1), m(1, 2)}, {m(2, 0), m(2, 1), m(2, 2)}}
{
}

Matrix::Matrix(Matrixf const& m)
{
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) entries_[i][j] = m(i, j);
    }
}

void Matrix::print() const
{
    for (int i = 0; i < 4; ++i) {
        std::putchar(i == 0 ? '[' : ' ');
        for (double const e : entries_[i]) std::printf("%.2f ", e);
        if (i == 3) std::putchar(']');
        std::putchar('\n');
    }
    std::fflush(stdout);
}

double Matrix::distTo(Matrix const& B) const
{
    double sum = 0.0;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            double const d = entries_[i][j] - B.entries_[i][j];
            sum += d * d;
        }
    }
    return std::sqrt(sum);
}

Matrix Matrix::scale(double s) const
{
    Matrix result;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 4; ++j) result.entries_[i][j] = entries_[i][j] * s;
    }
    return result;
}

bool Matrix::isRigid() const
{
    auto const& last = entries_[3];
    if (!(last[0] == 0.0 && last[1] == 0.0 && last[2] == 0.0 && last[3] == 1.0)) return false;
    Matrix const n = withoutTranslationAndScale(*this);
    return !(Matrix().distTo(n * n.transpose()) > kRigidDistance);
}

Vector3 Matrix::getRotationAxis() const
{
    // The difference between a column, which is the image of a coordinate axis, and that axis is perpendicular to
    // the rotation axis.
    Vector3 moved[3];
    bool usable[3];
    for (int i = 0; i < 3; ++i) {
        moved[i] = Vector3(entries_[0][i], entries_[1][i], entries_[2][i]);
        usable[i] = moved[i].autoNormalize();
        if (usable[i]) moved[i][i] -= 1.0;
    }
    for (int i = 0; i < 3; ++i) {
        int const j = (i + 1) % 3;
        if (!usable[i] || !usable[j]) continue;
        Vector3 normal = cross(moved[i], moved[j]);
        if (normal.autoNormalize()) return normal;
    }
    return Vector3(1.0, 0.0, 0.0);
}

double Matrix::getRotationAngle(Vector3 axis) const
{
    UVector3 const unit(axis);
    return Matrix3(withoutTranslationAndScale(*this)).getRotationAngle(&unit);
}

Matrix Matrix::vvt(Vector3 const& v)
{
    Matrix3 block;
    block.tensor(v, v);
    Matrix result;
    setLinearBlock(result, block);
    return result;
}

Matrix Matrix::rotationMatrix(Vector3 const& axis, double angle)
{
    double const length = axis.length();
    Matrix result;
    if (length >= angle && length < kShortAxis) return result;
    setLinearBlock(result, Matrix3::rotationMatrix(asUnit(axis / length), angle));
    return result;
}

Matrix Matrix::rigidTransform(Vector3 const& a0, Vector3 const& d0, Vector3 const& a1, Vector3 const& d1)
{
    UVector3 const u0 = d0.normalize();
    UVector3 const u1 = d1.normalize();
    UVector3 const axis = cross(d0, d1).normalize();
    double const angle = math::atan2(cross(u0, u1).length(), u0 * u1);
    return translationMatrix(a1) * rotationMatrix(axis, angle) * translationMatrix(-a0);
}

Matrix Matrix::interpolate(Matrix const& A, Matrix const& B, double w)
{
    if (w <= 0) return A;
    if (w >= 1) return B;
    double const scale = math::exp(w * math::log(scaleOf(B)) + (1 - w) * math::log(scaleOf(A)));
    Matrix const relative = A.inverse() * B;
    Vector3 const axis = relative.getRotationAxis();
    Matrix const turned = withoutTranslationAndScale(A) * rotationMatrix(axis, w * relative.getRotationAngle(axis));
    Matrix result = turned.scale(scale);
    for (int i = 0; i < 3; ++i) result(i, 3) = (1 - w) * A(i, 3) + w * B(i, 3);
    return result;
}
