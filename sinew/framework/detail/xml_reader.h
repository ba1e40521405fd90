#pragma once

/// A pull reader of one XML 1.0 document that may come from a stranger.
///
/// The document is held as text, checked once for characters that XML does not allow, and walked through once, front to
/// back. Nothing is expanded but the five predefined entities and character references; a document type declaration is
/// refused. Elements are nested at most `kMaxNesting` deep. Every error is a `Serializable::LoadFail` with line and
/// column, which are counted only then.

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include <sinew/framework/tags.h>

namespace sinew::detail {

class XmlReader
{
public:
    /// Takes all of `in` and reads up to the root element.
    explicit XmlReader(std::istream& in);
    XmlReader(XmlReader const&) = delete;
    XmlReader& operator=(XmlReader const&) = delete;

    /// The opening tag of the root element.
    InTag root();

    /// After the root element: nothing but white space and comments may follow.
    void finish();

    /// An opening tag, as a view of the document that is valid until the next opening tag is read.
    struct StartTag
    {
        struct Attribute
        {
            std::string_view name;
            std::string_view raw; ///< references not yet resolved
        };
        std::size_t at = 0;
        std::string_view name;
        bool empty = false; ///< closed by itself: no content and no closing tag follow
        std::vector<Attribute> attributes;
    };
    /// Reads the opening tag that `nextInContent` or the prolog stopped at.
    StartTag const& readStartTag();

    enum class Next
    {
        StartTag,
        EndTag
    };
    /// Reads character data, comments and instructions up to the next tag, which is left unread.
    /// @param text  receives the character data, resolved; may be null.
    /// @param blank  becomes false if character data other than white space was met; may be null.
    Next nextInContent(std::string* text, bool* blank);

    /// Reads the closing tag that `nextInContent` stopped at; it must bear `name`.
    void readEndTag(std::string_view name);

    /// Skips content and closing tag of an element that bears `name`, without recursion.
    void skipContent(std::string_view name);

    /// "line 3, column 5" of an offset into the document; columns count characters from 1.
    std::string place(std::size_t at) const;

    /// Throws `LoadFail` with the line and column of an offset into the document.
    [[noreturn]] void fail(std::string const& message, std::size_t at) const;

private:
    [[noreturn]] void fail(std::string const& message) const { fail(message, at_); }

    std::string_view rest() const { return std::string_view(text_).substr(at_); }
    bool atText(std::string_view expected) const { return rest().substr(0, expected.size()) == expected; }
    void expect(std::string_view expected, char const* message);
    bool skipSpace();
    std::string_view readName(char const* what);
    std::string_view readUntil(std::string_view end, char const* message, std::size_t start);
    std::size_t checkReference(std::string_view text, std::size_t at) const;

    void readDeclaration();
    void readComment();
    void readInstruction();
    void readCharacterData(std::string* text, bool* blank);
    void readCdata(std::string* text, bool* blank);
    void readAttribute();
    void refuseRepeatedAttributes();

    std::string text_;
    std::size_t at_ = 0;
    int depth_ = 0;
    StartTag tag_;
};

} // namespace sinew::detail
