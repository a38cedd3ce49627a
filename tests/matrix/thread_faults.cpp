#include "matrix/thread_faults.h"

#include <cerrno>
#include <dlfcn.h>
#include <pthread.h>
#include <utility>

namespace {

std::function<bool()> g_refuses; // set while no other thread runs

} // namespace

namespace vireo::test {

void AskBeforeThreads(std::function<bool()> refuses) { g_refuses = std::move(refuses); }

} // namespace vireo::test

// In the place of the library's own, which it calls. The sanitizers stand in that place themselves.
#ifndef VIREO_TEST_SANITIZED
extern "C" int pthread_create(
    pthread_t* pThread, const pthread_attr_t* pAttributes, void* (*pRun)(void*), void* pArgument)
{
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto pCreate = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    if (g_refuses && g_refuses())
        return EAGAIN;
    return pCreate(pThread, pAttributes, pRun, pArgument);
}
#endif
