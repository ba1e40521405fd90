#include <sinew/framework/detail/xml_reader.h>

#include <algorithm>
#include <functional>
#include <ios>
#include <istream>
#include <streambuf>
#include <utility>

#include <sinew/framework/detail/xml_text.h>
#include <sinew/framework/serializable.h>

namespace sinew::detail {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// The stream's own state and exception mask are left alone: a short read here is no error.
std::string readAll(std::istream& in)
{
    constexpr std::streamsize kSmallest = 4096;
    constexpr std::streamsize kLargest = 1 << 24; // an estimate of what is left is believed up to here
    std::string text;
    if (!in || !in.rdbuf()) throw Serializable::LoadFail("the stream cannot be read");
    try {
        while (in.rdbuf()->sgetc() != std::char_traits<char>::eof()) {
            std::size_t const size = text.size();
            std::streamsize const room = std::clamp(in.rdbuf()->in_avail(), kSmallest, kLargest);
            text.resize(size + static_cast<std::size_t>(room));
            std::streamsize const got = in.rdbuf()->sgetn(&text[size], room);
            text.resize(size + static_cast<std::size_t>(std::max(got, std::streamsize{0})));
        }
        return text;
    } catch (std::ios_base::failure const&) { // a directory, a broken pipe
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

// "1.0" and what later editions call its successors, which a reader of 1.0 takes as 1.0.
bool isKnownVersion(std::string_view version)
{
    return version.size() > 2 && version.substr(0, 2) == "1." &&
           version.find_first_not_of("0123456789", 2) == std::string_view::npos;
}

} // namespace

XmlReader::XmlReader(std::istream& in) : text_(readAll(in))
{
    if (atText("\xFE\xFF") || atText("\xFF\xFE")) fail("the text is not UTF-8");
    if (atText(kByteOrderMark)) at_ = kByteOrderMark.size();
    std::size_t const bad = findBadCharacter(text_);
    if (bad != text_.size()) fail("a byte that is not valid UTF-8, or a character that XML does not allow", bad);

    if (atText("<?xml") && at_ + 5 < text_.size() && isXmlSpace(text_[at_ + 5])) readDeclaration();
    for (;;) {
        skipSpace();
        if (atText("<!--")) {
            readComment();
        } else if (atText("<?")) {
            readInstruction();
        } else {
            break;
        }
    }
    if (atText("<!DOCTYPE")) fail("document type declarations are not accepted");
    if (!atText("<")) fail(rest().empty() ? "there is no root element" : "text before the root element");
}

InTag XmlReader::root()
{
    return InTag(*this);
}

void XmlReader::finish()
{
    for (;;) {
        skipSpace();
        if (rest().empty()) return;
        if (!atText("<!--")) fail("something is left over after the root element");
        readComment();
    }
}

std::string XmlReader::place(std::size_t at) const
{
    std::size_t line = 1;
    std::size_t column = 1;
    for (std::size_t i = text_.compare(0, kByteOrderMark.size(), kByteOrderMark) == 0 ? kByteOrderMark.size() : 0;
         i < std::min(at, text_.size()); ++i) {
        bool const lineEnd = text_[i] == '\n' || (text_[i] == '\r' && text_.compare(i + 1, 1, "\n") != 0);
        bool const startsCharacter = (static_cast<unsigned char>(text_[i]) & 0xC0u) != 0x80u;
        if (lineEnd) {
            ++line;
            column = 1;
        } else if (startsCharacter) {
            ++column;
        }
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

void XmlReader::fail(std::string const& message, std::size_t at) const
{
    throw Serializable::LoadFail(place(at) + ": " + message);
}

void XmlReader::expect(std::string_view expected, char const* message)
{
    if (!atText(expected)) fail(message);
    at_ += expected.size();
}

bool XmlReader::skipSpace()
{
    std::size_t const before = at_;
    while (at_ < text_.size() && isXmlSpace(text_[at_])) ++at_;
    return at_ != before;
}

std::string_view XmlReader::readName(char const* what)
{
    std::size_t const length = nameLength(rest());
    if (length == 0) fail(std::string("expected the name of ") + what);
    std::string_view const name = rest().substr(0, length);
    at_ += length;
    return name;
}

// The text up to `end`, which is passed over; without it the message points at `start`.
std::string_view XmlReader::readUntil(std::string_view end, char const* message, std::size_t start)
{
    std::size_t const length = rest().find(end);
    if (length == std::string_view::npos) fail(message, start);
    std::string_view const text = rest().substr(0, length);
    at_ += length + end.size();
    return text;
}

std::size_t XmlReader::checkReference(std::string_view text, std::size_t at) const
{
    std::size_t const length = resolveReference(text, nullptr);
    if (length == 0) fail("not a reference to a character or to a predefined entity", at);
    return length;
}

void XmlReader::readDeclaration()
{
    at_ += 5; // <?xml
    for (std::size_t part = 0;;) {
        bool const spaced = skipSpace();
        if (atText("?>")) {
            if (part == 0) fail("the XML declaration has no version");
            at_ += 2;
            return;
        }
        if (!spaced) fail("expected white space in the XML declaration");
        static constexpr std::string_view kParts[] = {"version", "encoding", "standalone"};
        std::size_t const nameAt = at_;
        tag_.attributes.clear();
        readAttribute();
        auto const [name, value] = tag_.attributes.front();
        while (part < 3 && kParts[part] != name && part > 0) ++part; // in this order; all but the version may be absent
        if (part == 3 || kParts[part] != name) fail("unexpected part of the XML declaration", nameAt);
        bool const good = part == 0   ? isKnownVersion(value)
                          : part == 1 ? equalIgnoringCase(value, "utf-8") || equalIgnoringCase(value, "us-ascii")
                                      : value == "yes" || value == "no";
        if (!good) {
            fail("cannot read a document of " + std::string(name) + " \"" + shortened(value) + "\"", nameAt);
        }
        ++part;
    }
}

void XmlReader::readComment()
{
    std::size_t const start = at_;
    at_ += 4; // <!--
    readUntil("--", "a comment is not closed", start);
    expect(">", "\"--\" is not allowed inside a comment");
}

void XmlReader::readInstruction()
{
    std::size_t const start = at_;
    at_ += 2; // <?
    std::string_view const target = readName("a processing instruction");
    if (equalIgnoringCase(target, "xml")) fail("an XML declaration may only open the document", start);
    if (!atText("?>") && !skipSpace()) fail("expected white space in a processing instruction");
    readUntil("?>", "a processing instruction is not closed", start);
}

XmlReader::StartTag const& XmlReader::readStartTag()
{
    if (depth_ == kMaxNesting) fail("elements are nested more than " + std::to_string(kMaxNesting) + " deep");
    tag_.at = at_;
    ++at_; // <
    tag_.name = readName("an element");
    tag_.attributes.clear();
    for (;;) {
        bool const spaced = skipSpace();
        if (atText(">") || atText("/>")) break;
        if (rest().empty()) fail("the tag <" + shortened(tag_.name) + "> is not closed", tag_.at);
        if (!spaced) fail("expected white space, \">\" or \"/>\"");
        readAttribute();
    }
    tag_.empty = text_[at_] == '/';
    at_ += tag_.empty ? 2 : 1;
    refuseRepeatedAttributes();
    if (!tag_.empty) ++depth_;
    return tag_;
}

void XmlReader::readAttribute()
{
    std::string_view const name = readName("an attribute");
    skipSpace();
    expect("=", "expected \"=\" after the name of an attribute");
    skipSpace();
    if (!atText("\"") && !atText("'")) fail("expected a quote before the text of an attribute");
    std::string_view const quote = rest().substr(0, 1);
    ++at_;
    std::size_t const start = at_;
    std::string_view const raw = readUntil(quote, "the text of an attribute is not closed", start - 1);
    for (std::size_t i = 0; i < raw.size();) {
        i = std::min(raw.find_first_of("<&", i), raw.size());
        if (i == raw.size()) break;
        if (raw[i] == '<') fail("\"<\" is not allowed in the text of an attribute", start + i);
        i += checkReference(raw.substr(i), start + i);
    }
    tag_.attributes.push_back({name, raw});
}

void XmlReader::refuseRepeatedAttributes()
{
    auto const& attributes = tag_.attributes;
    auto const refuse = [&](std::string_view name) {
        fail("the attribute \"" + shortened(name) + "\" is given twice", tag_.at);
    };
    if (attributes.size() < 16) {
        for (std::size_t i = 1; i < attributes.size(); ++i) {
            for (std::size_t k = 0; k < i; ++k) {
                if (attributes[i].name == attributes[k].name) refuse(attributes[i].name);
            }
        }
        return;
    }
    // Sorted by hash, so that long names are seldom compared, but not looked up by it: names can be chosen to collide.
    std::vector<std::pair<std::size_t, std::string_view>> names;
    names.reserve(attributes.size());
    for (auto const& attribute : attributes)
        names.emplace_back(std::hash<std::string_view>()(attribute.name), attribute.name);
    std::sort(names.begin(), names.end());
    auto const twice = std::adjacent_find(names.begin(), names.end());
    if (twice != names.end()) refuse(twice->second);
}

XmlReader::Next XmlReader::nextInContent(std::string* text, bool* blank)
{
    for (;;) {
        if (rest().empty()) fail("the document ends inside an element");
        if (!atText("<")) {
            readCharacterData(text, blank);
        } else if (atText("</")) {
            return Next::EndTag;
        } else if (atText("<!--")) {
            readComment();
        } else if (atText("<![CDATA[")) {
            readCdata(text, blank);
        } else if (atText("<?")) {
            readInstruction();
        } else {
            return Next::StartTag;
        }
    }
}

void XmlReader::readCharacterData(std::string* text, bool* blank)
{
    std::string_view const raw = rest().substr(0, rest().find('<'));
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
    at_ += 9; // <![CDATA[
    std::string_view const raw = readUntil("]]>", "a CDATA section is not closed", start);
    if (text) appendLines(*text, raw);
    if (blank && !isBlank(raw)) *blank = false;
}

void XmlReader::readEndTag(std::string_view name)
{
    std::size_t const start = at_;
    at_ += 2; // </
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
