#include <tool/support/bounds.h>

#include <algorithm>

namespace tool {
namespace {

template <typename Vector>
void findBounds(std::vector<Vector> const& points, int dimensions, Vector& low, Vector& high)
{
    low = high = points.empty() ? Vector() : points[0];
    for (Vector const& p : points) {
        for (int k = 0; k < dimensions; ++k) {
            low[k] = std::min(low[k], p[k]);
            high[k] = std::max(high[k], p[k]);
        }
    }
}

} // namespace

void boundsOf(std::vector<Vector3> const& points, Vector3& low, Vector3& high)
{
    findBounds(points, 3, low, high);
}

void boundsOf(std::vector<tzNM::vect2<double>> const& points, tzNM::vect2<double>& low, tzNM::vect2<double>& high)
{
    findBounds(points, 2, low, high);
}

} // namespace tool
