// `Matrix3::getNullspace`, in a separate source because the algorithm is longer than the other functions of `Matrix3`.

#include <sinew/core/matrix3.h>

#include <algorithm>
#include <cassert>

#include <sinew/core/detail/axes.h>
#include <sinew/core/vector_geometry.h>

using sinew::kDeterminantZero;
using sinew::kGramZero;

namespace {

// The null space of a matrix whose columns are all parallel: the plane perpendicular to the direction of its rows.
int nullspaceOfRankOne(Vector3 const (&columns)[3], UVector3* out)
{
    Vector3 longest = columns[0];
    for (int j = 1; j < 3; ++j) {
        if (columns[j].lengthSq() > longest.lengthSq()) longest = columns[j];
    }
    UVector3 const u(longest);
    UVector3 const rowDirection(Vector3(u * columns[0], u * columns[1], u * columns[2]));
    getBasis(rowDirection, out[0], out[1]);
    return 2;
}

// The null space of a matrix that has two columns which are not parallel. Both are unit vectors in `basis`.
int nullspaceOfRankTwo(Vector3 const (&columns)[3], Vector3 const (&basis)[2], UVector3* out)
{
    // The coordinates of all columns in the basis form a 2x3 matrix with the rows alpha and beta. These span
    // the row space.
    Vector3 alpha;
    Vector3 beta;
    for (int j = 0; j < 3; ++j) {
        Vector3 coordinates;
        columns[j].pullBack(basis, &coordinates);
        alpha[j] = coordinates.x;
        beta[j] = coordinates.y;
    }
    Vector3 const normal = cross(alpha, beta);
    if (!normal.isNull()) {
        out[0] = UVector3(normal);
        return 1;
    }
    // The longer row is not normalised: part of the contract.
    getBasis(alpha.lengthSq() > beta.lengthSq() ? alpha : beta, out[0], out[1]);
    return 2;
}

} // namespace

int Matrix3::getNullspace(UVector3* out, bool force) const
{
    assert(out);
    if (std::fabs(determinant()) > kDeterminantZero && !force) return 0;
    if (isNearZero()) {
        for (int i = 0; i < 3; ++i) out[i] = UVector3(sinew::detail::axisVector(i));
        return 3;
    }
    Vector3 const columns[3] = {column(0), column(1), column(2)};
    double const area01 = cross(columns[0], columns[1]).lengthSq();
    double const area02 = cross(columns[0], columns[2]).lengthSq();
    double const area12 = cross(columns[1], columns[2]).lengthSq();
    if (std::max({area01, area02, area12}) < kGramZero) return nullspaceOfRankOne(columns, out);

    // The pair of columns with the largest cross product, which is the best-conditioned basis. The order within the
    // pair and the preference among equal products decide signs of the result: part of the contract.
    if (area12 >= area01 && area12 >= area02)
        return nullspaceOfRankTwo(columns, {UVector3(columns[2]), UVector3(columns[1])}, out);
    if (area02 >= area01) return nullspaceOfRankTwo(columns, {UVector3(columns[0]), UVector3(columns[2])}, out);
    return nullspaceOfRankTwo(columns, {UVector3(columns[0]), UVector3(columns[1])}, out);
}
