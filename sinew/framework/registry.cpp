#include <sinew/framework/registry.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <string_view>

namespace {

// Objects of one name stand in the order of their registration.
using Registry = std::multimap<std::string, void*, std::less<>>;
using Registries = std::map<std::string, Registry, std::less<>>;

// Built by the first registration, so by a static object that is destroyed before it, whatever the order in which
// source files are initialised. Not a static of a template: such symbols are shared between all modules of a process,
// and a library that holds one cannot be unloaded.
Registries& registries()
{
    static Registries all;
    return all;
}

void (*logSink)(std::string const&, std::string const&, std::string const&) = nullptr;

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
    auto const [registry, created] = registries().try_emplace(type);
    if (created) NamedObject_log("registry", type, "NamedObject<" + registry->first + "> instantiating registry");
    registry->second.emplace(name, object);
    NamedObject_log("   new", type, name);
}

void unregisterNamed(char const* type, std::string const& name, void* object) noexcept
{
    Registry& registry = registries().find(std::string_view(type))->second;
    auto const [first, last] = registry.equal_range(name);
    registry.erase(std::find_if(first, last, [object](auto const& entry) { return entry.second == object; }));
    NamedObject_log("delete", type, name);
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
