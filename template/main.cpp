// A first host: the nearest points on a curve.
#include <cstdio>

#include <sinew/sinew.h>

int main()
{
    PolylineProjector const curve({{0, 0, 0}, {2, 0, 0}, {2, 1, 0}});
    for (Vector3 const& p : {Vector3(1, 1, 0), Vector3(3, 3, 0)}) {
        sinew::PolylineHit const hit = sinew::closestPoint(curve, p);
        std::printf("segment %d, point (%g, %g, %g)\n", hit.segment, hit.point.x, hit.point.y, hit.point.z);
    }
}
