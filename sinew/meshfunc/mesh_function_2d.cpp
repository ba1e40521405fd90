#include <sinew/meshfunc/mesh_function_2d.h>

#include <sinew/meshfunc/detail/loop_boxes.h>
#include <sinew/meshfunc/detail/mesh_view.h>
#include <sinew/meshfunc/detail/triangle_locator.h>

using Point = tzNM::vect2<double>;
using namespace sinew::detail;

namespace {

std::vector<std::unique_ptr<PolylineProjector>>
deepCopy(std::vector<std::unique_ptr<PolylineProjector>> const& projectors)
{
    std::vector<std::unique_ptr<PolylineProjector>> copies;
    copies.reserve(projectors.size());
    for (auto const& projector : projectors) {
        copies.push_back(projector ? std::make_unique<PolylineProjector>(*projector) : nullptr);
    }
    return copies;
}

} // namespace

MeshFunction2D::MeshFunction2D(bool extrapolateFlag_) : extrapolateFlag(extrapolateFlag_)
{
    initEvaluatorHelper();
}

MeshFunction2D::MeshFunction2D(std::vector<Point> const& params_, std::vector<Point> const& values_,
                               std::vector<int> const& facets_, std::vector<float> const& normaldots_)
    : params(params_), values(values_), normaldots(normaldots_), facets(facets_), extrapolateFlag(true)
{
    initEvaluatorHelper();
}

MeshFunction2D::MeshFunction2D(MeshFunction2D const& other)
    : Serializable(other), params(other.params), values(other.values), normaldots(other.normaldots),
      facets(other.facets), gridCells(other.gridCells), domainMin(other.domainMin),
      domainMax(other.domainMax), gridScale{other.gridScale[0], other.gridScale[1]}, gridSize{other.gridSize[0],
                                                                                              other.gridSize[1]},
      extrapolateFlag(other.extrapolateFlag), boundaryProjectors(deepCopy(other.boundaryProjectors)),
      boundaryFacets(other.boundaryFacets), saveString(other.saveString),
      locator_(other.locator_ ? TriangleLocator::build(viewOf(*this)) : nullptr),
      loopBoxes_(other.loopBoxes_ ? std::make_unique<LoopBoxes>(*other.loopBoxes_) : nullptr)
{
}

MeshFunction2D& MeshFunction2D::operator=(MeshFunction2D const& other)
{
    return *this = MeshFunction2D(other);
}

MeshFunction2D::MeshFunction2D(MeshFunction2D&&) noexcept = default;
MeshFunction2D& MeshFunction2D::operator=(MeshFunction2D&&) noexcept = default;
MeshFunction2D::~MeshFunction2D() = default;

MeshFunction2D* MeshFunction2D::copy() const
{
    return new MeshFunction2D(*this);
}
