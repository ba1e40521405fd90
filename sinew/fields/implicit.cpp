#include <sinew/fields/implicit.h>

#include <algorithm>
#include <cmath>

#include <sinew/fields/dense_matrix.h>

namespace {

// The system of n centres has four rows more: the weights are orthogonal to 1, x, y and z.
int const kLinearTerms = 4;

double cubeOfDistance(Vector3 const& a, Vector3 const& b)
{
    double const square = distSq(a, b);
    return square * std::sqrt(square);
}

matrix<double> interpolationSystem(std::vector<Vector3> const& centres)
{
    int const n = static_cast<int>(centres.size());
    matrix<double> system(n + kLinearTerms, n + kLinearTerms);
    auto const set = [&system](int i, int j, double value) { system(i, j) = system(j, i) = value; };
    for (int i = 0; i < n; ++i) {
        Vector3 const& x = centres[static_cast<std::size_t>(i)];
        for (int j = 0; j < i; ++j) set(i, j, cubeOfDistance(x, centres[static_cast<std::size_t>(j)]));
        set(n, i, 1.0);
        set(n + 1, i, x.x);
        set(n + 2, i, x.y);
        set(n + 3, i, x.z);
    }
    return system;
}

} // namespace

Implicit::Implicit(std::vector<std::pair<Vector3, double>> const& pointsWithValues)
{
    std::size_t const n = pointsWithValues.size();
    std::vector<double> values;
    for (auto const& [point, value] : pointsWithValues) {
        centres.push_back(point);
        values.push_back(value);
    }
    values.resize(n + kLinearTerms);

    std::vector<double> const solution = !interpolationSystem(centres) * values;
    coefficients.assign(solution.begin(), solution.begin() + static_cast<std::ptrdiff_t>(n));
    constantTerm = solution[n];
    linearTerm = {solution[n + 1], solution[n + 2], solution[n + 3]};
}

double Implicit::evaluate(Vector3 const& p) const
{
    double sum = linearTerm.z * p.z + linearTerm.y * p.y + linearTerm.x * p.x + constantTerm;
    for (std::size_t i = 0; i < std::min(centres.size(), coefficients.size()); ++i) {
        double const square = distSq(p, centres[i]);
        sum += coefficients[i] * square * std::sqrt(square);
    }
    return sum;
}

Vector3 Implicit::getGradient(Vector3 const& p) const
{
    Vector3 sum = linearTerm;
    for (std::size_t i = 0; i < std::min(centres.size(), coefficients.size()); ++i) {
        sum += coefficients[i] * 3.0 * dist(p, centres[i]) * (p - centres[i]);
    }
    return sum;
}

namespace sinew {

void evaluateMany(Implicit const& field, Vector3 const* points, std::size_t count, double* values)
{
    for (std::size_t i = 0; i < count; ++i) values[i] = field.evaluate(points[i]);
}

void gradientMany(Implicit const& field, Vector3 const* points, std::size_t count, Vector3* gradients)
{
    for (std::size_t i = 0; i < count; ++i) gradients[i] = field.getGradient(points[i]);
}

} // namespace sinew
