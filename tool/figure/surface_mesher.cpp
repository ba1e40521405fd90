#include <tool/figure/surface_mesher.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <unordered_map>

#include <tool/figure/mesh_pieces.h>
#include <tool/support/as_index.h>

namespace tool {
namespace {

constexpr int kBlock = 8;              // cubes along a side of a block
constexpr int kSmoothingRounds = 4;    // of moving vertices along the surface
constexpr int kNewtonSteps = 12;       // in the last round
constexpr int kEarlyNewtonSteps = 3;   // in the rounds before it, after which the vertices move again
constexpr int kHalvings = 6;           // of a Newton step that does not decrease |field|
constexpr double kLongestMove = 1e300; // a longer Newton step comes from a gradient that is practically zero
constexpr double kOnSurface = 1e-14;   // |field| that rounding leaves: no step can improve it

// ---- one cube. Corner c lies at (c & 1, c >> 1 & 1, c >> 2). Edge 4 * axis + 2 * b + a runs along `axis`; a and b are
// its coordinates on the next axis and on the one after that.

int edgeBetween(int c0, int c1)
{
    int const axis = (c0 ^ c1) == 1 ? 0 : (c0 ^ c1) == 2 ? 1 : 2;
    int const base = c0 & c1;
    return 4 * axis + 2 * (base >> (axis + 2) % 3 & 1) + (base >> (axis + 1) % 3 & 1);
}

// Calls visit(from, to, edge) for the two corners and the number of every edge.
template <typename Visit>
void forEachEdge(Visit visit)
{
    for (int from = 0; from < 8; ++from) {
        for (int axis = 0; axis < 3; ++axis) {
            int const to = from | 1 << axis;
            if (to != from) visit(from, to, asIndex(edgeBetween(from, to)));
        }
    }
}

// The patch of each crossed edge of a cube; -1 for the other edges.
struct Patches
{
    std::array<int, 12> ofEdge;
    int count = 0;
};

void join(std::array<int, 12>& label, int a, int b)
{
    int const from = label[asIndex(b)];
    int const to = label[asIndex(a)];
    for (int& l : label) l = l == from ? to : l;
}

// Joins the crossings of a face in pairs. Two crossings are one pair. Of four crossings, the two next to each inside
// corner are a pair. The rule depends on the face alone, so both cubes that share it make the same pairs.
void joinOnFace(std::array<int, 12>& label, int const (&corners)[4], int inside)
{
    bool const is[4] = {(inside >> corners[0] & 1) != 0, (inside >> corners[1] & 1) != 0,
                        (inside >> corners[2] & 1) != 0, (inside >> corners[3] & 1) != 0};
    int const count = is[0] + is[1] + is[2] + is[3];
    bool const ambiguous = count == 2 && is[0] == is[2];
    int crossed = -1;
    for (int k = 0; k < 4; ++k) {
        int const next = corners[(k + 1) % 4];
        int const edge = edgeBetween(corners[k], next);
        if (ambiguous) {
            if (is[k]) join(label, edgeBetween(corners[(k + 3) % 4], corners[k]), edge);
        } else if (is[k] != is[(k + 1) % 4]) {
            if (crossed >= 0) join(label, crossed, edge);
            crossed = edge;
        }
    }
}

Patches patchesOf(int inside)
{
    Patches patches;
    for (int e = 0; e < 12; ++e) patches.ofEdge[asIndex(e)] = e;
    for (int axis = 0; axis < 3; ++axis) {
        int const u = 1 << (axis + 1) % 3;
        int const v = 1 << (axis + 2) % 3;
        for (int side = 0; side < 2; ++side) {
            int const s = side << axis;
            joinOnFace(patches.ofEdge, {s, s | u, s | u | v, s | v}, inside);
        }
    }
    std::array<int, 12> number;
    number.fill(-1);
    forEachEdge([&](int from, int to, std::size_t edge) {
        int& label = patches.ofEdge[edge];
        if ((inside >> from & 1) == (inside >> to & 1)) {
            label = -1;
            return;
        }
        int& n = number[asIndex(label)];
        if (n < 0) n = patches.count++;
        label = n;
    });
    return patches;
}

class Mesher
{
public:
    Mesher(BodyField const& field, Vector3 const& low, Vector3 const& high, double cell)
        : field_(field), low_(low), cell_(cell)
    {
        for (int k = 0; k < 3; ++k) {
            blocks_[k] = std::max(1, static_cast<int>(std::ceil((high[k] - low[k]) / (cell * kBlock))));
        }
    }

    MeshedSurface run()
    {
        for (int z = 0; z < blocks_[2]; ++z) {
            for (int y = 0; y < blocks_[1]; ++y) {
                for (int x = 0; x < blocks_[0]; ++x) visitBlock({x, y, z});
            }
        }
        connect();
        moveOntoSurface();
        triangulate();
        return std::move(result_);
    }

private:
    using Place = std::array<int, 3>;

    struct Cube
    {
        Place at;
        int inside; // bit c: corner c is inside
        std::array<int, 12> vertexOfEdge;
    };

    Vector3 cornerAt(Place const& p) const { return low_ + Vector3(p[0], p[1], p[2]) * cell_; }

    static std::uint64_t key(Place const& p)
    {
        std::uint64_t k = 0;
        for (int const i : p) k = k << 21 | static_cast<std::uint64_t>(i + 1);
        return k;
    }

    void visitBlock(Place const& block)
    {
        ++result_.blocks;
        Place const first{block[0] * kBlock, block[1] * kBlock, block[2] * kBlock};
        Vector3 const middle = cornerAt(first) + Vector3(1, 1, 1) * (0.5 * kBlock * cell_);
        if (!field_.mayCross(middle, 0.5 * std::sqrt(3.0) * kBlock * cell_)) return;
        ++result_.visitedBlocks;
        points_.clear();
        for (int z = 0; z <= kBlock; ++z) {
            for (int y = 0; y <= kBlock; ++y) {
                for (int x = 0; x <= kBlock; ++x)
                    points_.push_back(cornerAt({first[0] + x, first[1] + y, first[2] + z}));
            }
        }
        field_.values(points_, values_);
        for (int z = 0; z < kBlock; ++z) {
            for (int y = 0; y < kBlock; ++y) {
                for (int x = 0; x < kBlock; ++x) visitCube(first, {x, y, z});
            }
        }
    }

    void visitCube(Place const& first, Place const& in)
    {
        std::array<std::size_t, 8> corners; // indices into points_ and values_
        int inside = 0;
        for (int c = 0; c < 8; ++c) {
            int const x = in[0] + (c & 1), y = in[1] + (c >> 1 & 1), z = in[2] + (c >> 2);
            corners[asIndex(c)] = asIndex((z * (kBlock + 1) + y) * (kBlock + 1) + x);
            if (values_[corners[asIndex(c)]] < 0) inside |= 1 << c;
        }
        if (inside == 0 || inside == 255) return;
        Cube cube{{first[0] + in[0], first[1] + in[1], first[2] + in[2]}, inside, {}};
        addVertices(cube, corners);
        cubeAt_.emplace(key(cube.at), cubes_.size());
        cubes_.push_back(cube);
    }

    // One vertex for each patch, at the mean of the crossings of its edges.
    void addVertices(Cube& cube, std::array<std::size_t, 8> const& corners)
    {
        Patches const patches = patchesOf(cube.inside);
        std::size_t const firstVertex = result_.positions.size();
        std::vector<int> crossings(asIndex(patches.count), 0);
        result_.positions.resize(firstVertex + crossings.size());
        cube.vertexOfEdge.fill(-1);
        forEachEdge([&](int from, int to, std::size_t edge) {
            if (patches.ofEdge[edge] < 0) return;
            std::size_t const patch = asIndex(patches.ofEdge[edge]);
            std::size_t const a = corners[asIndex(from)], b = corners[asIndex(to)];
            double const t = values_[a] / (values_[a] - values_[b]);
            result_.positions[firstVertex + patch] += points_[a] + (points_[b] - points_[a]) * t;
            ++crossings[patch];
            cube.vertexOfEdge[edge] = static_cast<int>(firstVertex + patch);
        });
        for (std::size_t k = 0; k < crossings.size(); ++k) result_.positions[firstVertex + k] *= 1.0 / crossings[k];
    }

    // One quadrilateral for each crossed edge, of the patches in the four cubes around it.
    void connect()
    {
        for (Cube const& cube : cubes_) {
            for (int axis = 0; axis < 3; ++axis) {
                if (cube.vertexOfEdge[asIndex(4 * axis)] >= 0) connect(cube, axis);
            }
        }
    }

    void connect(Cube const& cube, int axis)
    {
        static constexpr int kAround[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}}; // counter-clockwise about the axis
        std::array<int, 4> quad;
        for (std::size_t k = 0; k < 4; ++k) {
            Place at = cube.at;
            at[asIndex((axis + 1) % 3)] -= kAround[k][0];
            at[asIndex((axis + 2) % 3)] -= kAround[k][1];
            auto const found = cubeAt_.find(key(at));
            if (found == cubeAt_.end()) return; // outside the box: the surface has an open edge here
            int const edge = 4 * axis + 2 * kAround[k][1] + kAround[k][0];
            quad[k] = cubes_[found->second].vertexOfEdge[asIndex(edge)];
        }
        if ((cube.inside & 1) == 0) std::swap(quad[1], quad[3]);
        quads_.push_back(quad);
    }

    void moveOntoSurface()
    {
        std::size_t const count = result_.positions.size();
        result_.normals.resize(count);
        for (int round = 0; round <= kSmoothingRounds; ++round) {
            if (round > 0) smooth();
            bool const last = round == kSmoothingRounds;
            for (std::size_t v = 0; v < count; ++v) moveOntoSurface(v, last ? kNewtonSteps : kEarlyNewtonSteps);
        }
    }

    // Moves every vertex half of the way to the mean of its neighbours.
    void smooth()
    {
        std::vector<Vector3> sums(result_.positions.size());
        std::vector<int> counts(result_.positions.size(), 0);
        for (auto const& quad : quads_) {
            for (std::size_t k = 0; k < 4; ++k) {
                std::size_t const from = asIndex(quad[k]);
                sums[from] += result_.positions[asIndex(quad[(k + 1) % 4])];
                ++counts[from];
            }
        }
        for (std::size_t v = 0; v < sums.size(); ++v) {
            if (counts[v] == 0) continue;
            result_.positions[v] = result_.positions[v] * 0.5 + sums[v] * (0.5 / counts[v]);
        }
    }

    void moveOntoSurface(std::size_t v, int steps)
    {
        Vector3& p = result_.positions[v];
        Vector3 gradient;
        double value = field_.value(p, &gradient);
        for (int step = 0; step < steps && std::fabs(value) > kOnSurface; ++step) {
            if (!stepTowards(p, gradient, value)) break; // rounding allows no smaller value
        }
        result_.normals[v] = UVector3(gradient);
        if (steps == kNewtonSteps) result_.largestValue = std::max(result_.largestValue, std::fabs(value));
    }

    // One Newton step of at most one cube's edge, halved until |field| decreases. False if it does not decrease.
    bool stepTowards(Vector3& p, Vector3& gradient, double& value) const
    {
        Vector3 move = gradient * (-value / gradient.lengthSq());
        double const length = move.length();
        if (!(length < kLongestMove)) return false; // the gradient is zero or NaN
        if (length > cell_) move *= cell_ / length;
        for (int halving = 0; halving < kHalvings; ++halving, move *= 0.5) {
            Vector3 nextGradient;
            double const nextValue = field_.value(p + move, &nextGradient);
            if (!(std::fabs(nextValue) < std::fabs(value))) continue;
            p += move;
            value = nextValue;
            gradient = nextGradient;
            return true;
        }
        return false;
    }

    void triangulate()
    {
        for (auto const& q : quads_) {
            auto const at = [&](std::size_t k) { return result_.positions[asIndex(q[k])]; };
            if (distSq(at(0), at(2)) <= distSq(at(1), at(3))) {
                result_.triangles.push_back({q[0], q[1], q[2]});
                result_.triangles.push_back({q[0], q[2], q[3]});
            } else {
                result_.triangles.push_back({q[0], q[1], q[3]});
                result_.triangles.push_back({q[1], q[2], q[3]});
            }
        }
    }

    BodyField const& field_;
    Vector3 low_;
    double cell_;
    int blocks_[3];
    std::vector<Vector3> points_; // corners of the cubes of the current block
    std::vector<double> values_;
    std::vector<Cube> cubes_;
    std::unordered_map<std::uint64_t, std::size_t> cubeAt_;
    std::vector<std::array<int, 4>> quads_;
    MeshedSurface result_;
};

} // namespace

MeshedSurface meshZeros(BodyField const& field, Vector3 const& low, Vector3 const& high, double cell)
{
    return Mesher(field, low, high, cell).run();
}

SurfaceTopology topologyOf(std::vector<Triangle> const& triangles, std::size_t vertexCount)
{
    std::map<std::pair<int, int>, std::pair<int, int>> passes; // uses of each edge: towards the larger index, and back
    std::vector<int> facets;
    std::vector<bool> used(vertexCount, false);
    for (Triangle const& t : triangles) {
        for (std::size_t k = 0; k < 3; ++k) {
            int const a = t[k], b = t[(k + 1) % 3];
            auto& pass = passes[{std::min(a, b), std::max(a, b)}];
            ++(a < b ? pass.first : pass.second);
            facets.push_back(a);
            used[asIndex(a)] = true;
        }
    }
    SurfaceTopology topology;
    for (auto const& [edge, pass] : passes) topology.openEdges += pass.first != 1 || pass.second != 1;
    pieceOfTriangle(facets, vertexCount, topology.pieces);
    topology.eulerNumber = static_cast<long>(std::count(used.begin(), used.end(), true)) -
                           static_cast<long>(passes.size()) + static_cast<long>(triangles.size());
    return topology;
}

} // namespace tool
