#pragma once

/// The reader of XML documents that `sinew::readDocument` and `InTag` are built on.

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace sinew::detail {

/// A pull reader of one XML 1.0 document, which may come from an untrusted source: the caller asks for the next tag,
/// and the reader advances to it.
///
/// The document is kept in memory as text. Its characters are checked once, then it is read once from front to back.
/// Only the five predefined entities and character references are resolved; a document type declaration is refused.
/// Every error is a `Serializable::LoadFail` with line and column, which are counted only when an error occurs.
///
/// After the constructor the position of the reader is the opening tag of the root element. `readStartTag`,
/// `nextInContent`, `readEndTag` and `skipContent` advance it from there.
/// Source: W3C, Extensible Markup Language (XML) 1.0, fifth edition, 2008.
class XmlReader
{
public:
    /// Takes all characters of `in`, whose state is not changed, and reads up to the root element.
    /// @param maxNesting  the greatest depth of nested elements, the root having depth 1.
    XmlReader(std::istream& in, int maxNesting);
    XmlReader(XmlReader const&) = delete;
    XmlReader& operator=(XmlReader const&) = delete;

    /// Checks the text after the root element: only white space and comments are allowed.
    void finish();

    struct Attribute
    {
        std::string_view name;
        std::string_view raw; ///< The text in the document, with unresolved references.
    };

    /// An opening tag. Its texts are views of the document.
    struct StartTag
    {
        std::size_t at = 0;    ///< Offset in the document.
        std::string_view name; ///< The name of the element.
        bool empty = false;    ///< Whether the tag ends with "/>": no content and no closing tag follow.
        std::vector<Attribute> attributes;
    };
    /// Reads the opening tag at the position of the reader. The result is valid until the next call.
    StartTag const& readStartTag();

    enum class Next
    {
        StartTag,
        EndTag
    };
    /// Reads content up to the next tag, and stops at that tag. Comments and processing instructions are left out.
    /// @param text  receives the character data at its end, with references resolved; may be null.
    /// @param blank  becomes false if the character data is more than white space; may be null.
    Next nextInContent(std::string* text, bool* blank);

    /// Reads the closing tag at the position of the reader. It must have the given name.
    void readEndTag(std::string_view name);

    /// Skips the rest of the content and the closing tag of the element with the given name. It does not recurse, so
    /// the depth of the content does not matter for the stack.
    void skipContent(std::string_view name);

    /// The position of an offset in the document as "line 3, column 5". Lines and columns count from 1, columns count
    /// characters.
    std::string place(std::size_t at) const;

    /// Throws `Serializable::LoadFail` with the position of an offset in the document and `message`.
    [[noreturn]] void fail(std::string const& message, std::size_t at) const;

private:
    [[noreturn]] void fail(std::string const& message) const { fail(message, at_); }

    std::string_view rest() const { return std::string_view(text_).substr(at_); }
    bool atText(std::string_view expected) const { return rest().substr(0, expected.size()) == expected; }
    void skip(std::string_view markup);
    void expect(std::string_view expected, char const* message);
    bool skipSpace();
    void skipMisc();
    std::string_view readName(char const* what);
    std::string_view readUntil(std::string_view end, char const* message, std::size_t start);
    std::size_t checkReference(std::string_view text, std::size_t at) const;

    void checkCharacters();
    void readProlog();
    bool atDeclaration() const;
    void readDeclaration();
    bool nextDeclarationPart();
    void readComment();
    void readInstruction();
    void readCharacterData(std::string* text, bool* blank);
    void readCdata(std::string* text, bool* blank);
    Attribute readAttribute();
    void checkAttributeText(std::string_view raw, std::size_t at) const;

    std::string text_;
    std::size_t at_ = 0; // offset of the next character to read
    int maxNesting_;
    int depth_ = 0; // number of open elements
    StartTag tag_;
};

} // namespace sinew::detail
