#pragma once

/// `Serializable`, the base class of everything that can be saved as a document and loaded from it, and the functions
/// that write and read a whole document. Include this header where a persistent class is declared.
///
/// `sinew/framework/fields.h` describes the fields of such a class. `sinew/framework/registry.h` makes objects by name.

#include <iosfwd>
#include <memory>
#include <stdexcept>
#include <string>

#include <sinew/export.h>
#include <sinew/framework/smart_ptr.h>

class Field;
class InTag;
class OutTag;

/// A persistent object. A class becomes persistent by deriving from it and overriding `describeFields`.
///
/// The virtual operations are declared in the order `save`, `load`, `describeFields`, destructor. Callers may rely on
/// this order.
///
/// @code
/// class Painting : public Serializable
/// {
/// public:
///     int year = 0;
///
///     smart_ptr<Field> describeFields(std::string const& name) override
///     {
///         ClassDesc fields;
///         fields.add("year", &Painting::year);
///         return new CompositeField(name, fields);
///     }
/// };
///
/// Painting painting;
/// std::istringstream text("<painting><year>1907</year></painting>");
/// sinew::readDocument(text, painting);
/// sinew::writeDocument(std::cout, painting, "painting");
/// @endcode
class SINEW_API Serializable
{
public:
    /// Thrown when persistent data cannot be read. `what()` says what is wrong, and at which line and column where
    /// these are known. The object that was being read is then partly filled; discard it.
    class SINEW_API LoadFail : public std::runtime_error
    {
    public:
        /// @param message  becomes `what()`.
        explicit LoadFail(std::string const& message);
        LoadFail(LoadFail const&) = default;
        LoadFail& operator=(LoadFail const&) = default;
        ~LoadFail() override;
    };

    Serializable() = default;
    Serializable(Serializable const&) = default;
    Serializable& operator=(Serializable const&) = default;

    /// Writes every field of `describeFields(tag.name())` into `tag`, whose opening tag has not been written yet. An
    /// object without a description becomes one empty tag.
    ///
    /// The operation is not const, because a class may modify itself while it is saved: a mesh function packs its
    /// vectors into one string and restores them afterwards. Throws what `sinew::writeDocument` throws.
    virtual void save(OutTag& tag);

    /// Reads into this object those fields of the description `field` that `tag` holds. A member whose field is absent
    /// keeps its value. A null `field` reads nothing.
    ///
    /// Throws `LoadFail` on bad data, and std::bad_cast if `field` describes another class.
    virtual void load(InTag& tag, smart_ptr<Field> field);

    /// A new description of the fields of this class, with the given name. The base class has no fields and returns
    /// null. Strong guarantee.
    virtual smart_ptr<Field> describeFields(std::string const& name);

    virtual ~Serializable();
};

namespace sinew {

/// Writes `object` to `out` as one document: an XML declaration and a root element named `name`.
///
/// The same object always gives the same bytes. The format flags and the locale of `out` have no effect. The depth of
/// the elements is not limited here, but `readDocument` refuses a document with more than `kMaxNesting` levels.
///
/// Throws:
/// - std::invalid_argument if `name`, the name of a field or the name of an attribute is not an XML name, or if a
///   string or an attribute is not valid UTF-8 or contains a character that XML does not allow (`OutTag`);
/// - std::bad_cast if an object describes its fields with the members of another class.
///
/// After an exception `out` holds the beginning of the document; discard it. If `name` is the cause, nothing has been
/// written. A failure of the stream shows in the state of `out`. It is thrown, as std::ios_base::failure, only if
/// `out.exceptions()` enables that.
///
/// If an allocation fails, std::bad_alloc is thrown, and `object` is unchanged unless its own `save` changes it: only a
/// `MeshFunction2D` does, which then keeps its packed text.
///
/// Cost: linear in the size of the text.
SINEW_API void writeDocument(std::ostream& out, Serializable& object, std::string const& name);

/// Reads one document into `object`, up to the end of `in`. The root element may have any name.
///
/// Line ends, a byte-order mark, comments, CDATA sections and references are read as XML 1.0 defines them. Document
/// type declarations are refused, so that nothing is expanded and nothing is fetched. A stream in a failed state is
/// refused; otherwise the state, the format flags and the locale of `in` are neither used nor changed.
///
/// Throws `Serializable::LoadFail` if the text is not well-formed, if it does not fit the fields of `object`, if its
/// elements are nested more than `kMaxNesting` deep (`sinew/framework/tags.h`), or if the stream cannot be read. Basic
/// guarantee, also if an allocation fails: `object` is partly filled; discard it, or read into it once more. Whatever
/// the text is, it causes no other exception except std::bad_alloc. A class that describes its fields with the members
/// of another class causes std::bad_cast. Exceptions of the caller's own code pass through: those of a stream buffer
/// (but its std::ios_base::failure becomes a `LoadFail`) and those of the operations that a persistent class overrides.
///
/// Cost: linear in the size of the text. At most 64 KiB, and 64 bytes for each byte of the text, are allocated before
/// the values reach the fields; what the object itself allocates is not included.
SINEW_API void readDocument(std::istream& in, Serializable& object);

/// Makes an object of the class that is registered under the name of the root element (`sinew/framework/registry.h`),
/// and reads the document into it as `readDocument` does. The result is never null.
///
/// Throws what `readDocument` throws. A name that is not registered is a `Serializable::LoadFail`. Strong guarantee: if
/// anything is thrown, the object has been destroyed.
SINEW_API std::unique_ptr<Serializable> createFromDocument(std::istream& in);

} // namespace sinew
