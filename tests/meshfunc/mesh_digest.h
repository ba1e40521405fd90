#pragma once

/// A mesh function as a string, to see whether anything of it has changed.

#include <string>
#include <vector>

#include <sinew/meshfunc/mesh_function_2d.h>

#include "faults/digest.h"
#include "support/random.h"

namespace test {

/// The values of the members, and the results of queries.
inline std::string digestOf(MeshFunction2D const& f)
{
    faults::Digest digest(f.params, f.values, f.normaldots, f.facets, f.gridCells, f.boundaryFacets, f.saveString,
                          f.extrapolateFlag, f.boundaryProjectors.size());
    for (int k = 0; k < 2; ++k) {
        digest.add(f.gridSize[k]);
        digest.add(f.gridScale[k]);
        if (f.gridSize[k] == 0) continue;
        digest.add(f.domainMin[k]); // without meaning otherwise
        digest.add(f.domainMax[k]);
    }
    for (auto const& projector : f.boundaryProjectors)
        digest.add(projector ? projector->points : std::vector<Vector3>());
    Random random(11);
    for (int i = 0; i < 30; ++i) {
        tzNM::vect2<double> const p = random.point2(-0.3, 1.3);
        tzNM::vect2<double> value;
        float scalar = 0;
        digest.add(f.evaluate(p, &value, &scalar));
        digest.add(f.extrapolate(p, &value, &scalar));
        digest.add(f.extrapolateOld(p, &value, &scalar));
        digest.add(value);
        digest.add(scalar);
    }
    return digest;
}

} // namespace test
