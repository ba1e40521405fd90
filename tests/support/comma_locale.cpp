#include "support/comma_locale.h"

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

struct Comma : std::numpunct<char>
{
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

bool setInstalled()
{
    for (char const* const name :
         {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8", "es_ES.UTF-8", "de_DE", "German_Germany.1252"}) {
        if (std::setlocale(LC_ALL, name) && test::CommaLocale::inCLibrary()) return true;
    }
    return false;
}

// Few machines have such a locale installed, but most can compile one. The file is kept for the other test programs.
bool setCompiled()
{
#if defined(_WIN32)
    return false;
#else
    // In an emulator, the compiler of locales is that of the machine around it.
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    std::string const order = "--big-endian";
#else
    std::string const order = "--little-endian";
#endif
    fs::path const directory = fs::temp_directory_path() / ("sinew-test-locale" + order);
    fs::path const target = directory / "de_DE.UTF-8";
    std::error_code ignored;
    fs::create_directories(directory, ignored);
    if (!fs::exists(target, ignored)) {
        std::string const command =
            "localedef " + order + " -i de_DE -f UTF-8 '" + target.string() + "' >/dev/null 2>&1";
        if (std::system(command.c_str()) != 0) return false;
    }
    setenv("LOCPATH", directory.c_str(), 1);
    return std::setlocale(LC_ALL, "de_DE.UTF-8") && test::CommaLocale::inCLibrary();
#endif
}

class WholeProgram : public testing::Environment
{
public:
    void SetUp() override
    {
        char const* const name = std::getenv("SINEW_TEST_LOCALE");
        if (name && std::string(name) == "comma") locale_.emplace();
    }
    void TearDown() override { locale_.reset(); }

private:
    std::optional<test::CommaLocale> locale_;
};

testing::Environment* const wholeProgram = testing::AddGlobalTestEnvironment(new WholeProgram);

} // namespace

namespace test {

// The global C++ locale is set first, because setting one that has a name sets that of the C library too.
CommaLocale::CommaLocale()
    : nameBefore_(std::setlocale(LC_ALL, nullptr)),
      globalBefore_(std::locale::global(std::locale(std::locale::classic(), new Comma)))
{
    if (!setInstalled() && !setCompiled()) std::setlocale(LC_ALL, nameBefore_.c_str());
}

CommaLocale::~CommaLocale()
{
    std::locale::global(globalBefore_);
    std::setlocale(LC_ALL, nameBefore_.c_str());
}

bool CommaLocale::inCLibrary()
{
    return *std::localeconv()->decimal_point == ',';
}

} // namespace test
