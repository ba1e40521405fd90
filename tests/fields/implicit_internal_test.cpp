// The kernels of implicit functions at every vector width that this processor and this build support.

#include <sinew/fields/detail/gauss_jordan.h>
#include <sinew/fields/detail/implicit_kernels.h>

#include <limits>

#include <gtest/gtest.h>

#include "fields/reference_implicit.h"
#include "support/bits.h"
#include "support/random.h"
#include "support/vector_widths.h"

using namespace sinew::detail;

namespace {

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

// The numbers that a matrix of the first test consists of.
enum class Numbers
{
    uniform,
    sparse,        // many factors of zero, which are skipped
    spread,        // magnitudes far apart
    smallIntegers, // many ties, and some singular matrices
};

double drawn(Numbers numbers, test::Random& random)
{
    switch (numbers) {
    case Numbers::uniform:
        return random.uniform();
    case Numbers::sparse:
        return random.oneIn(4) ? random.uniform() : -0.0;
    case Numbers::spread:
        return random.spread();
    case Numbers::smallIntegers:
        break;
    }
    return static_cast<double>(random.below(5) - 2);
}

} // namespace

TEST(GaussJordan, InvertsToTheReferenceBitsAtEveryWidth)
{
    test::Random random(451);
    for (int n : {0, 1, 2, 7, 15, 16, 17, 31, 32, 33, 48, 63, 64, 65, 100}) {
        for (Numbers numbers : {Numbers::uniform, Numbers::uniform, Numbers::sparse, Numbers::spread,
                                Numbers::smallIntegers, Numbers::smallIntegers}) {
            reference::Rows const rows = filled(n, [&] { return drawn(numbers, random); });
            for (VectorWidth width : test::vectorWidths()) {
                SCOPED_TRACE(testing::Message()
                             << n << " " << static_cast<int>(numbers) << " " << static_cast<int>(width));
                GaussJordan work = load(rows);
                if (work.invert(width) == GaussJordan::Outcome::inverted) {
                    EXPECT_EQ(work.zeroPivotColumn(), -1);
                    EXPECT_TRUE(test::sameBits(rowsOf(work, rows.size()), reference::inverse(rows)));
                } else {
                    EXPECT_NE(numbers, Numbers::uniform) << "a dense random matrix is regular";
                }
            }
        }
    }
}

TEST(GaussJordan, ReportsTheColumnOfAZeroPivot)
{
    test::Random random(452);
    for (int zero : {0, 5, 15, 16, 17, 39}) {
        reference::Rows rows = filled(40, [&] { return random.uniform(); });
        for (auto& row : rows) row[static_cast<std::size_t>(zero)] = 0.0;
        for (VectorWidth width : test::vectorWidths()) {
            GaussJordan work = load(rows);
            EXPECT_EQ(work.invert(width), GaussJordan::Outcome::zeroPivot);
            EXPECT_EQ(work.zeroPivotColumn(), zero);
        }
    }
}

TEST(GaussJordan, ReportsFactorsThatAreNotFinite)
{
    double const infinity = std::numeric_limits<double>::infinity();
    for (double odd : {infinity, -infinity, infinity - infinity}) {
        for (std::size_t row : {0U, 3U, 19U}) {
            test::Random random(453);
            reference::Rows rows = filled(20, [&] { return random.uniform(); });
            rows[row][3] = odd;
            for (VectorWidth width : test::vectorWidths()) {
                GaussJordan work = load(rows);
                // An infinity can be a pivot, since its reciprocal is 0; a NaN cannot.
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

TEST(ImplicitKernels, SumToTheReferenceBitsAtEveryWidth)
{
    constexpr int kTrials = 8;
    constexpr int kHostileTrial = 7;
    constexpr int kFirstTrialWithFarPoints = 6; // their squared distances overflow
    constexpr double kStart = 0.25; // the linear part is zero, so every sum of values starts at this constant
    test::Random random(454);
    for (int n : {0, 1, 2, 3, 4, 5, 7, 8, 9, 31, 32, 33, 36, 64, 100}) {
        for (int trial = 0; trial < kTrials; ++trial) {
            reference::Implicit field({});
            for (int i = 0; i < n; ++i) {
                field.centres.push_back(trial == kHostileTrial ? random.hostilePoint() : random.point());
                field.coefficients.push_back(trial == kHostileTrial ? random.hostile() : random.spread());
            }
            field.constantTerm = kStart;
            field.linearTerm = Vector3();
            RadialTerms const terms{field.centres.data(), field.coefficients.data(), field.centres.size()};
            Vector3 points[kPointLanes];
            PointLanes lanes;
            for (int l = 0; l < kPointLanes; ++l) {
                points[l] = trial >= kFirstTrialWithFarPoints ? random.point() * 1e160 : random.point();
                lanes.x[l] = points[l].x;
                lanes.y[l] = points[l].y;
                lanes.z[l] = points[l].z;
            }
            for (VectorWidth width : test::vectorWidths()) {
                SCOPED_TRACE(testing::Message() << n << " " << trial << " " << static_cast<int>(width));
                ValueLanes values;
                for (double& value : values.values) value = kStart;
                PointLanes gradients{};
                addTerms(width, terms, lanes, &values);
                addGradients(width, terms, lanes, &gradients);
                for (int l = 0; l < kPointLanes; ++l) {
                    double const value = field.evaluate(points[l]);
                    EXPECT_TRUE(test::sameBits(addTerms(width, terms, points[l], kStart), value));
                    EXPECT_TRUE(test::sameBits(values.values[l], value));
                    Vector3 const gradient = field.getGradient(points[l]);
                    EXPECT_TRUE(test::sameBits(addGradients(width, terms, points[l], Vector3()), gradient));
                    Vector3 const lane(gradients.x[l], gradients.y[l], gradients.z[l]);
                    EXPECT_TRUE(test::sameBits(lane, gradient));
                }
            }
        }
    }
}
