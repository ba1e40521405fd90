#pragma once

/// The description of a class's fields, with which the library saves and loads its objects. Include this header where
/// `describeFields` of a persistent class is defined.
///
///     smart_ptr<Field> Lamp::describeFields(std::string const& name)
///     {
///         ClassDesc desc;
///         desc.add("brightness", &Lamp::brightness);
///         desc.add("position", &Lamp::position);
///         desc.add("shades", &Lamp::shades);            // std::vector<Shade>, Shade is derived from Serializable
///         desc.add(Furniture::describeFields("super")); // the fields of the base class
///         return new CompositeField(name, desc);
///     }
///
/// `sinew::addExact(desc, "position", &Lamp::position)` keeps all bits of reals in attributes, too.
///
/// A member may be a bool, an integer, a float, a double, a std::string, an object of a class derived from
/// `Serializable`, an object of a class with its own `SimpleTypeHandler` (`sinew/meshfunc/type_handlers.h` has those of
/// `Vector3` and `tzNM::vect2<double>`), or a std::vector of any of these, vectors included.

#include <cassert>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <sinew/export.h>
#include <sinew/framework/serializable.h>
#include <sinew/framework/smart_ptr.h>
#include <sinew/framework/tags.h>

/// The name of one element of a sequence: "params" gives "param", "bodies" gives "body", "boxes" gives "box". A name
/// without a plural ending ("data", "mass") gives itself.
///
/// The first rule that fits is applied: the ending "ies" becomes "y"; "ses", "xes", "ches" and "shes" lose "es"; "s" is
/// dropped unless another "s" precedes it. A rule fits only if at least one character precedes the ending: "ies" alone
/// gives "ie" and "s" gives "s". Strong guarantee.
SINEW_API std::string getSingularName(std::string const& name);

/// How a value without fields is written into a tag and read from it.
///
/// The library provides it for bool, all integer types, float, double and std::string. For another type, specialise it
/// with the same two static functions.
///
/// | type | text |
/// |---|---|
/// | bool | 1 or 0; "true" and "false" are read as well |
/// | integers | decimal; a char as a signed char, whether it is signed on the platform or not |
/// | float, double | the shortest decimal number that gives the same bits when it is read; also "nan", "inf" |
/// | std::string | the string; it must be valid UTF-8 without control characters, see `OutTag` |
///
/// The text of a number is the same on every platform, and so is the number that is read from a text, except that the
/// range of a type such as long may differ. A NaN is read as a NaN, but its payload may differ. White space around a
/// bool or a number is ignored; in a string it is kept.
template <typename T>
class SimpleTypeHandler
{
    static_assert(std::is_arithmetic_v<T>,
                  "derive the type from Serializable or specialise SimpleTypeHandler for it; "
                  "for Vector3 and tzNM::vect2<double> include <sinew/meshfunc/type_handlers.h>");

public:
    /// Writes the whole element: `tag` has not been opened yet.
    SINEW_API static void save(T const& value, OutTag& tag);
    /// Reads the content of `tag`. Text that is not such a value, or is out of its range, is a
    /// `Serializable::LoadFail`. Strong guarantee: `value` is left unchanged if anything is thrown.
    SINEW_API static void load(T& value, InTag& tag);
};

/// A truth value is written as "1" or "0".
template <>
SINEW_API void SimpleTypeHandler<bool>::save(bool const& value, OutTag& tag);
/// Reads "1", "0", "true" or "false".
template <>
SINEW_API void SimpleTypeHandler<bool>::load(bool& value, InTag& tag);

template <>
class SINEW_API SimpleTypeHandler<std::string>
{
public:
    static void save(std::string const& value, OutTag& tag);
    static void load(std::string& value, InTag& tag);
};

/// How a member that is a persistent object is written and read: its fields are the children of its tag.
template <typename T>
class ObjectTypeHandler
{
public:
    /// `Serializable::save` is not const, but it restores what it modifies, so `value` may be const.
    static void save(T const& value, OutTag& tag) { const_cast<T&>(value).save(tag); }
    static void load(T& value, InTag& tag) { value.load(tag, value.describeFields(tag.name())); }
};

template <typename T>
class SequenceTypeHandler;

namespace sinew::detail {

template <typename T>
struct TypeHandlerOf
{
    using type = std::conditional_t<std::is_base_of_v<Serializable, T>, ObjectTypeHandler<T>, SimpleTypeHandler<T>>;
};
template <typename T>
struct TypeHandlerOf<std::vector<T>>
{
    using type = SequenceTypeHandler<T>;
};
template <typename T>
using TypeHandler = typename TypeHandlerOf<T>::type;

} // namespace sinew::detail

/// How a sequence is written and read: each element is a child whose name is `getSingularName` of the sequence's name.
template <typename T>
class SequenceTypeHandler
{
public:
    /// An empty sequence is one empty tag.
    static void save(std::vector<T> const& sequence, OutTag& tag)
    {
        if (sequence.empty()) return tag.writeSingleTag();
        std::string const elementName = getSingularName(tag.name());
        tag.writeOpenTag(true);
        for (auto const& element : sequence) {
            OutTag child(tag, elementName);
            sinew::detail::TypeHandler<T>::save(element, child);
        }
        tag.writeCloseTag(true);
    }

    /// Replaces the contents of `sequence`. A child with another name is a `Serializable::LoadFail`. Basic guarantee:
    /// if anything is thrown, `sequence` holds the elements that precede it.
    static void load(std::vector<T>& sequence, InTag& tag)
    {
        sequence.clear();
        std::string const elementName = getSingularName(tag.name());
        smart_ptr<Field> description; // built once, for all elements
        tag.readContent([&](InTag& child) {
            if (child.name() != elementName) child.fail("expected <" + elementName + "> here");
            T element{};
            if constexpr (std::is_base_of_v<Serializable, T>) {
                if (!description) description = element.describeFields(elementName);
                element.load(child, description);
            } else {
                sinew::detail::TypeHandler<T>::load(element, child);
            }
            sequence.push_back(std::move(element));
        });
    }
};

/// One named part of the description of a class.
///
/// If an allocation fails, constructing or copying a field leaves nothing behind. `save` and `load` have the guarantees
/// of `sinew::writeDocument` and `sinew::readDocument`.
class SINEW_API Field : public smart_base
{
public:
    /// @param name  the name of the field's tag. It must be an XML name; writing the field checks this.
    explicit Field(std::string const& name);
    Field(Field const&);
    /// Strong guarantee: if an allocation fails, the field is unchanged.
    Field& operator=(Field const& other);
    ~Field() override;

    /// The name of the field's element.
    std::string const& name() const { return name_; }

    /// Writes this field of `object` as the element `tag`, which has the field's name and has not been opened yet.
    virtual void save(Serializable& object, OutTag& tag) = 0;
    /// Reads this field of `object` from the content of `tag`.
    virtual void load(Serializable& object, InTag& tag) = 0;

private:
    std::string name_;
};

/// Access to one member of type `T` of an object of the class `C`.
template <typename C, typename T>
class MemberAccessor
{
public:
    /// @param member  must not be null.
    explicit MemberAccessor(T C::*member) : member_(member) { assert(member); }

    /// The member of `object`. Throws std::bad_cast if `object` is not a `C`: then a class has described its fields
    /// with the members of another class.
    T& get(Serializable& object) const
    {
#if SINEW_RTTI
        return dynamic_cast<C&>(object).*member_;
#else
        static_assert(sizeof(C) == 0, "sinew: the description of fields needs run-time type information. Compile this "
                                      "source without -fno-rtti (Visual C++: without /GR-)");
        return static_cast<C&>(object).*member_;
#endif
    }

private:
    T C::*member_;
};

/// A field that is one member of type `T` of the class `C`.
template <typename C, typename T>
class MemberField : public Field
{
public:
    MemberField(std::string const& name, MemberAccessor<C, T> accessor) : Field(name), accessor_(accessor) {}

    /// Throws std::bad_cast if `object` is not a `C`.
    void save(Serializable& object, OutTag& tag) override
    {
        sinew::detail::TypeHandler<T>::save(accessor_.get(object), tag);
    }
    /// Throws std::bad_cast if `object` is not a `C`.
    void load(Serializable& object, InTag& tag) override
    {
        sinew::detail::TypeHandler<T>::load(accessor_.get(object), tag);
    }

private:
    MemberAccessor<C, T> accessor_;
};

namespace sinew {

/// How a member that `addExact` describes is written. It is read as any other member, so a document may have either
/// form.
///
/// The library provides it for bool, all integer types, float, double and std::string, whose ordinary form is exact,
/// for `Vector3` and `tzNM::vect2<double>` (`sinew/meshfunc/type_handlers.h`), and for a std::vector of any of these,
/// vectors included. For a type with a `SimpleTypeHandler` of its own, specialise it with the same static function,
/// which writes the reals with `setExactAttr`:
///
///     template <>
///     class sinew::ExactTypeHandler<Colour>
///     {
///     public:
///         static void save(Colour const& colour, OutTag& tag)
///         {
///             sinew::setExactAttr(tag, "r", colour.r);
///             ...
///             tag.writeSingleTag();
///         }
///     };
template <typename T>
class ExactTypeHandler
{
    static_assert(std::is_arithmetic_v<T> || std::is_same_v<T, std::string>,
                  "this type has no exact form: describe a class derived from Serializable with ClassDesc::add and its "
                  "own members with sinew::addExact; specialise sinew::ExactTypeHandler for a type with its own "
                  "SimpleTypeHandler; for Vector3 and tzNM::vect2<double> include <sinew/meshfunc/type_handlers.h>");

public:
    /// Writes the whole element: `tag` has not been opened yet.
    static void save(T const& value, OutTag& tag) { SimpleTypeHandler<T>::save(value, tag); }
};

/// A sequence has the elements that `SequenceTypeHandler` writes, each in its exact form.
template <typename T>
class ExactTypeHandler<std::vector<T>>
{
public:
    static void save(std::vector<T> const& sequence, OutTag& tag)
    {
        if (sequence.empty()) return tag.writeSingleTag();
        std::string const elementName = getSingularName(tag.name());
        tag.writeOpenTag(true);
        for (auto const& element : sequence) {
            OutTag child(tag, elementName);
            ExactTypeHandler<T>::save(element, child);
        }
        tag.writeCloseTag(true);
    }
};

/// A field that is one member of type `T` of the class `C`, written in its exact form.
template <typename C, typename T>
class ExactMemberField : public MemberField<C, T>
{
public:
    ExactMemberField(std::string const& name, MemberAccessor<C, T> accessor)
        : MemberField<C, T>(name, accessor), accessor_(accessor)
    {
    }

    /// Throws std::bad_cast if `object` is not a `C`.
    void save(Serializable& object, OutTag& tag) override { ExactTypeHandler<T>::save(accessor_.get(object), tag); }

private:
    MemberAccessor<C, T> accessor_;
};

} // namespace sinew

/// A list of fields, in the order in which they are written.
class SINEW_API ClassDescBase
{
public:
    ClassDescBase() = default;
    ClassDescBase(ClassDescBase const&) = default;
    ClassDescBase(ClassDescBase&&) noexcept = default;
    /// Strong guarantee: if an allocation fails, the list is unchanged.
    ClassDescBase& operator=(ClassDescBase const& other) { return *this = ClassDescBase(other); }
    ClassDescBase& operator=(ClassDescBase&&) noexcept = default;
    ~ClassDescBase() = default;

    /// Adds a field at the end. A null pointer adds nothing: a base class without fields returns one. Strong guarantee.
    void add(smart_ptr<Field> field);

    /// The fields in their order.
    std::vector<smart_ptr<Field>> const& fields() const { return fields_; }

private:
    std::vector<smart_ptr<Field>> fields_;
};

/// The description of a class. The names of its fields should differ: of two fields with one name both are written, but
/// only the first is read.
class ClassDesc : public ClassDescBase
{
public:
    using ClassDescBase::add;

    /// Adds a member of the class `C` under a name, which must be an XML name. Strong guarantee.
    template <typename C, typename T>
    void add(std::string const& name, T C::*member)
    {
        add(smart_ptr<Field>(new MemberField<C, T>(name, MemberAccessor<C, T>(member))));
    }
};

namespace sinew {

/// Adds a member of the class `C` to its description, as `ClassDesc::add` does, but so that every finite real is read
/// back with the same bits: reals in attributes, such as the components of a `Vector3`, are written with the shortest
/// digits that do so instead of six.
///
///     sinew::addExact(desc, "position", &Lamp::position); // <position x="0.3333333333333333" y="0" z="1e-300"/>
///
/// The document has the same fields, elements and attributes as with `ClassDesc::add`. A class reads both forms
/// whichever it writes, and so do earlier versions of the library. An infinity or a NaN in an attribute is written and
/// then refused by the reader, in both forms. See `ExactTypeHandler` for the types. Strong guarantee.
template <typename C, typename T>
void addExact(ClassDesc& desc, std::string const& name, T C::*member)
{
    desc.add(smart_ptr<Field>(new ExactMemberField<C, T>(name, MemberAccessor<C, T>(member))));
}

} // namespace sinew

/// A field that consists of fields: the description of a class under one name. It describes a whole object, or the part
/// that an object has from its base class.
class SINEW_API CompositeField : public Field
{
public:
    /// A field with the name of its element, and the description of what is in it. Strong guarantee.
    CompositeField(std::string const& name, ClassDesc const& description);
    CompositeField(CompositeField const&);
    /// Strong guarantee: if an allocation fails, the field is unchanged.
    CompositeField& operator=(CompositeField const& other);
    ~CompositeField() override;

    /// Writes one element with a child for each field; one empty tag if there are no fields.
    void save(Serializable& object, OutTag& tag) override;

    /// Reads the children in any order. The member of an absent field keeps its value, a child that is not a field is
    /// skipped, and a field that occurs more than once is read each time, so that the last one counts.
    void load(Serializable& object, InTag& tag) override;

private:
    ClassDesc description_;
};
