#pragma once

/// The reference implementation of mesh functions: the definition step by step, with a hash of ordered maps for the
/// boundary and only the 20 x 20 grid for the queries. Tests and benches compare the library with it bit for bit.

#include <algorithm>
#include <cmath>
#include <map>
#include <unordered_map>
#include <vector>

#include <sinew/fields/polyline_projector.h>
#include <sinew/framework/vect2.h>

namespace reference {

using Point = tzNM::vect2<double>;

struct MeshFunction2D
{
    std::vector<Point> params;
    std::vector<Point> values;
    std::vector<float> normaldots;
    std::vector<int> facets;
    std::vector<std::vector<int>> gridCells;
    Point domainMin, domainMax;
    double gridScale[2] = {-1, -1};
    int gridSize[2] = {0, 0};
    bool extrapolateFlag = true;
    std::vector<PolylineProjector> boundaryProjectors;
    std::vector<std::vector<int>> boundaryFacets;

    MeshFunction2D(std::vector<Point> const& params_, std::vector<Point> const& values_,
                   std::vector<int> const& facets_, std::vector<float> const& normaldots_, bool extrapolate = true)
        : params(params_), values(values_), normaldots(normaldots_), facets(facets_), extrapolateFlag(extrapolate)
    {
        build();
    }

    bool exists(int t) const
    {
        int const n = static_cast<int>(std::min(params.size(), values.size()));
        return std::all_of(&facets[3 * t], &facets[3 * t] + 3, [&](int i) { return i >= 0 && i < n; });
    }

    int cellOf(double c, int k) const
    {
        double const s = (c - domainMin[k]) * gridScale[k];
        if (std::isnan(s)) return 0;
        if (s > gridSize[k] - 1e-8) return gridSize[k] - 1;
        if (s < 1e-8) return 0;
        return static_cast<int>(std::floor(s));
    }

    void build()
    {
        gridSize[0] = gridSize[1] = 0;
        gridScale[0] = gridScale[1] = -1;
        gridCells.clear();
        if (params.empty()) return;
        domainMin = domainMax = params[0];
        for (Point const& p : params) {
            for (int k = 0; k < 2; ++k) {
                if (domainMin[k] > p[k]) {
                    domainMin[k] = p[k];
                } else if (p[k] > domainMax[k]) {
                    domainMax[k] = p[k];
                }
            }
        }
        Point const d = domainMax - domainMin;
        if (d.x * d.x + d.y * d.y < 1.0000000000000001e-16) return;
        domainMin -= 0.01 * d;
        domainMax += 0.01 * d;
        gridSize[0] = gridSize[1] = 20;
        gridCells.resize(400);
        for (int k = 0; k < 2; ++k) gridScale[k] = gridSize[k] / (domainMax[k] - domainMin[k]);
        for (int t = 0; t < static_cast<int>(facets.size() / 3); ++t) listTriangle(t);
        if (extrapolateFlag) buildBoundaries();
    }

    void listTriangle(int t)
    {
        if (!exists(t)) return;
        int low[2] = {20, 20}, high[2] = {-1, -1};
        for (int corner = 0; corner < 3; ++corner) {
            for (int k = 0; k < 2; ++k) {
                int const cell = cellOf(params[facets[3 * t + corner]][k], k);
                low[k] = std::min(low[k], cell);
                high[k] = std::max(high[k], cell);
            }
        }
        for (int cx = low[0]; cx <= high[0]; ++cx) {
            for (int cy = low[1]; cy <= high[1]; ++cy) gridCells[cx * gridSize[1] + cy].push_back(t);
        }
    }

    using EdgeTable = std::unordered_map<int, std::map<int, int>>;

    EdgeTable boundaryEdges() const
    {
        EdgeTable table;
        for (int i = 0; i < static_cast<int>(facets.size()); ++i) {
            if (!exists(i / 3)) continue;
            int const a = facets[i];
            int const b = facets[i % 3 == 2 ? i - 2 : i + 1];
            auto const reverse = table.find(b);
            if (reverse != table.end() && reverse->second.erase(a)) {
                if (reverse->second.empty()) table.erase(reverse);
            } else {
                table[a][b] = i / 3;
            }
        }
        return table;
    }

    void buildBoundaries()
    {
        boundaryProjectors.clear();
        boundaryFacets.clear();
        if (facets.size() < 3 || facets.size() % 3 != 0) return;
        EdgeTable table = boundaryEdges();
        std::vector<int> starts;
        for (auto const& entry : table) starts.push_back(entry.first);
        std::sort(starts.begin(), starts.end());
        for (int start : starts) {
            while (table.count(start)) {
                int vertex = start;
                std::vector<Vector3> points = {at(vertex)};
                std::vector<int> triangles;
                for (auto found = table.find(vertex); found != table.end(); found = table.find(vertex)) {
                    auto const edge = found->second.begin();
                    vertex = edge->first;
                    points.push_back(at(vertex));
                    triangles.push_back(edge->second);
                    found->second.erase(edge);
                    if (found->second.empty()) table.erase(found);
                }
                boundaryProjectors.emplace_back(points);
                boundaryFacets.push_back(triangles);
            }
        }
    }

    Vector3 at(int vertex) const { return {params[vertex].x, params[vertex].y, 0}; }

    bool evalInFacet(int t, Point const& p, Point* out, float* outScalar, bool checkInside) const
    {
        int const i0 = facets[3 * t], i1 = facets[3 * t + 1], i2 = facets[3 * t + 2];
        Point const e1 = params[i1] - params[i0];
        Point const e2 = params[i2] - params[i0];
        double const det = e1.x * e2.y - e2.x * e1.y;
        if (std::fabs(det) < 1.0000000000000001e-16) return false;
        double const inverse[2][2] = {{(1 / det) * e2.y, (1 / det) * -e2.x}, {(1 / det) * -e1.y, (1 / det) * e1.x}};
        Point const d = p - params[i0];
        double const u = inverse[0][0] * d.x + inverse[0][1] * d.y;
        double const v = inverse[1][0] * d.x + inverse[1][1] * d.y;
        double const w = 1 - u - v;
        if (checkInside && (u < -1e-8 || v < -1e-8 || w < -1e-8)) return false;
        if (out) *out = u * values[i1] + v * values[i2] + w * values[i0];
        if (outScalar) {
            *outScalar = -1;
            if (normaldots.size() >= values.size()) {
                float s = static_cast<float>(normaldots[i1] * u);
                s = static_cast<float>(s + normaldots[i2] * v);
                *outScalar = static_cast<float>(s + normaldots[i0] * w);
            }
        }
        return true;
    }

    bool evaluate(Point const& p, Point* out, float* outScalar) const
    {
        if (gridSize[0] < 1 || gridSize[1] < 1) return false;
        int cell[2];
        for (int k = 0; k < 2; ++k) {
            double const s = (p[k] - domainMin[k]) * gridScale[k];
            if (s < -1e-8 || s > gridSize[k] + 1e-8) return false;
            cell[k] = cellOf(p[k], k);
        }
        for (int t : gridCells[cell[0] * gridSize[1] + cell[1]]) {
            if (evalInFacet(t, p, out, outScalar, true)) return true;
        }
        return false;
    }

    bool extrapolate(Point const& p, Point* out, float* outScalar) const
    {
        if (!extrapolateFlag) return extrapolateOld(p, out, outScalar);
        if (gridSize[0] < 1 || gridSize[1] < 1) return false;
        if (evaluate(p, out, outScalar)) return true;
        Vector3 const q(p.x, p.y, 0);
        double best = 1e13;
        int facet = -1;
        for (std::size_t k = 0; k < boundaryProjectors.size(); ++k) {
            PolylineProjector projector = boundaryProjectors[k];
            projector.segment = -1;
            projector.project(q);
            if (projector.segment < 0) continue;
            double const d2 = (q - projector.point).lengthSq();
            if (d2 < best) {
                facet = boundaryFacets[k][projector.segment];
                best = d2;
            }
        }
        return facet >= 0 && evalInFacet(facet, p, out, outScalar, false);
    }

    double distToEdge(int i, int j, Point const& p, bool* onSegment) const
    {
        Point const a = params[i], b = params[j];
        double const l2 = (b - a).lengthSq(), d2 = (p - a).lengthSq();
        *onSegment = false;
        if (l2 < 1.0000000000000001e-16) return d2;
        double const t = (b - a) * (p - a);
        if (t < -l2 * 1e-8) return d2;
        if (t > l2 * 1.00000001) return (p - b).lengthSq();
        *onSegment = true;
        return d2 - t * t / l2;
    }

    bool extrapolateOld(Point const& p, Point* out, float* outScalar) const
    {
        if (gridSize[0] < 1 || gridSize[1] < 1) return false;
        int cell[2] = {cellOf(p.x, 0), cellOf(p.y, 1)};
        auto const list = [&]() -> std::vector<int> const& { return gridCells[cell[0] * gridSize[1] + cell[1]]; };
        if (list().empty()) {
            double pos[2] = {double(cell[0]), double(cell[1])};
            double dir[2] = {gridSize[0] * 0.5 - cell[0], gridSize[1] * 0.5 - cell[1]};
            double const m = std::max(std::fabs(dir[0]), std::fabs(dir[1]));
            if (m < 1e-8) return false;
            for (double& d : dir) d = d / m;
            while (list().empty()) {
                for (int k = 0; k < 2; ++k) {
                    pos[k] = pos[k] + dir[k];
                    cell[k] = static_cast<int>(std::floor(pos[k]));
                }
                if (cell[0] < 0 || cell[0] >= gridSize[0] || cell[1] < 0 || cell[1] >= gridSize[1]) return false;
            }
        }
        double best = -1;
        int chosen = -1;
        for (int t : list()) {
            for (int k = 0; k < 3; ++k) {
                bool onSegment;
                double const d = distToEdge(facets[3 * t + k], facets[3 * t + (k + 1) % 3], p, &onSegment);
                if (best < 0 || d < best - 1e-8 || (onSegment && d < best + 1e-8)) {
                    best = d;
                    chosen = t;
                }
            }
        }
        return chosen >= 0 && evalInFacet(chosen, p, out, outScalar, false);
    }
};

} // namespace reference
