// Numbers are handled in blocks. A first loop without branches turns a block into words of four characters; compilers
// vectorise it. A second loop writes the words. The first loop also notices whether a number of the block does not fit
// into 24 bits, which is rare. The block is then converted again, one number at a time.
//
// Source of the conversion by adding 2^52: C. Hecker, Let's get to the (floating) point, Game Developer Magazine,
// February 1996. We truncate where the addition alone would round to nearest.

#include <sinew/meshfunc/detail/packed_text.h>

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace sinew::detail {

namespace {

using Point = tzNM::vect2<double>;
using Word = std::uint32_t; // four characters, the first one in the lowest byte

// Numbers that are converted together.
constexpr std::size_t kBlock = 128;

constexpr int kByteBits = 8;
constexpr Word kCharacterMask = (Word{1} << kBitsPerCharacter) - 1;

// The first character in each byte of a word.
constexpr Word kFirstCharacters = 0x01010101u * static_cast<Word>(kFirstCharacter);

// The value of character i of a number is this to the power i.
constexpr std::int32_t kBase = 1 << kBitsPerCharacter;

// Spreads the lowest 24 bits into four bytes with six bits each, and makes them characters.
Word spread(Word q)
{
    constexpr int kShift = kByteBits - kBitsPerCharacter; // what each group moves further than the one before
    auto const group = [q](int i) { return (q << (i * kShift)) & (kCharacterMask << (i * kByteBits)); };
    return (group(0) | group(1) | group(2) | group(3)) + kFirstCharacters;
}

std::int32_t signedByte(Word w, int index)
{
    constexpr int kTopByte = 3 * kByteBits;
    return static_cast<std::int32_t>(w << (kTopByte - kByteBits * index)) >> kTopByte;
}

std::int32_t integerOf(Word w)
{
    constexpr std::int32_t kZero = kFirstCharacter * (1 + kBase + kBase * kBase); // what "???" would give
    return signedByte(w, 0) + kBase * signedByte(w, 1) + kBase * kBase * signedByte(w, 2) - kZero;
}

double realOf(Word w)
{
    constexpr std::int32_t kCube = kBase * kBase * kBase;
    constexpr std::int32_t kZero = kFirstCharacter * (1 + kBase + kBase * kBase + kCube); // what "????" would give
    std::int32_t const steps = signedByte(w, 0) + kBase * signedByte(w, 1) + kBase * kBase * signedByte(w, 2) +
                               kCube * signedByte(w, 3) - kZero;
    return steps * kStep - kPackedOrigin;
}

// The number of steps above the lowest real, with the half that makes truncation round.
double inSteps(double x)
{
    return (kPackedOrigin + x) * kStepsPerUnit + 0.5;
}

Word wordOfAnyReal(double x)
{
    double const steps = inSteps(x);
    bool const fits = steps >= -0x1p63 && steps < 0x1p63; // what 64 bits hold; false for NaN
    return spread(static_cast<Word>(fits ? static_cast<std::int64_t>(steps) : 0));
}

// 2^52 and its bits. A double in [2^52, 2^52 + 2^24) has an integer below 2^24 in its lowest 24 bits, and the same
// bits as 2^52 above them.
constexpr double kBias = 0x1p52;
constexpr std::uint64_t kBiasBits = 0x4330000000000000;

// The bits of 2^52 + (steps, truncated), if the truncated steps lie in [0, 2^24). If they do not, the bits above the
// lowest 24 differ from those of 2^52.
//
// Additions, comparisons and subtractions of doubles are vectorised. The conversion of doubles to integers would need
// a further comparison for the numbers that do not fit.
std::uint64_t biasedBits(double x)
{
    double const steps = inSteps(x);
    double const rounded = steps + kBias; // rounded to the nearest integer, which may be the next one above
    double const truncated = rounded - (rounded - kBias > steps ? 1.0 : 0.0);
    std::uint64_t bits = 0;
    std::memcpy(&bits, &truncated, sizeof bits);
    return bits;
}

// Converts up to kBlock numbers.
template <typename Real>
void realsToWords(Real const* numbers, std::size_t count, Word* words)
{
    assert(count <= kBlock);
    std::uint64_t differences = 0;
    for (std::size_t i = 0; i < count; ++i) {
        std::uint64_t const bits = biasedBits(numbers[i]);
        differences |= bits ^ kBiasBits;
        words[i] = spread(static_cast<Word>(bits));
    }
    if (differences >> kRealBits == 0) return;
    for (std::size_t i = 0; i < count; ++i) words[i] = wordOfAnyReal(numbers[i]);
}

// Converts up to kBlock / 2 points to two words each.
void pointsToWords(Point const* points, std::size_t count, Word* words)
{
    static_assert(std::is_standard_layout_v<Point> && sizeof(Point) == 2 * sizeof(double));
    realsToWords(&points->x, 2 * count, words); // x and y of all points are consecutive doubles
}

#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
constexpr bool kLowByteFirst = true;
#else
constexpr bool kLowByteFirst = false; // or unknown; writing single bytes is right for any order
#endif

// Writes the lowest bytes of a number, the lowest one first.
template <typename Unsigned, std::size_t bytes = sizeof(Unsigned)>
char* storeBytes(Unsigned value, char* out)
{
    if constexpr (kLowByteFirst) {
        std::memcpy(out, &value, bytes);
    } else {
        for (std::size_t i = 0; i < bytes; ++i)
            out[i] = static_cast<char>(static_cast<unsigned char>(value >> kByteBits * i));
    }
    return out + bytes;
}

// Reads what storeBytes() writes.
template <typename Unsigned, std::size_t bytes = sizeof(Unsigned)>
Unsigned loadBytes(char const* in)
{
    Unsigned value = 0;
    if constexpr (kLowByteFirst) {
        std::memcpy(&value, in, bytes);
    } else {
        for (std::size_t i = 0; i < bytes; ++i)
            value |= static_cast<Unsigned>(static_cast<unsigned char>(in[i])) << kByteBits * i;
    }
    return value;
}

// Calls handle(first, count) for consecutive blocks of at most `block` items.
template <typename Handle>
void inBlocks(std::size_t count, std::size_t block, Handle handle)
{
    for (std::size_t first = 0; first < count; first += block) handle(first, std::min(block, count - first));
}

// Four integers take twelve characters, which are written and read as one number of eight bytes and one of four. The
// third integer lies across their border: two of its bytes are in the first number.
constexpr std::size_t kIntegersTogether = 4;
constexpr int kIntegerBytesBits = kCharactersPerInteger * kByteBits; // bits of the characters of one integer
constexpr std::uint64_t kIntegerBytesMask = (std::uint64_t{1} << kIntegerBytesBits) - 1;
constexpr int kBitsBeforeBorder = 8 * kByteBits - 2 * kIntegerBytesBits; // of the third integer

char* storeFourIntegers(Word const* words, char* out)
{
    std::uint64_t const a = words[0] & kIntegerBytesMask;
    std::uint64_t const b = words[1] & kIntegerBytesMask;
    std::uint64_t const c = words[2] & kIntegerBytesMask;
    out = storeBytes(a | (b << kIntegerBytesBits) | (c << (2 * kIntegerBytesBits)), out);
    return storeBytes(static_cast<Word>(c >> kBitsBeforeBorder) | (words[3] << kByteBits), out);
}

char const* loadFourIntegers(char const* in, Word* words)
{
    auto const low = loadBytes<std::uint64_t>(in);
    auto const high = loadBytes<Word>(in + sizeof low);
    words[0] = static_cast<Word>(low);
    words[1] = static_cast<Word>(low >> kIntegerBytesBits);
    words[2] = static_cast<Word>(low >> (2 * kIntegerBytesBits)) | (high << kBitsBeforeBorder);
    words[3] = high >> kByteBits;
    return in + kIntegersTogether * kPackedInteger;
}

} // namespace

char* packIntegers(int const* numbers, std::size_t count, char* out)
{
    inBlocks(count, kBlock, [&](std::size_t first, std::size_t n) {
        Word words[kBlock];
        for (std::size_t i = 0; i < n; ++i) words[i] = spread(static_cast<Word>(numbers[first + i]));
        std::size_t i = 0;
        for (; i + kIntegersTogether <= n; i += kIntegersTogether) out = storeFourIntegers(words + i, out);
        for (; i < n; ++i) out = storeBytes<Word, kPackedInteger>(words[i], out);
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
        for (; i + kIntegersTogether <= n; i += kIntegersTogether) in = loadFourIntegers(in, words + i);
        for (; i < n; ++i, in += kPackedInteger) words[i] = loadBytes<Word, kPackedInteger>(in);
        for (i = 0; i < n; ++i) numbers[first + i] = integerOf(words[i]);
    });
    return in;
}

char const* unpackReals(char const* in, std::size_t count, float* numbers)
{
    inBlocks(count, kBlock, [&](std::size_t first, std::size_t n) {
        Word words[kBlock];
        for (std::size_t i = 0; i < n; ++i, in += kPackedReal) words[i] = loadBytes<Word>(in);
        for (std::size_t i = 0; i < n; ++i) numbers[first + i] = static_cast<float>(realOf(words[i]));
    });
    return in;
}

char const* unpackVertices(char const* in, std::size_t count, Point* params, Point* values)
{
    auto const nextReal = [&in] {
        double const real = realOf(loadBytes<Word>(in));
        in += kPackedReal;
        return real;
    };
    for (std::size_t i = 0; i < count; ++i) {
        params[i].x = nextReal();
        params[i].y = nextReal();
        values[i].x = nextReal();
        values[i].y = nextReal();
    }
    return in;
}

} // namespace sinew::detail
