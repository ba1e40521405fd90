#include <tool/report/report.h>

#include <gtest/gtest.h>

#include <tool/io/files.h>
#include <tool/report/html.h>

#include "scratch_folder.h"

namespace {

TEST(Base64, EncodesEveryRemainder)
{
    // The test vectors of RFC 4648, section 10.
    EXPECT_EQ(tool::base64(""), "");
    EXPECT_EQ(tool::base64("f"), "Zg==");
    EXPECT_EQ(tool::base64("fo"), "Zm8=");
    EXPECT_EQ(tool::base64("foo"), "Zm9v");
    EXPECT_EQ(tool::base64("foobar"), "Zm9vYmFy");
    EXPECT_EQ(tool::base64("\xff\xfe"), "//4=");
}

TEST(Report, EscapesTextFromUsers)
{
    test::ScratchFolder const folder;
    tool::Report report(folder / "", "T", "S");
    tool::Section& section = report.add("<script>");
    section.text("a < b & \"c\"");
    std::string const page = tool::readFile(report.write("end"));
    EXPECT_EQ(page.find("<script>"), std::string::npos);
    EXPECT_NE(page.find("a &lt; b &amp; &quot;c&quot;"), std::string::npos);
}

TEST(Report, CollectsTheClaimsThatFail)
{
    test::ScratchFolder const folder;
    tool::Report report(folder / "", "T", "S");
    tool::Section& section = report.add("First");
    section.check(true, "fine", "1");
    section.check(false, "broken", "2 of 3");
    EXPECT_EQ(report.failedClaims(), (std::vector<std::string>{"First: broken (2 of 3)"}));
}

TEST(Report, ClosesEveryElement)
{
    test::ScratchFolder const folder;
    tool::Report report(folder / "", "T", "S");
    tool::Section& section = report.add("Mixed");
    section.check(true, "a", "");
    section.file("x.txt", "x", "a file");
    section.picture("p.png", tool::Canvas(4, 4), "a picture");
    section.table("t", {"h"}, {{"v"}});
    section.check(true, "b", "");
    std::string const page = tool::readFile(report.write("end"));
    auto const count = [&](std::string const& word) {
        int n = 0;
        for (std::size_t at = page.find(word); at != std::string::npos; at = page.find(word, at + 1)) ++n;
        return n;
    };
    for (std::string const tag : {"ul", "li", "div", "figure", "section", "table", "tr", "td", "main", "body"}) {
        EXPECT_EQ(count("<" + tag + " ") + count("<" + tag + ">"), count("</" + tag + ">")) << tag;
    }
    EXPECT_EQ(tool::readFile(folder / "x.txt"), "x");
}

} // namespace
