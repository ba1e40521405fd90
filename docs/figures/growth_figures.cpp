// The picture of docs/speed.md: cost against size for every method with an index or an analysis, with its slope. It
// draws the measurements in data/growth.csv, which `./dev bench growth --update` writes, so that it is redrawn without
// measuring anew.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <tool/io/files.h>

#include "figure.h"
#include "log_chart.h"

namespace {

using figures::Curve;
using figures::LogChart;
using figures::LogRange;
using tool::Canvas;
using tool::Colour;
namespace colours = figures::colours;

// One chart: a method with all its contenders, in the order of the file.
struct Method
{
    std::string name;
    std::vector<Curve> curves;
};

struct Title
{
    char const* method;
    char const* words;
};

constexpr Title kTitles[] = {
    {"evaluate", "Evaluate one point, by triangles"},
    {"project", "Project one point, by vertices"},
    {"proximity test", "Test one point, by points of the set"},
    {"order", "Order, by unknowns"},
    {"factor", "Factor, by unknowns"},
    {"solve", "Solve, by unknowns"},
    {"implicit fit", "Fit implicit, by points"},
    {"implicit evaluate", "Evaluate implicit once, by centres"},
    {"save", "Save, by vertices"},
};

// Ours is blue. What is no library of others is drawn with dashes.
void setStyle(std::vector<Curve>& curves)
{
    constexpr Colour kPeers[] = {colours::red, colours::green, Colour::hex(0x7a4fa3)};
    std::size_t peers = 0;
    for (Curve& curve : curves) {
        bool const isPlain = curve.name == "reference" || curve.name == "hash of cells" || curve.name == "base64";
        if (curve.name == "sinew") {
            curve.colour = colours::blue;
        } else if (isPlain) {
            curve.colour = curve.name == "base64" ? Colour::hex(0xb07a2c) : colours::grey;
            curve.dashed = true;
        } else {
            curve.colour = kPeers[std::min(peers++, std::size(kPeers) - 1)];
        }
    }
}

// Lines of "method,contender,size,nanoseconds", after comments and the names of the columns.
std::vector<Method> readMethods(std::string const& path)
{
    std::istringstream in(tool::readFile(path));
    in.imbue(std::locale::classic());
    std::vector<Method> methods;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#' || line.rfind("method,", 0) == 0) continue;
        std::istringstream fields(line);
        fields.imbue(std::locale::classic());
        std::string method, contender;
        figures::Sample sample{};
        char comma = 0;
        std::getline(fields, method, ',');
        std::getline(fields, contender, ',');
        if (!(fields >> sample.size >> comma >> sample.amount) || !(sample.size > 0) || !(sample.amount > 0))
            throw std::runtime_error(path + ": this line has no size and time: " + line);
        auto const named = [](std::string const& name) { return [&name](auto const& x) { return x.name == name; }; };
        auto m = std::find_if(methods.begin(), methods.end(), named(method));
        if (m == methods.end()) m = methods.insert(methods.end(), Method{method, {}});
        auto c = std::find_if(m->curves.begin(), m->curves.end(), named(contender));
        if (c == m->curves.end()) c = m->curves.insert(m->curves.end(), Curve{contender, colours::grey, false, {}});
        c->samples.push_back(sample);
    }
    for (Method& method : methods) setStyle(method.curves);
    return methods;
}

// The exponent e of the power size^e that fits best: the slope of the line of least squares through the logarithms.
double slope(std::vector<figures::Sample> const& samples)
{
    double const n = static_cast<double>(samples.size());
    double x = 0, y = 0, xx = 0, xy = 0;
    for (auto const& s : samples) {
        double const u = std::log(s.size), v = std::log(s.amount);
        x += u, y += v, xx += u * u, xy += u * v;
    }
    return (n * xy - x * y) / (n * xx - x * x);
}

// Whole powers of ten around a number of each sample.
LogRange rangeOf(Method const& method, double figures::Sample::*member)
{
    double low = 1e300, high = 0;
    for (Curve const& curve : method.curves) {
        for (auto const& s : curve.samples) {
            low = std::min(low, s.*member);
            high = std::max(high, s.*member);
        }
    }
    constexpr double kRounding = 0.05; // of a power: 999,698 triangles count as a million
    return {std::pow(10.0, std::floor(std::log10(low) + kRounding)),
            std::pow(10.0, std::ceil(std::log10(high) - kRounding))};
}

std::string power(int exponent)
{
    char const* const digits[] = {"⁰", "¹", "²", "³", "⁴", "⁵", "⁶", "⁷", "⁸", "⁹"};
    return std::string("10") + digits[exponent];
}

std::string duration(int exponent)
{
    char const* const units[] = {" ns", " µs", " ms", " s"};
    int const unit = std::min(exponent / 3, 3);
    return std::to_string(static_cast<int>(std::lround(std::pow(10.0, exponent - 3 * unit)))) + units[unit];
}

void drawMethod(Canvas& canvas, Method const& method, std::string const& title, tool::Rect const& where)
{
    LogRange const x = rangeOf(method, &figures::Sample::size), y = rangeOf(method, &figures::Sample::amount);
    LogChart chart(canvas, where, x, y);
    chart.title(title);
    auto const exponent = [](double v) { return static_cast<int>(std::lround(std::log10(v))); };
    for (int e = exponent(x.low); e <= exponent(x.high); ++e) chart.gridX(std::pow(10.0, e), power(e));
    for (int e = exponent(y.low); e <= exponent(y.high); ++e) chart.gridY(std::pow(10.0, e), duration(e));
    double line = where.y + 10;
    for (Curve const& curve : method.curves) {
        chart.line(curve);
        char text[64];
        std::snprintf(text, sizeof text, "%s %.2f", curve.name.c_str(), slope(curve.samples));
        canvas.text({where.x + where.width + 14, line}, text, {12.5, curve.colour});
        line += 19;
    }
}

void draw(Canvas& canvas, std::vector<Method> const& methods)
{
    int place = 0;
    for (Title const& title : kTitles) {
        auto const method =
            std::find_if(methods.begin(), methods.end(), [&](Method const& m) { return m.name == title.method; });
        if (method == methods.end())
            throw std::runtime_error(std::string("there are no measurements of ") + title.method);
        drawMethod(
            canvas, *method, title.words,
            {64.0 + 362 * (place % 3), 50.0 + 290 * (place / 3), 180, 205}); // NOLINT(bugprone-integer-division): rows
        ++place;
    }
}

} // namespace

int main(int argc, char** argv)
{
    std::string const folder = argc > 1 ? argv[1] : ".";
    std::vector<Method> const methods = readMethods(SINEW_GROWTH_DATA);
    for (Method const& method : methods) {
        for (Curve const& curve : method.curves)
            std::printf("%s, %s: slope %.2f\n", method.name.c_str(), curve.name.c_str(), slope(curve.samples));
    }
    tool::writeFile(folder + "/speed_growth.svg",
                    tool::svgOf(1110, 880, [&](Canvas& canvas) { draw(canvas, methods); }));
}
