// Two libraries of a host, each of which contains the static sinew library. The program itself does not link sinew.

#include <gtest/gtest.h>

#include "core/binder_host.h"

DECLARE_BINDER_HOST(third);
DECLARE_BINDER_HOST(fourth);

// The address sanitizer reports data that two libraries define. This test checks that the loader merges such data.
extern "C" char const* __asan_default_options();
extern "C" char const* __asan_default_options()
{
    return "detect_odr_violation=0";
}

namespace {

// Read before main runs and after the constructors of both libraries.
bool const registeredWhenLoaded = thirdInstance()->clearSlot != nullptr;

} // namespace

TEST(FuncBinderInStaticLibraries, IsMergedByTheLoader)
{
    EXPECT_EQ(thirdInstance(), fourthInstance());
    int const before = thirdClears();
    fourthClear();
    EXPECT_EQ(thirdClears(), before + 1);
}

TEST(FuncBinderInStaticLibraries, KeepsACallbackThatALibraryRegistersWhileItIsLoaded)
{
    EXPECT_TRUE(registeredWhenLoaded);
}
