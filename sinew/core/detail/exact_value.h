#pragma once

/// Exact values of polynomials in doubles: by expansions where these are exact, otherwise by whole numbers.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include <sinew/core/detail/expansion.h>
#include <sinew/core/detail/whole_number.h>

namespace sinew::detail {

/// Numbers that are zero or have a magnitude in [2^-200, 2^200] are multiples of 2^-252. Polynomials of degree 4 in
/// them, and in their differences, with at most 2^20 terms are below 2^825 and multiples of 2^-1008, so that no
/// operation on expansions overflows or loses a bit. For products of lower degree this holds all the more.
constexpr double kSmallestForExpansions = 0x1p-200;
constexpr double kLargestForExpansions = 0x1p200;

template <std::size_t n>
bool fitExpansions(double const (&numbers)[n])
{
    for (double const x : numbers) {
        double const magnitude = std::fabs(x);
        if (!(magnitude == 0.0 || (magnitude >= kSmallestForExpansions && magnitude <= kLargestForExpansions))) {
            return false;
        }
    }
    return true;
}

template <std::size_t n>
bool areFinite(double const (&numbers)[n])
{
    for (double const x : numbers) {
        if (!(std::fabs(x) <= std::numeric_limits<double>::max())) return false;
    }
    return true;
}

/// The numbers of a polynomial, as expansions.
struct ExpansionTerms
{
    static Expansion<1> number(double a) { return Expansion<1>(a); }
    static Expansion<2> difference(double a, double b) { return Expansion<2>(twoSum(a, -b)); }
};

/// The numbers of a polynomial, as integers in units of 2^exponent.
struct WholeTerms
{
    int exponent;

    WholeNumber number(double a) const { return {a, exponent}; }
    WholeNumber difference(double a, double b) const { return number(a) - number(b); }
};

/// The power of two of which all of the finite numbers are multiples.
template <std::size_t n>
int commonUnit(double const (&numbers)[n])
{
    int exponent = 0;
    bool first = true;
    for (double const x : numbers) {
        int const unit = WholeNumber::unitExponent(x);
        exponent = first ? unit : std::min(exponent, unit);
        first = false;
    }
    return exponent;
}

} // namespace sinew::detail
