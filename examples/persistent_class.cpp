// Makes a class of the host persistent. The class describes its fields; then its objects can be saved and loaded, and
// can be made by the class name in a document. Writes the document, and the message of a refused one, to standard
// output.

#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <sinew/framework/fields.h>
#include <sinew/framework/registry.h>
#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/type_handlers.h>

namespace host {

// A type with its own text form, one empty element: `<tint red="255" green="216" blue="160"/>`.
struct Tint
{
    unsigned red = 255, green = 255, blue = 255;
};

} // namespace host

template <>
class SimpleTypeHandler<host::Tint>
{
public:
    static void save(host::Tint const& tint, OutTag& tag)
    {
        tag.setAttr("red", std::to_string(tint.red));
        tag.setAttr("green", std::to_string(tint.green));
        tag.setAttr("blue", std::to_string(tint.blue));
        tag.writeSingleTag();
    }
    static void load(host::Tint& tint, InTag& tag)
    {
        tint.red = static_cast<unsigned>(channel(tag, "red"));
        tint.green = static_cast<unsigned>(channel(tag, "green"));
        tint.blue = static_cast<unsigned>(channel(tag, "blue"));
        tag.readContent(); // skips whatever the element contains
    }

private:
    static constexpr double kMost = 255;

    static double channel(InTag const& tag, char const* name)
    {
        double const value = tag.getReal(name); // finite: the tag refuses other texts
        if (value < 0 || value > kMost) tag.fail(std::string(name) + " is not between 0 and 255");
        return value;
    }
};

namespace host {

// The base class of everything in a scene.
class Thing : public Serializable
{
public:
    std::string label;
    Vector3 position;

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        desc.add("label", &Thing::label);
        sinew::addExact(desc, "position", &Thing::position); // with all its bits; `add` would keep six digits
        return new CompositeField(name, desc);
    }
};

// A part of a lamp, as an example of an object inside another object.
class Shade : public Serializable
{
public:
    double radius = 0;
    Tint tint;

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        desc.add("radius", &Shade::radius);
        desc.add("tint", &Shade::tint);
        return new CompositeField(name, desc);
    }
};

// Has members of every kind that the library saves and loads.
class Lamp : public Thing
{
public:
    bool lit = false;
    int watts = 0;
    unsigned long long serial = 0;
    float dimming = 1;
    double hours = 0;
    tzNM::vect2<double> socket;
    Shade bulb;
    std::vector<Shade> shades;
    std::vector<std::string> notes;
    std::vector<double> voltages;
    std::vector<std::vector<int>> days;
    std::vector<tzNM::vect2<double>> corners;
    MeshFunction2D pattern{true};

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        desc.add("lit", &Lamp::lit);
        desc.add("watts", &Lamp::watts);
        desc.add("serial", &Lamp::serial);
        desc.add("dimming", &Lamp::dimming);
        desc.add("hours", &Lamp::hours);
        desc.add("socket", &Lamp::socket);
        desc.add("bulb", &Lamp::bulb);
        desc.add("shades", &Lamp::shades);
        desc.add("notes", &Lamp::notes);
        desc.add("voltages", &Lamp::voltages);
        desc.add("days", &Lamp::days);
        desc.add("corners", &Lamp::corners);
        desc.add("pattern", &Lamp::pattern);
        desc.add(Thing::describeFields("super"));
        return new CompositeField(name, desc);
    }
};

// Registers the class for as long as the program or plug-in that contains this file is loaded.
SerializableFactory<Lamp> const lampFactory("Lamp");

Lamp readingLamp()
{
    Lamp lamp;
    lamp.label = "reading lamp <by the sofa>";
    lamp.position = {1.0 / 3, 0, -2};
    lamp.lit = true;
    lamp.watts = 9;
    lamp.serial = 18446744073709551615ull;
    lamp.dimming = 0.8f;
    lamp.hours = 1234.1;
    lamp.socket = {0.25, 0.5};
    lamp.bulb.radius = 0.03;
    lamp.shades.resize(2);
    lamp.shades[1].radius = 0.2;
    lamp.shades[1].tint = {255, 216, 160};
    lamp.notes = {"", "switch & dimmer"};
    lamp.voltages = {12, 0.1};
    lamp.days = {{7, 8}, {}, {19}};
    lamp.corners = {{0, 0}, {1, 0}, {0, 1}};
    lamp.pattern = MeshFunction2D({{0, 0}, {1, 0}, {0, 1}}, {{0, 0}, {2, 0}, {0, 2}}, {0, 1, 2}, {});
    return lamp;
}

} // namespace host

int main()
{
    host::Lamp lamp = host::readingLamp();
    std::stringstream document;
    sinew::writeDocument(document, lamp, "Lamp");
    std::cout << document.str();

    // Loads the document. The name of the root element determines the class of the new object.
    std::unique_ptr<Serializable> const made = sinew::createFromDocument(document);
    auto* const loaded = dynamic_cast<host::Lamp*>(made.get());
    if (!loaded) return 1;
    std::ostringstream again;
    sinew::writeDocument(again, *loaded, "Lamp");
    tzNM::vect2<double> value;
    bool const same = again.str() == document.str() && loaded->label == lamp.label && loaded->serial == lamp.serial &&
                      loaded->hours == lamp.hours && loaded->position == lamp.position &&
                      loaded->shades.at(1).tint.blue == 160 && loaded->days == lamp.days &&
                      loaded->pattern.evaluate({0.25, 0.25}, &value, nullptr);

    // A document that cannot be read is refused with a message that gives line and column.
    std::istringstream damaged("<Lamp>\n  <watts>nine</watts>\n</Lamp>");
    try {
        sinew::createFromDocument(damaged);
        return 1;
    } catch (Serializable::LoadFail const& failure) {
        std::cout << failure.what() << "\n";
    }
    return same ? 0 : 1;
}
