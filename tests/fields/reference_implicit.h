#pragma once

/// Reference implementations of the dense inverse and of implicit functions: each step of the definition is one
/// statement.

#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include <sinew/core/matrix3.h>
#include <sinew/core/vector3.h>

namespace reference {

using Rows = std::vector<std::vector<double>>;

/// Gauss-Jordan elimination of a square matrix beside an identity; the partly reduced matrix if a pivot is zero.
inline Rows inverse(Rows a)
{
    std::size_t const n = a.size();
    Rows b(n, std::vector<double>(n, 0.0));
    for (std::size_t i = 0; i < n; ++i) b[i][i] = 1.0;
    for (std::size_t c = 0; c < n; ++c) {
        std::size_t pivot = c;
        for (std::size_t r = c + 1; r < n; ++r) {
            if (std::fabs(a[r][c]) > std::fabs(a[pivot][c])) pivot = r;
        }
        if (a[pivot][c] == 0.0) return a;
        std::swap(a[pivot], a[c]);
        std::swap(b[pivot], b[c]);
        double const factor = 1.0 / a[c][c];
        if (factor != 1.0) {
            for (std::size_t j = 0; j < n; ++j) a[c][j] *= factor;
            for (std::size_t j = 0; j < n; ++j) b[c][j] *= factor;
        }
        for (std::size_t r = 0; r < n; ++r) {
            if (r == c) continue;
            double const f = -a[r][c];
            if (f == 0.0) continue;
            for (std::size_t j = 0; j < n; ++j) a[r][j] += f * a[c][j];
            for (std::size_t j = 0; j < n; ++j) b[r][j] += f * b[c][j];
        }
    }
    return b;
}

inline std::vector<double> product(Rows const& a, std::vector<double> const& v)
{
    std::vector<double> result;
    for (std::vector<double> const& row : a) {
        double sum = row[0] * v[0];
        for (std::size_t j = 1; j < v.size(); ++j) sum += row[j] * v[j];
        result.push_back(sum);
    }
    return result;
}

struct Implicit
{
    std::vector<Vector3> centres;
    std::vector<double> coefficients;
    double constantTerm = 0.0;
    Vector3 linearTerm;

    explicit Implicit(std::vector<std::pair<Vector3, double>> const& input)
    {
        std::size_t const n = input.size();
        Rows a(n + 4, std::vector<double>(n + 4, 0.0));
        std::vector<double> b(n + 4, 0.0);
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t j = 0; j < i; ++j) {
                double const square = distSq(input[i].first, input[j].first);
                a[i][j] = square * std::sqrt(square);
            }
            a[n][i] = 1.0;
            a[n + 1][i] = input[i].first.x;
            a[n + 2][i] = input[i].first.y;
            a[n + 3][i] = input[i].first.z;
            b[i] = input[i].second;
            centres.push_back(input[i].first);
        }
        for (std::size_t i = 0; i < n + 4; ++i) {
            for (std::size_t j = 0; j < i; ++j) a[j][i] = a[i][j];
        }
        std::vector<double> const s = product(inverse(a), b);
        coefficients.assign(s.begin(), s.begin() + static_cast<std::ptrdiff_t>(n));
        constantTerm = s[n];
        linearTerm = Vector3(s[n + 1], s[n + 2], s[n + 3]);
    }

    double evaluate(Vector3 const& p) const { return reference::Implicit::evaluate(*this, p); }
    Vector3 getGradient(Vector3 const& p) const { return reference::Implicit::getGradient(*this, p); }

    /// For any type with the fields of an implicit function.
    template <typename Field>
    static double evaluate(Field const& field, Vector3 const& p)
    {
        double sum =
            field.linearTerm.z * p.z + field.linearTerm.y * p.y + field.linearTerm.x * p.x + field.constantTerm;
        for (std::size_t i = 0; i < field.centres.size(); ++i) {
            double const square = distSq(p, field.centres[i]);
            sum += field.coefficients[i] * square * std::sqrt(square);
        }
        return sum;
    }
    template <typename Field>
    static Vector3 getGradient(Field const& field, Vector3 const& p)
    {
        Vector3 sum = field.linearTerm;
        for (std::size_t i = 0; i < field.centres.size(); ++i) {
            Vector3 const d = p - field.centres[i];
            sum = sum + field.coefficients[i] * 3.0 * d.length() * d;
        }
        return sum;
    }
};

} // namespace reference
