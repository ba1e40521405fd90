#pragma once

/// The elements of a document while they are written (`OutTag`) and while they are read (`InTag`).
///
/// Most classes need no tags: they describe their fields (`sinew/framework/fields.h`), and the library opens, fills and
/// closes the tags. Include this header to write a type handler for a type with its own text form, for example one
/// element with attributes.
///
/// The text is XML 1.0 in UTF-8. Numbers are written and read in the classic "C" locale, whatever the locale of the
/// process or of the stream is.

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sinew/export.h>

namespace sinew {

/// The greatest depth of nested elements in a document that is read; the root element has depth 1. A deeper document is
/// refused with `Serializable::LoadFail`. Descriptions of classes are a few levels deep; with 128 levels reading needs
/// less than 256 KiB of stack.
inline constexpr int kMaxNesting = 128;

namespace detail {
class XmlReader;
}

} // namespace sinew

/// The name and the attributes of an element: the common part of `OutTag` and `InTag`.
class SINEW_API Tag
{
public:
    Tag(Tag const&) = delete;
    Tag& operator=(Tag const&) = delete;

    /// The name of the element.
    std::string const& name() const { return name_; }

    /// The text of the named attribute, with references resolved. Throws `Serializable::LoadFail` if the element has no
    /// such attribute.
    std::string getAttr(std::string const& name) const;

    /// Whether the element has an attribute of that name.
    bool hasAttr(std::string const& name) const;

    /// Throws `Serializable::LoadFail`. Its message is the name of the tag and `message`; in a tag that is being read,
    /// the line and column of the tag precede them.
    [[noreturn]] void fail(std::string const& message) const;

protected:
    /// A tag with a name and without attributes.
    explicit Tag(std::string name);
    virtual ~Tag();

    /// The beginning of the messages of `fail`: the tag, and its position if it is known.
    virtual std::string place() const;

    /// The text of the named attribute, or null.
    std::string const* findAttr(std::string_view name) const;

    std::string name_;                                            ///< The name of the element.
    std::vector<std::pair<std::string, std::string>> attributes_; ///< Names and texts, in document order.
};

/// An element that is being written.
///
/// Construct it and set its attributes. Then call either `writeSingleTag` or `writeTextTag` alone, or `writeOpenTag`,
/// the functions that write the content, and `writeCloseTag`.
///
/// std::invalid_argument is thrown by the constructors and by `setAttr` if a name is not an XML name, and by `setAttr`,
/// `writeText` and `writeTextTag` if a text is not valid UTF-8 or contains a character that XML does not allow: U+FFFE,
/// U+FFFF, or a control character below U+0020 other than tab, line feed and carriage return. The tag is then
/// unchanged, and nothing of the text has been written; `writeTextTag` has written the opening tag. If an allocation
/// fails, the tag is unchanged, and what was written before remains in the stream. A failure of the
/// stream shows in the state of the stream. It is thrown, as std::ios_base::failure, only if the stream's
/// `exceptions()` enable that. Whether a stream that has failed before throws again depends on the standard library.
class SINEW_API OutTag : public Tag
{
public:
    /// The root element of the text that is written to `out`, which must outlive the tag.
    OutTag(std::ostream& out, std::string const& name);
    /// A child of `parent`. The opening tag of `parent` must have been written with `lines` true. `parent` must outlive
    /// the child.
    OutTag(OutTag& parent, std::string const& name);
    ~OutTag() override;

    /// Stores an attribute. An attribute of the same name is replaced and keeps its place in the order.
    void setAttr(std::string const& name, std::string const& text);
    /// Stores a number as an attribute, with six significant digits in the format of a default output stream. A NaN
    /// becomes "nan" or "-nan", an infinity "inf" or "-inf"; `InTag::getReal` refuses these. `sinew::setExactAttr`
    /// stores all digits.
    void setAttr(std::string const& name, double value);

    /// Writes the opening tag with the attributes set so far.
    /// @param lines  true if child elements follow, each on its own line; false if text follows on the same line.
    void writeOpenTag(bool lines);

    /// Writes the closing tag.
    /// @param lines  the value that was given to `writeOpenTag`.
    void writeCloseTag(bool lines);

    /// Writes the whole element as one empty tag with the attributes set so far.
    void writeSingleTag();

    /// Writes character data inside an open tag. Characters with a meaning in XML are escaped, so that a reader gets
    /// the same bytes back.
    void writeText(std::string_view text);

    /// Writes the whole element: the opening tag, the text, the closing tag. An empty text gives one empty tag.
    void writeTextTag(std::string_view text);

private:
    void writeTag(std::string_view opening, std::string_view closing);
    void indent();

    std::ostream& out_;
    int depth_; // number of ancestors
};

/// An element that is being read. Its name and attributes are known; its content has not been read yet.
///
/// Content that the caller does not read is skipped afterwards. The skipped content must be well-formed as well. If an
/// allocation fails, what was read before is lost (basic guarantee): give up the document. `getAttr` and `getReal`
/// leave the tag unchanged.
class SINEW_API InTag : public Tag
{
public:
    /// Reads a child element. What it does not read of the child's content is skipped. Its exceptions pass through.
    using ChildHandler = std::function<void(InTag& child)>;

    /// Reads the opening tag at the position of `reader`. The library constructs tags; callers get them from
    /// `Serializable::load` and from a `ChildHandler`.
    explicit InTag(sinew::detail::XmlReader& reader);

    /// Reads the content that has not been read yet, and calls `onChild` with every child element in document order.
    /// Text between the children must be white space; other text is a `Serializable::LoadFail`.
    ///
    /// Without a handler the content is skipped: children and text are checked for being well-formed only. Skipping
    /// uses constant stack space.
    void readContent(ChildHandler const& onChild = {});

    /// Reads the content that has not been read yet as text: character data and CDATA sections joined, comments left
    /// out, references resolved, line ends as "\n". A child element is a `Serializable::LoadFail`. The text is empty if
    /// the content was read before.
    std::string readText();

    /// The named attribute as a finite number: the double nearest to the decimal number, on every platform. A number
    /// that is too small for a double gives 0. Throws `Serializable::LoadFail` if the attribute is missing, is not a
    /// decimal number (for example "nan", "inf", "0x1", "1x" or an empty text) or is too large for a double. White
    /// space around the number is ignored.
    double getReal(std::string const& name) const;

    /// Checks that a number was read from all of `text`, a stream over the text of one attribute: throws
    /// `Serializable::LoadFail` if the last extraction failed or if anything but white space follows the number.
    ///
    /// A new stream takes its locale from the process: imbue it with the classic locale before extracting numbers.
    /// Which texts it takes for numbers depends on the standard library; with `getReal` they are the same everywhere.
    void checkEndText(std::istream& text) const;

    ~InTag() override;

protected:
    std::string place() const override;

private:
    sinew::detail::XmlReader& reader_;
    std::size_t at_ = 0; // offset of the opening tag in the document
    bool unread_ = true; // whether content, or a part of it, has not been read yet
};

namespace sinew {

/// Stores a number as an attribute of `tag`, with the shortest digits from which `InTag::getReal` gets the same bits.
///
/// `OutTag::setAttr` of a number has six significant digits; both forms are read alike, also by earlier versions of the
/// library. The text is that of a double field: fixed or scientific notation, whichever is shorter. -0 and subnormal
/// numbers keep their bits. A NaN becomes "nan" or "-nan", an infinity "inf" or "-inf"; `InTag::getReal` refuses these.
/// A float is passed as the double of equal value, so that what is read is that float.
///
/// Throws and guarantees what `OutTag::setAttr` does.
SINEW_API void setExactAttr(OutTag& tag, std::string const& name, double value);

} // namespace sinew
