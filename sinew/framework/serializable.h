#pragma once

/// The base of everything that can be saved as tagged text and read back, and the three functions that do it.
///
/// A class becomes persistent by deriving from `Serializable` and describing its fields; see `sinew/framework/fields.h`
/// for the description and `sinew/framework/registry.h` for making objects by name.

#include <stdexcept>
#include <string>

#include <sinew/export.h>
#include <sinew/framework/smart_ptr.h>

class Field;
class InTag;
class OutTag;

/// A persistent object. The virtual operations stand in this order, the destructor last.
class SINEW_API Serializable
{
public:
    /// Thrown on bad persistent data; `what()` tells what is wrong and, where it is known, at which line and column.
    /// The object that was being read is then partly filled: discard it.
    class SINEW_API LoadFail : public std::runtime_error
    {
    public:
        explicit LoadFail(std::string const& message);
        LoadFail(LoadFail const&) = default;
        LoadFail& operator=(LoadFail const&) = default;
        ~LoadFail() override;
    };

    Serializable() = default;
    Serializable(Serializable const&) = default;
    Serializable& operator=(Serializable const&) = default;

    /// Writes every field of `describeFields` into `tag`. Not const, because a class may rearrange itself for the time
    /// of saving, as a mesh function does when it packs its vectors into one string.
    virtual void save(OutTag& tag);

    /// Reads every field of the description `field` that `tag` holds into this object; other fields stay as they are.
    /// Throws `LoadFail` on bad data.
    virtual void load(InTag& tag, smart_ptr<Field> field);

    /// A newly built description of this class's fields, bearing `name`. The base has no fields and returns null.
    virtual smart_ptr<Field> describeFields(std::string const& name);

    virtual ~Serializable();
};
