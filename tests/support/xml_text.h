#pragma once

/// The text of a document of the other XML parser.

#include <cstddef>
#include <string>

#include <pugixml.hpp>

namespace test {

/// The text that the other parser writes. By its own interface and not by a stream: the parser may have been built with
/// another standard library than the tests.
inline std::string writtenText(pugi::xml_document const& document, char const* indent, unsigned format)
{
    struct Writer : pugi::xml_writer
    {
        std::string text;
        void write(void const* data, std::size_t size) override { text.append(static_cast<char const*>(data), size); }
    } writer;
    document.save(writer, indent, format);
    return writer.text;
}

} // namespace test
