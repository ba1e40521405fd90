#pragma once

/// Surfaces and skeletons for tests of bone weights.

#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include <sinew/core/vector3.h>
#include <sinew/skinning/heat_weights.h>

namespace test {

/// A triangle mesh.
struct HeatScene
{
    std::vector<Vector3> positions;
    std::vector<std::array<int, 3>> triangles;

    sinew::HeatMesh mesh() const
    {
        int const* const corners = triangles.empty() ? nullptr : triangles[0].data();
        return {sinew::coordinatesOf(positions.data(), positions.size()), sinew::packed(corners, triangles.size(), 3)};
    }

    void add(HeatScene const& other)
    {
        int const shift = static_cast<int>(positions.size());
        positions.insert(positions.end(), other.positions.begin(), other.positions.end());
        for (auto const& t : other.triangles) triangles.push_back({t[0] + shift, t[1] + shift, t[2] + shift});
    }
};

/// A tube along the x axis from 0 to `length`: `rings` rings of `sectors` vertices. Closed by a vertex at each end, or
/// open.
inline HeatScene tube(double length, double radius, int rings, int sectors, Vector3 const& at = {},
                      bool isClosed = true)
{
    HeatScene scene;
    double const turn = 2 * std::acos(-1.0);
    for (int i = 0; i < rings; ++i) {
        for (int j = 0; j < sectors; ++j) {
            double const angle = turn * j / sectors;
            scene.positions.push_back(
                at + Vector3(length * i / (rings - 1), radius * std::cos(angle), radius * std::sin(angle)));
        }
    }
    int const first = static_cast<int>(scene.positions.size()), last = first + 1;
    if (isClosed) {
        scene.positions.push_back(at);
        scene.positions.push_back(at + Vector3(length, 0, 0));
    }
    for (int j = 0; j < sectors; ++j) {
        int const k = (j + 1) % sectors;
        for (int i = 0; i + 1 < rings; ++i) {
            int const a = i * sectors + j, b = i * sectors + k;
            scene.triangles.push_back({a, b, b + sectors});
            scene.triangles.push_back({a, b + sectors, a + sectors});
        }
        if (!isClosed) continue;
        scene.triangles.push_back({first, k, j});
        scene.triangles.push_back({last, (rings - 1) * sectors + j, (rings - 1) * sectors + k});
    }
    return scene;
}

/// Two bones along the x axis from 0 to 4, with the joint in the middle.
inline std::vector<sinew::BoneSegment> const kTwoBones = {{{0, 0, 0}, {2, 0, 0}}, {{2, 0, 0}, {4, 0, 0}}};

} // namespace test
