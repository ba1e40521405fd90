#pragma once

/// A locale with a decimal comma. Link comma_locale.cpp into the test program.
///
/// If the environment contains SINEW_TEST_LOCALE=comma, the whole test program runs under this locale.

#include <locale>
#include <string>

namespace test {

/// While an object of this class exists, 1234.5 is written "1.234,5". Streams take this from std::locale::global. The
/// printing and scanning functions of the C library take it from setlocale, if the system has a locale with a decimal
/// comma or can compile one. The destructor restores both.
class CommaLocale
{
public:
    CommaLocale();
    ~CommaLocale();
    CommaLocale(CommaLocale const&) = delete;
    CommaLocale& operator=(CommaLocale const&) = delete;

    /// Whether the C library uses a decimal comma now.
    static bool inCLibrary();

private:
    std::string nameBefore_;
    std::locale globalBefore_;
};

} // namespace test
