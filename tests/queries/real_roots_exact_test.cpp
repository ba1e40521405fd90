// realRoots against exact arithmetic: the number of roots, their multiplicities and their errors.

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include <sinew/queries/real_roots.h>

#include "queries/exact_polynomial.h"
#include "support/random.h"
#include "support/trials.h"

namespace {

using Coefficients = std::vector<double>; // the highest power first

// x as m 2^e, where m may have any size.
struct Point
{
    mpz_class m;
    int e;
};

// x + steps / 64 units in the last place, where the unit is that of x itself.
Point besides(double x, int steps)
{
    int exponent = 0;
    double const fraction = std::frexp(x, &exponent);
    int const e = x == 0 ? -1074 : std::max(exponent - 53, -1074);
    mpz_class m(std::ldexp(fraction, exponent - e));
    m *= 64;
    m += steps;
    return {m, e - 6};
}

struct Report
{
    int failures = 0;
    double worstSimple = 0; // units in the last place
    double worstMultiple = 0;
    long simple = 0;
    long multiple = 0;
};

// The least number of 1/64 units around x that contains the root number `which`; more than 64 means "over one unit".
int errorIn64ths(test::ExactPolynomial const& p, double x, int which)
{
    int low = -1;
    int high = 65;
    while (high - low > 1) {
        int const middle = (low + high) / 2;
        Point const above = besides(x, middle);
        Point const below = besides(x, -middle - 1);
        bool const contains = p.upTo(above.m, above.e) > which && p.upTo(below.m, below.e) <= which;
        (contains ? high : low) = middle;
    }
    return high;
}

void addFailure(Coefficients const& c, char const* what, Report* report)
{
    if (++report->failures > 3) return;
    ADD_FAILURE() << what;
    for (double const x : c) std::printf("  %a", x);
    std::printf("\n");
}

void check(Coefficients const& c, Report* report)
{
    sinew::RealRoots const found = sinew::realRoots(c.data(), static_cast<int>(c.size()) - 1);
    if (std::all_of(c.begin(), c.end(), [](double x) { return x == 0; })) {
        if (found.outcome != sinew::RootsOutcome::everyNumber) addFailure(c, "zero polynomial", report);
        return;
    }
    test::ExactPolynomial const exact(c);
    if (found.count != exact.count()) return addFailure(c, "number of roots", report);
    int const sum = std::accumulate(std::begin(found.multiplicities), std::end(found.multiplicities), 0);
    if (sum >= static_cast<int>(c.size())) addFailure(c, "sum of multiplicities", report);
    for (int i = 0; i < found.count; ++i) {
        double const x = found.roots[i];
        if (!std::isfinite(x)) { // beyond the largest double
            Point const limit = besides(std::copysign(std::numeric_limits<double>::max(), x), x > 0 ? 32 : -32);
            bool const isBelow = exact.upTo(limit.m, limit.e) > i;
            if (isBelow != (x < 0)) addFailure(c, "an infinite root", report);
            continue;
        }
        if (i > 0 && !(found.roots[i - 1] <= x)) addFailure(c, "order", report);
        int const error = errorIn64ths(exact, x, i);
        if (error > 64) addFailure(c, "error above one unit", report);
        bool const isMultiple = found.multiplicities[i] > 1;
        double& worst = isMultiple ? report->worstMultiple : report->worstSimple;
        worst = std::max(worst, error / 64.0);
        ++(isMultiple ? report->multiple : report->simple);
        Point const low = besides(x, -error - 1);
        Point const high = besides(x, error);
        if (exact.upTo(high.m, high.e) - exact.upTo(low.m, low.e) != 1) continue; // another root has the same double
        if (found.multiplicities[i] != exact.multiplicity(low.m, high.m, low.e)) addFailure(c, "multiplicity", report);
    }
}

template <typename Family>
void checkAll(std::uint64_t seed, long few, long many, Family const& family)
{
    test::Random random(seed);
    Report report;
    long const trials = test::trials(few, many);
    for (long trial = 0; trial < trials; ++trial) check(family(random), &report);
    EXPECT_EQ(report.failures, 0);
    std::printf("%ld polynomials: %ld simple roots, worst error %.3f ulp; %ld multiple roots, worst error %.3f ulp\n",
                trials, report.simple, report.worstSimple, report.multiple, report.worstMultiple);
}

// c * (x - r).
Coefficients timesRoot(Coefficients const& c, double r, double leading = 1)
{
    Coefficients result(c.size() + 1, 0.0);
    for (std::size_t i = 0; i < c.size(); ++i) {
        result[i] += leading * c[i];
        result[i + 1] -= r * c[i];
    }
    return result;
}

Coefficients fromRoots(std::vector<double> const& roots, double leading)
{
    Coefficients c{leading};
    for (double const r : roots) c = timesRoot(c, r);
    return c;
}

int anyDegree(test::Random& random)
{
    return 2 + random.below(3);
}

// x = 2^-scale y: the roots become larger by 2^scale.
void scaleVariable(Coefficients* c, int scale)
{
    for (std::size_t i = 0; i < c->size(); ++i) (*c)[i] = std::ldexp((*c)[i], static_cast<int>(i) * scale);
}

Coefficients withMultipleRoots(test::Random& random)
{
    int const degree = anyDegree(random);
    Coefficients c{std::ldexp(1.0 + random.below(7), random.below(40) - 20)};
    double const factor =
        random.oneIn(2) ? 1.0 : 1.0 + random.below(60); // (factor x - root): roots that are no doubles
    double const root = random.below(201) - 100;
    int const multiplicity = 2 + random.below(degree - 1);
    for (int i = 0; i < multiplicity; ++i) c = timesRoot(c, root, factor);
    if (degree - multiplicity == 2 && random.oneIn(2)) {
        double const other = random.below(21) - 10;
        c = timesRoot(timesRoot(c, other), random.oneIn(2) ? other : other + 1);
    } else if (degree - multiplicity == 2) { // complex roots, or irrational ones, which may be double
        double const sum = random.below(21) - 10;
        double const product = random.below(61) - 20;
        Coefficients result(c.size() + 2, 0.0);
        for (std::size_t i = 0; i < c.size(); ++i) {
            result[i] += c[i];
            result[i + 1] += sum * c[i];
            result[i + 2] += product * c[i];
        }
        c = result;
    } else if (degree > multiplicity) {
        c = timesRoot(c, random.below(41) - 20);
    }
    return c;
}

} // namespace

TEST(RealRoots, OfRandomCoefficientsAgainstExactArithmetic)
{
    checkAll(20261101, 3000, 200000, [](test::Random& random) {
        Coefficients c(static_cast<std::size_t>(anyDegree(random)) + 1);
        for (double& x : c) x = random.oneIn(16) ? 0.0 : random.uniform();
        return c;
    });
}

TEST(RealRoots, OfChosenRootsAgainstExactArithmetic)
{
    checkAll(20261102, 2000, 200000, [](test::Random& random) {
        std::vector<double> roots(static_cast<std::size_t>(anyDegree(random)));
        for (double& r : roots) r = random.oneIn(8) ? random.spread(-20, 20) : random.uniform(-3, 3);
        return fromRoots(roots, random.spread(-3, 3));
    });
}

TEST(RealRoots, OfGradedCoefficientsAgainstExactArithmetic)
{
    checkAll(20261103, 200, 20000, [](test::Random& random) {
        Coefficients c(static_cast<std::size_t>(anyDegree(random)) + 1);
        for (double& x : c) x = random.spread(-1000, 1000);
        return c;
    });
    checkAll(20261104, 2000, 180000, [](test::Random& random) {
        Coefficients c(static_cast<std::size_t>(anyDegree(random)) + 1);
        int const width = 1 + random.below(80);
        for (double& x : c) x = random.spread(-width, width);
        return c;
    });
}

TEST(RealRoots, AtAnyScaleAgainstExactArithmetic)
{
    checkAll(20261105, 2000, 100000, [](test::Random& random) {
        std::vector<double> roots(static_cast<std::size_t>(anyDegree(random)));
        for (double& r : roots) r = random.uniform(-3, 3);
        Coefficients c = fromRoots(roots, random.uniform(0.5, 1));
        int const most = 960 / static_cast<int>(roots.size());
        int const scale = random.below(2 * most) - most;
        for (double& x : c) x = std::ldexp(x, -scale * static_cast<int>(roots.size()) / 2);
        scaleVariable(&c, scale);
        return c;
    });
}

TEST(RealRoots, OfClustersAgainstExactArithmetic)
{
    checkAll(20261106, 2000, 100000, [](test::Random& random) {
        std::vector<double> roots(static_cast<std::size_t>(anyDegree(random)));
        double const middle = random.uniform(-2, 2);
        int const close = -2 - random.below(50);
        for (double& r : roots) r = random.oneIn(6) ? random.uniform(-2, 2) : middle + random.spread(close - 3, close);
        return fromRoots(roots, random.uniform(0.5, 1));
    });
}

TEST(RealRoots, OfMultipleRootsAgainstExactArithmetic)
{
    checkAll(20261107, 1500, 100000, withMultipleRoots);
}

TEST(RealRoots, OfNearlyMultipleRootsAgainstExactArithmetic)
{
    checkAll(20261108, 1500, 100000, [](test::Random& random) {
        Coefficients c = withMultipleRoots(random);
        double& x = c[static_cast<std::size_t>(random.below(static_cast<int>(c.size())))];
        x = std::nextafter(x, random.oneIn(2) ? 1e300 : -1e300);
        return c;
    });
}
