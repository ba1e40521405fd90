// A host in its smallest form: it links what was installed and asks one question of it.
#include <cstdio>

#include <sinew/sinew.h>

int main()
{
    double t = 0.0;
    double const answer = distSqToLineSegment(Vector3(0.5, 2, 0), Vector3(0, 0, 0), Vector3(1, 0, 0), &t);
    bool const works = answer == 4.0 && t == 0.5;
    std::puts(works ? "sinew works" : "sinew gives a wrong answer");
    return works ? 0 : 1;
}
