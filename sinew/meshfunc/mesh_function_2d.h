#pragma once

/// A piecewise-linear function on a triangulated part of the plane: to each point it gives a 2D value and, if wanted, a
/// scalar. Texture mapping is the model case: where does this point of the domain lie in the texture?
///
/// Inside a triangle the value is the blend of its corners' values. Outside, `extrapolate` continues the nearest
/// boundary triangle's affine map. Typical use:
///
///     MeshFunction2D const function(params, values, facets, {});
///     tzNM::vect2<double> value;
///     if (function.extrapolate({0.3, 0.7}, &value, nullptr)) use(value);

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <sinew/export.h>
#include <sinew/fields/polyline_projector.h>
#include <sinew/framework/serializable.h>
#include <sinew/framework/vect2.h>

class EmptyRectTester;
class TextureOptimizer;

namespace sinew::detail {
class LoopBoxes;
class TriangleLocator;
} // namespace sinew::detail

/// The function: its vertices and triangles, and what is derived from them to answer fast.
///
/// **Rebuild.** Grid and boundaries are derived from `params` and `facets` and follow no change by themselves: whoever
/// changes `params`, `facets` or the number of `values` calls `initEvaluatorHelper` before the next query. Until then
/// answers mean nothing, but no query reads out of bounds. New entries of `values` and `normaldots` count at once.
///
/// **Threads.** Queries are const and write nothing into the object: any number of threads may ask one object at once.
/// Changes and rebuilds need the object to themselves.
///
/// **Bad input.** A triangle that names a vertex outside `params` or `values` is as if it were not there: it lies in no
/// cell and on no boundary, and no query finds it. `facets` entries past the last whole triangle are ignored by the
/// queries. NaN coordinates fall into cell 0. Nothing throws but `std::bad_alloc`.
///
/// **Copies** are deep: two objects never share a projector. An object that was moved from may be assigned to, rebuilt
/// or destroyed; its queries answer false.
class SINEW_API MeshFunction2D : public Serializable
{
public:
    /// Domain position of every vertex.
    std::vector<tzNM::vect2<double>> params;
    /// 2D value of every vertex; as long as `params`.
    std::vector<tzNM::vect2<double>> values;
    /// Optional scalar of every vertex, used only when there are at least as many as `values`.
    std::vector<float> normaldots;
    /// Triangles, three vertex indices each; triangle t is entries 3t, 3t + 1, 3t + 2.
    std::vector<int> facets;
    /// Derived: for each grid cell the triangles that may touch it, ascending; cell (cx, cy) at cx * gridSize[1] + cy.
    std::vector<std::vector<int>> gridCells;
    /// Derived: corners of the grid, the bounding box of `params` widened by a hundredth of its extent on each side.
    tzNM::vect2<double> domainMin;
    tzNM::vect2<double> domainMax;
    /// Derived: cells per unit length along x and y; -1 while there is no grid.
    double gridScale[2];
    /// Derived: number of cells along x and y; 20 and 20, or 0 while there is no grid.
    int gridSize[2];
    /// Whether `extrapolate` continues from the nearest boundary loop (true) or walks the grid (false). Boundaries are
    /// built only while it is set, so a rebuild follows a change to true.
    bool extrapolateFlag;
    /// Derived: one polyline a boundary loop, z = 0, the first point repeated at the end.
    std::vector<std::unique_ptr<PolylineProjector>> boundaryProjectors;
    /// Derived: for each loop, the triangle on which each of its segments lies.
    std::vector<std::vector<int>> boundaryFacets;
    /// The packed text while the object is being saved or loaded; empty otherwise.
    std::string saveString;

    /// An empty function: nothing evaluates.
    explicit MeshFunction2D(bool extrapolateFlag_);

    /// The function with these vertices and triangles, built and ready, with `extrapolateFlag` set.
    ///
    /// @param params_      domain positions, in any unit; the grid adapts to their bounding box.
    /// @param values_      one per position.
    /// @param facets_      three indices a triangle, either orientation. Where neighbours are oriented alike their
    ///                     shared edges vanish from the boundary.
    /// @param normaldots_  one per position, or empty for a function without a scalar.
    ///
    /// Linear cost in triangles and grid cells they touch.
    MeshFunction2D(std::vector<tzNM::vect2<double>> const& params_, std::vector<tzNM::vect2<double>> const& values_,
                   std::vector<int> const& facets_, std::vector<float> const& normaldots_);

    /// Writes the function as tagged text, its vectors packed into the one field "saveString": 16 characters a vertex,
    /// 4 a scalar, 3 an index (see docs/meshfunc.md for the format).
    ///
    /// The text is made for texture coordinates. Coordinates and scalars are kept to a step of 2^-20 within [-2, 14);
    /// outside they wrap, as do counts and indices beyond 262143. A NaN becomes -2. A vertex without an entry in
    /// `values` is written with the value (0, 0). If writing throws, the vectors are as before and `saveString` stays
    /// filled.
    void save(OutTag& tag) override;

    /// Reads a function from tagged text and rebuilds what is derived. Vectors written as fields of their own, which
    /// older texts have, are read where "saveString" is empty. Fields that are absent stay as they are.
    ///
    /// Throws `Serializable::LoadFail` on bad data; for a bad "saveString" its message begins "Error loading
    /// MeshFunction2D: ". The function is then partly filled and must be discarded.
    void load(InTag& tag, smart_ptr<Field> field) override;

    /// The fields "params", "values", "normaldots", "facets", "extrapolateFlag" and "saveString".
    smart_ptr<Field> describeFields(std::string const& name) override;

    MeshFunction2D(MeshFunction2D const& other);
    MeshFunction2D(MeshFunction2D&& other) noexcept;
    MeshFunction2D& operator=(MeshFunction2D const& other);
    MeshFunction2D& operator=(MeshFunction2D&& other) noexcept;
    ~MeshFunction2D() override;

    /// A deep copy on the heap, owned by the caller, with this object's `extrapolateFlag`.
    MeshFunction2D* copy() const;

    /// The value at a point of the triangulation.
    ///
    /// @param p          the point, in the frame of `params`.
    /// @param out        receives the value; may be null.
    /// @param outScalar  receives the scalar, or -1 if `normaldots` is shorter than `values`; may be null.
    /// @return whether a triangle of p's grid cell holds p, with barycentric weights down to -1e-8 counted as inside.
    ///         If false, the outputs are left unwritten.
    ///
    /// Of several triangles that hold p the one with the smallest index answers. Triangles of determinant below
    /// 1.0000000000000001e-16 hold nothing. A point with a NaN coordinate takes the first such triangle of cell 0 and
    /// gives NaN. Usually constant cost. Allocates nothing, but for one exception: in a mesh of more than some ten
    /// thousand triangles, the first query in each grid cell prepares that cell for the following ones.
    bool evaluate(tzNM::vect2<double> const& p, tzNM::vect2<double>* out, float* outScalar) const;

    /// The value at a point anywhere: that of `evaluate`, or outside the triangulation the affine map of the boundary
    /// triangle nearest to `p`, continued. Arguments as for `evaluate`.
    ///
    /// Of equally near loops the earlier one answers. False, with nothing written, if there is no grid or no boundary,
    /// if every boundary is 1e13 or more away (squared), if p is NaN and not evaluated, or if the nearest triangle is
    /// degenerate. With `extrapolateFlag` unset this is `extrapolateOld`.
    bool extrapolate(tzNM::vect2<double> const& p, tzNM::vect2<double>* out, float* outScalar) const;

    /// The value by the grid-walking continuation: the affine map of the triangle with the nearest edge in p's grid
    /// cell, or if no triangle is listed there, in the first cell with one on the straight walk to the grid's middle.
    /// Arguments as for `evaluate`.
    ///
    /// A point inside a triangle is not treated apart. Among edges whose squared distances differ by less than 1e-8 a
    /// later one wins if the foot of the perpendicular lies on it. False, with nothing written, if the walk ends
    /// outside the grid or at once (an empty cell in the middle), or if the chosen triangle is degenerate.
    bool extrapolateOld(tzNM::vect2<double> const& p, tzNM::vect2<double>* out, float* outScalar) const;

    /// The affine map of one triangle, given by its vertex indices, at `p`.
    ///
    /// @param checkInside  whether a barycentric weight below -1e-8 means false. Without it, any point is answered.
    ///
    /// False, with nothing written, if the determinant's magnitude is below 1.0000000000000001e-16 (a NaN determinant
    /// is not), or if an index is outside `params` or `values`.
    bool iEvalInFacet(int i0, int i1, int i2, tzNM::vect2<double> const& p, tzNM::vect2<double>* out, float* outScalar,
                      bool checkInside) const;

    /// Squared distance from `p` to the segment between two vertices.
    ///
    /// @param onSegment  receives whether the foot of the perpendicular lies on the segment, within 1e-8 of its squared
    ///                   length; false where the segment's squared length is below 1.0000000000000001e-16. May be null.
    /// @param useValues  measure between the vertices' `values` instead of their `params`.
    ///
    /// An index outside the vertices gives NaN. Rounding can make the result slightly negative.
    double iDistToEdge(int i, int j, tzNM::vect2<double> const& p, bool* onSegment, bool useValues) const;

    /// A point of the domain: the centroid of the first triangle. False, with `out` left unwritten, if there is none.
    bool getAnyPointInDomain(tzNM::vect2<double>& out) const;

    /// Rebuilds everything derived from `params` and `facets`, boundaries included if `extrapolateFlag` is set.
    ///
    /// No points, or a domain whose squared diagonal is below 1.0000000000000001e-16, leave neither grid nor
    /// boundaries. A domain without width has every point in the first column of cells.
    void initEvaluatorHelper();

    /// Rebuilds `boundaryProjectors` and `boundaryFacets`: the edges that belong to one triangle only, joined to loops.
    ///
    /// An edge is interior when a later triangle runs along it the other way; an edge that two triangles run along the
    /// same way stays one boundary edge, of the later triangle. Each loop starts at the smallest vertex still unused
    /// and leaves every vertex towards the smallest target. None if the length of `facets` is not a multiple of 3.
    void initBoundaries();

    /// Drops every triangle that shows no used texel, by the box of its corners' `values`, then the vertices that no
    /// triangle uses any more, and rebuilds. For `values` that are normalised texture coordinates.
    ///
    /// The last triangle takes the place of a dropped one, so the order of triangles changes; the order of vertices
    /// stays. Triangles that name a missing vertex go too. `normaldots` is compacted only if it is exactly as long as
    /// `params`. Nothing happens if the length of `facets` is not a multiple of 3.
    void eraseExtraTriangles(EmptyRectTester const& tester);

    /// Replaces every entry of `values` by what the optimizer maps it to. Nothing derived depends on `values`.
    void remapToOptimized(TextureOptimizer const& optimizer);

private:
    std::unique_ptr<sinew::detail::TriangleLocator> locator_; // answers `evaluate` faster than the lists
    std::unique_ptr<sinew::detail::LoopBoxes> loopBoxes_;     // finds the loops that can be nearest
};

namespace sinew {

/// `function.evaluate` for `count` points, with the same bits.
///
/// @param points   `count` points; may be null when `count` is 0.
/// @param values   receives the value of every point that has one, at the point's place; may be null.
/// @param scalars  receives the scalars likewise; may be null.
/// @param found    receives for every point whether it has a value; may be null.
/// @return the number of points with a value.
///
/// The places of points without a value are left unwritten in `values` and `scalars`. The arrays must not overlap.
SINEW_API std::size_t evaluateMany(MeshFunction2D const& function, tzNM::vect2<double> const* points, std::size_t count,
                                   tzNM::vect2<double>* values, float* scalars, bool* found);

/// `function.extrapolate` for `count` points, with the same bits. Everything else as for `evaluateMany`.
SINEW_API std::size_t extrapolateMany(MeshFunction2D const& function, tzNM::vect2<double> const* points,
                                      std::size_t count, tzNM::vect2<double>* values, float* scalars, bool* found);

} // namespace sinew
