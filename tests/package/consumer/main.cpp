// The smallest host: it links the installed library and calls one function.
#include <cstdio>

#include <sinew/sinew.h>

int main()
{
    double t = 0.0;
    double const result = distSqToLineSegment(Vector3(0.5, 2, 0), Vector3(0, 0, 0), Vector3(1, 0, 0), &t);
    bool const works = result == 4.0 && t == 0.5;
    std::puts(works ? "sinew works" : "sinew gives a wrong result");
    return works ? 0 : 1;
}
