#include <sinew/core/func_binder.h>

// Constant-initialised: null in the file itself, so no constructor that runs late can wipe what a host library
// registered from a constructor of its own. Exported with default visibility, so that the loader merges the copies
// where several libraries of a host have the static library inside.
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
    // Guarded by the draw-point slot: hosts register both point callbacks together and switch both by that one.
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
    vxFuncBinder::drawVector(a, b, i, 0.1);
}

void dPnt(Vector3& p, int i)
{
    vxFuncBinder::drawPoint(p, i);
}

void cl()
{
    vxFuncBinder::clear();
}
