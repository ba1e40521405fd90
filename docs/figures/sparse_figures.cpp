// The picture of docs/sparse.md as SVG: times and entries for 2D grids from 50 x 50 to 1000 x 1000 nodes. It takes
// about a minute and three gigabytes. The argument after the folder limits the side of the largest grid.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <sinew/sinew.h>

#include "sparse/matrices.h"
#include "sparse/reference_sparse.h"

namespace {

struct Sample
{
    double unknowns;
    double amount;
};

struct Curve
{
    char const* name;
    char const* colour;
    bool dashed;
    std::vector<Sample> samples;
};

// The least processor time of several runs, in seconds. Other programs disturb it less than wall-clock time.
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

// A chart with two logarithmic axes. The name of a curve is written at its right end.
class Chart
{
public:
    Chart(double left, double width, double lowX, double highX, double lowY, double highY)
        : left_(left), width_(width), lowX_(std::log10(lowX)), highX_(std::log10(highX)), lowY_(std::log10(lowY)),
          highY_(std::log10(highY))
    {
    }

    void title(std::string const& words) { text(left_, kTop - 22, words, "font-weight='bold'"); }

    void gridX(double value, std::string const& label)
    {
        line(x(value), kTop, x(value), kTop + kHeight, "#e4dfd4", 1);
        text(x(value), kTop + kHeight + 20, label, "text-anchor='middle' fill='#6b655b'");
    }
    void gridY(double value, std::string const& label)
    {
        line(left_, y(value), left_ + width_, y(value), "#e4dfd4", 1);
        text(left_ - 8, y(value) + 4, label, "text-anchor='end' fill='#6b655b'");
    }
    void curve(Curve const& curve)
    {
        body_ << "<polyline fill='none' stroke='" << curve.colour << "' stroke-width='2.2'"
              << (curve.dashed ? " stroke-dasharray='6 4'" : "") << " points='";
        for (Sample const& s : curve.samples) body_ << x(s.unknowns) << ',' << y(s.amount) << ' ';
        body_ << "'/>\n";
        for (Sample const& s : curve.samples) {
            body_ << "<circle cx='" << x(s.unknowns) << "' cy='" << y(s.amount) << "' r='3' fill='" << curve.colour
                  << "'/>\n";
        }
        Sample const& last = curve.samples.back();
        text(x(last.unknowns) + 8, y(last.amount) + 4, curve.name, std::string("fill='") + curve.colour + "'");
    }
    std::string body() const { return body_.str(); }

    static constexpr double kTop = 60;
    static constexpr double kHeight = 330;

private:
    double x(double value) const { return left_ + width_ * (std::log10(value) - lowX_) / (highX_ - lowX_); }
    double y(double value) const { return kTop + kHeight * (highY_ - std::log10(value)) / (highY_ - lowY_); }
    void line(double x0, double y0, double x1, double y1, char const* colour, double thickness)
    {
        body_ << "<line x1='" << x0 << "' y1='" << y0 << "' x2='" << x1 << "' y2='" << y1 << "' stroke='" << colour
              << "' stroke-width='" << thickness << "'/>\n";
    }
    void text(double x0, double y0, std::string const& words, std::string const& style)
    {
        body_ << "<text x='" << x0 << "' y='" << y0 << "' " << style << ">" << words << "</text>\n";
    }

    double left_, width_, lowX_, highX_, lowY_, highY_;
    std::ostringstream body_;
};

void save(std::string const& file, std::string const& body)
{
    std::ofstream out(file);
    out << "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 980 450' width='980' "
           "font-family='Helvetica, Arial, sans-serif' font-size='13' fill='#2b2b2b'>\n"
        << "<rect width='100%' height='100%' fill='#fcfbf8'/>\n"
        << body << "</svg>\n";
    if (!out) std::fprintf(stderr, "cannot write %s\n", file.c_str());
}

} // namespace

int main(int argc, char** argv)
{
    std::string const folder = argc > 1 ? argv[1] : ".";
    int const largest = argc > 2 ? std::atoi(argv[2]) : 1000;
    constexpr int kLargestReference = 150; // the reference implementation takes minutes for larger grids
    Curve order = {"order", "#0b6fa4", false, {}};
    Curve numbers = {"factor", "#d1495b", false, {}};
    Curve solve = {"solve", "#2f8f5b", false, {}};
    Curve referenceOrder = {"reference order", "#8a8378", true, {}};
    Curve entries = {"", "#7a4fa3", false, {}}; // the only curve of its chart
    for (int side : {50, 75, 100, 150, 200, 300, 450, 700, 1000}) {
        if (side > largest) break;
        test::Random random(20250410);
        SPDMatrix const matrix = test::matrixOf(test::grid2D(side, side), side * side, random);
        double const n = static_cast<double>(side) * side;
        int const runs = side < 200 ? 9 : side < 500 ? 3 : 1;
        order.samples.push_back({n, seconds(runs, [&] { (void)matrix.computePerm(); })});
        sinew::SymbolicFactor const symbolic(matrix);
        LLTMatrix factor;
        numbers.samples.push_back({n, seconds(runs, [&] { factor = symbolic.factor(matrix); })});
        std::vector<double> b(matrix.rows.size(), 1.0);
        solve.samples.push_back({n, seconds(runs, [&] { factor.solve(b); })});
        entries.samples.push_back({n, static_cast<double>(symbolic.entryCount()) / n});
        if (side <= kLargestReference) {
            referenceOrder.samples.push_back({n, seconds(1, [&] { (void)reference::computePerm(matrix); })});
        }
        std::printf("%d: order %.4g s, factor %.4g s, solve %.4g s, %.3g entries a row\n", side,
                    order.samples.back().amount, numbers.samples.back().amount, solve.samples.back().amount,
                    entries.samples.back().amount);
    }
    Chart times(70, 480, 2500, 1e6, 1e-5, 100);
    times.title("Seconds, square grids by unknowns");
    Chart fill(670, 200, 2500, 1e6, 10, 100);
    fill.title("Entries of L a row");
    for (Chart* chart : {&times, &fill}) {
        chart->gridX(2500, "50²");
        chart->gridX(1e4, "100²");
        chart->gridX(9e4, "300²");
        chart->gridX(1e6, "1000²");
    }
    char const* const labels[] = {"10 µs", "100 µs", "1 ms", "10 ms", "100 ms", "1 s", "10 s", "100 s"};
    for (int k = 0; k < 8; ++k) times.gridY(std::pow(10.0, k - 5), labels[k]);
    for (int value : {10, 20, 50, 100}) fill.gridY(value, std::to_string(value));
    for (Curve const* curve : {&referenceOrder, &order, &numbers, &solve}) times.curve(*curve);
    fill.curve(entries);
    save(folder + "/sparse_growth.svg", times.body() + fill.body());
    return 0;
}
