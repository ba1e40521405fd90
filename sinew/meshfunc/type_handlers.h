#pragma once

/// How vectors are written as tagged text: one empty element with an attribute for each component. Include this header
/// where a class describes members of these types.
///
/// Attributes have six significant digits, as a default output stream formats numbers. Most numbers are therefore read
/// back rounded. A member that is described with `sinew::addExact` is written with all digits instead. Loading throws
/// `Serializable::LoadFail` if an attribute is missing, or if its text is not a finite decimal number (such as "nan",
/// "1x" or an empty text). Basic guarantee: the components before the one that cannot be read are replaced, also if an
/// allocation fails. The content of the element is skipped.

#include <sinew/core/vector3.h>
#include <sinew/export.h>
#include <sinew/framework/fields.h>
#include <sinew/framework/vect2.h>

/// Writes and reads a 2D vector: `<param u="0.25" v="0.5"/>`.
template <>
class SINEW_API SimpleTypeHandler<tzNM::vect2<double>>
{
public:
    using Names = char const* const[2];
    /// The names of the components' attributes.
    static Names _attrs;

    /// Writes the whole element, and reads it, as the general `SimpleTypeHandler` does.
    static void save(tzNM::vect2<double> const& value, OutTag& tag);
    static void load(tzNM::vect2<double>& value, InTag& tag);
};

/// Writes and reads a 3D vector: `<point x="0.25" y="0.5" z="1"/>`.
template <>
class SINEW_API SimpleTypeHandler<::Vector3>
{
public:
    using Names = char const* const[3];
    /// The names of the components' attributes.
    static Names _attrs;

    /// Writes the whole element, and reads it, as the general `SimpleTypeHandler` does.
    static void save(::Vector3 const& value, OutTag& tag);
    static void load(::Vector3& value, InTag& tag);
};

/// The exact forms, for members that are described with `sinew::addExact`: the same elements and attributes, with the
/// shortest digits from which the same bits are read.
template <>
class SINEW_API sinew::ExactTypeHandler<tzNM::vect2<double>>
{
public:
    static void save(tzNM::vect2<double> const& value, OutTag& tag);
};
template <>
class SINEW_API sinew::ExactTypeHandler<::Vector3>
{
public:
    static void save(::Vector3 const& value, OutTag& tag);
};
