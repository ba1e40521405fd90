// A host that uses neither run-time type information nor exceptions: everything but registries and described fields.
#include <cstdio>

#include <sinew/sinew.h>

int main()
{
    Transform const turn(Vector3(0, 0, 1), 0.5);
    PolylineProjector curve({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}});
    sinew::PolylineHit const hit = sinew::closestPoint(curve, turn * Vector3(1, 0, 0));
    matrix<double> m(2, 2);
    m(0, 0) = m(1, 1) = 4;
    MeshFunction2D const f({{0, 0}, {1, 0}, {0, 1}}, {{0, 0}, {1, 0}, {0, 1}}, {0, 1, 2}, {});
    tzNM::vect2<double> value;
    float scalar = 0;
    bool const known = f.evaluate({0.25, 0.25}, &value, &scalar);
    smart_ptr<SurfaceGeometryData> const surface(new SurfaceGeometryData);
    bool const good =
        hit.segment == 1 && (!m)(0, 0) == 0.25 && known && value.x == 0.25 && absolute(-3) == 3 && surface;
    std::puts(good ? "the host works" : "the host does not work");
    return good ? 0 : 1;
}
