// The functions on whole documents that serializable.h declares. They use all other parts of the module, so they have
// their own source.

#include <sinew/framework/serializable.h>

#include <cassert>
#include <memory>
#include <ostream>
#include <string_view>

#include <sinew/framework/detail/xml_reader.h>
#include <sinew/framework/registry.h>
#include <sinew/framework/tags.h>

namespace sinew {
namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

void readRoot(detail::XmlReader& reader, InTag& root, Serializable& object)
{
    object.load(root, object.describeFields(root.name()));
    root.readContent(); // skips what the object has not read
    reader.finish();
}

} // namespace

void writeDocument(std::ostream& out, Serializable& object, std::string const& name)
{
    OutTag root(out, name); // throws before anything is written if the name is bad
    out.write(kDeclaration.data(), static_cast<std::streamsize>(kDeclaration.size()));
    object.save(root);
}

void readDocument(std::istream& in, Serializable& object)
{
    detail::XmlReader reader(in, kMaxNesting);
    InTag root(reader);
    readRoot(reader, root, object);
}

std::unique_ptr<Serializable> createFromDocument(std::istream& in)
{
    detail::XmlReader reader(in, kMaxNesting);
    InTag root(reader);
    FactoryByName const* const factory = FactoryByName::find(root.name());
    if (!factory) root.fail("no class is registered under this name");
    std::unique_ptr<Serializable> object(factory->createObject());
    assert(object);
    readRoot(reader, root, *object);
    return object;
}

} // namespace sinew
