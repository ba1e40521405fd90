// Skinning by dual quaternions against the method's definition in numbers of 256 bits: polar decomposition by Newton's
// iteration, rigid motions as unit dual quaternions, their weighted sum, and normals by the cofactors of the
// derivative.

#include <sinew/skinning/skin.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <utility>
#include <vector>

#include <gmpxx.h>
#include <gtest/gtest.h>

#include "support/random.h"
#include "support/trials.h"

using test::Random;

namespace {

constexpr int kPrecision = 256;

using Real = mpf_class;
using Vector = std::array<Real, 3>;
using Matrix33 = std::array<Vector, 3>; // rows
using Quaternion = std::array<Real, 4>; // x, y, z, w

Real real(double number = 0.0)
{
    return Real(number, kPrecision);
}

Vector exact(Vector3 const& v)
{
    return {real(v.x), real(v.y), real(v.z)};
}

Matrix33 exact(Matrix3 const& m)
{
    Matrix33 result;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) result[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)] = real(m(i, j));
    }
    return result;
}

Vector cross(Vector const& a, Vector const& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Real dot(Vector const& a, Vector const& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector times(Matrix33 const& m, Vector const& v)
{
    return {dot(m[0], v), dot(m[1], v), dot(m[2], v)};
}

// Row i is the cross product of the other rows: the inverse transpose times the determinant.
Matrix33 cofactors(Matrix33 const& m)
{
    return {cross(m[1], m[2]), cross(m[2], m[0]), cross(m[0], m[1])};
}

// The rotation of the polar decomposition of a matrix with a positive determinant. Newton's iteration, X <- (X + X^-T)
// / 2, whose convergence is quadratic; the stretches of the test lie in [0.005, 3].
Matrix33 polarRotation(Matrix33 x)
{
    for (int iteration = 0; iteration < 18; ++iteration) {
        Matrix33 const inverseTranspose = cofactors(x);
        Real const determinant = dot(x[0], inverseTranspose[0]);
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t j = 0; j < 3; ++j) x[i][j] = (x[i][j] + inverseTranspose[i][j] / determinant) / 2;
        }
    }
    return x;
}

// From the largest of the four squares, so that nothing cancels.
Quaternion quaternionOf(Matrix33 const& r)
{
    Quaternion squares;
    squares[3] = 1 + r[0][0] + r[1][1] + r[2][2];
    for (std::size_t i = 0; i < 3; ++i)
        squares[i] = 1 + r[i][i] - r[(i + 1) % 3][(i + 1) % 3] - r[(i + 2) % 3][(i + 2) % 3];
    std::size_t const top =
        static_cast<std::size_t>(std::max_element(squares.begin(), squares.end()) - squares.begin());
    Quaternion q;
    if (top == 3) {
        q = {r[2][1] - r[1][2], r[0][2] - r[2][0], r[1][0] - r[0][1], squares[3]};
    } else {
        std::size_t const j = (top + 1) % 3;
        std::size_t const k = (top + 2) % 3;
        q[top] = squares[top];
        q[j] = r[top][j] + r[j][top];
        q[k] = r[top][k] + r[k][top];
        q[3] = r[k][j] - r[j][k];
    }
    Real const length = sqrt(Real(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]));
    for (Real& number : q) number /= length;
    return q;
}

// a b
Quaternion product(Quaternion const& a, Quaternion const& b)
{
    Vector const av = {a[0], a[1], a[2]};
    Vector const bv = {b[0], b[1], b[2]};
    Vector const c = cross(av, bv);
    return {a[3] * b[0] + b[3] * a[0] + c[0], a[3] * b[1] + b[3] * a[1] + c[1], a[3] * b[2] + b[3] * a[2] + c[2],
            a[3] * b[3] - dot(av, bv)};
}

struct Bone
{
    Matrix33 linear;
    Vector translation;
    Matrix33 rotation;
    Quaternion q;

    explicit Bone(BoneTransform const& bone)
        : linear(exact(bone.linear)), translation(exact(bone.translation)), rotation(polarRotation(linear)),
          q(quaternionOf(rotation))
    {
    }
};

// The point p after the blended motion of the rigid motions that turn as the bones and map p to its images.
Vector blend(std::vector<Bone> const& bones, std::vector<double> const& weights, Vector const& p)
{
    std::size_t const pivot =
        static_cast<std::size_t>(std::max_element(weights.begin(), weights.end()) - weights.begin());
    Quaternion real4 = {real(), real(), real(), real()};
    Quaternion dual = real4;
    for (std::size_t b = 0; b < bones.size(); ++b) {
        Bone const& bone = bones[b];
        Vector const stretched = times(bone.linear, p);
        Vector const turned = times(bone.rotation, p);
        Quaternion shift = {real(), real(), real(), real()};
        for (std::size_t i = 0; i < 3; ++i) shift[i] = stretched[i] + bone.translation[i] - turned[i];
        Quaternion const ownDual = product(shift, bone.q);
        Real sign = real();
        for (std::size_t i = 0; i < 4; ++i) sign += bone.q[i] * bones[pivot].q[i];
        Real const weight = sign < 0 ? real(-weights[b]) : real(weights[b]);
        for (std::size_t i = 0; i < 4; ++i) {
            real4[i] += weight * bone.q[i];
            dual[i] += weight * ownDual[i] / 2;
        }
    }
    Real const length =
        sqrt(Real(real4[0] * real4[0] + real4[1] * real4[1] + real4[2] * real4[2] + real4[3] * real4[3]));
    for (std::size_t i = 0; i < 4; ++i) {
        real4[i] /= length;
        dual[i] /= length;
    }
    Quaternion const conjugate = {-real4[0], -real4[1], -real4[2], real4[3]};
    Quaternion const turned = product(product(real4, {p[0], p[1], p[2], real()}), conjugate);
    Quaternion const shift = product(dual, conjugate);
    return {turned[0] + 2 * shift[0], turned[1] + 2 * shift[1], turned[2] + 2 * shift[2]};
}

Vector normalOf(std::vector<Bone> const& bones, std::vector<double> const& weights, Vector const& p, Vector const& n)
{
    Vector const at = blend(bones, weights, p);
    Matrix33 derivative; // of an affine map: differences are exact
    for (std::size_t j = 0; j < 3; ++j) {
        Vector moved = p;
        moved[j] += 1;
        Vector const image = blend(bones, weights, moved);
        for (std::size_t i = 0; i < 3; ++i) derivative[i][j] = image[i] - at[i];
    }
    Vector normal = times(cofactors(derivative), n);
    Real const length = sqrt(dot(normal, normal));
    for (Real& number : normal) number /= length;
    return normal;
}

double distance(Vector3 const& a, Vector const& b)
{
    Vector const difference = {b[0] - a.x, b[1] - a.y, b[2] - a.z};
    return std::sqrt(Real(dot(difference, difference)).get_d());
}

// Two stretches of a bone lie within these limits, the third one within [0.3, 3].
struct Limits
{
    double least;
    double most;
};

// A rotation by at most 1.2 radians after stretches, and a translation.
BoneTransform randomBone(Random& random, Limits const& limits)
{
    Vector3 const axis = random.point();
    Matrix3 const turn = Matrix3::rotationMatrix(UVector3(axis), random.uniform(-1.2, 1.2));
    Vector3 const other = random.point();
    Matrix3 const axes = Matrix3::rotationMatrix(UVector3(other), random.uniform(-3, 3));
    double const a = random.uniform(0.3, 3);
    double const b = random.uniform(limits.least, limits.most);
    BoneTransform bone;
    bone.linear =
        turn * axes * sinew::diagonalMatrix(a, b, random.uniform(limits.least, limits.most)) * axes.transpose();
    bone.translation = random.point();
    return bone;
}

struct Errors
{
    double position = 0;
    double normal = 0;
};

constexpr std::size_t kBones = 3;
constexpr int kVertices = 50; // of one pose

Errors largestErrors(Random& random, long vertices, Limits const& stretches)
{
    Errors errors;
    for (long done = 0; done < vertices; done += kVertices) {
        std::vector<BoneTransform> figure;
        std::vector<Bone> bones;
        for (std::size_t b = 0; b < kBones; ++b) {
            figure.push_back(randomBone(random, stretches));
            bones.emplace_back(figure.back());
        }
        for (int v = 0; v < kVertices; ++v) {
            std::vector<int> const indices = {0, 1, 2};
            std::vector<double> const weights = {random.uniform(0, 1), random.uniform(0, 1), random.uniform(0, 1)};
            Vector3 const p = random.point();
            Vector3 const n = UVector3(random.point());
            Vector3 posed;
            Vector3 normal;
            sinew::SkinInput input;
            input.positions = sinew::coordinatesOf(&p, 1);
            input.normals = sinew::coordinatesOf(&n, 1);
            input.influences = {kBones, sinew::packed(indices, kBones), sinew::packed(weights, kBones)};
            input.bones = figure.data();
            input.boneCount = kBones;
            input.method = sinew::SkinMethod::dualQuaternion;
            sinew::skin(input, {sinew::coordinatesOf(&posed, 1), sinew::coordinatesOf(&normal, 1)});
            errors.position = std::max(errors.position, distance(posed, blend(bones, weights, exact(p))));
            errors.normal = std::max(errors.normal, distance(normal, normalOf(bones, weights, exact(p), exact(n))));
        }
    }
    std::printf("largest error of a position %.3g, of a normal %.3g\n", errors.position, errors.normal);
    return errors;
}

} // namespace

// The images of the points lie within 6 of the origin. An error of a position is stated in units of 2^-53 of that.
TEST(DualQuaternionSkin, MatchesItsDefinitionAgainstExactArithmetic)
{
    Random random(20261170);
    Errors const errors = largestErrors(random, test::trials(2000, 300000), {0.3, 3});
    EXPECT_LE(errors.position, 8 * 6 * 0x1p-53);
    EXPECT_LE(errors.normal, 4e-15);
}

// Two stretches near 0.01, so that the rotation is determined a hundred times less well than the linear part.
TEST(DualQuaternionSkin, MatchesItsDefinitionForThinBonesAgainstExactArithmetic)
{
    Random random(20261171);
    Errors const errors = largestErrors(random, test::trials(1000, 100000), {0.005, 0.02});
    EXPECT_LE(errors.position, 60 * 6 * 0x1p-53);
}
