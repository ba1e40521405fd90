#include <memory>
#include <sstream>

#include <sinew/sinew.h>

class Thing : public Serializable
{
public:
    std::string maker = "unknown";

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        desc.add("maker", &Thing::maker);
        return new CompositeField(name, desc);
    }
};

class Shade : public Thing
{
};

// THE BLOCK

int main()
{
    Lamp lamp;
    lamp.hours = 12.5;
    lamp.shades.resize(2);
    std::stringstream text;
    write(text, lamp);
    std::unique_ptr<Serializable> const made = read(text);
    Lamp const* const copy = dynamic_cast<Lamp const*>(made.get());
    return copy && copy->hours == 12.5 && copy->shades.size() == 2 ? 0 : 1;
}
