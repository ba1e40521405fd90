#pragma once

/// The reference implementation of the nearest point on a polyline, step by step as it is defined. Tests and benches
/// compare the library with it.

#include <algorithm>
#include <cmath>
#include <vector>

#include <sinew/core/vector_geometry.h>
#include <sinew/fields/polyline_projector.h>

#include "fields/reference_queue.h"

namespace reference {

struct EllipseInt
{
    double bound;
    int first;
    int last;
};

class Projector
{
public:
    std::vector<Vector3> points;
    std::vector<double> arcLengths;

    explicit Projector(std::vector<Vector3> vertices) : points(std::move(vertices))
    {
        double length = 0.0;
        for (std::size_t i = 0; i < points.size(); ++i) {
            if (i > 0) length = length + (points[i - 1] - points[i]).length();
            arcLengths.push_back(length);
        }
    }

    sinew::PolylineHit project(Vector3 const& q) const
    {
        int const n = static_cast<int>(points.size());
        if (n < 2) return {};
        if (n < 20 && (std::isnan(q.x) || std::isnan(q.y) || std::isnan(q.z))) return {};
        int const best = n < 20 ? scan(q) : branchAndBound(q);
        if (best < 0) return {};

        Vector3 const A = points[best];
        Vector3 const B = points[best + 1];
        Vector3 const e = B - A;
        double const s = (q - A) * e;
        if (s <= 1e-13) return {best, 0.0, A, (q - A).lengthSq()};
        double const back = (A - B) * (q - B);
        if (back > 1e-13 || std::isnan(back)) {
            double const t = s / (e * e);
            Vector3 const point = A + t * e;
            return {best, t, point, (q - point).lengthSq()};
        }
        return {best, 1.0, B, (q - B).lengthSq()};
    }

    int scan(Vector3 const& q) const
    {
        int best = -1;
        double bestD = 1e13;
        scanRange(q, 0, static_cast<int>(points.size()) - 1, best, bestD);
        return best;
    }

    int branchAndBound(Vector3 const& q) const
    {
        int const n = static_cast<int>(points.size());
        int best = 0;
        double bestD = (points[0] - q).lengthSq();
        if (bestD > (points[n - 1] - q).lengthSq()) {
            best = n - 2;
            bestD = (points[n - 1] - q).lengthSq();
        }
        double const L = arcLengths[n - 1] - arcLengths[0];
        double const c = (points[0] - points[n - 1]).length();
        double const rootBound =
            std::sqrt(distSqToLineSegment(q, points[0], points[n - 1], nullptr)) - std::sqrt(L * L - c * c);
        Queue<EllipseInt> queue;
        queue.push({std::max(0.0, rootBound), 0, n - 1});
        while (!queue.empty()) {
            EllipseInt const top = queue.top();
            queue.pop();
            if (top.bound * top.bound > bestD) continue;
            if (top.last - top.first <= 9) {
                scanRange(q, top.first, top.last, best, bestD);
                continue;
            }
            int const m = (top.first + top.last) / 2;
            double const atM = (points[m] - q).lengthSq();
            if (atM < bestD) {
                best = m;
                bestD = atM;
            }
            queue.push({childBound(q, top.first, m, arcLengths[m] - arcLengths[top.first]), top.first, m});
            queue.push({childBound(q, top.last, m, arcLengths[top.last] - arcLengths[m]), m, top.last});
        }
        return best;
    }

private:
    void scanRange(Vector3 const& q, int first, int last, int& best, double& bestD) const
    {
        for (int k = first; k < last; ++k) {
            double const d = distSqToLineSegment(q, points[k], points[k + 1], nullptr);
            if (bestD > d) {
                best = k;
                bestD = d;
            }
        }
    }

    double childBound(Vector3 const& q, int from, int to, double L) const
    {
        double const c = (points[from] - points[to]).length();
        double const toChord = std::sqrt(distSqToLineSegment(q, points[from], points[to], nullptr));
        return std::max(0.0, toChord - std::sqrt(std::max(0.0, L * L - c * c)));
    }
};

} // namespace reference
