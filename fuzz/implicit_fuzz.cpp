// Dense matrices, implicit functions and ellipsoids, with numbers of every kind. Inverses and implicit functions are
// compared with the reference implementation, and calls for many points with calls for one.

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include <sinew/fields/dense_matrix.h>
#include <sinew/fields/impl_ellipsoid.h>
#include <sinew/fields/implicit.h>

#include "fields/reference_implicit.h"
#include "fuzz/input.h"
#include "support/bits.h"

using fuzz::Input;
using fuzz::require;
using test::sameBits;

namespace {

constexpr int kMostRows = 40;
constexpr int kMostPoints = 24;

// Any numbers, or few numbers repeated along diagonals, which need fewer bytes.
reference::Rows squareOf(Input& input)
{
    std::size_t const n = static_cast<std::size_t>(1 + input.below(kMostRows));
    std::vector<double> repeated;
    for (int k = input.below(24); k > 0; --k) repeated.push_back(input.number());
    reference::Rows rows(n, std::vector<double>(n));
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j < n; ++j) {
            rows[i][j] = repeated.empty() ? input.number() : repeated[(i * i + 3 * j) % repeated.size()];
        }
    }
    return rows;
}

matrix<double> matrixOf(reference::Rows const& rows)
{
    int const n = static_cast<int>(rows.size());
    matrix<double> m(n, n);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) m(i, j) = rows[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)];
    }
    return m;
}

void compareInverse(Input& input)
{
    reference::Rows const rows = squareOf(input);
    matrix<double> m = matrixOf(rows);
    matrix<double> const expected = matrixOf(reference::inverse(rows));
    matrix<double> const inverse = !m;
    require(inverse.rows == m.rows && inverse.columns == m.columns, "size of the inverse");
    require(sameBits(inverse.entries, expected.entries), "inverse as the reference");
    std::vector<double> v;
    for (std::size_t i = 0; i < rows.size(); ++i) v.push_back(input.number());
    require(sameBits(m * v, reference::product(rows, v)), "product as the reference");

    v.push_back(1.0);
    require((m * v).empty(), "a vector of the wrong size");
    m.entries.pop_back();
    require((!m).entries.empty() && (m * v).empty(), "an inconsistent matrix");
    m.rows = input.below(256) - 128;
    m.columns = input.below(256) - 128;
    require(m.isConsistent() || (!m).entries.empty(), "a matrix of changed size");
}

std::vector<Vector3> queriesOf(Input& input, std::vector<Vector3> const& points)
{
    std::vector<Vector3> queries;
    for (int i = 1 + input.below(40); i > 0; --i) queries.push_back(input.pointNear(points));
    return queries;
}

void compareImplicit(Input& input)
{
    std::vector<std::pair<Vector3, double>> samples;
    std::vector<Vector3> points;
    for (int i = input.below(kMostPoints); i > 0; --i) {
        points.push_back(input.pointNear(points));
        samples.push_back({points.back(), input.number()});
    }
    Implicit field(samples);
    if (!samples.empty()) {
        reference::Implicit const expected(samples);
        require(sameBits(field.coefficients, expected.coefficients), "coefficients as the reference");
        require(sameBits(field.constantTerm, expected.constantTerm), "constant term");
        require(sameBits(field.linearTerm, expected.linearTerm), "linear term");
    }
    sinew::ImplicitDiagnosis const diagnosis = sinew::diagnose(samples);
    require(diagnosis.text().empty() == diagnosis.findings.empty(), "a text for findings");
    std::vector<Vector3> const queries = queriesOf(input, points);
    std::vector<double> values(queries.size());
    std::vector<Vector3> gradients(queries.size());
    sinew::evaluateMany(field, queries.data(), queries.size(), values.data());
    sinew::gradientMany(field, queries.data(), queries.size(), gradients.data());
    for (std::size_t i = 0; i < queries.size(); ++i) {
        require(sameBits(field.evaluate(queries[i]), reference::Implicit::evaluate(field, queries[i])), "value");
        require(sameBits(field.getGradient(queries[i]), reference::Implicit::getGradient(field, queries[i])),
                "gradient");
        require(sameBits(values[i], field.evaluate(queries[i])), "many values as single ones");
        require(sameBits(gradients[i], field.getGradient(queries[i])), "many gradients as single ones");
    }
    field.coefficients.resize(static_cast<std::size_t>(input.below(kMostPoints)));
    sinew::evaluateMany(field, queries.data(), queries.size(), values.data());
    for (std::size_t i = 0; i < queries.size(); ++i) {
        require(sameBits(values[i], field.evaluate(queries[i])), "many values of an edited field");
    }
}

void useEllipsoids(Input& input)
{
    std::vector<Vector3> points;
    for (int i = input.below(kMostPoints); i > 0; --i) points.push_back(input.pointNear(points));
    ImplEllipsoid const mean(points);
    ImplEllipsoid const about(points, input.point());
    std::unique_ptr<ImplEllipsoid> const thicker(about.thicken(input.number()));
    std::vector<Vector3> const queries = queriesOf(input, points);
    std::vector<double> values(queries.size());
    std::vector<Vector3> gradients(queries.size());
    for (ImplEllipsoid const* field : {&mean, &about, static_cast<ImplEllipsoid const*>(thicker.get())}) {
        sinew::evaluateMany(*field, queries.data(), queries.size(), values.data());
        sinew::gradientMany(*field, queries.data(), queries.size(), gradients.data());
        for (std::size_t i = 0; i < queries.size(); ++i) {
            double value = 7;
            Vector3 gradient;
            Matrix3 hessian;
            require(field->evaluate(queries[i], &value, &gradient, &hessian), "an ellipsoid always has a value");
            require(sameBits(values[i], value) && sameBits(gradients[i], gradient), "many points as single ones");
            require(sameBits(hessian, field->shape), "the Hessian is the shape");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using Use = void (*)(Input&);
    Use const use[] = {compareInverse, compareImplicit, useEllipsoids};
    Input input(data, size);
    use[input.below(static_cast<int>(std::size(use)))](input);
    return 0;
}
