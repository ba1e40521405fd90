#include <sinew/core/hash.h>

#include <set>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <gtest/gtest.h>

#include "support/random.h"

namespace {

using test::Random;

template <typename T>
std::size_t hashOf(T const& value)
{
    return std::hash<T>()(value);
}

} // namespace

TEST(Hash, ValueTypesCanBeKeys)
{
    std::unordered_set<Vector3> vectors = {{1, 2, 3}, {3, 2, 1}, {1, 2, 3}};
    EXPECT_EQ(vectors.size(), 2u);
    std::unordered_map<UVector3, int> units = {{UVector3(1, 0, 0), 5}};
    EXPECT_EQ(units.at(UVector3(2, 0, 0)), 5);
    std::unordered_set<Matrix3> linear = {Matrix3(), Matrix3() * 2.0, Matrix3()};
    EXPECT_EQ(linear.size(), 2u);
    std::unordered_set<Matrix> matrices = {Matrix(), Matrix() * 2.0, Matrix()};
    EXPECT_EQ(matrices.size(), 2u);
    std::unordered_set<Transform> transforms = {Transform(), Transform(2.0), Transform(1.0)};
    EXPECT_EQ(transforms.size(), 2u);
    std::unordered_set<Bbox> boxes = {Bbox(), Bbox(std::vector<Vector3>{}), Bbox()};
    EXPECT_EQ(boxes.size(), 2u);
    std::unordered_set<tzNM::vect2<double>> points = {{1, 2}, {2, 1}, {1, 2}};
    EXPECT_EQ(points.size(), 2u);
    std::unordered_set<tzNM::vect2<float>> floats = {{1, 2}, {2, 1}, {1, 2}};
    EXPECT_EQ(floats.size(), 2u);
}

TEST(Hash, TakesBothZerosForEqual)
{
    EXPECT_EQ(hashOf(Vector3(0.0, 1, -0.0)), hashOf(Vector3(-0.0, 1, 0.0)));
    Matrix m;
    m(0, 1) = -0.0;
    EXPECT_EQ(hashOf(m), hashOf(Matrix()));
}

TEST(Hash, DependsOnEveryElement)
{
    Matrix3 m3;
    std::set<std::size_t> seen = {hashOf(m3)};
    for (int k = 0; k < 9; ++k) {
        Matrix3 changed = m3;
        changed(k / 3, k % 3) += 1;
        EXPECT_TRUE(seen.insert(hashOf(changed)).second) << k;
    }
    Matrix m;
    seen = {hashOf(m)};
    for (int k = 0; k < 16; ++k) {
        Matrix changed = m;
        changed(k / 4, k % 4) += 1;
        EXPECT_TRUE(seen.insert(hashOf(changed)).second) << k;
    }
    Transform moved, scaled(2.0), turned(Vector3(0, 0, 1), 1.0);
    moved.translation.z = 1;
    seen = {hashOf(Transform()), hashOf(moved), hashOf(scaled), hashOf(turned)};
    EXPECT_EQ(seen.size(), 4u);
    Bbox lower, upper;
    lower.min.y = 1;
    upper.max.y = 1;
    seen = {hashOf(Bbox()), hashOf(lower), hashOf(upper)};
    EXPECT_EQ(seen.size(), 3u);
}

TEST(Hash, GridPointsSpreadOverTheLowBits)
{
    // The low bits of whole numbers are all zero. A hash that does not fold the high bits into them uses few buckets.
    std::set<std::size_t> hashes;
    std::vector<int> buckets(4096);
    for (int x = 0; x < 16; ++x) {
        for (int y = 0; y < 16; ++y) {
            for (int z = 0; z < 16; ++z) {
                std::size_t const h = hashOf(Vector3(x, y, z));
                hashes.insert(h);
                ++buckets[h % buckets.size()];
            }
        }
    }
    EXPECT_EQ(hashes.size(), 4096u);
    int used = 0;
    for (int const count : buckets) used += count > 0;
    EXPECT_GT(used, 2400); // random values use 1 - 1/e of 4096 buckets, that is 2589, with a deviation of about 30
}
