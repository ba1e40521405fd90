#pragma once

/// How a class describes its fields, so that it can be saved and loaded without code of its own.
///
///     smart_ptr<Field> Lamp::describeFields(std::string const& name)
///     {
///         ClassDesc desc;
///         desc.add("brightness", &Lamp::brightness);
///         desc.add("position", &Lamp::position);
///         desc.add("shades", &Lamp::shades);            // std::vector<Shade>, Shade being Serializable
///         desc.add(Furniture::describeFields("super")); // the fields of the base class
///         return new CompositeField(name, desc);
///     }
///
/// Members may be bool, any integer, float, double, std::string, a class with a `SimpleTypeHandler` of its own (as
/// `Vector3` and `tzNM::vect2<double>` in `sinew/meshfunc/type_handlers.h`), a class derived from `Serializable`, or a
/// std::vector of any of these.

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <sinew/export.h>
#include <sinew/framework/serializable.h>
#include <sinew/framework/smart_ptr.h>
#include <sinew/framework/tags.h>

/// The name of one element of a sequence: "params" gives "param", "bodies" "body", "boxes" "box"; a name without a
/// plural ending ("data", "mass") gives itself.
///
/// Rules, the first that fits: "ies" becomes "y"; "es" is dropped after "s", "x", "ch" and "sh"; "s" is dropped unless
/// another "s" precedes it. At least one character stays.
SINEW_API std::string getSingularName(std::string const& name);

/// How a value without fields of its own is written into a tag and read from it.
///
/// Provided for bool (1 or 0; true and false are read as well), the integers, float and double (the shortest decimal
/// number that reads back as the same bits; nan and inf included) and std::string. Text that is not such a value, or
/// out of its range, is a `LoadFail`. White space around numbers is ignored, in strings it counts.
///
/// For a type of yours, specialise it with the same two static functions; `save` writes the whole tag.
template <typename T>
class SimpleTypeHandler
{
    static_assert(std::is_arithmetic_v<T>,
                  "derive the type from Serializable or specialise SimpleTypeHandler for it; "
                  "for Vector3 and tzNM::vect2<double> include <sinew/meshfunc/type_handlers.h>");

public:
    SINEW_API static void save(T const& value, OutTag& tag);
    SINEW_API static void load(T& value, InTag& tag);
};

template <>
class SINEW_API SimpleTypeHandler<std::string>
{
public:
    static void save(std::string const& value, OutTag& tag);
    static void load(std::string& value, InTag& tag);
};

/// A member that is a persistent object itself: its fields become children of its tag.
template <typename T>
class ObjectTypeHandler
{
public:
    // Saving is not const for classes that rearrange themselves meanwhile; they are as before when it returns.
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

/// A sequence: each element is a child named by `getSingularName` of the sequence's name. Loading replaces what was
/// there; a child of another name is a `LoadFail`.
template <typename T>
class SequenceTypeHandler
{
public:
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

    static void load(std::vector<T>& sequence, InTag& tag)
    {
        sequence.clear();
        std::string const elementName = getSingularName(tag.name());
        smart_ptr<Field> description; // the same for all elements
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

/// One named part of a class's description.
class SINEW_API Field : public smart_base
{
public:
    /// @param name  an XML name: the name of the field's tag.
    explicit Field(std::string const& name);
    ~Field() override;

    std::string const& name() const { return name_; }

    /// Writes this field of `object` as `tag`, which bears the field's name and has not been opened yet.
    virtual void save(Serializable& object, OutTag& tag) = 0;
    /// Reads this field of `object` from `tag`.
    virtual void load(Serializable& object, InTag& tag) = 0;

private:
    std::string name_;
};

/// Leads from an object to one of its members.
template <typename C, typename T>
class MemberAccessor
{
public:
    explicit MemberAccessor(T C::*member) : member_(member) {}

    /// Throws std::bad_cast if the object is no `C`, which means that it was given another class's description.
    T& get(Serializable& object) const { return dynamic_cast<C&>(object).*member_; }

private:
    T C::*member_;
};

/// A field that is one member of type `T` of the class `C`.
template <typename C, typename T>
class MemberField : public Field
{
public:
    MemberField(std::string const& name, MemberAccessor<C, T> accessor) : Field(name), accessor_(accessor) {}

    void save(Serializable& object, OutTag& tag) override
    {
        sinew::detail::TypeHandler<T>::save(accessor_.get(object), tag);
    }
    void load(Serializable& object, InTag& tag) override
    {
        sinew::detail::TypeHandler<T>::load(accessor_.get(object), tag);
    }

private:
    MemberAccessor<C, T> accessor_;
};

/// A list of fields, in the order in which they are written.
class SINEW_API ClassDescBase
{
public:
    /// Adds a field; a null pointer, as from a base without fields, adds nothing.
    void add(smart_ptr<Field> field);

    std::vector<smart_ptr<Field>> const& fields() const { return fields_; }

private:
    std::vector<smart_ptr<Field>> fields_;
};

/// The description of a class. Field names must differ from each other; if two are equal, the first is the one read.
class ClassDesc : public ClassDescBase
{
public:
    using ClassDescBase::add;

    /// Adds a member of the class `C` under a name.
    template <typename C, typename T>
    void add(std::string const& name, T C::*member)
    {
        add(smart_ptr<Field>(new MemberField<C, T>(name, MemberAccessor<C, T>(member))));
    }
};

/// A field that consists of fields: a class's description under a name, be it as a whole or as the base of another.
///
/// It is written as one tag with a child per field. Reading takes the children in any order: a field that is not there
/// is left as it is, a child that is no field is skipped, of a field that comes twice the last counts.
class SINEW_API CompositeField : public Field
{
public:
    CompositeField(std::string const& name, ClassDesc const& description);
    ~CompositeField() override;

    void save(Serializable& object, OutTag& tag) override;
    void load(Serializable& object, InTag& tag) override;

private:
    ClassDesc description_;
};
