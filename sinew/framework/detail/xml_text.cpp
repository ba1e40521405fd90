// Source: W3C, Extensible Markup Language (XML) 1.0, fifth edition, 2008. "Production" means a rule of its grammar.

#include <sinew/framework/detail/xml_text.h>

#include <algorithm>
#include <cassert>
#include <utility>

namespace sinew::detail {
namespace {

// Most text is printable ASCII. It is checked in blocks of this many bytes, a multiple of the width of every vector
// register.
constexpr std::size_t kBlock = 64;

// The loop has no early exit and uses operations on bytes only, so that the compiler compares many bytes at once.
bool isPrintableBlock(char const* block)
{
    unsigned char outside = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
        auto const aboveBlank = static_cast<unsigned char>(block[i] - ' ');
        outside |= aboveBlank > '~' - ' ' ? 1 : 0;
    }
    return outside == 0;
}

// The first code points that UTF-8 encodes with two, three and four bytes, and the first number beyond all code points.
constexpr std::uint32_t kTwoBytes = 0x80;
constexpr std::uint32_t kThreeBytes = 0x800;
constexpr std::uint32_t kFourBytes = 0x10000;
constexpr std::uint32_t kBeyondUnicode = 0x110000;

// A continuation byte carries six bits below its mark 10.
constexpr std::uint32_t kContinuationMark = 0x80;
constexpr std::uint32_t kContinuationBits = 0x3F;

// The length of the UTF-8 sequence of several bytes that begins with `first`; 0 if no such sequence begins with it.
constexpr std::size_t sequenceLength(std::uint32_t first)
{
    if (first < 0xC0) return 0; // a continuation byte
    if (first < 0xE0) return 2;
    if (first < 0xF0) return 3;
    return first < 0xF8 ? 4 : 0;
}

struct Decoded
{
    std::uint32_t codePoint;
    std::size_t length; // in bytes; 0 if the bytes are not UTF-8 in its shortest form
};

// Decodes the character at the beginning of `text`, which must not be empty.
Decoded decodeUtf8(std::string_view text)
{
    assert(!text.empty());
    auto const byte = [&](std::size_t i) { return static_cast<std::uint32_t>(static_cast<unsigned char>(text[i])); };
    std::uint32_t const first = byte(0);
    if (first < kTwoBytes) return {first, 1};
    std::size_t const length = sequenceLength(first);
    if (length == 0 || text.size() < length) return {0, 0};
    std::uint32_t codePoint = first & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if (!isContinuationByte(text[i])) return {0, 0};
        codePoint = codePoint << 6 | (byte(i) & kContinuationBits);
    }
    // A character in a longer form than necessary is refused: it would pass a check that compares bytes with markup.
    static constexpr std::uint32_t kSmallest[] = {0, 0, kTwoBytes, kThreeBytes, kFourBytes};
    if (codePoint < kSmallest[length]) return {0, 0};
    return {codePoint, length};
}

void appendUtf8(std::string& out, std::uint32_t c)
{
    assert(c < kBeyondUnicode);
    auto const put = [&](std::uint32_t byte) { out += static_cast<char>(static_cast<unsigned char>(byte)); };
    auto const putContinuation = [&](std::uint32_t bits) { put(kContinuationMark | (bits & kContinuationBits)); };
    if (c < kTwoBytes) {
        put(c);
    } else if (c < kThreeBytes) {
        put(0xC0 | c >> 6);
        putContinuation(c);
    } else if (c < kFourBytes) {
        put(0xE0 | c >> 12);
        putContinuation(c >> 6);
        putContinuation(c);
    } else {
        put(0xF0 | c >> 18);
        putContinuation(c >> 12);
        putContinuation(c >> 6);
        putContinuation(c);
    }
}

struct Range // both ends included
{
    std::uint32_t first, last;
};

template <std::size_t n>
bool inAny(Range const (&ranges)[n], std::uint32_t c)
{
    return std::any_of(ranges, ranges + n, [c](Range const& r) { return c >= r.first && c <= r.last; });
}

// Production 4, NameStartChar.
bool startsName(std::uint32_t c)
{
    static constexpr Range kRanges[] = {{'a', 'z'},       {'A', 'Z'},       {'_', '_'},       {':', ':'},
                                        {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
                                        {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
                                        {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF}};
    return inAny(kRanges, c);
}

// Production 4a, NameChar.
bool continuesName(std::uint32_t c)
{
    static constexpr Range kRanges[] = {{'0', '9'}, {'-', '.'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};
    return startsName(c) || inAny(kRanges, c);
}

// The value of the digits of a character reference, without the semicolon. The result is 0, a character that XML does
// not allow, if there is no digit or anything else than digits.
std::uint32_t parseCodePoint(std::string_view digits, std::uint32_t base)
{
    std::uint32_t value = 0;
    for (char const c : digits) {
        std::uint32_t digit = base;
        if (c >= '0' && c <= '9') digit = static_cast<std::uint32_t>(c - '0');
        if (c >= 'a' && c <= 'f') digit = static_cast<std::uint32_t>(c - 'a') + 10;
        if (c >= 'A' && c <= 'F') digit = static_cast<std::uint32_t>(c - 'A') + 10;
        if (digit >= base) return 0;
        value = std::min(value * base + digit, kBeyondUnicode); // limited, so that many digits do not overflow
    }
    return value;
}

// The characters that a reader would not return unchanged if they were written literally, and ">". In character data a
// carriage return becomes a line feed; in an attribute every white space becomes a blank. ">" is not allowed after
// "]]".
constexpr std::string_view kEscapedInText = "&<>\r";
constexpr std::string_view kEscapedInAttribute = "&<>\"\t\n\r";

std::string_view escapeOf(char c)
{
    switch (c) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\t':
        return "&#9;";
    case '\n':
        return "&#10;";
    default:
        assert(c == '\r');
        return "&#13;";
    }
}

// Copies `raw` to `out`, except at a character of `special`. There it calls `change` with the rest of `raw`;
// `change` appends the replacement and returns the number of bytes it replaces, which is at least 1.
template <typename Change>
void copyChanging(std::string& out, std::string_view raw, std::string_view special, Change change)
{
    std::size_t done = 0;
    for (;;) {
        std::size_t const next = std::min(raw.find_first_of(special, done), raw.size());
        out.append(raw, done, next - done);
        if (next == raw.size()) return;
        std::size_t const replaced = change(raw.substr(next));
        assert(replaced > 0);
        done = next + replaced;
    }
}

void appendEscaped(std::string& out, std::string_view text, std::string_view special)
{
    copyChanging(out, text, special, [&](std::string_view rest) {
        out += escapeOf(rest[0]);
        return std::size_t{1};
    });
}

// Number of bytes of the one white space or line end at the beginning of `rest`: "\r\n" counts as one.
std::size_t spaceLength(std::string_view rest)
{
    return rest.substr(0, 2) == "\r\n" ? 2 : 1;
}

std::size_t appendLineEnd(std::string& out, std::string_view rest)
{
    out += '\n';
    return spaceLength(rest);
}

// Whether character data needs no change: it contains no reference and no carriage return. Two searches for one
// character each are faster than one for both.
bool isVerbatim(std::string_view raw)
{
    return raw.find('&') == std::string_view::npos && raw.find('\r') == std::string_view::npos;
}

} // namespace

std::string shortened(std::string_view text)
{
    constexpr std::size_t kLongest = 60; // bytes: a message with two names still fits a line or two of a log
    if (text.size() <= kLongest) return std::string(text);
    std::size_t end = kLongest;
    while (end > 0 && isContinuationByte(text[end])) --end; // whole characters only
    return std::string(text.substr(0, end)) + "...";
}

// Production 2, Char.
bool isXmlCharacter(std::uint32_t c)
{
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0x10FFFF);
}

std::size_t findBadCharacter(std::string_view text)
{
    std::size_t at = 0;
    while (at < text.size()) {
        if (text.size() - at >= kBlock && isPrintableBlock(text.data() + at)) {
            at += kBlock;
            continue;
        }
        std::size_t const end = at + std::min(kBlock, text.size() - at);
        while (at < end) {
            Decoded const c = decodeUtf8(text.substr(at));
            if (c.length == 0 || !isXmlCharacter(c.codePoint)) return at;
            at += c.length;
        }
    }
    return at;
}

std::size_t nameLength(std::string_view text)
{
    std::size_t at = 0;
    while (at < text.size()) {
        Decoded const c = decodeUtf8(text.substr(at));
        if (c.length == 0 || !(at == 0 ? startsName(c.codePoint) : continuesName(c.codePoint))) break;
        at += c.length;
    }
    return at;
}

bool isXmlName(std::string_view text)
{
    return !text.empty() && nameLength(text) == text.size();
}

std::size_t findEscaped(std::string_view text)
{
    // A search for one character is much faster than a search for any of four. Each search ends where the one before it
    // found its character.
    std::size_t end = text.size();
    for (char const c : kEscapedInText) end = std::min(end, text.substr(0, end).find(c));
    return end;
}

void appendEscapedText(std::string& out, std::string_view text)
{
    appendEscaped(out, text, kEscapedInText);
}

void appendEscapedAttribute(std::string& out, std::string_view text)
{
    appendEscaped(out, text, kEscapedInAttribute);
}

std::size_t resolveReference(std::string_view text, std::string* out)
{
    assert(text.substr(0, 1) == "&");
    static constexpr std::pair<std::string_view, char> kPredefined[] = {
        {"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}, {"&quot;", '"'}, {"&apos;", '\''}};
    for (auto const& [reference, character] : kPredefined) {
        if (text.substr(0, reference.size()) != reference) continue;
        if (out) *out += character;
        return reference.size();
    }
    if (text.substr(0, 2) != "&#") return 0;
    bool const hexadecimal = text.substr(2, 1) == "x";
    std::size_t const begin = hexadecimal ? 3 : 2;
    std::size_t end = begin;
    while (end < text.size() && text[end] != ';' && text[end] != '<' && text[end] != '&') ++end;
    if (end == text.size() || text[end] != ';') return 0;
    std::uint32_t const codePoint = parseCodePoint(text.substr(begin, end - begin), hexadecimal ? 16 : 10);
    if (!isXmlCharacter(codePoint)) return 0;
    if (out) appendUtf8(*out, codePoint);
    return end + 1;
}

void appendResolvedText(std::string& out, std::string_view raw)
{
    if (isVerbatim(raw)) {
        out.append(raw);
        return;
    }
    copyChanging(out, raw, "&\r", [&](std::string_view rest) {
        return rest[0] == '&' ? resolveReference(rest, &out) : appendLineEnd(out, rest);
    });
}

void appendResolvedAttribute(std::string& out, std::string_view raw)
{
    copyChanging(out, raw, "&\t\n\r", [&](std::string_view rest) {
        if (rest[0] == '&') return resolveReference(rest, &out);
        out += ' ';
        return spaceLength(rest);
    });
}

void appendLines(std::string& out, std::string_view raw)
{
    copyChanging(out, raw, "\r", [&](std::string_view rest) { return appendLineEnd(out, rest); });
}

} // namespace sinew::detail
