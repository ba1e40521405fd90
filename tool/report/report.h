#pragma once

/// The page that the tour writes: `index.html`, with all pictures embedded, so that the one file can be sent to others.
/// The pictures are also written as files beside it.

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

/// One section of the page. Its items appear in the order in which they are added. Consecutive pictures that are
/// narrower than the page share a row. All words are text without markup; HTML in them is escaped.
class Section
{
public:
    Section(std::string folder, std::string title) : folder_(std::move(folder)), title_(std::move(title)) {}

    /// A paragraph.
    void text(std::string const& words);

    /// A picture, and a caption for readers who do not know the library.
    /// @param file  its name in the output folder, e.g. "islands.png".
    void picture(std::string const& file, Canvas const& canvas, std::string const& caption, Width width = Width::full);
    /// A picture that is encoded already, such as an animated PNG.
    void picture(std::string const& file, std::string const& pngBytes, int pixelWidth, int pixelHeight,
                 std::string const& caption, Width width = Width::full);

    /// A table of two columns: the names of quantities, and their values.
    void numbers(std::string const& title, std::vector<std::pair<std::string, std::string>> const& rows);
    /// A table with a heading for every column.
    void table(std::string const& title, std::vector<std::string> const& headings,
               std::vector<std::vector<std::string>> const& rows);

    /// A claim that the tour has tested. If it does not hold, it is shown in red, and the program ends with a non-zero
    /// status.
    /// @param detail  the measured number.
    void check(bool holds, std::string const& claim, std::string const& detail);

    /// Writes a file into the output folder and lists it.
    void file(std::string const& name, std::string const& bytes, std::string const& description);

    std::string const& title() const { return title_; }
    std::vector<std::string> const& failedClaims() const { return failed_; }
    std::string html(int index) const;

private:
    void closeGroup();
    void inGroup(std::string const& kind, std::string const& html);

    std::string folder_;
    std::string title_;
    std::string body_;
    std::string group_; ///< the kind of the open group in `body_`: pictures, checks or files; empty if none
    std::vector<std::string> failed_;
};

/// The page and its sections.
class Report
{
public:
    /// @param folder  the folder for the page and the pictures; it must exist.
    Report(std::string folder, std::string title, std::string subtitle)
        : folder_(std::move(folder)), title_(std::move(title)), subtitle_(std::move(subtitle))
    {
    }

    /// Adds a section at the end of the page. The reference stays valid as long as the report.
    Section& add(std::string const& title) { return sections_.emplace_back(folder_, title); }

    /// Writes `index.html` and returns its path. Throws `UserError` if it cannot be written.
    std::string write(std::string const& footer) const;

    std::string const& folder() const { return folder_; }
    /// The claims of all sections that do not hold.
    std::vector<std::string> failedClaims() const;

private:
    std::string folder_;
    std::string title_;
    std::string subtitle_;
    std::deque<Section> sections_;
};

} // namespace tool
