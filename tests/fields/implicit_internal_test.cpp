// The kernels behind implicit functions, for every width of vectors that this machine can run.

#include <limits>

#include <sinew/fields/detail/gauss_jordan.h>
#include <sinew/fields/detail/implicit_kernels.h>

#include <gtest/gtest.h>

#include "fields/reference_implicit.h"
#include "support/bits.h"
#include "support/random.h"

using namespace sinew::detail;

namespace {

std::vector<VectorWidth> runnableWidths()
{
    std::vector<VectorWidth> widths = {VectorWidth::baseline};
    if (widestVectors() != VectorWidth::baseline) widths.push_back(VectorWidth::avx2);
    if (widestVectors() == VectorWidth::avx512) widths.push_back(VectorWidth::avx512);
    return widths;
}

template <typename Entry>
reference::Rows filled(int n, Entry entry)
{
    reference::Rows rows(static_cast<std::size_t>(n), std::vector<double>(static_cast<std::size_t>(n)));
    for (auto& row : rows) {
        for (double& value : row) value = entry();
    }
    return rows;
}

GaussJordan load(reference::Rows const& rows)
{
    int const n = static_cast<int>(rows.size());
    GaussJordan work(n);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) work(i, j) = rows[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)];
    }
    return work;
}

reference::Rows rowsOf(GaussJordan const& work, std::size_t n)
{
    reference::Rows rows(n, std::vector<double>(n));
    for (std::size_t i = 0; i < n; ++i) work.copyRow(static_cast<int>(i), rows[i].data());
    return rows;
}

} // namespace

TEST(GaussJordan, EveryWidthInvertsToTheSameBits)
{
    test::Random random(451);
    for (int n : {0, 1, 2, 7, 15, 16, 17, 31, 32, 33, 48, 63, 64, 65, 100}) {
        for (int trial = 0; trial < 6; ++trial) {
            // Dense; sparse with skipped factors; with magnitudes far apart; of small integers with ties.
            reference::Rows const rows = filled(n, [&] {
                if (trial < 2) return random.uniform();
                if (trial == 2) return random.oneIn(4) ? random.uniform() : -0.0;
                if (trial == 3) return random.spread();
                return static_cast<double>(random.below(5) - 2);
            });
            for (VectorWidth width : runnableWidths()) {
                SCOPED_TRACE(testing::Message() << n << " " << trial << " " << static_cast<int>(width));
                GaussJordan work = load(rows);
                if (work.invert(width) == GaussJordan::Outcome::inverted) {
                    EXPECT_TRUE(test::sameBits(rowsOf(work, rows.size()), reference::inverse(rows)));
                } else {
                    EXPECT_GT(trial, 1) << "a dense random matrix needs no plain elimination";
                }
            }
        }
    }
}

TEST(GaussJordan, TellsWhereThePivotVanished)
{
    test::Random random(452);
    for (int zero : {0, 5, 15, 16, 17, 39}) {
        reference::Rows rows = filled(40, [&] { return random.uniform(); });
        for (auto& row : rows) row[static_cast<std::size_t>(zero)] = 0.0;
        for (VectorWidth width : runnableWidths()) {
            GaussJordan work = load(rows);
            EXPECT_EQ(work.invert(width), GaussJordan::Outcome::vanishedPivot);
            EXPECT_EQ(work.vanishedColumn(), zero);
        }
    }
}

TEST(GaussJordan, FactorsThatAreNotFiniteAskForThePlainRoad)
{
    double const infinity = std::numeric_limits<double>::infinity();
    for (double odd : {infinity, -infinity, infinity - infinity}) {
        for (std::size_t row : {0U, 3U, 19U}) {
            test::Random random(453);
            reference::Rows rows = filled(20, [&] { return random.uniform(); });
            rows[row][3] = odd;
            for (VectorWidth width : runnableWidths()) {
                GaussJordan work = load(rows);
                // An infinity may be the pivot: its reciprocal 0 is as good as any. NaN never is.
                bool const inverted = work.invert(width) == GaussJordan::Outcome::inverted;
                EXPECT_FALSE(inverted && odd != odd);
                if (inverted) {
                    EXPECT_TRUE(test::sameBits(rowsOf(work, rows.size()), reference::inverse(rows)));
                }
            }
        }
    }
    EXPECT_EQ(load({{1e-310}}).invert(), GaussJordan::Outcome::notFinite) << "the pivot's reciprocal overflows";
}

TEST(ImplicitKernels, EveryWidthSumsToTheSameBits)
{
    test::Random random(454);
    for (int n : {0, 1, 2, 3, 7, 8, 9, 31, 32, 33, 64, 100}) {
        for (int trial = 0; trial < 8; ++trial) {
            reference::Implicit field({});
            for (int i = 0; i < n; ++i) {
                field.centres.push_back(trial == 7 ? random.hostilePoint() : random.point());
                field.coefficients.push_back(trial == 7 ? random.hostile() : random.spread());
            }
            field.constantTerm = 0.25; // with a linear part of zero, where every sum starts
            field.linearTerm = Vector3();
            RadialTerms const terms{field.centres.data(), field.coefficients.data(), field.centres.size()};
            Vector3 points[PointLanes::kCount];
            PointLanes lanes;
            for (int l = 0; l < PointLanes::kCount; ++l) {
                points[l] = trial > 5 ? random.point() * 1e160 : random.point();
                lanes.x[l] = points[l].x;
                lanes.y[l] = points[l].y;
                lanes.z[l] = points[l].z;
            }
            for (VectorWidth width : runnableWidths()) {
                SCOPED_TRACE(testing::Message() << n << " " << trial << " " << static_cast<int>(width));
                ImplicitKernels const& kernels = implicitKernels(width);
                double sums[PointLanes::kCount];
                for (double& sum : sums) sum = 0.25;
                PointLanes gradients{};
                kernels.evaluateLanes(terms, lanes, sums);
                kernels.gradientLanes(terms, lanes, &gradients);
                for (int l = 0; l < PointLanes::kCount; ++l) {
                    double value = 0.25;
                    kernels.evaluate(terms, points[l], &value);
                    EXPECT_TRUE(test::sameBits(value, field.evaluate(points[l])));
                    EXPECT_TRUE(test::sameBits(sums[l], field.evaluate(points[l])));
                    Vector3 const lane(gradients.x[l], gradients.y[l], gradients.z[l]);
                    EXPECT_TRUE(test::sameBits(lane, field.getGradient(points[l])));
                }
            }
        }
    }
}
