#pragma once

/// The base of everything that can be saved as tagged text and read back, and the three functions that do it.
///
/// A class becomes persistent by deriving from `Serializable` and describing its fields; see `sinew/framework/fields.h`
/// for the description and `sinew/framework/registry.h` for making objects by name.

#include <iosfwd>
#include <memory>
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

namespace sinew {

/// Writes `object` as one document: an XML declaration and a root element named `name`.
///
/// Saving the same object twice gives the same bytes. A `name` that is no XML name, and text that XML cannot carry, is
/// a std::invalid_argument; failures of the stream show in its state. Cost: linear in the size of the text.
SINEW_API void writeDocument(std::ostream& out, Serializable& object, std::string const& name);

/// Reads one document, to the end of `in`, into `object`; the root element may have any name.
///
/// Bad data throws `Serializable::LoadFail`, and `object` should then be discarded. Safe for documents from strangers:
/// nothing but LoadFail and std::bad_alloc is thrown, reading is linear in the size of the text, elements are nested at
/// most `kMaxNesting` deep (`sinew/framework/tags.h`), and no more than 64 KiB and 64 bytes for each byte of the text
/// are allocated on the way to the fields. Line ends, a byte-order mark, comments, CDATA and references are read as
/// XML 1.0 has them; document type declarations are refused, so nothing is ever expanded or fetched.
SINEW_API void readDocument(std::istream& in, Serializable& object);

/// Makes the object that is registered under the root element's name (`sinew/framework/registry.h`), then reads the
/// document into it as `readDocument` does. A name that is not registered is a `LoadFail`.
SINEW_API std::unique_ptr<Serializable> createFromDocument(std::istream& in);

} // namespace sinew
