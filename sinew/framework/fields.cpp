#include <sinew/framework/fields.h>

#include <algorithm>
#include <cassert>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

#include <sinew/detail/number_reader.h>
#include <sinew/detail/number_writer.h>
#include <sinew/framework/detail/xml_text.h>

namespace {

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

// Whether a char is signed depends on the platform. Its text is that of a signed char, so that all platforms read it.
template <typename T>
using Printed = std::conditional_t<std::is_same_v<T, char>, signed char, T>;

template <typename T>
char* writeNumber(T value, char* out)
{
    if constexpr (std::is_floating_point_v<T>) {
        return sinew::detail::writeReal(value, out);
    } else {
        auto const [end, error] = std::to_chars(out, out + sinew::detail::kLongestReal, static_cast<Printed<T>>(value));
        assert(error == std::errc());
        static_cast<void>(error); // read by the assert only
        return end;
    }
}

// Reads a number from the beginning of [first, last).
template <typename T>
sinew::detail::NumberEnd readNumber(char const* first, char const* last, T& value)
{
    if constexpr (std::is_floating_point_v<T>) {
        return sinew::detail::readReal(first, last, value);
    } else {
        using sinew::detail::NumberStatus;
        Printed<T> number{};
        auto const [end, error] = std::from_chars(first, last, number);
        value = static_cast<T>(number);
        if (error == std::errc::result_out_of_range) return {end, NumberStatus::tooLarge};
        return {end, error == std::errc() ? NumberStatus::ok : NumberStatus::malformed};
    }
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
    char text[sinew::detail::kLongestReal]; // no integer is longer
    char const* const end = writeNumber(value, text);
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
    auto const [stop, status] = readNumber(text.data(), end, parsed);
    using sinew::detail::NumberStatus;
    if (status == NumberStatus::tooLarge || status == NumberStatus::tooSmall) refuse(tag, "out of range:", text);
    if (status == NumberStatus::malformed || stop != end) refuse(tag, "not a number:", text);
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

Field::Field(Field const&) = default;
Field::~Field() = default;

Field& Field::operator=(Field const& other)
{
    name_ = std::string(other.name_);
    return *this;
}

void ClassDescBase::add(smart_ptr<Field> field)
{
    if (field) fields_.push_back(std::move(field));
}

CompositeField::CompositeField(std::string const& name, ClassDesc const& description)
    : Field(name), description_(description)
{
}

CompositeField::CompositeField(CompositeField const&) = default;
CompositeField::~CompositeField() = default;

CompositeField& CompositeField::operator=(CompositeField const& other)
{
    ClassDesc copy(other.description_); // before the name changes
    Field::operator=(other);
    description_ = std::move(copy);
    return *this;
}

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
