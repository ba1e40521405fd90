// The fit. Sources: J. Duchon, Splines minimizing rotation-invariant semi-norms in Sobolev spaces, 1977, for the
// function; J. C. Carr et al., Reconstruction and representation of 3D objects with radial basis functions, SIGGRAPH
// 2001, for its system and for surfaces. The literature of the elimination is in detail/gauss_jordan.cpp.

#include <sinew/fields/implicit.h>

#include <algorithm>
#include <utility>

#include <sinew/core/detail/progress_meter.h>
#include <sinew/fields/dense_matrix.h>
#include <sinew/fields/detail/gauss_jordan.h>
#include <sinew/fields/detail/implicit_system.h>

using namespace sinew::detail;

namespace {

// The fractions at which the phases of a fit end. The elimination takes nearly all of the time.
constexpr double kFilled = 0.02;
constexpr double kInverted = 0.98;

// The inverse times `values`, each sum over the columns in ascending order. Four rows are summed side by side, since
// each addition to the sum of one row must wait for the one before it.
std::vector<double> product(GaussJordan const& inverse, std::vector<double> const& values, ProgressMeter* meter)
{
    constexpr std::size_t kRows = 4;
    std::size_t const n = values.size();
    std::vector<double> rows(kRows * n);
    std::vector<double> result(n);
    for (std::size_t i = 0; i < n; i += kRows) {
        if (meter) meter->reached(fractionOf(i, n));
        // Where the number of rows is not a multiple of four, the last row is summed again, with the same result.
        std::size_t index[kRows];
        double sums[kRows];
        for (std::size_t k = 0; k < kRows; ++k) {
            index[k] = std::min(i + k, n - 1);
            inverse.copyRow(static_cast<int>(index[k]), &rows[k * n]);
            sums[k] = rows[k * n] * values[0];
        }
        for (std::size_t j = 1; j < n; ++j) {
            for (std::size_t k = 0; k < kRows; ++k) sums[k] += rows[k * n + j] * values[j];
        }
        for (std::size_t k = 0; k < kRows; ++k) result[index[k]] = sums[k];
    }
    return result;
}

std::vector<double> solve(std::vector<Vector3> const& centres, std::vector<double> const& rightSide,
                          ProgressMeter* meter)
{
    int const size = static_cast<int>(rightSide.size());
    {
        GaussJordan system(size);
        beginPhase(meter, 0.0, kFilled);
        fillImplicitSystem(centres, system, meter);
        beginPhase(meter, kFilled, kInverted);
        GaussJordan::Outcome const outcome = system.invert(widestVectors(), meter);
        if (outcome == GaussJordan::Outcome::inverted) {
            beginPhase(meter, kInverted, 1.0);
            return product(system, rightSide, meter);
        }
    }
    // The system is singular or not finite. The result is then defined by the partly reduced matrix that the
    // elimination of dense_matrix.h leaves. The braces above release the memory of the first attempt.
    if (meter) meter->beginPhase(meter->reported(), 1.0);
    matrix<double> system(size, size);
    fillImplicitSystem(centres, system);
    auto const tellColumn = [&](int column) {
        if (meter) meter->reached(fractionOf(column, size));
    };
    return inverseByElimination(std::move(system), tellColumn) * rightSide;
}

void fit(Implicit& field, std::vector<std::pair<Vector3, double>> const& pointsWithValues, ProgressMeter* meter)
{
    std::size_t const n = pointsWithValues.size();
    field.centres.reserve(n);
    std::vector<double> rightSide;
    rightSide.reserve(n + kLinearTerms);
    for (auto const& [point, value] : pointsWithValues) {
        field.centres.push_back(point);
        rightSide.push_back(value);
    }
    rightSide.resize(n + kLinearTerms, 0.0);

    std::vector<double> const solution = solve(field.centres, rightSide, meter);
    field.coefficients.assign(solution.begin(), solution.begin() + static_cast<std::ptrdiff_t>(n));
    field.constantTerm = solution[n];
    field.linearTerm = {solution[n + 1], solution[n + 2], solution[n + 3]};
}

} // namespace

Implicit::Implicit(std::vector<std::pair<Vector3, double>> const& pointsWithValues)
{
    fit(*this, pointsWithValues, nullptr);
}

namespace sinew {

std::optional<Implicit> makeImplicit(std::vector<std::pair<Vector3, double>> const& pointsWithValues,
                                     Progress const& progress)
{
    return withProgress(progress, [&](ProgressMeter& meter) {
        Implicit field({}); // without points
        fit(field, pointsWithValues, &meter);
        meter.finish();
        return field;
    });
}

} // namespace sinew
