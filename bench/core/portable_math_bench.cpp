// The correctly rounded functions that SINEW_MATH=portable selects, the system's and those of MPFR, which rounds
// correctly too. The results of the system may differ from the other two in the last place.

#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include <mpfr.h>

#include <sinew/core/detail/portable_math.h>

#include "contenders.h"

namespace {

namespace portable = sinew::detail::portable;

class Number
{
public:
    explicit Number(double x)
    {
        mpfr_init2(value_, std::numeric_limits<double>::digits);
        mpfr_set_d(value_, x, MPFR_RNDN);
    }
    ~Number() { mpfr_clear(value_); }
    Number(Number const&) = delete;
    Number& operator=(Number const&) = delete;

    operator mpfr_ptr() { return value_; }
    double rounded() const { return mpfr_get_d(value_, MPFR_RNDN); }

private:
    mpfr_t value_;
};

using OfOne = double (*)(double);
using OfTwo = double (*)(double, double);

// The functions come through pointers, so that no compiler replaces a call.
OfOne volatile systemSin = std::sin;
OfOne volatile systemCos = std::cos;
OfOne volatile systemExp = std::exp;
OfOne volatile systemLog = std::log;
OfTwo volatile systemPow = std::pow;
OfTwo volatile systemAtan2 = std::atan2;

// Registers three functions on arguments from `low` to `high`, where the library's must equal MPFR's.
template <typename Exact>
void ofOne(std::string const& name, double low, double high, OfOne ours, OfOne systems, Exact exact)
{
    auto const in = bench::inputs(1, [low, high](test::Random& r) { return r.uniform(low, high); });
    auto const mpfr = [exact](double x) {
        Number a(x);
        exact(a, a, MPFR_RNDN);
        return a.rounded();
    };
    auto const isExact = [in, mpfr](double result, std::size_t i) { return result == mpfr(in[i]); };
    auto const isNear = [in, mpfr](double result, std::size_t i) {
        return std::fabs(result - mpfr(in[i])) <= bench::kPeerTolerance * std::fabs(result);
    };
    bench::contender(name + "/sinew", in, ours, isExact);
    bench::contender(name + "/system", in, systems, isNear);
    bench::contender(name + "/MPFR", in, mpfr, isExact);
}

template <typename Exact>
void ofTwo(std::string const& name, double low, double high, OfTwo ours, OfTwo systems, Exact exact)
{
    auto const in = bench::inputs(1, [low, high](test::Random& r) {
        double const x = r.uniform(low, high);
        return std::pair(x, r.uniform(-10, 10));
    });
    auto const mpfr = [exact](std::pair<double, double> const& x) {
        Number a(x.first), b(x.second);
        exact(a, a, b, MPFR_RNDN);
        return a.rounded();
    };
    auto const isExact = [in, mpfr](double result, std::size_t i) { return result == mpfr(in[i]); };
    auto const isNear = [in, mpfr](double result, std::size_t i) {
        return std::fabs(result - mpfr(in[i])) <= bench::kPeerTolerance * std::fabs(result);
    };
    auto const onPairs = [](OfTwo f) {
        return [f](std::pair<double, double> const& x) { return f(x.first, x.second); };
    };
    bench::contender(name + "/sinew", in, onPairs(ours), isExact);
    bench::contender(name + "/system", in, onPairs(systems), isNear);
    bench::contender(name + "/MPFR", in, mpfr, isExact);
}

bool const registered = [] {
    ofOne("sin, up to pi", -3.2, 3.2, portable::sin, systemSin, mpfr_sin);
    ofOne("sin, up to 1e6", -1e6, 1e6, portable::sin, systemSin, mpfr_sin);
    ofOne("sin, up to 1e200", -1e200, 1e200, portable::sin, systemSin, mpfr_sin);
    ofOne("cos, up to pi", -3.2, 3.2, portable::cos, systemCos, mpfr_cos);
    ofOne("exp, up to 10", -10, 10, portable::exp, systemExp, mpfr_exp);
    ofOne("exp, up to 700", -700, 700, portable::exp, systemExp, mpfr_exp);
    ofOne("log, up to 100", 0, 100, portable::log, systemLog, mpfr_log);
    ofOne("log, near 1", 0.99, 1.01, portable::log, systemLog, mpfr_log);
    ofTwo("pow", 0, 100, portable::pow, systemPow, mpfr_pow);
    ofTwo("atan2", -10, 10, portable::atan2, systemAtan2, mpfr_atan2);
    return true;
}();

} // namespace
