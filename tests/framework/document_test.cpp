#include <sinew/framework/serializable.h>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <ios>
#include <istream>
#include <limits>
#include <locale>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <typeinfo>
#include <utility>

#include <gtest/gtest.h>

#include "gallery.h"
#include "support/bits.h"

#if defined(SINEW_TEST_PUGIXML)
#include "support/xml_text.h"
#endif

using gallery::parse;
using gallery::refusal;
using gallery::textOf;

namespace {

void expectEqual(gallery::Frame const& a, gallery::Frame const& b)
{
    EXPECT_TRUE(test::sameBits(a.width, b.width)) << a.width << " " << b.width;
    EXPECT_TRUE(test::sameBits(a.gilding, b.gilding));
}

void expectEqual(gallery::Painting const& a, gallery::Painting const& b)
{
    EXPECT_EQ(a.title, b.title);
    EXPECT_EQ(a.year, b.year);
    EXPECT_EQ(a.sold, b.sold);
    EXPECT_EQ(a.shade, b.shade);
    EXPECT_EQ(a.room, b.room);
    EXPECT_EQ(a.inventory, b.inventory);
    EXPECT_EQ(a.barcode, b.barcode);
    EXPECT_TRUE(test::sameBits(a.weight, b.weight));
    EXPECT_TRUE(test::sameBits(a.price, b.price));
    expectEqual(a.frame, b.frame);
    EXPECT_EQ(a.bids, b.bids);
    EXPECT_EQ(a.flags, b.flags);
    EXPECT_TRUE(test::sameBits(a.shades, b.shades));
    EXPECT_TRUE(test::sameBits(a.prices, b.prices));
    EXPECT_EQ(a.owners, b.owners);
    ASSERT_EQ(a.spareFrames.size(), b.spareFrames.size());
    for (std::size_t i = 0; i < a.spareFrames.size(); ++i) expectEqual(a.spareFrames[i], b.spareFrames[i]);
    EXPECT_EQ(a.rows, b.rows);
}

#if defined(SINEW_TEST_PUGIXML)

// The other parser writes a carriage return literally. Every reader must take that for a line end, so strings with
// carriage returns cannot be compared.
void dropCarriageReturns(gallery::Painting& painting)
{
    auto const drop = [](std::string& text) { text.erase(std::remove(text.begin(), text.end(), '\r'), text.end()); };
    drop(painting.title);
    for (std::string& owner : painting.owners) drop(owner);
}

// `text` after the other parser has read it and written it again.
std::string rewritten(std::string const& text, unsigned parsing, char const* indent, unsigned format)
{
    pugi::xml_document document;
    pugi::xml_parse_result const result = document.load_buffer(text.data(), text.size(), parsing);
    EXPECT_TRUE(result) << result.description() << "\n" << text;
    return test::writtenText(document, indent, format);
}

#endif

// Throws `failure` when it is read from and when it is written to.
template <typename Exception>
class ThrowingBuffer : public std::streambuf
{
public:
    explicit ThrowingBuffer(Exception failure) : failure_(std::move(failure)) {}

protected:
    int_type underflow() override { throw failure_; }
    int_type overflow(int_type) override { throw failure_; }
    std::streamsize xsputn(char const*, std::streamsize) override { throw failure_; }

private:
    Exception failure_;
};

// Describes its fields with the members of another class.
struct Misdescribed : Serializable
{
    smart_ptr<Field> describeFields(std::string const& name) override { return gallery::Work().describeFields(name); }
};

struct HostError
{
};

// An element with one attribute. Loading it records the number, or why there is none.
struct Measured : Serializable
{
    std::string text;
    double value = 0;
    std::string refusal;

    void save(OutTag& tag) override
    {
        tag.setAttr("v", text);
        tag.writeSingleTag();
    }
    void load(InTag& tag, smart_ptr<Field>) override
    {
        try {
            value = tag.getReal("v");
        } catch (Serializable::LoadFail const& failure) {
            std::string const message = failure.what();
            refusal = message.substr(message.rfind(": ") + 2);
        }
    }
};

struct Read
{
    double value;
    std::string refusal;
};

// What `InTag::getReal` makes of a text.
Read readReal(std::string const& text)
{
    Measured object;
    object.text = text;
    Measured loaded = parse<Measured>(textOf(object));
    return {loaded.value, loaded.refusal};
}

// Throws an exception of the host when it is saved and when it is loaded.
struct Throwing : Serializable
{
    void save(OutTag&) override { throw HostError(); }
    void load(InTag&, smart_ptr<Field>) override { throw HostError(); }
};

} // namespace

TEST(Document, WritesOneElementForEachField)
{
    gallery::Painting p;
    p.title = "Fish & <Chips>";
    p.year = 1907;
    p.sold = true;
    p.frame.width = 0.1;
    p.bids = {3, -5};
    p.rows = {{}, {7}};
    EXPECT_EQ(textOf(p, "painting"), R"(<?xml version="1.0" encoding="UTF-8"?>
<painting>
  <super>
    <title>Fish &amp; &lt;Chips&gt;</title>
    <year>1907</year>
  </super>
  <sold>1</sold>
  <shade>0</shade>
  <room>0</room>
  <inventory>0</inventory>
  <barcode>0</barcode>
  <weight>0</weight>
  <price>0</price>
  <frame>
    <width>0.1</width>
    <gilding>0</gilding>
  </frame>
  <bids>
    <bid>3</bid>
    <bid>-5</bid>
  </bids>
  <flags/>
  <shades/>
  <prices/>
  <owners/>
  <spareFrames/>
  <rows>
    <row/>
    <row>
      <row>7</row>
    </row>
  </rows>
</painting>
)");
}

TEST(Document, RoundTripsEveryTypeBitForBit)
{
    test::Random random(71);
    for (int trial = 0; trial < 300; ++trial) {
        SCOPED_TRACE(trial);
        gallery::Painting painting = gallery::randomPainting(random);
        std::string const text = textOf(painting);
        EXPECT_EQ(textOf(painting), text) << "saving twice gives the same bytes";
        gallery::Painting loaded = parse<gallery::Painting>(text);
        expectEqual(loaded, painting);
        EXPECT_EQ(textOf(loaded), text);
    }
}

TEST(Document, ExtremeNumbersRoundTrip)
{
    gallery::Painting p;
    using Double = std::numeric_limits<double>;
    p.prices = {Double::max(),      Double::lowest(),    Double::min(),       Double::denorm_min(),
                Double::infinity(), -Double::infinity(), Double::quiet_NaN(), -0.0,
                1.0 / 3.0,          9007199254740993.0};
    p.shades = {std::numeric_limits<float>::max(), std::numeric_limits<float>::denorm_min(), 0.1f};
    p.inventory = std::numeric_limits<long long>::min();
    p.barcode = std::numeric_limits<unsigned long long>::max();
    expectEqual(parse<gallery::Painting>(textOf(p)), p);
}

TEST(Document, IgnoresTheFormatAndLocaleOfItsStreams)
{
    gallery::Painting p;
    p.year = 12345678;
    p.price = 1234567.5;
    std::string const expected = textOf(p);
    std::ostringstream out;
    out << std::hex << std::showbase << std::setw(20) << std::setfill('*') << std::setprecision(2);
    sinew::writeDocument(out, p, "root");
    EXPECT_EQ(out.str(), expected);
}

#if defined(SINEW_TEST_PUGIXML)

TEST(Document, AnotherXmlParserReadsTheSameValues)
{
    test::Random random(72);
    for (int trial = 0; trial < 100; ++trial) {
        SCOPED_TRACE(trial);
        gallery::Painting painting = gallery::randomPainting(random);
        std::string const text = textOf(painting, "painting");
        pugi::xml_document document;
        ASSERT_TRUE(document.load_buffer(text.data(), text.size(), pugi::parse_full | pugi::parse_ws_pcdata));
        pugi::xml_node const root = document.child("painting");
        // Carriage returns are written as references, so neither parser changes any line end.
        EXPECT_EQ(root.child("super").child_value("title"), painting.title);
        EXPECT_EQ(root.child("super").child("year").text().as_int(), painting.year);
        EXPECT_EQ(root.child("bids").select_nodes("bid").size(), painting.bids.size());
        std::size_t i = 0;
        for (pugi::xml_node owner : root.child("owners").children("owner")) {
            EXPECT_EQ(owner.child_value(), painting.owners.at(i++));
        }
    }
}

TEST(Document, ReadsDocumentsThatAnotherParserHasRewritten)
{
    test::Random random(73);
    // Without this option the other parser drops strings that consist of white space.
    unsigned const parsing = pugi::parse_full | pugi::parse_ws_pcdata_single;
    for (int trial = 0; trial < 100; ++trial) {
        SCOPED_TRACE(trial);
        gallery::Painting painting = gallery::randomPainting(random);
        dropCarriageReturns(painting);
        std::string const text = textOf(painting);
        expectEqual(parse<gallery::Painting>(rewritten(text, parsing, "\t", pugi::format_default)), painting);
        expectEqual(parse<gallery::Painting>(rewritten(text, parsing, "", pugi::format_raw)), painting);
        expectEqual(parse<gallery::Painting>(rewritten(text, parsing, "      ", pugi::format_write_bom)), painting);
    }
}

#endif

TEST(Document, ReadsEveryXmlFormOfTheSameText)
{
    std::string const text = "\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8' standalone = \"yes\" ?>\r\n"
                             "<!-- a comment - with hyphens --><?tool do this?>\r\n"
                             "<anything one='1' two=\"&quot;2&quot;\"\r\n>\r\n"
                             "  <!-- in between -->\r\n"
                             "  <year> \r\n 19<!-- split -->07\t</year >\r\n"
                             "  <title>a&#65;&#x42;&#x1F3A8;<![CDATA[<&amp;>]]]]><![CDATA[>]]>&apos;\r\n\rz</title>\r\n"
                             "  <unknown deep=''><er>text</er><er/></unknown>\r\n"
                             "</anything\n>\r\n<!-- after --> \r\n<?tool that?>\n";
    gallery::Work const work = parse<gallery::Work>(text);
    EXPECT_EQ(work.year, 1907);
    EXPECT_EQ(work.title, "aAB\xF0\x9F\x8E\xA8<&amp;>]]>'\n\nz");
}

TEST(Document, CharacterReferencesBecomeTheShortestUtf8)
{
    struct Case
    {
        char const* reference;
        char const* bytes;
    };
    // The first and the last character of each length, and those around the ranges that XML excludes.
    Case const cases[] = {
        {"&#x9;", "\t"},
        {"&#x20;", " "},
        {"&#x7F;", "\x7F"},
        {"&#127;", "\x7F"},
        {"&#x80;", "\xC2\x80"},
        {"&#xBF;", "\xC2\xBF"},
        {"&#xC0;", "\xC3\x80"},
        {"&#xE9;", "\xC3\xA9"},
        {"&#x7FF;", "\xDF\xBF"},
        {"&#x800;", "\xE0\xA0\x80"},
        {"&#x0fff;", "\xE0\xBF\xBF"},
        {"&#x1000;", "\xE1\x80\x80"},
        {"&#8364;", "\xE2\x82\xAC"},
        {"&#xD7FF;", "\xED\x9F\xBF"},
        {"&#xE000;", "\xEE\x80\x80"},
        {"&#xFFFD;", "\xEF\xBF\xBD"},
        {"&#x10000;", "\xF0\x90\x80\x80"},
        {"&#x3FFFF;", "\xF0\xBF\xBF\xBF"},
        {"&#x40000;", "\xF1\x80\x80\x80"},
        {"&#x10FFFF;", "\xF4\x8F\xBF\xBF"},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.reference);
        std::string const reference = c.reference;
        EXPECT_EQ(parse<gallery::Work>("<a><title>x" + reference + "y</title></a>").title,
                  "x" + std::string(c.bytes) + "y");
        EXPECT_EQ(parse<gallery::Work>("<a text='" + reference + reference + "'><title>t</title></a>").title, "t");
    }
}

TEST(Document, OptionalPartsOfTheXmlDeclarationMayBeLeftOut)
{
    for (char const* const declaration :
         {"", "<?xml version='1.0'?>", "<?xml version=\"1.1\" ?>", "<?xml\tversion = '1.0'\nencoding='US-ASCII'?>",
          "<?xml version='1.0' encoding='utf-8' standalone='no'?>", "<?xml version='1.0' standalone='yes'?>"}) {
        EXPECT_EQ(refusal<gallery::Work>(std::string(declaration) + "<work/>"), "") << declaration;
    }
}

TEST(Document, AbsentFieldsKeepTheirValueAndTheLastOfRepeatedFieldsCounts)
{
    gallery::Painting p;
    p.year = 5;
    p.bids = {1, 2, 3};
    std::istringstream in("<p><sold>true</sold><bids><bid>9</bid></bids><sold>false</sold></p>");
    sinew::readDocument(in, p);
    EXPECT_EQ(p.year, 5);
    EXPECT_FALSE(p.sold);
    EXPECT_EQ(p.bids, std::vector<int>{9}) << "a sequence is replaced, not extended";
}

TEST(Document, MessagesStateLineAndColumn)
{
    EXPECT_EQ(refusal<gallery::Work>("<work>\n  <title>é</title> <year>19x7</year>\r\n</work>"),
              "line 2, column 20: <year>: not a number: \"19x7\"");
    EXPECT_EQ(refusal<gallery::Work>("\xEF\xBB\xBF<a>\r<b></a>"), "line 2, column 4: </a> closes <b>");
    EXPECT_EQ(refusal<gallery::Work>(""), "line 1, column 1: there is no root element");
}

TEST(Document, NumbersThatAreMalformedOrOutOfRangeAreRefused)
{
    auto const year = [](std::string const& text) {
        return refusal<gallery::Work>("<w><year>" + text + "</year></w>");
    };
    EXPECT_EQ(year("2147483647"), "");
    EXPECT_EQ(year("+12"), "");
    for (char const* const bad : {"2147483648", "1.5", "", " ", "0x10", "1 2", "+-1", "--1", "nan", "1e3", "١"}) {
        EXPECT_NE(year(bad), "") << bad;
    }
    auto const width = [](std::string const& text) {
        return refusal<gallery::Frame>("<f><width>" + text + "</width></f>");
    };
    for (char const* const good : {"1", "-1.5e-3", ".5", "5.", "1E5", "inf", "-nan", "+2"}) {
        EXPECT_EQ(width(good), "") << good;
    }
    for (char const* const bad : {"1,5", "1e999", "1e", "0x1p3", "1.2.3", "1 5", "", "infinite"}) {
        EXPECT_NE(width(bad), "") << bad;
    }
    EXPECT_NE(refusal<gallery::Painting>("<p><sold>yes</sold></p>"), "");
    EXPECT_NE(refusal<gallery::Painting>("<p><shade>256</shade></p>"), "");
    EXPECT_NE(refusal<gallery::Painting>("<p><barcode>-1</barcode></p>"), "");
}

TEST(Document, CharsAreSignedNumbersOnEveryPlatform)
{
    struct Letters : Serializable
    {
        std::vector<char> codes;
        smart_ptr<Field> describeFields(std::string const& name) override
        {
            ClassDesc desc;
            desc.add("codes", &Letters::codes);
            return new CompositeField(name, desc);
        }
    } letters;
    letters.codes = {'A', '\0', '\x7F', '\x80', '\xFF'};
    std::string const text = textOf(letters);
    for (char const* const number : {">65<", ">0<", ">127<", ">-128<", ">-1<"}) {
        EXPECT_NE(text.find(number), std::string::npos) << number;
    }
    EXPECT_EQ(parse<Letters>(text).codes, letters.codes);
    EXPECT_NE(refusal<Letters>("<l><codes><code>128</code></codes></l>"), "");
}

TEST(Document, ElementsThatDoNotFitTheFieldsAreRefused)
{
    EXPECT_NE(refusal<gallery::Painting>("<p><bids><bad>1</bad></bids></p>"), "");
    EXPECT_NE(refusal<gallery::Painting>("<p><bids>1</bids></p>"), "");
    EXPECT_NE(refusal<gallery::Painting>("<p><year><b/></year><super><year><b/></year></super></p>"), "");
    EXPECT_NE(refusal<gallery::Painting>("<p>text</p>"), "");
    EXPECT_NE(refusal<gallery::Painting>("<p><![CDATA[x]]></p>"), "");
    EXPECT_EQ(refusal<gallery::Painting>("<p><![CDATA[ \n]]></p>"), refusal<gallery::Painting>("<p> \n</p>"))
        << "blanks are no text";
    EXPECT_NE(refusal<gallery::Painting>("<p>&#88;</p>"), "");
}

TEST(Document, AnObjectWithoutFieldsIsOneTag)
{
    struct Empty : Serializable
    {
        smart_ptr<Field> describeFields(std::string const& name) override
        {
            return new CompositeField(name, ClassDesc());
        }
    } empty;
    std::string const text = textOf(empty);
    EXPECT_NE(text.find("<root/>"), std::string::npos) << text;
    EXPECT_NO_THROW(parse<Empty>(text));
}

TEST(Document, LongNamesAreShortenedBetweenCharacters)
{
    for (std::string const pad : {"", "x", "xx"}) {
        std::string name = "n" + pad;
        while (name.size() < 70) name += "\xE2\x82\xAC";
        std::string const text = "<p><" + name + "></q></p>";
        std::string const reason = refusal<gallery::Painting>(text);
        std::size_t const end = 60 - (60 - name.size() % 3) % 3; // 60 bytes at most
        EXPECT_NE(reason.find("<" + name.substr(0, end) + "...>"), std::string::npos) << reason;
    }
}

TEST(Document, TextThatXmlDoesNotAllowIsNotWritten)
{
    for (char const* const bad : {"\x01", "\x7F\x1F", "\xC3", "\xED\xA0\x80", "\xEF\xBF\xBE", "\xC0\xAF"}) {
        gallery::Work work;
        work.title = bad;
        EXPECT_THROW(textOf(work), std::invalid_argument) << bad;
    }
    gallery::Work work;
    work.title = std::string("a\0b", 3);
    EXPECT_THROW(textOf(work), std::invalid_argument);
    work.title = "\x7F\xC2\x80"; // control characters above U+0020 are allowed
    EXPECT_EQ(parse<gallery::Work>(textOf(work)).title, work.title);
    for (char const* const bad : {"", "a b", "1a", "-a", "a<", "é\xFF"}) {
        EXPECT_THROW(textOf(work, bad), std::invalid_argument) << bad;
    }
    EXPECT_EQ(parse<gallery::Work>(textOf(work, "é.-1")).title, work.title);
}

TEST(Document, BadRootNameWritesNothing)
{
    gallery::Work work;
    std::ostringstream out;
    EXPECT_THROW(sinew::writeDocument(out, work, "a b"), std::invalid_argument);
    EXPECT_EQ(out.str(), "");
}

TEST(Document, DocumentDeeperThanTheLimitIsWrittenButRefusedByTheReader)
{
    gallery::Branch root;
    for (int level = 1; level < sinew::kMaxNesting; level += 2) { // each twig adds <twigs><twig>
        gallery::Branch parent;
        parent.twigs.push_back(root);
        root = parent;
    }
    EXPECT_NE(refusal<gallery::Branch>(textOf(root)).find("nested more than 128 deep"), std::string::npos);
}

TEST(Document, ClassWithoutFieldsIsOneEmptyTag)
{
    Serializable object;
    EXPECT_EQ(textOf(object, "nothing"), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<nothing/>\n");
    std::istringstream in("<nothing><a>b</a>c</nothing>");
    sinew::readDocument(in, object);
}

TEST(Document, DescriptionOfAnotherClassIsABadCast)
{
    gallery::Frame frame;
    std::ostringstream out;
    OutTag tag(out, "frame");
    EXPECT_THROW(gallery::Work().describeFields("frame")->save(frame, tag), std::bad_cast);

    Misdescribed object;
    EXPECT_THROW(textOf(object), std::bad_cast);
    std::istringstream in("<work><year>1907</year></work>");
    EXPECT_THROW(sinew::readDocument(in, object), std::bad_cast);
}

TEST(Document, ExceptionsOfPersistentClassesPassThrough)
{
    Throwing object;
    EXPECT_THROW(textOf(object), HostError);
    std::istringstream in("<root/>");
    EXPECT_THROW(sinew::readDocument(in, object), HostError);
}

TEST(Document, WritingThrowsStreamFailuresOnlyIfTheStreamAsksForIt)
{
    gallery::Work work;
    ThrowingBuffer<HostError> buffer{HostError()};
    std::ostream out(&buffer);
    EXPECT_NO_THROW(sinew::writeDocument(out, work, "work"));
    EXPECT_TRUE(out.bad());

    struct Full : std::streambuf
    {
    } full;
    std::ostream throwing(&full);
    throwing.exceptions(std::ios::badbit);
    EXPECT_THROW(sinew::writeDocument(throwing, work, "work"), std::ios::failure);
}

TEST(Document, ReadingPassesExceptionsOfTheStreamBufferThroughExceptFailures)
{
    gallery::Work work;
    ThrowingBuffer<HostError> hostError{HostError()};
    std::istream first(&hostError);
    EXPECT_THROW(sinew::readDocument(first, work), HostError);

    ThrowingBuffer<std::ios::failure> failure{std::ios::failure("broken pipe")};
    std::istream second(&failure);
    EXPECT_THROW(sinew::readDocument(second, work), Serializable::LoadFail);
}

TEST(Document, UnreadableStreamsAreRefused)
{
    gallery::Work work;
    std::istringstream failed("<work/>");
    failed.setstate(std::ios::failbit);
    EXPECT_THROW(sinew::readDocument(failed, work), Serializable::LoadFail);
    std::istream none(nullptr);
    EXPECT_THROW(sinew::readDocument(none, work), Serializable::LoadFail);
    std::istringstream throwing("<work/>");
    throwing.exceptions(std::ios::failbit | std::ios::eofbit | std::ios::badbit);
    EXPECT_NO_THROW(sinew::readDocument(throwing, work)) << "the end of the stream is no failure";
}

TEST(Tags, BadTextLeavesTheTagAndTheStreamUnchanged)
{
    std::ostringstream out;
    OutTag tag(out, "a");
    tag.setAttr("v", "good");
    EXPECT_THROW(tag.setAttr("v", "\x01"), std::invalid_argument);
    EXPECT_THROW(tag.setAttr("1", "good"), std::invalid_argument);
    EXPECT_EQ(tag.getAttr("v"), "good");
    EXPECT_FALSE(tag.hasAttr("1"));
    tag.writeOpenTag(false);
    EXPECT_THROW(tag.writeText("good\xFF"), std::invalid_argument);
    EXPECT_EQ(out.str(), "<a v=\"good\">");
    EXPECT_THROW(OutTag(tag, "b c"), std::invalid_argument);
}

TEST(Tags, ContentIsReadOnce)
{
    struct Reader : Serializable
    {
        void load(InTag& tag, smart_ptr<Field>) override
        {
            EXPECT_EQ(tag.readText(), "text");
            EXPECT_EQ(tag.readText(), "");
            tag.readContent([](InTag&) { ADD_FAILURE(); });
        }
    } reader;
    std::istringstream in("<a>text</a>");
    sinew::readDocument(in, reader);
}

TEST(Tags, AttributesKeepTheirTextThroughEscapes)
{
    struct Attributed : Serializable
    {
        std::string text;
        double real = 0;
        void save(OutTag& tag) override
        {
            tag.setAttr("text", "replaced");
            tag.setAttr("real", real);
            tag.setAttr("text", text);
            tag.writeSingleTag();
        }
        void load(InTag& tag, smart_ptr<Field>) override
        {
            text = tag.getAttr("text");
            EXPECT_TRUE(tag.hasAttr("real"));
            EXPECT_FALSE(tag.hasAttr("other"));
            real = tag.getReal("real");
            std::istringstream in(tag.getAttr("real"));
            in.imbue(std::locale::classic());
            double again = 0;
            in >> again;
            tag.checkEndText(in);
            EXPECT_EQ(again, real);
        }
    } a, b;
    a.text = "<\"a\" & 'b'>\t\r\n \xE2\x82\xAC";
    a.real = 1234567.0;
    EXPECT_EQ(textOf(a),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<root text=\"&lt;&quot;a&quot; &amp; 'b'&gt;&#9;&#13;"
              "&#10; \xE2\x82\xAC\" real=\"1.23457e+06\"/>\n");
    std::istringstream in(textOf(a));
    sinew::readDocument(in, b);
    EXPECT_EQ(b.text, a.text);
    EXPECT_EQ(b.real, 1234570.0) << "six digits, as in a default stream";

    auto const load = [&](char const* text) {
        std::istringstream document(text);
        sinew::readDocument(document, b);
    };
    load("<a text='one\r\ntwo\tthree' real='1'/>");
    EXPECT_EQ(b.text, "one two three");
    EXPECT_THROW(load("<a text='' real='1x'/>"), Serializable::LoadFail);
    EXPECT_THROW(load("<a text='' real=''/>"), Serializable::LoadFail);
    EXPECT_THROW(load("<a text='' real='x'/>"), Serializable::LoadFail);
    EXPECT_THROW(load("<a text='' real='nan'/>"), Serializable::LoadFail);
    EXPECT_THROW(load("<a text='' real='1e999'/>"), Serializable::LoadFail);
    EXPECT_THROW(load("<a real='1'/>"), Serializable::LoadFail) << "a missing attribute";
    EXPECT_NO_THROW(load("<a text='' real=' 1 '/>"));
}

TEST(Tags, TheEndOfAStreamedTextIsChecked)
{
    struct Streamed : Serializable
    {
        std::string text;
        void load(InTag& tag, smart_ptr<Field>) override
        {
            std::istringstream in(text);
            in.imbue(std::locale::classic());
            double number = 0;
            in >> number;
            tag.checkEndText(in);
        }
    } streamed;
    auto const load = [&](char const* text) {
        streamed.text = text;
        std::istringstream document("<a/>");
        sinew::readDocument(document, streamed);
    };
    EXPECT_NO_THROW(load("1.5"));
    EXPECT_NO_THROW(load("1.5 \n\t"));
    EXPECT_THROW(load("1.5 x"), Serializable::LoadFail);
    EXPECT_THROW(load("1.5x"), Serializable::LoadFail);
    EXPECT_THROW(load("x"), Serializable::LoadFail);
    EXPECT_THROW(load(""), Serializable::LoadFail);
}

TEST(Tags, RealAttributesAreFormattedAsByADefaultStream)
{
    test::Random random(74);
    for (int trial = 0; trial < 20000; ++trial) {
        double const value = random.hostile();
        std::ostringstream text;
        text.imbue(std::locale::classic());
        text << value;
        std::ostringstream out;
        OutTag tag(out, "a");
        tag.setAttr("v", value);
        ASSERT_EQ(tag.getAttr("v"), text.str());
    }
}

TEST(Tags, RealAttributesAreReadAlikeOnEveryPlatform)
{
    for (char const* const text :
         {"5e-324", "-2.2250738585072011e-308", " \t+1.5\r\n", ".5", "5.", "1E+05", "-0", "1e-999"}) {
        EXPECT_EQ(readReal(text).refusal, "") << text;
    }
    EXPECT_EQ(readReal("5e-324").value, std::numeric_limits<double>::denorm_min());
    EXPECT_EQ(readReal("1e-999").value, 0.0);
    for (char const* const text : {"", " ", "nan", "-inf", "infinity", "e5", "1e", "1e+", ".", "1e999", "-1e999"}) {
        EXPECT_EQ(readReal(text).refusal, "not a number") << text;
    }
    for (char const* const text : {"0x1", "1,5", "1.2.3", "1 2", "1f", "1e5.5"}) {
        EXPECT_EQ(readReal(text).refusal, "characters left over after a number") << text;
    }
}

TEST(Tags, EveryFiniteRealAttributeIsReadBack)
{
    test::Random random(75);
    for (int trial = 0; trial < 2000; ++trial) {
        double const value = random.hostile();
        if (!std::isfinite(value)) continue;
        std::ostringstream out;
        OutTag tag(out, "a");
        tag.setAttr("v", value);
        Read const read = readReal(tag.getAttr("v"));
        EXPECT_EQ(read.refusal, "");
        EXPECT_NEAR(read.value, value, 1e-5 * std::fabs(value) + std::numeric_limits<double>::denorm_min());
    }
}

#if defined(__GLIBCXX__) && defined(__GLIBC__)
TEST(Tags, RealAttributesAreReadAsByAStreamOfTheReferencePlatform)
{
    test::Random random(76);
    char const characters[] = "0123456789..eE+-+-xXnaif \t,_";
    for (int trial = 0; trial < 50'000; ++trial) {
        std::string text;
        for (int i = random.below(9); i > 0; --i) text += characters[random.below(sizeof characters - 1)];
        std::istringstream in(text);
        in.imbue(std::locale::classic());
        double value = 0;
        in >> value;
        std::string refusal = in.fail() ? "not a number" : "";
        if (refusal.empty() && !in.eof()) in >> std::ws;
        if (refusal.empty() && !in.eof()) refusal = "characters left over after a number";
        Read const read = readReal(text);
        ASSERT_EQ(read.refusal, refusal) << text;
        ASSERT_TRUE(!refusal.empty() || test::sameBits(read.value, value)) << text;
    }
}
#endif

TEST(Tags, MissingAttributeOfATagBeingWrittenIsALoadFail)
{
    std::ostringstream out;
    OutTag const tag(out, "a");
    EXPECT_THROW(tag.getAttr("v"), Serializable::LoadFail);
}

TEST(GetSingularName, FollowsItsRules)
{
    for (auto const& [plural, singular] :
         std::initializer_list<std::pair<char const*, char const*>>{{"params", "param"},
                                                                    {"values", "value"},
                                                                    {"normaldots", "normaldot"},
                                                                    {"facets", "facet"},
                                                                    {"bodies", "body"},
                                                                    {"boxes", "box"},
                                                                    {"meshes", "mesh"},
                                                                    {"matches", "match"},
                                                                    {"classes", "class"},
                                                                    {"data", "data"},
                                                                    {"mass", "mass"},
                                                                    {"s", "s"},
                                                                    {"es", "e"},
                                                                    {"ies", "ie"},
                                                                    {"", ""},
                                                                    {"ses", "se"}}) {
        EXPECT_EQ(getSingularName(plural), singular) << plural;
    }
}
