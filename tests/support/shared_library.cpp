#include "support/shared_library.h"

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX 1
#include <windows.h>
#else
#include <dlfcn.h>
#endif
#if defined(__GLIBC__)
#include <malloc.h>
#endif

#if defined(_WIN32)

void* test::openLibrary(char const* file)
{
    return reinterpret_cast<void*>(LoadLibraryA(file));
}
std::string test::loadError()
{
    return "error " + std::to_string(GetLastError());
}
bool test::closeLibrary(void* library)
{
    return FreeLibrary(static_cast<HMODULE>(library)) != 0;
}
bool test::isLoaded(char const* file)
{
    return GetModuleHandleA(file) != nullptr;
}

#else

void* test::openLibrary(char const* file)
{
    return dlopen(file, RTLD_NOW | RTLD_LOCAL);
}
std::string test::loadError()
{
    return dlerror();
}
bool test::closeLibrary(void* library)
{
    return dlclose(library) == 0;
}
bool test::isLoaded(char const* file)
{
    void* const library = dlopen(file, RTLD_NOW | RTLD_NOLOAD);
    if (library) dlclose(library);
    return library != nullptr;
}

#endif

std::optional<std::size_t> test::allocatorBytesInUse()
{
#if defined(__GLIBC__)
    return mallinfo2().uordblks;
#else
    return std::nullopt;
#endif
}
