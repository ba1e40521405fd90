#include <sinew/framework/registry.h>

#include <memory>
#include <new>
#include <optional>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

#include "gallery.h"
#include "support/failing_new.h"
#include "support/shared_library.h"

namespace {

// Both are initialised before main runs. Their order relative to the library's own static objects is not defined.
SerializableFactory<gallery::Painting> const paintingFactory("GalleryPainting");
bool const foundDuringInitialisation = FactoryByName::find("GalleryPainting") != nullptr;

std::vector<std::string> lines; // what keepLine has received
void keepLine(std::string const& action, std::string const& type, std::string const& name)
{
    lines.push_back(action + "|" + type + "|" + name);
}

// Installs `keepLine` for the duration of a test.
struct LogSink
{
    LogSink()
    {
        lines.clear();
        sinew::setRegistryLogSink(keepLine);
    }
    ~LogSink() { sinew::setRegistryLogSink(nullptr); }
};

// No object of this type is ever registered.
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
    EXPECT_EQ(FactoryByName::find("Unregistered"), nullptr);
    EXPECT_EQ(FactoryByTypeID::find("GalleryPainting"), nullptr) << "names of one registry are unknown to the other";
    EXPECT_EQ(Unused::find("x"), nullptr) << "a registry that was never used";
    EXPECT_TRUE(Unused::names().empty());
}

TEST(Registry, FindsTheLatestObjectOfANameThatStillExists)
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

TEST(Registry, LogsNewRegistriesRegistrationsAndRemovals)
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

TEST(Registry, NamesAreSortedAndEachIsListedOnce)
{
    Tool const saw("saw");
    Tool const axe("axe");
    Tool const otherSaw("saw");
    EXPECT_EQ(Tool::names(), (std::vector<std::string>{"axe", "saw"}));
}

TEST(Registry, RegistrationWithoutMemoryLeavesNoEntry)
{
    std::string const name = "a name that is too long for the buffer inside a string";
    struct Drill : NamedObject<Drill*>
    {
        explicit Drill(std::string const& n) : NamedObject(n) {}
    };
    std::unique_ptr<Drill> made;
    for (long allowed = 0; !made; ++allowed) {
        SCOPED_TRACE(allowed);
        try {
            test::FailingNew const failing(allowed);
            made = std::make_unique<Drill>(name);
        } catch (std::bad_alloc const&) {
            EXPECT_EQ(Drill::find(name), nullptr);
        }
    }
    EXPECT_EQ(Drill::find(name), made.get());
}

TEST(Registry, RemovalNeedsNoMemory)
{
    LogSink const sink;
    std::optional<Tool> tool(std::in_place, "saw");
    sinew::setRegistryLogSink([](std::string const&, std::string const&, std::string const&) {});
    {
        test::FailingNew const failing(0);
        tool.reset();
    }
    EXPECT_EQ(Tool::find("saw"), nullptr);
}

TEST(Registry, RegistrationWithoutMemoryLeavesNoEntryWhileASinkIsSet)
{
    // The sentence about a new registry is too long for the buffer inside a string, so the log allocates too.
    std::string const name = "a name that is too long for the buffer inside a string";
    struct Chisel : NamedObject<Chisel*>
    {
        explicit Chisel(std::string const& n) : NamedObject(n) {}
    };
    static int registries = 0;
    registries = 0;
    sinew::setRegistryLogSink([](std::string const& action, std::string const&, std::string const& text) {
        std::string const copy = text; // a sink that allocates
        registries += action == "registry" && !copy.empty() ? 1 : 0;
    });
    std::unique_ptr<Chisel> made;
    for (long allowed = 0; !made; ++allowed) {
        SCOPED_TRACE(allowed);
        try {
            test::FailingNew const failing(allowed);
            made = std::make_unique<Chisel>(name);
        } catch (std::bad_alloc const&) {
            EXPECT_EQ(Chisel::find(name), nullptr);
            EXPECT_TRUE(Chisel::names().empty());
        }
    }
    sinew::setRegistryLogSink(nullptr);
    EXPECT_EQ(Chisel::find(name), made.get());
    EXPECT_GE(registries, 1) << "the registry that exists has been logged";
}

TEST(Registry, ASinkThatThrowsLeavesNoEntry)
{
    static bool throws = true;
    throws = true;
    sinew::setRegistryLogSink([](std::string const& action, std::string const&, std::string const&) {
        if (throws && action == "   new") throw std::bad_alloc();
    });
    EXPECT_THROW(Tool("saw"), std::bad_alloc);
    EXPECT_EQ(Tool::find("saw"), nullptr);
    throws = false;
    {
        Tool const saw("saw");
        EXPECT_EQ(Tool::find("saw"), &saw);
    }
    sinew::setRegistryLogSink(nullptr);
}

TEST(Registry, RemovalIgnoresASinkThatThrows)
{
    std::optional<Tool> tool(std::in_place, "saw");
    sinew::setRegistryLogSink(
        [](std::string const&, std::string const&, std::string const&) { throw std::bad_alloc(); });
    tool.reset();
    sinew::setRegistryLogSink(nullptr);
    EXPECT_EQ(Tool::find("saw"), nullptr);
}

TEST(Registry, FactoryIsInBothRegistries)
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

#if defined(SINEW_PLUGIN)
TEST(Registry, LoadingAPluginAThousandTimesChangesNothing)
{
    std::vector<std::string> const byName = FactoryByName::names();
    std::vector<std::string> const byType = FactoryByTypeID::names();
    auto const openAndClose = [] {
        void* const plugin = test::openLibrary(SINEW_PLUGIN);
        ASSERT_NE(plugin, nullptr) << test::loadError();
        std::istringstream in("<PluginPart><weight>5</weight></PluginPart>");
        EXPECT_EQ(gallery::textOf(*sinew::createFromDocument(in), "PluginPart"),
                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PluginPart>\n  <weight>5</weight>\n</PluginPart>\n");
        ASSERT_TRUE(test::closeLibrary(plugin));
    };
    for (int warmUp = 0; warmUp < 3; ++warmUp) ASSERT_NO_FATAL_FAILURE(openAndClose());
    std::optional<std::size_t> const before = test::allocatorBytesInUse();
    for (int i = 0; i < 1000; ++i) ASSERT_NO_FATAL_FAILURE(openAndClose());
    // One block lost per round would be 16000 bytes or more; the rest are blocks that the allocator keeps for reuse.
    if (before) {
        EXPECT_LT(*test::allocatorBytesInUse(), *before + 8000);
    }
    EXPECT_EQ(FactoryByName::find("PluginPart"), nullptr);
    EXPECT_EQ(FactoryByName::names(), byName);
    EXPECT_EQ(FactoryByTypeID::names(), byType);
    EXPECT_FALSE(test::isLoaded(SINEW_PLUGIN)) << "the plug-in has not been unloaded";
}
#endif

TEST(CreateFromDocument, MakesAnObjectOfTheRootElementsClassAndReadsIt)
{
    std::istringstream in("<GalleryPainting><super><year>1888</year></super></GalleryPainting>");
    std::unique_ptr<Serializable> const made = sinew::createFromDocument(in);
    auto const* painting = dynamic_cast<gallery::Painting*>(made.get());
    ASSERT_NE(painting, nullptr);
    EXPECT_EQ(painting->year, 1888);
}

TEST(CreateFromDocument, UnknownRootIsALoadFail)
{
    std::istringstream in("\n<Unregistered/>");
    try {
        sinew::createFromDocument(in);
        FAIL();
    } catch (Serializable::LoadFail const& failure) {
        EXPECT_STREQ(failure.what(), "line 2, column 1: <Unregistered>: no class is registered under this name");
    }
}
