#pragma once

/// The contenders of the benches that save mesh functions: sinew's packed text, the same text packed by the reference
/// implementation, the raw arrays in base64, and an XML document with one attribute for each number.

#include <cstddef>
#include <istream>
#include <ostream>
#include <streambuf>
#include <string>
#include <utility>

#include <sinew/framework/fields.h>
#include <sinew/meshfunc/mesh_function_2d.h>
#include <sinew/meshfunc/type_handlers.h>

#include "base64.h"
#include "meshfunc/reference_persistence.h"
#include "support/bits.h"
#include "support/random.h"

#if defined(SINEW_BENCH_PUGIXML)
#include <pugixml.hpp>
#endif

namespace bench::documents {

// ---- the input ----

/// A function whose numbers are multiples of 2^-20, so that every contender restores them exactly. The vertices lie in
/// rows of 512, or all in one place.
inline MeshFunction2D sample(int vertices, bool spreadOut)
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

inline bool sameVectors(MeshFunction2D const& a, MeshFunction2D const& b)
{
    return test::sameBits(a.params, b.params) && test::sameBits(a.values, b.values) &&
           test::sameBits(a.normaldots, b.normaldots) && a.facets == b.facets;
}

// ---- documents in memory ----

/// Appends to a string, at the cost of one copy.
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

/// Reads from a string without copying it.
class Source : public std::streambuf
{
public:
    explicit Source(std::string const& text)
    {
        char* const begin = const_cast<char*>(text.data());
        setg(begin, begin, begin + text.size());
    }
};

inline void write(Serializable& object, std::string& text)
{
    Sink sink(text);
    std::ostream out(&sink);
    sinew::writeDocument(out, object, "f");
}

inline void read(std::string const& text, Serializable& object)
{
    Source source(text);
    std::istream in(&source);
    sinew::readDocument(in, object);
}

// ---- the contenders ----

/// A contender saves a function as a text, and loads that text into a function including the rebuild.
struct Sinew
{
    static void save(MeshFunction2D& f, std::string& text) { write(f, text); }
    static void load(std::string const& text, MeshFunction2D& f) { read(text, f); }
};

/// The same document, with the text packed and unpacked by the reference implementation.
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

/// A document with one text for each array.
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
/// A document with one element for each vertex and index.
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

} // namespace bench::documents
