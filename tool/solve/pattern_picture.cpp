#include <tool/solve/pattern_picture.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

#include <tool/draw/canvas.h>
#include <tool/support/as_index.h>

namespace tool {
namespace {

// In units of the canvas.
constexpr double kPanel = 560;
constexpr double kMargin = 40;
constexpr double kTop = 70;

constexpr int kLargestImage = 700; // pixels along a side

// One pixel for each entry, or for a block of entries where the matrix is larger than kLargestImage.
class PatternImage
{
public:
    explicit PatternImage(std::size_t size)
        : size_(size), pixels_(static_cast<int>(std::min<std::size_t>(size, kLargestImage))),
          image_(pixels_, pixels_, Colour(1, 1, 1))
    {
    }

    void mark(int row, int column, Colour const& colour) { image_.at(pixelOf(column), pixelOf(row)) = colour; }
    Image const& image() const { return image_; }

private:
    int pixelOf(int index) const
    {
        return static_cast<int>(static_cast<double>(index) / static_cast<double>(size_) * pixels_);
    }

    std::size_t size_;
    int pixels_;
    Image image_;
};

void drawPanel(Canvas& canvas, double left, PatternImage const& pattern, std::string const& title)
{
    Rect const where = {left, kTop, kPanel, kPanel};
    canvas.text({left, kTop - 18}, title, {18, palette::ink, Align::left, true});
    canvas.image(pattern.image(), where);
    canvas.frame(where, {palette::rule, 1});
}

} // namespace

std::string drawPatterns(SPDMatrix const& matrix, LLTMatrix const& factor)
{
    std::size_t const n = matrix.rows.size();
    PatternImage before(n), after(n);
    Colour const fill = mix(palette::accent, palette::paper, 0.45);
    for (std::size_t i = 0; i < n; ++i) {
        for (auto const& [c, v] : factor.rows[i]) after.mark(static_cast<int>(i), c, fill);
    }
    for (std::size_t i = 0; i < n; ++i) {
        for (auto const& [c, v] : matrix.rows[i]) {
            before.mark(static_cast<int>(i), c, palette::ink);
            auto const [low, high] = std::minmax(factor.perm[i], factor.perm[asIndex(c)]);
            after.mark(high, low, palette::ink);
        }
    }
    Canvas canvas(3 * kMargin + 2 * kPanel, kTop + kPanel + 80);
    drawPanel(canvas, kMargin, before, "Original order");
    drawPanel(canvas, 2 * kMargin + kPanel, after, "Elimination order");
    drawLegend(canvas, {2 * kMargin + kPanel, kTop + kPanel + 30},
               {{palette::ink, "entry of the matrix"}, {fill, "fill-in: entry of the factor only"}}, 15);
    return canvas.png();
}

} // namespace tool
