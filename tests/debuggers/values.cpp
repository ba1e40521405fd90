// Values for the test of the debugger views: gdb stops in `stop` and prints the locals of `main`.
#include <sinew/sinew.h>

void stop() {}

int main()
{
    Vector3 const point(1, 2.5, -3);
    UVector3 const direction(0, 0, 2);
    tzNM::vect2<double> const uv(0.5, 0.25);
    Bbox const box(std::vector<Vector3>{{-1, -1, -1}, {1, 2, 3}});
    Matrix3 const turn(Vector3(0, 1, 0), Vector3(-1, 0, 0), Vector3(0, 0, 1));
    Matrix const shift = Transform(Vector3(0, 0, 1), 0).getMatrix();
    Transform placement(2.0);
    placement.translation = {7, 8, 9};
    matrix<double> table(2, 3);
    table(1, 2) = 6;
    matrix<double> damaged(2, 2);
    damaged.rows = 5;
    smart_ptr<SurfaceGeometryData> const surface(new SurfaceGeometryData);
    smart_ptr<SurfaceGeometryData> const again = surface;
    smart_ptr<SurfaceGeometryData> const nothing;
    MeshFunction2D const square({{0, 0}, {1, 0}, {1, 1}, {0, 1}}, {{0, 0}, {1, 0}, {1, 1}, {0, 1}}, {0, 1, 2, 0, 2, 3},
                                {});
    SPDMatrix system;
    system.rows = {{{0, 4.0}}, {{0, -1.0}, {1, 4.0}}};
    LLTMatrix const factor = system.factor();
    stop();
    return static_cast<int>(point.x + direction.z + uv.x + box.min.x + turn(0, 0) + shift(0, 0) + placement.scale +
                            table(0, 0)) +
           static_cast<int>(damaged.entries.size() + square.facets.size() + factor.diag.size()) + (again && !nothing);
}
