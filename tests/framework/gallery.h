#pragma once

/// Persistent classes of a host, for the tests and the fuzz target: members of every supported type, a base class with
/// fields, an object as a member, sequences of objects and of sequences.

#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include <sinew/framework/fields.h>
#include <sinew/framework/registry.h>

#include "support/random.h"

namespace gallery {

class Work : public Serializable
{
public:
    std::string title;
    int year = 0;

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        desc.add("title", &Work::title);
        desc.add("year", &Work::year);
        desc.add(Serializable::describeFields("super"));
        return new CompositeField(name, desc);
    }
};

class Frame : public Serializable
{
public:
    double width = 0;
    float gilding = 0;

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        desc.add("width", &Frame::width);
        desc.add("gilding", &Frame::gilding);
        return new CompositeField(name, desc);
    }
};

/// The first base class of `Painting`, so that a painting and its `Work` part have different addresses.
struct Insured
{
    double sum = 0;
    virtual ~Insured() = default;
};

class Painting : public Insured, public Work
{
public:
    bool sold = false;
    unsigned char shade = 0;
    short room = 0;
    long long inventory = 0;
    unsigned long long barcode = 0;
    float weight = 0;
    double price = 0;
    Frame frame;
    std::vector<int> bids;
    std::vector<bool> flags;
    std::vector<float> shades;
    std::vector<double> prices;
    std::vector<std::string> owners;
    std::vector<Frame> spareFrames;
    std::vector<std::vector<int>> rows;

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        desc.add(Work::describeFields("super"));
        desc.add("sold", &Painting::sold);
        desc.add("shade", &Painting::shade);
        desc.add("room", &Painting::room);
        desc.add("inventory", &Painting::inventory);
        desc.add("barcode", &Painting::barcode);
        desc.add("weight", &Painting::weight);
        desc.add("price", &Painting::price);
        desc.add("frame", &Painting::frame);
        desc.add("bids", &Painting::bids);
        desc.add("flags", &Painting::flags);
        desc.add("shades", &Painting::shades);
        desc.add("prices", &Painting::prices);
        desc.add("owners", &Painting::owners);
        desc.add("spareFrames", &Painting::spareFrames);
        desc.add("rows", &Painting::rows);
        return new CompositeField(name, desc);
    }
};

/// A tree, whose depth only the document limits.
class Branch : public Serializable
{
public:
    int leaves = 0;
    std::vector<Branch> twigs;

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        desc.add("leaves", &Branch::leaves);
        desc.add("twigs", &Branch::twigs);
        return new CompositeField(name, desc);
    }
};

/// A string with the characters and markup that XML treats specially, and with characters of two to four bytes.
inline std::string randomText(test::Random& random)
{
    static char const* const pieces[] = {"a",    "<",   "&",         ">",    "]]>", "\r", "\n",   "\t",
                                         "\"",   "'",   "  ",        "\r\n", "é",   "€",  "&lt;", "\xF0\x9F\x8E\xA8",
                                         "<!--", "-->", "plain text"};
    std::string text;
    for (int n = random.below(12); n > 0; --n) text += pieces[random.below(sizeof pieces / sizeof *pieces)];
    return text;
}

inline Frame randomFrame(test::Random& random)
{
    Frame frame;
    frame.width = random.hostile();
    frame.gilding = static_cast<float>(random.spread());
    return frame;
}

inline Painting randomPainting(test::Random& random)
{
    Painting p;
    p.title = randomText(random);
    p.year = static_cast<int>(random.bits());
    p.sold = random.oneIn(2);
    p.shade = static_cast<unsigned char>(random.bits());
    p.room = static_cast<short>(random.bits());
    p.inventory = static_cast<long long>(random.bits());
    p.barcode = random.bits();
    p.weight = static_cast<float>(random.spread());
    p.price = random.hostile();
    p.frame = randomFrame(random);
    for (int n = random.below(5); n > 0; --n) p.bids.push_back(static_cast<int>(random.bits()));
    for (int n = random.below(5); n > 0; --n) p.flags.push_back(random.oneIn(2));
    for (int n = random.below(5); n > 0; --n) p.shades.push_back(static_cast<float>(random.spread()));
    for (int n = random.below(5); n > 0; --n) p.prices.push_back(random.hostile());
    for (int n = random.below(5); n > 0; --n) p.owners.push_back(randomText(random));
    for (int n = random.below(5); n > 0; --n) p.spareFrames.push_back(randomFrame(random));
    for (int n = random.below(5); n > 0; --n) p.rows.emplace_back(random.below(4), n);
    return p;
}

/// `object` as a document with the root element `name`.
template <typename T>
std::string textOf(T& object, std::string const& name = "root")
{
    std::ostringstream out;
    sinew::writeDocument(out, object, name);
    return out.str();
}

/// A new object that the document `text` has been read into.
template <typename T>
T parse(std::string const& text)
{
    std::istringstream in(text);
    T object;
    sinew::readDocument(in, object);
    return object;
}

/// The message with which reading `text` fails; empty if it succeeds.
template <typename T>
std::string refusal(std::string const& text)
{
    try {
        parse<T>(text);
        return "";
    } catch (Serializable::LoadFail const& failure) {
        return failure.what();
    }
}

} // namespace gallery
