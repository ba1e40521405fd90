#pragma once

/// Meshes for the tests and benches of mesh functions.

#include <cmath>
#include <limits>
#include <vector>

#include <sinew/framework/vect2.h>
#include <sinew/meshfunc/mesh_function_2d.h>

#include "support/random.h"

namespace test {

using Point = tzNM::vect2<double>;

/// The arguments of the constructor of `MeshFunction2D`.
struct Mesh
{
    std::vector<Point> params;
    std::vector<Point> values;
    std::vector<int> facets;
    std::vector<float> normaldots;

    int addVertex(double x, double y)
    {
        params.emplace_back(x, y);
        values.emplace_back(2 * x - y, 0.5 * y + x * x); // arbitrary, but different at every vertex
        normaldots.push_back(static_cast<float>(std::sin(7 * x + 3 * y)));
        return static_cast<int>(params.size()) - 1;
    }
    void addTriangle(int a, int b, int c) { facets.insert(facets.end(), {a, b, c}); }

    MeshFunction2D function() const { return MeshFunction2D(params, values, facets, normaldots); }
};

/// One counter-clockwise triangle over half of the unit square.
inline Mesh oneTriangle()
{
    Mesh mesh;
    mesh.addVertex(0, 0);
    mesh.addVertex(1, 0);
    mesh.addVertex(0, 1);
    mesh.addTriangle(0, 1, 2);
    return mesh;
}

/// The unit square cut along its diagonal from (1, 0) to (0, 1), both triangles counter-clockwise.
inline Mesh square()
{
    Mesh mesh = oneTriangle();
    mesh.addVertex(1, 1);
    mesh.addTriangle(1, 3, 2);
    return mesh;
}

/// columns x rows squares over the unit square, each cut into two triangles. Inner vertices are moved by up to `shake`
/// of a square along each axis.
inline Mesh gridMesh(Random& random, int columns, int rows, double shake = 0.3)
{
    Mesh mesh;
    for (int i = 0; i <= columns; ++i) {
        for (int j = 0; j <= rows; ++j) {
            bool const inner = i > 0 && i < columns && j > 0 && j < rows;
            double const dx = inner ? random.uniform(-shake, shake) : 0;
            double const dy = inner ? random.uniform(-shake, shake) : 0;
            mesh.addVertex((i + dx) / columns, (j + dy) / rows);
        }
    }
    for (int i = 0; i < columns; ++i) {
        for (int j = 0; j < rows; ++j) {
            int const a = i * (rows + 1) + j, b = a + rows + 1;
            if (random.oneIn(2)) {
                mesh.addTriangle(a, b, b + 1);
                mesh.addTriangle(a, b + 1, a + 1);
            } else {
                mesh.addTriangle(a, b, a + 1);
                mesh.addTriangle(b, b + 1, a + 1);
            }
        }
    }
    return mesh;
}

/// A grid whose columns and rows are denser towards one corner: x is replaced by x to the given power.
inline Mesh unevenMesh(Random& random, int columns, int rows, double power)
{
    Mesh const even = gridMesh(random, columns, rows, 0.2);
    Mesh mesh;
    mesh.facets = even.facets;
    for (Point const& p : even.params) mesh.addVertex(std::pow(p.x, power), std::pow(p.y, power));
    return mesh;
}

/// Triangles at random places and of any orientation. They overlap.
inline Mesh soup(Random& random, int triangles, double size)
{
    Mesh mesh;
    for (int t = 0; t < triangles; ++t) {
        double const x = random.uniform(), y = random.uniform();
        int corner[3];
        for (int& c : corner) c = mesh.addVertex(x + random.uniform(-size, size), y + random.uniform(-size, size));
        mesh.addTriangle(corner[0], corner[1], corner[2]);
    }
    return mesh;
}

/// Adds triangles over the unit square whose height is `height` times their longest edge. They overlap.
inline void addSlivers(Random& random, Mesh* mesh, int count, double height)
{
    for (int t = 0; t < count; ++t) {
        Point const a = random.point2(0, 1), along = 0.2 * random.point2(), across(-along.y, along.x);
        int const first = mesh->addVertex(a.x, a.y);
        Point const b = a + along, c = a + random.uniform(-1, 2) * along + height * across;
        mesh->addVertex(b.x, b.y);
        mesh->addVertex(c.x, c.y);
        mesh->addTriangle(first, first + 1, first + 2);
    }
}

/// count x count separate small squares in a unit square. Each has one boundary loop.
inline Mesh islands(int count)
{
    Mesh mesh;
    double const size = 1.0 / count;
    for (int i = 0; i < count; ++i) {
        for (int j = 0; j < count; ++j) {
            double const x = i * size, y = j * size, s = 0.6 * size;
            int const a = mesh.addVertex(x, y);
            mesh.addVertex(x + s, y);
            mesh.addVertex(x + s, y + s);
            mesh.addVertex(x, y + s);
            mesh.addTriangle(a, a + 1, a + 2);
            mesh.addTriangle(a, a + 2, a + 3);
        }
    }
    return mesh;
}

/// count x count charts in a unit square, as an atlas has them: discs of 2 * side^2 triangles, each with one boundary
/// of 4 * side edges. With `waves` they have different wavy outlines; without, they are symmetric.
inline Mesh atlas(Random& random, int count, int side, bool waves)
{
    Mesh mesh;
    for (int chart = 0; chart < count * count; ++chart) {
        Mesh const square = gridMesh(random, side, side, waves ? 0.2 : 0.0);
        int const first = static_cast<int>(mesh.params.size());
        Point const middle((chart % count + 0.5) / count, (chart / count + 0.5) / count);
        for (Point const& p : square.params) {
            double const x = 2 * p.x - 1, y = 2 * p.y - 1;
            Point const disc(x * std::sqrt(1 - y * y / 2), y * std::sqrt(1 - x * x / 2));
            double const angle = std::atan2(disc.y, disc.x);
            double const wave = waves ? 0.12 * std::sin(5 * angle + chart) + 0.05 * std::sin(13 * angle) : 0.0;
            double const radius = 0.42 * (1 + wave) / count;
            mesh.addVertex(middle.x + radius * disc.x, middle.y + radius * disc.y);
        }
        for (int const corner : square.facets) mesh.facets.push_back(first + corner);
    }
    return mesh;
}

} // namespace test
