// The sizes and offsets of the public types, for systems with 64 bits and libstdc++. Hosts read the fields directly,
// and inline functions are compiled into them: if a number here has to change, SINEW_SOVERSION has to change too.

#include <cstddef>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

#include <sinew/sinew.h>

namespace {

template <typename Owner, typename Member>
struct FieldAt
{
    Member Owner::*field;
    std::size_t offset;
};

template <typename Owner, typename Member>
FieldAt<Owner, Member> fieldAt(Member Owner::*field, std::size_t offset)
{
    return {field, offset};
}

// The offset of a field, in memory in which no object is made. offsetof does not accept classes with virtual functions.
template <typename Type, typename Owner, typename Member>
std::size_t offsetIn(Member Owner::*field)
{
    alignas(Type) static unsigned char memory[sizeof(Type)];
    Type const* const object = reinterpret_cast<Type const*>(memory);
    return static_cast<std::size_t>(reinterpret_cast<unsigned char const*>(&(object->*field)) - memory);
}

template <typename Type, typename... Fields>
void expectLayout(std::size_t size, std::size_t alignment, Fields... fields)
{
    SCOPED_TRACE(typeid(Type).name());
    EXPECT_EQ(sizeof(Type), size);
    EXPECT_EQ(alignof(Type), alignment);
    EXPECT_EQ((std::vector<std::size_t>{offsetIn<Type>(fields.field)...}),
              (std::vector<std::size_t>{fields.offset...}));
}

} // namespace

TEST(Layout, Core)
{
    expectLayout<Vector3>(24, 8, fieldAt(&Vector3::x, 0), fieldAt(&Vector3::y, 8), fieldAt(&Vector3::z, 16));
    expectLayout<UVector3>(24, 8);
    expectLayout<Matrix3>(72, 8);
    expectLayout<Matrix>(128, 8);
    expectLayout<Transform>(104, 8, fieldAt(&Transform::linear, 0), fieldAt(&Transform::translation, 72),
                            fieldAt(&Transform::scale, 96));
    expectLayout<Bbox>(48, 8, fieldAt(&Bbox::min, 0), fieldAt(&Bbox::max, 24));
    expectLayout<vxFuncBinder>(32, 8, fieldAt(&vxFuncBinder::drawVectorSlot, 0),
                               fieldAt(&vxFuncBinder::drawPointSlot, 8), fieldAt(&vxFuncBinder::drawPointsSlot, 16),
                               fieldAt(&vxFuncBinder::clearSlot, 24));
    expectLayout<tzNM::vect2<double>>(16, 8, fieldAt(&tzNM::vect2<double>::x, 0), fieldAt(&tzNM::vect2<double>::y, 8));
    expectLayout<tzNM::vect2<float>>(8, 4, fieldAt(&tzNM::vect2<float>::x, 0), fieldAt(&tzNM::vect2<float>::y, 4));
    expectLayout<tzNM::vect2<int>>(8, 4, fieldAt(&tzNM::vect2<int>::x, 0), fieldAt(&tzNM::vect2<int>::y, 4));
}

TEST(Layout, ArraysAndProgress)
{
    expectLayout<sinew::Strided<double>>(24, 8, fieldAt(&sinew::Strided<double>::data, 0),
                                         fieldAt(&sinew::Strided<double>::count, 8),
                                         fieldAt(&sinew::Strided<double>::stride, 16));
    expectLayout<sinew::RealArray>(32, 8, fieldAt(&sinew::RealArray::data, 0), fieldAt(&sinew::RealArray::count, 8),
                                   fieldAt(&sinew::RealArray::stride, 16), fieldAt(&sinew::RealArray::isDouble, 24));
    expectLayout<sinew::RealOutput>(32, 8, fieldAt(&sinew::RealOutput::data, 0), fieldAt(&sinew::RealOutput::count, 8),
                                    fieldAt(&sinew::RealOutput::stride, 16), fieldAt(&sinew::RealOutput::isDouble, 24));
    expectLayout<sinew::IntegerArray>(
        40, 8, fieldAt(&sinew::IntegerArray::data, 0), fieldAt(&sinew::IntegerArray::count, 8),
        fieldAt(&sinew::IntegerArray::stride, 16), fieldAt(&sinew::IntegerArray::size, 24),
        fieldAt(&sinew::IntegerArray::isSigned, 32));
    expectLayout<sinew::Progress>(40, 8);
}

TEST(Layout, Queries)
{
    expectLayout<LineLineInt>(48, 8, fieldAt(&LineLineInt::result, 0), fieldAt(&LineLineInt::point, 8),
                              fieldAt(&LineLineInt::t1, 32), fieldAt(&LineLineInt::t2, 40));
    expectLayout<PlanePlaneInt>(56, 8, fieldAt(&PlanePlaneInt::result, 0), fieldAt(&PlanePlaneInt::point, 8),
                                fieldAt(&PlanePlaneInt::dir, 32));
    expectLayout<LinePlaneInt>(40, 8, fieldAt(&LinePlaneInt::result, 0), fieldAt(&LinePlaneInt::point, 8),
                               fieldAt(&LinePlaneInt::t, 32));
    expectLayout<LineTriangleInt>(40, 8, fieldAt(&LineTriangleInt::result, 0), fieldAt(&LineTriangleInt::point, 8),
                                  fieldAt(&LineTriangleInt::t, 32));
    expectLayout<LineSphereInt>(72, 8, fieldAt(&LineSphereInt::result, 0), fieldAt(&LineSphereInt::point1, 8),
                                fieldAt(&LineSphereInt::point2, 32), fieldAt(&LineSphereInt::t1, 56),
                                fieldAt(&LineSphereInt::t2, 64));
    expectLayout<TriangleWeightsFinder>(24, 8, fieldAt(&TriangleWeightsFinder::weights, 0));
}

TEST(Layout, QueriesAtAnyScale)
{
    using sinew::ClosestLines, sinew::LineFit, sinew::PlaneFit, sinew::RayTriangle, sinew::RaySphere, sinew::RealRoots,
        sinew::SymmetricEigensystem;
    expectLayout<SymmetricEigensystem>(104, 8, fieldAt(&SymmetricEigensystem::values, 0),
                                       fieldAt(&SymmetricEigensystem::vectors, 24),
                                       fieldAt(&SymmetricEigensystem::isFinite, 96));
    expectLayout<sinew::Ray>(80, 8);
    expectLayout<RayTriangle>(40, 8, fieldAt(&RayTriangle::hit, 0), fieldAt(&RayTriangle::side, 4),
                              fieldAt(&RayTriangle::t, 8), fieldAt(&RayTriangle::weights, 16));
    expectLayout<RaySphere>(24, 8, fieldAt(&RaySphere::hit, 0), fieldAt(&RaySphere::lineHit, 1),
                            fieldAt(&RaySphere::tEnter, 8), fieldAt(&RaySphere::tLeave, 16));
    expectLayout<ClosestLines>(80, 8, fieldAt(&ClosestLines::parallel, 0), fieldAt(&ClosestLines::t1, 8),
                               fieldAt(&ClosestLines::t2, 16), fieldAt(&ClosestLines::point1, 24),
                               fieldAt(&ClosestLines::point2, 48), fieldAt(&ClosestLines::distance, 72));
    expectLayout<RealRoots>(56, 8, fieldAt(&RealRoots::outcome, 0), fieldAt(&RealRoots::count, 4),
                            fieldAt(&RealRoots::roots, 8), fieldAt(&RealRoots::multiplicities, 40));
    expectLayout<LineFit>(88, 8, fieldAt(&LineFit::outcome, 0), fieldAt(&LineFit::centroid, 8),
                          fieldAt(&LineFit::direction, 32), fieldAt(&LineFit::residual, 56),
                          fieldAt(&LineFit::spreads, 64));
    expectLayout<PlaneFit>(88, 8, fieldAt(&PlaneFit::outcome, 0), fieldAt(&PlaneFit::centroid, 8),
                           fieldAt(&PlaneFit::normal, 32), fieldAt(&PlaneFit::residual, 56),
                           fieldAt(&PlaneFit::spreads, 64));
}

TEST(Layout, Fields)
{
    expectLayout<matrix<double>>(32, 8, fieldAt(&matrix<double>::rows, 0), fieldAt(&matrix<double>::columns, 4),
                                 fieldAt(&matrix<double>::entries, 8));
    expectLayout<Implicit>(80, 8, fieldAt(&Implicit::centres, 0), fieldAt(&Implicit::coefficients, 24),
                           fieldAt(&Implicit::constantTerm, 48), fieldAt(&Implicit::linearTerm, 56));
    expectLayout<ImplEllipsoid>(96, 8, fieldAt(&ImplEllipsoid::centre, 0), fieldAt(&ImplEllipsoid::shape, 24));
    expectLayout<PolylineProjector>(96, 8, fieldAt(&PolylineProjector::points, 0),
                                    fieldAt(&PolylineProjector::arcLengths, 24), fieldAt(&PolylineProjector::t, 48),
                                    fieldAt(&PolylineProjector::segment, 56), fieldAt(&PolylineProjector::point, 64));
    expectLayout<ProximityTester>(176, 8, fieldAt(&ProximityTester::origin, 0), fieldAt(&ProximityTester::axes, 24),
                                  fieldAt(&ProximityTester::cellCount, 96), fieldAt(&ProximityTester::cellSize, 112),
                                  fieldAt(&ProximityTester::occupied, 136));
    expectLayout<SmoothWeight>(32, 8, fieldAt(&SmoothWeight::center, 0), fieldAt(&SmoothWeight::radius, 8),
                               fieldAt(&SmoothWeight::invRadius, 16), fieldAt(&SmoothWeight::margin, 24));
    expectLayout<sinew::ImplicitCost>(16, 8, fieldAt(&sinew::ImplicitCost::flops, 0),
                                      fieldAt(&sinew::ImplicitCost::bytes, 8));
    expectLayout<sinew::PolylineHit>(48, 8, fieldAt(&sinew::PolylineHit::segment, 0),
                                     fieldAt(&sinew::PolylineHit::t, 8), fieldAt(&sinew::PolylineHit::point, 16),
                                     fieldAt(&sinew::PolylineHit::distSq, 40));
    expectLayout<sinew::PolylineSetHit>(56, 8, fieldAt(&sinew::PolylineSetHit::curve, 0),
                                        fieldAt(&sinew::PolylineSetHit::hit, 8));
    expectLayout<sinew::PolylineSet>(80, 8);
    expectLayout<sinew::SmoothDistance>(104, 8, fieldAt(&sinew::SmoothDistance::dist, 0),
                                        fieldAt(&sinew::SmoothDistance::grad, 8),
                                        fieldAt(&sinew::SmoothDistance::hess, 32));
}

TEST(Layout, Framework)
{
    expectLayout<smart_base>(16, 8, fieldAt(&smart_base::referenceCount, 8));
    expectLayout<smart_ptr<smart_base>>(16, 8);
    expectLayout<Serializable>(8, 8);
    expectLayout<Serializable::LoadFail>(16, 8);
    expectLayout<Tag>(64, 8);
    expectLayout<OutTag>(80, 8);
    expectLayout<InTag>(88, 8);
    expectLayout<Field>(48, 8);
    expectLayout<ClassDescBase>(24, 8);
    expectLayout<CompositeField>(72, 8);
    expectLayout<FactoryByName>(40, 8);
    expectLayout<FactoryByTypeID>(40, 8);
    expectLayout<sinew::Finding<sinew::MatrixFault>>(72, 8, fieldAt(&sinew::Finding<sinew::MatrixFault>::kind, 0),
                                                     fieldAt(&sinew::Finding<sinew::MatrixFault>::indices, 8),
                                                     fieldAt(&sinew::Finding<sinew::MatrixFault>::value, 32),
                                                     fieldAt(&sinew::Finding<sinew::MatrixFault>::sentence, 40));
    expectLayout<sinew::Diagnosis<sinew::MatrixFault>>(24, 8,
                                                       fieldAt(&sinew::Diagnosis<sinew::MatrixFault>::findings, 0));
}

TEST(Layout, Skinning)
{
    expectLayout<BoneTransform>(96, 8, fieldAt(&BoneTransform::linear, 0), fieldAt(&BoneTransform::translation, 72));
    expectLayout<BoneTransformVector>(40, 8, fieldAt(&BoneTransformVector::bones, 16));
    expectLayout<BoneTransformModifyer>(16, 8, fieldAt(&BoneTransformModifyer::bones, 0));
    expectLayout<BoneWeightTable>(40, 8, fieldAt(&BoneWeightTable::influences, 16));
    expectLayout<GeometryData>(40, 8, fieldAt(&GeometryData::positions, 16));
    expectLayout<SurfaceGeometryData>(88, 8, fieldAt(&SurfaceGeometryData::normals, 40),
                                      fieldAt(&SurfaceGeometryData::indices, 64));
    expectLayout<BaseDisplayData>(136, 8, fieldAt(&BaseDisplayData::boneWeights, 16),
                                  fieldAt(&BaseDisplayData::placement, 32));
    expectLayout<DisplayData>(152, 8, fieldAt(&DisplayData::surface, 136));
    expectLayout<CurveDisplayData>(152, 8, fieldAt(&CurveDisplayData::geometry, 136));
    expectLayout<DecalDisplayData>(152, 8);
    expectLayout<SubstituteGeometryData>(
        168, 8, fieldAt(&SubstituteGeometryData::savedCurveGeometry, 0),
        fieldAt(&SubstituteGeometryData::savedSurface, 16), fieldAt(&SubstituteGeometryData::curve, 32),
        fieldAt(&SubstituteGeometryData::display, 48), fieldAt(&SubstituteGeometryData::savedPlacement, 64));
    expectLayout<sinew::HeatMesh>(72, 8, fieldAt(&sinew::HeatMesh::positions, 0),
                                  fieldAt(&sinew::HeatMesh::triangles, 32));
    expectLayout<sinew::BoneSegment>(48, 8, fieldAt(&sinew::BoneSegment::start, 0),
                                     fieldAt(&sinew::BoneSegment::end, 24));
    expectLayout<sinew::HeatWeights>(
        144, 8, fieldAt(&sinew::HeatWeights::findings, 0), fieldAt(&sinew::HeatWeights::boneCount, 24),
        fieldAt(&sinew::HeatWeights::weights, 32), fieldAt(&sinew::HeatWeights::joined, 56),
        fieldAt(&sinew::HeatWeights::isolated, 64), fieldAt(&sinew::HeatWeights::pieces, 72),
        fieldAt(&sinew::HeatWeights::raisedEdges, 80), fieldAt(&sinew::HeatWeights::shaded, 88),
        fieldAt(&sinew::HeatWeights::sightless, 96), fieldAt(&sinew::HeatWeights::shadedPieces, 104),
        fieldAt(&sinew::HeatWeights::unknowns, 112), fieldAt(&sinew::HeatWeights::matrixEntries, 120),
        fieldAt(&sinew::HeatWeights::factorEntries, 128), fieldAt(&sinew::HeatWeights::largestCorrection, 136));
    expectLayout<sinew::VertexInfluences>(
        128, 8, fieldAt(&sinew::VertexInfluences::layout, 0), fieldAt(&sinew::VertexInfluences::perVertex, 8),
        fieldAt(&sinew::VertexInfluences::bones, 16), fieldAt(&sinew::VertexInfluences::weights, 56),
        fieldAt(&sinew::VertexInfluences::offsets, 88));
    expectLayout<sinew::SkinInput>(320, 8, fieldAt(&sinew::SkinInput::positions, 0),
                                   fieldAt(&sinew::SkinInput::normals, 32), fieldAt(&sinew::SkinInput::influences, 64),
                                   fieldAt(&sinew::SkinInput::bones, 192), fieldAt(&sinew::SkinInput::boneCount, 200),
                                   fieldAt(&sinew::SkinInput::placement, 208), fieldAt(&sinew::SkinInput::method, 312));
    expectLayout<sinew::SkinOutput>(64, 8, fieldAt(&sinew::SkinOutput::positions, 0),
                                    fieldAt(&sinew::SkinOutput::normals, 32));
}

TEST(Layout, MeshFunctions)
{
    expectLayout<MeshFunction2D>(
        288, 8, fieldAt(&MeshFunction2D::params, 8), fieldAt(&MeshFunction2D::values, 32),
        fieldAt(&MeshFunction2D::normaldots, 56), fieldAt(&MeshFunction2D::facets, 80),
        fieldAt(&MeshFunction2D::gridCells, 104), fieldAt(&MeshFunction2D::domainMin, 128),
        fieldAt(&MeshFunction2D::domainMax, 144), fieldAt(&MeshFunction2D::gridScale, 160),
        fieldAt(&MeshFunction2D::gridSize, 176), fieldAt(&MeshFunction2D::extrapolateFlag, 184),
        fieldAt(&MeshFunction2D::boundaryProjectors, 192), fieldAt(&MeshFunction2D::boundaryFacets, 216),
        fieldAt(&MeshFunction2D::saveString, 240));
    expectLayout<EmptyRectTester>(96, 8, fieldAt(&EmptyRectTester::width, 0), fieldAt(&EmptyRectTester::height, 4),
                                  fieldAt(&EmptyRectTester::emptyTexels, 8));
    expectLayout<TextureOptimizer>(40, 8, fieldAt(&TextureOptimizer::motions, 0),
                                   fieldAt(&TextureOptimizer::newWidth, 24), fieldAt(&TextureOptimizer::newHeight, 28),
                                   fieldAt(&TextureOptimizer::width, 32), fieldAt(&TextureOptimizer::height, 36));
    expectLayout<TextureOptimizer::RectMotion>(
        24, 4, fieldAt(&TextureOptimizer::RectMotion::x, 0), fieldAt(&TextureOptimizer::RectMotion::y, 4),
        fieldAt(&TextureOptimizer::RectMotion::w, 8), fieldAt(&TextureOptimizer::RectMotion::h, 12),
        fieldAt(&TextureOptimizer::RectMotion::dx, 16), fieldAt(&TextureOptimizer::RectMotion::dy, 20));
    expectLayout<sinew::Location>(64, 8, fieldAt(&sinew::Location::rule, 0), fieldAt(&sinew::Location::triangle, 4),
                                  fieldAt(&sinew::Location::corners, 8), fieldAt(&sinew::Location::loop, 20),
                                  fieldAt(&sinew::Location::segment, 24), fieldAt(&sinew::Location::weights, 32),
                                  fieldAt(&sinew::Location::distSq, 56));
    expectLayout<sinew::Raster>(48, 8, fieldAt(&sinew::Raster::origin, 0), fieldAt(&sinew::Raster::step, 16),
                                fieldAt(&sinew::Raster::width, 32), fieldAt(&sinew::Raster::height, 36),
                                fieldAt(&sinew::Raster::rowStride, 40));
}

TEST(Layout, Sparse)
{
    expectLayout<SPDMatrix>(24, 8, fieldAt(&SPDMatrix::rows, 0));
    expectLayout<LLTMatrix>(96, 8, fieldAt(&LLTMatrix::rows, 0), fieldAt(&LLTMatrix::Mt, 24),
                            fieldAt(&LLTMatrix::diag, 48), fieldAt(&LLTMatrix::perm, 72));
    expectLayout<sinew::SymbolicFactor>(8, 8);
    expectLayout<sinew::MatrixDiagnosis>(
        56, 8, fieldAt(&sinew::MatrixDiagnosis::wellFormed, 24), fieldAt(&sinew::MatrixDiagnosis::positiveDefinite, 25),
        fieldAt(&sinew::MatrixDiagnosis::smallestPivot, 32), fieldAt(&sinew::MatrixDiagnosis::largestPivot, 40),
        fieldAt(&sinew::MatrixDiagnosis::smallestPivotRow, 48), fieldAt(&sinew::MatrixDiagnosis::largestPivotRow, 52));
    expectLayout<sinew::Triplet>(16, 8, fieldAt(&sinew::Triplet::row, 0), fieldAt(&sinew::Triplet::column, 4),
                                 fieldAt(&sinew::Triplet::value, 8));
    expectLayout<sinew::MatrixBuild>(48, 8, fieldAt(&sinew::MatrixBuild::matrix, 24));
    expectLayout<sinew::CscFactor<int>>(
        96, 8, fieldAt(&sinew::CscFactor<int>::starts, 0), fieldAt(&sinew::CscFactor<int>::rows, 24),
        fieldAt(&sinew::CscFactor<int>::values, 48), fieldAt(&sinew::CscFactor<int>::perm, 72));
    expectLayout<sinew::TripletFactor>(48, 8, fieldAt(&sinew::TripletFactor::triplets, 0),
                                       fieldAt(&sinew::TripletFactor::perm, 24));
    expectLayout<sinew::CompactFactor>(8, 8);
}
