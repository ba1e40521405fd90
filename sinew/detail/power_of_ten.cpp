#include <sinew/detail/power_of_ten.h>

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>

namespace sinew::detail {

namespace {

using portable::multiply;
using portable::UInt128;

// 5^k = 5^(kStep * i) * 5^r with 0 <= r < kStep, so that the second factor is exact in 64 bits.
constexpr int kStep = 28;

constexpr std::array<std::uint64_t, kStep> makeSmallPowers()
{
    std::array<std::uint64_t, kStep> powers{1};
    for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = 5 * powers[i - 1];
    return powers;
}
constexpr std::array<std::uint64_t, kStep> kSmallPowers = makeSmallPowers();

// 5^(kStep * i), truncated to three words, whose first bit is set. The product of one of these and a small power, cut
// to two words, is the truncated power: a test compares all of them with exact powers.
struct LargePower
{
    std::uint64_t high, middle, low;
};
constexpr LargePower kLargePowers[] = {
    {0xe1afa13afbd14d6d, 0x82189c09a3a1ec21, 0x7a43516213c7e04c}, // 5^-364
    {0xe3e27a444d8d98b7, 0xfd1b1b2308169b25, 0x363b1f2c568dc3e2}, // 5^-336
    {0xe61acf033d1a45df, 0x6fb92487298e33bd, 0xadd7728c20b99bd1}, // 5^-308
    {0xe858ad248f5c22c9, 0xd1b3400f8f9cff68, 0xf910f9f648232f14}, // 5^-280
    {0xea9c227723ee8bcb, 0x465e15a979c1cadc, 0x0a0ce827eac11f2d}, // 5^-252
    {0xece53cec4a314ebd, 0xa4f8bf5635246428, 0x4609ac5c7899ca36}, // 5^-224
    {0xef340a98172aace4, 0x86fb897116c87c34, 0x9c39c1da4c49278d}, // 5^-196
    {0xf18899b1bc3f8ca1, 0xdc44e6c3cb279ac1, 0xf80f36174730ca34}, // 5^-168
    {0xf3e2f893dec3f126, 0x5a89dba3c3efccfa, 0xd8ecb58659be9c90}, // 5^-140
    {0xf64335bcf065d37d, 0x4d4617b5ff4a16d5, 0xaa09501d5954a559}, // 5^-112
    {0xf8a95fcf88747d94, 0x75a44c6397ce912a, 0x33cca6c06b07b74d}, // 5^-84
    {0xfb158592be068d2e, 0xeed6e2f0f0d56712, 0xac2e4f162cfad40a}, // 5^-56
    {0xfd87b5f28300ca0d, 0x8bca9d6e188853fc, 0x76dcb60081ce0fa5}, // 5^-28
    {0x8000000000000000, 0x0000000000000000, 0x0000000000000000}, // 5^0
    {0x813f3978f8940984, 0x4000000000000000, 0x0000000000000000}, // 5^28
    {0x82818f1281ed449f, 0xbff8f10e7a8921a4, 0x2000000000000000}, // 5^56
    {0x83c7088e1aab65db, 0x792667c6da79e0fa, 0x0861d3ee22d1cc53}, // 5^84
    {0x850fadc09923329e, 0x03e2cf6bc604ddb0, 0x74a7ef0198791097}, // 5^112
    {0x865b86925b9bc5c2, 0x0b8a2392ba45a9b2, 0x5c6658d409fb8bf7}, // 5^140
    {0x87aa9aff79042286, 0x90fb44d2f05d0842, 0xfb118fc9c217a1d2}, // 5^168
    {0x88fcf317f22241e2, 0x441fece3bdf81f03, 0x12f274928400100d}, // 5^196
    {0x8a5296ffe33cc92f, 0x82bd6b70d99aaa6f, 0xbc10c5c5cda97c8d}, // 5^224
    {0x8bab8eefb6409c1a, 0x1ad089b6c2f7548e, 0x25c7b885ba466e37}, // 5^252
    {0x8d07e33455637eb2, 0xdb0b487b6423e1e8, 0x7ec63730f500b406}, // 5^280
    {0x8e679c2f5e44ff8f, 0x570f09eaa7ea7648, 0x5961db50c6d2b886}, // 5^308
    {0x8fcac257558ee4e6, 0x213a4f0aa5e8a7b1, 0x949063d8a46f0c0e}, // 5^336
};

constexpr int kGreatestExactPower = 55; // 5^55 < 2^128 < 5^56

} // namespace

PowerOfTen powerOfTen(int k)
{
    assert(k >= kLeastPowerOfTen && k <= kGreatestPowerOfTen);
    LargePower const& large = kLargePowers[static_cast<unsigned>(k - kLeastPowerOfTen) / kStep];
    std::uint64_t const small = kSmallPowers[static_cast<unsigned>(k - kLeastPowerOfTen) % kStep];
    std::uint64_t const factor = small << portable::leadingZeros(small);

    // The upper three words of the product of four.
    UInt128 const low = multiply(large.middle, factor) + UInt128{0, portable::multiplyHigh(large.low, factor)};
    UInt128 const high = multiply(large.high, factor) + UInt128{0, low.high};
    bool const normal = high.high >> 63 != 0;
    UInt128 const mantissa = normal ? high : UInt128{high.high << 1 | high.low >> 63, high.low << 1 | low.low >> 63};
    return {mantissa, floorLog2OfPowerOfTen(k) - 127, k >= 0 && k <= kGreatestExactPower};
}

} // namespace sinew::detail
