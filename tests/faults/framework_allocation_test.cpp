// The module framework with every allocation failing in turn.

#include <istream>
#include <memory>
#include <optional>
#include <ostream>

#include <sinew/framework/fields.h>
#include <sinew/framework/registry.h>
#include <sinew/framework/serializable.h>

#include "faults/buffers.h"
#include "faults/digest.h"
#include "faults/sweep.h"
#include "framework/gallery.h"
#include "support/failing_new.h"
#include "support/random.h"

using faults::Digest;
using faults::FixedBuffer;
using faults::Guarantee;
using faults::sweep;
using faults::TextBuffer;

namespace {

// Longer than the buffer inside a string.
std::string const kLongName = "aNameThatIsTooLongForTheBufferInsideAString";

gallery::Painting painting()
{
    test::Random random(5);
    gallery::Painting p = gallery::randomPainting(random);
    p.title = kLongName + " <&>";
    p.owners = {kLongName, "short"};
    p.rows = {{1, 2, 3}, {}, {4}};
    p.spareFrames.resize(2);
    return p;
}

struct Tool : NamedObject<Tool*>
{
    explicit Tool(std::string const& name) : NamedObject(name) {}
};

// Reads all that a tag offers.
class Attributed : public Serializable
{
public:
    std::string attribute;
    double number = 0;
    std::string text;
    std::vector<std::string> children;

    void save(OutTag& tag) override
    {
        tag.setAttr("attribute", attribute);
        tag.setAttr("attribute", attribute + attribute); // replaces it
        tag.setAttr("number", number);
        tag.writeOpenTag(true);
        OutTag child(tag, kLongName);
        child.writeTextTag(text);
        tag.writeCloseTag(true);
    }
    void load(InTag& tag, smart_ptr<Field>) override
    {
        attribute = tag.getAttr("attribute");
        number = tag.getReal("number");
        children.clear();
        tag.readContent([this](InTag& child) {
            children.push_back(child.name());
            text = child.readText();
        });
    }
};

std::string digestOf(Attributed const& a)
{
    return Digest(a.attribute, a.number, a.text, a.children);
}

std::string digestOf(gallery::Painting const& p)
{
    gallery::Painting copy = p;
    return gallery::textOf(copy);
}

// An object, and the document that it was written as last.
template <typename T>
struct Written
{
    T object;
    FixedBuffer buffer;
    std::ostream out{&buffer};
    std::string document;

    void write()
    {
        buffer.clear();
        sinew::writeDocument(out, object, kLongName);
        document = buffer.text();
    }
};

template <typename T>
void sweepWriting(T const& object)
{
    sweep(
        Guarantee::strong,
        [&] {
            auto written = std::make_unique<Written<T>>();
            written->object = object;
            return written;
        },
        [](Written<T>& w) { w.write(); }, [](Written<T>& w) { return digestOf(w.object) + w.document; });
}

template <typename T>
void sweepReading(T const& object)
{
    T copy = object;
    std::string const document = gallery::textOf(copy, kLongName);
    sweep(
        Guarantee::basic, [] { return std::make_unique<T>(); },
        [&](T& read) {
            TextBuffer buffer(document);
            std::istream in(&buffer);
            sinew::readDocument(in, read);
        },
        [](T& read) { return digestOf(read); });
}

Attributed attributed()
{
    Attributed a;
    a.attribute = kLongName + " \"&\"";
    a.number = 0.125;
    a.text = kLongName + "<&>\r";
    return a;
}

CompositeField compositeField(int fields)
{
    ClassDesc desc;
    for (int i = 0; i < fields; ++i) desc.add(kLongName + std::to_string(i), &gallery::Work::title);
    return CompositeField(kLongName + std::to_string(fields), desc);
}

std::string digestOf(CompositeField const& field)
{
    CompositeField copy = field;
    gallery::Work work;
    work.title = kLongName;
    std::ostringstream out;
    OutTag tag(out, copy.name());
    copy.save(work, tag);
    return copy.name() + out.str();
}

} // namespace

TEST(FrameworkAllocation, Registration)
{
    struct State
    {
        std::optional<Tool> tool;
    };
    auto const digest = [](State& s) {
        return std::string(Digest(s.tool ? Tool::find(kLongName) == &*s.tool : !Tool::find(kLongName), Tool::names()));
    };
    for (bool const logged : {false, true}) {
        SCOPED_TRACE(logged);
        static std::size_t length;
        length = 0;
        if (logged) {
            sinew::setRegistryLogSink([](std::string const& action, std::string const& type, std::string const& name) {
                length += (action + type + name).size(); // allocates
            });
        }
        sweep(
            Guarantee::strong, [] { return std::make_unique<State>(); }, [](State& s) { s.tool.emplace(kLongName); },
            digest);
        // Removal completes whatever fails.
        for (long k = 0; k < 5; ++k) {
            State state;
            state.tool.emplace(kLongName);
            {
                test::FailingNew const failing(k);
                state.tool.reset();
            }
            EXPECT_EQ(Tool::find(kLongName), nullptr);
        }
        sinew::setRegistryLogSink(nullptr);
        EXPECT_EQ(length > 0, logged) << "the sink is called";
    }
    Tool const tool("short");
    faults::expectNoAllocation([&] { Tool::find(kLongName); });
}

TEST(FrameworkAllocation, WithoutASinkTheLogAllocatesNothing)
{
    struct Plane : NamedObject<Plane*>
    {
        explicit Plane(std::string const& n) : NamedObject(n) {}
    };
    long long const before = test::allocationCount();
    {
        Plane const plane("p");
    }
    EXPECT_LE(test::allocationCount() - before, 3) << "the registry, its type name and the entry";
    long long const again = test::allocationCount();
    {
        Plane const plane("p");
    }
    EXPECT_EQ(test::allocationCount() - again, 1) << "the entry";
}

TEST(FrameworkAllocation, Factories)
{
    struct State
    {
        std::optional<SerializableFactory<gallery::Work>> factory;
        std::vector<std::string> names;
        std::unique_ptr<Serializable> made;
    };
    std::string const typeName = typeid(gallery::Work).name();
    auto const make = [] { return std::make_unique<State>(); };
    auto const digest = [&](State& s) {
        return std::string(Digest(FactoryByName::find(kLongName) != nullptr, FactoryByTypeID::find(typeName) != nullptr,
                                  s.factory.has_value(), s.names, s.made != nullptr));
    };
    sweep(
        Guarantee::strong, make, [](State& s) { s.factory.emplace(kLongName); }, digest);
    sweep(
        Guarantee::strong, make, [](State& s) { s.names = FactoryByName::names(); }, digest);
    sweep(
        Guarantee::strong, make, [](State& s) { s.made.reset(FactoryByName::find("MeshFunction2D")->createObject()); },
        digest);
}

TEST(FrameworkAllocation, WritingDocuments)
{
    sweepWriting(painting());
    sweepWriting(attributed());
}

TEST(FrameworkAllocation, ReadingDocuments)
{
    sweepReading(painting());
    sweepReading(attributed());
}

TEST(FrameworkAllocation, CreatingObjectsFromDocuments)
{
    SerializableFactory<gallery::Painting> const factory(kLongName);
    gallery::Painting object = painting();
    std::string const document = gallery::textOf(object, kLongName);
    struct State
    {
        std::unique_ptr<Serializable> object;
    };
    sweep(
        Guarantee::strong, [] { return std::make_unique<State>(); },
        [&](State& s) {
            TextBuffer buffer(document);
            std::istream in(&buffer);
            s.object = sinew::createFromDocument(in);
        },
        [](State& s) { return s.object ? gallery::textOf(*s.object) : std::string("none"); });
}

TEST(FrameworkAllocation, RefusingDocuments)
{
    struct State
    {
        std::string message;
        gallery::Painting object;
    };
    std::string const document = "<" + kLongName + "><price>" + kLongName + kLongName + "</price></" + kLongName + ">";
    sweep(
        Guarantee::strong, [] { return std::make_unique<State>(); },
        [&](State& s) {
            TextBuffer buffer(document);
            std::istream in(&buffer);
            try {
                sinew::readDocument(in, s.object);
            } catch (Serializable::LoadFail const& failure) {
                s.message = failure.what();
            }
        },
        [](State& s) { return s.message + digestOf(s.object); });
}

TEST(FrameworkAllocation, Attributes)
{
    struct State
    {
        FixedBuffer buffer;
        std::ostream out{&buffer};
        OutTag tag{out, kLongName};
    };
    auto const make = [] {
        auto state = std::make_unique<State>();
        state->tag.setAttr("first", kLongName);
        return state;
    };
    auto const digest = [](State& s) {
        s.buffer.clear();
        s.tag.writeSingleTag();
        return s.buffer.text() + (s.tag.hasAttr("second") ? s.tag.getAttr("second") : "");
    };
    std::string const text = kLongName + kLongName;
    std::string const name = "second";
    std::string const firstName = "first";
    sweep(
        Guarantee::strong, make, [&](State& s) { s.tag.setAttr(name, text); }, digest);
    sweep(
        Guarantee::strong, make, [&](State& s) { s.tag.setAttr(firstName, text); }, digest);
    sweep(
        Guarantee::strong, make, [&](State& s) { s.tag.setAttr(kLongName, 0.1); }, digest);
}

TEST(FrameworkAllocation, Descriptions)
{
    struct State
    {
        ClassDesc desc;
        smart_ptr<Field> field;
        std::string name;
    };
    auto const make = [] {
        auto state = std::make_unique<State>();
        state->desc.add("first", &gallery::Work::title);
        return state;
    };
    auto const digest = [](State& s) {
        Digest result(s.desc.fields().size(), s.field != nullptr, s.name);
        for (auto const& field : s.desc.fields()) result.add(field->name());
        return std::string(result);
    };
    sweep(
        Guarantee::strong, make, [](State& s) { s.desc.add(kLongName, &gallery::Work::year); }, digest);
    sweep(
        Guarantee::strong, make, [](State& s) { s.field = gallery::Painting().describeFields(kLongName); }, digest);
    sweep(
        Guarantee::strong, make, [](State& s) { s.name = getSingularName(kLongName + "ies"); }, digest);
    faults::sweepCopies<CompositeField>([] { return compositeField(1); }, [] { return compositeField(4); },
                                        [](CompositeField const& field) { return digestOf(field); });
    auto const descOf = [](int fields) {
        ClassDesc desc;
        for (int i = 0; i < fields; ++i) desc.add(kLongName + std::to_string(i), &gallery::Work::title);
        return desc;
    };
    faults::sweepCopies<ClassDesc>([&] { return descOf(1); }, [&] { return descOf(5); },
                                   [](ClassDesc const& desc) {
                                       Digest result(desc.fields().size());
                                       for (auto const& field : desc.fields()) result.add(field->name());
                                       return std::string(result);
                                   });
}

TEST(FrameworkAllocation, HandlesAllocateNothing)
{
    struct Node : smart_base
    {
        smart_ptr<Node> next;
    };
    smart_ptr<Node> const first(new Node);
    faults::expectNoAllocation([&] {
        smart_ptr<Node> a = first;
        smart_ptr<smart_base const> const b = a;
        smart_ptr<Node> c(std::move(a));
        a = c;
        a.swap(c);
        c.reset();
        EXPECT_EQ(first->referenceCount, 3);
    });
    EXPECT_EQ(first->referenceCount, 1);
}
