#include <algorithm>
#include <map>
#include <optional>

#include <sinew/framework/registry.h>

#include "endurance/subject.h"

namespace {

using endurance::Hash;
using endurance::require;
using test::Random;

struct Tool : NamedObject<Tool*>
{
    explicit Tool(std::string const& name) : NamedObject(name) {}
};

struct Part : Serializable
{
    int size = 3;
};

constexpr int kNames = 12;

std::string nameOf(int i)
{
    // Some names fit into the buffer inside a string, others do not.
    return (i % 2 ? "a name that is too long for the buffer inside a string " : "n") + std::to_string(i);
}

class Registries : public endurance::Subject
{
public:
    Registries()
    {
        sinew::setRegistryLogSink(count);
        for (int i = 0; i < kNames; ++i) names_.push_back(nameOf(i));
    }
    ~Registries() override { sinew::setRegistryLogSink(nullptr); }

    void step(Random& random, Hash& hash) override
    {
        std::string const& name = names_[static_cast<std::size_t>(random.below(kNames))];
        switch (random.below(6)) {
        case 0:
            if (tools_.size() < 64) tools_.push_back(std::make_unique<Tool>(name));
            break;
        case 1:
            if (!tools_.empty()) tools_.erase(tools_.begin() + random.below(static_cast<int>(tools_.size())));
            break;
        case 2:
            factory_.reset();
            factory_.emplace(name);
            break;
        case 3:
            factory_.reset();
            break;
        default:
            make(name, hash);
            break;
        }
        check(name, hash);
    }

private:
    static void count(std::string const& action, std::string const&, std::string const& name)
    {
        lines_ += (action + name).size(); // allocates, and may run out of memory
    }

    void make(std::string const& name, Hash& hash)
    {
        FactoryByName const* const factory = FactoryByName::find(name);
        hash.add(static_cast<std::uint64_t>(factory != nullptr));
        if (!factory) return;
        std::unique_ptr<Serializable> const object(factory->createObject());
        auto const* const part = dynamic_cast<Part const*>(object.get());
        require(part && part->size == 3, "a factory makes its class");
    }

    // The latest object of a name is found.
    void check(std::string const& name, Hash& hash)
    {
        auto const latest = std::find_if(tools_.rbegin(), tools_.rend(),
                                         [&](auto const& tool) { return tool->registeredName() == name; });
        require(Tool::find(name) == (latest == tools_.rend() ? nullptr : latest->get()), "the latest object is found");
        hash.add(static_cast<std::uint64_t>(tools_.size()));
    }

    static std::size_t lines_;
    std::vector<std::string> names_;
    std::vector<std::unique_ptr<Tool>> tools_;
    std::optional<SerializableFactory<Part>> factory_;
};
std::size_t Registries::lines_ = 0;

} // namespace

std::unique_ptr<endurance::Subject> endurance::makeRegistries()
{
    return std::make_unique<Registries>();
}
