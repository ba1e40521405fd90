// Two libraries of a host, each with the static sinew library inside; the program itself links neither form of it.

#include <gtest/gtest.h>

#include "core/binder_host.h"

DECLARE_BINDER_HOST(third);
DECLARE_BINDER_HOST(fourth);

// The address sanitizer reports data that two libraries define; that the loader merges it is what is tested here.
extern "C" char const* __asan_default_options();
extern "C" char const* __asan_default_options()
{
    return "detect_odr_violation=0";
}

namespace {

// Asked before main runs, after the constructors of both libraries.
bool const registeredWhenLoaded = thirdInstance()->clearSlot != nullptr;

} // namespace

TEST(FuncBinderInStaticLibraries, IsMergedByTheLoader)
{
    EXPECT_EQ(thirdInstance(), fourthInstance());
    int const before = thirdClears();
    fourthClear();
    EXPECT_EQ(thirdClears(), before + 1);
}

TEST(FuncBinderInStaticLibraries, KeepsWhatALibraryRegisteredWhileItWasLoaded)
{
    EXPECT_TRUE(registeredWhenLoaded);
}
