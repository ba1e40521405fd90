// Reads the input as a document into objects of several classes. Whatever the bytes are, reading must end with an
// object or with LoadFail. An object that was read must be written as a document that can be read, and the object read
// from that document must be written with the same bytes.

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

// Reads `text` into a `T`, which is constructed from `arguments`.
template <typename T, typename... Arguments>
void readInto(std::string const& text, Arguments... arguments)
{
    T object(arguments...);
    try {
        std::istringstream in(text);
        sinew::readDocument(in, object);
    } catch (Serializable::LoadFail const& failure) {
        require(*failure.what() != '\0'); // every failure has a message
        return;
    }
    // Writing may change the values once: attributes and packed vectors have limited precision.
    T second(arguments...);
    std::istringstream firstText(written(object));
    sinew::readDocument(firstText, second); // the library's own text: an exception is a failure
    std::string const secondText = written(second);
    T third(arguments...);
    std::istringstream in(secondText);
    sinew::readDocument(in, third);
    require(written(third) == secondText);
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
