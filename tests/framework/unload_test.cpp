// Loads the library by its file name and unloads it again, as happens when a plug-in of a host depends on it. This
// program does not link the library.

#include <fstream>
#include <optional>
#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "support/shared_library.h"

namespace {

bool isMapped(std::string const& file)
{
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find(file) != std::string::npos) return true;
    }
    return false;
}

int deletions = 0;
void countDeletions(std::string const& action, std::string const&, std::string const&)
{
    deletions += action == "delete";
}

// The names that the platform's ABI gives to two functions of the library.
constexpr char const* kFindNamed =
    "_ZN5sinew6detail9findNamedEPKcRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE";
constexpr char const* kSetSink =
    "_ZN5sinew18setRegistryLogSinkEPFvRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES7_"
    "S7_E";
using FindNamed = void* (*)(char const*, std::string const&);
using SetSink = void (*)(void (*)(std::string const&, std::string const&, std::string const&));

void openAndClose()
{
    void* const library = test::openLibrary(SINEW_LIBRARY);
    ASSERT_NE(library, nullptr) << test::loadError();
    auto const find = reinterpret_cast<FindNamed>(dlsym(library, kFindNamed));
    auto const setSink = reinterpret_cast<SetSink>(dlsym(library, kSetSink));
    ASSERT_TRUE(find && setSink);
    EXPECT_NE(find("P13FactoryByName", "MeshFunction2D"), nullptr);
    EXPECT_NE(find("P15FactoryByTypeID", "14MeshFunction2D"), nullptr);
    setSink(countDeletions);
    ASSERT_TRUE(test::closeLibrary(library));
}

} // namespace

TEST(Unload, LoadingAndUnloadingAThousandTimesKeepsNoMemoryAndNoMapping)
{
    for (int warmUp = 0; warmUp < 3; ++warmUp) ASSERT_NO_FATAL_FAILURE(openAndClose());
    std::optional<std::size_t> const before = test::allocatorBytesInUse();
    deletions = 0;
    for (int i = 0; i < 1000; ++i) ASSERT_NO_FATAL_FAILURE(openAndClose());
    EXPECT_EQ(deletions, 2000) << "each time the class is removed from both registries";
    EXPECT_FALSE(isMapped("libsinew.so")) << "the library has not been unloaded";
    // One block lost per round would be 16000 bytes or more; the rest are blocks that the allocator keeps for reuse.
    if (before) {
        EXPECT_LT(*test::allocatorBytesInUse(), *before + 8000);
    }
}
