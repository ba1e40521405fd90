#include <sinew/framework/serializable.h>

#include <sinew/framework/fields.h>

Serializable::LoadFail::LoadFail(std::string const& message) : std::runtime_error(message) {}

Serializable::LoadFail::~LoadFail() = default;

void Serializable::save(OutTag& tag)
{
    smart_ptr<Field> const fields = describeFields(tag.name());
    if (!fields) return tag.writeSingleTag();
    fields->save(*this, tag);
}

void Serializable::load(InTag& tag, smart_ptr<Field> field)
{
    if (field) field->load(*this, tag);
}

smart_ptr<Field> Serializable::describeFields(std::string const&)
{
    return nullptr;
}

Serializable::~Serializable() = default;
