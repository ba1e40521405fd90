// The vector functions that inner loops call: the library and its reference implementation. A reference
// implementation may be inlined if the library's function is inline; otherwise it is called through a pointer.

#include <array>

#include <sinew/core/vector_geometry.h>

#include "contenders.h"
#include "core/reference_vector_geometry.h"

namespace {

using bench::againstReference;
using Points = std::array<Vector3, 4>;

auto* volatile referenceDistSq = reference::distSqToLineSegment;
auto* volatile referenceIsInTriangle = reference::isInTriangle;
auto* volatile referenceBasis = reference::getBasis;
auto* volatile referenceAngle = reference::getAngleBetween;
auto* volatile referenceCurvatures = reference::principalCurvatures;

bool const registered = [] {
    auto const points = bench::inputs(1, [](test::Random& r) {
        return Points{r.point(), r.point(), r.point(), r.point()};
    });
    againstReference(
        "normalize", points, [](Points const& p) { return Vector3(p[0].normalize()); },
        [](Points const& p) { return reference::unit(p[0]); });
    againstReference(
        "isParallel", points, [](Points const& p) { return static_cast<int>(p[0].isParallel(p[1], -1.0)); },
        [](Points const& p) { return static_cast<int>(reference::isParallel(p[0], p[1], -1.0)); });
    againstReference(
        "segment distance", points,
        [](Points const& p) {
            double t = 0;
            double const d = distSqToLineSegment(p[0], p[1], p[2], &t);
            return std::pair(d, t);
        },
        [](Points const& p) {
            double t = 0;
            double const d = referenceDistSq(p[0], p[1], p[2], &t);
            return std::pair(d, t);
        });
    againstReference(
        "point in triangle", points,
        [](Points const& p) { return static_cast<int>(p[0].isInTriangle(p[1], p[2], p[3])); },
        [](Points const& p) { return static_cast<int>(referenceIsInTriangle(p[0], p[1], p[2], p[3])); });
    againstReference(
        "frame of a normal", points,
        [](Points const& p) {
            Vector3 e1, e2;
            getBasis(p[0], e1, e2);
            return std::pair(e1, e2);
        },
        [](Points const& p) {
            Vector3 e1, e2;
            referenceBasis(p[0], e1, e2);
            return std::pair(e1, e2);
        });
    againstReference(
        "angle", points, [](Points const& p) { return getAngleBetween(p[0], p[1], p[2]); },
        [](Points const& p) { return referenceAngle(p[0], p[1], p[2]); });
    againstReference(
        "curvatures", points,
        [](Points const& p) {
            std::pair<double, double> k;
            principalCurvatures(&p[0], &p[1], &k.first, &k.second);
            return k;
        },
        [](Points const& p) {
            std::pair<double, double> k;
            referenceCurvatures(&p[0], &p[1], &k.first, &k.second);
            return k;
        });
    return true;
}();

} // namespace
