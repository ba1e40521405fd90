// Source: K. Pearson, On lines and planes of closest fit to systems of points in space, Philosophical Magazine, 1901.

#include <sinew/queries/best_fit.h>

#include <sinew/core/matrix3.h>

namespace {

Vector3 centroid(std::vector<Vector3> const& points, double weight)
{
    Vector3 sum = points[0];
    for (std::size_t i = 1; i < points.size(); ++i) sum += points[i];
    return sum * weight;
}

// The sum of the outer products of the centred points with themselves, times the weight. Six sums suffice for the nine
// elements, because a product of two doubles does not depend on their order.
Matrix3 covariance(std::vector<Vector3> const& points, Vector3 const& center, double weight)
{
    double xx = 0.0;
    double xy = 0.0;
    double xz = 0.0;
    double yy = 0.0;
    double yz = 0.0;
    double zz = 0.0;
    for (Vector3 const& point : points) {
        Vector3 const p = point - center;
        xx += p.x * p.x;
        xy += p.x * p.y;
        xz += p.x * p.z;
        yy += p.y * p.y;
        yz += p.y * p.z;
        zz += p.z * p.z;
    }
    return Matrix3(Vector3(xx, xy, xz), Vector3(xy, yy, yz), Vector3(xz, yz, zz)) * weight;
}

} // namespace

bool _getCenterAndEigv(std::vector<Vector3> const& points, Vector3* center, UVector3* axis, bool largest)
{
    if (points.size() < 2) return false;
    double const weight = 1.0 / static_cast<double>(points.size());
    Vector3 const mean = centroid(points, weight);
    if (axis) {
        double spreads[3]; // the eigenvalues, ascending
        UVector3 axes[3];
        covariance(points, mean, weight).getEigensystem(spreads, axes);
        *axis = axes[largest ? 2 : 0];
    }
    if (center) *center = mean; // after the last use of the points: `center` may be one of them
    return true;
}

bool bestFitLine(std::vector<Vector3> const& points, Vector3* center, UVector3* dir)
{
    return _getCenterAndEigv(points, center, dir, true);
}

bool bestFitPlane(std::vector<Vector3> const& points, Vector3* center, UVector3* normal)
{
    return _getCenterAndEigv(points, center, normal, false);
}
