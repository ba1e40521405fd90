#include <sinew/fields/impl_ellipsoid.h>

#include <cmath>

namespace {

// Variances, and their reciprocals, are held above this: a flat cloud still has an ellipsoid of finite shape.
double const kLeastVariance = 1e-6;

// The least extent, in the form's own units, to which the size of an ellipsoid is scaled.
double const kLeastExtent = 1e-8;

// Below this value of the quadratic form a point counts as the centre, where the gradient has no direction.
double const kCentreForm = 1e-8;

// NaN takes the bound, as do values equal to it.
double atLeast(double bound, double value)
{
    return value > bound ? value : bound;
}

Vector3 mean(std::vector<Vector3> const& points)
{
    Vector3 sum;
    for (std::size_t i = 0; i < points.size(); ++i) sum = i == 0 ? points[0] : sum + points[i];
    return sum * (1.0 / static_cast<double>(points.size()));
}

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
    // A copy: `center` may be this ellipsoid's own field.
    centre = Vector3(center);
    shape.identity();
    double eigenvalues[3];
    UVector3 eigenvectors[3];
    if (covariance(points, centre).getEigensystem(eigenvalues, eigenvectors) == 3) {
        for (double& value : eigenvalues) value = atLeast(kLeastVariance, 1.0 / atLeast(kLeastVariance, value));
        shape = Matrix3::getMatrixFromEigs(eigenvalues, eigenvectors);
    }

    double farthest = 0.0;
    for (Vector3 const& p : points) {
        double const form = quadraticForm(shape, p - centre);
        if (form > farthest) farthest = form;
    }
    if (farthest < kLeastExtent) farthest = kLeastExtent;
    // Nine divisions: multiplying by a reciprocal would round twice and leave the farthest point off the surface.
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
    if (gradient) *gradient = q < kCentreForm ? Vector3() : a / q; // a NaN is passed on, not hidden as zero
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
        double const semiAxis = std::sqrt(1.0 / (value >= kLeastVariance ? value : kLeastVariance));
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

} // namespace sinew
