#pragma once

/// Registries, in which objects are found by name, and the factories that make persistent objects by name. Include this
/// header where a persistent class is registered or where objects are made by name.
///
///     static SerializableFactory<Lamp> const lampFactory("Lamp"); // in the source file of Lamp
///
/// This object registers `Lamp` for as long as the program or plug-in that contains it is loaded.
///
/// The library holds one registry per process for each type of pointer. Registries may be used from static constructors
/// and destructors. They do not lock: any number of threads may search them at the same time, and so read documents, as
/// long as no thread registers or removes an object. Loading or unloading a plug-in that registers classes does both.
///
/// The classes need run-time type information. In a source that is compiled without it, using one of them is an error.

#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include <sinew/export.h>
#include <sinew/framework/serializable.h>

/// Calls the sink that `sinew::setRegistryLogSink` installed; does nothing if there is none.
///
/// The library calls it for every change of a registry.
/// @param action  "   new" for a registration (three blanks align it with "delete"), "delete" for a removal, "registry"
///                for the first registration of a type.
/// @param type  the run-time type name of the pointers in the registry.
/// @param name  the name of the object; for "registry" a sentence with the type.
SINEW_API void NamedObject_log(std::string const& action, std::string const& type, std::string const& name);

namespace sinew {

/// Installs the function that receives the log of the registries. Null restores the default: the log is discarded, and
/// nothing is allocated for it. Never throws.
///
/// The sink may throw, for example because memory has run out. A registration then fails with this exception and leaves
/// no entry. A removal is complete before it is logged, and ignores the exception, because destructors call it.
SINEW_API void setRegistryLogSink(void (*sink)(std::string const& action, std::string const& type,
                                               std::string const& name));

namespace detail {

/// Adds an entry to the registry of `type`, which is created if there is none. Strong guarantee: an exception of an
/// allocation or of the log's sink leaves no entry.
SINEW_API void registerNamed(char const* type, std::string const& name, void* object);
/// Removes the entry that `registerNamed` added with the same arguments. Never throws; allocates nothing, except for
/// the log if a sink is installed.
SINEW_API void unregisterNamed(char const* type, std::string const& name, void* object) noexcept;
/// The object of the latest entry with this name that has not been removed, or null.
SINEW_API void* findNamed(char const* type, std::string const& name);
/// The names of all entries, each once, in ascending order of their bytes.
SINEW_API std::vector<std::string> listNamed(char const* type);

} // namespace detail
} // namespace sinew

#if SINEW_RTTI

/// Base of objects that can be found by name, in the registry of the pointer type `T`. The constructor registers the
/// object and the destructor removes it.
///
/// If several objects have the same name, `find` returns the one that was registered last. When that one is destroyed,
/// `find` returns the one that was registered before it.
///
/// @tparam T  the type of pointer that `find` returns, for example `FactoryByName*`. Its class is derived from
///            `NamedObject<T>`.
template <typename T>
class NamedObject
{
    static_assert(std::is_pointer_v<T>, "a registry holds pointers");

public:
    NamedObject(NamedObject const&) = delete;
    NamedObject& operator=(NamedObject const&) = delete;

    /// The object that is registered under `name`, or null. Cost: logarithmic in the number of entries. Never throws.
    static T find(std::string const& name)
    {
        void* const found = sinew::detail::findNamed(typeid(T).name(), name);
        return static_cast<T>(static_cast<NamedObject*>(found));
    }

    /// The names in the registry, each once, in ascending order of their bytes. Strong guarantee.
    static std::vector<std::string> names() { return sinew::detail::listNamed(typeid(T).name()); }

    /// The name under which this object is registered.
    std::string const& registeredName() const { return name_; }

protected:
    /// Registers the object. Strong guarantee: an object whose registration runs out of memory is not registered.
    explicit NamedObject(std::string const& name) : name_(name)
    {
        sinew::detail::registerNamed(typeid(T).name(), name_, this);
    }
    ~NamedObject() { sinew::detail::unregisterNamed(typeid(T).name(), name_, this); }

private:
    std::string name_;
};

/// Makes objects of the class that is registered under a name: `FactoryByName::find("MeshFunction2D")`.
class SINEW_API FactoryByName : public NamedObject<FactoryByName*>
{
public:
    /// A new empty object, never null. The caller owns it. Exceptions of its constructor pass through. Strong
    /// guarantee.
    virtual Serializable* createObject() const = 0;

protected:
    /// Registers the factory. Strong guarantee.
    explicit FactoryByName(std::string const& name);
    virtual ~FactoryByName();
};

/// Makes objects of the class with a run-time type name: `FactoryByTypeID::find(typeid(MeshFunction2D).name())`.
///
/// These names differ between compilers. No document contains them; do not store them.
class SINEW_API FactoryByTypeID : public NamedObject<FactoryByTypeID*>
{
public:
    /// A new empty object, never null. The caller owns it. Exceptions of its constructor pass through. Strong
    /// guarantee.
    virtual Serializable* createObject() const = 0;

protected:
    /// Registers the factory. Strong guarantee.
    explicit FactoryByTypeID(std::string const& typeName);
    virtual ~FactoryByTypeID();
};

/// A factory of objects that are used through their base class `Base`. It is in both registries.
template <typename Base>
class AbstractFactory : public FactoryByName, public FactoryByTypeID
{
    static_assert(std::is_base_of_v<Serializable, Base>);

public:
    Base* createObject() const override = 0;

protected:
    /// Registers the factory under both names. Strong guarantee.
    AbstractFactory(std::string const& name, std::string const& typeName)
        : FactoryByName(name), FactoryByTypeID(typeName)
    {
    }
    ~AbstractFactory() override = default;
};

/// A factory of objects of the class `T`, which is derived from `Base`. `T` must have a default constructor, or
/// `createObject` must be specialised for it.
template <typename Base, typename T>
class Factory : public AbstractFactory<Base>
{
public:
    T* createObject() const override { return new T(); }

protected:
    /// Registers the factory under a name, and under the run-time type name of `T`. Strong guarantee.
    explicit Factory(std::string const& name) : AbstractFactory<Base>(name, typeid(T).name()) {}
    ~Factory() override = default;
};

/// Registers the persistent class `T` under a name, and under its run-time type name. Define one as a static object in
/// the source file of the class. Strong guarantee: if an allocation fails, the class is in neither registry.
template <typename T>
class SerializableFactory : public Factory<Serializable, T>
{
public:
    explicit SerializableFactory(std::string const& name) : Factory<Serializable, T>(name) {}
    ~SerializableFactory() override = default;
};

#else

namespace sinew::detail {

template <typename T>
struct NeedsRunTimeTypeInformation
{
    static_assert(sizeof(T) == 0,
                  "sinew: registries and factories need run-time type information. Compile this source without "
                  "-fno-rtti (Visual C++: without /GR-)");
};

} // namespace sinew::detail

template <typename T>
class NamedObject : sinew::detail::NeedsRunTimeTypeInformation<T>
{
};
template <typename T>
class SerializableFactory : sinew::detail::NeedsRunTimeTypeInformation<T>
{
};

#endif
