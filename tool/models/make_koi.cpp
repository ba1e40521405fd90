// Makes the koi that comes with the program and prints it as Wavefront OBJ.
//
// The body has two sides that meet in seams along the back and the belly; x runs from the snout to the tail, y is up.
// Each side, each fin and each eye is an island of the texture. The islands contain two hard cases for mesh functions
// on purpose: the eye lies in a hole of a side's island, and the gill is a slit whose lower end lies on the outline,
// where two boundary loops touch.

#include <array>
#include <cmath>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/framework/vect2.h>

namespace {

using Vector2 = tzNM::vect2<double>;

constexpr double kPi = 3.14159265358979323846;
constexpr double kBodyLength = 0.78;
constexpr double kTextureScale = 0.85; // of texture to space, the same for all islands

double smoothstep(double t)
{
    t = t < 0 ? 0 : t > 1 ? 1 : t;
    return t * t * (3 - 2 * t);
}

// ---- the body: s from the snout (0) to the root of the tail (1), theta from the back (0) to the belly (pi)

double halfHeight(double s)
{
    // The ends of the sine's arch are cut off: the mouth is slightly open, and the tail has a root.
    double const arch = std::sin(kPi * std::pow(0.004 + 0.896 * s, 0.7));
    return 0.14 * std::pow(arch, 0.8);
}

double halfWidth(double s)
{
    // Zero at the end, where the sides meet and the tail begins.
    return halfHeight(s) * (0.78 - 0.42 * s) * std::sqrt(1 - std::pow(s < 1 ? s : 1, 9));
}

double middle(double s)
{
    return -0.012 * std::sin(kPi * s);
}

// The bend of a swimming fish: moves the cross-section at x sideways and turns it with the spine.
Vector3 swim(Vector3 const& p)
{
    auto const shift = [](double x) { return 0.13 * std::pow(x > 0 ? x : 0, 1.4) * std::sin(5.2 * x - 2.3); };
    double const slope = (shift(p.x + 1e-4) - shift(p.x - 1e-4)) / 2e-4;
    double const cosine = 1 / std::sqrt(1 + slope * slope);
    return {p.x - p.z * slope * cosine, p.y, shift(p.x) + p.z * cosine};
}

Vector3 bodyPoint(double s, double theta, double side, double swell)
{
    double const across = theta >= kPi ? 0 : std::sin(theta);
    return swim({kBodyLength * s, middle(s) + halfHeight(s) * std::cos(theta) * (1 + 0.3 * swell),
                 side * halfWidth(s) * across * (1 + swell)});
}

// ---- the file

class ObjWriter
{
public:
    struct Corner
    {
        int position;
        int texcoord;
    };

    void beginIsland(std::string const& name) { faces_ += "o " + name + "\n"; }

    // Equal positions of different islands become one vertex, so that the seams are closed in space.
    Corner corner(Vector3 const& p, Vector2 const& uv)
    {
        char text[96];
        std::snprintf(text, sizeof text, "v %.5f %.5f %.5f\n", p.x + 0.0, p.y + 0.0, p.z + 0.0);
        auto const [at, isNew] = positions_.emplace(text, static_cast<int>(positions_.size()) + 1);
        if (isNew) vertices_ += text;
        texcoords_.push_back(uv);
        return {at->second, static_cast<int>(texcoords_.size())};
    }

    void triangle(Corner const& a, Corner const& b, Corner const& c)
    {
        char text[128];
        std::snprintf(text, sizeof text, "f %d/%d %d/%d %d/%d\n", a.position, a.texcoord, b.position, b.texcoord,
                      c.position, c.texcoord);
        faces_ += text;
    }

    // Scales the texture coordinates of an island, which begin at index `first`, and moves their lower left corner to
    // `corner`.
    void placeIsland(std::size_t first, Vector2 const& corner)
    {
        Vector2 low = texcoords_[first];
        for (std::size_t i = first; i < texcoords_.size(); ++i) {
            low = {std::fmin(low.x, texcoords_[i].x), std::fmin(low.y, texcoords_[i].y)};
        }
        for (std::size_t i = first; i < texcoords_.size(); ++i) {
            texcoords_[i] = corner + (texcoords_[i] - low) * kTextureScale;
        }
    }

    std::size_t texcoordCount() const { return texcoords_.size(); }

    void print() const
    {
        std::printf("# A koi, made for sinew by tool/models/make_koi.cpp\n%s", vertices_.c_str());
        for (Vector2 const& uv : texcoords_) std::printf("vt %.5f %.5f\n", uv.x, uv.y);
        std::printf("%s", faces_.c_str());
    }

private:
    std::map<std::string, int> positions_;
    std::vector<Vector2> texcoords_;
    std::string vertices_;
    std::string faces_;
};

// One side of the body as a grid of columns (snout to tail) and rows (back to belly).
class BodySide
{
public:
    BodySide(ObjWriter& out, double side) : out_(out), side_(side) {}

    void write()
    {
        for (int i = 0; i <= kColumns; ++i) {
            for (int j = 0; j <= kRows; ++j) {
                before_[i][j] = after_[i][j] = isInsideEye(i, j) ? ObjWriter::Corner{} : corner(i, j, false);
                bool const onGill = i == kGillColumn && j > kGillTop && j < kRows;
                if (onGill) after_[i][j] = corner(i, j, true);
            }
        }
        for (int i = 0; i < kColumns; ++i) {
            for (int j = 0; j < kRows; ++j) {
                if (!isEyeCell(i, j)) cell(i, j);
            }
        }
    }

    // The eye is a separate island: rings from the rim of the hole to a raised centre.
    void writeEye()
    {
        std::vector<Vector2> const rim = eyeRim();
        int const count = static_cast<int>(rim.size());
        Vector2 const centre{kEyeColumn, kEyeRow};
        std::vector<std::vector<ObjWriter::Corner>> rings;
        for (int ring = 0; ring < kEyeRings; ++ring) {
            double const shrink = 1 - static_cast<double>(ring) / kEyeRings;
            rings.emplace_back();
            for (Vector2 const& at : rim) rings.back().push_back(eyeCorner(centre + (at - centre) * shrink, shrink));
        }
        ObjWriter::Corner const tip = eyeCorner(centre, 0);
        for (int k = 0; k < count; ++k) {
            std::size_t const a = static_cast<std::size_t>(k);
            std::size_t const b = static_cast<std::size_t>((k + 1) % count);
            for (std::size_t ring = 0; ring + 1 < rings.size(); ++ring) {
                triangle(rings[ring][a], rings[ring][b], rings[ring + 1][b]);
                triangle(rings[ring][a], rings[ring + 1][b], rings[ring + 1][a]);
            }
            triangle(rings.back()[a], rings.back()[b], tip);
        }
    }

private:
    static constexpr int kColumns = 48;
    static constexpr int kRows = 20;
    static constexpr int kEyeColumn = 7;
    static constexpr int kEyeRow = 8;
    static constexpr int kEyeHalf = 2; // cells from the eye's middle to its rim
    static constexpr int kEyeRings = 4;
    static constexpr int kGillColumn = 14;
    static constexpr int kGillTop = 5;

    static bool isEyeCell(int i, int j)
    {
        return i >= kEyeColumn - kEyeHalf && i < kEyeColumn + kEyeHalf && j >= kEyeRow - kEyeHalf &&
               j < kEyeRow + kEyeHalf;
    }
    static bool isInsideEye(int i, int j)
    {
        return std::abs(i - kEyeColumn) < kEyeHalf && std::abs(j - kEyeRow) < kEyeHalf;
    }

    // Moves grid coordinates so that the square hole of the eye becomes round. The effect decreases to zero around it.
    static Vector2 rounded(double i, double j)
    {
        Vector2 const d{i - kEyeColumn, j - kEyeRow};
        double const square = std::fmax(std::fabs(d.x), std::fabs(d.y));
        if (square < kEyeHalf || square > 3 * kEyeHalf) return {i, j};
        double const fade = smoothstep((square - kEyeHalf) / (2 * kEyeHalf));
        double const pull = square / d.length() * (1 - fade) + fade;
        return {kEyeColumn + d.x * pull, kEyeRow + d.y * pull};
    }

    // The width of the gill opening in row j, in columns: zero at both ends.
    static double gillWidth(int j)
    {
        return j <= kGillTop || j >= kRows ? 0 : 0.85 * std::sin(kPi * (j - kGillTop) / (kRows - kGillTop));
    }

    ObjWriter::Corner corner(int i, int j, bool behindGill)
    {
        Vector2 at = rounded(i, j);
        int const behind = i - kGillColumn;
        if (behindGill || behind > 0) at.x += gillWidth(j) * std::fmax(0, 1 - 0.2 * behind);
        // The gill cover is slightly raised in front of the slit.
        double const lift = behindGill || behind > 0 ? 0 : std::fmax(0, 1 + behind / 4.0);
        return corner(at, 0.09 * lift * lift * gillWidth(j));
    }

    ObjWriter::Corner corner(Vector2 const& at, double swell)
    {
        double const s = at.x / kColumns;
        double const theta = kPi * at.y / kRows;
        return out_.corner(bodyPoint(s, theta, side_, swell), texcoord(s, theta));
    }

    // The side unrolled into the plane: lengths along it and around it are kept.
    Vector2 texcoord(double s, double theta) const
    {
        double const a = halfHeight(s);
        double const b = halfWidth(s);
        double const girth = kPi * (3 * (a + b) - std::sqrt((3 * a + b) * (a + 3 * b))) / 2; // of half an ellipse
        return {side_ * kBodyLength * s, middle(s) + girth * (0.5 - theta / kPi)};
    }

    std::vector<Vector2> eyeRim() const
    {
        std::vector<Vector2> rim;
        int const h = kEyeHalf;
        for (int k = -h; k < h; ++k) rim.push_back(rounded(kEyeColumn - h, kEyeRow + k));
        for (int k = -h; k < h; ++k) rim.push_back(rounded(kEyeColumn + k, kEyeRow + h));
        for (int k = h; k > -h; --k) rim.push_back(rounded(kEyeColumn + h, kEyeRow + k));
        for (int k = h; k > -h; --k) rim.push_back(rounded(kEyeColumn + k, kEyeRow - h));
        return rim;
    }

    // @param shrink  1 at the rim, 0 in the middle of the eye.
    ObjWriter::Corner eyeCorner(Vector2 const& at, double shrink)
    {
        return corner(at, 0.22 * std::sqrt(1 - shrink * shrink));
    }

    void cell(int i, int j)
    {
        ObjWriter::Corner const& a = after_[i][j];
        ObjWriter::Corner const& b = after_[i][j + 1];
        ObjWriter::Corner const& c = before_[i + 1][j + 1];
        ObjWriter::Corner const& d = before_[i + 1][j];
        if ((i + j) % 2 == 0) {
            triangle(a, b, c);
            triangle(a, c, d);
        } else {
            triangle(a, b, d);
            triangle(b, c, d);
        }
    }

    // Triangles of both sides face outwards: on the mirrored side their order is reversed.
    void triangle(ObjWriter::Corner const& a, ObjWriter::Corner const& b, ObjWriter::Corner const& c)
    {
        if (side_ > 0) {
            out_.triangle(a, b, c);
        } else {
            out_.triangle(a, c, b);
        }
    }

    ObjWriter& out_;
    double side_;
    // The corners that the cells in front of a column use, and those behind it. They differ at the gill.
    ObjWriter::Corner before_[kColumns + 1][kRows + 1];
    ObjWriter::Corner after_[kColumns + 1][kRows + 1];
};

// A fin: a surface from its root (a = 0) to its edge (a = 1), with rays b in [0, 1].
template <typename Shape>
void writeFin(ObjWriter& out, std::string const& name, Vector2 const& corner, int rays, int steps, Shape const& shape)
{
    std::size_t const first = out.texcoordCount();
    out.beginIsland(name);
    std::vector<ObjWriter::Corner> corners;
    for (int b = 0; b <= rays; ++b) {
        for (int a = 0; a <= steps; ++a) {
            auto const [position, flat] = shape(static_cast<double>(a) / steps, static_cast<double>(b) / rays);
            corners.push_back(out.corner(swim(position), flat));
        }
    }
    for (int b = 0; b < rays; ++b) {
        for (int a = 0; a < steps; ++a) {
            std::size_t const i = static_cast<std::size_t>(b * (steps + 1) + a);
            std::size_t const j = i + static_cast<std::size_t>(steps) + 1;
            out.triangle(corners[i], corners[i + 1], corners[j + 1]);
            out.triangle(corners[i], corners[j + 1], corners[j]);
        }
    }
    out.placeIsland(first, corner);
}

using FinPoint = std::pair<Vector3, Vector2>;

FinPoint tailPoint(double a, double b)
{
    double const spread = 2 * b - 1;
    double const length = 0.15 + 0.15 * spread * spread + 0.012 * std::cos(2 * kPi * 7 * b) * a;
    double const angle = 0.78 * spread;
    double const x = kBodyLength - 0.008 + a * length * std::cos(angle);
    double const y = middle(1) + 0.038 * spread + a * length * std::sin(angle);
    return {{x, y, 0.02 * a * std::sin(5 * b + 3 * a)}, {x, y}};
}

FinPoint dorsalPoint(double a, double b)
{
    double const s = 0.30 + 0.42 * b;
    double const height = 0.10 * std::pow(std::sin(kPi * std::pow(0.06 + 0.9 * b, 0.6)), 0.7);
    double const x = kBodyLength * s + 0.05 * a;
    double const y = middle(s) + halfHeight(s) - 0.008 + a * height;
    return {{x, y, 0.012 * a * std::sin(7 * b)}, {x, -middle(s) - 0.6 * halfHeight(s) + y}};
}

FinPoint analPoint(double a, double b)
{
    double const s = 0.74 + 0.11 * b;
    double const x = kBodyLength * s + (0.09 - 0.03 * b) * a;
    double const y = middle(s) - halfHeight(s) + 0.006 - a * (0.085 - 0.045 * b);
    return {{x, y, 0.01 * a * std::sin(4 * b)}, {x, y}};
}

// The paired fins: fans that point away from the body, backwards and down.
struct PairedFin
{
    double side, s, theta, length, root;

    FinPoint operator()(double a, double b) const
    {
        double const angle = -0.15 - 1.15 * b;
        double const reach = length * (0.72 + 0.28 * std::sin(kPi * (0.15 + 0.7 * b))) * a;
        double const along = std::cos(angle) * reach;
        double const down = std::sin(angle) * reach;
        double const onRoot = root * (1 - b); // the ray that points backwards starts at the rear end
        double const sBase = s + onRoot / kBodyLength;
        Vector3 const base(kBodyLength * sBase, middle(sBase) + halfHeight(sBase) * std::cos(theta),
                           0.97 * side * halfWidth(sBase) * std::sin(theta));
        double const curl = 0.10 * a * a * length;
        return {{base.x + along, base.y + 0.75 * down + curl, base.z - 0.62 * side * down},
                {side * (onRoot + along), down}};
    }
};

void writeSide(ObjWriter& out, double side, std::string const& name, Vector2 const& bodyCorner,
               Vector2 const& eyeCorner)
{
    BodySide body(out, side);
    std::size_t const firstOfBody = out.texcoordCount();
    out.beginIsland("body-" + name);
    body.write();
    out.placeIsland(firstOfBody, bodyCorner);
    std::size_t const firstOfEye = out.texcoordCount();
    out.beginIsland("eye-" + name);
    body.writeEye();
    out.placeIsland(firstOfEye, eyeCorner);
}

} // namespace

int main()
{
    ObjWriter out;
    writeSide(out, 1, "left", {0.03, 0.66}, {0.78, 0.46});
    writeSide(out, -1, "right", {0.03, 0.31}, {0.88, 0.46});
    writeFin(out, "tail-fin", {0.75, 0.54}, 14, 7, tailPoint);
    writeFin(out, "back-fin", {0.03, 0.13}, 14, 4, dorsalPoint);
    writeFin(out, "belly-fin", {0.36, 0.14}, 5, 4, analPoint);
    writeFin(out, "breast-fin-left", {0.78, 0.29}, 7, 5, PairedFin{1, 0.31, 0.74 * kPi, 0.17, 0.045});
    writeFin(out, "breast-fin-right", {0.78, 0.13}, 7, 5, PairedFin{-1, 0.31, 0.74 * kPi, 0.17, 0.045});
    writeFin(out, "hip-fin-left", {0.50, 0.15}, 6, 4, PairedFin{1, 0.56, 0.82 * kPi, 0.11, 0.03});
    writeFin(out, "hip-fin-right", {0.63, 0.15}, 6, 4, PairedFin{-1, 0.56, 0.82 * kPi, 0.11, 0.03});
    out.print();
}
