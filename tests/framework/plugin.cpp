// A plug-in that registers a persistent class.

#include <sinew/framework/fields.h>
#include <sinew/framework/registry.h>

namespace {

class PluginPart : public Serializable
{
public:
    int weight = 0;

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        desc.add("weight", &PluginPart::weight);
        return new CompositeField(name, desc);
    }
};

SerializableFactory<PluginPart> const factory("PluginPart");

} // namespace
