#include <sinew/framework/registry.h>

#include <algorithm>
#include <cassert>
#include <functional>
#include <iterator>
#include <map>
#include <string_view>

namespace {

// Objects with the same name are in the order of their registration.
using Registry = std::multimap<std::string, void*, std::less<>>;
using Registries = std::map<std::string, Registry, std::less<>>;

// All registries, by the type name of their pointers. The first registration constructs the map. A registered static
// object is therefore destroyed before the map, whatever the order in which source files are initialised. A static
// variable of a template would not do: its symbol is shared between all modules of a process, and a library that
// defines one is never unloaded.
Registries& registries()
{
    static Registries all;
    return all;
}

void (*logSink)(std::string const&, std::string const&, std::string const&) = nullptr;

// Adds the entry to the registry and logs it. If the log throws, the entry is removed again: its object's constructor
// is about to fail.
void addEntry(std::string const& typeName, Registry& registry, std::string const& name, void* object)
{
    auto const entry = registry.emplace(name, object);
    try {
        // Without a sink no string is made, since making one may allocate.
        if (logSink) NamedObject_log("   new", typeName, name);
    } catch (...) {
        registry.erase(entry);
        throw;
    }
}

} // namespace

void NamedObject_log(std::string const& action, std::string const& type, std::string const& name)
{
    if (logSink) logSink(action, type, name);
}

namespace sinew {

void setRegistryLogSink(void (*sink)(std::string const&, std::string const&, std::string const&))
{
    logSink = sink;
}

namespace detail {

void registerNamed(char const* type, std::string const& name, void* object)
{
    auto registry = registries().find(std::string_view(type));
    bool const created = registry == registries().end();
    if (created) registry = registries().try_emplace(type).first;
    auto& [typeName, entries] = *registry;
    try {
        if (created && logSink) {
            NamedObject_log("registry", typeName, "NamedObject<" + typeName + "> instantiating registry");
        }
        addEntry(typeName, entries, name, object);
    } catch (...) {
        // The next attempt creates the registry again, and logs it if this attempt has not.
        if (created) registries().erase(registry);
        throw;
    }
}

void unregisterNamed(char const* type, std::string const& name, void* object) noexcept
{
    auto const found = registries().find(std::string_view(type));
    assert(found != registries().end());
    auto& [typeName, registry] = *found;
    auto const [first, last] = registry.equal_range(name);
    auto const entry = std::find_if(first, last, [object](auto const& e) { return e.second == object; });
    assert(entry != last);
    registry.erase(entry);
    try {
        if (logSink) NamedObject_log("delete", typeName, name);
    } catch (...) { // NOLINT(bugprone-empty-catch): a destructor is running; the line of the log is lost
    }
}

void* findNamed(char const* type, std::string const& name)
{
    auto const registry = registries().find(std::string_view(type));
    if (registry == registries().end()) return nullptr;
    auto const [first, last] = registry->second.equal_range(name);
    return first == last ? nullptr : std::prev(last)->second;
}

std::vector<std::string> listNamed(char const* type)
{
    std::vector<std::string> names;
    auto const registry = registries().find(std::string_view(type));
    if (registry == registries().end()) return names;
    for (auto const& entry : registry->second) {
        if (names.empty() || names.back() != entry.first) names.push_back(entry.first);
    }
    return names;
}

} // namespace detail
} // namespace sinew

FactoryByName::FactoryByName(std::string const& name) : NamedObject(name) {}

FactoryByName::~FactoryByName() = default;

FactoryByTypeID::FactoryByTypeID(std::string const& typeName) : NamedObject(typeName) {}

FactoryByTypeID::~FactoryByTypeID() = default;
