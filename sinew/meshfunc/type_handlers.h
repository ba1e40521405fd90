#pragma once

/// How vectors are written as tagged text: one empty element with an attribute per component. Include this where a
/// class of yours describes members of these types.
///
/// Attributes carry six significant digits, as a default output stream formats them, so most numbers come back only
/// nearly as they were. A number that is no finite decimal number ("nan", "1x", nothing) is a `LoadFail`, and so is a
/// missing attribute; content of the element is skipped.

#include <sinew/core/vector3.h>
#include <sinew/export.h>
#include <sinew/framework/fields.h>
#include <sinew/framework/vect2.h>

/// `<param u="0.25" v="0.5"/>`
template <>
class SINEW_API SimpleTypeHandler<tzNM::vect2<double>>
{
public:
    using Names = char const* const[2];
    /// The names of the components' attributes.
    static Names _attrs;

    static void save(tzNM::vect2<double> const& value, OutTag& tag);
    static void load(tzNM::vect2<double>& value, InTag& tag);
};

/// `<point x="0.25" y="0.5" z="1"/>`
template <>
class SINEW_API SimpleTypeHandler<Vector3>
{
public:
    using Names = char const* const[3];
    /// The names of the components' attributes.
    static Names _attrs;

    static void save(Vector3 const& value, OutTag& tag);
    static void load(Vector3& value, InTag& tag);
};
