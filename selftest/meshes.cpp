#include <selftest/meshes.h>

#include <cstddef>
#include <utility>

namespace selftest {

namespace {

using Point = tzNM::vect2<double>;

struct GridOptions
{
    int columns;
    int rows;
    double displacement; // largest displacement of a vertex; 0 for a regular grid
    int holes;           // one in so many cells is left out; 0 for none
};

Mesh gridMesh(Inputs& in, GridOptions const& options)
{
    Mesh mesh;
    bool const scalars = !in.oneIn(4);
    for (int i = 0; i <= options.columns; ++i) {
        for (int j = 0; j <= options.rows; ++j) {
            Point const moved = Point{in.uniform(), in.uniform()};
            mesh.params.push_back(Point(0.125 * i, 0.125 * j) + options.displacement * moved);
            mesh.values.push_back(Point{in.tame(), in.uniform()});
            if (scalars) mesh.scalars.push_back(static_cast<float>(in.uniform()));
        }
    }
    for (int i = 0; i < options.columns; ++i) {
        for (int j = 0; j < options.rows; ++j) {
            if (options.holes > 0 && in.oneIn(options.holes)) continue;
            int const a = i * (options.rows + 1) + j;
            int const b = a + options.rows + 1;
            mesh.facets.insert(mesh.facets.end(), {a, b, b + 1, a, b + 1, a + 1});
        }
    }
    return mesh;
}

} // namespace

Mesh smallMesh(Inputs& in)
{
    int const columns = 1 + in.below(2);
    int const rows = 1 + in.below(2);
    return gridMesh(in, {columns, rows, in.oneIn(2) ? 0.0 : 0.03, 0});
}

Mesh anyMesh(Inputs& in)
{
    double const displacement = in.oneIn(2) ? 0.0 : in.uniform(0.0, 0.1);
    int const holes = in.oneIn(2) ? 0 : 2 + in.below(6);
    if (in.oneIn(30)) return gridMesh(in, {90, 80, displacement, holes});
    int const columns = 1 + in.below(20);
    int const rows = 1 + in.below(20);
    return gridMesh(in, {columns, rows, displacement, holes});
}

Mesh damagedMesh(Inputs& in)
{
    int const columns = 1 + in.below(6);
    int const rows = 1 + in.below(6);
    Mesh mesh = gridMesh(in, {columns, rows, in.oneIn(2) ? 0.0 : 0.2, 4});
    if (mesh.facets.empty()) return mesh;
    int const vertices = static_cast<int>(mesh.params.size());
    for (int damages = in.below(6); damages > 0; --damages) {
        std::size_t const entry = static_cast<std::size_t>(in.below(static_cast<int>(mesh.facets.size())));
        std::size_t const vertex = static_cast<std::size_t>(in.below(vertices));
        std::size_t const first = entry / 3 * 3;
        switch (in.below(8)) {
        case 0:
            mesh.facets[entry] = in.below(vertices);
            break; // any triangle
        case 1:
            mesh.facets[entry] = in.oneIn(2) ? -1 : vertices;
            break; // no vertex
        case 2:
            std::swap(mesh.facets[first], mesh.facets[first + 1]);
            break; // inverted
        case 3:
            mesh.facets[first] = mesh.facets[first + 1];
            break; // without area
        case 4:
            mesh.params[vertex].x = in.number();
            break; // anywhere
        case 5:
            mesh.values[vertex].y = in.number();
            break; // any value
        case 6:
            mesh.params[vertex] = mesh.params[0];
            break; // two vertices at one place
        default:   // repeated
            for (std::size_t k = 0; k < 3; ++k) mesh.facets.push_back(mesh.facets[first + k]);
        }
    }
    if (in.oneIn(8)) mesh.facets.pop_back();
    if (in.oneIn(8)) mesh.values.pop_back();
    if (in.oneIn(8) && !mesh.scalars.empty()) mesh.scalars.pop_back();
    if (in.oneIn(4) && !mesh.scalars.empty()) mesh.scalars.back() = static_cast<float>(in.spread(-10, 60));
    return mesh;
}

Point pointNear(Inputs& in, Mesh const& mesh)
{
    int const kind = in.below(8);
    int const count = static_cast<int>(mesh.params.size());
    Point const a = mesh.params[static_cast<std::size_t>(in.below(count))];
    Point const b = mesh.params[static_cast<std::size_t>(in.below(count))];
    if (kind == 0) return in.point2();
    if (kind == 1) return a;
    if (kind == 2) return 0.5 * (a + b);
    if (kind == 3) return a + 0.125 * in.tamePoint2();
    if (kind == 4) return a + 2.0 * in.tamePoint2();
    double const s = in.uniform(0.0, 1.0);
    double const t = in.uniform(0.0, 1.0);
    return Point(a.x + s * (b.x - a.x), a.y + t * (b.y - a.y));
}

} // namespace selftest
