// In a source of its own: the compiler must not see through the pair while it compiles a test.
#include "support/failing_new.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

// Allocations left until operator new fails; negative: it never does.
long allocationsLeft = -1;

std::atomic<long long> bytesSoFar{0};

} // namespace

test::FailingNew::FailingNew(long allowed)
{
    allocationsLeft = allowed;
}
test::FailingNew::~FailingNew()
{
    allocationsLeft = -1;
}

long long test::allocatedBytes()
{
    return bytesSoFar;
}

void* operator new(std::size_t size)
{
    bytesSoFar += static_cast<long long>(size);
    if (allocationsLeft == 0) throw std::bad_alloc();
    if (allocationsLeft > 0) --allocationsLeft;
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
