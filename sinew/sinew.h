#pragma once

/// Everything that sinew offers, in the order of its modules. A host that compiles often includes single headers
/// instead.

#include <sinew/framework/fields.h>
#include <sinew/framework/findings.h>
#include <sinew/framework/registry.h>
#include <sinew/framework/serializable.h>
#include <sinew/framework/smart_ptr.h>
#include <sinew/framework/tags.h>
#include <sinew/framework/vect2.h>

#include <sinew/core/bbox.h>
#include <sinew/core/eigen_solver.h>
#include <sinew/core/eigen_symmetric.h>
#include <sinew/core/func_binder.h>
#include <sinew/core/hash.h>
#include <sinew/core/interop.h>
#include <sinew/core/matrix.h>
#include <sinew/core/matrix3.h>
#include <sinew/core/predicates.h>
#include <sinew/core/progress.h>
#include <sinew/core/stream.h>
#include <sinew/core/strided.h>
#include <sinew/core/tolerances.h>
#include <sinew/core/transform.h>
#include <sinew/core/vector3.h>
#include <sinew/core/vector_geometry.h>

#include <sinew/queries/best_fit.h>
#include <sinew/queries/fit.h>
#include <sinew/queries/fit_diagnosis.h>
#include <sinew/queries/intersections.h>
#include <sinew/queries/lines.h>
#include <sinew/queries/polynomial_roots.h>
#include <sinew/queries/rays.h>
#include <sinew/queries/real_roots.h>
#include <sinew/queries/segments_2d.h>

#include <sinew/fields/dense_matrix.h>
#include <sinew/fields/impl_ellipsoid.h>
#include <sinew/fields/implicit.h>
#include <sinew/fields/polyline_projector.h>
#include <sinew/fields/polyline_set.h>
#include <sinew/fields/proximity_tester.h>
#include <sinew/fields/smooth_distance.h>
#include <sinew/fields/symmetric_smooth_distance.h>

#include <sinew/meshfunc/extrapolate_anywhere.h>
#include <sinew/meshfunc/location.h>
#include <sinew/meshfunc/mesh_diagnosis.h>
#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/raster.h>
#include <sinew/meshfunc/save_exact.h>
#include <sinew/meshfunc/texture_compaction.h>
#include <sinew/meshfunc/type_handlers.h>

#include <sinew/sparse/builders.h>
#include <sinew/sparse/compact_factor.h>
#include <sinew/sparse/diagnose.h>
#include <sinew/sparse/factor_arrays.h>
#include <sinew/sparse/llt_matrix.h>
#include <sinew/sparse/solve_many.h>
#include <sinew/sparse/spd_matrix.h>
#include <sinew/sparse/symbolic_factor.h>

#include <sinew/skinning/bone_transform.h>
#include <sinew/skinning/bone_transform_vector.h>
#include <sinew/skinning/display_data.h>
#include <sinew/skinning/geometry_data.h>
#include <sinew/skinning/heat_weights.h>
#include <sinew/skinning/skin.h>
#include <sinew/skinning/substitute_geometry_data.h>
#include <sinew/skinning/weights.h>
