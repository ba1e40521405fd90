// Numbers of any length in the older form of the document are read correctly rounded: compared with rational numbers.

#include <cmath>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include <gmpxx.h>

#include <sinew/meshfunc/mesh_function_2d.h>

#include "support/random.h"
#include "support/trials.h"

using test::Random;

namespace {

// The decimal number digits * 10^exponent as a rational number.
mpq_class exactValue(std::string const& digits, int exponent)
{
    mpz_class power;
    mpz_ui_pow_ui(power.get_mpz_t(), 10, static_cast<unsigned long>(std::abs(exponent)));
    mpq_class value(mpz_class(digits, 10));
    if (exponent < 0) {
        value /= power;
    } else {
        value *= power;
    }
    return value;
}

// Whether no number of the type is nearer to `exact`, and a tie has fallen to the one with an even mantissa.
template <typename Real>
bool isNearest(Real found, mpq_class const& exact)
{
    mpq_class const error = abs(mpq_class(static_cast<double>(found)) - exact);
    for (Real const other : {std::nextafter(found, -std::numeric_limits<Real>::infinity()),
                             std::nextafter(found, std::numeric_limits<Real>::infinity())}) {
        if (!std::isfinite(other)) continue;
        mpq_class const otherError = abs(mpq_class(static_cast<double>(other)) - exact);
        if (otherError < error) return false;
        int exponent = 0;
        Real const mantissa = std::ldexp(std::frexp(found, &exponent), std::numeric_limits<Real>::digits);
        bool const isNormal = std::fabs(found) >= std::numeric_limits<Real>::min();
        if (otherError == error && isNormal && std::fmod(mantissa, Real(2)) != 0) return false;
    }
    return true;
}

struct Decimal
{
    std::string text;
    mpq_class exact;
};

// A number of up to 60 digits within a range of exponents, or the middle between two neighbours of the type, which
// needs all of its digits, or a number just beside that middle.
template <typename Real>
Decimal anyDecimal(Random& random, int largestExponent)
{
    std::string digits;
    int exponent = 0;
    if (random.oneIn(2)) {
        for (int i = 1 + random.below(60); i > 0; --i) digits += static_cast<char>('0' + random.below(10));
        exponent = random.below(2 * largestExponent) - largestExponent - static_cast<int>(digits.size());
    } else {
        int const shift = random.below(60);
        auto const bits = random.bits() >> (64 - std::numeric_limits<Real>::digits);
        mpz_class middle(static_cast<unsigned long>(bits | 1U));
        middle = 2 * middle + 1; // one bit more than the type holds
        for (int i = 0; i < shift; ++i) middle *= 5;
        exponent = -shift; // middle * 10^-shift = odd number * 2^-shift
        if (random.oneIn(2)) {
            middle *= 1000;
            exponent -= 3;
            middle += random.oneIn(2) ? 1 : -1;
        }
        digits = middle.get_str();
    }
    return {digits + "e" + std::to_string(exponent), exactValue(digits, exponent)};
}

} // namespace

TEST(SaveExact, LoadRoundsCorrectlyAgainstExactArithmetic)
{
    Random random(1551);
    long const trials = test::trials(4000, 1000000);
    constexpr int kNumbers = 100; // of a document
    for (long done = 0; done < trials; done += 2 * kNumbers) {
        std::vector<Decimal> reals, scalars;
        std::string params = "<params>", normaldots = "<normaldots>";
        for (int i = 0; i < kNumbers; ++i) {
            reals.push_back(anyDecimal<double>(random, 300));
            scalars.push_back(anyDecimal<float>(random, 36));
            params += "<param u=\"" + reals.back().text + "\" v=\"-" + reals.back().text + "\"/>";
            normaldots += "<normaldot>" + scalars.back().text + "</normaldot>";
        }
        std::istringstream in("<f>" + params + "</params>" + normaldots + "</normaldots></f>");
        MeshFunction2D f(true);
        sinew::readDocument(in, f);
        for (std::size_t i = 0; i < kNumbers; ++i) {
            ASSERT_TRUE(isNearest(f.params[i].x, reals[i].exact)) << reals[i].text;
            ASSERT_EQ(f.params[i].y, -f.params[i].x);
            ASSERT_TRUE(isNearest(f.normaldots[i], scalars[i].exact)) << scalars[i].text;
        }
    }
}
