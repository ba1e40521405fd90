#include <tool/support/arguments.h>

#include <cstddef>
#include <cstdio>

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX 1
#include <windows.h>

#include <io.h>
#include <shellapi.h>
#else
#include <unistd.h>
#endif

namespace tool {

#if defined(_WIN32)

namespace {

std::string utf8(wchar_t const* text)
{
    int const size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr); // with the final zero
    std::string result(static_cast<std::size_t>(size > 0 ? size : 1), '\0');
    if (size > 0) WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), size, nullptr, nullptr);
    result.pop_back();
    return result;
}

} // namespace

std::vector<std::string> programArguments(int argc, char** argv)
{
    SetConsoleOutputCP(CP_UTF8);
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    if (!words) return {argv + (argc > 0), argv + argc};
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) arguments.push_back(utf8(words[i]));
    LocalFree(words);
    return arguments;
}

bool outputIsTerminal()
{
    return _isatty(_fileno(stdout)) != 0;
}

#else

std::vector<std::string> programArguments(int argc, char** argv)
{
    return {argv + (argc > 0), argv + argc};
}

bool outputIsTerminal()
{
    return isatty(STDOUT_FILENO) != 0;
}

#endif

} // namespace tool
