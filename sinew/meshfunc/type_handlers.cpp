#include <sinew/meshfunc/type_handlers.h>

#include <cstddef>

namespace {

template <typename Vector, std::size_t n>
void saveComponents(Vector const& value, char const* const (&names)[n], OutTag& tag)
{
    for (std::size_t i = 0; i < n; ++i) tag.setAttr(names[i], value[static_cast<int>(i)]);
    tag.writeSingleTag();
}

template <typename Vector, std::size_t n>
void saveExactComponents(Vector const& value, char const* const (&names)[n], OutTag& tag)
{
    for (std::size_t i = 0; i < n; ++i) sinew::setExactAttr(tag, names[i], value[static_cast<int>(i)]);
    tag.writeSingleTag();
}

template <typename Vector, std::size_t n>
void loadComponents(Vector& value, char const* const (&names)[n], InTag& tag)
{
    for (std::size_t i = 0; i < n; ++i) value[static_cast<int>(i)] = tag.getReal(names[i]);
    tag.readContent();
}

} // namespace

SimpleTypeHandler<tzNM::vect2<double>>::Names SimpleTypeHandler<tzNM::vect2<double>>::_attrs = {"u", "v"};

void SimpleTypeHandler<tzNM::vect2<double>>::save(tzNM::vect2<double> const& value, OutTag& tag)
{
    saveComponents(value, _attrs, tag);
}

void SimpleTypeHandler<tzNM::vect2<double>>::load(tzNM::vect2<double>& value, InTag& tag)
{
    loadComponents(value, _attrs, tag);
}

SimpleTypeHandler<Vector3>::Names SimpleTypeHandler<Vector3>::_attrs = {"x", "y", "z"};

void SimpleTypeHandler<Vector3>::save(Vector3 const& value, OutTag& tag)
{
    saveComponents(value, _attrs, tag);
}

void SimpleTypeHandler<Vector3>::load(Vector3& value, InTag& tag)
{
    loadComponents(value, _attrs, tag);
}

void sinew::ExactTypeHandler<tzNM::vect2<double>>::save(tzNM::vect2<double> const& value, OutTag& tag)
{
    saveExactComponents(value, SimpleTypeHandler<tzNM::vect2<double>>::_attrs, tag);
}

void sinew::ExactTypeHandler<Vector3>::save(Vector3 const& value, OutTag& tag)
{
    saveExactComponents(value, SimpleTypeHandler<Vector3>::_attrs, tag);
}
