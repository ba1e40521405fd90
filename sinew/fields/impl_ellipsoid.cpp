// K. Pearson, On lines and planes of closest fit to systems of points in space, Philosophical Magazine 2, 1901: the
// principal axes of a set of points are the eigenvectors of its covariance matrix.

#include <sinew/fields/impl_ellipsoid.h>

#include <sinew/core/detail/real_array.h>

#include <cmath>

namespace {

// Smallest variance, a squared length: smaller ones count as this, so that points in a plane or on a line still have an
// ellipsoid of finite shape.
constexpr double kLeastVariance = 1e-6;

// Smallest reciprocal of a variance: smaller ones count as this. Standard deviations beyond 1000
// therefore count as 1000.
constexpr double kLeastReciprocal = 1e-6;

// Smallest value of the quadratic form to which the size is scaled; it has no unit. If the largest
// value is smaller, all points are so near the centre that they do not determine the size.
constexpr double kLeastFarthestForm = 1e-8;

// Value of the quadratic form below which a point counts as the centre, where the gradient has no direction; it has no
// unit. It is a radius of 1e-4.
constexpr double kCentreForm = 1e-8;

// Smallest eigenvalue of a shape in `thicken`: smaller ones count as this. Semi-axes beyond 1000
// therefore count as 1000.
constexpr double kLeastEigenvalue = 1e-6;

// The larger of the two. A NaN value gives the bound.
double atLeast(double bound, double value)
{
    return value > bound ? value : bound;
}

// The sum starts with the first point, which keeps its zeros' signs. NaN for no points.
Vector3 mean(std::vector<Vector3> const& points)
{
    Vector3 sum;
    for (std::size_t i = 0; i < points.size(); ++i) sum = i == 0 ? points[0] : sum + points[i];
    return sum * (1.0 / static_cast<double>(points.size()));
}

// The mean of the outer products of the differences with themselves. NaN for no points.
Matrix3 covariance(std::vector<Vector3> const& points, Vector3 const& centre)
{
    Matrix3 sum;
    sum.zero();
    for (std::size_t i = 0; i < points.size(); ++i) {
        Vector3 const d = points[i] - centre;
        Matrix3 product;
        product.tensor(d, d);
        sum = i == 0 ? product : sum + product;
    }
    return sum * (1.0 / static_cast<double>(points.size()));
}

double quadraticForm(Matrix3 const& shape, Vector3 const& d)
{
    return d * (shape * d);
}

} // namespace

ImplEllipsoid::ImplEllipsoid(std::vector<Vector3> const& points) : ImplEllipsoid(points, mean(points)) {}

ImplEllipsoid::ImplEllipsoid(std::vector<Vector3> const& points, Vector3 const& center)
{
    computeMatrix(points, center);
}

void ImplEllipsoid::computeMatrix(std::vector<Vector3> const& points, Vector3 const& center)
{
    // A copy is assigned, since `center` may be this ellipsoid's own field.
    centre = Vector3(center);
    shape.identity();
    double eigenvalues[3];
    UVector3 eigenvectors[3];
    if (covariance(points, centre).getEigensystem(eigenvalues, eigenvectors) == 3) {
        for (double& value : eigenvalues) value = atLeast(kLeastReciprocal, 1.0 / atLeast(kLeastVariance, value));
        shape = Matrix3::getMatrixFromEigs(eigenvalues, eigenvectors);
    }

    double farthest = 0.0;
    for (Vector3 const& p : points) {
        double const form = quadraticForm(shape, p - centre);
        if (form > farthest) farthest = form;
    }
    if (farthest < kLeastFarthestForm) farthest = kLeastFarthestForm;
    // Nine divisions, since a product with a reciprocal would be rounded twice and move the surface off the farthest
    // point.
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) shape(i, j) /= farthest;
    }
}

bool ImplEllipsoid::evaluate(Vector3 const& p, double* value, Vector3* gradient, Matrix3* hessian) const
{
    Vector3 const d = p - centre;
    Vector3 const a = shape * d;
    double const q = a * d;
    if (value) *value = std::sqrt(q);
    if (gradient) *gradient = q < kCentreForm ? Vector3() : a / q; // NaN where q is NaN
    if (hessian) *hessian = shape;
    return true;
}

ImplEllipsoid* ImplEllipsoid::thicken(double distance) const
{
    ImplEllipsoid* const result = new ImplEllipsoid(*this);
    double eigenvalues[3];
    UVector3 eigenvectors[3];
    if (shape.getEigensystem(eigenvalues, eigenvectors) != 3) return result;
    for (double& value : eigenvalues) {
        double const semiAxis = std::sqrt(1.0 / (value >= kLeastEigenvalue ? value : kLeastEigenvalue));
        double const reciprocal = 1.0 / (semiAxis + distance);
        value = reciprocal * reciprocal;
    }
    result->shape = Matrix3::getMatrixFromEigs(eigenvalues, eigenvectors);
    return result;
}

namespace sinew {

void evaluateMany(ImplEllipsoid const& field, Vector3 const* points, std::size_t count, double* values)
{
    for (std::size_t i = 0; i < count; ++i) field.evaluate(points[i], &values[i], nullptr, nullptr);
}

void gradientMany(ImplEllipsoid const& field, Vector3 const* points, std::size_t count, Vector3* gradients)
{
    for (std::size_t i = 0; i < count; ++i) field.evaluate(points[i], nullptr, &gradients[i], nullptr);
}

void evaluateMany(ImplEllipsoid const& field, RealArray const& points, double* values)
{
    detail::forParts(points, [&](Vector3 const* part, std::size_t first, std::size_t count) {
        evaluateMany(field, part, count, values + first);
    });
}

void gradientMany(ImplEllipsoid const& field, RealArray const& points, Vector3* gradients)
{
    detail::forParts(points, [&](Vector3 const* part, std::size_t first, std::size_t count) {
        gradientMany(field, part, count, gradients + first);
    });
}

} // namespace sinew
