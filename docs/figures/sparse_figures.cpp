// The picture of docs/sparse.md that shows how time and fill grow, for 2D grids from 50 x 50 to 1000 x 1000. Takes
// about a minute and three gigabytes of memory. A smaller largest side may be given after the folder.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include <sinew/sinew.h>

#include <tool/io/files.h>
#include <tool/solve/pattern_picture.h>

#include "figure.h"
#include "log_chart.h"
#include "sparse/matrices.h"
#include "sparse/reference_sparse.h"

namespace {

using tool::Canvas;
using tool::Colour;
namespace colours = figures::colours;

using figures::Curve;
using figures::LogChart;

// Everything that is measured, in seconds; `entries` is the mean number of entries in a row of the factor.
struct Measurements
{
    Curve order = {"order", colours::blue, false, {}};
    Curve factor = {"factor", colours::red, false, {}};
    Curve solve = {"solve", colours::green, false, {}};
    Curve referenceOrder = {"reference order", colours::grey, true, {}};
    Curve entries = {"", Colour::hex(0x7a4fa3), false, {}}; // the only curve in its chart
};

// Seconds of processor time, the least of several runs. Other programs disturb it less than they disturb elapsed time.
template <typename Work>
double seconds(int runs, Work work)
{
    double best = 1e300;
    for (int run = 0; run < runs; ++run) {
        std::clock_t const begin = std::clock();
        work();
        best = std::min(best, static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC);
    }
    return best;
}

void measure(int side, Measurements& all)
{
    constexpr int kLargestReference = 150; // the reference implementation takes seconds from here on
    test::Random random(20250410);
    SPDMatrix const matrix = test::matrixOf(test::grid2D(side, side), side * side, random);
    double const n = static_cast<double>(side) * side;
    int const runs = side < 200 ? 9 : side < 500 ? 3 : 1;
    all.order.samples.push_back({n, seconds(runs, [&] { (void)matrix.computePerm(); })});
    sinew::SymbolicFactor const symbolic(matrix);
    LLTMatrix factor;
    all.factor.samples.push_back({n, seconds(runs, [&] { factor = symbolic.factor(matrix); })});
    std::vector<double> b(matrix.rows.size(), 1.0);
    all.solve.samples.push_back({n, seconds(runs, [&] { factor.solve(b); })});
    all.entries.samples.push_back({n, static_cast<double>(symbolic.entryCount()) / n});
    if (side <= kLargestReference) {
        all.referenceOrder.samples.push_back({n, seconds(1, [&] { (void)reference::computePerm(matrix); })});
    }
    std::printf("%d: order %.4g s, factor %.4g s, solve %.4g s, %.3g entries a row\n", side,
                all.order.samples.back().amount, all.factor.samples.back().amount, all.solve.samples.back().amount,
                all.entries.samples.back().amount);
}

void draw(Canvas& canvas, Measurements const& all)
{
    LogChart times(canvas, {70, 60, 480, 330}, {2500, 1e6}, {1e-5, 100});
    times.title("Time for square grids, by number of unknowns");
    LogChart fill(canvas, {670, 60, 200, 330}, {2500, 1e6}, {10, 100});
    fill.title("Entries of L in a row, mean");
    for (LogChart* chart : {&times, &fill}) {
        chart->gridX(2500, "50²");
        chart->gridX(1e4, "100²");
        chart->gridX(9e4, "300²");
        chart->gridX(1e6, "1000²");
    }
    char const* const labels[] = {"10 µs", "100 µs", "1 ms", "10 ms", "100 ms", "1 s", "10 s", "100 s"};
    for (int k = 0; k < 8; ++k) times.gridY(std::pow(10.0, k - 5), labels[k]);
    for (int value : {10, 20, 50, 100}) fill.gridY(value, std::to_string(value));
    for (Curve const* curve : {&all.referenceOrder, &all.order, &all.factor, &all.solve}) {
        times.line(*curve);
        times.nameAtEnd(*curve);
    }
    fill.line(all.entries);
}

// A grid whose nodes are numbered at random.
std::string patternOfAGrid()
{
    constexpr int kSide = 60;
    constexpr int kNodes = kSide * kSide;
    test::Random random(20250411);
    SPDMatrix const matrix = test::matrixOf(test::shuffled(test::grid2D(kSide, kSide), kNodes, random), kNodes, random);
    return tool::drawPatterns(matrix, matrix.factor());
}

} // namespace

int main(int argc, char** argv)
{
    std::string const folder = argc > 1 ? argv[1] : ".";
    int const largest = argc > 2 ? std::atoi(argv[2]) : 1000;
    tool::writeFile(folder + "/sparse_pattern.png", patternOfAGrid());
    if (largest < 50) return 0;
    Measurements all;
    for (int side : {50, 75, 100, 150, 200, 300, 450, 700, 1000}) {
        if (side <= largest) measure(side, all);
    }
    tool::writeFile(folder + "/sparse_growth.svg", tool::svgOf(980, 450, [&](Canvas& canvas) { draw(canvas, all); }));
}
