// Conversions by shape: first for types that are defined here, then for those of the libraries that are installed.

#include <sinew/core/interop.h>

#include <array>
#include <vector>

#include <gtest/gtest.h>

#include <sinew/core/transform.h>

#include "support/bits.h"
#include "support/random.h"

#ifdef SINEW_TEST_EIGEN
#include <Eigen/Core>
#endif
#ifdef SINEW_TEST_GLM
#include <glm/mat3x3.hpp>
#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <glm/vec4.hpp>
#endif
#ifdef SINEW_TEST_IMATH
#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>
#endif

namespace {

using test::sameBits;

struct Members
{
    float x, y, z, w = 7;
};

struct Brackets
{
    double values[3];
    double& operator[](int i) { return values[i]; }
    double operator[](int i) const { return values[i]; }
};

// Both shapes. The brackets give -1, so a test sees which of the two was used.
struct Both
{
    double x, y, z;
    double operator[](int) const { return -1; }
};

// A type whose x, y and z are functions, so that it can be read only by its brackets.
struct Functions
{
    double values[3];
    double x() const { return -1; }
    double y() const { return -1; }
    double z() const { return -1; }
    double& operator[](int i) { return values[i]; }
    double operator[](int i) const { return values[i]; }
};

// Stored by columns. Conversions must not depend on the storage.
struct RowColumn
{
    double values[16];
    double& operator()(int i, int j) { return values[j * 4 + i]; }
    double operator()(int i, int j) const { return values[j * 4 + i]; }
};

struct Axes
{
    std::array<std::array<float, 4>, 4> axes;
    std::array<float, 4>& operator[](int j) { return axes[static_cast<std::size_t>(j)]; }
    std::array<float, 4> const& operator[](int j) const { return axes[static_cast<std::size_t>(j)]; }
};

Matrix placement()
{
    Transform t(Vector3(1, 2, 3), 0.7);
    t.scale = 2;
    t.translation = {5, 6, 7};
    return t.getMatrix();
}

} // namespace

TEST(Interop, VectorsByMembers)
{
    EXPECT_EQ(sinew::toVector3(Members{1, 2, 3}), Vector3(1, 2, 3));
    Members const m = sinew::to<Members>(Vector3(1, 2, 0.1));
    EXPECT_EQ(m.y, 2.0f);
    EXPECT_EQ(m.z, 0.1f);
    EXPECT_EQ(m.w, 7.0f) << "members beyond the third keep their values";
}

TEST(Interop, VectorsByBrackets)
{
    EXPECT_EQ(sinew::toVector3(Brackets{{1, 2, 3}}), Vector3(1, 2, 3));
    EXPECT_EQ(sinew::to<Brackets>(Vector3(1, 2, 3)).values[2], 3);
    EXPECT_EQ(sinew::toVector3(std::array<int, 3>{1, 2, 3}), Vector3(1, 2, 3));
    EXPECT_EQ((sinew::to<std::array<int, 3>>(Vector3(1.9, -1.9, 3))), (std::array<int, 3>{1, -1, 3}));
    double const raw[3] = {1, 2, 3};
    EXPECT_EQ(sinew::toVector3(raw), Vector3(1, 2, 3));
    EXPECT_EQ(sinew::toVector3(&raw[0]), Vector3(1, 2, 3));
}

TEST(Interop, VectorsOfVariableSizeAreResized)
{
    EXPECT_EQ(sinew::to<std::vector<double>>(Vector3(1, 2, 3)), (std::vector<double>{1, 2, 3}));
}

TEST(Interop, MembersArePreferredToBracketsAndFunctionsAreNotMembers)
{
    EXPECT_EQ(sinew::toVector3(Both{1, 2, 3}), Vector3(1, 2, 3));
    EXPECT_EQ(sinew::toVector3(Functions{{1, 2, 3}}), Vector3(1, 2, 3));
    EXPECT_EQ(sinew::to<Functions>(Vector3(1, 2, 3)).values[1], 2);
}

TEST(Interop, OwnTypesConvertToThemselves)
{
    EXPECT_EQ(sinew::to<Vector3>(Vector3(1, 2, 3)), Vector3(1, 2, 3));
    EXPECT_EQ(sinew::toMatrix(placement()), placement());
    EXPECT_EQ(sinew::to<Matrix>(placement()), placement());
    EXPECT_EQ(sinew::toMatrix3(Matrix3(placement())), Matrix3(placement()));
    Matrixf const narrow = sinew::to<Matrixf>(placement());
    EXPECT_EQ(narrow(0, 1), static_cast<float>(placement()(0, 1)));
}

TEST(Interop, MatricesByRowAndColumnInAnyStorageOrder)
{
    Matrix const m = placement();
    RowColumn const theirs = sinew::to<RowColumn>(m);
    EXPECT_EQ(theirs.values[12], 5.0) << "row 0 of column 3";
    EXPECT_EQ(sinew::toMatrix(theirs), m);
    EXPECT_EQ(sinew::toMatrix3(theirs), Matrix3(m)) << "a larger matrix gives its upper-left block";
}

TEST(Interop, MatricesByAxes)
{
    Matrix const m = placement();
    Axes const theirs = sinew::toAxes<Axes>(m);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(theirs[3][static_cast<std::size_t>(i)], 5.0f + static_cast<float>(i)) << "the translation";
        EXPECT_EQ(theirs[0][static_cast<std::size_t>(i)], static_cast<float>(m(i, 0))) << "the image of the x axis";
    }
    EXPECT_EQ(sinew::toMatrixFromAxes(theirs), sinew::toMatrix(sinew::to<Matrixf>(m)));
}

#ifdef SINEW_TEST_EIGEN
TEST(InteropEigen, VectorsSurviveARoundTrip)
{
    test::Random random(701);
    for (int trial = 0; trial < 100; ++trial) {
        Vector3 const v = random.hostilePoint();
        Eigen::Vector3d const theirs = sinew::to<Eigen::Vector3d>(v);
        EXPECT_TRUE(sameBits(theirs.y(), v.y));
        EXPECT_TRUE(sameBits(sinew::toVector3(theirs), v));
        EXPECT_TRUE(sameBits(sinew::toVector3(sinew::to<Eigen::VectorXd>(v)), v));
        EXPECT_TRUE(sameBits(sinew::toVector3(sinew::to<Eigen::RowVector3d>(v)), v));
    }
    EXPECT_EQ(sinew::toVector3(Eigen::Vector3f(1, 2, 3)), Vector3(1, 2, 3));
    Eigen::Vector3d const a(1, 2, 3);
    EXPECT_EQ(sinew::toVector3(a + a), Vector3(2, 4, 6)) << "an expression is accepted too";
}

TEST(InteropEigen, MatricesDescribeTheSameMap)
{
    using RowMajor = Eigen::Matrix<double, 4, 4, Eigen::RowMajor>;
    Matrix const m = placement();
    Vector3 const p(1, -2, 3);
    Eigen::Vector4d const image = sinew::to<Eigen::Matrix4d>(m) * Eigen::Vector4d(p.x, p.y, p.z, 1);
    EXPECT_NEAR(dist(sinew::toVector3(image), m * p), 0, 1e-14);
    EXPECT_EQ(sinew::toMatrix(sinew::to<Eigen::Matrix4d>(m)), m);
    EXPECT_EQ(sinew::toMatrix(sinew::to<RowMajor>(m)), m);
    EXPECT_EQ(sinew::toMatrix(sinew::to<Eigen::MatrixXd>(m)), m);
    Matrix3 const linear(m);
    EXPECT_EQ(sinew::toMatrix3(sinew::to<Eigen::Matrix3d>(linear)), linear);
    EXPECT_EQ(sinew::to<Eigen::Matrix3f>(linear)(0, 1), static_cast<float>(linear(0, 1)));
}
#endif

#ifdef SINEW_TEST_GLM
TEST(InteropGlm, VectorsSurviveARoundTrip)
{
    glm::dvec3 const theirs = sinew::to<glm::dvec3>(Vector3(1, 2, 3));
    EXPECT_EQ(theirs, glm::dvec3(1, 2, 3));
    EXPECT_EQ(sinew::toVector3(theirs), Vector3(1, 2, 3));
    EXPECT_EQ(sinew::toVector3(glm::vec4(1, 2, 3, 4)), Vector3(1, 2, 3));
}

TEST(InteropGlm, MatricesDescribeTheSameMap)
{
    Matrix const m = placement();
    Vector3 const p(1, -2, 3);
    glm::dvec4 const image = sinew::toAxes<glm::dmat4>(m) * glm::dvec4(p.x, p.y, p.z, 1);
    EXPECT_NEAR(dist(sinew::toVector3(image), m * p), 0, 1e-14);
    EXPECT_EQ(sinew::toMatrixFromAxes(sinew::toAxes<glm::dmat4>(m)), m);
    Matrix3 const linear(m);
    glm::dvec3 const turned = sinew::toAxes<glm::dmat3>(linear) * glm::dvec3(p.x, p.y, p.z);
    EXPECT_NEAR(dist(sinew::toVector3(turned), linear * p), 0, 1e-14);
    EXPECT_EQ(sinew::toMatrix3FromAxes(sinew::toAxes<glm::dmat3>(linear)), linear);
}
#endif

#ifdef SINEW_TEST_IMATH
TEST(InteropImath, VectorsSurviveARoundTrip)
{
    Imath::V3d const theirs = sinew::to<Imath::V3d>(Vector3(1, 2, 3));
    EXPECT_EQ(theirs, Imath::V3d(1, 2, 3));
    EXPECT_EQ(sinew::toVector3(theirs), Vector3(1, 2, 3));
    EXPECT_EQ(sinew::toVector3(Imath::V3f(1, 2, 3)), Vector3(1, 2, 3));
}

TEST(InteropImath, MatricesDescribeTheSameMap)
{
    Matrix const m = placement();
    Vector3 const p(1, -2, 3);
    Imath::V3d const image = sinew::to<Imath::V3d>(p) * sinew::toAxes<Imath::M44d>(m); // row vectors there
    EXPECT_NEAR(dist(sinew::toVector3(image), m * p), 0, 1e-14);
    EXPECT_EQ(sinew::toMatrixFromAxes(sinew::toAxes<Imath::M44d>(m)), m);
    Matrix3 const linear(m);
    EXPECT_EQ(sinew::toMatrix3FromAxes(sinew::toAxes<Imath::M33d>(linear)), linear);
}
#endif
