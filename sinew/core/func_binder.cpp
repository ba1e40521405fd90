#include <sinew/core/func_binder.h>

namespace {

constexpr double kDefaultSize = 0.1; // what `dVec` passes as the double

} // namespace

// Constant-initialised, so that no constructor resets the slots after a host library has registered callbacks in a
// constructor. Exported with default visibility, so that the loader merges the copies if several libraries of a host
// contain the static library.
vxFuncBinder vxFuncBinder::instance_;

vxFuncBinder* vxFuncBinder::iGet()
{
    return &instance_;
}

void vxFuncBinder::iReset()
{
    drawVectorSlot = nullptr;
    drawPointSlot = nullptr;
    drawPointsSlot = nullptr;
    clearSlot = nullptr;
}

void vxFuncBinder::registerDrawVector(DrawVector f)
{
    instance_.drawVectorSlot = f;
}

void vxFuncBinder::registerDrawPoint(DrawPoint f)
{
    instance_.drawPointSlot = f;
}

void vxFuncBinder::registerDrawPoints(DrawPoints f)
{
    instance_.drawPointsSlot = f;
}

void vxFuncBinder::registerClear(Clear f)
{
    instance_.clearSlot = f;
}

void vxFuncBinder::drawVector(Vector3 const& a, Vector3 const& b, int i, double d)
{
    if (instance_.drawVectorSlot) instance_.drawVectorSlot(a, b, i, d);
}

void vxFuncBinder::drawPoint(Vector3 const& p, int i)
{
    if (instance_.drawPointSlot) instance_.drawPointSlot(p, i);
}

void vxFuncBinder::drawPoints(std::vector<Vector3> const& points, int i, int j)
{
    // The draw-point slot decides: part of the contract. Hosts register both point callbacks together.
    if (instance_.drawPointSlot) instance_.drawPointsSlot(points, i, j);
}

void vxFuncBinder::clear()
{
    if (instance_.clearSlot) instance_.clearSlot();
}

void dVecSc(Vector3& a, Vector3& b, int i, double d)
{
    vxFuncBinder::drawVector(a, b, i, d);
}

void dVec(Vector3& a, Vector3& b, int i)
{
    vxFuncBinder::drawVector(a, b, i, kDefaultSize);
}

void dPnt(Vector3& p, int i)
{
    vxFuncBinder::drawPoint(p, i);
}

void cl()
{
    vxFuncBinder::clear();
}
