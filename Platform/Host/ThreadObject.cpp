#include "Platform/Host/ThreadObject.h"

#include "Platform/Host/Registers.h"
#include "Platform/Host/SignalStack.h"
#include "Platform/Host/Suspension.h"

#include <chrono>
#include <memory>
#include <new>
#include <pthread.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace Platform::Host {

namespace {

constexpr DWORD MOST_SUSPENSIONS = 127;
constexpr std::chrono::milliseconds LONGEST_STOP{2000};

// The calling thread's object, in memory that is there from the thread's begin. It has no destructor of its
// own: announcing one ends the process where memory is out.
struct OwnThreadPlace {
    alignas(std::shared_ptr<Thread>) char storage[sizeof(std::shared_ptr<Thread>)];
    std::shared_ptr<Thread>* thread; // null: not made
    bool ends;
};

constinit thread_local OwnThreadPlace ownPlace{};

void AnnounceThreadEnd();

// What else the thread keeps to its end goes in the first round, and the thread in the next.
void AtThreadEnd(void* /*place*/)
{
    if (!ownPlace.ends) {
        ownPlace.ends = true;
        AnnounceThreadEnd();
        return;
    }
    const std::shared_ptr<Thread> thread = std::move(*ownPlace.thread);
    std::destroy_at(ownPlace.thread);
    ownPlace.thread = nullptr;
    thread->End();
}

void AnnounceThreadEnd()
{
    static pthread_key_t key;
    static const bool isMade = pthread_key_create(&key, AtThreadEnd) == 0;
    if (!isMade || pthread_setspecific(key, &ownPlace) != 0) {
        throw std::bad_alloc();
    }
}

Thread& SetOwnThread(std::shared_ptr<Thread> thread)
{
    AnnounceThreadEnd();
    ownPlace.thread = new (ownPlace.storage) std::shared_ptr<Thread>(std::move(thread));
    (*ownPlace.thread)->Begin();
    return **ownPlace.thread;
}

} // namespace

DWORD Thread::Wait(DWORD milliseconds)
{
    if (milliseconds == INFINITE) {
        ended_.wait();
        return WAIT_OBJECT_0;
    }
    const auto status = ended_.wait_for(std::chrono::milliseconds(milliseconds));
    return status == std::future_status::ready ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
}

DWORD Thread::ExitCode() const
{
    const bool hasEnded = ended_.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    return hasEnded ? ended_.get() : STILL_ACTIVE;
}

void Thread::Begin()
{
    id_ = gettid();
    runs_ = true;
}

void Thread::End()
{
    {
        const StopsLater later;
        const std::lock_guard lock(mutex_);
        runs_ = false;
    }
    end_.set_value(exitCode_);
}

DWORD Thread::Suspend()
{
    constexpr DWORD FAILED = 0xFFFFFFFF;
    if (id_ == gettid()) {
        Fail(ERROR_INVALID_PARAMETER); // nobody would be left to tell how often it was suspended before
        return FAILED;
    }
    const StopsLater later;
    const std::lock_guard lock(mutex_);
    if (!runs_ || suspensions_ == MOST_SUSPENSIONS) {
        Fail(runs_ ? ERROR_SIGNAL_REFUSED : ERROR_ACCESS_DENIED);
        return FAILED;
    }
    if (suspensions_ == 0) {
        stopped_ = StopThread(id_, LONGEST_STOP);
        if (stopped_ == nullptr) {
            return FAILED;
        }
    }
    return suspensions_++;
}

DWORD Thread::Resume()
{
    const StopsLater later;
    const std::lock_guard lock(mutex_);
    if (suspensions_ == 0) {
        return 0;
    }
    if (suspensions_ == 1) {
        LetGo(*std::exchange(stopped_, nullptr));
    }
    return suspensions_--;
}

BOOL Thread::GetContext(CONTEXT& context)
{
    const StopsLater later;
    const std::lock_guard lock(mutex_);
    if (stopped_ == nullptr) {
        return Fail(ERROR_GEN_FAILURE);
    }
    CopyRegisters(stopped_->registers, context);
    return TRUE;
}

DWORD StartThread(const std::shared_ptr<Thread>& thread, LPTHREAD_START_ROUTINE start, LPVOID parameter)
{
    std::promise<DWORD> id;
    std::future<DWORD> started = id.get_future();
    std::thread([id = std::move(id), self = thread, start, parameter]() mutable {
        GiveSignalStack();
        Thread& own = SetOwnThread(std::move(self));
        id.set_value(static_cast<DWORD>(own.Id()));
        own.SetExitCode(start(parameter));
    }).detach();
    return started.get();
}

const std::shared_ptr<Thread>& OwnThread()
{
    if (ownPlace.thread == nullptr) {
        SetOwnThread(std::make_shared<Thread>());
    }
    return *ownPlace.thread;
}

} // namespace Platform::Host
