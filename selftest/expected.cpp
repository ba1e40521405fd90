// Written by `sinew_selftest --table`; do not edit. A line changes only with an intended change of results, which
// CHANGELOG.md describes.

#include <selftest/expected.h>

namespace selftest {

// clang-format off
std::vector<Expected> expectedResults()
{
    return {
        {"framework.documents", 100030, 0x1174ab366768c594}, // numbers and texts
        {"framework.damagedDocuments", 100000, 0x86bb1cba713022e6}, // documents
        {"framework.attributes", 100000, 0x2ce7220363ddeb81}, // numbers
        {"framework.addExact", 100000, 0xeac6ffa98a20069c}, // numbers
        {"framework.manyAttributes", 100016, 0xfa6cffdb7ff2a2ec}, // attributes
        {"framework.getReal", 100000, 0xa2181aca48f494b7}, // numbers as text
        {"framework.SimpleTypeHandler.load", 100000, 0xa75e36717b647ff4}, // pairs of numbers as text
        {"framework.getSingularName", 100000, 0xa61d15956db60dbc}, // names
        {"framework.NamedObject", 100000, 0xdb1bd7d9f7e8d8ef}, // registrations and removals
        {"framework.smart_ptr", 100000, 0x75ce2d7e938229cb}, // changes of handles
        {"framework.vect2.double", 100000, 0x2de91b52d3a44262}, // pairs of vectors and a number
        {"framework.vect2.float", 100000, 0x101b46f11ad5d18d}, // pairs of vectors and a number
        {"core.Vector3.arithmetic", 100000, 0x987824afcc430b39}, // pairs of vectors and a number
        {"core.Vector3.lengths", 100000, 0xe2a424409ff7c46b}, // pairs of vectors
        {"core.Vector3.normalisation", 100000, 0xe4e2dcb9ff00065f}, // vectors
        {"core.Vector3.parallelAndNormal", 100000, 0x818575d8d5cd7658}, // pairs of vectors and a tolerance
        {"core.Vector3.pullBack", 100000, 0xd6aa3295b99a402f}, // vectors and bases
        {"core.Vector3.isInTriangle", 100000, 0x92fb24d6d35eedc9}, // pairs of points and a triangle
        {"core.Vector3.reflect", 100000, 0x070b91dedbd8031d}, // points and lines
        {"core.getAngleBetween", 100000, 0x4eedb512828cd004}, // triples of vectors; portable math library
        {"core.samePlane", 100000, 0x486750c610d248e6}, // pairs of planes
        {"core.projectOnLineAndPlane", 100000, 0x67b882f3df3decc8}, // points and lines
        {"core.distSqToLineSegment", 100000, 0x1a4d626c3db6f1d9}, // points and segments
        {"core.getBasis", 100000, 0x86eca39e6b10edf3}, // vectors
        {"core.calcCurvature", 100000, 0x33c6db15eefb41c8}, // pairs of derivatives
        {"core.principalCurvatures", 100000, 0x4b758fd336d596fd}, // quintuples of derivatives
        {"core.predicates", 100000, 0xacac6925fd69dd7f}, // quadruples of points
        {"core.Matrix3.arithmetic", 100000, 0xd3d507b1f9b949fe}, // pairs of matrices, a vector and a number
        {"core.Matrix3.values", 100000, 0x7bbaad1c3fe7276d}, // pairs of vectors
        {"core.Matrix3.inverse", 100000, 0x8dffbab2d534b33c}, // matrices
        {"core.Matrix3.rotationMatrix", 100000, 0x6fd1835dc91ee05d}, // axes and angles; portable math library
        {"core.Matrix3.rotationMatrixBetween", 100000, 0xcc887a5dabfcef8e}, // pairs of directions; portable math library
        {"core.Matrix3.getRotationAxis", 100000, 0x50fd02327b3e0d2d}, // matrices
        {"core.Matrix3.getRotationAngle", 100000, 0x011d0f11e74c8eb3}, // matrices and axes; portable math library
        {"core.jacobiRotation", 100000, 0xeee9d4177eb34bab}, // matrices
        {"core.jacobiMethod", 100000, 0x75902af499b4da1b}, // matrices
        {"core.eigenSymmetric", 100000, 0xcaa93ae70e9559a3}, // matrices
        {"core.Matrix3.getMatrixFromEigs", 100000, 0xe1fe61c7e1db07ca}, // eigensystems
        {"core.Matrix3.getNullspace", 100000, 0xca90490f8d5fa06c}, // matrices
        {"core.Matrix.arithmetic", 100000, 0x0e6b68bfe40069a9}, // pairs of matrices, a point and a number
        {"core.Matrixf", 100000, 0xaa3a76b22ba39a8c}, // matrices
        {"core.Matrix.inverse", 100000, 0x50068847e2374da1}, // matrices
        {"core.Matrix.isRigid", 100000, 0x9461ee99e81995a1}, // pairs of matrices
        {"core.Matrix.getRotationAxis", 100000, 0x5782845a48e759b5}, // matrices
        {"core.Matrix.getRotationAngle", 100000, 0x2d81ced7e1ecbbd3}, // matrices and axes; portable math library
        {"core.Matrix.rotationMatrix", 100000, 0x3708f4e7afb7d987}, // axes and angles; portable math library
        {"core.Matrix.rigidTransform", 100000, 0xacf7288d34a07c82}, // pairs of lines; portable math library
        {"core.Matrix.interpolate", 100000, 0x9623bf70254a37a4}, // pairs of placements and a parameter; portable math library
        {"core.Transform.arithmetic", 100000, 0xc291eabfc083b7b2}, // pairs of transforms and a point
        {"core.Transform.frames", 100000, 0x828334599f18fe68}, // directions and points
        {"core.Transform.rotations", 100000, 0xa002332cf826cef8}, // axes, angles and pairs of directions; portable math library
        {"core.Transform.interpolate", 100000, 0xb6d823ccd165e40e}, // pairs of transforms and a parameter; portable math library
        {"core.Bbox.ofPoints", 100000, 0xd3a8addba7517258}, // lists of points
        {"core.Bbox.arithmetic", 100000, 0x69cbacaafb41b721}, // pairs of boxes and a point
        {"core.Bbox.boundsInDir", 100000, 0x1d94cbec5ae3580d}, // boxes and directions
        {"core.hash", 100000, 0x54cd28336a2b2e64}, // values of each type
        {"core.interop", 100000, 0x22e9b0549d5c5fd1}, // vectors and matrices
        {"core.stream", 100000, 0x8192b44bc17e4209}, // values of each type
        {"core.vxFuncBinder", 100000, 0x34e19b50af32b1cd}, // drawn vectors and points
        {"queries.LineLineInt.unit", 100000, 0xe11f8852ee39b71e}, // pairs of lines
        {"queries.LineLineInt.anyLength", 100000, 0x5ed40d8032734439}, // pairs of lines
        {"queries.PlanePlaneInt", 100000, 0x19dab24fc88a20f0}, // pairs of planes
        {"queries.LinePlaneInt", 100000, 0x8df7b673d2eabb61}, // lines and planes
        {"queries.LineTriangleInt", 100000, 0x1afd93e5b912dac9}, // lines and triangles
        {"queries.LineSphereInt", 100000, 0xfbda9d6d3f1f4928}, // lines and spheres
        {"queries.TriangleWeightsFinder", 100000, 0xa6bb620f36982511}, // points and triangles
        {"queries.solveQuadratic", 100000, 0x390f46ce868a96c6}, // polynomials
        {"queries.solveCubic", 100000, 0xc4f21a4add35ddf3}, // polynomials
        {"queries.realRoots", 100000, 0xade29169693168e0}, // polynomials
        {"queries.bestFit", 100000, 0xe739e6e9600aed7f}, // lists of points
        {"queries.fit", 100000, 0x42927b5034f1065f}, // lists of points
        {"queries.fitDiagnosis", 100000, 0x3ce851eb0b60fa58}, // lists of points; portable math library
        {"queries.segClipHalfPlane2D", 100000, 0x58dd334bd347df4d}, // segments and half-planes
        {"queries.segClipAndIntersectRect2D", 100000, 0x9e73b16a0a4e6afb}, // segments and rectangles
        {"queries.segsIntersect", 100000, 0x6e8737a6d9f3e1d7}, // pairs of segments
        {"queries.rayTriangle", 100000, 0x1bc88d399f1863f7}, // rays and triangles
        {"queries.raySphere", 100000, 0xffc02b5f8c74352f}, // rays and spheres
        {"queries.closestLines", 100000, 0xd32b3ce109147957}, // pairs of lines
        {"fields.PolylineProjector.irregular", 100000, 0x2a44f982e6ebf12f}, // queries
        {"fields.PolylineProjector.regular", 100000, 0x44bc18a2647e4cf9}, // queries
        {"fields.projectMany", 100000, 0x3329a7fcd7ae28d6}, // queries
        {"fields.arcLengths", 100000, 0x9e229c5d2b7567d2}, // queries
        {"fields.PolylineSet", 100000, 0xe5606e339b94abb6}, // queries
        {"fields.SmoothWeight", 100000, 0xaaa6a55ee8c5c101}, // weights and arguments
        {"fields.smoothMax", 100000, 0x576be3c002d85593}, // pairs of numbers and a width
        {"fields.updateSmoothDist", 100000, 0x39727c34c12420d9}, // distances
        {"fields.smoothDist.irregular", 100000, 0xd38ed7db096baa9d}, // queries
        {"fields.smoothDist.regular", 100000, 0x46bc2b8cc8011366}, // queries
        {"fields.smoothDistance", 100000, 0xff67e1cec10e3b55}, // queries
        {"fields.matrix.double", 100229, 0xa77d343e2d74bea9}, // entries
        {"fields.matrix.float", 101698, 0xf221a901d40459c2}, // entries
        {"fields.Implicit.fit", 100060, 0xb7393b9404924324}, // coordinates and values
        {"fields.Implicit.evaluate", 100000, 0xfbc4db6c426d59ff}, // queries
        {"fields.ImplEllipsoid.fit", 100000, 0x588293f743cafb57}, // lists of points
        {"fields.ImplEllipsoid.evaluate", 100000, 0x26035bfd1192539e}, // ellipsoids and points
        {"fields.ProximityTester", 100000, 0x5294e22880cfa2f4}, // queries
        {"skinning.BoneTransform.arithmetic", 100000, 0x42d4e60f823b4010}, // pairs of bones
        {"skinning.BoneTransform.fromEnds", 100000, 0xed32dd6a4e7ad53d}, // ends of bones and an angle; portable math library
        {"skinning.BoneTransform.interpolate", 100000, 0x49343a64b5f284fa}, // pairs of bones and a parameter; portable math library
        {"skinning.BoneTransformModifyer", 100057, 0xa6fd595a50d9ecf0}, // vertices
        {"skinning.BoneTransformVector", 100000, 0x682da655fc933570}, // vertices
        {"skinning.SubstituteGeometryData", 100000, 0x057df6b28c37354a}, // vertices
        {"skinning.heatWeights", 100046, 0x708937274d6f2532}, // vertices
        {"skinning.skin", 100317, 0x4c2578403cb6c9d5}, // vertices
        {"skinning.skin.dualQuaternion", 100324, 0xf82b0e752056ff0e}, // vertices
        {"skinning.weights", 100011, 0xaff3cd02457674f0}, // lists of influences
        {"meshfunc.build", 110794, 0xfa365894504804c4}, // triangles
        {"meshfunc.evaluate", 100000, 0xca980c96f599fa32}, // queries
        {"meshfunc.extrapolate", 100000, 0x93cbbb4bbfd84a98}, // queries
        {"meshfunc.extrapolateAnywhere", 100000, 0x856b9760c19f78fc}, // queries
        {"meshfunc.extrapolateOld", 100000, 0xbb920de61d2bc989}, // queries
        {"meshfunc.locate", 100000, 0x7dcdc8deb57d3f0b}, // queries
        {"meshfunc.rasters", 103144, 0xb3d488f967a0a6bd}, // pixels
        {"meshfunc.singleTriangles", 100000, 0x3f1ec279f61113ae}, // triangles and points
        {"meshfunc.diagnose", 100006, 0x713e37fa57f86079}, // triangles and vertices
        {"meshfunc.documents", 125876, 0x9694fa633c723a3e}, // vertices and corners
        {"meshfunc.saveExact", 102464, 0x1202540b9bede7ba}, // vertices and corners
        {"meshfunc.damagedDocuments", 107004, 0x91adde6b3395ab83}, // characters
        {"meshfunc.EmptyRectTester", 100000, 0xa1bf411c7fd96967}, // rectangles
        {"meshfunc.TextureOptimizer", 100000, 0xba6e865ecb6e5fbc}, // points
        {"meshfunc.eraseExtraTriangles", 100476, 0xbe78955c5266141f}, // triangles
        {"sparse.computePerm", 100321, 0xe5759120b0861949}, // rows
        {"sparse.factor", 100062, 0xb02f312917715eff}, // rows
        {"sparse.solve", 100045, 0x6fdf60481f609764}, // unknowns
        {"sparse.SymbolicFactor", 100281, 0xfc82fe3138df7727}, // rows
        {"sparse.diagnose", 100006, 0x40ea6a8f6c357070}, // rows
        {"sparse.builders", 100306, 0x11a8d341194097ac}, // entries
        {"sparse.CompactFactor", 100002, 0x39f9c9bbd109d971}, // rows
    };
}
// clang-format on

} // namespace selftest
