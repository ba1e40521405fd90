#include <tool/io/skeleton.h>

#include <cmath>
#include <map>

#include <sinew/core/vector_geometry.h>

#include <tool/io/files.h>
#include <tool/io/number_text.h>
#include <tool/support/user_error.h>

namespace tool {
namespace {

class TgfParser
{
public:
    explicit TgfParser(std::string const& file) : file_(file) {}

    void line(std::string_view text)
    {
        ++lineNumber_;
        std::size_t const start = text.find_first_not_of(" \t\r");
        if (start == std::string_view::npos) return;
        if (text[start] == '#') {
            inBones_ = true;
        } else if (inBones_) {
            bone(text);
        } else {
            joint(text);
        }
    }

    Skeleton finish()
    {
        if (skeleton_.bones.empty()) {
            throw UserError(file_, "no bones in this file",
                            "After the joints there must be a line with # and then one line for each bone");
        }
        return std::move(skeleton_);
    }

private:
    [[noreturn]] void fail(std::string const& what, std::string const& advice) const
    {
        throw UserError(file_, lineNumber_, what, advice);
    }

    void joint(std::string_view rest)
    {
        char const* const form = "A joint is a line \"number x y z\"";
        long number = 0;
        if (!parseLong(nextWord(rest), number)) fail("no joint number at the start of the line", form);
        double coordinates[3];
        for (double& coordinate : coordinates) {
            std::string_view const word = nextWord(rest);
            if (!parseDouble(word, coordinate)) fail("\"" + std::string(word) + "\" is not a coordinate", form);
            if (!std::isfinite(coordinate)) fail("a coordinate is not finite (" + std::string(word) + ")", form);
        }
        int const index = static_cast<int>(skeleton_.joints.size());
        if (!indexOfNumber_.emplace(number, index).second) {
            fail("joint " + std::to_string(number) + " was given before", "Give each joint a different number");
        }
        skeleton_.joints.emplace_back(coordinates[0], coordinates[1], coordinates[2]);
        std::string_view const word = nextWord(rest);
        double radius = 0;
        // Some programs write more numbers after the coordinates. Only a word that is not a number is a name.
        bool const named = !word.empty() && !parseDouble(word, radius);
        skeleton_.jointNames.push_back(named ? std::string(word) : "joint " + std::to_string(number));
        radius = 0;
        std::string_view const next = named ? nextWord(rest) : std::string_view();
        if (!next.empty() && !(parseDouble(next, radius) && radius > 0 && std::isfinite(radius))) {
            fail("\"" + std::string(next) + "\" is not a radius",
                 "After a joint's name there may be a positive number");
        }
        skeleton_.radii.push_back(radius);
    }

    void bone(std::string_view rest)
    {
        char const* const form = "A bone is a line \"joint joint\" with the numbers of two different joints above";
        std::array<int, 2> ends{};
        for (int& end : ends) {
            std::string_view const word = nextWord(rest);
            long number = 0;
            if (!parseLong(word, number)) fail("\"" + std::string(word) + "\" is not a joint number", form);
            auto const found = indexOfNumber_.find(number);
            if (found == indexOfNumber_.end()) fail("there is no joint " + std::to_string(number), form);
            end = found->second;
        }
        if (ends[0] == ends[1]) fail("a bone from a joint to itself", form);
        skeleton_.bones.push_back(ends);
    }

    std::string file_;
    std::size_t lineNumber_ = 0;
    bool inBones_ = false;
    std::map<long, int> indexOfNumber_;
    Skeleton skeleton_;
};

} // namespace

std::string Skeleton::boneName(std::size_t bone) const
{
    auto const& [from, to] = bones[bone];
    return jointNames[asIndex(from)] + " - " + jointNames[asIndex(to)];
}

double distanceToBone(Skeleton const& skeleton, std::size_t bone, Vector3 const& p)
{
    return std::sqrt(distSqToLineSegment(p, skeleton.startOf(bone), skeleton.endOf(bone), nullptr));
}

Skeleton parseTgf(std::string const& text, std::string const& file)
{
    TgfParser parser(file);
    forEachLine(text, [&](std::string_view line) { parser.line(line); });
    return parser.finish();
}

Skeleton readTgf(std::string const& path)
{
    return parseTgf(readFile(path), path);
}

} // namespace tool
