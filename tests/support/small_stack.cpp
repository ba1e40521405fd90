#include "support/small_stack.h"

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX 1
#include <windows.h>
#else
#include <pthread.h>
#endif

#if defined(_WIN32)

namespace {

DWORD WINAPI callAction(void* action)
{
    (*static_cast<std::function<void()>*>(action))();
    return 0;
}

} // namespace

bool test::runWithStack(std::size_t bytes, std::function<void()> action)
{
    HANDLE const thread = CreateThread(nullptr, bytes, callAction, &action, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    if (!thread) return false;
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    return true;
}

#else

namespace {

void* callAction(void* action)
{
    (*static_cast<std::function<void()>*>(action))();
    return nullptr;
}

} // namespace

bool test::runWithStack(std::size_t bytes, std::function<void()> action)
{
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return false;
    pthread_t thread;
    bool const started = pthread_attr_setstacksize(&attributes, bytes) == 0 &&
                         pthread_create(&thread, &attributes, callAction, &action) == 0;
    if (started) pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    return started;
}

#endif
