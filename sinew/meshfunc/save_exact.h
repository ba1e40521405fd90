#pragma once

/// Saving a mesh function without any loss: the document has a field for each vector, and numbers with all their
/// digits.
///
///     std::ofstream file("chart.xml", std::ios::binary);
///     if (!sinew::saveExact(function, file)) reportBadCoordinates();

#include <iosfwd>

#include <sinew/export.h>

class MeshFunction2D;

namespace sinew {

/// Writes `function` as a document with the root element "MeshFunction2D", from which `readDocument` and
/// `createFromDocument` get `params`, `values`, `normaldots`, `facets` and `extrapolateFlag` with the same bits.
///
/// It is the older form of the document, with a field for each vector and an empty "saveString", so earlier versions of
/// the library read it, too. `MeshFunction2D::save` packs the vectors instead: it keeps steps of 2^-20 in [-2, 14), and
/// counts and indices up to 262143. Here there are no such limits, and vectors of different lengths keep them.
///
/// Reals have the shortest digits that give the same bits when they are read; -0 and subnormal numbers keep theirs. A
/// scalar that is infinite is read back; one that is NaN is read as a NaN with the same sign, but its payload may
/// differ.
///
/// @return false, with nothing written, if a coordinate in `params` or `values` is NaN or infinite: the reader refuses
///         such coordinates. Otherwise true; a failure of the stream shows in its state, as for `writeDocument`.
///
/// The same function always gives the same bytes. The format flags and the locale of `out` have no effect. Linear cost,
/// about 60 characters a vertex position and as many for its value. Nothing is allocated. `function` is not changed.
SINEW_API bool saveExact(MeshFunction2D const& function, std::ostream& out);

} // namespace sinew
