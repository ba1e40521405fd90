// Runs the fuzz target on its corpus. Every failure that the fuzzer has found is tested this way in every build, with
// any compiler and without a fuzzer.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

TEST(Corpus, EveryDocumentIsReadOrRefused)
{
    int count = 0;
    for (auto const& entry : std::filesystem::directory_iterator(SINEW_CORPUS)) {
        SCOPED_TRACE(entry.path().string());
        std::ifstream file(entry.path(), std::ios::binary);
        std::string const text{std::istreambuf_iterator<char>(file), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(text.data()), text.size());
        ++count;
    }
    EXPECT_GE(count, 20) << "the corpus is in " SINEW_CORPUS;
}
