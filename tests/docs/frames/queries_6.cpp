#include <vector>

#include <sinew/sinew.h>

// THE BLOCK
