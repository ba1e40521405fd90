// A separate source, so that the compiler cannot remove pairs of new and delete when it compiles a test.
#include "support/failing_new.h"

#include <atomic>
#include <cstdlib>
#include <new>

#if defined(_WIN32) || defined(__GLIBC__)
#include <malloc.h>
#endif

namespace {

// Number of allocations that still succeed. Negative: all succeed.
long allocationsLeft = -1;
test::Failing mode = test::Failing::all;
bool failed = false;

std::atomic<long long> bytesSoFar{0};
std::atomic<long long> countSoFar{0};
std::atomic<long long> liveNow{0};
std::atomic<long long> liveBytesNow{0};

long long sizeOf([[maybe_unused]] void* memory)
{
#if defined(__GLIBC__)
    return static_cast<long long>(malloc_usable_size(memory));
#else
    return 0;
#endif
}

void count(std::size_t size)
{
    bytesSoFar += static_cast<long long>(size);
    ++countSoFar;
    if (allocationsLeft == 0) {
        failed = true;
        if (mode == test::Failing::onlyNext) allocationsLeft = -1;
        throw std::bad_alloc();
    }
    if (allocationsLeft > 0) --allocationsLeft;
}

// Windows has no aligned_alloc, since its `free` could not release such memory.
void* allocateAligned(std::size_t alignment, std::size_t size)
{
#if defined(_WIN32)
    return _aligned_malloc(size, alignment);
#else
    return std::aligned_alloc(alignment, size);
#endif
}
void freeAligned(void* memory)
{
#if defined(_WIN32)
    _aligned_free(memory);
#else
    std::free(memory);
#endif
}

void* orThrow(void* memory)
{
    if (!memory) throw std::bad_alloc();
    ++liveNow;
    liveBytesNow += sizeOf(memory);
    return memory;
}

void countRelease(void* memory)
{
    if (!memory) return;
    --liveNow;
    liveBytesNow -= sizeOf(memory);
}

} // namespace

test::FailingNew::FailingNew(long allowed, Failing failing)
{
    mode = failing;
    failed = false;
    allocationsLeft = allowed;
}
test::FailingNew::~FailingNew()
{
    allocationsLeft = -1;
}

bool test::FailingNew::hasFailed() const
{
    return failed;
}

long long test::allocatedBytes()
{
    return bytesSoFar;
}
long long test::allocationCount()
{
    return countSoFar;
}
long long test::liveBytes()
{
#if defined(__GLIBC__)
    return liveBytesNow;
#else
    return -1;
#endif
}
long long test::liveAllocations()
{
    return liveNow;
}

// The array forms and those that do not throw are replaced too: the address sanitizer has its own, which call no
// others.
void* operator new(std::size_t size)
{
    count(size);
    return orThrow(std::malloc(size ? size : 1));
}
void* operator new(std::size_t size, std::align_val_t alignment)
{
    count(size);
    auto const step = static_cast<std::size_t>(alignment);
    return orThrow(allocateAligned(step, (size + step - 1) / step * step));
}
void operator delete(void* memory) noexcept
{
    countRelease(memory);
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    countRelease(memory);
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept
{
    countRelease(memory);
    freeAligned(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept
{
    countRelease(memory);
    freeAligned(memory);
}
void* operator new(std::size_t size, std::nothrow_t const&) noexcept
{
    try {
        return operator new(size);
    } catch (std::bad_alloc const&) {
        return nullptr;
    }
}
void operator delete(void* memory, std::nothrow_t const&) noexcept
{
    operator delete(memory);
}
void* operator new[](std::size_t size)
{
    return operator new(size);
}
void* operator new[](std::size_t size, std::nothrow_t const& doesNotThrow) noexcept
{
    return operator new(size, doesNotThrow);
}
void operator delete[](void* memory) noexcept
{
    operator delete(memory);
}
void operator delete[](void* memory, std::size_t) noexcept
{
    operator delete(memory);
}
void operator delete[](void* memory, std::nothrow_t const&) noexcept
{
    operator delete(memory);
}
