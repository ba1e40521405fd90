// The vector functions that inner loops call: the library against its plain form. Where the library's
// function is inline, the plain one may be inlined as well; where it is not, neither is.

#include <array>

#include <sinew/core/vector_geometry.h>

#include "contenders.h"
#include "core/reference_vector_geometry.h"

namespace {

using bench::againstPlain;
using Points = std::array<Vector3, 4>;

auto* volatile plainDistSq = reference::distSqToLineSegment;
auto* volatile plainIsInTriangle = reference::isInTriangle;
auto* volatile plainBasis = reference::getBasis;
auto* volatile plainAngle = reference::getAngleBetween;
auto* volatile plainCurvatures = reference::principalCurvatures;

bool const registered = [] {
    auto const points = bench::inputs(1, [](test::Random& r) {
        return Points{r.point(), r.point(), r.point(), r.point()};
    });
    againstPlain(
        "normalize", points, [](Points const& p) { return Vector3(p[0].normalize()); },
        [](Points const& p) { return reference::unit(p[0]); });
    againstPlain(
        "isParallel", points, [](Points const& p) { return int(p[0].isParallel(p[1], -1.0)); },
        [](Points const& p) { return int(reference::isParallel(p[0], p[1], -1.0)); });
    againstPlain(
        "segment distance", points,
        [](Points const& p) {
            double t = 0;
            double const d = distSqToLineSegment(p[0], p[1], p[2], &t);
            return std::pair(d, t);
        },
        [](Points const& p) {
            double t = 0;
            double const d = plainDistSq(p[0], p[1], p[2], &t);
            return std::pair(d, t);
        });
    againstPlain(
        "point in triangle", points, [](Points const& p) { return int(p[0].isInTriangle(p[1], p[2], p[3])); },
        [](Points const& p) { return int(plainIsInTriangle(p[0], p[1], p[2], p[3])); });
    againstPlain(
        "frame of a normal", points,
        [](Points const& p) {
            Vector3 e1, e2;
            getBasis(p[0], e1, e2);
            return std::pair(e1, e2);
        },
        [](Points const& p) {
            Vector3 e1, e2;
            plainBasis(p[0], e1, e2);
            return std::pair(e1, e2);
        });
    againstPlain(
        "angle", points, [](Points const& p) { return getAngleBetween(p[0], p[1], p[2]); },
        [](Points const& p) { return plainAngle(p[0], p[1], p[2]); });
    againstPlain(
        "curvatures", points,
        [](Points const& p) {
            std::pair<double, double> k;
            principalCurvatures(&p[0], &p[1], &k.first, &k.second);
            return k;
        },
        [](Points const& p) {
            std::pair<double, double> k;
            plainCurvatures(&p[0], &p[1], &k.first, &k.second);
            return k;
        });
    return true;
}();

} // namespace
