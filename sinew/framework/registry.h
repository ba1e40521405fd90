#pragma once

/// Registries of named objects, and the factories that make persistent objects by name.
///
///     static SerializableFactory<Lamp> const lampFactory("Lamp"); // in the source file of Lamp
///
/// makes `Lamp` known while the program, or the plug-in it is in, is loaded. There is one registry per type of pointer
/// in a process, kept in this library, and it may be used from static constructors and destructors. Like the rest of
/// the library the registries do not lock: load plug-ins and look up names from one thread at a time.

#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include <sinew/export.h>
#include <sinew/framework/serializable.h>

/// Hands a line of the registries' log to the sink that `sinew::setRegistryLogSink` installed; without one it is
/// dropped. Actions are "   new" (three blanks, to line up), "delete" and, when a registry comes into being,
/// "registry".
SINEW_API void NamedObject_log(std::string const& action, std::string const& type, std::string const& name);

namespace sinew {

/// Installs what receives the log of the registries; null restores the default, which drops it.
/// The sink must not throw: it also hears of removals, which happen in destructors.
SINEW_API void setRegistryLogSink(void (*sink)(std::string const& action, std::string const& type,
                                               std::string const& name));

namespace detail {

SINEW_API void registerNamed(char const* type, std::string const& name, void* object);
SINEW_API void unregisterNamed(char const* type, std::string const& name, void* object) noexcept;
SINEW_API void* findNamed(char const* type, std::string const& name);
SINEW_API std::vector<std::string> listNamed(char const* type);

} // namespace detail
} // namespace sinew

/// Base of objects that are found by name as long as they live, in the registry of the pointer type `T`.
///
/// Of several objects of one name the youngest is found; when it goes, the one before it is found again.
template <typename T>
class NamedObject
{
    static_assert(std::is_pointer_v<T>, "the registry hands out pointers");

public:
    NamedObject(NamedObject const&) = delete;
    NamedObject& operator=(NamedObject const&) = delete;

    /// The object registered under `name`, or null.
    static T find(std::string const& name)
    {
        void* const found = sinew::detail::findNamed(typeid(T).name(), name);
        return static_cast<T>(static_cast<NamedObject*>(found));
    }

    /// The names in the registry, in alphabetical order.
    static std::vector<std::string> names() { return sinew::detail::listNamed(typeid(T).name()); }

    std::string const& registeredName() const { return name_; }

protected:
    explicit NamedObject(std::string const& name) : name_(name)
    {
        sinew::detail::registerNamed(typeid(T).name(), name_, this);
    }
    ~NamedObject() { sinew::detail::unregisterNamed(typeid(T).name(), name_, this); }

private:
    std::string name_;
};

/// Makes objects of the class that is known under a name: `FactoryByName::find("MeshFunction2D")`.
class SINEW_API FactoryByName : public NamedObject<FactoryByName*>
{
public:
    /// A new empty object, which the caller owns.
    virtual Serializable* createObject() const = 0;

protected:
    explicit FactoryByName(std::string const& name);
    virtual ~FactoryByName();
};

/// Makes objects of a class by its run-time type name: `FactoryByTypeID::find(typeid(MeshFunction2D).name())`.
class SINEW_API FactoryByTypeID : public NamedObject<FactoryByTypeID*>
{
public:
    /// A new empty object, which the caller owns.
    virtual Serializable* createObject() const = 0;

protected:
    explicit FactoryByTypeID(std::string const& typeName);
    virtual ~FactoryByTypeID();
};

/// A factory of objects that are used as a `Base`; it stands in both registries.
template <typename Base>
class AbstractFactory : public FactoryByName, public FactoryByTypeID
{
    static_assert(std::is_base_of_v<Serializable, Base>);

public:
    Base* createObject() const override = 0;

protected:
    AbstractFactory(std::string const& name, std::string const& typeName)
        : FactoryByName(name), FactoryByTypeID(typeName)
    {
    }
    ~AbstractFactory() override = default;
};

/// A factory of objects of the class `T`, which needs a default constructor or a specialisation of `createObject`.
template <typename Base, typename T>
class Factory : public AbstractFactory<Base>
{
public:
    T* createObject() const override { return new T(); }

protected:
    explicit Factory(std::string const& name) : AbstractFactory<Base>(name, typeid(T).name()) {}
    ~Factory() override = default;
};

/// What makes a persistent class known under `name`: define one as a static object in the class's source file.
template <typename T>
class SerializableFactory : public Factory<Serializable, T>
{
public:
    explicit SerializableFactory(std::string const& name) : Factory<Serializable, T>(name) {}
    ~SerializableFactory() override = default;
};
