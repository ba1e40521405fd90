#pragma once

/// The page that the tour leaves behind: `index.html` with every picture inside it, so that the one file can be sent to
/// anyone; the pictures also lie beside it as files.

#include <deque>
#include <string>
#include <utility>
#include <vector>

#include <tool/draw/canvas.h>

namespace tool {

/// How much of the page's width a picture takes.
enum class Width
{
    full,
    half,
    third
};

/// One section of the page. What is added appears in the order in which it was added; pictures narrower than the page
/// share a row with their neighbours. All words are plain text: markup in them is escaped.
class Section
{
public:
    Section(std::string folder, std::string title) : folder_(std::move(folder)), title_(std::move(title)) {}

    /// A paragraph.
    void text(std::string const& words);

    /// A picture with a caption that a stranger understands. `file` is its name in the output folder, "islands.png".
    void picture(std::string const& file, Canvas const& canvas, std::string const& caption, Width width = Width::full);
    /// The same for bytes that are encoded already (an animated PNG, say), `pixelWidth` x `pixelHeight` large.
    void picture(std::string const& file, std::string const& pngBytes, int pixelWidth, int pixelHeight,
                 std::string const& caption, Width width = Width::full);

    /// A small table: what it is and how much.
    void numbers(std::string const& title, std::vector<std::pair<std::string, std::string>> const& rows);
    /// A table with a heading for every column.
    void table(std::string const& title, std::vector<std::string> const& headings,
               std::vector<std::vector<std::string>> const& rows);

    /// A claim that was tested while the tour ran. A claim that does not hold shows in red and makes the program end
    /// with a non-zero status. `detail` gives the measured number.
    void check(bool holds, std::string const& claim, std::string const& detail);

    /// Writes a file into the output folder and lists it.
    void file(std::string const& name, std::string const& bytes, std::string const& description);

    std::string const& title() const { return title_; }
    std::vector<std::string> const& failedClaims() const { return failed_; }
    std::string html(int index) const;

private:
    void closeGroup();
    void inGroup(std::string const& tag, std::string const& html);

    std::string folder_;
    std::string title_;
    std::string body_;
    std::string group_; ///< what kind of group is open in `body_` (pictures, checks), or empty
    std::vector<std::string> failed_;
};

class Report
{
public:
    /// @param folder  where everything is written; it must exist.
    Report(std::string folder, std::string title, std::string subtitle)
        : folder_(std::move(folder)), title_(std::move(title)), subtitle_(std::move(subtitle))
    {
    }

    /// A new section at the end of the page. The reference stays valid.
    Section& add(std::string const& title) { return sections_.emplace_back(folder_, title); }

    /// Writes `index.html` and returns its path.
    std::string write(std::string const& footer) const;

    std::string const& folder() const { return folder_; }
    std::vector<std::string> failedClaims() const;

private:
    std::string folder_;
    std::string title_;
    std::string subtitle_;
    std::deque<Section> sections_;
};

} // namespace tool
