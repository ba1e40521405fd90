// Heat on a surface. The program assembles the cotangent Laplacian of a triangle mesh, factors M + t L once, and
// computes how a hot spot spreads, with one solution for each time step.
//
//   heat_on_mesh                        a sphere
//   heat_on_mesh model.obj [out.ply]    a Wavefront OBJ model; the temperatures go to out.ply as vertex colours
//
// Source: U. Pinkall, K. Polthier, Computing discrete minimal surfaces and their conjugates, 1993, for the weights.

#include <algorithm>
#include <cmath>
#include <cstdint>
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
    std::vector<int> corners; // three for each triangle
};

// A unit sphere: an octahedron whose triangles are divided into four, `levels` times.
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

// The weight of an edge is half the sum of the cotangents of the angles opposite to it. A third of the area of each
// triangle belongs to each of its vertices.
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
            // The cotangents of a triangle without area are not defined; such a triangle conducts no heat.
            if (doubleArea > 0) laplacian.weights[{std::max(from, to), std::min(from, to)}] += u * v / doubleArea / 2;
        }
    }
    return laplacian;
}

// M + t L, which is symmetric and, for t >= 0, positive definite: each diagonal exceeds the sum of its row. The
// triplets are contributions to the lower triangle; those of the same place are summed.
std::vector<sinew::Triplet> heatMatrix(Laplacian const& laplacian, double t)
{
    std::vector<sinew::Triplet> triplets;
    for (std::size_t i = 0; i < laplacian.areas.size(); ++i) {
        // A vertex without triangles keeps its temperature. Any positive diagonal gives that.
        double const area = laplacian.areas[i];
        triplets.push_back({static_cast<int>(i), static_cast<int>(i), area > 0 ? area : 1.0});
    }
    for (auto const& [edge, weight] : laplacian.weights) {
        // The weight is negative if the angles opposite to the edge add up to more than 180 degrees. It is replaced by
        // zero, because otherwise heat would flow from cold to hot.
        double const w = t * std::max(weight, 0.0);
        auto const [i, j] = edge;
        triplets.insert(triplets.end(), {{i, j, -w}, {i, i, w}, {j, j, w}});
    }
    return triplets;
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

    // In one time step of twice the squared mean edge length, heat travels about two edges.
    double lengthSum = 0;
    for (std::size_t t = 0; t < mesh.corners.size(); t += 3) {
        lengthSum += dist(mesh.points[mesh.corners[t]], mesh.points[mesh.corners[t + 1]]);
    }
    double const meanEdge = lengthSum / static_cast<double>(mesh.corners.size() / 3);
    Laplacian const laplacian = assemble(mesh);
    auto const build = sinew::fromTriplets(static_cast<std::int64_t>(mesh.points.size()),
                                           heatMatrix(laplacian, 2 * meanEdge * meanEdge));
    sinew::CompactFactor const factor(build.matrix);
    if (!factor.hasNumbers()) {
        sinew::MatrixDiagnosis const diagnosis = sinew::diagnose(build.matrix);
        std::fprintf(stderr, "%s%s%s", build.text().c_str(), diagnosis.text().c_str(), diagnosis.pivotText().c_str());
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
        std::printf("step %2d: from %.3g to %.3g, total %.12f\n", step, *coldest, *hottest, total);
        // The total heat is constant, and no temperature falls below the lowest one at the start, which is zero.
        if (firstArea > 0 && (std::fabs(total - 1) > 1e-9 || *coldest < -1e-12 * *hottest)) return 1;
    }
    if (argc > 2) writePly(argv[2], mesh, heat);
    return 0;
}
