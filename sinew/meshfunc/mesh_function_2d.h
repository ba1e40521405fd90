#pragma once

/// A piecewise-linear function on a triangulated part of the plane. It gives each point a 2D value and, optionally, a
/// scalar. A typical use is texture mapping: the function gives the texture coordinates of a point of the domain.
///
///     MeshFunction2D const function(params, values, facets, {});
///     tzNM::vect2<double> value;
///     if (function.extrapolate({0.3, 0.7}, &value, nullptr)) use(value);

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sinew/core/progress.h>
#include <sinew/core/strided.h>
#include <sinew/export.h>
#include <sinew/fields/polyline_projector.h>
#include <sinew/framework/serializable.h>
#include <sinew/framework/vect2.h>

class EmptyRectTester;
class TextureOptimizer;

namespace sinew::detail {
class LoopBoxes;
class TriangleLocator;
struct MeshFunctionAccess;
} // namespace sinew::detail

/// A piecewise-linear function of two variables: its vertices and triangles, and structures derived from them.
///
/// Inside a triangle the value is the barycentric interpolation of the corners' values. Outside all triangles,
/// `extrapolate` applies the affine map of the nearest boundary triangle.
///
/// **Rebuild.** Grid and boundaries are derived from `params` and `facets` and are not updated automatically. After a
/// change of `params`, `facets` or the number of `values`, call `initEvaluatorHelper` before the next query. Until then
/// results are meaningless, but no query reads out of bounds. New entries of `values` and `normaldots` take effect
/// immediately.
///
/// **Threads.** Queries are const and do not change the members: any number of threads may query one object at the same
/// time. Modification and rebuilding require exclusive access.
///
/// **Invalid input.** A triangle that names a vertex outside `params` or `values` is ignored: it lies in no cell and on
/// no boundary, and no query finds it. Queries ignore the entries of `facets` after the last whole triangle. NaN
/// coordinates fall into cell 0. Only `std::bad_alloc` is thrown.
///
/// **Memory.** 32 bytes a vertex (36 with a scalar), 12 a triangle, 4 to 8 for each entry of `gridCells`, and the finer
/// grids: up to 108 bytes a triangle and a megabyte, in a large mesh only for the cells that were queried. A boundary
/// takes about 40 bytes an edge, and 80 once it was queried; short loops take up to 120.
///
/// **Copies** are deep: two objects never share a projector. A moved-from object may be assigned to, rebuilt or
/// destroyed; its queries return false.
///
/// @code
/// // The unit square as two triangles; the function doubles it.
/// using Points = std::vector<tzNM::vect2<double>>;
/// Points const square = {{0, 0}, {1, 0}, {1, 1}, {0, 1}}, doubled = {{0, 0}, {2, 0}, {2, 2}, {0, 2}};
/// MeshFunction2D const function(square, doubled, {0, 1, 2, 0, 2, 3}, {});
/// tzNM::vect2<double> value;
/// if (function.evaluate({0.25, 0.5}, &value, nullptr)) std::printf("(%g, %g)\n", value.x, value.y);  // (0.5, 1)
/// if (function.extrapolate({2, 0.5}, &value, nullptr)) std::printf("(%g, %g)\n", value.x, value.y); // (4, 1)
/// @endcode
class SINEW_API MeshFunction2D : public Serializable
{
public:
    /// Domain position of every vertex.
    std::vector<tzNM::vect2<double>> params;
    /// 2D value of every vertex; as many as `params`.
    std::vector<tzNM::vect2<double>> values;
    /// Optional scalar of every vertex. Used only if there are at least as many as `values`.
    std::vector<float> normaldots;
    /// Triangles, three vertex indices each: triangle t is entries 3t, 3t + 1, 3t + 2.
    std::vector<int> facets;
    /// Derived: for each grid cell the triangles that may touch it, ascending. Cell (cx, cy) is at cx * gridSize[1] +
    /// cy.
    std::vector<std::vector<int>> gridCells;
    /// Derived: lower and upper corner of the grid. This is the axis-aligned box of `params`, widened on each side by a
    /// hundredth of its extent.
    tzNM::vect2<double> domainMin;
    tzNM::vect2<double> domainMax;
    /// Derived: cells per unit length along x and y; -1 while there is no grid.
    double gridScale[2];
    /// Derived: number of cells along x and y. Both are 20, or 0 while there is no grid.
    int gridSize[2];
    /// Whether `extrapolate` uses the nearest boundary loop (true) or `extrapolateOld` (false). Boundaries are built
    /// only while this is set, so a change to true requires a rebuild.
    bool extrapolateFlag;
    /// Derived: one polyline for each boundary loop, with z = 0 and the first point repeated at the end.
    std::vector<std::unique_ptr<PolylineProjector>> boundaryProjectors;
    /// Derived: for each loop, the triangle of each of its segments.
    std::vector<std::vector<int>> boundaryFacets;
    /// The packed text while the object is being saved or loaded; empty otherwise.
    std::string saveString;

    /// An empty function: all queries return false.
    explicit MeshFunction2D(bool extrapolateFlag_);

    /// The function with these vertices and triangles, ready for queries, with `extrapolateFlag` set.
    ///
    /// @param params_      domain positions, in any unit. The grid adapts to their axis-aligned box, but the thresholds
    ///                     are absolute and suit domains of the order of one.
    /// @param values_      one for each position.
    /// @param facets_      three indices for each triangle, in either orientation. An edge between two triangles is no
    ///                     boundary if both have the same orientation.
    /// @param normaldots_  one for each position, or empty for a function without a scalar.
    ///
    /// Cost: linear in triangles and in the grid cells that they touch. Strong guarantee.
    MeshFunction2D(std::vector<tzNM::vect2<double>> const& params_, std::vector<tzNM::vect2<double>> const& values_,
                   std::vector<int> const& facets_, std::vector<float> const& normaldots_);

    /// Writes the function as tagged text. The vectors are packed into the field "saveString": 16 characters for a
    /// vertex, 4 for a scalar, 3 for an index. docs/meshfunc.md describes the format.
    ///
    /// The text is made for texture coordinates. Coordinates and scalars in [-2, 14) are rounded to a step of 2^-20.
    /// Numbers outside this range wrap around, and so do counts and indices above 262143. A NaN becomes -2. A vertex
    /// without an entry in `values` is written with the value (0, 0). If writing throws, also because an allocation
    /// fails, the vectors are unchanged and `saveString` may keep packed text, which the next call replaces.
    /// `sinew::saveExact` writes a text without these losses.
    void save(OutTag& tag) override;

    /// Reads a function from tagged text and rebuilds grid and boundaries. If "saveString" is empty, the vectors are
    /// read from fields with their own names, which is the older form of the document. Members whose fields are absent
    /// do not change.
    ///
    /// Throws `Serializable::LoadFail` on bad data. For a bad "saveString" the message begins with "Error loading
    /// MeshFunction2D: ". Basic guarantee: the function is then partly filled. Discard it, or load once more, unless it
    /// is packed text that is bad.
    void load(InTag& tag, smart_ptr<Field> field) override;

    /// The fields "params", "values", "normaldots", "facets", "extrapolateFlag" and "saveString".
    smart_ptr<Field> describeFields(std::string const& name) override;

    /// Copies and assignments have the strong guarantee; moves never throw.
    MeshFunction2D(MeshFunction2D const& other);
    MeshFunction2D(MeshFunction2D&& other) noexcept;
    MeshFunction2D& operator=(MeshFunction2D const& other);
    MeshFunction2D& operator=(MeshFunction2D&& other) noexcept;
    ~MeshFunction2D() override;

    /// A deep copy on the heap, with the same `extrapolateFlag`. The caller owns it. Strong guarantee.
    MeshFunction2D* copy() const;

    /// The value at a point inside a triangle.
    ///
    /// @param p          the point, in the frame of `params`.
    /// @param out        receives the value; may be null.
    /// @param outScalar  receives the scalar, or -1 if `normaldots` is shorter than `values`; may be null.
    /// @return whether a triangle accepts p, among those that the grid cell of p lists. A triangle accepts p if no
    ///         barycentric weight is below -1e-8. If false, the outputs are left unwritten.
    ///
    /// Ties: of several triangles that accept p, the one with the smallest index is used. A triangle whose determinant
    /// has a magnitude below 1.0000000000000001e-16 accepts no point. A point with a NaN coordinate is looked up in
    /// cell 0 along that axis. There the first triangle that is not degenerate accepts it and gives NaN.
    ///
    /// Cost: constant in most meshes. Nothing is allocated, except in a mesh of more than 65536 triangles or entries of
    /// `gridCells`: there the first query in each grid cell builds the search structure of that cell. Never throws:
    /// without memory for the structure, the query searches the list of `gridCells`.
    bool evaluate(tzNM::vect2<double> const& p, tzNM::vect2<double>* out, float* outScalar) const;

    /// The value at any point: that of `evaluate` if a triangle accepts `p`, otherwise the affine map of the nearest
    /// boundary triangle. Arguments as for `evaluate`.
    ///
    /// Ties: of equally near boundary loops the one with the smaller index is used. False, with the outputs left
    /// unwritten, if there is no grid or no boundary, if the squared distance to every boundary is 1e13 or more, if p
    /// has a NaN coordinate and no triangle accepts it, or if the nearest triangle is degenerate. If `extrapolateFlag`
    /// is not set, this is `extrapolateOld`. `sinew::extrapolateAnywhere` has a result there, too.
    ///
    /// The first query that comes near a loop of 20 vertices or more builds its index. Strong guarantee: without memory
    /// for the index std::bad_alloc is thrown, the outputs are left unwritten, and a later query tries again.
    bool extrapolate(tzNM::vect2<double> const& p, tzNM::vect2<double>* out, float* outScalar) const;

    /// The value by the older extrapolation: the affine map of the triangle with the nearest edge, among the triangles
    /// of one grid cell. That cell is the cell of p. If it lists no triangle, it is the first cell that lists one along
    /// the straight line to the middle of the grid and beyond. Arguments as for `evaluate`.
    ///
    /// A point inside a triangle is treated like any other. Ties: among edges whose squared distances differ by less
    /// than 1e-8, a later edge is preferred if the projection of p on its line lies on the edge. False, with the
    /// outputs left unwritten, if the line leaves the grid before it meets such a cell, if p lies in cell (10, 10) and
    /// that cell is empty, or if the chosen triangle is degenerate.
    bool extrapolateOld(tzNM::vect2<double> const& p, tzNM::vect2<double>* out, float* outScalar) const;

    /// The affine map of one triangle, given by its vertex indices, at `p`.
    ///
    /// @param checkInside  whether to return false for a point with a barycentric weight below -1e-8. If not set, the
    ///                     map is applied to any point.
    ///
    /// False, with the outputs left unwritten, if the determinant's magnitude is below 1.0000000000000001e-16, or if an
    /// index is outside `params` or `values`. A NaN determinant is not below the threshold and gives NaN.
    bool iEvalInFacet(int i0, int i1, int i2, tzNM::vect2<double> const& p, tzNM::vect2<double>* out, float* outScalar,
                      bool checkInside) const;

    /// Squared distance from `p` to the segment between two vertices.
    ///
    /// @param onSegment  receives whether the projection of p on the line lies on the segment. For this test the
    ///                   segment is extended at both ends by 1e-8 of its length. False if the squared length of the
    ///                   segment is below 1.0000000000000001e-16; the distance is then that to vertex i. May be null.
    /// @param useValues  whether to measure between the vertices' `values` instead of their `params`.
    ///
    /// NaN if an index is outside `params` or `values`. Rounding can make the result slightly negative.
    double iDistToEdge(int i, int j, tzNM::vect2<double> const& p, bool* onSegment, bool useValues) const;

    /// A point of the domain: the centroid of the first triangle. False, with `out` left unwritten, if there is no
    /// triangle.
    bool getAnyPointInDomain(tzNM::vect2<double>& out) const;

    /// Rebuilds the grid, and the boundaries if `extrapolateFlag` is set, from `params` and `facets`.
    ///
    /// There is neither a grid nor a boundary if `params` is empty or if the squared diagonal of its axis-aligned box
    /// is below 1.0000000000000001e-16. If all points have the same x, they fall into the first column of cells; the
    /// same holds for y and rows.
    ///
    /// Basic guarantee: if an allocation fails, grid and boundaries are incomplete. Queries are then safe but may find
    /// nothing; call it again.
    void initEvaluatorHelper();

    /// Rebuilds `boundaryProjectors` and `boundaryFacets` from the edges that belong to one triangle only.
    ///
    /// An edge is interior if a later triangle has it in the opposite direction. An edge that two triangles have in the
    /// same direction is one boundary edge, of the later triangle. Each loop starts at the smallest vertex that has an
    /// unused edge, and leaves every vertex towards the smallest target. There is no loop if the length of `facets` is
    /// not a multiple of 3. Basic guarantee: if an allocation fails, loops are missing; call it again.
    void initBoundaries();

    /// Removes every triangle that covers no used texel, then the vertices that no triangle uses any more, and
    /// rebuilds. The `values` must be normalised texture coordinates. A triangle is tested by the axis-aligned box of
    /// its corners' values.
    ///
    /// The last triangle takes the place of a removed one, so the order of triangles changes. The vertices keep their
    /// order. Triangles that name a missing vertex are removed, too. `normaldots` is compacted only if it is exactly as
    /// long as `params`. If the length of `facets` is not a multiple of 3, nothing is changed.
    ///
    /// Basic guarantee: if an allocation fails, triangles may have been removed already, and a rebuild is needed. The
    /// call repeated gives the same function as without a failure.
    void eraseExtraTriangles(EmptyRectTester const& tester);

    /// Replaces every entry of `values` by the coordinates that the optimizer maps it to. No rebuild is needed. Never
    /// throws.
    void remapToOptimized(TextureOptimizer const& optimizer);

private:
    friend struct sinew::detail::MeshFunctionAccess;

    std::unique_ptr<sinew::detail::TriangleLocator> locator_; // finds triangles faster than the lists of `gridCells`
    std::unique_ptr<sinew::detail::LoopBoxes> loopBoxes_;     // finds the loops that can be nearest
};

namespace sinew {

/// `function.evaluate` for `count` points, with the same bits.
///
/// @param points   `count` points; may be null when `count` is 0.
/// @param values   receives at index i the value of points[i], if it has one; may be null.
/// @param scalars  receives at index i the scalar of points[i], if it has a value; may be null.
/// @param found    receives at index i whether points[i] has a value; may be null.
/// @return the number of points with a value.
///
/// `values` and `scalars` are left unwritten at the indices of points without a value. The arrays must not overlap.
///
/// Many scattered points of a large mesh are looked up in the order of their places, which takes half of the time or
/// less. Sorting them takes up to 16 bytes a point and 16 MB in all; without this memory they are looked up from first
/// to last.
SINEW_API std::size_t evaluateMany(MeshFunction2D const& function, tzNM::vect2<double> const* points, std::size_t count,
                                   tzNM::vect2<double>* values, float* scalars, bool* found);

/// `function.extrapolate` for `count` points, with the same bits. Arguments and result as for `evaluateMany`. If
/// std::bad_alloc is thrown, any of the outputs may have been written.
SINEW_API std::size_t extrapolateMany(MeshFunction2D const& function, tzNM::vect2<double> const* points,
                                      std::size_t count, tzNM::vect2<double>* values, float* scalars, bool* found);

/// The same for points in an array of the host, with two coordinates an element; those of a vector of numbers are
/// `packed(numbers, 2)`.
SINEW_API std::size_t evaluateMany(MeshFunction2D const& function, RealArray const& points, tzNM::vect2<double>* values,
                                   float* scalars, bool* found);
SINEW_API std::size_t extrapolateMany(MeshFunction2D const& function, RealArray const& points,
                                      tzNM::vect2<double>* values, float* scalars, bool* found);

/// All four with progress. See `Progress`: the value is empty if the host has cancelled. The results are computed in
/// memory of their own, 21 bytes a point for all outputs, and copied at the end. Strong guarantee.
SINEW_API std::optional<std::size_t> evaluateMany(MeshFunction2D const& function, tzNM::vect2<double> const* points,
                                                  std::size_t count, tzNM::vect2<double>* values, float* scalars,
                                                  bool* found, Progress const& progress);
SINEW_API std::optional<std::size_t> extrapolateMany(MeshFunction2D const& function, tzNM::vect2<double> const* points,
                                                     std::size_t count, tzNM::vect2<double>* values, float* scalars,
                                                     bool* found, Progress const& progress);
SINEW_API std::optional<std::size_t> evaluateMany(MeshFunction2D const& function, RealArray const& points,
                                                  tzNM::vect2<double>* values, float* scalars, bool* found,
                                                  Progress const& progress);
SINEW_API std::optional<std::size_t> extrapolateMany(MeshFunction2D const& function, RealArray const& points,
                                                     tzNM::vect2<double>* values, float* scalars, bool* found,
                                                     Progress const& progress);

/// `MeshFunction2D(params, values, facets, normaldots)` with progress. See `Progress`.
SINEW_API std::optional<::MeshFunction2D>
makeMeshFunction2D(std::vector<tzNM::vect2<double>> const& params, std::vector<tzNM::vect2<double>> const& values,
                   std::vector<int> const& facets, std::vector<float> const& normaldots, Progress const& progress);

/// `function.initEvaluatorHelper()` with progress. See `Progress`: false if the host has cancelled; the function then
/// has the grid and the boundaries that it had before. They are built for a copy of the vertices and triangles. Strong
/// guarantee.
SINEW_API bool initEvaluatorHelper(MeshFunction2D& function, Progress const& progress);

/// `function.eraseExtraTriangles(tester)` with progress. See `Progress`: false if the host has cancelled; the function
/// is then as it was. Works on a copy of the vertices and triangles, so that pointers into the vectors of the function
/// become invalid. Strong guarantee.
SINEW_API bool eraseExtraTriangles(MeshFunction2D& function, EmptyRectTester const& tester, Progress const& progress);

} // namespace sinew
