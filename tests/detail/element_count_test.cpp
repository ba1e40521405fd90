#include <sinew/detail/element_count.h>

#include <cstdint>
#include <new>

#include <gtest/gtest.h>

using sinew::detail::elementCount;

TEST(ElementCount, IsTheCountWhereAnObjectCanBeAsLarge)
{
    EXPECT_EQ(elementCount<double>(0), 0u);
    std::int64_t const most = PTRDIFF_MAX / sizeof(double);
    EXPECT_EQ(elementCount<double>(most), static_cast<std::size_t>(most));
}

TEST(ElementCount, MoreIsRefusedAsMemoryThatRunsOut)
{
    std::int64_t const most = PTRDIFF_MAX / sizeof(double);
    EXPECT_THROW(elementCount<double>(most + 1), std::bad_alloc);
    EXPECT_THROW(elementCount<char>(SIZE_MAX), std::bad_alloc);
    EXPECT_THROW(elementCount<double>(UINT64_MAX), std::bad_alloc);
    if (sizeof(std::size_t) == 4) {
        EXPECT_THROW(elementCount<char>(std::int64_t{1} << 31), std::bad_alloc);
        EXPECT_THROW(elementCount<char>(std::int64_t{1} << 32), std::bad_alloc); // 0, modulo 2^32
    }
}
