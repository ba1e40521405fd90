// Reads the input as a document into every kind of class. Whatever the bytes are, it ends in an object or in LoadFail;
// and what could be read can be written, read again, and is then written with the same bytes.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <memory>
#include <sstream>
#include <string>

#include <sinew/framework/serializable.h>
#include <sinew/meshfunc/mesh_function_2d.h>

#include "framework/gallery.h"

namespace {

template <typename T>
std::string written(T& object)
{
    std::ostringstream out;
    sinew::writeDocument(out, object, "root");
    return out.str();
}

void require(bool holds)
{
    if (!holds) std::abort();
}

template <typename T, typename... Arguments>
void readInto(std::string const& text, Arguments... arguments)
{
    T object(arguments...);
    try {
        std::istringstream in(text);
        sinew::readDocument(in, object);
    } catch (Serializable::LoadFail const& failure) {
        require(*failure.what() != '\0');
        return;
    }
    T again(arguments...);
    std::istringstream first(written(object));
    sinew::readDocument(first, again); // our own text: must not throw
    T third(arguments...);
    std::string const text2 = written(again);
    std::istringstream second(text2);
    sinew::readDocument(second, third);
    require(written(third) == text2);
}

void create(std::string const& text)
{
    try {
        std::istringstream in(text);
        require(sinew::createFromDocument(in) != nullptr);
    } catch (Serializable::LoadFail const&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const text(reinterpret_cast<char const*>(data), size);
    readInto<MeshFunction2D>(text, true);
    readInto<gallery::Painting>(text);
    readInto<gallery::Branch>(text);
    create(text);
    return 0;
}
