// GoogleTest's own place for adapting it: MinGW's win32 threads have no std::mutex, from which its class
// Notification is made. This one is a platform event.
#pragma once

#include "Platform/Win32.h"

#define GTEST_HAS_NOTIFICATION_ 1

namespace testing::internal {

class Notification {
public:
    Notification() : event_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~Notification() { CloseHandle(event_); }
    Notification(const Notification&) = delete;
    Notification& operator=(const Notification&) = delete;

    void Notify() { SetEvent(event_); }
    void WaitForNotification() { WaitForSingleObject(event_, INFINITE); }

private:
    HANDLE event_;
};

} // namespace testing::internal
