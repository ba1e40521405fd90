#pragma once

/// Reference implementation of the best fit: a centred copy of the points, and nine sums of outer products.

#include <vector>

#include <sinew/core/matrix3.h>

namespace reference {

inline bool getCenterAndEigv(std::vector<Vector3> const& points, Vector3* center, UVector3* axis, bool largest)
{
    if (points.size() < 2) return false;
    double const w = 1.0 / static_cast<double>(points.size());
    Vector3 sum = points[0];
    for (std::size_t i = 1; i < points.size(); ++i) sum = sum + points[i];
    Vector3 const m = w * sum;
    std::vector<Vector3> centred = points;
    for (Vector3& p : centred) p = p - m;
    Matrix3 S;
    S.zero();
    for (Vector3 const& p : centred) {
        Matrix3 outer;
        outer.tensor(p, p);
        S = S + outer;
    }
    S = S * w;
    double values[3];
    UVector3 vectors[3];
    if (S.getEigensystem(values, vectors) < 3) return false;
    if (center) *center = m;
    if (axis) *axis = largest ? vectors[2] : vectors[0];
    return true;
}

} // namespace reference
