#include <sinew/core/strided.h>

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include <sinew/core/detail/real_array.h>

using sinew::Strided;

namespace {

struct Vertex
{
    float position[3];
    std::uint8_t bones[4];
    double weight;
};

std::vector<Vertex> const kBuffer = {{{1, 2, 3}, {4, 5, 6, 7}, 0.25}, {{8, 9, 10}, {11, 12, 13, 14}, 0.5}};

} // namespace

TEST(Strided, ReadsNumbersOfInterleavedElements)
{
    Strided<float const> const positions(kBuffer[0].position, kBuffer.size(), sizeof(Vertex));
    EXPECT_EQ(positions.get(0), 1.0f);
    EXPECT_EQ(positions.get(1, 2), 10.0f);
    Strided<std::uint8_t const> const bones(kBuffer[0].bones, kBuffer.size(), sizeof(Vertex));
    EXPECT_EQ(bones.get(1, 3), 14);
    Strided<double const> const weights(&kBuffer[0].weight, kBuffer.size(), sizeof(Vertex));
    EXPECT_EQ(weights.get(1), 0.5);
}

TEST(Strided, WritesOnlyTheNumberItself)
{
    std::vector<Vertex> buffer = kBuffer;
    Strided<float> const positions(buffer[0].position, buffer.size(), sizeof(Vertex));
    positions.set(1, 1, -3.0f);
    EXPECT_EQ(buffer[1].position[0], 8.0f);
    EXPECT_EQ(buffer[1].position[1], -3.0f);
    EXPECT_EQ(buffer[1].position[2], 10.0f);
}

TEST(Strided, AcceptsAnyAlignment)
{
    for (int shift = 0; shift < 8; ++shift) {
        std::vector<unsigned char> bytes(64, 0xee);
        // The cast only carries the address; the number is accessed byte by byte.
        Strided<double> const numbers(reinterpret_cast<double*>(bytes.data() + shift), 3, 13);
        for (std::size_t i = 0; i < 3; ++i) numbers.set(i, 0, 0.1 * static_cast<double>(i));
        for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(numbers.get(i), 0.1 * static_cast<double>(i)) << shift;
        EXPECT_EQ(bytes[static_cast<std::size_t>(shift) + 8], 0xee); // between two elements
    }
}

TEST(Strided, AStrideMayBeNegativeOrZero)
{
    double const numbers[] = {1, 2, 3};
    Strided<double const> const reversed(numbers + 2, 3, -static_cast<int>(sizeof(double)));
    EXPECT_EQ(reversed.get(0), 3.0);
    EXPECT_EQ(reversed.get(2), 1.0);
    EXPECT_EQ(Strided<double const>(numbers, 1000, 0).get(999), 1.0);
}

TEST(Strided, AStrideMayHaveAnyIntegerType)
{
    float const numbers[] = {1, 2, 3, 4, 5, 6};
    auto const second = [&numbers](auto stride) { return Strided<float const>(numbers, 2, stride).get(1); };
    EXPECT_EQ(second(std::uint8_t{12}), 4.0f);
    EXPECT_EQ(second(std::int16_t{12}), 4.0f);
    EXPECT_EQ(second(std::uint32_t{12}), 4.0f);
    EXPECT_EQ(second(12L), 4.0f);
    EXPECT_EQ(second(12LL), 4.0f);
    EXPECT_EQ(second(12ULL), 4.0f);
    EXPECT_EQ(second(3 * sizeof(float)), 4.0f);
}

TEST(Strided, BecomesAnArrayForReading)
{
    static_assert(std::is_convertible_v<Strided<float>, Strided<float const>>);
    static_assert(!std::is_convertible_v<Strided<float const>, Strided<float>>);
    static_assert(!std::is_convertible_v<Strided<float>, Strided<double const>>);
    double numbers[] = {1, 2};
    Strided<double const> const read = Strided<double>(numbers, 2, sizeof(double));
    EXPECT_EQ(read.get(1), 2.0);
    EXPECT_EQ(read.count, 2u);
}

TEST(Strided, CoordinatesOfVectorsHaveThreeNumbers)
{
    std::vector<Vector3> vectors = {{1, 2, 3}, {4, 5, 6}};
    std::vector<Vector3> const& fixed = vectors;
    EXPECT_EQ(sinew::coordinatesOf(fixed.data(), fixed.size()).get(1, 2), 6.0);
    sinew::coordinatesOf(vectors.data(), vectors.size()).set(0, 1, 7.0);
    EXPECT_EQ(vectors[0], Vector3(1, 7, 3));
    EXPECT_EQ(sinew::coordinatesOf(static_cast<Vector3 const*>(nullptr), 0).count, 0u);
    EXPECT_EQ(sinew::coordinatesOf(nullptr, 0).count, 0u);
}

TEST(Strided, PackedArraysHaveNoGaps)
{
    std::vector<float> const numbers = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(sinew::packed(numbers).count, 6u);
    EXPECT_EQ(sinew::packed(numbers).get(5), 6.0f);
    Strided<float const> const points = sinew::packed(numbers.data(), 2, 3);
    EXPECT_EQ(points.count, 2u);
    EXPECT_EQ(points.get(1, 2), 6.0f);
    EXPECT_EQ(sinew::packed(std::vector<int>()).count, 0u);
    EXPECT_EQ(sinew::packed(numbers, 2).count, 3u);
    EXPECT_EQ(sinew::packed(numbers, 2).get(2, 1), 6.0f);
    EXPECT_EQ(sinew::packed(numbers, 4).count, 1u) << "numbers after the last whole element are left out";
}

namespace {

template <typename T>
std::int64_t readBack(T number)
{
    unsigned char bytes[1 + sizeof number];
    std::memcpy(bytes + 1, &number, sizeof number);
    // The cast only carries the address, which is not aligned.
    return sinew::detail::integerAt(sinew::packed(reinterpret_cast<T const*>(bytes + 1), 1), 0);
}

} // namespace

TEST(Strided, IntegersOfAllSizesKeepTheirValue)
{
    EXPECT_EQ(readBack<std::int8_t>(-3), -3);
    EXPECT_EQ(readBack<std::uint8_t>(253), 253);
    EXPECT_EQ(readBack<std::int16_t>(-30000), -30000);
    EXPECT_EQ(readBack<std::uint16_t>(65535), 65535);
    EXPECT_EQ(readBack<std::int32_t>(INT32_MIN), INT32_MIN);
    EXPECT_EQ(readBack<std::uint32_t>(UINT32_MAX), std::int64_t{UINT32_MAX});
    EXPECT_EQ(readBack<std::int64_t>(INT64_MIN), INT64_MIN);
    EXPECT_EQ(readBack<std::uint64_t>(INT64_MAX), INT64_MAX);
    EXPECT_EQ(readBack<std::uint64_t>(UINT64_MAX), INT64_MAX) << "the greatest number that fits";
}
