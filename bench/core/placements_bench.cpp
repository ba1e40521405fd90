// Products, inverses and maps of matrices and transforms: the library, its reference implementation, Eigen and Imath.

#include <utility>

#include <sinew/core/matrix.h>
#include <sinew/core/transform.h>

#include "contenders.h"
#include "core/reference_placements.h"

#ifdef SINEW_BENCH_EIGEN
#include <Eigen/Dense>
#endif
#ifdef SINEW_BENCH_IMATH
#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>
#endif

namespace {

using bench::againstReference;
using bench::contender;
using bench::converted;
using bench::inputs;
using bench::nearly;
using test::Random;

// Pointers that the compiler cannot see through, because these functions of the library are not inlined either.
Matrix3 (*volatile referenceRotation)(Vector3 const&, double) = reference::rotationMatrix;
bool (*volatile referenceIsRigid)(Matrix const&) = reference::isRigid;
Matrix (*volatile referenceBetween)(Matrix const&, Matrix const&, double) = reference::interpolate;
Transform (*volatile referenceBetweenTransforms)(Transform const&, Transform const&, double) = reference::interpolate;

Matrix3 randomLinear(Random& random)
{
    return Matrix3(random.point(), random.point(), random.point());
}

Matrix randomAffine(Random& random)
{
    return reference::affine(randomLinear(random), random.point());
}

Transform randomTransform(Random& random)
{
    Transform t(random.point(), random.uniform(-3, 3));
    t.translation = random.point();
    t.scale = random.uniform(0.5, 2);
    return t;
}

auto const linears = inputs(1, randomLinear);
auto const linearPairs = inputs(2, [](Random& r) { return std::pair(randomLinear(r), randomLinear(r)); });
auto const affines = inputs(3, randomAffine);
auto const affinePairs = inputs(4, [](Random& r) { return std::pair(randomAffine(r), randomAffine(r)); });
auto const mapped = inputs(5, [](Random& r) { return std::pair(randomAffine(r), r.point()); });
auto const transformPairs = inputs(6, [](Random& r) { return std::pair(randomTransform(r), randomTransform(r)); });
auto const transformed = inputs(7, [](Random& r) { return std::pair(randomTransform(r), r.point()); });
auto const turns = inputs(8, [](Random& r) { return std::pair(UVector3(r.point()), r.uniform(-3, 3)); });

void ours()
{
    againstReference(
        "3x3 product", linearPairs, [](auto const& p) { return p.first * p.second; },
        [](auto const& p) { return reference::product(p.first, p.second); });
    againstReference(
        "3x3 inverse", linears, [](auto const& m) { return m.inverse(); },
        [](auto const& m) { return reference::inverse(m); });
    againstReference(
        "3x3 rotation", turns, [](auto const& p) { return Matrix3::rotationMatrix(p.first, p.second); },
        [](auto const& p) { return referenceRotation(p.first, p.second); });
    againstReference(
        "4x4 product", affinePairs, [](auto const& p) { return p.first * p.second; },
        [](auto const& p) { return reference::product(p.first, p.second); });
    againstReference(
        "4x4 inverse", affines, [](auto const& m) { return m.inverse(); },
        [](auto const& m) { return reference::inverse(m); });
    againstReference(
        "4x4 times point", mapped, [](auto const& p) { return p.first * p.second; },
        [](auto const& p) {
            return reference::sum(reference::map(reference::block(p.first), p.second),
                                  Vector3(p.first(0, 3), p.first(1, 3), p.first(2, 3)));
        });
    againstReference(
        "4x4 isRigid", affines, [](auto const& m) { return static_cast<int>(m.isRigid()); },
        [](auto const& m) { return static_cast<int>(referenceIsRigid(m)); });
    againstReference(
        "4x4 interpolate", affinePairs, [](auto const& p) { return Matrix::interpolate(p.first, p.second, 0.3); },
        [](auto const& p) { return referenceBetween(p.first, p.second, 0.3); });
    againstReference(
        "transform product", transformPairs, [](auto const& p) { return p.first * p.second; },
        [](auto const& p) { return reference::product(p.first, p.second); });
    againstReference(
        "transform inverse", transformPairs, [](auto const& p) { return p.first.inverse(); },
        [](auto const& p) { return reference::inverse(p.first); });
    againstReference(
        "transform times point", transformed, [](auto const& p) { return p.first * p.second; },
        [](auto const& p) { return reference::map(p.first, p.second); });
    againstReference(
        "transform interpolate", transformPairs,
        [](auto const& p) { return Transform::interpolate(p.first, p.second, 0.3); },
        [](auto const& p) { return referenceBetweenTransforms(p.first, p.second, 0.3); });
}

#ifdef SINEW_BENCH_EIGEN
void eigen()
{
    auto const toEigen3 = [](Matrix3 const& m) { return sinew::to<Eigen::Matrix3d>(m); };
    auto const toEigen = [](Matrix const& m) {
        return Eigen::Transform<double, 3, Eigen::AffineCompact>(sinew::to<Eigen::Matrix4d>(m).topRows<3>());
    };
    auto const pairOf = [](auto convert) {
        return [convert](auto const& p) { return std::pair(convert(p.first), convert(p.second)); };
    };
    auto const back = [](auto const& t) {
        Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
        m.topRows<3>() = t.matrix();
        return sinew::toMatrix(m);
    };
    contender(
        "3x3 product/Eigen", converted(linearPairs, pairOf(toEigen3)),
        [](auto const& p) { return Eigen::Matrix3d(p.first * p.second); },
        [](Eigen::Matrix3d const& r, std::size_t i) {
            return nearly(sinew::toMatrix3(r), linearPairs[i].first * linearPairs[i].second);
        });
    contender(
        "3x3 inverse/Eigen", converted(linears, toEigen3),
        [](Eigen::Matrix3d const& m) { return Eigen::Matrix3d(m.inverse()); },
        [](Eigen::Matrix3d const& r, std::size_t i) { return nearly(sinew::toMatrix3(r), linears[i].inverse()); });
    contender(
        "3x3 rotation/Eigen",
        converted(turns, [](auto const& p) { return std::pair(sinew::to<Eigen::Vector3d>(p.first), p.second); }),
        [](auto const& p) { return Eigen::AngleAxisd(p.second, p.first).toRotationMatrix(); },
        [](Eigen::Matrix3d const& r, std::size_t i) {
            return nearly(sinew::toMatrix3(r), Matrix3::rotationMatrix(turns[i].first, turns[i].second));
        });
    contender(
        "4x4 product/Eigen",
        converted(affinePairs, pairOf([](Matrix const& m) { return sinew::to<Eigen::Matrix4d>(m); })),
        [](auto const& p) { return Eigen::Matrix4d(p.first * p.second); },
        [](Eigen::Matrix4d const& r, std::size_t i) {
            return nearly(sinew::toMatrix(r), affinePairs[i].first * affinePairs[i].second);
        });
    contender(
        "4x4 inverse/Eigen", converted(affines, toEigen), [](auto const& t) { return t.inverse(Eigen::Affine); },
        [back](auto const& r, std::size_t i) { return nearly(back(r), affines[i].inverse()); });
    contender(
        "4x4 times point/Eigen",
        converted(
            mapped,
            [toEigen](auto const& p) { return std::pair(toEigen(p.first), sinew::to<Eigen::Vector3d>(p.second)); }),
        [](auto const& p) { return Eigen::Vector3d(p.first * p.second); },
        [](Eigen::Vector3d const& r, std::size_t i) {
            return nearly(sinew::toVector3(r), mapped[i].first * mapped[i].second);
        });
}
#endif

#ifdef SINEW_BENCH_IMATH
void imath()
{
    auto const toImath3 = [](Matrix3 const& m) { return sinew::toAxes<Imath::M33d>(m); };
    auto const toImath = [](Matrix const& m) { return sinew::toAxes<Imath::M44d>(m); };
    // Row vectors there: the factors change places.
    contender(
        "3x3 product/Imath",
        converted(linearPairs, [=](auto const& p) { return std::pair(toImath3(p.first), toImath3(p.second)); }),
        [](auto const& p) { return p.second * p.first; },
        [](Imath::M33d const& r, std::size_t i) {
            return nearly(sinew::toMatrix3FromAxes(r), linearPairs[i].first * linearPairs[i].second);
        });
    contender(
        "3x3 inverse/Imath", converted(linears, toImath3), [](Imath::M33d const& m) { return m.inverse(); },
        [](Imath::M33d const& r, std::size_t i) { return nearly(sinew::toMatrix3FromAxes(r), linears[i].inverse()); });
    contender(
        "4x4 product/Imath",
        converted(affinePairs, [=](auto const& p) { return std::pair(toImath(p.first), toImath(p.second)); }),
        [](auto const& p) { return p.second * p.first; },
        [](Imath::M44d const& r, std::size_t i) {
            return nearly(sinew::toMatrixFromAxes(r), affinePairs[i].first * affinePairs[i].second);
        });
    contender(
        "4x4 inverse/Imath", converted(affines, toImath), [](Imath::M44d const& m) { return m.inverse(); },
        [](Imath::M44d const& r, std::size_t i) { return nearly(sinew::toMatrixFromAxes(r), affines[i].inverse()); });
    contender(
        "4x4 times point/Imath",
        converted(mapped, [=](auto const& p) { return std::pair(toImath(p.first), sinew::to<Imath::V3d>(p.second)); }),
        [](auto const& p) { return p.second * p.first; },
        [](Imath::V3d const& r, std::size_t i) {
            return nearly(sinew::toVector3(r), mapped[i].first * mapped[i].second);
        });
}
#endif

bool const registered = [] {
    ours();
#ifdef SINEW_BENCH_EIGEN
    eigen();
#endif
#ifdef SINEW_BENCH_IMATH
    imath();
#endif
    return true;
}();

} // namespace
