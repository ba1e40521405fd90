#include <cstdio>
#include <iostream>
#include <sstream>
#include <vector>

#include <sinew/sinew.h>

int main()
{
    // THE BLOCK
}
