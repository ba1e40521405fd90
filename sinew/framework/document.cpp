#include <ostream>

#include <sinew/framework/detail/xml_reader.h>
#include <sinew/framework/registry.h>
#include <sinew/framework/serializable.h>

namespace sinew {
namespace {

void readRoot(detail::XmlReader& reader, InTag& root, Serializable& object)
{
    object.load(root, object.describeFields(root.name()));
    root.readContent(); // what the object left of it
    reader.finish();
}

} // namespace

void writeDocument(std::ostream& out, Serializable& object, std::string const& name)
{
    OutTag root(out, name);
    out.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n", 39);
    object.save(root);
}

void readDocument(std::istream& in, Serializable& object)
{
    detail::XmlReader reader(in);
    InTag root = reader.root();
    readRoot(reader, root, object);
}

std::unique_ptr<Serializable> createFromDocument(std::istream& in)
{
    detail::XmlReader reader(in);
    InTag root = reader.root();
    FactoryByName const* const factory = FactoryByName::find(root.name());
    if (!factory) root.fail("no class is registered under this name");
    std::unique_ptr<Serializable> object(factory->createObject());
    readRoot(reader, root, *object);
    return object;
}

} // namespace sinew
