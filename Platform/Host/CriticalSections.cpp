// Critical sections: the host's recursive mutexes, in the structure's own bytes. Nothing here takes heap
// memory.
#include "Platform/Host/Api/Threads.h"
#include "Platform/Host/GateFlag.h"

#include <pthread.h>

namespace Platform::Host {

namespace {

pthread_mutex_t* MutexOf(LPCRITICAL_SECTION section)
{
    static_assert(sizeof(pthread_mutex_t) <= sizeof(section->state) &&
                  alignof(pthread_mutex_t) <= alignof(CRITICAL_SECTION));
    return reinterpret_cast<pthread_mutex_t*>(section->state);
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION section)
{
    GateSees("InitializeCriticalSection");
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(MutexOf(section), &attributes);
    pthread_mutexattr_destroy(&attributes);
}

void WINAPI EnterCriticalSection(LPCRITICAL_SECTION section)
{
    GateSees("EnterCriticalSection");
    pthread_mutex_lock(MutexOf(section));
}

void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION section)
{
    GateSees("LeaveCriticalSection");
    pthread_mutex_unlock(MutexOf(section));
}
