#pragma once

/// A foreign locale for numbers: link comma_locale.cpp into the test program.
///
/// With SINEW_TEST_LOCALE=comma in its environment a whole test program runs under it.

#include <locale>
#include <string>

namespace test {

/// While it lives, 1234.5 is "1.234,5": for streams through std::locale::global, and for the C library's printing and
/// scanning through setlocale, if the system has or can make a locale with a decimal comma.
class CommaLocale
{
public:
    CommaLocale();
    ~CommaLocale();
    CommaLocale(CommaLocale const&) = delete;
    CommaLocale& operator=(CommaLocale const&) = delete;

    /// Whether the C library's half is in force.
    static bool inCLibrary();

private:
    std::string nameBefore_;
    std::locale globalBefore_;
};

} // namespace test
