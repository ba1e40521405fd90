// Saving and loading of mesh functions, and their registration.

#include <sinew/meshfunc/mesh_function_2d.h>

#include <algorithm>
#include <cassert>
#include <utility>

#include <sinew/framework/fields.h>
#include <sinew/framework/registry.h>
#include <sinew/meshfunc/detail/packed_text.h>
#include <sinew/meshfunc/type_handlers.h>

using sinew::detail::kFirstCharacter;
using sinew::detail::kLargestPackedInteger;
using sinew::detail::kPackedInteger;
using sinew::detail::kPackedReal;
using sinew::detail::kPackedVertex;
using Points = std::vector<tzNM::vect2<double>>;

namespace {

// The packed text: a format mark, then vertices, scalars and facet entries, each after their number.
constexpr char kFormatMark = '0';
constexpr std::size_t kPackedMark = 1;
constexpr std::size_t kParts = 3;

[[noreturn]] void fail(char const* what)
{
    throw Serializable::LoadFail(std::string("Error loading MeshFunction2D: ") + what);
}

// Appends packed numbers to a text.
class Packer
{
public:
    explicit Packer(std::string* text) : text_(*text) {}

    // The number of items of a part. The format keeps its lowest 18 bits.
    void appendCount(std::size_t n)
    {
        int const low = static_cast<int>(n & static_cast<std::size_t>(kLargestPackedInteger));
        append(1, [&](std::size_t, std::size_t, char* out) { return sinew::detail::packIntegers(&low, 1, out); });
    }

    // Appends `count` items. packItems(first, n, out) packs n of them and returns the end of what it wrote.
    template <typename PackItems>
    void append(std::size_t count, PackItems packItems)
    {
        // Through a small buffer, because resizing the text would first fill all of it with zeros.
        constexpr std::size_t kItems = 512;
        char buffer[kItems * kPackedVertex];
        for (std::size_t first = 0; first < count; first += kItems) {
            char const* const end = packItems(first, std::min(kItems, count - first), buffer);
            assert(end <= buffer + sizeof buffer);
            text_.append(buffer, static_cast<std::size_t>(end - buffer));
        }
    }

private:
    std::string& text_;
};

void pack(MeshFunction2D const& f, std::string* text)
{
    std::size_t const vertexCount = f.params.size();
    Points padded;
    if (f.values.size() < vertexCount) { // a vertex without a value is packed with the value (0, 0)
        padded = f.values;
        padded.resize(vertexCount);
    }
    Points const& values = padded.empty() ? f.values : padded;

    text->clear();
    text->reserve(kPackedMark + kParts * kPackedInteger + kPackedVertex * vertexCount +
                  kPackedReal * f.normaldots.size() + kPackedInteger * f.facets.size());
    *text += kFormatMark;
    Packer packer(text);
    packer.appendCount(vertexCount);
    packer.append(vertexCount, [&](std::size_t first, std::size_t n, char* out) {
        return sinew::detail::packVertices(&f.params[first], &values[first], n, out);
    });
    packer.appendCount(f.normaldots.size());
    packer.append(f.normaldots.size(), [&](std::size_t first, std::size_t n, char* out) {
        return sinew::detail::packReals(&f.normaldots[first], n, out);
    });
    packer.appendCount(f.facets.size());
    packer.append(f.facets.size(), [&](std::size_t first, std::size_t n, char* out) {
        return sinew::detail::packIntegers(&f.facets[first], n, out);
    });
}

// Reads a packed text from its beginning. A text that passes the tests of its length may still end early; zeros are
// read then.
class Unpacker
{
public:
    explicit Unpacker(std::string* text) : text_(*text), length_(text->size()) {}

    // Reads the number of items of a part. A negative number fails with the message of that part.
    std::size_t readCount(char const* failure)
    {
        int count = 0;
        sinew::detail::unpackIntegers(take(kPackedInteger), 1, &count);
        if (count < 0) fail(failure);
        return static_cast<std::size_t>(count);
    }

    // Fails with this message if the text, without the zeros added to it, has fewer characters.
    void requireLength(std::size_t characters, char const* failure) const
    {
        if (length_ < characters) fail(failure);
    }

    // The next `size` characters; valid until the next call.
    char const* take(std::size_t size)
    {
        if (text_.size() - at_ < size) text_.resize(at_ + size, kFirstCharacter);
        at_ += size;
        return text_.data() + at_ - size;
    }

private:
    std::string& text_;
    std::size_t const length_;
    std::size_t at_ = kPackedMark;
};

// The three tests of the length ask for one, ten and four characters less than are read up to the next test. The reason
// is compatibility: documents that end early by so little have always been readable.
void unpack(std::string* text, MeshFunction2D& f)
{
    constexpr std::size_t kTooShort = 3; // the length of a text with a mark and an incomplete number
    if (text->size() <= kTooShort) fail("saveString way too short");
    if (text->front() != kFormatMark) fail("wrong magic number");
    Unpacker in(text);

    char const* const firstTooShort = "first part of saveString too short";
    std::size_t const vertexCount = in.readCount(firstTooShort);
    std::size_t const vertexCharacters = kPackedVertex * vertexCount;
    in.requireLength(vertexCharacters + 2 * kPackedInteger, firstTooShort);
    f.params.resize(vertexCount);
    f.values.resize(vertexCount);
    sinew::detail::unpackVertices(in.take(vertexCharacters), vertexCount, f.params.data(), f.values.data());

    char const* const secondTooShort = "second part of saveString too short";
    std::size_t const scalarCount = in.readCount(secondTooShort);
    std::size_t const scalarCharacters = kPackedReal * scalarCount;
    in.requireLength(vertexCharacters + scalarCharacters, secondTooShort);
    f.normaldots.resize(scalarCount);
    sinew::detail::unpackReals(in.take(scalarCharacters), scalarCount, f.normaldots.data());

    char const* const thirdTooShort = "third part of saveString too short";
    std::size_t const facetCount = in.readCount(thirdTooShort);
    std::size_t const facetCharacters = kPackedInteger * facetCount;
    in.requireLength(vertexCharacters + scalarCharacters + facetCharacters + 2 * kPackedInteger, thirdTooShort);
    f.facets.resize(facetCount);
    sinew::detail::unpackIntegers(in.take(facetCharacters), facetCount, f.facets.data());
}

// Moves the vectors out of a function during saving, so that they are written as empty sequences, and back at the end.
class VectorsAside
{
public:
    explicit VectorsAside(MeshFunction2D& f) : function_(f) { exchange(); }
    ~VectorsAside() { exchange(); }
    VectorsAside(VectorsAside const&) = delete;
    VectorsAside& operator=(VectorsAside const&) = delete;

private:
    void exchange()
    {
        params_.swap(function_.params);
        values_.swap(function_.values);
        normaldots_.swap(function_.normaldots);
        facets_.swap(function_.facets);
    }

    MeshFunction2D& function_;
    Points params_;
    Points values_;
    std::vector<float> normaldots_;
    std::vector<int> facets_;
};

} // namespace

void MeshFunction2D::save(OutTag& tag)
{
    pack(*this, &saveString);
    VectorsAside const aside(*this);
    Serializable::save(tag);
    saveString.clear();
}

void MeshFunction2D::load(InTag& tag, smart_ptr<Field> field)
{
    Serializable::load(tag, std::move(field));
    if (!saveString.empty()) {
        unpack(&saveString, *this);
        saveString.clear();
    }
    initEvaluatorHelper();
}

smart_ptr<Field> MeshFunction2D::describeFields(std::string const& name)
{
    ClassDesc desc;
    desc.add("params", &MeshFunction2D::params);
    desc.add("values", &MeshFunction2D::values);
    desc.add("normaldots", &MeshFunction2D::normaldots);
    desc.add("facets", &MeshFunction2D::facets);
    desc.add("extrapolateFlag", &MeshFunction2D::extrapolateFlag);
    desc.add("saveString", &MeshFunction2D::saveString);
    desc.add(Serializable::describeFields("super"));
    return new CompositeField(name, desc);
}

// The class has no default constructor. The flag is read with the other fields. A document without it is of an older
// form, which means the older extrapolation.
template <>
MeshFunction2D* Factory<Serializable, MeshFunction2D>::createObject() const
{
    return new MeshFunction2D(false);
}

// This source file also holds the virtual table of the class. A program that links the static library and uses the
// class therefore links the registration, too.
static SerializableFactory<MeshFunction2D> const kMeshFunctionFactory("MeshFunction2D");
