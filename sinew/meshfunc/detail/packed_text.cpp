#include <sinew/meshfunc/detail/packed_text.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

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

// Clamped to 32 bits, so that the conversion is defined; `clamped` tells whether that may have changed anything.
Word wordOfReal(double x, std::int32_t& clamped)
{
    constexpr double kLow = -2147483648.0;
    constexpr double kHigh = 2147483647.0;
    double const steps = inSteps(x);
    double const above = steps > kLow ? steps : kLow; // NaN becomes kLow
    double const inside = above < kHigh ? above : kHigh;
    auto const q = static_cast<std::int32_t>(inside);
    clamped |= static_cast<std::int32_t>(q == INT32_MIN) | static_cast<std::int32_t>(q == INT32_MAX);
    return spread(static_cast<Word>(q));
}

// `count` <= kBlock words.
template <typename Real>
void realsToWords(Real const* numbers, std::size_t count, Word* words)
{
    std::int32_t clamped = 0;
    for (std::size_t i = 0; i < count; ++i) words[i] = wordOfReal(numbers[i], clamped);
    if (!clamped) return;
    for (std::size_t i = 0; i < count; ++i) words[i] = wordOfAnyReal(numbers[i]);
}

// `count` <= kBlock / 2 points, two words each.
void pointsToWords(Point const* points, std::size_t count, Word* words)
{
    std::int32_t clamped = 0;
    for (std::size_t i = 0; i < count; ++i) {
        words[2 * i] = wordOfReal(points[i].x, clamped);
        words[2 * i + 1] = wordOfReal(points[i].y, clamped);
    }
    if (!clamped) return;
    for (std::size_t i = 0; i < count; ++i) {
        words[2 * i] = wordOfAnyReal(points[i].x);
        words[2 * i + 1] = wordOfAnyReal(points[i].y);
    }
}

// Byte by byte in the text's order, whatever the processor's; compilers make one store or load of it.
template <typename Unsigned>
char* storeBytes(Unsigned value, char* out, int bytes = sizeof(Unsigned))
{
    for (int i = 0; i < bytes; ++i) out[i] = static_cast<char>(static_cast<unsigned char>(value >> 8 * i));
    return out + bytes;
}

template <typename Unsigned>
Unsigned loadBytes(char const* in, int bytes = sizeof(Unsigned))
{
    Unsigned value = 0;
    for (int i = 0; i < bytes; ++i) value |= static_cast<Unsigned>(static_cast<unsigned char>(in[i])) << 8 * i;
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
        for (; i < n; ++i) out = storeBytes(words[i], out, 3);
    });
    return out;
}

char* packReals(float const* numbers, std::size_t count, char* out)
{
    inBlocks(count, kBlock, [&](std::size_t first, std::size_t n) {
        Word words[kBlock];
        realsToWords(numbers + first, n, words);
        for (std::size_t i = 0; i < n; ++i) out = storeBytes(words[i], out);
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
        for (std::size_t i = 0; i < n; ++i) {
            out = storeBytes(positionWords[2 * i], out);
            out = storeBytes(positionWords[2 * i + 1], out);
            out = storeBytes(valueWords[2 * i], out);
            out = storeBytes(valueWords[2 * i + 1], out);
        }
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
        for (; i < n; ++i, in += 3) words[i] = loadBytes<Word>(in, 3);
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
