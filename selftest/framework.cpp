// Documents, tags, registries, handles.

#include <selftest/group.h>

#include <cstring>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include <sinew/framework/fields.h>
#include <sinew/framework/registry.h>
#include <sinew/framework/serializable.h>
#include <sinew/framework/smart_ptr.h>
#include <sinew/framework/tags.h>
#include <sinew/meshfunc/type_handlers.h>

namespace selftest {

namespace {

// ---- documents ----

// A persistent class with a member of every type that has the same size everywhere.
class Leaf : public Serializable
{
public:
    bool flag = false;
    char letter = 'a';
    signed char small = 0;
    unsigned char byte = 0;
    short narrow = 0;
    unsigned short wide = 0;
    int whole = 0;
    unsigned count = 0;
    long long large = 0;
    unsigned long long bits = 0;
    float single = 0;
    double real = 0;
    std::string text;
    Vector3 position;
    tzNM::vect2<double> param;

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        desc.add("flag", &Leaf::flag);
        desc.add("letter", &Leaf::letter);
        desc.add("small", &Leaf::small);
        desc.add("byte", &Leaf::byte);
        desc.add("narrow", &Leaf::narrow);
        desc.add("wide", &Leaf::wide);
        desc.add("whole", &Leaf::whole);
        desc.add("count", &Leaf::count);
        desc.add("large", &Leaf::large);
        desc.add("bits", &Leaf::bits);
        desc.add("single", &Leaf::single);
        desc.add("real", &Leaf::real);
        desc.add("text", &Leaf::text);
        desc.add("position", &Leaf::position);
        desc.add("param", &Leaf::param);
        return new CompositeField(name, desc);
    }

    void addTo(Record& out) const
    {
        out.add(flag);
        out.add(letter);
        out.add(small);
        out.add(byte);
        out.add(narrow);
        out.add(wide);
        out.add(whole);
        out.add(count);
        out.add(large);
        out.add(bits);
        out.add(static_cast<double>(single));
        out.add(real);
        out.add(std::string_view(text));
        out.add(position);
        out.add(param);
    }
};

// Members of the types whose size differs between systems. Their numbers fit the smallest size; damaged ones would not.
class Longs : public Serializable
{
public:
    long number = 0;
    unsigned long count = 0;

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        desc.add("number", &Longs::number);
        desc.add("count", &Longs::count);
        return new CompositeField(name, desc);
    }
};

class Tree : public Serializable
{
public:
    std::vector<Leaf> leaves;
    std::vector<std::vector<int>> lists;
    std::vector<double> numbers;
    Leaf single;

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        desc.add("leaves", &Tree::leaves);
        desc.add("lists", &Tree::lists);
        desc.add("numbers", &Tree::numbers);
        desc.add("single", &Tree::single);
        return new CompositeField(name, desc);
    }

    void addTo(Record& out) const
    {
        out.add(leaves.size());
        for (Leaf const& leaf : leaves) leaf.addTo(out);
        out.add(lists);
        out.add(numbers);
        single.addTo(out);
    }
};

SerializableFactory<Tree> const kTreeFactory("selftestTree");

// A NaN that an operation makes may have either sign, which shows in the text.
double withoutNaN(double x)
{
    return x == x ? x : 0.0;
}

float anyFloat(Inputs& in)
{
    std::uint32_t const word = static_cast<std::uint32_t>(in.bits());
    float value = 0;
    std::memcpy(&value, &word, sizeof value);
    return value == value ? value : 0.0F;
}

std::string anyText(Inputs& in)
{
    constexpr char const* kPieces[] = {"a",        "Z",
                                       " ",        "\n",
                                       "\t",       "<",
                                       ">",        "&",
                                       "\"",       "'",
                                       "]]",       ">",
                                       "\xC3\xA9", "\xE2\x82\xAC",
                                       "9",        "-",
                                       "&lt;",     "\r",
                                       "\\",       "_",
                                       "%s",       "\xF0\x9F\x8C\x8D"};
    std::string text;
    for (int i = in.below(8); i > 0; --i) text += kPieces[in.below(static_cast<int>(std::size(kPieces)))];
    return text;
}

Leaf leaf(Inputs& in)
{
    Leaf l;
    l.flag = in.oneIn(2);
    l.letter = static_cast<char>(in.below(128)); // whether a char has a sign depends on the processor
    l.byte = static_cast<unsigned char>(in.below(256));
    l.narrow = static_cast<short>(in.below(65536) - 32768);
    l.small = static_cast<signed char>(in.below(256) - 128);
    l.wide = static_cast<unsigned short>(in.below(65536));
    l.whole = in.below(2000000000) - 1000000000;
    l.count = static_cast<unsigned>(in.below(2000000000));
    l.bits = in.bits() >> in.below(64);
    l.large = static_cast<long long>(l.bits >> 1) * (in.oneIn(2) ? 1 : -1);
    l.single = anyFloat(in);
    l.real = withoutNaN(in.oneIn(2) ? in.anyBits() : in.number());
    l.text = anyText(in);
    l.position = Vector3{withoutNaN(in.number()), in.tame(), in.tame() * 1e-7};
    l.param = in.tamePoint2();
    return l;
}

std::int64_t fillTree(Inputs& in, Tree& tree)
{
    constexpr std::int64_t kFieldsOfLeaf = 18; // numbers and texts
    for (int i = in.below(4); i > 0; --i) tree.leaves.push_back(leaf(in));
    for (int i = in.below(4); i > 0; --i) {
        tree.lists.emplace_back();
        for (int k = in.below(4); k > 0; --k) tree.lists.back().push_back(in.below(100) - 50);
    }
    for (int i = in.below(8); i > 0; --i) tree.numbers.push_back(withoutNaN(in.anyBits()));
    tree.single = leaf(in);
    return kFieldsOfLeaf * static_cast<std::int64_t>(tree.leaves.size() + 1) +
           static_cast<std::int64_t>(tree.numbers.size());
}

// Attributes of infinities are refused by the reader; that is a result, too.
template <typename Read>
void addReading(Record& out, Read const& read)
{
    try {
        read();
    } catch (Serializable::LoadFail const& failure) {
        out.add(std::string_view(failure.what()));
    }
}

void documents(Inputs& in, Record& out)
{
    while (out.count() < kInputs) {
        Tree tree;
        out.countInputs(fillTree(in, tree));
        std::ostringstream text;
        sinew::writeDocument(text, tree, "selftestTree");
        out.add(std::string_view(text.str()));
        addReading(out, [&] {
            std::istringstream again(text.str());
            std::unique_ptr<Serializable> const loaded = sinew::createFromDocument(again);
            dynamic_cast<Tree const&>(*loaded).addTo(out);
        });

        Longs longs;
        longs.number = in.below(2000000000) - 1000000000;
        longs.count = static_cast<unsigned long>(in.below(2000000000));
        std::stringstream ofLongs;
        sinew::writeDocument(ofLongs, longs, "longs");
        Longs loadedLongs;
        sinew::readDocument(ofLongs, loadedLongs);
        out.add(std::string_view(ofLongs.str()));
        out.add(loadedLongs.number);
        out.add(loadedLongs.count);
    }
}

// Documents with pieces of text that are exchanged, repeated, removed or inserted.
void damagedDocuments(Inputs& in, Record& out)
{
    constexpr char const* kPieces[] = {"<",         ">",     "&",       "&#65;",     "&#x110000;",   "<!--",  "-->",
                                       "<![CDATA[", "]]>",   "<?pi ?>", "<!DOCTYPE", "\xEF\xBB\xBF", "\xC0",  "\x01",
                                       "1e5",       "nan",   "-inf",    "0x1p3",     "1e-320",       "1e999", "+5",
                                       "''",        " a=''", "<leaf/>", "</leaf>",   "\r\n",         "/"};
    constexpr int kDocuments = 20; // from one tree
    int inputs = 0;
    while (inputs < kInputs) {
        Tree tree;
        tree.leaves.push_back(leaf(in));
        tree.numbers = {0.5};
        std::ostringstream stream;
        sinew::writeDocument(stream, tree, "selftestTree");
        std::string const text = stream.str();
        int const size = static_cast<int>(text.size());
        for (int i = 0; i < kDocuments; ++i, ++inputs) {
            std::string changed = text;
            for (int changes = 1 + in.below(2); changes > 0; --changes) {
                std::size_t const at = static_cast<std::size_t>(in.below(size));
                std::size_t const length = static_cast<std::size_t>(in.below(12));
                char const* const piece = kPieces[in.below(static_cast<int>(std::size(kPieces)))];
                if (at < changed.size()) changed.replace(at, length, in.oneIn(4) ? "" : piece);
            }
            if (in.oneIn(8)) changed.resize(changed.size() / 2);
            Tree loaded;
            std::istringstream document(changed);
            addReading(out, [&] { sinew::readDocument(document, loaded); });
            loaded.addTo(out);
        }
    }
    out.countInputs(inputs);
}

// ---- tags ----

// Writes attributes of all kinds as one element.
class Attributed : public Serializable
{
public:
    explicit Attributed(Inputs& in) : in_(in) {}

    void save(OutTag& tag) override
    {
        constexpr char const* kNames[] = {"a", "b", "c", "d"};
        for (char const* const name : kNames)
            tag.setAttr(name, withoutNaN(in_.oneIn(4) ? in_.anyBits() : in_.number()));
        tag.setAttr("text", anyText(in_));
        if (in_.oneIn(4)) tag.setAttr("b", anyText(in_)); // replaces the number
        tag.writeSingleTag();
    }

private:
    Inputs& in_;
};

// Reads attributes as numbers.
class AttributeReader : public Serializable
{
public:
    explicit AttributeReader(Record& out) : out_(out) {}

    void load(InTag& tag, smart_ptr<Field>) override
    {
        for (char const* const name : {"a", "b", "c", "d", "e"}) {
            out_.add(tag.hasAttr(name));
            addReading(out_, [&] { out_.add(tag.getReal(name)); });
        }
        if (tag.hasAttr("text")) out_.add(std::string_view(tag.getAttr("text")));
    }

private:
    Record& out_;
};

void attributes(Inputs& in, Record& out)
{
    constexpr int kNumbers = 4; // of an element
    while (out.count() < kInputs) {
        Attributed written(in);
        std::ostringstream text;
        sinew::writeDocument(text, written, "a");
        out.add(std::string_view(text.str()));
        std::istringstream document(text.str());
        AttributeReader reader(out);
        addReading(out, [&] { sinew::readDocument(document, reader); });
        out.countInputs(kNumbers);
    }
}

// Members in their exact form.
class Exact : public Serializable
{
public:
    Vector3 position;
    std::vector<tzNM::vect2<double>> outline;
    float single = 0;

    smart_ptr<Field> describeFields(std::string const& name) override
    {
        ClassDesc desc;
        sinew::addExact(desc, "position", &Exact::position);
        sinew::addExact(desc, "outline", &Exact::outline);
        sinew::addExact(desc, "single", &Exact::single);
        return new CompositeField(name, desc);
    }
};

void exactFields(Inputs& in, Record& out)
{
    constexpr int kPoints = 8; // of an object, with two numbers each
    while (out.count() < kInputs) {
        Exact written;
        for (int k = 0; k < 3; ++k) written.position[k] = withoutNaN(in.oneIn(2) ? in.number() : in.anyBits());
        for (int i = 0; i < kPoints; ++i) {
            double const u = in.tame();
            written.outline.emplace_back(u, withoutNaN(in.oneIn(64) ? in.special() : in.spread(-1022, 1023)));
        }
        written.single = anyFloat(in);
        std::ostringstream text;
        sinew::writeDocument(text, written, "exact");
        out.add(std::string_view(text.str()));
        addReading(out, [&] {
            std::istringstream document(text.str());
            Exact read;
            sinew::readDocument(document, read);
            out.add(read.position);
            out.add(read.outline);
            out.add(static_cast<double>(read.single));
        });
        out.countInputs(3 + 2 * kPoints + 1);
    }
}

// Elements with many attributes, some of them twice, and their texts with references.
void manyAttributes(Inputs& in, Record& out)
{
    constexpr char const* kTexts[] = {"",           "1",    "&lt;", "&#65;",    "&#xe9;", "&#x20AC;", "&#127757;",
                                      "&#x110000;", "&#0;", "&x;",  "\xC3\xA9", "a b",    "\t\n"};
    constexpr char const* kBefore[] = {"",
                                       "",
                                       "",
                                       "<!-- c -->",
                                       "<?pi x?>",
                                       "<?xml version='1.0' encoding='UTF-8' standalone='yes'?>",
                                       "<?xml version='1.0' standalone='maybe'?>",
                                       "\xEF\xBB\xBF"};
    while (out.count() < kInputs) {
        int const count = in.below(24);
        std::string text = kBefore[in.below(static_cast<int>(std::size(kBefore)))];
        text += "<root";
        for (int i = 0; i < count; ++i) {
            text += ' ';
            text += static_cast<char>('a' + (in.oneIn(20) ? in.below(24) : i));
            text += std::string("='") + kTexts[in.below(in.oneIn(4) ? static_cast<int>(std::size(kTexts)) : 3)] + "'";
        }
        std::istringstream document(text + "/>");
        AttributeReader reader(out);
        addReading(out, [&] { sinew::readDocument(document, reader); });
        out.countInputs(count);
    }
}

// A number that many parsers read differently, or any digits.
std::string numberText(Inputs& in)
{
    constexpr char const* kOdd[] = {"",
                                    " ",
                                    "nan",
                                    "inf",
                                    "-inf",
                                    "0x1",
                                    "1e400",
                                    "-1e400",
                                    "1e-400",
                                    "4.9e-324",
                                    "2.2250738585072011e-308",
                                    "1.",
                                    ".5",
                                    ".",
                                    "+1",
                                    "++1",
                                    "1e",
                                    "1e+",
                                    "1 ",
                                    " 1",
                                    "\t1\n",
                                    "1,5",
                                    "1x",
                                    "1 2",
                                    "-0",
                                    "- 1",
                                    "infinity",
                                    "1e5000000000",
                                    "0e5000000000",
                                    "00000000000000000000001",
                                    "1d5",
                                    "1f",
                                    "0x1p3"};
    if (in.oneIn(2)) return kOdd[in.below(static_cast<int>(std::size(kOdd)))];
    std::string text = in.oneIn(2) ? "-" : "";
    for (int i = 1 + in.below(25); i > 0; --i) {
        text += static_cast<char>('0' + in.below(10));
        if (in.oneIn(12)) text += '.';
    }
    if (in.oneIn(2)) {
        text += in.oneIn(2) ? "e-" : "E";
        text += std::to_string(in.below(340));
    }
    return text;
}

void numbersFromAttributes(Inputs& in, Record& out)
{
    constexpr int kNumbers = 5; // of an element
    while (out.count() < kInputs) {
        std::string element = "<a";
        for (char const name : {'a', 'b', 'c', 'd', 'e'}) {
            element += std::string(" ") + name + "='" + numberText(in) + "'";
        }
        std::istringstream document(element + "/>");
        AttributeReader reader(out);
        addReading(out, [&] { sinew::readDocument(document, reader); });
        out.countInputs(kNumbers);
    }
}

void numbersFromText(Inputs& in, Record& out)
{
    repeat(out, [&] {
        std::string text = "<a><real>" + numberText(in);
        text += "</real><single>" + numberText(in);
        std::istringstream document(text + "</single></a>");
        Leaf loaded;
        addReading(out, [&] { sinew::readDocument(document, loaded); });
        out.add(loaded.real);
        out.add(static_cast<double>(loaded.single));
    });
}

void singularNames(Inputs& in, Record& out)
{
    constexpr char const* kPieces[] = {"s",  "es", "ies",   "ses", "xes", "ches", "shes",
                                       "ss", "a",  "param", "bod", "x",   ""};
    repeat(out, [&] {
        std::string name;
        for (int i = 1 + in.below(3); i > 0; --i) name += kPieces[in.below(static_cast<int>(std::size(kPieces)))];
        out.add(std::string_view(getSingularName(name)));
    });
}

// ---- registries and handles ----

class Named : public NamedObject<Named*>
{
public:
    explicit Named(std::string const& name) : NamedObject(name) {}
    ~Named() = default;
    int number = 0;
};

// Adds what a registry reports, without the name of the type, which differs between compilers.
class LogSink
{
public:
    explicit LogSink(Record& out)
    {
        target = &out;
        sinew::setRegistryLogSink([](std::string const& action, std::string const&, std::string const& name) {
            if (action == "registry") return;
            target->add(std::string_view(action));
            target->add(std::string_view(name));
        });
    }
    ~LogSink()
    {
        sinew::setRegistryLogSink(nullptr);
        target = nullptr;
    }
    LogSink(LogSink const&) = delete;
    LogSink& operator=(LogSink const&) = delete;

private:
    static inline Record* target = nullptr;
};

// Objects that come and go under few names, so that several have the same one.
void registries(Inputs& in, Record& out)
{
    LogSink const sink(out);
    std::vector<std::unique_ptr<Named>> objects;
    int made = 0;
    repeat(out, [&] {
        std::string const name = std::string("n") + static_cast<char>('a' + in.below(6));
        if (objects.size() < 10 && in.oneIn(2)) {
            objects.push_back(std::make_unique<Named>(name));
            objects.back()->number = ++made;
        } else if (!objects.empty()) {
            objects.erase(objects.begin() + in.below(static_cast<int>(objects.size())));
        }
        Named const* const found = Named::find(name);
        out.add(found ? found->number : 0);
        if (in.oneIn(8)) {
            for (std::string const& known : Named::names()) out.add(std::string_view(known));
        }
        out.add(FactoryByName::find(in.oneIn(2) ? "selftestTree" : name) != nullptr);
    });
    while (!objects.empty()) objects.pop_back(); // a vector may destroy its elements in any order
}

class Counted : public smart_base
{
};

void handles(Inputs& in, Record& out)
{
    constexpr int kHandles = 6;
    smart_ptr<Counted> list[kHandles];
    repeat(out, [&] {
        smart_ptr<Counted>& a = list[in.below(kHandles)];
        smart_ptr<Counted>& b = list[in.below(kHandles)];
        switch (in.below(6)) {
        case 0:
            a = smart_ptr<Counted>(new Counted);
            break;
        case 1:
            a = b;
            break;
        case 2:
            a = std::move(b);
            break;
        case 3:
            a.swap(b);
            break;
        case 4:
            a.reset(b.get());
            break;
        default:
            a.reset();
            break;
        }
        smart_ptr<smart_base const> const base = a;
        out.add(a == b);
        out.add(a != nullptr);
        for (smart_ptr<Counted> const& handle : list) out.add(handle ? handle->referenceCount : -1);
    });
}

template <typename T>
void vectors2(Inputs& in, Record& out)
{
    using Vector = tzNM::vect2<T>;
    auto const number = [&in] { return static_cast<T>(in.tame()); };
    repeat(out, [&] {
        Vector const a = Vector{number(), number()};
        Vector const b = in.oneIn(8) ? a : Vector{number(), number()};
        T const s = in.oneIn(16) ? T(0) : number();
        out.add(a + b);
        out.add(a - b);
        out.add(-a);
        out.add(a * s);
        out.add(s * a);
        out.add(a / s);
        out.add(a * b);
        out.add(a == b);
        out.add(a != b);
        out.add(a.lengthSq());
        out.add(a.length());
        Vector changed = a;
        changed += b;
        changed *= s;
        changed -= a;
        out.add(changed);
        out.add(changed[in.below(2)]);
    });
}

} // namespace

std::vector<Group> frameworkGroups()
{
    constexpr MathLibrary kUnused = MathLibrary::unused;
    return {
        {"framework.documents", "numbers and texts", kUnused, documents},
        {"framework.damagedDocuments", "documents", kUnused, damagedDocuments},
        {"framework.attributes", "numbers", kUnused, attributes},
        {"framework.addExact", "numbers", kUnused, exactFields},
        {"framework.manyAttributes", "attributes", kUnused, manyAttributes},
        {"framework.getReal", "numbers as text", kUnused, numbersFromAttributes},
        {"framework.SimpleTypeHandler.load", "pairs of numbers as text", kUnused, numbersFromText},
        {"framework.getSingularName", "names", kUnused, singularNames},
        {"framework.NamedObject", "registrations and removals", kUnused, registries},
        {"framework.smart_ptr", "changes of handles", kUnused, handles},
        {"framework.vect2.double", "pairs of vectors and a number", kUnused, vectors2<double>},
        {"framework.vect2.float", "pairs of vectors and a number", kUnused, vectors2<float>},
    };
}

} // namespace selftest
