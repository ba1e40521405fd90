#include <selftest/record.h>

#include <cmath>
#include <limits>
#include <string>

#include <gtest/gtest.h>

using selftest::Record;

namespace {

template <typename... Values>
std::uint64_t hashOf(Values const&... values)
{
    Record record;
    (record.add(values), ...);
    return record.hash();
}

} // namespace

// By the definition: (start xor word) times the prime, then the high half folded into the low half.
TEST(Record, HashesWordsAsDefined)
{
    std::uint64_t expected = (0xcbf29ce484222325u ^ 5u) * 0x100000001b3u;
    expected ^= expected >> 32;
    EXPECT_EQ(hashOf(5), expected);
}

TEST(Record, IntegersOfAllSizesAreTheSameWord)
{
    EXPECT_EQ(hashOf(-1), hashOf(std::int64_t{-1}));
    EXPECT_EQ(hashOf(static_cast<signed char>(-1)), hashOf(-1L));
    EXPECT_EQ(hashOf(std::uint32_t{7}), hashOf(std::uint64_t{7}));
    EXPECT_EQ(hashOf(true), hashOf(1));
    EXPECT_NE(hashOf(-1), hashOf(~0u));
}

TEST(Record, ZerosOfBothSignsDiffer)
{
    EXPECT_NE(hashOf(0.0), hashOf(-0.0));
}

TEST(Record, AllNaNsAreEqual)
{
    double const nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(hashOf(nan), hashOf(-nan));
    EXPECT_EQ(hashOf(nan), hashOf(std::nan("123")));
    EXPECT_NE(hashOf(nan), hashOf(std::numeric_limits<double>::infinity()));
}

TEST(Record, AFloatIsTheDoubleOfEqualValue)
{
    EXPECT_EQ(hashOf(0.1F), hashOf(static_cast<double>(0.1F)));
}

TEST(Record, EveryBitOfEveryNumberMatters)
{
    Vector3 const v(1.0, 2.0, 3.0);
    for (int i = 0; i < 3; ++i) {
        Vector3 other = v;
        other[i] = std::nextafter(other[i], 0.0);
        EXPECT_NE(hashOf(v), hashOf(other));
    }
    EXPECT_NE(hashOf(1, 2), hashOf(2, 1));
}

TEST(Record, ListsAndTextsCountTheirLength)
{
    using List = std::vector<int>;
    EXPECT_NE(hashOf(List{1}, List{}), hashOf(List{}, List{1}));
    EXPECT_NE(hashOf(std::string("ab"), std::string("c")), hashOf(std::string("a"), std::string("bc")));
    EXPECT_NE(hashOf(std::string()), hashOf(std::string(1, '\0')));
    EXPECT_NE(hashOf(std::string("12345678")), hashOf(std::string("123456789")));
    EXPECT_NE(hashOf(std::string("\xE9")), hashOf(std::string("i")));
}
