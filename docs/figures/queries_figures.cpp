// The pictures of docs/queries.md: the errors of the roots of cubics, and the outcomes of the intersection records.
//
// The exact roots of x^3 + p x + q come from Newton's iteration in 256-bit arithmetic. It starts where it converges
// from one side.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include <mpfr.h>

#include <sinew/queries/polynomial_roots.h>
#include <tool/draw/canvas.h>
#include <tool/tour/outcome_panel.h>

#include "bench/queries/closed_form_cubic.h"

namespace {

constexpr int kBits = 256;
constexpr int kNewtonSteps = 1000;
constexpr int kGuardBits = 40; // a Newton step below 2^(kGuardBits - kBits) ends the iteration
constexpr double kBest = -17;  // log10 of the error that has the best colour
constexpr double kWorst = -4;  // of the worst: about the cube root of 1e-13, with which a triple root is found
constexpr double kPanel = 520; // units along a side

class Exact
{
public:
    Exact() { mpfr_init2(value_, kBits); }
    explicit Exact(double value) : Exact() { mpfr_set_d(value_, value, MPFR_RNDN); }
    ~Exact() { mpfr_clear(value_); }
    Exact(Exact const&) = delete;
    Exact& operator=(Exact const&) = delete;

    mpfr_ptr get() { return value_; }

private:
    mpfr_t value_;
};

// The real roots of x^3 + p x + q to 256 bits.
class ExactCubic
{
public:
    ExactCubic(double p, double q) : q_(q), bound_(1 + std::fabs(p) + std::fabs(q)), exactP_(p), exactQ_(q) {}

    // 1 or 3, by the sign of the discriminant -4 p^3 - 27 q^2, which 256 bits hold exactly.
    int count()
    {
        mpfr_sqr(s_.get(), exactP_.get(), MPFR_RNDN);
        mpfr_mul(s_.get(), s_.get(), exactP_.get(), MPFR_RNDN);
        mpfr_mul_si(s_.get(), s_.get(), -4, MPFR_RNDN);
        mpfr_sqr(t_.get(), exactQ_.get(), MPFR_RNDN);
        mpfr_mul_si(t_.get(), t_.get(), 27, MPFR_RNDN);
        return mpfr_cmp(s_.get(), t_.get()) >= 0 ? 3 : 1;
    }

    // |found - root| for the lowest root (which = 0), the middle one (1) or the highest (2).
    double errorAt(double found, int which)
    {
        newton(which == 0 ? -bound_ : (which == 2 ? bound_ : 0.0));
        mpfr_sub_d(s_.get(), x_.get(), found, MPFR_RNDN);
        return std::fabs(mpfr_get_d(s_.get(), MPFR_RNDN));
    }

    // |found - root| if there is one root. Its sign is opposite to that of q.
    double errorOfOnly(double found) { return errorAt(found, q_ > 0 ? 0 : 2); }

private:
    // From a start beyond an outer root, or from the point of inflection to the middle root, no step passes the root.
    void newton(double start)
    {
        mpfr_set_d(x_.get(), start, MPFR_RNDN);
        for (int step = 0; step < kNewtonSteps; ++step) {
            mpfr_sqr(s_.get(), x_.get(), MPFR_RNDN);
            mpfr_add(t_.get(), s_.get(), exactP_.get(), MPFR_RNDN);
            mpfr_fma(t_.get(), t_.get(), x_.get(), exactQ_.get(), MPFR_RNDN);
            mpfr_mul_ui(s_.get(), s_.get(), 3, MPFR_RNDN);
            mpfr_add(s_.get(), s_.get(), exactP_.get(), MPFR_RNDN);
            if (mpfr_zero_p(t_.get()) || mpfr_zero_p(s_.get())) return;
            mpfr_div(t_.get(), t_.get(), s_.get(), MPFR_RNDN);
            mpfr_sub(x_.get(), x_.get(), t_.get(), MPFR_RNDN);
            if (mpfr_zero_p(t_.get()) || mpfr_get_exp(t_.get()) < kGuardBits - kBits) return;
        }
    }

    double q_;
    double bound_; // larger than the absolute value of every root
    Exact exactP_;
    Exact exactQ_;
    Exact x_;
    Exact s_;
    Exact t_;
};

using Solver = int (*)(double, double, double, double, double*);

// log10 of the errors of a map, sorted.
struct Errors
{
    std::vector<double> all;
    long long miscounted = 0;
};

// log10 of the largest error of a root, relative for roots above 1. NaN if the number of roots is wrong.
double errorOf(Solver solver, double p, double q)
{
    double roots[3] = {0, 0, 0};
    int const count = solver(1, 0, p, q, roots);
    ExactCubic exact(p, q);
    if (count != exact.count()) return NAN;
    double error = 0;
    for (int k = 0; k < count; ++k) {
        double const one = count == 1 ? exact.errorOfOnly(roots[0]) : exact.errorAt(roots[k], k);
        error = std::max(error, one / std::max(1.0, std::fabs(roots[k])));
    }
    return std::max(kBest, std::log10(error));
}

tool::Colour colourAt(double t)
{
    return tool::viridis(1 - t); // small errors are light
}

// One map of the plane |p| <= pHalf, |q| <= qHalf.
Errors drawMap(tool::Canvas& sheet, tool::Point at, Solver solver, double pHalf, double qHalf)
{
    int const side = sheet.pixels(kPanel);
    tool::Image image(side, side);
    Errors errors;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            double const error =
                errorOf(solver, pHalf * ((2.0 * x + 1) / side - 1), qHalf * (1 - (2.0 * y + 1) / side));
            if (std::isnan(error)) {
                image.at(x, y) = tool::palette::accent;
                ++errors.miscounted;
                continue;
            }
            double const step = std::round(2 * (error - kBest)) / 2; // half decades, because finer colours show noise
            image.at(x, y) = colourAt(step / (kWorst - kBest));
            errors.all.push_back(error);
        }
    }
    sheet.image(image, {at.x, at.y, kPanel, kPanel});
    sheet.frame({at.x, at.y, kPanel, kPanel}, {tool::palette::faintInk, 1});
    std::sort(errors.all.begin(), errors.all.end());
    return errors;
}

void save(tool::Canvas const& sheet, std::string const& file)
{
    std::ofstream(file, std::ios::binary) << sheet.png();
    std::printf("%s\n", file.c_str());
}

void drawAccuracy(std::string const& folder)
{
    struct Map
    {
        char const* who;
        Solver solver;
        double pHalf;
        double qHalf;
        char const* range;
    };
    char const* const plane = "p from -3 to 3, q from -2 to 2";
    Map const maps[] = {
        {"solveCubic", solveCubic, 3, 2, plane},
        {"closed form", bench::closedFormCubic, 3, 2, plane},
        {"solveCubic, near the triple root", solveCubic, 2e-8, 3e-13, "p from -2e-8 to 2e-8, q from -3e-13 to 3e-13"}};
    tool::Canvas sheet(2 * kPanel + 120, 2 * kPanel + 180, 0.8);
    for (int k = 0; k < 3; ++k) {
        Map const& map = maps[k];
        tool::Point const at{40 + (k % 2) * (kPanel + 40), 50 + (k / 2) * (kPanel + 80)};
        Errors const errors = drawMap(sheet, at, map.solver, map.pHalf, map.qHalf);
        sheet.text({at.x, at.y - 14}, map.who, {19, tool::palette::ink, tool::Align::left, true});
        sheet.text({at.x + kPanel, at.y + kPanel + 20}, map.range, {14, tool::palette::faintInk, tool::Align::right});
        std::printf("%-36s median 1e%.1f, 99%% below 1e%.1f, worst 1e%.1f, wrong counts %lld\n", map.who,
                    errors.all[errors.all.size() / 2], errors.all[errors.all.size() * 99 / 100], errors.all.back(),
                    errors.miscounted);
    }
    tool::Point const key{kPanel + 110, 1.5 * kPanel + 80};
    sheet.text({key.x, key.y - 60}, "Roots of x\u00b3 + p x + q", {19, tool::palette::ink, tool::Align::left, true});
    tool::drawColourBar(sheet, {key.x, key.y, 400, 18}, colourAt, "1e-17", "1e-4", "largest error of a root");
    tool::drawLegend(sheet, {key.x, key.y + 80}, {{tool::palette::accent, "wrong number of roots"}});
    save(sheet, folder + "/queries_cubic_accuracy.png");
}

void drawOutcomes(std::string const& folder)
{
    tool::Canvas sheet(tool::kOutcomePanelWidth, tool::kOutcomePanelHeight);
    tool::drawOutcomePanel(sheet);
    save(sheet, folder + "/queries_outcomes.png");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <folder>\n", argv[0]);
        return 2;
    }
    drawAccuracy(argv[1]);
    drawOutcomes(argv[1]);
}
