#include <sinew/sinew.h>

int main()
{
    // THE BLOCK
    return count == 3 ? 0 : 1;
}
