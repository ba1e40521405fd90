#include <sinew/framework/detail/xml_reader.h>

#include <algorithm>
#include <cassert>
#include <functional>
#include <ios>
#include <istream>
#include <iterator>
#include <streambuf>
#include <tuple>
#include <utility>

#include <sinew/framework/detail/xml_text.h>
#include <sinew/framework/serializable.h>

namespace sinew::detail {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16BigEndian = "\xFE\xFF"; // byte-order marks of an encoding that is refused
constexpr std::string_view kUtf16LittleEndian = "\xFF\xFE";

constexpr std::string_view kDeclarationOpen = "<?xml";
constexpr std::string_view kInstructionOpen = "<?";
constexpr std::string_view kInstructionClose = "?>"; // of a declaration as well
constexpr std::string_view kCommentOpen = "<!--";
constexpr std::string_view kCdataOpen = "<![CDATA[";
constexpr std::string_view kCdataClose = "]]>";
constexpr std::string_view kDoctypeOpen = "<!DOCTYPE";
constexpr std::string_view kEndTagOpen = "</";
constexpr std::string_view kEmptyTagClose = "/>";

// Sizes of the pieces in which a stream is read. The stream's own estimate of what is left is used between these
// limits: at least one page, so that a stream without an estimate is read with few calls, and at most 16 MiB, so that a
// wrong estimate does not allocate without limit.
constexpr std::streamsize kSmallestPiece = 4096;
constexpr std::streamsize kLargestPiece = std::streamsize{1} << 24;

// Up to this number of attributes, comparing all pairs is faster than sorting them, which allocates.
constexpr std::size_t kFewAttributes = 15;

// Reads the stream's buffer directly: the end of the text is no error, so the stream's state must not change, and its
// exception mask must have no effect. A stream without a buffer is always bad.
std::string readAll(std::istream& in)
{
    std::string text;
    if (!in) throw Serializable::LoadFail("the stream cannot be read");
    std::streambuf& buffer = *in.rdbuf();
    try {
        while (buffer.sgetc() != std::char_traits<char>::eof()) {
            std::size_t const size = text.size();
            std::streamsize const wanted = std::clamp(buffer.in_avail(), kSmallestPiece, kLargestPiece);
            text.resize(size + static_cast<std::size_t>(wanted));
            std::streamsize const got = buffer.sgetn(&text[size], wanted);
            text.resize(size + static_cast<std::size_t>(std::max(got, std::streamsize{0})));
        }
        return text;
    } catch (std::ios_base::failure const&) { // for example the stream of a directory or of a broken pipe
        throw Serializable::LoadFail("the stream cannot be read");
    }
}

bool isBlank(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), isXmlSpace);
}

bool equalIgnoringCase(std::string_view a, std::string_view b)
{
    auto const lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}

// "1.0", "1.1" and so on: a reader of version 1.0 reads documents of all versions 1.x as 1.0 (production 26).
bool isKnownVersion(std::string_view version)
{
    constexpr std::string_view kMajor = "1.";
    return version.size() > kMajor.size() && version.substr(0, kMajor.size()) == kMajor &&
           version.find_first_not_of("0123456789", kMajor.size()) == std::string_view::npos;
}

// UTF-8 and the part of it that is ASCII.
bool isKnownEncoding(std::string_view encoding)
{
    return equalIgnoringCase(encoding, "utf-8") || equalIgnoringCase(encoding, "us-ascii");
}

bool isYesOrNo(std::string_view standalone)
{
    return standalone == "yes" || standalone == "no";
}

// The parts of an XML declaration, in their required order. The version is required, the others are optional.
struct DeclarationPart
{
    std::string_view name;
    bool (*accepts)(std::string_view text);
};
constexpr DeclarationPart kDeclarationParts[] = {
    {"version", isKnownVersion},
    {"encoding", isKnownEncoding},
    {"standalone", isYesOrNo},
};

// The name of the first attribute that has the name of an earlier one; empty, which no name is, if all names differ.
std::string_view repeatedName(std::vector<XmlReader::Attribute> const& attributes)
{
    if (attributes.size() <= kFewAttributes) {
        for (std::size_t i = 1; i < attributes.size(); ++i) {
            for (std::size_t k = 0; k < i; ++k) {
                if (attributes[i].name == attributes[k].name) return attributes[i].name;
            }
        }
        return {};
    }
    // Sorting by the hash first makes comparisons of long names rare. A hash table would be slow for names that an
    // attacker has chosen to collide; sorting is not. Hashes differ between standard libraries, so they only group
    // equal names; the place in the document decides which name is reported.
    using Named = std::tuple<std::size_t, std::string_view, std::size_t>; // hash, name, place
    std::vector<Named> names;
    names.reserve(attributes.size());
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        names.emplace_back(std::hash<std::string_view>()(attributes[i].name), attributes[i].name, i);
    }
    std::sort(names.begin(), names.end());
    std::size_t first = attributes.size();
    for (std::size_t i = 1; i < names.size(); ++i) {
        auto const& [hash, name, place] = names[i];
        if (hash == std::get<0>(names[i - 1]) && name == std::get<1>(names[i - 1])) first = std::min(first, place);
    }
    return first < attributes.size() ? attributes[first].name : std::string_view();
}

} // namespace

XmlReader::XmlReader(std::istream& in, int maxNesting) : text_(readAll(in)), maxNesting_(maxNesting)
{
    checkCharacters();
    readProlog();
}

void XmlReader::checkCharacters()
{
    if (atText(kUtf16BigEndian) || atText(kUtf16LittleEndian)) fail("the text is not UTF-8");
    std::size_t const bad = findBadCharacter(text_);
    if (bad != text_.size()) fail("a byte that is not valid UTF-8, or a character that XML does not allow", bad);
}

void XmlReader::readProlog()
{
    if (atText(kByteOrderMark)) skip(kByteOrderMark);
    if (atDeclaration()) readDeclaration();
    skipMisc();
    if (atText(kDoctypeOpen)) fail("document type declarations are not accepted");
    if (!atText("<")) fail(rest().empty() ? "there is no root element" : "text before the root element");
}

void XmlReader::finish()
{
    skipMisc();
    if (!rest().empty()) fail("something is left over after the root element");
}

std::string XmlReader::place(std::size_t at) const
{
    bool const marked = text_.compare(0, kByteOrderMark.size(), kByteOrderMark) == 0; // the mark is no character
    std::size_t line = 1;
    std::size_t column = 1;
    for (std::size_t i = marked ? kByteOrderMark.size() : 0; i < std::min(at, text_.size()); ++i) {
        bool const lineEnd = text_[i] == '\n' || (text_[i] == '\r' && text_.compare(i + 1, 1, "\n") != 0);
        if (lineEnd) {
            ++line;
            column = 1;
        } else if (!isContinuationByte(text_[i])) {
            ++column;
        }
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

void XmlReader::fail(std::string const& message, std::size_t at) const
{
    throw Serializable::LoadFail(place(at) + ": " + message);
}

// Advances past `markup`, which must be at the position of the reader.
void XmlReader::skip(std::string_view markup)
{
    assert(atText(markup));
    at_ += markup.size();
}

void XmlReader::expect(std::string_view expected, char const* message)
{
    if (!atText(expected)) fail(message);
    skip(expected);
}

// Returns whether there was any white space.
bool XmlReader::skipSpace()
{
    std::size_t const before = at_;
    while (at_ < text_.size() && isXmlSpace(text_[at_])) ++at_;
    return at_ != before;
}

// Production 27, Misc: what may stand before and after the root element.
void XmlReader::skipMisc()
{
    for (;;) {
        skipSpace();
        if (atText(kCommentOpen)) {
            readComment();
        } else if (atText(kInstructionOpen)) {
            readInstruction();
        } else {
            return;
        }
    }
}

std::string_view XmlReader::readName(char const* what)
{
    std::size_t const length = nameLength(rest());
    if (length == 0) fail(std::string("expected the name of ") + what);
    std::string_view const name = rest().substr(0, length);
    at_ += length;
    return name;
}

// The text up to `end`, which is passed as well. If `end` does not occur, the message gives the position of `start`.
std::string_view XmlReader::readUntil(std::string_view end, char const* message, std::size_t start)
{
    std::size_t const length = rest().find(end);
    if (length == std::string_view::npos) fail(message, start);
    std::string_view const text = rest().substr(0, length);
    at_ += length + end.size();
    return text;
}

// Length of the reference at the beginning of `text`. `at` is the offset of `text` in the document.
std::size_t XmlReader::checkReference(std::string_view text, std::size_t at) const
{
    std::size_t const length = resolveReference(text, nullptr);
    if (length == 0) fail("not a reference to a character or to a predefined entity", at);
    return length;
}

// "<?xml" with white space behind it; otherwise "<?xml-stylesheet" would be taken for a declaration.
bool XmlReader::atDeclaration() const
{
    std::size_t const after = at_ + kDeclarationOpen.size();
    return atText(kDeclarationOpen) && after < text_.size() && isXmlSpace(text_[after]);
}

void XmlReader::readDeclaration()
{
    skip(kDeclarationOpen);
    auto const* next = std::begin(kDeclarationParts); // the parts before it have been read or left out
    while (nextDeclarationPart()) {
        std::size_t const start = at_;
        auto const [name, text] = readAttribute();
        auto const* const part = std::find_if(next, std::end(kDeclarationParts),
                                              [name = name](DeclarationPart const& p) { return p.name == name; });
        bool const versionLeftOut = next == std::begin(kDeclarationParts) && part != next;
        if (part == std::end(kDeclarationParts) || versionLeftOut) {
            fail("unexpected part of the XML declaration", start);
        }
        if (!part->accepts(text)) {
            fail("cannot read a document of " + std::string(name) + " \"" + shortened(text) + "\"", start);
        }
        next = part + 1;
    }
    if (next == std::begin(kDeclarationParts)) fail("the XML declaration has no version");
    skip(kInstructionClose);
}

// Advances to the next part or to the end of the declaration; returns whether there is another part.
bool XmlReader::nextDeclarationPart()
{
    bool const spaced = skipSpace();
    if (atText(kInstructionClose)) return false;
    if (!spaced) fail("expected white space in the XML declaration");
    return true;
}

void XmlReader::readComment()
{
    std::size_t const start = at_;
    skip(kCommentOpen);
    readUntil("--", "a comment is not closed", start);
    expect(">", "\"--\" is not allowed inside a comment");
}

void XmlReader::readInstruction()
{
    std::size_t const start = at_;
    skip(kInstructionOpen);
    std::string_view const target = readName("a processing instruction");
    if (equalIgnoringCase(target, "xml")) fail("an XML declaration may only open the document", start);
    if (!atText(kInstructionClose) && !skipSpace()) fail("expected white space in a processing instruction");
    readUntil(kInstructionClose, "a processing instruction is not closed", start);
}

XmlReader::StartTag const& XmlReader::readStartTag()
{
    assert(atText("<"));
    if (depth_ == maxNesting_) fail("elements are nested more than " + std::to_string(maxNesting_) + " deep");
    tag_.at = at_;
    skip("<");
    tag_.name = readName("an element");
    tag_.attributes.clear();
    for (;;) {
        bool const spaced = skipSpace();
        if (atText(">") || atText(kEmptyTagClose)) break;
        if (rest().empty()) fail("the tag <" + shortened(tag_.name) + "> is not closed", tag_.at);
        if (!spaced) fail("expected white space, \">\" or \"/>\"");
        tag_.attributes.push_back(readAttribute());
    }
    tag_.empty = atText(kEmptyTagClose);
    skip(tag_.empty ? kEmptyTagClose : ">");
    std::string_view const twice = repeatedName(tag_.attributes);
    if (!twice.empty()) fail("the attribute \"" + shortened(twice) + "\" is given twice", tag_.at);
    if (!tag_.empty) ++depth_;
    return tag_;
}

XmlReader::Attribute XmlReader::readAttribute()
{
    std::string_view const name = readName("an attribute");
    skipSpace();
    expect("=", "expected \"=\" after the name of an attribute");
    skipSpace();
    if (!atText("\"") && !atText("'")) fail("expected a quote before the text of an attribute");
    std::size_t const start = at_;
    std::string_view const quote = rest().substr(0, 1);
    skip(quote);
    std::string_view const raw = readUntil(quote, "the text of an attribute is not closed", start);
    checkAttributeText(raw, start + quote.size());
    return {name, raw};
}

void XmlReader::checkAttributeText(std::string_view raw, std::size_t at) const
{
    for (std::size_t i = raw.find_first_of("<&"); i < raw.size(); i = raw.find_first_of("<&", i)) {
        if (raw[i] == '<') fail("\"<\" is not allowed in the text of an attribute", at + i);
        i += checkReference(raw.substr(i), at + i);
    }
}

XmlReader::Next XmlReader::nextInContent(std::string* text, bool* blank)
{
    for (;;) {
        if (rest().empty()) fail("the document ends inside an element");
        if (!atText("<")) {
            readCharacterData(text, blank);
        } else if (atText(kEndTagOpen)) {
            return Next::EndTag;
        } else if (atText(kCommentOpen)) {
            readComment();
        } else if (atText(kCdataOpen)) {
            readCdata(text, blank);
        } else if (atText(kInstructionOpen)) {
            readInstruction();
        } else {
            return Next::StartTag;
        }
    }
}

void XmlReader::readCharacterData(std::string* text, bool* blank)
{
    std::string_view const raw = rest().substr(0, rest().find('<'));
    // The search is for ">", because the library escapes it in its own documents, while packed vectors contain many
    // "]".
    for (std::size_t i = raw.find('>'); i < raw.size(); i = raw.find('>', i + 1)) {
        if (i >= 2 && raw[i - 1] == ']' && raw[i - 2] == ']') fail("\"]]>\" is not allowed in text", at_ + i - 2);
    }
    for (std::size_t i = raw.find('&'); i < raw.size(); i = raw.find('&', i)) {
        i += checkReference(raw.substr(i), at_ + i);
    }
    if (text) appendResolvedText(*text, raw);
    if (blank && !isBlank(raw)) *blank = false;
    at_ += raw.size();
}

void XmlReader::readCdata(std::string* text, bool* blank)
{
    std::size_t const start = at_;
    skip(kCdataOpen);
    std::string_view const raw = readUntil(kCdataClose, "a CDATA section is not closed", start);
    if (text) appendLines(*text, raw);
    if (blank && !isBlank(raw)) *blank = false;
}

void XmlReader::readEndTag(std::string_view name)
{
    assert(depth_ > 0);
    std::size_t const start = at_;
    skip(kEndTagOpen);
    std::string_view const found = readName("an element");
    skipSpace();
    expect(">", "expected \">\"");
    if (found != name) {
        fail("</" + shortened(found) + "> closes <" + shortened(name) + ">", start);
    }
    --depth_;
}

void XmlReader::skipContent(std::string_view name)
{
    std::vector<std::string_view> open{name};
    while (!open.empty()) {
        if (nextInContent(nullptr, nullptr) == Next::EndTag) {
            readEndTag(open.back());
            open.pop_back();
        } else {
            StartTag const& tag = readStartTag();
            if (!tag.empty) open.push_back(tag.name);
        }
    }
}

} // namespace sinew::detail
