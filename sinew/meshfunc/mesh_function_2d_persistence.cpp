#include <sinew/meshfunc/mesh_function_2d.h>

#include <algorithm>
#include <utility>

#include <sinew/framework/fields.h>
#include <sinew/framework/registry.h>
#include <sinew/meshfunc/detail/packed_text.h>
#include <sinew/meshfunc/type_handlers.h>

using sinew::detail::kPackedInteger;
using sinew::detail::kPackedReal;
using sinew::detail::kPackedVertex;
using Points = std::vector<tzNM::vect2<double>>;

namespace {

constexpr char kFormatMark = '0';
constexpr char kPackedZero = '?';

[[noreturn]] void fail(char const* what)
{
    throw Serializable::LoadFail(std::string("Error loading MeshFunction2D: ") + what);
}

// The format mark, then the vertices, the scalars and the facets, each behind its count.
void pack(MeshFunction2D const& f, std::string& text)
{
    std::size_t const vertexCount = f.params.size();
    Points padded;
    if (f.values.size() < vertexCount) { // a vertex without a value is packed as if it were (0, 0)
        padded = f.values;
        padded.resize(vertexCount);
    }
    Points const& values = padded.empty() ? f.values : padded;

    text.clear();
    text.reserve(1 + 3 * kPackedInteger + kPackedVertex * vertexCount + kPackedReal * f.normaldots.size() +
                 kPackedInteger * f.facets.size());
    // By way of a small buffer: resizing the text would fill all of it with zeros first.
    auto const append = [&text](std::size_t count, auto packItems) {
        constexpr std::size_t kItems = 512;
        char buffer[kItems * kPackedVertex];
        for (std::size_t first = 0; first < count; first += kItems) {
            char const* const end = packItems(first, std::min(kItems, count - first), buffer);
            text.append(buffer, static_cast<std::size_t>(end - buffer));
        }
    };
    auto const appendCount = [&](std::size_t n) {
        int const low = static_cast<int>(n & 0x3FFFF); // what the format keeps of it
        append(1, [&](std::size_t, std::size_t, char* out) { return sinew::detail::packIntegers(&low, 1, out); });
    };
    text += kFormatMark;
    appendCount(vertexCount);
    append(vertexCount, [&](std::size_t first, std::size_t n, char* out) {
        return sinew::detail::packVertices(&f.params[first], &values[first], n, out);
    });
    appendCount(f.normaldots.size());
    append(f.normaldots.size(), [&](std::size_t first, std::size_t n, char* out) {
        return sinew::detail::packReals(&f.normaldots[first], n, out);
    });
    appendCount(f.facets.size());
    append(f.facets.size(), [&](std::size_t first, std::size_t n, char* out) {
        return sinew::detail::packIntegers(&f.facets[first], n, out);
    });
}

// Walks through a packed text. Where the text ends early, although the length tests let it pass, zeros follow.
class Unpacker
{
public:
    explicit Unpacker(std::string& text) : text_(text), length_(text.size()) {}

    // The length of the text as it was given.
    std::size_t length() const { return length_; }

    // A count; below zero it is damaged as if the part it opens were too short.
    std::size_t readCount(char const* failure)
    {
        int count = 0;
        sinew::detail::unpackIntegers(take(kPackedInteger), 1, &count);
        if (count < 0) fail(failure);
        return static_cast<std::size_t>(count);
    }

    char const* take(std::size_t size)
    {
        if (text_.size() - at_ < size) text_.resize(at_ + size, kPackedZero);
        at_ += size;
        return text_.data() + at_ - size;
    }

private:
    std::string& text_;
    std::size_t const length_;
    std::size_t at_ = 1; // past the format mark
};

// The three tests of the length ask for a little less than is read up to the next one; older readers did so, and
// documents that were cut short by a few characters have always been readable.
void unpack(std::string& text, MeshFunction2D& f)
{
    if (text.size() <= 3) fail("saveString way too short");
    if (text.front() != kFormatMark) fail("wrong magic number");
    Unpacker in(text);

    char const* const firstTooShort = "first part of saveString too short";
    std::size_t const vertexCount = in.readCount(firstTooShort);
    if (in.length() < (8 * vertexCount + 3) * 2) fail(firstTooShort);
    f.params.resize(vertexCount);
    f.values.resize(vertexCount);
    sinew::detail::unpackVertices(in.take(kPackedVertex * vertexCount), vertexCount, f.params.data(), f.values.data());

    char const* const secondTooShort = "second part of saveString too short";
    std::size_t const scalarCount = in.readCount(secondTooShort);
    if (in.length() < 16 * vertexCount + 4 * scalarCount) fail(secondTooShort);
    f.normaldots.resize(scalarCount);
    sinew::detail::unpackReals(in.take(kPackedReal * scalarCount), scalarCount, f.normaldots.data());

    char const* const thirdTooShort = "third part of saveString too short";
    std::size_t const facetCount = in.readCount(thirdTooShort);
    if (in.length() < 3 * facetCount + 6 + 4 * scalarCount + 16 * vertexCount) fail(thirdTooShort);
    f.facets.resize(facetCount);
    sinew::detail::unpackIntegers(in.take(kPackedInteger * facetCount), facetCount, f.facets.data());
}

// Takes the vectors out of a function for the time of saving, so that they are written as empty sequences.
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
    pack(*this, saveString);
    VectorsAside const aside(*this);
    Serializable::save(tag);
    saveString.clear();
}

void MeshFunction2D::load(InTag& tag, smart_ptr<Field> field)
{
    Serializable::load(tag, std::move(field));
    if (!saveString.empty()) {
        unpack(saveString, *this);
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

// There is no default constructor. The flag is read with the other fields; older texts without it mean the older
// continuation.
template <>
MeshFunction2D* Factory<Serializable, MeshFunction2D>::createObject() const
{
    return new MeshFunction2D(false);
}

// In the source file that holds the class's virtual table, so that a static library brings it along with the class.
static SerializableFactory<MeshFunction2D> const meshFunctionFactory("MeshFunction2D");
