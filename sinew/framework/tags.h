#pragma once

/// Elements of tagged text, as a persistent class sees them while it is written (`OutTag`) and read (`InTag`).
///
/// The text is XML 1.0 in UTF-8. Most classes never touch a tag: they describe their fields
/// (`sinew/framework/fields.h`) and the tags are opened, filled and closed for them. A type that wants a form of its
/// own, say one element with attributes, writes a type handler in terms of the operations here.
///
/// Numbers are written and read in the classic "C" locale, whatever the locale of the process or of the stream.

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sinew/export.h>

namespace sinew {

/// How deep the elements of a document may be nested, the root being level 1; a deeper document is refused with
/// `LoadFail`. Far beyond any sensible description, and small enough that reading fits a stack of 256 KiB.
inline constexpr int kMaxNesting = 128;

namespace detail {
class XmlReader;
}

} // namespace sinew

/// What elements being written and elements being read have in common: a name and attributes.
class SINEW_API Tag
{
public:
    Tag(Tag const&) = delete;
    Tag& operator=(Tag const&) = delete;

    std::string const& name() const { return name_; }

    /// The text of the named attribute, references resolved. Throws `Serializable::LoadFail` if there is none.
    std::string getAttr(std::string const& name) const;

    /// Whether there is an attribute of that name.
    bool hasAttr(std::string const& name) const;

    /// Throws `Serializable::LoadFail` with `message`, preceded by the tag's name and, in a tag that is being read, its
    /// line and column.
    [[noreturn]] void fail(std::string const& message) const;

protected:
    explicit Tag(std::string name);
    virtual ~Tag();

    /// The tag and where it stands, for messages.
    virtual std::string place() const;

    std::string const* findAttr(std::string_view name) const;

    std::string name_;
    std::vector<std::pair<std::string, std::string>> attributes_; ///< name and text, in document order
};

/// An element on its way out. Construct it, set its attributes, then either `writeSingleTag`, or `writeOpenTag`,
/// the content, and `writeCloseTag`.
///
/// Names must be XML names, texts valid UTF-8 without the control characters that XML cannot carry (all below U+0020
/// but tab, line feed and carriage return); otherwise std::invalid_argument is thrown. Failures of the stream show in
/// the stream's state.
class SINEW_API OutTag : public Tag
{
public:
    /// The root element of what is written to `out`.
    OutTag(std::ostream& out, std::string const& name);
    /// A child of `parent`, which must be open and must outlive it.
    OutTag(OutTag& parent, std::string const& name);
    ~OutTag() override;

    /// Stores an attribute's text under its name; an earlier text of that name is replaced.
    void setAttr(std::string const& name, std::string const& text);
    /// Stores a real with six significant digits, as a default output stream formats it.
    void setAttr(std::string const& name, double value);

    /// Writes the opening tag with the attributes set so far.
    /// @param lines  true if child elements follow, each on a line of its own; false if text follows on the same line.
    void writeOpenTag(bool lines);

    /// Writes the closing tag. @param lines  as given to `writeOpenTag`.
    void writeCloseTag(bool lines);

    /// Writes the whole element as one empty tag with the attributes set so far.
    void writeSingleTag();

    /// Writes character data inside an open tag, escaped where XML asks for it. A reader gets back the same bytes.
    void writeText(std::string_view text);

    /// The whole element at once: opening tag, text, closing tag; an empty tag for an empty text.
    void writeTextTag(std::string_view text);

private:
    void writeTag(std::string_view opening, std::string_view closing);
    void indent();

    std::ostream& out_;
    int depth_;
};

/// An element being read: its opening tag has been parsed, its content is still to come.
///
/// Whatever a reader of the element leaves of its content is skipped afterwards, and checked for being well-formed all
/// the same.
class SINEW_API InTag : public Tag
{
public:
    /// Reads a child element. What it leaves of the child's content is skipped.
    using ChildHandler = std::function<void(InTag& child)>;

    /// Reads the rest of the content: every child element is handed to `onChild`, in document order. Text between the
    /// children must be white space, or `LoadFail` is thrown. Without a handler nothing is interpreted: children and
    /// text are skipped, at no cost in stack however deep they are.
    void readContent(ChildHandler const& onChild = {});

    /// Reads the rest of the content as text: character data and CDATA joined, comments left out, references resolved,
    /// line ends as "\n". A child element is a `LoadFail`.
    std::string readText();

    /// The named attribute as a finite real. Throws `LoadFail` if it is missing or anything else.
    double getReal(std::string const& name) const;

    /// Throws `LoadFail` unless the last extraction from `text`, a stream over one attribute's text, succeeded and left
    /// nothing but white space behind. A stream of yours takes its locale from the process: imbue the classic one.
    void checkEndText(std::istream& text) const;

    ~InTag() override;

protected:
    std::string place() const override;

private:
    friend class sinew::detail::XmlReader;
    explicit InTag(sinew::detail::XmlReader& reader);

    sinew::detail::XmlReader& reader_;
    std::size_t at_ = 0; ///< offset of the opening tag in the document
    bool unread_ = true; ///< content, or what is left of it, is still to be read
};
