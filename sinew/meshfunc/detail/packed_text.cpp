#include <sinew/meshfunc/detail/packed_text.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

// Numbers are handled in blocks: one loop without branches turns a block into words of four characters, which the
// compiler does for several numbers at once, and a second one lays the words out. A number too large for 32 bits is
// rare and only noticed in the first loop; its block is then done over, one number at a time.

namespace sinew::detail {
namespace {

using Point = tzNM::vect2<double>;
using Word = std::uint32_t; // four characters, the first in the lowest byte

constexpr std::size_t kBlock = 128;

constexpr double kOrigin = 2.0;
constexpr double kStepsPerUnit = 1048576.0;  // 2^20
constexpr double kStep = 9.5367431640625e-7; // 2^-20
constexpr Word kFirstCharacter = 0x3F3F3F3F; // "????"
constexpr int kFirstCharacters3 = 63 * (1 + 64 + 4096);
constexpr int kFirstCharacters4 = 63 * (1 + 64 + 4096 + 262144);

// The four (or, of 18 bits, three) groups of six bits, each in a byte of its own.
Word spread(Word q)
{
    return ((q & 0x3Fu) | (q << 2 & 0x3F00u) | (q << 4 & 0x3F0000u) | (q << 6 & 0x3F000000u)) + kFirstCharacter;
}

std::int32_t signedByte(Word w, int index)
{
    return static_cast<std::int32_t>(w << (24 - 8 * index)) >> 24;
}

std::int32_t gather3(Word w)
{
    return signedByte(w, 0) + 64 * signedByte(w, 1) + 4096 * signedByte(w, 2) - kFirstCharacters3;
}

double gatherReal(Word w)
{
    std::int32_t const steps = signedByte(w, 0) + 64 * signedByte(w, 1) + 4096 * signedByte(w, 2) +
                               262144 * signedByte(w, 3) - kFirstCharacters4;
    return steps * kStep - kOrigin;
}

double inSteps(double x)
{
    return (kOrigin + x) * kStepsPerUnit + 0.5;
}

Word wordOfAnyReal(double x)
{
    double const steps = inSteps(x);
    bool const fits = steps >= -0x1p63 && steps < 0x1p63; // NaN does not
    return spread(static_cast<Word>(fits ? static_cast<std::int64_t>(steps) : 0));
}

// 2^52 and its bits: a double in [2^52, 2^52 + 2^24) has an integer below 2^24 in its low bits and these above it.
constexpr double kBias = 4503599627370496.0;
constexpr std::uint64_t kBiasBits = 0x4330000000000000;

// The bits of 2^52 + (steps, truncated), if those are in [0, 2^24). Otherwise the bits above the low 24 come out
// different from those of 2^52. The processor adds, compares and subtracts several doubles at once, but cannot convert
// them so without a compare more for what does not fit.
std::uint64_t biasedBits(double x)
{
    double const steps = inSteps(x);
    double const rounded = steps + kBias; // to the nearest integer, so half the time to the one above
    double const truncated = rounded - (rounded - kBias > steps ? 1.0 : 0.0);
    std::uint64_t bits = 0;
    std::memcpy(&bits, &truncated, sizeof bits);
    return bits;
}

// `count` <= kBlock words.
template <typename Real>
void realsToWords(Real const* numbers, std::size_t count, Word* words)
{
    std::uint64_t unlike = 0;
    for (std::size_t i = 0; i < count; ++i) {
        std::uint64_t const bits = biasedBits(numbers[i]);
        unlike |= bits ^ kBiasBits;
        words[i] = spread(static_cast<Word>(bits));
    }
    if (unlike >> 24 == 0) return;
    for (std::size_t i = 0; i < count; ++i) words[i] = wordOfAnyReal(numbers[i]);
}

// `count` <= kBlock / 2 points, two words each.
void pointsToWords(Point const* points, std::size_t count, Word* words)
{
    static_assert(std::is_standard_layout_v<Point> && sizeof(Point) == 2 * sizeof(double));
    realsToWords(&points->x, 2 * count, words); // x and y of all points are consecutive doubles
}

#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
constexpr bool kLowByteFirst = true;
#else
constexpr bool kLowByteFirst = false; // or not known: one byte at a time is right everywhere
#endif

// The lowest bytes of a number in the text's order, whatever the processor's.
template <typename Unsigned, std::size_t bytes = sizeof(Unsigned)>
char* storeBytes(Unsigned value, char* out)
{
    if constexpr (kLowByteFirst) {
        std::memcpy(out, &value, bytes);
    } else {
        for (std::size_t i = 0; i < bytes; ++i) out[i] = static_cast<char>(static_cast<unsigned char>(value >> 8 * i));
    }
    return out + bytes;
}

template <typename Unsigned, std::size_t bytes = sizeof(Unsigned)>
Unsigned loadBytes(char const* in)
{
    Unsigned value = 0;
    if constexpr (kLowByteFirst) {
        std::memcpy(&value, in, bytes);
    } else {
        for (std::size_t i = 0; i < bytes; ++i)
            value |= static_cast<Unsigned>(static_cast<unsigned char>(in[i])) << 8 * i;
    }
    return value;
}

// Calls `handle(first, count)` for consecutive blocks of at most `block` items.
template <typename Handle>
void inBlocks(std::size_t count, std::size_t block, Handle handle)
{
    for (std::size_t first = 0; first < count; first += block) handle(first, std::min(block, count - first));
}

constexpr std::uint64_t kThreeBytes = 0xFFFFFF;

} // namespace

char* packIntegers(int const* numbers, std::size_t count, char* out)
{
    inBlocks(count, kBlock, [&](std::size_t first, std::size_t n) {
        Word words[kBlock];
        for (std::size_t i = 0; i < n; ++i) words[i] = spread(static_cast<Word>(numbers[first + i]));
        std::size_t i = 0;
        for (; i + 4 <= n; i += 4) { // four times three bytes are one store of eight and one of four
            std::uint64_t const a = words[i] & kThreeBytes;
            std::uint64_t const b = words[i + 1] & kThreeBytes;
            std::uint64_t const c = words[i + 2] & kThreeBytes;
            out = storeBytes(a | b << 24 | c << 48, out);
            out = storeBytes(static_cast<Word>(c >> 16) | words[i + 3] << 8, out);
        }
        for (; i < n; ++i) out = storeBytes<Word, 3>(words[i], out);
    });
    return out;
}

char* packReals(float const* numbers, std::size_t count, char* out)
{
    inBlocks(count, kBlock, [&](std::size_t first, std::size_t n) {
        Word words[kBlock];
        realsToWords(numbers + first, n, words);
        char* end = out;
        for (std::size_t i = 0; i < n; ++i) end = storeBytes(words[i], end);
        out = end;
    });
    return out;
}

char* packVertices(Point const* params, Point const* values, std::size_t count, char* out)
{
    inBlocks(count, kBlock / 2, [&](std::size_t first, std::size_t n) {
        Word positionWords[kBlock];
        Word valueWords[kBlock];
        pointsToWords(params + first, n, positionWords);
        pointsToWords(values + first, n, valueWords);
        char* end = out;
        for (std::size_t i = 0; i < n; ++i) {
            end = storeBytes(positionWords[2 * i], end);
            end = storeBytes(positionWords[2 * i + 1], end);
            end = storeBytes(valueWords[2 * i], end);
            end = storeBytes(valueWords[2 * i + 1], end);
        }
        out = end;
    });
    return out;
}

char const* unpackIntegers(char const* in, std::size_t count, int* numbers)
{
    inBlocks(count, kBlock, [&](std::size_t first, std::size_t n) {
        Word words[kBlock];
        std::size_t i = 0;
        for (; i + 4 <= n; i += 4, in += 12) {
            auto const low = loadBytes<std::uint64_t>(in);
            auto const high = loadBytes<Word>(in + 8);
            words[i] = static_cast<Word>(low);
            words[i + 1] = static_cast<Word>(low >> 24);
            words[i + 2] = static_cast<Word>(low >> 48) | high << 16;
            words[i + 3] = high >> 8;
        }
        for (; i < n; ++i, in += 3) words[i] = loadBytes<Word, 3>(in);
        for (i = 0; i < n; ++i) numbers[first + i] = gather3(words[i]);
    });
    return in;
}

char const* unpackReals(char const* in, std::size_t count, float* numbers)
{
    inBlocks(count, kBlock, [&](std::size_t first, std::size_t n) {
        Word words[kBlock];
        for (std::size_t i = 0; i < n; ++i, in += kPackedReal) words[i] = loadBytes<Word>(in);
        for (std::size_t i = 0; i < n; ++i) numbers[first + i] = static_cast<float>(gatherReal(words[i]));
    });
    return in;
}

char const* unpackVertices(char const* in, std::size_t count, Point* params, Point* values)
{
    for (std::size_t i = 0; i < count; ++i, in += kPackedVertex) {
        params[i] = {gatherReal(loadBytes<Word>(in)), gatherReal(loadBytes<Word>(in + 4))};
        values[i] = {gatherReal(loadBytes<Word>(in + 8)), gatherReal(loadBytes<Word>(in + 12))};
    }
    return in;
}

} // namespace sinew::detail
