#include <sinew/framework/serializable.h>

Serializable::LoadFail::LoadFail(std::string const& message) : std::runtime_error(message) {}

Serializable::LoadFail::~LoadFail() = default;

// The base has no fields: nothing to write, nothing to read.
void Serializable::save(OutTag&) {}

void Serializable::load(InTag&, smart_ptr<Field>) {}

smart_ptr<Field> Serializable::describeFields(std::string const&)
{
    return nullptr;
}

Serializable::~Serializable() = default;
