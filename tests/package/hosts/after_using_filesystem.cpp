// Names of the standard library without qualification, beside the global names of sinew.
#include <filesystem>

using namespace std;
using namespace std::filesystem;

#include <sinew/sinew.h>

path here()
{
    return absolute("here") / path("there");
}
int three()
{
    return absolute(-3);
}
