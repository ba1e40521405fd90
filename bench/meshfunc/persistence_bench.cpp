// Saving a mesh function into a string and loading it back: sinew's packed text, the same text packed one character at
// a time, the raw arrays in base64, and an XML document with an attribute per number.
//
// Loading ends with the vectors filled; all points coincide in "load", so that nothing is derived from them, while
// "load and rebuild" includes grid and boundaries for all contenders.

#include <array>
#include <cstdint>
#include <cstring>
#include <istream>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <sinew/framework/fields.h>
#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/type_handlers.h>

#include "meshfunc/reference_persistence.h"
#include "support/bits.h"
#include "support/random.h"

#if defined(SINEW_BENCH_PUGIXML)
#include <pugixml.hpp>
#endif

namespace {

using Point = tzNM::vect2<double>;

/// Coordinates are multiples of 2^-20, so that every contender can bring them back exactly: the rows of a grid, 512
/// vertices each, or all in one place.
MeshFunction2D sample(int vertices, bool spreadOut)
{
    test::Random random(7001);
    auto const number = [&] { return static_cast<double>(random.below(1 << 20)) * 0x1p-20; };
    constexpr int kRow = 512;
    MeshFunction2D f(true);
    for (int i = 0; i < vertices; ++i) {
        f.params.emplace_back(spreadOut ? i % kRow / 512.0 : 0.0, spreadOut ? i / kRow / 512.0 : 0.0);
        double const u = number();
        f.values.emplace_back(u, number());
        f.normaldots.push_back(static_cast<float>(number()));
    }
    for (int i = 0; i < vertices / 3; ++i) f.facets.insert(f.facets.end(), {i, i + 1, (i + kRow) % vertices});
    f.initEvaluatorHelper();
    return f;
}

bool sameVectors(MeshFunction2D const& a, MeshFunction2D const& b)
{
    return test::sameBits(a.params, b.params) && test::sameBits(a.values, b.values) &&
           test::sameBits(a.normaldots, b.normaldots) && a.facets == b.facets;
}

/// Streams over memory that cost one copy and no allocation, as a host's own would.
class Sink : public std::streambuf
{
public:
    explicit Sink(std::string& text) : text_(text) { text_.clear(); }

protected:
    std::streamsize xsputn(char const* from, std::streamsize size) override
    {
        text_.append(from, static_cast<std::size_t>(size));
        return size;
    }
    int_type overflow(int_type c) override
    {
        text_ += static_cast<char>(c);
        return c;
    }

private:
    std::string& text_;
};
class Source : public std::streambuf
{
public:
    explicit Source(std::string const& text)
    {
        char* const begin = const_cast<char*>(text.data());
        setg(begin, begin, begin + text.size());
    }
};

void write(Serializable& object, std::string& text)
{
    Sink sink(text);
    std::ostream out(&sink);
    sinew::writeDocument(out, object, "f");
}

void read(std::string const& text, Serializable& object)
{
    Source source(text);
    std::istream in(&source);
    sinew::readDocument(in, object);
}

/// sinew itself.
struct Packed
{
    static void save(MeshFunction2D& f, std::string& text) { write(f, text); }
    static void load(std::string const& text, MeshFunction2D& f) { read(text, f); }
};

/// The same document with the text packed by the definition.
struct Plain
{
    struct Document : Serializable
    {
        std::vector<Point> params, values;
        std::vector<float> normaldots;
        std::vector<int> facets;
        bool extrapolateFlag = true;
        std::string saveString;
        smart_ptr<Field> describeFields(std::string const& name) override
        {
            ClassDesc desc;
            desc.add("params", &Document::params);
            desc.add("values", &Document::values);
            desc.add("normaldots", &Document::normaldots);
            desc.add("facets", &Document::facets);
            desc.add("extrapolateFlag", &Document::extrapolateFlag);
            desc.add("saveString", &Document::saveString);
            return new CompositeField(name, desc);
        }
    };
    static void save(MeshFunction2D& f, std::string& text)
    {
        Document document;
        document.saveString = reference::pack(f);
        write(document, text);
    }
    static void load(std::string const& text, MeshFunction2D& f)
    {
        Document document;
        read(text, document);
        reference::Unpacker(document.saveString).unpack(f);
        f.initEvaluatorHelper();
    }
};

/// The bytes of the arrays, in fields of their own.
struct Base64
{
    struct Document : Serializable
    {
        std::string params, values, normaldots, facets;
        smart_ptr<Field> describeFields(std::string const& name) override
        {
            ClassDesc desc;
            desc.add("params", &Document::params);
            desc.add("values", &Document::values);
            desc.add("normaldots", &Document::normaldots);
            desc.add("facets", &Document::facets);
            return new CompositeField(name, desc);
        }
    };

    template <typename T>
    static std::string encode(std::vector<T> const& array)
    {
        static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        auto const* in = reinterpret_cast<unsigned char const*>(array.data());
        std::size_t const size = array.size() * sizeof(T);
        std::string text((size + 2) / 3 * 4, '=');
        char* out = text.data();
        std::size_t i = 0;
        for (; i + 3 <= size; i += 3, out += 4) {
            std::uint32_t const group = static_cast<std::uint32_t>(in[i] << 16 | in[i + 1] << 8 | in[i + 2]);
            out[0] = kDigits[group >> 18];
            out[1] = kDigits[group >> 12 & 63];
            out[2] = kDigits[group >> 6 & 63];
            out[3] = kDigits[group & 63];
        }
        if (i < size) {
            std::uint32_t const group = static_cast<std::uint32_t>(in[i] << 16 | (i + 1 < size ? in[i + 1] << 8 : 0));
            out[0] = kDigits[group >> 18];
            out[1] = kDigits[group >> 12 & 63];
            if (i + 1 < size) out[2] = kDigits[group >> 6 & 63];
        }
        return text;
    }

    template <typename T>
    static void decode(std::string const& text, std::vector<T>& array)
    {
        static std::array<std::uint8_t, 256> const values = [] {
            std::array<std::uint8_t, 256> table{};
            char const digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
            for (std::uint8_t i = 0; i < 64; ++i) table[static_cast<unsigned char>(digits[i])] = i;
            return table;
        }();
        std::size_t size = text.size() / 4 * 3;
        while (size > 0 && text[text.size() - 1 - (text.size() / 4 * 3 - size)] == '=') --size;
        array.resize(size / sizeof(T));
        auto* const out = reinterpret_cast<unsigned char*>(array.data());
        auto const* in = reinterpret_cast<unsigned char const*>(text.data());
        for (std::size_t i = 0; i < size; i += 3, in += 4) {
            std::uint32_t const group = static_cast<std::uint32_t>(values[in[0]] << 18 | values[in[1]] << 12 |
                                                                   values[in[2]] << 6 | values[in[3]]);
            out[i] = static_cast<unsigned char>(group >> 16);
            if (i + 1 < size) out[i + 1] = static_cast<unsigned char>(group >> 8);
            if (i + 2 < size) out[i + 2] = static_cast<unsigned char>(group);
        }
    }

    static void save(MeshFunction2D& f, std::string& text)
    {
        Document document;
        document.params = encode(f.params);
        document.values = encode(f.values);
        document.normaldots = encode(f.normaldots);
        document.facets = encode(f.facets);
        write(document, text);
    }
    static void load(std::string const& text, MeshFunction2D& f)
    {
        Document document;
        read(text, document);
        decode(document.params, f.params);
        decode(document.values, f.values);
        decode(document.normaldots, f.normaldots);
        decode(document.facets, f.facets);
        f.initEvaluatorHelper();
    }
};

#if defined(SINEW_BENCH_PUGIXML)
struct Attributes
{
    static void save(MeshFunction2D& f, std::string& text)
    {
        pugi::xml_document document;
        pugi::xml_node root = document.append_child("f");
        for (std::size_t i = 0; i < f.params.size(); ++i) {
            pugi::xml_node vertex = root.append_child("v");
            vertex.append_attribute("x") = f.params[i].x;
            vertex.append_attribute("y") = f.params[i].y;
            vertex.append_attribute("u") = f.values[i].x;
            vertex.append_attribute("v") = f.values[i].y;
            vertex.append_attribute("n") = f.normaldots[i];
        }
        for (int const index : f.facets) root.append_child("i").append_attribute("i") = index;
        Sink sink(text);
        std::ostream out(&sink);
        document.save(out, "", pugi::format_raw);
    }
    static void load(std::string const& text, MeshFunction2D& f)
    {
        pugi::xml_document document;
        document.load_buffer(text.data(), text.size());
        pugi::xml_node const root = document.first_child();
        for (pugi::xml_node const vertex : root.children("v")) {
            f.params.emplace_back(vertex.attribute("x").as_double(), vertex.attribute("y").as_double());
            f.values.emplace_back(vertex.attribute("u").as_double(), vertex.attribute("v").as_double());
            f.normaldots.push_back(vertex.attribute("n").as_float());
        }
        for (pugi::xml_node const index : root.children("i")) f.facets.push_back(index.attribute("i").as_int());
        f.initEvaluatorHelper();
    }
};
#endif

template <typename Contender>
void save(benchmark::State& state)
{
    MeshFunction2D f = sample(static_cast<int>(state.range(0)), false);
    MeshFunction2D loaded(true);
    std::string text;
    Contender::save(f, text);
    Contender::load(text, loaded);
    if (!sameVectors(f, loaded)) state.SkipWithError("the function did not come back");
    for (auto _ : state) {
        Contender::save(f, text);
        benchmark::DoNotOptimize(text.data());
    }
}

template <typename Contender, bool rebuild>
void load(benchmark::State& state)
{
    MeshFunction2D f = sample(static_cast<int>(state.range(0)), rebuild);
    std::string text;
    Contender::save(f, text);
    for (auto _ : state) {
        MeshFunction2D loaded(true);
        Contender::load(text, loaded);
        benchmark::DoNotOptimize(loaded.params.data());
        state.PauseTiming();
        if (!sameVectors(f, loaded)) state.SkipWithError("the function did not come back");
        state.ResumeTiming();
    }
}

template <typename Contender>
void addContender(std::string const& name)
{
    for (int const vertices : {1000, 262143}) {
        std::string const size = std::to_string(vertices) + " vertices/" + name;
        auto const add = [&](std::string const& what, void (*run)(benchmark::State&)) {
            benchmark::RegisterBenchmark((what + ", " + size).c_str(), run)
                ->Arg(vertices)
                ->Unit(benchmark::kMillisecond);
        };
        add("save", save<Contender>);
        add("load", load<Contender, false>);
        add("load and rebuild", load<Contender, true>);
    }
}

bool const added = [] {
    addContender<Packed>("sinew");
    addContender<Plain>("plain");
    addContender<Base64>("base64");
#if defined(SINEW_BENCH_PUGIXML)
    addContender<Attributes>("pugixml");
#endif
    return true;
}();

} // namespace
