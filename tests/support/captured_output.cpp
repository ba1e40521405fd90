#include "support/captured_output.h"

#include <cstdio>

#if defined(_WIN32)
#include <io.h>
#define dup _dup
#define dup2 _dup2
#define fileno _fileno
#define lseek _lseek
#define read _read
#define close _close
#else
#include <unistd.h>
#endif

std::string test::flushedOutput(std::function<void()> const& action)
{
    std::fflush(stdout);
    int const original = dup(fileno(stdout));
    std::FILE* const file = std::tmpfile();
    dup2(fileno(file), fileno(stdout));
    static char buffer[1 << 16];
    std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
    action();
    std::string text(8192, '\0');
    lseek(fileno(file), 0, SEEK_SET);
    auto const length = read(fileno(file), text.data(), 8192);
    std::fflush(stdout);
    dup2(original, fileno(stdout));
    close(original);
    std::fclose(file);
    text.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return text;
}
