// Untrusted documents: whatever they contain, reading ends with an object or with LoadFail and needs little memory and
// little stack.

#include <sinew/framework/serializable.h>

#include <functional>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gallery.h"
#include "support/failing_new.h"
#include "support/small_stack.h"

using gallery::parse;
using gallery::refusal;

namespace {

// The documented limit of what reading a text of `size` bytes may allocate.
constexpr long long allocationLimit(std::size_t size)
{
    return 64 * 1024 + 64 * static_cast<long long>(size);
}

std::string repeated(std::string const& piece, std::size_t count)
{
    std::string text;
    text.reserve(piece.size() * count);
    for (std::size_t i = 0; i < count; ++i) text += piece;
    return text;
}

std::string nested(std::size_t levels, std::string const& name = "a")
{
    return repeated("<" + name + ">", levels) + repeated("</" + name + ">", levels);
}

// Documents that are large in one way.
struct Family
{
    char const* name;
    std::function<std::string(std::size_t size)> make; // a document of about `size` bytes
};

std::vector<Family> families()
{
    auto const around = [](std::string const& open, std::string const& piece, std::string const& close) {
        return [=](std::size_t size) { return open + repeated(piece, size / piece.size()) + close; };
    };
    auto const numbered = [](std::string const& open, std::string const& before, std::string const& after,
                             std::string const& close) {
        return [=](std::size_t size) {
            std::string text = open;
            for (std::size_t i = 0; text.size() < size; ++i) text += before + std::to_string(i) + after;
            return text + close;
        };
    };
    return {
        {"deep nesting", [](std::size_t size) { return nested(size / 7); }},
        {"unclosed tags", around("", "<a>", "")},
        {"unknown siblings", around("<r>", "<x/>", "</r>")},
        {"sequence of empty strings", around("<r><owners>", "<owner/>", "</owners></r>")},
        {"sequence of empty objects", around("<r><spareFrames>", "<spareFrame/>", "</spareFrames></r>")},
        {"sequence of empty sequences", around("<r><rows>", "<row/>", "</rows></r>")},
        {"sequence of numbers", around("<r><bids>", "<bid>1</bid>", "</bids></r>")},
        {"attributes", numbered("<r ", "a", "='' ", "/>")},
        {"attributes with a long common prefix", numbered("<r ", repeated("a", 200), "='' ", "/>")},
        {"repeated attribute", around("<r ", "a='' ", "/>")},
        {"repeated fields", around("<r>", "<bids><bid>1</bid></bids>", "</r>")},
        {"one huge text", around("<r><super><title>", "x", "</title></super></r>")},
        {"one huge name", around("<", "n", "/>")},
        {"one huge attribute", around("<r a='", "&lt;", "'/>")},
        {"one huge comment", around("<r><!--", "- ", "--></r>")},
        {"one huge instruction", around("<?t ", "? ", "?><r/>")},
        {"references", around("<r><super><title>", "&#65;", "</title></super></r>")},
        {"unterminated reference", around("<r>&#", "0", "</r>")},
        {"comments in a text", around("<r><super><title>", "x<!---->", "</title></super></r>")},
        {"CDATA sections", around("<r><super><title>", "<![CDATA[]]]>", "</title></super></r>")},
        {"line ends", around("<r>", "\r\n", "</r>")},
        {"wide characters", around("<r><super><title>", "\xF0\x9F\x8E\xA8", "</title></super></r>")},
        {"one huge number", around("<r><super><year>", "1", "</year></super></r>")},
        {"numbers of white space", around("<r><super><year>", " ", "</year></super></r>")},
        {"open brackets", around("<r>", "]]", "</r>")},
        {"less-than signs", around("<r>", "<", "</r>")},
        {"blanks inside a tag", around("<r", " ", "/>")},
    };
}

// Runs `action` on a thread with 256 KiB of stack.
void onSmallStack(std::function<void()> const& action)
{
#if defined(__EMSCRIPTEN__)
    action(); // there are no threads, but the stack of a program has a fixed size, of 1 MiB in these tests
#else
    constexpr std::size_t kSmallStack = 256 * 1024;
    ASSERT_TRUE(test::runWithStack(kSmallStack, action));
#endif
}

// A tree of branches whose elements are nested `levels` deep: the root, then pairs of <twigs><twig>.
std::string branches(int levels)
{
    std::string const open = repeated("<twigs><twig>", static_cast<std::size_t>(levels - 1) / 2);
    std::string const close = repeated("</twig></twigs>", static_cast<std::size_t>(levels - 1) / 2);
    return levels % 2 ? "<root>" + open + close + "</root>" : "<root>" + open + "<twigs/>" + close + "</root>";
}

} // namespace

TEST(HostileText, MalformedDocumentsAreRefusedWithTheReason)
{
    struct Case
    {
        char const* text;
        char const* reason;
    };
    for (Case const& c : std::vector<Case>{
             {"", "there is no root element"},
             {" \n", "there is no root element"},
             {"<!-- only -->", "there is no root element"},
             {"text", "text before the root element"},
             {"text<a/>", "text before the root element"},
             {"<a/>text", "left over after the root element"},
             {"<a/><b/>", "left over after the root element"},
             {"<a/><?t x", "a processing instruction is not closed"},
             {"<a/><?xml version='1.0'?>", "an XML declaration may only open the document"},
             {"<a/><![CDATA[ ]]>", "left over after the root element"},
             {"<a", "not closed"},
             {"<a>", "the document ends inside an element"},
             {"<a><b></b>", "the document ends inside an element"},
             {"<a><b></a></b>", "</a> closes <b>"},
             {"</a>", "expected the name of an element"},
             {"< a/>", "expected the name of an element"},
             {"<1a/>", "expected the name of an element"},
             {"<-/>", "expected the name of an element"},
             {"<a></a b>", "expected \">\""},
             {"<a><</a>", "expected the name of an element"},
             {"<a/ >", "expected white space"},
             {"<a b/>", "expected \"=\""},
             {"<a b=/>", "expected a quote"},
             {"<a b=c/>", "expected a quote"},
             {"<a b='c/>", "not closed"},
             {"<a b='c\"/>", "not closed"},
             {"<a b='1'c='2'/>", "expected white space"},
             {"<a b='<'/>", "\"<\" is not allowed"},
             {"<a b='&'/>", "not a reference"},
             {"<a b='1' b='1'/>", "given twice"},
             {"<a>&nbsp;</a>", "not a reference"},
             {"<a>&lt</a>", "not a reference"},
             {"<a>& amp;</a>", "not a reference"},
             {"<a>&#;</a>", "not a reference"},
             {"<a>&#x;</a>", "not a reference"},
             {"<a>&#X41;</a>", "not a reference"},
             {"<a>&#4A;</a>", "not a reference"},
             {"<a>&#0;</a>", "not a reference"},
             {"<a>&#31;</a>", "not a reference"},
             {"<a>&#xD800;</a>", "not a reference"},
             {"<a>&#xFFFE;</a>", "not a reference"},
             {"<a>&#x110000;</a>", "not a reference"},
             {"<a>&#x100000041;</a>", "not a reference"},
             {"<a>]]></a>", "not allowed in text"},
             {"<a><!-- -- --></a>", "not allowed inside a comment"},
             {"<a><!-- ---></a>", "not allowed inside a comment"},
             {"<a><!--></a>", "not closed"},
             {"<a><!-</a>", "expected the name of an element"},
             {"<a><![CDATA[</a>", "a CDATA section is not closed"},
             {"<a><![cdata[]]></a>", "expected the name of an element"},
             {"<a><?t </a>", "not closed"},
             {"<a><? ?></a>", "expected the name of a processing instruction"},
             {"<a><?xml version='1.0'?></a>", "may only open the document"},
             {"<a><?XmL ?></a>", "may only open the document"},
             {" <?xml version='1.0'?><a/>", "may only open the document"},
             {"<?xml?><a/>", "may only open the document"},
             {"<?xml ?><a/>", "has no version"},
             {"<?xml version='2.0'?><a/>", "version \"2.0\""},
             {"<?xml version='1.'?><a/>", "version \"1.\""},
             {"<?xml version='1.0'encoding='utf-8'?><a/>", "expected white space"},
             {"<?xml encoding='utf-8'?><a/>", "unexpected part"},
             {"<?xml version='1.0' standalone='yes' encoding='utf-8'?><a/>", "unexpected part"},
             {"<?xml version='1.0' version='1.0'?><a/>", "unexpected part"},
             {"<?xml version='1.0' encoding='latin1'?><a/>", "encoding \"latin1\""},
             {"<?xml version='1.0' standalone='maybe'?><a/>", "standalone \"maybe\""},
             {"<?xml version='1.0'><a/>", "expected"},
             {"<!DOCTYPE a><a/>", "document type declarations are not accepted"},
             {"<a/><!DOCTYPE a>", "left over"},
             {"<a>\x01</a>", "XML does not allow"},
             {"<a>\x1F</a>", "XML does not allow"},
             {"<a>\xC0\x80</a>", "not valid UTF-8"},
             {"<a>\xE0\x80\xAF</a>", "not valid UTF-8"},
             {"<a>\xED\xA0\x80</a>", "not valid UTF-8"},
             {"<a>\xF4\x90\x80\x80</a>", "not valid UTF-8"},
             {"<a>\xEF\xBF\xBF</a>", "not valid UTF-8"},
             {"<a>\x80</a>", "not valid UTF-8"},
             {"<a>\xE2\x82", "not valid UTF-8"},
             {"\xFF\xFE<", "not UTF-8"},
             {"\xFE\xFF<", "not UTF-8"},
             {"\xEF\xBB<a/>", "not valid UTF-8"},
             {"\xEF\xBB\xBF\xEF\xBB\xBF<a/>", "text before the root element"},
         }) {
        std::string const message = refusal<gallery::Work>(c.text);
        EXPECT_NE(message.find(c.reason), std::string::npos) << c.text << "\n" << message;
        EXPECT_EQ(message.rfind("line ", 0), 0u) << "line and column come first: " << message;
    }
    EXPECT_NE(refusal<gallery::Work>(std::string("<a>\0</a>", 8)), "") << "a zero byte";
}

// Whatever the number of attributes is: many are compared by their hashes, which differ between standard libraries.
TEST(HostileText, TheFirstAttributeThatRepeatsAnEarlierOneIsReported)
{
    for (int const between : {0, 1, 11, 12, 40}) {
        SCOPED_TRACE(between);
        std::string attributes = "z='' y='' x='' ";
        for (int i = 0; i < between; ++i) attributes += "n" + std::to_string(i) + "='' ";
        std::string const orders[] = {"xyz", "xzy", "yxz", "yzx", "zxy", "zyx"};
        for (std::string const& order : orders) {
            std::string text = "<a " + attributes;
            for (char const name : order) text += std::string(1, name) + "='' ";
            std::string const message = refusal<gallery::Work>(text + "/>");
            EXPECT_NE(message.find("\"" + order.substr(0, 1) + "\" is given twice"), std::string::npos) << message;
        }
    }
}

TEST(HostileText, NestingIsLimited)
{
    auto const limit = static_cast<std::size_t>(sinew::kMaxNesting);
    EXPECT_EQ(refusal<gallery::Work>(nested(limit)), "");
    EXPECT_NE(refusal<gallery::Work>(nested(limit + 1)).find("nested more than 128 deep"), std::string::npos);
    EXPECT_EQ(refusal<gallery::Work>("<a>" + repeated(nested(limit - 1), 50) + "</a>"), "") << "siblings do not add up";
    EXPECT_EQ(refusal<gallery::Branch>(branches(sinew::kMaxNesting)), "") << "the limit holds for fields as well";
    EXPECT_NE(refusal<gallery::Branch>(branches(sinew::kMaxNesting + 1)), "");
}

TEST(HostileText, AMillionLevelsAreRefusedOnASmallStack)
{
    onSmallStack([] {
        EXPECT_NE(refusal<gallery::Work>(nested(1000000)), "");
        EXPECT_NE(refusal<gallery::Branch>(branches(1000001)), "");
        EXPECT_EQ(refusal<gallery::Branch>(branches(sinew::kMaxNesting)), "");
    });
}

// With a time that grows with the square of the size, this test would take hours.
TEST(HostileText, MegabytesOfEachFamilyAreReadOrRefused)
{
    for (Family const& family : families()) {
        SCOPED_TRACE(family.name);
        std::string const text = family.make(2000000);
        EXPECT_NO_THROW(refusal<gallery::Painting>(text));
    }
}

TEST(HostileText, AllocationsStayBelowTheDocumentedLimit)
{
    for (Family const& family : families()) {
        for (std::size_t const size : {100u, 3000u, 100000u, 1000000u}) {
            SCOPED_TRACE(std::string(family.name) + " " + std::to_string(size));
            std::string const text = family.make(size);
            std::istringstream in(text);
            gallery::Painting painting;
            long long const before = test::allocatedBytes();
            try {
                sinew::readDocument(in, painting);
            } catch (Serializable::LoadFail const&) {
            }
            long long const allocated = test::allocatedBytes() - before; // the sum of all requests, released or not
            EXPECT_LE(allocated, allocationLimit(text.size()));
        }
    }
}

TEST(HostileText, ReadingThrowsOnlyLoadFailAndBadAlloc)
{
    test::Random random(91);
    gallery::Painting painting = gallery::randomPainting(random);
    std::string const good = gallery::textOf(painting);
    for (std::string const& text : {good, good + "x", nested(200)}) {
        bool finished = false;
        for (long allowed = 0; !finished; ++allowed) {
            std::istringstream in(text);
            gallery::Painting loaded;
            try {
                test::FailingNew const failing(allowed);
                sinew::readDocument(in, loaded);
                finished = true;
            } catch (std::bad_alloc const&) {
            } catch (Serializable::LoadFail const&) {
                finished = text != good;
            }
        }
    }
}

TEST(HostileText, RandomlyDamagedDocumentsAreReadOrRefused)
{
    test::Random random(92);
    gallery::Painting painting = gallery::randomPainting(random);
    std::string const good = gallery::textOf(painting);
    for (int trial = 0; trial < 20000; ++trial) {
        std::string text = good;
        for (int n = 1 + random.below(4); n > 0; --n) {
            auto const at = static_cast<std::size_t>(random.below(static_cast<int>(text.size())));
            switch (random.below(4)) {
            case 0:
                text[at] = static_cast<char>(random.bits());
                break;
            case 1:
                text.erase(at, static_cast<std::size_t>(random.below(20)));
                break;
            case 2:
                text.insert(at, text, static_cast<std::size_t>(random.below(static_cast<int>(text.size()))), 9);
                break;
            default:
                text[at] = "<>&'\"/!?]-"[random.below(10)];
                break;
            }
            if (text.empty()) break;
        }
        ASSERT_NO_THROW(refusal<gallery::Painting>(text)) << text;
    }
}

TEST(HostileText, EveryTruncatedPrefixIsRefused)
{
    test::Random random(93);
    gallery::Painting painting = gallery::randomPainting(random);
    std::string const good = gallery::textOf(painting);
    for (std::size_t length = 0; length + 1 < good.size(); ++length) {
        ASSERT_NE(refusal<gallery::Painting>(good.substr(0, length)), "") << length;
    }
}

TEST(HostileText, MessagesStayShort)
{
    EXPECT_LT(refusal<gallery::Work>("<" + repeated("n", 100000) + ">").size(), 200u);
    EXPECT_LT(refusal<gallery::Work>("<a><year>" + repeated("x", 100000) + "</year></a>").size(), 200u);
    EXPECT_LT(refusal<gallery::Work>("<a></" + repeated("é", 100000) + ">").size(), 200u);
}
