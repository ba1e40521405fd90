#include <tool/draw/depth_map.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <sinew/core/vector_geometry.h>

#include <tool/draw/raster.h>
#include <tool/support/as_index.h>

namespace tool {

DepthMap::DepthMap(Vector3 const& towardsLight, Vector3 const& centre, double radius, int size)
    : towards_(towardsLight), centre_(centre), cellsPerLength_(0.5 * size / (1.02 * radius)), size_(size),
      nearest_(asIndex(size) * asIndex(size), -std::numeric_limits<float>::infinity())
{
    getBasis(towardsLight, right_, up_);
}

Vector3 DepthMap::inMap(Vector3 const& p) const
{
    Vector3 const d = p - centre_;
    return {0.5 * size_ + (d * right_) * cellsPerLength_, 0.5 * size_ + (d * up_) * cellsPerLength_, d * towards_};
}

void DepthMap::add(Vector3 const& a, Vector3 const& b, Vector3 const& c)
{
    Vector3 const corners[] = {inMap(a), inMap(b), inMap(c)};
    forEachPixelInTriangle(corners, size_, size_, [&](int x, int y, double wa, double wb, double wc) {
        float const height = static_cast<float>(wa * corners[0].z + wb * corners[1].z + wc * corners[2].z);
        float& cell = nearest_[asIndex(y * size_ + x)];
        cell = std::max(cell, height);
    });
}

double DepthMap::lit(Vector3 const& p, double bias) const
{
    Vector3 const at = inMap(p);
    // fmax and fmin turn NaN, which comes from coordinates whose squares overflow, into cell 0.
    double const x = std::fmin(std::fmax(at.x - 0.5, 0.0), size_ - 1.001);
    double const y = std::fmin(std::fmax(at.y - 0.5, 0.0), size_ - 1.001);
    int const x0 = static_cast<int>(x);
    int const y0 = static_cast<int>(y);
    auto const free = [&](int i, int j) {
        return nearest_[asIndex((y0 + j) * size_ + x0 + i)] > at.z + bias ? 0.0 : 1.0;
    };
    double const s = x - x0;
    double const t = y - y0;
    return (1 - t) * ((1 - s) * free(0, 0) + s * free(1, 0)) + t * ((1 - s) * free(0, 1) + s * free(1, 1));
}

} // namespace tool
