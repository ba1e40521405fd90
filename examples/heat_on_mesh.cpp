// Heat on a surface: assembles the cotangent Laplacian of a triangle mesh, factors (M + t L) once and lets a hot spot
// spread for a number of steps, one solution a step.
//
//   heat_on_mesh                        a sphere made on the spot
//   heat_on_mesh model.obj [out.ply]    a Wavefront OBJ model; the temperatures go to out.ply as vertex colours
//
// Source: U. Pinkall, K. Polthier, Computing discrete minimal surfaces and their conjugates, 1993, for the weights.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <sinew/sinew.h>

#define TINYOBJLOADER_IMPLEMENTATION
#include <tiny_obj_loader.h>

namespace {

struct Mesh
{
    std::vector<Vector3> points;
    std::vector<int> corners; // three a triangle
};

// A unit sphere from an octahedron, each triangle cut into four `levels` times.
Mesh makeSphere(int levels)
{
    Mesh mesh;
    mesh.points = {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};
    mesh.corners = {0, 2, 4, 2, 1, 4, 1, 3, 4, 3, 0, 4, 2, 0, 5, 1, 2, 5, 3, 1, 5, 0, 3, 5};
    for (int level = 0; level < levels; ++level) {
        std::map<std::pair<int, int>, int> middles;
        auto const middle = [&](int a, int b) {
            auto const [at, isNew] = middles.insert({std::minmax(a, b), static_cast<int>(mesh.points.size())});
            if (isNew) mesh.points.push_back((mesh.points[a] + mesh.points[b]).normalize());
            return at->second;
        };
        std::vector<int> finer;
        for (std::size_t t = 0; t < mesh.corners.size(); t += 3) {
            int const a = mesh.corners[t], b = mesh.corners[t + 1], c = mesh.corners[t + 2];
            int const ab = middle(a, b), bc = middle(b, c), ca = middle(c, a);
            for (int corner : {a, ab, ca, ab, b, bc, ca, bc, c, ab, bc, ca}) finer.push_back(corner);
        }
        mesh.corners = finer;
    }
    return mesh;
}

bool readObj(char const* file, Mesh& mesh)
{
    tinyobj::attrib_t attributes;
    std::vector<tinyobj::shape_t> shapes;
    std::vector<tinyobj::material_t> materials;
    std::string warning, error;
    if (!tinyobj::LoadObj(&attributes, &shapes, &materials, &warning, &error, file)) {
        std::fprintf(stderr, "%s: %s\n", file, error.c_str());
        return false;
    }
    for (std::size_t i = 0; i + 2 < attributes.vertices.size(); i += 3) {
        auto const* p = &attributes.vertices[i];
        mesh.points.push_back({static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])});
    }
    for (auto const& shape : shapes) {
        for (auto const& index : shape.mesh.indices) mesh.corners.push_back(index.vertex_index);
    }
    return !mesh.corners.empty();
}

// The weighted graph of the mesh: half the sum of the cotangents opposite each edge, and each vertex's share of area.
struct Laplacian
{
    std::map<std::pair<int, int>, double> weights; // by (larger, smaller) vertex
    std::vector<double> areas;
};

Laplacian assemble(Mesh const& mesh)
{
    Laplacian laplacian;
    laplacian.areas.assign(mesh.points.size(), 0.0);
    for (std::size_t t = 0; t < mesh.corners.size(); t += 3) {
        for (int k = 0; k < 3; ++k) {
            int const at = mesh.corners[t + k];
            int const from = mesh.corners[t + (k + 1) % 3];
            int const to = mesh.corners[t + (k + 2) % 3];
            Vector3 const u = mesh.points[from] - mesh.points[at];
            Vector3 const v = mesh.points[to] - mesh.points[at];
            double const doubleArea = cross(u, v).length();
            laplacian.areas[at] += doubleArea / 6;
            // A triangle without area conducts nothing; a negative sum of cotangents (obtuse pairs) is cut off at
            // zero below, for heat must not flow from cold to hot.
            if (doubleArea > 0) laplacian.weights[{std::max(from, to), std::min(from, to)}] += u * v / doubleArea / 2;
        }
    }
    return laplacian;
}

// M + t L: symmetric, and positive definite for every t >= 0 as long as all areas are positive.
SPDMatrix heatMatrix(Laplacian const& laplacian, double t)
{
    SPDMatrix matrix;
    matrix.rows.resize(laplacian.areas.size());
    std::vector<double> diagonal = laplacian.areas;
    // A vertex in no triangle keeps its temperature: any positive diagonal will do.
    for (double& d : diagonal) d = d > 0 ? d : 1.0;
    for (auto const& [edge, weight] : laplacian.weights) {
        double const w = t * std::max(weight, 0.0);
        matrix.rows[edge.first].push_back({edge.second, -w});
        diagonal[edge.first] += w;
        diagonal[edge.second] += w;
    }
    for (std::size_t i = 0; i < diagonal.size(); ++i) matrix.rows[i].push_back({static_cast<int>(i), diagonal[i]});
    return matrix;
}

void writePly(char const* file, Mesh const& mesh, std::vector<double> const& heat)
{
    std::ofstream out(file);
    out << "ply\nformat ascii 1.0\nelement vertex " << mesh.points.size()
        << "\nproperty float x\nproperty float y\nproperty float z\nproperty uchar red\nproperty uchar green\n"
        << "property uchar blue\nelement face " << mesh.corners.size() / 3
        << "\nproperty list uchar int vertex_indices\nend_header\n";
    double const hottest = *std::max_element(heat.begin(), heat.end());
    for (std::size_t i = 0; i < heat.size(); ++i) {
        double const share = hottest > 0 ? std::clamp(heat[i] / hottest, 0.0, 1.0) : 0.0;
        int const red = static_cast<int>(255 * std::sqrt(share));
        Vector3 const& p = mesh.points[i];
        out << p.x << ' ' << p.y << ' ' << p.z << ' ' << red << ' ' << red / 3 << ' ' << 255 - red << '\n';
    }
    for (std::size_t t = 0; t < mesh.corners.size(); t += 3) {
        out << "3 " << mesh.corners[t] << ' ' << mesh.corners[t + 1] << ' ' << mesh.corners[t + 2] << '\n';
    }
}

} // namespace

int main(int argc, char** argv)
{
    Mesh mesh;
    if (argc > 1 ? !readObj(argv[1], mesh) : (mesh = makeSphere(5), false)) return 1;

    // The time step that lets heat travel about two edges: their mean length, squared and doubled.
    double lengthSum = 0;
    for (std::size_t t = 0; t < mesh.corners.size(); t += 3) {
        lengthSum += dist(mesh.points[mesh.corners[t]], mesh.points[mesh.corners[t + 1]]);
    }
    double const meanEdge = lengthSum / static_cast<double>(mesh.corners.size() / 3);
    Laplacian const laplacian = assemble(mesh);
    SPDMatrix const matrix = heatMatrix(laplacian, 2 * meanEdge * meanEdge);
    LLTMatrix const factor = matrix.factor();
    if (factor.rows.empty()) {
        std::fprintf(stderr, "%s", sinew::diagnose(matrix).text().c_str());
        return 1;
    }

    // One unit of heat at the first corner of the first triangle.
    std::vector<double> heat(mesh.points.size(), 0.0);
    double const firstArea = laplacian.areas[mesh.corners[0]];
    heat[mesh.corners[0]] = firstArea > 0 ? 1 / firstArea : 1.0;
    std::printf("%zu vertices, %zu triangles\n", mesh.points.size(), mesh.corners.size() / 3);
    for (int step = 1; step <= 20; ++step) {
        for (std::size_t i = 0; i < heat.size(); ++i) heat[i] *= laplacian.areas[i] > 0 ? laplacian.areas[i] : 1.0;
        factor.solve(heat);
        if (step % 5 != 0) continue;
        double total = 0;
        for (std::size_t i = 0; i < heat.size(); ++i) total += heat[i] * laplacian.areas[i];
        auto const [coldest, hottest] = std::minmax_element(heat.begin(), heat.end());
        std::printf("step %2d: from %.3g to %.3g, in all %.12f\n", step, *coldest, *hottest, total);
        // Heat neither appears nor vanishes, and nothing becomes colder than the coldest was.
        if (firstArea > 0 && (std::fabs(total - 1) > 1e-9 || *coldest < -1e-12 * *hottest)) return 1;
    }
    if (argc > 2) writePly(argv[2], mesh, heat);
    return 0;
}
