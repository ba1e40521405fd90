#include <tool/draw/renderer.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <tool/draw/depth_map.h>
#include <tool/draw/raster.h>
#include <tool/support/as_index.h>

namespace tool {
namespace {

constexpr int kSupersampling = 2; // samples of a pixel in each direction

// The depth maps. Small pictures have smaller and fewer ones: coarse shadow edges cannot be seen in them.
constexpr int kSmallestKeyMap = 200; // cells along a side
constexpr int kLargestKeyMap = 1400;
constexpr int kFewestSkyDirections = 12;
constexpr int kMostSkyDirections = 40;
constexpr int kSkyMapSize = 160;                     // cells along a side; many coarse maps average to a smooth shadow
constexpr double kGoldenAngle = 2.39996322972865332; // distributes directions evenly over the sky

// How much nearer to the light another surface must be to throw a shadow, in radii of the scene. It exceeds the depth
// that a surface has within one cell of a map, so that no surface shades itself.
constexpr double kKeyBias = 0.006;
constexpr double kSkyBias = 0.018;
constexpr double kGroundBias = 0.01;

// Light is summed in linear values. A square approximates the display's encoding well enough here.
Vector3 toLinear(Colour const& c)
{
    return {c.r * c.r, c.g * c.g, c.b * c.b};
}

Colour fromLinear(Vector3 const& light)
{
    return {std::sqrt(light.x), std::sqrt(light.y), std::sqrt(light.z)};
}

// Compresses values above kShoulder smoothly to below 1, so that highlights are not clipped.
Vector3 compressed(Vector3 const& light)
{
    constexpr double kShoulder = 0.7;
    auto const channel = [](double v) {
        double const rest = 1 - kShoulder;
        return v < kShoulder ? std::max(v, 0.0) : kShoulder + rest * (1 - std::exp(-(v - kShoulder) / rest));
    };
    return {channel(light.x), channel(light.y), channel(light.z)};
}

// The point of a surface that one sample of the picture shows; no surface if `solid` is negative.
struct Sample
{
    float depth = std::numeric_limits<float>::infinity();
    int solid = -1;
    int triangle = -1;
    float weights[3] = {0, 0, 0};
};

class Renderer
{
public:
    Renderer(std::vector<Solid> const& solids, View const& view, double pixelsPerUnit, RenderOptions const& options)
        : solids_(solids), view_(view), options_(options), samplesPerUnit_(pixelsPerUnit * kSupersampling),
          width_(std::max(1, static_cast<int>(std::lround(view.where().width * pixelsPerUnit)))),
          height_(std::max(1, static_cast<int>(std::lround(view.where().height * pixelsPerUnit)))),
          samples_(asIndex(width_ * kSupersampling) * asIndex(height_ * kSupersampling))
    {
        measure();
        light();
        rasterise();
    }

    // For further pictures of the same shape.
    void setColours(std::vector<Colour> const& colours) { solids_[0].colours = colours; }

    Image picture() const
    {
        Image image(width_, height_);
        for (int y = 0; y < height_; ++y) {
            for (int x = 0; x < width_; ++x) image.at(x, y) = pixel(x, y);
        }
        return image;
    }

private:
    void measure()
    {
        low_ = Vector3(1, 1, 1) * std::numeric_limits<double>::infinity();
        high_ = -low_;
        for (Solid const& solid : solids_) {
            for (Vector3 const& p : solid.positions) {
                for (int k = 0; k < 3; ++k) {
                    low_[k] = std::min(low_[k], p[k]);
                    high_[k] = std::max(high_[k], p[k]);
                }
            }
            normals_.push_back(solid.normals.empty() ? vertexNormals(solid.positions, solid.triangles) : solid.normals);
        }
        centre_ = (low_ + high_) * 0.5;
        radius_ = std::max(0.5 * dist(low_, high_), 1e-9);
    }

    DepthMap mapTowards(Vector3 const& direction, int size) const
    {
        DepthMap map(direction, centre_, radius_, size);
        for (Solid const& solid : solids_) {
            for (Triangle const& t : solid.triangles) map.add(at(solid, t[0]), at(solid, t[1]), at(solid, t[2]));
        }
        return map;
    }

    static Vector3 const& at(Solid const& solid, int i) { return solid.positions[asIndex(i)]; }

    void light()
    {
        towardsKey_ = UVector3(view_.up() * 0.75 - view_.right() * 0.55 - view_.forward() * 0.75);
        towardsKey_.y = std::max(towardsKey_.y, 0.3); // always from above the ground
        towardsKey_ = UVector3(towardsKey_);
        int const pictureSize = width_ + height_;
        int const directions = std::clamp(pictureSize / 12, kFewestSkyDirections, kMostSkyDirections);
        keyMap_.push_back(mapTowards(towardsKey_, std::clamp(2 * pictureSize, kSmallestKeyMap, kLargestKeyMap)));
        for (int i = 0; i < directions; ++i) {
            double const up = 0.04 + 0.96 * (i + 0.5) / directions;
            double const across = std::sqrt(1 - up * up);
            Vector3 const direction(across * std::cos(i * kGoldenAngle), up, across * std::sin(i * kGoldenAngle));
            skyDirections_.push_back(direction);
            skyMaps_.push_back(mapTowards(direction, kSkyMapSize));
        }
        for (std::size_t s = 0; s < solids_.size(); ++s) {
            sky_.emplace_back();
            for (std::size_t v = 0; v < solids_[s].positions.size(); ++v) {
                sky_.back().push_back(skyAt(solids_[s].positions[v], normals_[s][v]));
            }
        }
    }

    // The share of the sky's light that reaches a point of a surface. The side that faces the eye is lit.
    double skyAt(Vector3 const& p, Vector3 const& normal) const
    {
        double const bias = kSkyBias * radius_;
        Vector3 const n = normal * (view_.eye() - p) < 0 ? -normal : normal;
        double reached = 0;
        double possible = 0;
        for (std::size_t i = 0; i < skyMaps_.size(); ++i) {
            double const cosine =
                0.35 + 0.65 * (n * skyDirections_[i]); // wrapped, for the light that other things reflect
            if (cosine <= 0) continue;
            possible += 1;
            reached += cosine * skyMaps_[i].lit(p + n * bias, 0.5 * bias);
        }
        return possible > 0 ? reached / static_cast<double>(skyMaps_.size()) * 1.7 : 0;
    }

    void rasterise()
    {
        for (std::size_t s = 0; s < solids_.size(); ++s) {
            for (std::size_t t = 0; t < solids_[s].triangles.size(); ++t) rasterise(s, t);
        }
    }

    void rasterise(std::size_t s, std::size_t t)
    {
        Vector3 corners[3];
        for (std::size_t k = 0; k < 3; ++k) {
            double depth = 0;
            Point const p = view_(at(solids_[s], solids_[s].triangles[t][k]), &depth);
            if (!(depth > 0)) return; // behind the eye
            corners[k] = {(p.x - view_.where().x) * samplesPerUnit_, (p.y - view_.where().y) * samplesPerUnit_, depth};
        }
        int const width = width_ * kSupersampling;
        forEachPixelInTriangle(corners, width, height_ * kSupersampling,
                               [&](int x, int y, double a, double b, double c) {
                                   // Along a straight line on the sheet, 1 / depth is linear, not depth.
                                   double const wa = a / corners[0].z;
                                   double const wb = b / corners[1].z;
                                   double const wc = c / corners[2].z;
                                   double const depth = 1 / (wa + wb + wc);
                                   Sample& sample = samples_[asIndex(y) * asIndex(width) + asIndex(x)];
                                   if (!(depth < sample.depth)) return;
                                   sample.depth = static_cast<float>(depth);
                                   sample.solid = static_cast<int>(s);
                                   sample.triangle = static_cast<int>(t);
                                   sample.weights[0] = static_cast<float>(wa * depth);
                                   sample.weights[1] = static_cast<float>(wb * depth);
                                   sample.weights[2] = static_cast<float>(wc * depth);
                               });
    }

    Colour pixel(int x, int y) const
    {
        Vector3 sum;
        int empty = 0;
        for (int j = 0; j < kSupersampling; ++j) {
            for (int i = 0; i < kSupersampling; ++i) {
                Sample const& sample = samples_[asIndex(y * kSupersampling + j) * asIndex(width_ * kSupersampling) +
                                                asIndex(x * kSupersampling + i)];
                if (sample.solid < 0) {
                    ++empty;
                } else {
                    sum += shade(sample);
                }
            }
        }
        if (empty > 0) sum += groundAt(x, y) * empty;
        return fromLinear(sum * (1.0 / (kSupersampling * kSupersampling)));
    }

    Vector3 shade(Sample const& sample) const
    {
        std::size_t const s = asIndex(sample.solid);
        Solid const& solid = solids_[s];
        std::size_t const t = asIndex(sample.triangle);
        Triangle const& triangle = solid.triangles[t];
        double const weights[3] = {sample.weights[0], sample.weights[1], sample.weights[2]};
        Vector3 p;
        Vector3 n;
        double sky = 0;
        Colour colour(0, 0, 0);
        for (std::size_t k = 0; k < 3; ++k) {
            std::size_t const v = asIndex(triangle[k]);
            p += solid.positions[v] * weights[k];
            n += normals_[s][v] * weights[k];
            sky += sky_[s][v] * weights[k];
            if (!solid.colours.empty()) {
                Colour const& c = solid.colours[v];
                colour = {colour.r + weights[k] * c.r, colour.g + weights[k] * c.g, colour.b + weights[k] * c.b};
            }
        }
        if (solid.colourAt) {
            colour = solid.colourAt(t, weights);
        } else if (solid.colours.empty()) {
            colour = solid.colour;
        }
        return lit(p, UVector3(n), sky, toLinear(colour), solid.gloss);
    }

    Vector3 lit(Vector3 const& p, Vector3 n, double sky, Vector3 const& albedo, double gloss) const
    {
        Vector3 const towardsEye = UVector3(view_.eye() - p);
        if (n * towardsEye < 0) n = -n;
        double const bias = kKeyBias * radius_;
        double const key = std::max(0.0, n * towardsKey_) * keyMap_[0].lit(p + n * bias, bias);
        Vector3 const half = UVector3(towardsKey_ + towardsEye);
        double const highlight = key > 0 ? gloss * std::pow(std::max(0.0, n * half), 40) : 0;
        Vector3 const keyLight(0.80 * key, 0.76 * key, 0.70 * key);
        Vector3 const skyLight(0.46 * sky, 0.50 * sky, 0.56 * sky);
        Vector3 const light = keyLight + skyLight + Vector3(0.05, 0.045, 0.04);
        Vector3 const diffuse(albedo.x * light.x, albedo.y * light.y, albedo.z * light.z);
        return compressed(diffuse + Vector3(1, 1, 1) * highlight);
    }

    // The ground: the colour of the background, darkened by the shadows of the solids. It fades with the distance.
    Vector3 groundAt(int x, int y) const
    {
        Vector3 const paper = toLinear(options_.background);
        if (!options_.ground || solids_.empty()) return paper;
        double const unitsPerPixel = kSupersampling / samplesPerUnit_;
        Vector3 const ray = view_.rayThrough(
            {view_.where().x + (x + 0.5) * unitsPerPixel, view_.where().y + (y + 0.5) * unitsPerPixel});
        if (!(ray.y < -1e-6)) return paper; // above the horizon
        Vector3 const p = view_.eye() + ray * ((low_.y - view_.eye().y) / ray.y);
        double const away = dist(p, Vector3(centre_.x, low_.y, centre_.z)) / radius_;
        double const fade = std::clamp(1.6 - 0.6 * away, 0.0, 1.0);
        if (fade == 0) return paper;
        double const bias = kGroundBias * radius_;
        double sky = 0;
        double all = 0;
        for (std::size_t i = 0; i < skyMaps_.size(); ++i) {
            sky += skyDirections_[i].y * skyMaps_[i].lit(p, bias);
            all += skyDirections_[i].y;
        }
        double const dark = 0.30 * (1 - keyMap_[0].lit(p, bias)) + 0.62 * (1 - sky / all);
        return paper * (1 - fade * dark);
    }

    std::vector<Solid> solids_;
    View const& view_;
    RenderOptions const& options_;
    double samplesPerUnit_;
    int width_;
    int height_;
    std::vector<Sample> samples_;
    std::vector<std::vector<Vector3>> normals_;
    std::vector<std::vector<double>> sky_;
    Vector3 low_, high_, centre_;
    double radius_ = 1;
    Vector3 towardsKey_;
    std::vector<DepthMap> keyMap_; // one element, made when the bounds are known
    std::vector<DepthMap> skyMaps_;
    std::vector<Vector3> skyDirections_;
};

} // namespace

Image render(std::vector<Solid> const& solids, View const& view, double pixelsPerUnit, RenderOptions const& options)
{
    return Renderer(solids, view, pixelsPerUnit, options).picture();
}

std::vector<Image> renderColours(Solid const& solid, std::vector<std::vector<Colour>> const& colours, View const& view,
                                 double pixelsPerUnit, RenderOptions const& options)
{
    Renderer renderer({solid}, view, pixelsPerUnit, options);
    std::vector<Image> images;
    for (std::vector<Colour> const& set : colours) {
        renderer.setColours(set);
        images.push_back(renderer.picture());
    }
    return images;
}

void drawSolids(Canvas& sheet, std::vector<Solid> const& solids, View const& view, RenderOptions const& options)
{
    sheet.image(render(solids, view, sheet.pixelsPerUnit(), options), view.where());
}

std::vector<Vector3> vertexNormals(std::vector<Vector3> const& positions, std::vector<Triangle> const& triangles)
{
    std::vector<Vector3> sums(positions.size());
    for (Triangle const& t : triangles) {
        Vector3 const& a = positions[asIndex(t[0])];
        Vector3 const n = cross(positions[asIndex(t[1])] - a,
                                positions[asIndex(t[2])] - a); // twice the area long
        for (int const v : t) sums[asIndex(v)] += n;
    }
    for (Vector3& sum : sums) {
        double const length = sum.length(); // not the null test of vectors: small triangles have a direction too
        sum = length > 0 ? sum * (1 / length) : Vector3(0, 0, 1);
    }
    return sums;
}

} // namespace tool
