#include <sinew/framework/registry.h>

#include <memory>
#include <optional>
#include <sstream>

#include <gtest/gtest.h>

#include "gallery.h"

namespace {

// Used before main runs, from a source file that knows nothing of the library's own initialisation order.
SerializableFactory<gallery::Painting> const paintingFactory("GalleryPainting");
bool const foundDuringInitialisation = FactoryByName::find("GalleryPainting") != nullptr;

std::vector<std::string> lines;
void keepLine(std::string const& action, std::string const& type, std::string const& name)
{
    lines.push_back(action + "|" + type + "|" + name);
}

struct LogSink
{
    LogSink()
    {
        lines.clear();
        sinew::setRegistryLogSink(keepLine);
    }
    ~LogSink() { sinew::setRegistryLogSink(nullptr); }
};

struct Unused : NamedObject<Unused*>
{
};

struct Tool : NamedObject<Tool*>
{
    explicit Tool(std::string const& name) : NamedObject(name) {}
};

} // namespace

TEST(Registry, WorksDuringStaticInitialisation)
{
    EXPECT_TRUE(foundDuringInitialisation);
}

TEST(Registry, MakesObjectsByNameAndByTypeName)
{
    auto const* byName = FactoryByName::find("GalleryPainting");
    auto const* byType = FactoryByTypeID::find(typeid(gallery::Painting).name());
    ASSERT_TRUE(byName && byType);
    std::unique_ptr<Serializable> const a(byName->createObject());
    std::unique_ptr<Serializable> const b(byType->createObject());
    EXPECT_NE(dynamic_cast<gallery::Painting*>(a.get()), nullptr);
    EXPECT_NE(dynamic_cast<gallery::Painting*>(b.get()), nullptr);
    EXPECT_NE(a, b);
}

TEST(Registry, UnknownNamesGiveNull)
{
    EXPECT_EQ(FactoryByName::find("nobody"), nullptr);
    EXPECT_EQ(FactoryByTypeID::find("GalleryPainting"), nullptr) << "the registries are apart";
    EXPECT_EQ(Unused::find("x"), nullptr) << "a registry that was never used";
    EXPECT_TRUE(Unused::names().empty());
}

TEST(Registry, YoungestOfANameIsFoundAndTheOneBeforeComesBack)
{
    std::optional<Tool> first(std::in_place, "saw");
    std::optional<Tool> second(std::in_place, "saw");
    std::optional<Tool> third(std::in_place, "saw");
    EXPECT_EQ(Tool::find("saw"), &*third);
    second.reset();
    EXPECT_EQ(Tool::find("saw"), &*third);
    third.reset();
    EXPECT_EQ(Tool::find("saw"), &*first);
    EXPECT_EQ(Tool::names(), std::vector<std::string>{"saw"});
    first.reset();
    EXPECT_EQ(Tool::find("saw"), nullptr);
    EXPECT_TRUE(Tool::names().empty());
}

TEST(Registry, LogTellsOfRegistriesAndEntries)
{
    struct Nail : NamedObject<Nail*>
    {
        explicit Nail(std::string const& name) : NamedObject(name) {}
    };
    std::string const type = typeid(Nail*).name();
    LogSink const sink;
    {
        Nail const a("a");
        Nail const b("b");
    }
    EXPECT_EQ(lines, (std::vector<std::string>{"registry|" + type + "|NamedObject<" + type + "> instantiating registry",
                                               "   new|" + type + "|a", "   new|" + type + "|b",
                                               "delete|" + type + "|b", "delete|" + type + "|a"}));
    lines.clear();
    NamedObject_log("action", "type", "name");
    EXPECT_EQ(lines, std::vector<std::string>{"action|type|name"});
    sinew::setRegistryLogSink(nullptr);
    NamedObject_log("dropped", "type", "name");
    EXPECT_EQ(lines.size(), 1u);
}

TEST(Registry, FactoryStandsInBothRegistries)
{
    struct Easel : Serializable
    {
    };
    LogSink const sink;
    {
        SerializableFactory<Easel> const factory("Easel");
        EXPECT_EQ(FactoryByName::find("Easel"), static_cast<FactoryByName const*>(&factory));
        EXPECT_EQ(FactoryByTypeID::find(typeid(Easel).name()), static_cast<FactoryByTypeID const*>(&factory));
        AbstractFactory<Serializable> const& abstract = factory;
        std::unique_ptr<Serializable> const made(abstract.createObject());
        EXPECT_NE(dynamic_cast<Easel*>(made.get()), nullptr);
    }
    EXPECT_EQ(FactoryByName::find("Easel"), nullptr);
    EXPECT_EQ(FactoryByTypeID::find(typeid(Easel).name()), nullptr);
    EXPECT_EQ(lines.size(), 4u);
}

TEST(CreateFromDocument, MakesTheClassOfTheRootElementAndReadsIt)
{
    std::istringstream in("<GalleryPainting><super><year>1888</year></super></GalleryPainting>");
    std::unique_ptr<Serializable> const made = sinew::createFromDocument(in);
    auto const* painting = dynamic_cast<gallery::Painting*>(made.get());
    ASSERT_NE(painting, nullptr);
    EXPECT_EQ(painting->year, 1888);
}

TEST(CreateFromDocument, UnknownRootIsALoadFail)
{
    std::istringstream in("\n<Nobody/>");
    try {
        sinew::createFromDocument(in);
        FAIL();
    } catch (Serializable::LoadFail const& failure) {
        EXPECT_STREQ(failure.what(), "line 2, column 1: <Nobody>: no class is registered under this name");
    }
}
