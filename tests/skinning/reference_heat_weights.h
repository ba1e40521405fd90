#pragma once

/// Bone weights from heat by the plainest methods: every bone is compared with every triangle, edges stand in a map,
/// and the systems are solved as dense ones.

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <utility>
#include <vector>

#include <sinew/queries/rays.h>
#include <sinew/skinning/heat_weights.h>

#include "skinning/heat_scene.h"

namespace reference {

struct Heat
{
    std::vector<std::vector<double>> weights; // by vertex and bone
    std::size_t joined = 0, isolated = 0, pieces = 0, raisedEdges = 0, shaded = 0, sightless = 0, shadedPieces = 0;
};

inline Vector3 nearestOnBone(sinew::BoneSegment const& bone, Vector3 const& p)
{
    Vector3 const e = bone.end - bone.start;
    double const along = (p - bone.start) * e;
    if (!(along > 0)) return bone.start;
    return along < e.lengthSq() ? bone.start + e * (along / e.lengthSq()) : bone.end;
}

inline bool isHidden(test::HeatScene const& scene, Vector3 const& from, Vector3 const& to)
{
    sinew::Ray const ray(from, to - from);
    return std::any_of(scene.triangles.begin(), scene.triangles.end(), [&](std::array<int, 3> const& t) {
        auto const corner = [&](std::size_t k) { return scene.positions[static_cast<std::size_t>(t[k])]; };
        return sinew::rayTriangle(ray, corner(0), corner(1), corner(2), 1e-4, 1 - 1e-4).hit;
    });
}

/// The balance of heat on a surface.
class HeatBalance
{
public:
    HeatBalance(test::HeatScene const& scene, std::vector<sinew::BoneSegment> const& skeleton)
        : scene_(scene), skeleton_(skeleton)
    {
        joinVertices();
        addTriangles();
        findPieces();
        lookAtBones();
    }

    Heat solve()
    {
        std::size_t const n = places_.size(), bones = skeleton_.size();
        std::vector<std::vector<double>> rows(n, std::vector<double>(n + bones, 0.0));
        for (auto const& [edge, conductance] : edges_) {
            auto const [i, j] = edge;
            rows[i][i] += conductance;
            rows[j][j] += conductance;
            rows[i][j] -= conductance;
            rows[j][i] -= conductance;
        }
        for (std::size_t i = 0; i < n; ++i) {
            rows[i][i] += heat_[i];
            for (std::size_t b : nearest_[i]) rows[i][n + b] = heat_[i] / static_cast<double>(nearest_[i].size());
        }
        eliminate(rows);
        for (std::size_t const i : placeOf_) {
            result_.weights.emplace_back(rows[i].begin() + static_cast<std::ptrdiff_t>(n), rows[i].end());
        }
        return std::move(result_);
    }

private:
    // Gauss and Jordan without pivoting, which a diagonally dominant matrix does not need.
    static void eliminate(std::vector<std::vector<double>>& rows)
    {
        for (std::size_t k = 0; k < rows.size(); ++k) {
            double const pivot = rows[k][k];
            for (double& x : rows[k]) x /= pivot;
            for (std::size_t i = 0; i < rows.size(); ++i) {
                double const factor = rows[i][k];
                if (i == k || factor == 0) continue;
                for (std::size_t j = k; j < rows[k].size(); ++j) rows[i][j] -= factor * rows[k][j];
            }
        }
    }

    void joinVertices()
    {
        std::map<std::array<double, 3>, std::size_t> at;
        for (Vector3 const& p : scene_.positions) {
            auto const [found, isNew] = at.emplace(std::array<double, 3>{p.x, p.y, p.z}, places_.size());
            if (isNew) places_.push_back(p);
            placeOf_.push_back(found->second);
        }
        result_.joined = scene_.positions.size() - places_.size();
    }

    void addTriangles()
    {
        areas_.assign(places_.size(), 0.0);
        for (auto const& t : scene_.triangles) {
            std::size_t c[3];
            for (std::size_t k = 0; k < 3; ++k) c[k] = placeOf_[static_cast<std::size_t>(t[k])];
            double const twiceArea = cross(places_[c[1]] - places_[c[0]], places_[c[2]] - places_[c[0]]).length();
            if (c[0] == c[1] || c[1] == c[2] || c[2] == c[0] || !(twiceArea > 0)) continue;
            for (std::size_t k = 0; k < 3; ++k) {
                std::size_t const i = c[(k + 1) % 3], j = c[(k + 2) % 3];
                double const cotangent = (places_[i] - places_[c[k]]) * (places_[j] - places_[c[k]]) / twiceArea;
                edges_[{std::max(i, j), std::min(i, j)}] += std::clamp(cotangent / 2, -0x1p20, 0x1p20);
                areas_[c[k]] += twiceArea / 6;
            }
        }
        for (auto edge = edges_.begin(); edge != edges_.end();) {
            if (edge->second < 0) ++result_.raisedEdges;
            edge = edge->second < 0x1p-20 ? edges_.erase(edge) : std::next(edge);
        }
    }

    // Repeats the spreading of the smallest number until nothing changes.
    void findPieces()
    {
        for (std::size_t i = 0; i < places_.size(); ++i) piece_.push_back(i);
        for (bool changed = true; changed;) {
            changed = false;
            for (auto const& [edge, conductance] : edges_) {
                std::size_t const least = std::min(piece_[edge.first], piece_[edge.second]);
                changed = changed || piece_[edge.first] != least || piece_[edge.second] != least;
                piece_[edge.first] = piece_[edge.second] = least;
            }
        }
    }

    double conductanceOf(std::size_t i) const
    {
        double sum = 0;
        for (auto const& [edge, conductance] : edges_) {
            if (edge.first == i || edge.second == i) sum += conductance;
        }
        return sum;
    }

    double sizeOf(std::size_t piece) const
    {
        Vector3 low(1e300, 1e300, 1e300), high = low * -1.0;
        for (std::size_t i = 0; i < places_.size(); ++i) {
            if (piece_[i] != piece) continue;
            for (int k = 0; k < 3; ++k) {
                low[k] = std::min(low[k], places_[i][k]);
                high[k] = std::max(high[k], places_[i][k]);
            }
        }
        return dist(low, high);
    }

    void lookAtBones()
    {
        std::vector<bool> isShaded(places_.size()), isLitPiece(places_.size(), false);
        std::vector<double> least(places_.size());
        for (std::size_t i = 0; i < places_.size(); ++i) {
            std::vector<std::size_t> near, visible;
            bool seesAny = false;
            std::vector<double> distances;
            for (auto const& bone : skeleton_) distances.push_back(dist(nearestOnBone(bone, places_[i]), places_[i]));
            least[i] = *std::min_element(distances.begin(), distances.end());
            for (std::size_t b = 0; b < skeleton_.size(); ++b) {
                bool const sees = !isHidden(scene_, places_[i], nearestOnBone(skeleton_[b], places_[i]));
                bool const isNear = distances[b] <= least[i] * (1 + 1e-4);
                seesAny = seesAny || sees;
                if (isNear) near.push_back(b);
                if (isNear && sees) visible.push_back(b);
            }
            isShaded[i] = visible.empty() && seesAny;
            if (!isShaded[i]) isLitPiece[piece_[i]] = true;
            auto const vertices = static_cast<std::size_t>(std::count(placeOf_.begin(), placeOf_.end(), i));
            if (isShaded[i]) result_.shaded += vertices;
            if (!seesAny) result_.sightless += vertices;
            if (conductanceOf(i) == 0) result_.isolated += vertices;
            nearest_.push_back(visible.empty() ? near : visible);
        }
        for (std::size_t i = 0; i < places_.size(); ++i) {
            double const conductance = conductanceOf(i);
            double const d = std::max(least[i], 1e-3 * sizeOf(piece_[i]));
            bool const isHeated = !isShaded[i] || !isLitPiece[piece_[i]];
            heat_.push_back(conductance == 0 ? 1 : std::max(isHeated ? areas_[i] / (d * d) : 0, conductance * 0x1p-34));
            if (piece_[i] != i) continue;
            if (conductance > 0) ++result_.pieces;
            if (!isLitPiece[i]) ++result_.shadedPieces;
        }
    }

    test::HeatScene const& scene_;
    std::vector<sinew::BoneSegment> const& skeleton_;
    std::vector<Vector3> places_;
    std::vector<std::size_t> placeOf_;
    std::vector<double> areas_;
    std::map<std::pair<std::size_t, std::size_t>, double> edges_;
    std::vector<std::size_t> piece_; // the smallest place of the piece
    std::vector<std::vector<std::size_t>> nearest_;
    std::vector<double> heat_;
    Heat result_;
};

inline Heat heatWeights(test::HeatScene const& scene, std::vector<sinew::BoneSegment> const& skeleton)
{
    return HeatBalance(scene, skeleton).solve();
}

} // namespace reference
