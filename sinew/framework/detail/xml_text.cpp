#include <sinew/framework/detail/xml_text.h>

#include <algorithm>

namespace sinew::detail {
namespace {

// Most text is printable ASCII. It is looked through in blocks, in a loop without an early exit and of byte-sized
// operations only, so that the compiler compares many bytes at once.
constexpr std::size_t kBlock = 64;

bool printableBlock(char const* block)
{
    unsigned char outside = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
        auto const aboveBlank = static_cast<unsigned char>(block[i] - ' ');
        outside |= aboveBlank > '~' - ' ' ? 1 : 0;
    }
    return outside == 0;
}

struct Decoded
{
    std::uint32_t codePoint;
    std::size_t length; // 0: not shortest-form UTF-8
};

Decoded decodeUtf8(std::string_view text)
{
    auto const byte = [&](std::size_t i) { return static_cast<std::uint32_t>(static_cast<unsigned char>(text[i])); };
    std::uint32_t const first = byte(0);
    if (first < 0x80) return {first, 1};
    std::size_t const length = first < 0xC0 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF8 ? 4 : 0;
    if (length == 0 || text.size() < length) return {0, 0};
    std::uint32_t codePoint = first & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0u) != 0x80u) return {0, 0};
        codePoint = codePoint << 6 | (byte(i) & 0x3Fu);
    }
    // A longer form of a shorter character could smuggle markup past a check of bytes.
    static constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (codePoint < kSmallest[length]) return {0, 0};
    return {codePoint, length};
}

void appendUtf8(std::string& out, std::uint32_t c)
{
    auto const put = [&](std::uint32_t byte) { out += static_cast<char>(static_cast<unsigned char>(byte)); };
    if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xC0 | c >> 6);
        put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        put(0xE0 | c >> 12);
        put(0x80 | (c >> 6 & 0x3F));
        put(0x80 | (c & 0x3F));
    } else {
        put(0xF0 | c >> 18);
        put(0x80 | (c >> 12 & 0x3F));
        put(0x80 | (c >> 6 & 0x3F));
        put(0x80 | (c & 0x3F));
    }
}

struct Range
{
    std::uint32_t first, last;
};

template <std::size_t n>
bool inAny(Range const (&ranges)[n], std::uint32_t c)
{
    return std::any_of(ranges, ranges + n, [c](Range const& r) { return c >= r.first && c <= r.last; });
}

bool startsName(std::uint32_t c)
{
    static constexpr Range kRanges[] = {{'a', 'z'},       {'A', 'Z'},       {'_', '_'},       {':', ':'},
                                        {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
                                        {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
                                        {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF}};
    return inAny(kRanges, c);
}

bool continuesName(std::uint32_t c)
{
    static constexpr Range kRanges[] = {{'0', '9'}, {'-', '.'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};
    return startsName(c) || inAny(kRanges, c);
}

// The digits of a character reference, up to the semicolon; 0, which XML does not allow either, if there is none.
std::uint32_t parseCodePoint(std::string_view digits, std::uint32_t base)
{
    std::uint32_t value = 0;
    for (char const c : digits) {
        std::uint32_t digit = 16;
        if (c >= '0' && c <= '9') digit = static_cast<std::uint32_t>(c - '0');
        if (c >= 'a' && c <= 'f') digit = static_cast<std::uint32_t>(c - 'a') + 10;
        if (c >= 'A' && c <= 'F') digit = static_cast<std::uint32_t>(c - 'A') + 10;
        if (digit >= base) return 0;
        value = std::min(value * base + digit, 0x110000u); // stays beyond the last character: no overflow
    }
    return value;
}

// A literal carriage return would come back as a line feed.
constexpr std::string_view kEscapedInText = "&<>\r";

// Calls `change` on every stretch of `raw` that begins with one of `special`, which returns how much it has dealt with;
// copies what lies between.
template <typename Change>
void copyChanging(std::string& out, std::string_view raw, std::string_view special, Change change)
{
    std::size_t done = 0;
    for (;;) {
        std::size_t const next = std::min(raw.find_first_of(special, done), raw.size());
        out.append(raw, done, next - done);
        if (next == raw.size()) return;
        done = next + change(raw.substr(next));
    }
}

std::size_t normaliseLineEnd(std::string& out, std::string_view rest)
{
    out += '\n';
    return rest.size() > 1 && rest[1] == '\n' ? 2 : 1;
}

// The two characters that character data may hold and that do not stand for themselves.
bool isVerbatim(std::string_view raw)
{
    return raw.find('&') == std::string_view::npos && raw.find('\r') == std::string_view::npos;
}

} // namespace

std::string shortened(std::string_view text)
{
    constexpr std::size_t kLongest = 60;
    if (text.size() <= kLongest) return std::string(text);
    std::size_t end = kLongest;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0u) == 0x80u) --end; // whole characters only
    return std::string(text.substr(0, end)) + "...";
}

bool isXmlCharacter(std::uint32_t c)
{
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0x10FFFF);
}

std::size_t findBadCharacter(std::string_view text)
{
    std::size_t at = 0;
    while (at < text.size()) {
        if (text.size() - at >= kBlock && printableBlock(text.data() + at)) {
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
    // One fast search a character, each no farther than the one before got.
    std::size_t end = text.size();
    for (char const c : kEscapedInText) end = std::min(end, text.substr(0, end).find(c));
    return end;
}

void appendEscapedText(std::string& out, std::string_view text)
{
    copyChanging(out, text, kEscapedInText, [&](std::string_view rest) {
        out += rest[0] == '&' ? "&amp;" : rest[0] == '<' ? "&lt;" : rest[0] == '>' ? "&gt;" : "&#13;";
        return std::size_t{1};
    });
}

void appendEscapedAttribute(std::string& out, std::string_view text)
{
    copyChanging(out, text, "&<>\"\t\n\r", [&](std::string_view rest) {
        switch (rest[0]) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        case '\t':
            out += "&#9;";
            break;
        case '\n':
            out += "&#10;";
            break;
        default:
            out += "&#13;";
            break;
        }
        return std::size_t{1};
    });
}

std::size_t resolveReference(std::string_view text, std::string* out)
{
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
        return rest[0] == '&' ? resolveReference(rest, &out) : normaliseLineEnd(out, rest);
    });
}

void appendResolvedAttribute(std::string& out, std::string_view raw)
{
    copyChanging(out, raw, "&\t\n\r", [&](std::string_view rest) {
        if (rest[0] == '&') return resolveReference(rest, &out);
        out += ' ';
        return std::size_t{rest.substr(0, 2) == "\r\n" ? 2u : 1u};
    });
}

void appendLines(std::string& out, std::string_view raw)
{
    copyChanging(out, raw, "\r", [&](std::string_view rest) { return normaliseLineEnd(out, rest); });
}

} // namespace sinew::detail
