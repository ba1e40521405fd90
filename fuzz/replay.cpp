// Runs a fuzz target on the files of folders: replay <folder>... Every input that a fuzzer has found is tested this way
// in every build, with any compiler and without a fuzzer.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kFewest = 10; // a corpus is larger; fewer files mean that the folder is wrong

std::vector<fs::path> filesIn(int count, char** folders)
{
    std::vector<fs::path> files;
    for (int i = 0; i < count; ++i) {
        for (fs::directory_entry const& entry : fs::directory_iterator(folders[i])) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

void replay(fs::path const& path)
{
    std::printf("%s\n", path.string().c_str()); // the last line names the input that ends the program
    std::fflush(stdout);
    std::ifstream file(path, std::ios::binary);
    std::vector<char> const bytes{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(bytes.data()), bytes.size());
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<fs::path> const files = filesIn(argc - 1, argv + 1);
    for (fs::path const& path : files) replay(path);
    if (files.size() >= kFewest) return 0;
    std::fprintf(stderr, "only %zu inputs; usage: replay <folder>...\n", files.size());
    return 1;
}
