#include <selftest/report.h>

#include <algorithm>
#include <iomanip>
#include <stdexcept>
#include <string_view>

namespace selftest {

namespace {

enum class Verdict
{
    equal,
    differs,
    notInTable,
    systemMath, // depends on the math library of this system
};

char const* text(Verdict verdict)
{
    switch (verdict) {
    case Verdict::equal:
        return "ok";
    case Verdict::differs:
        return "differs";
    case Verdict::notInTable:
        return "not in the table";
    case Verdict::systemMath:
        return "system math";
    }
    return "";
}

Expected const* find(std::vector<Expected> const& expected, std::string_view name)
{
    auto const found =
        std::find_if(expected.begin(), expected.end(), [name](Expected const& entry) { return entry.name == name; });
    return found == expected.end() ? nullptr : &*found;
}

bool isEqual(Record const& result, Expected const& entry)
{
    return entry.count == result.count() && entry.hash == result.hash();
}

Verdict judge(Group const& group, Record const& result, Expected const* entry, MathBuild math)
{
    if (!entry) return Verdict::notInTable;
    if (entry->count != result.count()) return Verdict::differs;
    if (group.math == MathLibrary::used && math == MathBuild::system) return Verdict::systemMath;
    return isEqual(result, *entry) ? Verdict::equal : Verdict::differs;
}

// Sixteen hexadecimal digits, whatever the format flags of the stream are.
std::string hexadecimal(std::uint64_t number)
{
    constexpr char const* kDigits = "0123456789abcdef";
    std::string digits;
    for (int shift = 60; shift >= 0; shift -= 4) digits += kDigits[number >> shift & 0xf];
    return digits;
}

void printLine(Group const& group, Record const& result, Verdict verdict, std::ostream& out)
{
    constexpr int kNameWidth = 36;
    constexpr int kCountWidth = 8;
    out << std::left << std::setw(kNameWidth) << group.name << std::right << std::setw(kCountWidth)
        << std::to_string(result.count()) << "  " << hexadecimal(result.hash()) << "  " << text(verdict) << std::endl;
}

bool isSelected(Group const& group, std::string_view name)
{
    return group.name.substr(0, name.size()) == name &&
           (group.name.size() == name.size() || group.name[name.size()] == '.');
}

} // namespace

std::vector<Group> selectGroups(std::vector<Group> const& groups, std::vector<std::string> const& names)
{
    if (names.empty()) return groups;
    for (std::string const& name : names) {
        if (std::none_of(groups.begin(), groups.end(), [&](Group const& group) { return isSelected(group, name); }))
            throw std::invalid_argument("there is no group \"" + name + "\"");
    }
    std::vector<Group> selected;
    for (Group const& group : groups) {
        if (std::any_of(names.begin(), names.end(), [&](std::string const& name) { return isSelected(group, name); }))
            selected.push_back(group);
    }
    return selected;
}

int compare(std::vector<Group> const& groups, std::vector<Expected> const& expected, MathBuild math, std::ostream& out)
{
    int bad = 0;
    int dependent = 0;
    int unlike = 0;
    for (Group const& group : groups) {
        Record const result = run(group);
        Expected const* const entry = find(expected, group.name);
        Verdict const verdict = judge(group, result, entry, math);
        printLine(group, result, verdict, out);
        bad += verdict == Verdict::differs || verdict == Verdict::notInTable;
        dependent += verdict == Verdict::systemMath;
        unlike += verdict == Verdict::systemMath && !isEqual(result, *entry);
    }
    out << "groups: " << groups.size() << "; different from the table: " << bad;
    if (dependent > 0) {
        out << "; with the math library of the system: " << dependent
            << ", of which unlike a portable build: " << unlike;
    }
    out << '\n' << buildFacts() << std::endl;
    return bad > 0 ? 1 : 0;
}

int runSelftest(std::vector<std::string> const& names, std::ostream& out)
{
    return compare(selectGroups(allGroups(), names), expectedResults(), mathBuild(), out);
}

void printTable(std::vector<Group> const& groups, std::vector<Expected> const& expected, MathBuild math,
                std::ostream& out)
{
    out << "// Written by `sinew_selftest --table`; do not edit. A line changes only with an intended change of "
           "results, "
           "which\n// CHANGELOG.md describes.\n\n#include <selftest/expected.h>\n\nnamespace selftest {\n\n"
           "// clang-format off\nstd::vector<Expected> expectedResults()\n{\n    return {\n";
    for (Group const& group : groups) {
        Record const result = run(group);
        Expected const* const known = find(expected, group.name);
        bool const isNew = group.math == MathLibrary::unused || math == MathBuild::portable;
        out << "        {\"" << group.name << "\", " << result.count() << ", 0x"
            << hexadecimal(isNew   ? result.hash()
                           : known ? known->hash
                                   : 0)
            << "}, // " << group.unit << (group.math == MathLibrary::used ? "; portable math library" : "") << '\n';
    }
    out << "    };\n}\n// clang-format on\n\n} // namespace selftest\n";
}

} // namespace selftest
