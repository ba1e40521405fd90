#include <sinew/framework/fields.h>

#include <algorithm>
#include <cassert>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <system_error>

#include <sinew/framework/detail/xml_text.h>

namespace {

// A double needs up to 24 characters (-1.7976931348623157e+308), an integer up to 20.
constexpr std::size_t kNumberCapacity = 32;

// Whether `text` ends with `ending` and is longer.
bool endsWith(std::string_view text, std::string_view ending)
{
    return text.size() > ending.size() && text.substr(text.size() - ending.size()) == ending;
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && sinew::detail::isXmlSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && sinew::detail::isXmlSpace(text.back())) text.remove_suffix(1);
    return text;
}

[[noreturn]] void refuse(InTag& tag, char const* what, std::string_view text)
{
    tag.fail(std::string(what) + " \"" + sinew::detail::shortened(text) + "\"");
}

} // namespace

std::string getSingularName(std::string const& name)
{
    auto const without = [&](std::string_view ending) { return name.substr(0, name.size() - ending.size()); };
    if (endsWith(name, "ies")) return without("ies") + "y";
    for (char const* const ending : {"ses", "xes", "ches", "shes"}) {
        if (endsWith(name, ending)) return without("es");
    }
    return endsWith(name, "s") && !endsWith(name, "ss") ? without("s") : name;
}

template <typename T>
void SimpleTypeHandler<T>::save(T const& value, OutTag& tag)
{
    char text[kNumberCapacity];
    auto const [end, error] = std::to_chars(text, text + kNumberCapacity, value);
    assert(error == std::errc());
    static_cast<void>(error); // read by the assert only
    tag.writeTextTag(std::string_view(text, static_cast<std::size_t>(end - text)));
}

template <typename T>
void SimpleTypeHandler<T>::load(T& value, InTag& tag)
{
    std::string const content = tag.readText();
    std::string_view text = trimmed(content);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    char const* const end = text.data() + text.size();
    T parsed{};
    auto const [stop, error] = std::from_chars(text.data(), end, parsed);
    if (error == std::errc::result_out_of_range) refuse(tag, "out of range:", text);
    if (error != std::errc() || stop != end) refuse(tag, "not a number:", text);
    value = parsed;
}

template <>
void SimpleTypeHandler<bool>::save(bool const& value, OutTag& tag)
{
    tag.writeTextTag(value ? "1" : "0");
}

template <>
void SimpleTypeHandler<bool>::load(bool& value, InTag& tag)
{
    std::string const content = tag.readText();
    std::string_view const text = trimmed(content);
    bool const isTrue = text == "1" || text == "true";
    if (!isTrue && text != "0" && text != "false") refuse(tag, "neither true nor false:", text);
    value = isTrue;
}

template class SimpleTypeHandler<bool>;
template class SimpleTypeHandler<char>;
template class SimpleTypeHandler<signed char>;
template class SimpleTypeHandler<unsigned char>;
template class SimpleTypeHandler<short>;
template class SimpleTypeHandler<unsigned short>;
template class SimpleTypeHandler<int>;
template class SimpleTypeHandler<unsigned int>;
template class SimpleTypeHandler<long>;
template class SimpleTypeHandler<unsigned long>;
template class SimpleTypeHandler<long long>;
template class SimpleTypeHandler<unsigned long long>;
template class SimpleTypeHandler<float>;
template class SimpleTypeHandler<double>;

void SimpleTypeHandler<std::string>::save(std::string const& value, OutTag& tag)
{
    tag.writeTextTag(value);
}

void SimpleTypeHandler<std::string>::load(std::string& value, InTag& tag)
{
    value = tag.readText();
}

// The default operations of a persistent object. They are defined here because they call fields; see serializable.cpp.

void Serializable::save(OutTag& tag)
{
    smart_ptr<Field> const fields = describeFields(tag.name());
    if (!fields) return tag.writeSingleTag();
    fields->save(*this, tag);
}

// By value, because persistent classes of hosts override this signature.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void Serializable::load(InTag& tag, smart_ptr<Field> field)
{
    if (field) field->load(*this, tag);
}

smart_ptr<Field> Serializable::describeFields(std::string const&)
{
    return nullptr;
}

Serializable::~Serializable() = default;

Field::Field(std::string const& name) : name_(name) {}

Field::~Field() = default;

void ClassDescBase::add(smart_ptr<Field> field)
{
    if (field) fields_.push_back(std::move(field));
}

CompositeField::CompositeField(std::string const& name, ClassDesc const& description)
    : Field(name), description_(description)
{
}

CompositeField::~CompositeField() = default;

void CompositeField::save(Serializable& object, OutTag& tag)
{
    if (description_.fields().empty()) return tag.writeSingleTag();
    tag.writeOpenTag(true);
    for (auto const& field : description_.fields()) {
        OutTag child(tag, field->name());
        field->save(object, child);
    }
    tag.writeCloseTag(true);
}

void CompositeField::load(Serializable& object, InTag& tag)
{
    tag.readContent([&](InTag& child) {
        auto const& fields = description_.fields();
        auto const field =
            std::find_if(fields.begin(), fields.end(), [&](auto const& f) { return f->name() == child.name(); });
        if (field != fields.end()) (*field)->load(object, child);
    });
}
