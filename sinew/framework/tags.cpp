#include <sinew/framework/tags.h>

#include <algorithm>
#include <istream>
#include <ostream>
#include <stdexcept>
#include <utility>

#include <sinew/detail/number_reader.h>
#include <sinew/detail/number_writer.h>
#include <sinew/framework/detail/xml_reader.h>
#include <sinew/framework/detail/xml_text.h>
#include <sinew/framework/serializable.h>

using sinew::detail::XmlReader;

namespace {

constexpr std::size_t kIndent = 2; // blanks for each level of nesting
constexpr int kRealDigits = 6;     // the default precision of an output stream

// The messages about a text that should be a number.
constexpr char const* kNotANumber = "not a number";
constexpr char const* kLeftOver = "characters left over after a number";

void requireName(std::string const& name)
{
    if (!sinew::detail::isXmlName(name)) throw std::invalid_argument("\"" + name + "\" is not an XML name");
}

void requireText(std::string_view text)
{
    if (sinew::detail::findBadCharacter(text) != text.size())
        throw std::invalid_argument("the text is not UTF-8, or contains a character that XML does not allow");
}

// Unformatted output, which ignores the format flags and the locale of the stream.
void put(std::ostream& out, std::string_view text)
{
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

// The attribute of that name, or the end.
template <typename Attributes>
auto findByName(Attributes& attributes, std::string_view name)
{
    return std::find_if(attributes.begin(), attributes.end(),
                        [name](auto const& attribute) { return attribute.first == name; });
}

} // namespace

Tag::Tag(std::string name) : name_(std::move(name)) {}

Tag::~Tag() = default;

std::string const* Tag::findAttr(std::string_view name) const
{
    auto const found = findByName(attributes_, name);
    return found == attributes_.end() ? nullptr : &found->second;
}

std::string Tag::getAttr(std::string const& name) const
{
    std::string const* const text = findAttr(name);
    if (!text) fail("the attribute \"" + name + "\" is missing");
    return *text;
}

void Tag::fail(std::string const& message) const
{
    throw Serializable::LoadFail(place() + ": " + message);
}

std::string Tag::place() const
{
    return "<" + sinew::detail::shortened(name_) + ">";
}

bool Tag::hasAttr(std::string const& name) const
{
    return findAttr(name) != nullptr;
}

OutTag::OutTag(std::ostream& out, std::string const& name) : Tag(name), out_(out), depth_(0)
{
    requireName(name);
}

OutTag::OutTag(OutTag& parent, std::string const& name) : Tag(name), out_(parent.out_), depth_(parent.depth_ + 1)
{
    requireName(name);
}

OutTag::~OutTag() = default;

void OutTag::setAttr(std::string const& name, std::string const& text)
{
    requireName(name);
    requireText(text);
    auto const found = findByName(attributes_, name);
    if (found == attributes_.end()) {
        attributes_.emplace_back(name, text);
    } else {
        found->second = text;
    }
}

void OutTag::setAttr(std::string const& name, double value)
{
    setAttr(name, sinew::detail::realText(value, kRealDigits));
}

void OutTag::indent()
{
    put(out_, std::string(kIndent * static_cast<std::size_t>(depth_), ' '));
}

void OutTag::writeTag(std::string_view opening, std::string_view closing)
{
    std::string text(opening);
    text += name_;
    for (auto const& [name, value] : attributes_) {
        text += ' ';
        text += name;
        text += "=\"";
        sinew::detail::appendEscapedAttribute(text, value);
        text += '"';
    }
    text += closing;
    put(out_, text);
}

void OutTag::writeOpenTag(bool lines)
{
    indent();
    writeTag("<", lines ? ">\n" : ">");
}

void OutTag::writeCloseTag(bool lines)
{
    if (lines) indent();
    put(out_, "</" + name_ + ">\n");
}

void OutTag::writeSingleTag()
{
    indent();
    writeTag("<", "/>\n");
}

void OutTag::writeText(std::string_view text)
{
    requireText(text);
    // A packed vector is a text of megabytes that contains nothing to escape. It is written without a copy.
    std::size_t const verbatim = sinew::detail::findEscaped(text);
    put(out_, text.substr(0, verbatim));
    std::string escaped;
    sinew::detail::appendEscapedText(escaped, text.substr(verbatim));
    put(out_, escaped);
}

void OutTag::writeTextTag(std::string_view text)
{
    if (text.empty()) return writeSingleTag();
    writeOpenTag(false);
    writeText(text);
    writeCloseTag(false);
}

InTag::InTag(XmlReader& reader) : Tag(std::string()), reader_(reader)
{
    XmlReader::StartTag const& tag = reader.readStartTag();
    at_ = tag.at;
    unread_ = !tag.empty;
    name_ = tag.name;
    attributes_.resize(tag.attributes.size());
    for (std::size_t i = 0; i < attributes_.size(); ++i) {
        attributes_[i].first = tag.attributes[i].name;
        sinew::detail::appendResolvedAttribute(attributes_[i].second, tag.attributes[i].raw);
    }
}

InTag::~InTag() = default;

void InTag::readContent(ChildHandler const& onChild)
{
    if (!std::exchange(unread_, false)) return;
    if (!onChild) return reader_.skipContent(name_);
    for (;;) {
        bool blank = true;
        XmlReader::Next const next = reader_.nextInContent(nullptr, &blank);
        if (!blank) fail("text between the elements");
        if (next == XmlReader::Next::EndTag) break;
        InTag child(reader_);
        onChild(child);
        child.readContent();
    }
    reader_.readEndTag(name_);
}

std::string InTag::readText()
{
    std::string text;
    if (!std::exchange(unread_, false)) return text;
    if (reader_.nextInContent(&text, nullptr) == XmlReader::Next::StartTag) fail("an element where text should be");
    reader_.readEndTag(name_);
    return text;
}

double InTag::getReal(std::string const& name) const
{
    std::string const text = getAttr(name);
    std::string_view rest = text;
    double value = 0.0;
    if (!sinew::detail::takeReal(rest, value)) fail(kNotANumber);
    if (!std::all_of(rest.begin(), rest.end(), sinew::detail::isSpace)) fail(kLeftOver);
    return value;
}

void InTag::checkEndText(std::istream& text) const
{
    if (text.fail()) fail(kNotANumber);
    if (!text.eof()) text >> std::ws;
    if (!text.eof()) fail(kLeftOver);
}

std::string InTag::place() const
{
    return reader_.place(at_) + ": " + Tag::place();
}

void sinew::setExactAttr(OutTag& tag, std::string const& name, double value)
{
    char text[detail::kLongestReal];
    tag.setAttr(name, std::string(text, detail::writeReal(value, text)));
}
