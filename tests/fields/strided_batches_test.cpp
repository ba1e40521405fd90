// Calls for many points in arrays of a host, against the single calls.

#include <cstring>
#include <limits>
#include <memory>

#include <gtest/gtest.h>

#include <sinew/core/bbox.h>
#include <sinew/fields/impl_ellipsoid.h>
#include <sinew/fields/implicit.h>
#include <sinew/fields/polyline_projector.h>
#include <sinew/fields/proximity_tester.h>
#include <sinew/fields/smooth_distance.h>

#include "fields/polylines.h"
#include "support/bits.h"

using sinew::RealArray;
using sinew::Strided;
using test::sameBits;

namespace {

// Points as T in a buffer of exactly the size that they need, at any alignment and stride.
template <typename T>
class HostPoints
{
public:
    HostPoints(test::Random& random, std::size_t count, double scale)
        : shift_(static_cast<std::size_t>(random.below(8))),
          stride_(3 * sizeof(T) + static_cast<std::size_t>(random.below(20)))
    {
        bytes_.resize(count > 0 ? shift_ + (count - 1) * stride_ + 3 * sizeof(T) : 0);
        for (std::size_t i = 0; i < count; ++i) {
            Vector3 const p = random.oneIn(20) ? random.hostilePoint() : random.point() * scale;
            T const numbers[3] = {static_cast<T>(p.x), static_cast<T>(p.y), static_cast<T>(p.z)};
            std::memcpy(&bytes_[shift_ + i * stride_], numbers, sizeof numbers);
        }
        count_ = count;
    }

    RealArray array() const
    {
        // The cast only carries an address that need not be aligned.
        return Strided<T const>(count_ > 0 ? reinterpret_cast<T const*>(bytes_.data() + shift_) : nullptr, count_,
                                stride_);
    }

    std::size_t size() const { return count_; }

    // The point converted to doubles before anything else happens.
    Vector3 operator[](std::size_t i) const
    {
        T numbers[3];
        std::memcpy(numbers, &bytes_[shift_ + i * stride_], sizeof numbers);
        return {static_cast<double>(numbers[0]), static_cast<double>(numbers[1]), static_cast<double>(numbers[2])};
    }

private:
    std::size_t shift_;
    std::size_t stride_;
    std::size_t count_;
    std::vector<unsigned char> bytes_;
};

// Calls check(points) for arrays of floats and of doubles, of no, one, and many points.
template <typename Check>
void forArrays(double scale, Check const& check)
{
    test::Random random(20261210);
    for (std::size_t const count : {0, 1, 63, 64, 65, 300}) {
        SCOPED_TRACE(count);
        check(HostPoints<float>(random, count, scale));
        check(HostPoints<double>(random, count, scale));
    }
}

} // namespace

TEST(StridedBatches, NearestPointsOnAPolyline)
{
    test::Random random(1);
    for (int const vertices : {0, 1, 2, 19, 20, 500}) {
        PolylineProjector const polyline(test::noisyCurve(vertices, random));
        forArrays(2.0, [&](auto const& points) {
            std::vector<sinew::PolylineHit> hits(points.size());
            sinew::projectMany(polyline, points.array(), hits.data());
            for (std::size_t i = 0; i < points.size(); ++i) {
                sinew::PolylineHit const expected = sinew::closestPoint(polyline, points[i]);
                ASSERT_EQ(hits[i].segment, expected.segment) << i;
                ASSERT_TRUE(sameBits(hits[i].t, expected.t) && sameBits(hits[i].point, expected.point)) << i;
                ASSERT_TRUE(sameBits(hits[i].distSq, expected.distSq)) << i;
            }
        });
    }
}

TEST(StridedBatches, SmoothDistances)
{
    test::Random random(2);
    for (int const vertices : {0, 1, 2, 19, 20, 90}) {
        std::vector<Vector3> const polyline = test::noisyCurve(vertices, random);
        forArrays(2.0, [&](auto const& points) {
            std::vector<double> dists(points.size(), -7.0);
            std::vector<Vector3> grads(points.size());
            std::vector<Matrix3> hessians(points.size());
            sinew::smoothDistMany(polyline, points.array(), 0.1, dists.data(), grads.data(), hessians.data());
            for (std::size_t i = 0; i < points.size(); ++i) {
                double dist = -7.0;
                Vector3 grad;
                Matrix3 hessian;
                smoothDistToPolyline(polyline, points[i], 0.1, &dist, &grad, &hessian);
                ASSERT_TRUE(sameBits(dists[i], dist) && sameBits(grads[i], grad) && sameBits(hessians[i], hessian))
                    << i;
            }
            sinew::smoothDistMany(polyline, points.array(), 0.1, nullptr, nullptr, nullptr);
        });
    }
}

TEST(StridedBatches, ImplicitFunctions)
{
    test::Random random(3);
    std::vector<std::pair<Vector3, double>> samples;
    for (int i = 0; i < 30; ++i) {
        Vector3 const p = random.point();
        samples.emplace_back(p, random.uniform());
    }
    Implicit const field(samples);
    forArrays(2.0, [&](auto const& points) {
        std::vector<double> values(points.size());
        std::vector<Vector3> gradients(points.size());
        sinew::evaluateMany(field, points.array(), values.data());
        sinew::gradientMany(field, points.array(), gradients.data());
        for (std::size_t i = 0; i < points.size(); ++i) {
            ASSERT_TRUE(sameBits(values[i], field.evaluate(points[i]))) << i;
            ASSERT_TRUE(sameBits(gradients[i], field.getGradient(points[i]))) << i;
        }
    });
}

TEST(StridedBatches, Ellipsoids)
{
    test::Random random(4);
    ImplEllipsoid const field(random.points(20));
    forArrays(2.0, [&](auto const& points) {
        std::vector<double> values(points.size());
        std::vector<Vector3> gradients(points.size());
        sinew::evaluateMany(field, points.array(), values.data());
        sinew::gradientMany(field, points.array(), gradients.data());
        for (std::size_t i = 0; i < points.size(); ++i) {
            double value = 0;
            Vector3 gradient;
            field.evaluate(points[i], &value, &gradient, nullptr);
            ASSERT_TRUE(sameBits(values[i], value) && sameBits(gradients[i], gradient)) << i;
        }
    });
}

TEST(StridedBatches, Proximity)
{
    test::Random random(5);
    ProximityTester const tester(random.points(50), 0.2);
    int near = 0;
    forArrays(1.2, [&](auto const& points) {
        std::unique_ptr<bool[]> const results(new bool[points.size() + 1]);
        sinew::testMany(tester, points.array(), results.get());
        for (std::size_t i = 0; i < points.size(); ++i) {
            ASSERT_EQ(results[i], tester.test(points[i])) << i;
            near += results[i];
        }
    });
    EXPECT_GT(near, 50); // both answers occur
}
