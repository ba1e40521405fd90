// Saving a mesh function into a string and loading it. Compared are sinew's packed text, the same text packed by the
// reference implementation, the raw arrays in base64, and an XML document with one attribute for each number.
//
// Loading fills the vectors. In "load" all points are equal, so that grid and boundaries are empty. In "load and
// rebuild" the time of building them is included for every contender.
//
// Then the text without loss against the packed text: size and time, of a small function, of the koi and of a large
// function. Loading includes the rebuild.

#include <cstddef>
#include <fstream>
#include <istream>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>

#include <benchmark/benchmark.h>

#include <sinew/framework/fields.h>
#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/save_exact.h>
#include <sinew/meshfunc/type_handlers.h>

#include "base64.h"
#include "meshfunc/reference_persistence.h"
#include "support/bits.h"
#include "support/random.h"

#if defined(SINEW_BENCH_PUGIXML)
#include <pugixml.hpp>
#endif

namespace {

// ---- the input ----

// A function whose numbers are multiples of 2^-20, so that every contender restores them exactly. The vertices lie in
// rows of 512, or all in one place.
MeshFunction2D sample(int vertices, bool spreadOut)
{
    constexpr int kRow = 512;
    test::Random random(7001);
    auto const number = [&] { return static_cast<double>(random.below(1 << 20)) * 0x1p-20; };
    MeshFunction2D f(true);
    for (int i = 0; i < vertices; ++i) {
        double const column = i % kRow, row = i / kRow; // NOLINT(bugprone-integer-division): the row is a whole number
        f.params.emplace_back(spreadOut ? column / kRow : 0.0, spreadOut ? row / kRow : 0.0);
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

// ---- documents in memory ----

// Appends to a string, at the cost of one copy.
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

// Reads from a string without copying it.
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

// ---- the contenders ----

// A contender saves a function as a text, and loads that text into a function including the rebuild.
struct Sinew
{
    static void save(MeshFunction2D& f, std::string& text) { write(f, text); }
    static void load(std::string const& text, MeshFunction2D& f) { read(text, f); }
};

// The same document, with the text packed and unpacked by the reference implementation.
struct Reference
{
    // Writes and reads its fields as they are: saveString is packed elsewhere.
    struct Document : MeshFunction2D
    {
        Document() : MeshFunction2D(true) {}
        void save(OutTag& tag) override { Serializable::save(tag); }
        void load(InTag& tag, smart_ptr<Field> field) override { Serializable::load(tag, std::move(field)); }
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

// A document with one text for each array.
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

    static void save(MeshFunction2D& f, std::string& text)
    {
        Document document;
        document.params = base64::encode(f.params);
        document.values = base64::encode(f.values);
        document.normaldots = base64::encode(f.normaldots);
        document.facets = base64::encode(f.facets);
        write(document, text);
    }
    static void load(std::string const& text, MeshFunction2D& f)
    {
        Document document;
        read(text, document);
        base64::decode(document.params, f.params);
        base64::decode(document.values, f.values);
        base64::decode(document.normaldots, f.normaldots);
        base64::decode(document.facets, f.facets);
        f.initEvaluatorHelper();
    }
};

#if defined(SINEW_BENCH_PUGIXML)
// A document with one element for each vertex and index.
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

// ---- the benches ----

// Saves and loads once. A contender that does not restore the function fails.
template <typename Contender>
void checkRoundTrip(benchmark::State& state, MeshFunction2D& f, std::string& text)
{
    MeshFunction2D loaded(true);
    Contender::save(f, text);
    Contender::load(text, loaded);
    if (!sameVectors(f, loaded)) state.SkipWithError("the loaded function differs");
}

template <typename Contender>
void save(benchmark::State& state)
{
    MeshFunction2D f = sample(static_cast<int>(state.range(0)), false);
    std::string text;
    checkRoundTrip<Contender>(state, f, text);
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
    checkRoundTrip<Contender>(state, f, text);
    for (auto _ : state) {
        MeshFunction2D loaded(true);
        Contender::load(text, loaded);
        benchmark::DoNotOptimize(loaded.params.data());
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

// ---- the text without loss ----

struct Exact
{
    static void save(MeshFunction2D& f, std::string& text)
    {
        Sink sink(text);
        std::ostream out(&sink);
        sinew::saveExact(f, out);
    }
    static void load(std::string const& text, MeshFunction2D& f) { read(text, f); }
};

// The function from the texture coordinates of the koi to the x and y of its surface, with z as the scalar.
MeshFunction2D koi()
{
    std::vector<tzNM::vect2<double>> positions;
    std::vector<float> heights;
    MeshFunction2D f(true);
    std::ifstream file(SINEW_BENCH_KOI);
    for (std::string line, kind; std::getline(file, line);) {
        std::istringstream in(line);
        double x = 0, y = 0, z = 0;
        in >> kind;
        if (kind == "v" && in >> x >> y >> z) {
            positions.emplace_back(x, y);
            heights.push_back(static_cast<float>(z));
        } else if (kind == "vt" && in >> x >> y) {
            f.params.emplace_back(x, y);
            f.values.emplace_back();
            f.normaldots.push_back(0);
        } else if (kind == "f") {
            char slash = 0;
            for (std::size_t v = 0, vt = 0; in >> v >> slash >> vt;) {
                f.facets.push_back(static_cast<int>(vt) - 1);
                f.values.at(vt - 1) = positions.at(v - 1);
                f.normaldots.at(vt - 1) = heights.at(v - 1);
            }
        }
    }
    f.initEvaluatorHelper();
    return f;
}

MeshFunction2D any(std::string const& name)
{
    if (name == "koi") return koi();
    return sample(name == "small" ? 100 : 262143, true);
}

// The exact text restores every bit; the packed text at least the numbers of vertices and facets.
template <typename Contender>
bool restores(MeshFunction2D& f, std::string& text)
{
    MeshFunction2D loaded(true);
    Contender::save(f, text);
    Contender::load(text, loaded);
    if (std::is_same_v<Contender, Exact>) return sameVectors(f, loaded);
    return f.params.size() == loaded.params.size() && f.facets == loaded.facets;
}

enum class Measured
{
    size,
    saving,
    loading
};

template <typename Contender>
void measure(benchmark::State& state, std::string const& name, Measured measured)
{
    MeshFunction2D f = any(name);
    std::string text;
    if (f.facets.empty() || !restores<Contender>(f, text)) state.SkipWithError("the loaded function differs");
    for (auto _ : state) {
        if (measured == Measured::saving) {
            Contender::save(f, text);
        } else if (measured == Measured::loading) {
            MeshFunction2D loaded(true);
            Contender::load(text, loaded);
            benchmark::DoNotOptimize(loaded.params.data());
        }
        benchmark::DoNotOptimize(text.data());
    }
    if (measured == Measured::size) state.counters["count"] = static_cast<double>(text.size());
}

template <typename Contender>
void addExactCases(std::string const& contender)
{
    for (std::string const name : {"small", "koi", "large"}) {
        auto const add = [&](std::string const& what, Measured measured) {
            benchmark::RegisterBenchmark(("exact, " + name + ", " + what + "/" + contender).c_str(),
                                         [=](benchmark::State& state) { measure<Contender>(state, name, measured); })
                ->Unit(benchmark::kMillisecond);
        };
        add("characters", Measured::size);
        add("save", Measured::saving);
        add("load", Measured::loading);
    }
}

bool const kRegistered = [] {
    addExactCases<Exact>("sinew");
    addExactCases<Sinew>("packed");
    addContender<Sinew>("sinew");
    addContender<Reference>("reference");
    addContender<Base64>("base64");
#if defined(SINEW_BENCH_PUGIXML)
    addContender<Attributes>("pugixml");
#endif
    return true;
}();

} // namespace
