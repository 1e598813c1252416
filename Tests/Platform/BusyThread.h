// A thread that counts, below a known chain of functions, until it is told to end.
#pragma once

#include "Platform/Win32.h"

class BusyThread {
public:
    static constexpr int DEPTH = 100; // calls of BusyRecursion on its stack
    static constexpr DWORD EXIT_CODE = 42;

    BusyThread(); // returns when it counts
    ~BusyThread();
    BusyThread(const BusyThread&) = delete;
    BusyThread& operator=(const BusyThread&) = delete;

    [[nodiscard]] HANDLE Handle() const { return handle_; }
    [[nodiscard]] DWORD Id() const { return id_; }
    [[nodiscard]] bool Counts() const; // within some time
    void End();                        // and waits for it

private:
    DWORD id_ = 0;
    HANDLE handle_;
};
