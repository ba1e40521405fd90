#include <tool/report/report.h>

#include <cmath>

#include <tool/io/files.h>
#include <tool/report/html.h>

namespace tool {
namespace {

std::string inFolder(std::string const& folder, std::string const& name)
{
    return textOf(pathOf(folder) / name);
}

char const* className(Width width)
{
    return width == Width::full ? "full" : width == Width::half ? "half" : "third";
}

std::string row(std::string const& cell, std::vector<std::string> const& words)
{
    std::string html = "<tr>";
    for (std::string const& word : words) html += "<" + cell + ">" + escapeHtml(word) + "</" + cell + ">";
    return html + "</tr>\n";
}

// Groups of pictures are grids; groups of checks and of files are lists.
char const* tagOfGroup(std::string const& kind)
{
    return kind == "pictures" ? "div" : "ul";
}

std::string endOfGroup(std::string const& kind)
{
    return kind.empty() ? "" : std::string("</") + tagOfGroup(kind) + ">\n";
}

} // namespace

void Section::closeGroup()
{
    body_ += endOfGroup(group_);
    group_.clear();
}

// Adds an item to the open group. If that is of another kind, closes it and opens a new one.
void Section::inGroup(std::string const& kind, std::string const& html)
{
    if (group_ != kind) {
        closeGroup();
        body_ += std::string("<") + tagOfGroup(kind) + " class=\"" + kind + "\">\n";
        group_ = kind;
    }
    body_ += html;
}

void Section::text(std::string const& words)
{
    closeGroup();
    body_ += "<p>" + escapeHtml(words) + "</p>\n";
}

void Section::picture(std::string const& file, Canvas const& canvas, std::string const& caption, Width width)
{
    picture(file, canvas.png(), canvas.pixels(canvas.width()), canvas.pixels(canvas.height()), caption, width);
}

void Section::picture(std::string const& file, std::string const& pngBytes, int pixelWidth, int pixelHeight,
                      std::string const& caption, Width width)
{
    writeFile(inFolder(folder_, file), pngBytes);
    std::string const words = escapeHtml(caption);
    inGroup("pictures", std::string("<figure class=\"") + className(width) + "\"><img alt=\"" + words + "\" width=\"" +
                            std::to_string(pixelWidth) + "\" height=\"" + std::to_string(pixelHeight) +
                            "\" src=\"data:image/png;base64," + base64(pngBytes) + "\"><figcaption>" + words +
                            "</figcaption></figure>\n");
}

void Section::numbers(std::string const& title, std::vector<std::pair<std::string, std::string>> const& rows)
{
    std::vector<std::vector<std::string>> cells;
    for (auto const& [what, value] : rows) cells.push_back({what, value});
    table(title, {}, cells);
}

void Section::table(std::string const& title, std::vector<std::string> const& headings,
                    std::vector<std::vector<std::string>> const& rows)
{
    closeGroup();
    body_ += "<h3>" + escapeHtml(title) + "</h3>\n<div class=\"scroll\"><table>\n";
    if (!headings.empty()) body_ += row("th", headings);
    for (std::vector<std::string> const& words : rows) body_ += row("td", words);
    body_ += "</table></div>\n";
}

void Section::check(bool holds, std::string const& claim, std::string const& detail)
{
    if (!holds) failed_.push_back(claim + " (" + detail + ")");
    inGroup("checks", std::string(holds ? "<li>" : "<li class=\"failed\">") + escapeHtml(claim) +
                          " <span class=\"detail\">" + escapeHtml(detail) + "</span></li>\n");
}

void Section::file(std::string const& name, std::string const& bytes, std::string const& description)
{
    writeFile(inFolder(folder_, name), bytes);
    std::string const safe = escapeHtml(name);
    inGroup("files", "<li><a href=\"" + safe + "\">" + safe + "</a> <span class=\"detail\">" + escapeHtml(description) +
                         "</span></li>\n");
}

std::string Section::html(int index) const
{
    return "<section id=\"s" + std::to_string(index) + "\">\n<h2>" + escapeHtml(title_) + "</h2>\n" + body_ +
           endOfGroup(group_) + "</section>\n";
}

std::string Report::write(std::string const& footer) const
{
    std::string links;
    std::string sections;
    int index = 0;
    for (Section const& section : sections_) {
        links += "<a href=\"#s" + std::to_string(index) + "\">" + escapeHtml(section.title()) + "</a>\n";
        sections += section.html(index++);
    }
    std::string const path = inFolder(folder_, "index.html");
    writeFile(path, "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                    "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
                        escapeHtml(title_) + "</title>\n<style>" + kPageStyle +
                        "</style>\n</head>\n<body>\n<header><h1>" + escapeHtml(title_) + "</h1>\n<p>" +
                        escapeHtml(subtitle_) + "</p>\n<nav>\n" + links + "</nav></header>\n<main>\n" + sections +
                        "</main>\n<footer>" + escapeHtml(footer) + "</footer>\n</body>\n</html>\n");
    return path;
}

std::vector<std::string> Report::failedClaims() const
{
    std::vector<std::string> all;
    for (Section const& section : sections_) {
        for (std::string const& claim : section.failedClaims()) all.push_back(section.title() + ": " + claim);
    }
    return all;
}

} // namespace tool
