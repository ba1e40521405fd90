#pragma once

// A chart with two logarithmic axes.

#include <cmath>
#include <string>
#include <vector>

#include <tool/draw/canvas.h>

namespace figures {

struct Sample
{
    double size;
    double amount;
};

struct Curve
{
    std::string name;
    tool::Colour colour;
    bool dashed;
    std::vector<Sample> samples;
};

struct LogRange
{
    double low;
    double high;

    double share(double value) const { return (std::log10(value) - std::log10(low)) / std::log10(high / low); }
};

class LogChart
{
public:
    LogChart(tool::Canvas& canvas, tool::Rect const& where, LogRange x, LogRange y)
        : canvas_(canvas), where_(where), x_(x), y_(y)
    {
    }

    void title(std::string const& words)
    {
        canvas_.text({where_.x, where_.y - 22}, words, {13, tool::palette::ink, tool::Align::left, true});
    }
    void gridX(double value, std::string const& label)
    {
        double const x = at({value, y_.low}).x;
        canvas_.line({x, where_.y}, {x, where_.y + where_.height}, {tool::palette::rule, 1});
        canvas_.text({x, where_.y + where_.height + 20}, label, {13, tool::palette::faintInk, tool::Align::centre});
    }
    void gridY(double value, std::string const& label)
    {
        double const y = at({x_.low, value}).y;
        canvas_.line({where_.x, y}, {where_.x + where_.width, y}, {tool::palette::rule, 1});
        canvas_.text({where_.x - 8, y + 4}, label, {13, tool::palette::faintInk, tool::Align::right});
    }
    // The line and its points, without the name.
    void line(Curve const& curve)
    {
        std::vector<tool::Point> points;
        for (Sample const& s : curve.samples) points.push_back(at(s));
        canvas_.polyline(points, {curve.colour, 2.2, curve.dashed ? std::vector<double>{5, 5} : std::vector<double>{}});
        for (tool::Point const& p : points) canvas_.circle(p, 3, curve.colour);
    }
    // The name of a curve at its right end.
    void nameAtEnd(Curve const& curve)
    {
        tool::Point const end = at(curve.samples.back());
        canvas_.text({end.x + 8, end.y + 4}, curve.name, {13, curve.colour});
    }

private:
    tool::Point at(Sample const& s) const
    {
        return {where_.x + where_.width * x_.share(s.size), where_.y + where_.height * (1 - y_.share(s.amount))};
    }

    tool::Canvas& canvas_;
    tool::Rect where_;
    LogRange x_;
    LogRange y_;
};

} // namespace figures
