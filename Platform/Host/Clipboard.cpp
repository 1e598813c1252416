#include "Platform/Host/Api/Clipboard.h"

#include "Platform/Host/Api/Processes.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/Handles.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <pthread.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

constexpr unsigned MOST_LOCKS = 255; // the platform counts no further

class Block : public KernelObject {
public:
    explicit Block(SIZE_T size) : bytes_(std::make_unique_for_overwrite<char[]>(size)), size_(size) {}

    DWORD Wait(DWORD /*milliseconds*/) override
    {
        Fail(ERROR_INVALID_HANDLE);
        return WAIT_FAILED;
    }

    [[nodiscard]] SIZE_T Size() const { return size_; }

    void* Lock()
    {
        if (size_ == 0) {
            Fail(ERROR_DISCARDED);
            return nullptr;
        }
        const std::lock_guard lock(mutex_);
        locks_ = std::min(locks_ + 1, MOST_LOCKS);
        return bytes_.get();
    }

    // TRUE while a lock is left.
    BOOL Unlock()
    {
        const std::lock_guard lock(mutex_);
        if (locks_ == 0) {
            return Fail(ERROR_NOT_LOCKED);
        }
        return --locks_ != 0 ? TRUE : Fail(ERROR_SUCCESS);
    }

    // Makes the block the clipboard's. False: it is that already.
    bool Take() { return !taken_.exchange(true); }
    [[nodiscard]] bool IsTaken() const { return taken_; }

    // Only for blocks that have bytes.
    void Terminate() { bytes_[size_ - 1] = 0; }

private:
    std::mutex mutex_;
    std::unique_ptr<char[]> bytes_;
    SIZE_T size_;
    unsigned locks_ = 0;
    std::atomic<bool> taken_{false};
};

struct ClipboardState {
    std::mutex mutex;
    pid_t openedBy = 0;            // 0: nobody
    std::map<UINT, HANDLE> blocks; // by format
};

ClipboardState& State()
{
    // Never destroyed: threads may use it after main. Not on the heap: it may be exhausted.
    alignas(ClipboardState) static char storage[sizeof(ClipboardState)];
    static auto& state = *new (storage) ClipboardState;
    return state;
}

void CloseAtThreadEnd(void* clipboard)
{
    ClipboardState& state = *static_cast<ClipboardState*>(clipboard);
    const std::lock_guard lock(state.mutex);
    if (state.openedBy == gettid()) {
        state.openedBy = 0;
    }
}

// False: no memory. An object with a destructor, one for each thread, would end the process then.
bool CloseWhenThreadEnds(ClipboardState& state)
{
    static pthread_key_t key;
    static const bool isMade = pthread_key_create(&key, CloseAtThreadEnd) == 0;
    return isMade && pthread_setspecific(key, &state) == 0;
}

// Runs the body on the clipboard that the calling thread has open; without one gives a failure.
template <typename Result, typename Body>
Result WithOpenClipboard(Result failure, Body&& body)
{
    ClipboardState& state = State();
    const std::lock_guard lock(state.mutex);
    if (state.openedBy != gettid()) {
        Fail(ERROR_CLIPBOARD_NOT_OPEN);
        return failure;
    }
    return body(state);
}

void Remove(ClipboardState& state, UINT format)
{
    const auto place = state.blocks.find(format);
    if (place != state.blocks.end()) {
        ReleaseHandle(place->second);
        state.blocks.erase(place);
    }
}

// Null: nothing happened; that the block is the clipboard's already is an error.
HANDLE Put(ClipboardState& state, UINT format, HANDLE memory, Block& block)
{
    if (block.Size() == 0) {
        return nullptr;
    }
    HANDLE& place = state.blocks[format];
    if (!block.Take()) {
        Fail(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    if (format == CF_TEXT) {
        block.Terminate();
    }
    ReleaseHandle(std::exchange(place, memory));
    return memory;
}

HANDLE SetData(UINT format, HANDLE memory)
{
    const auto block = memory != nullptr ? FindObjectOf<Block>(memory) : nullptr;
    if (memory != nullptr && block == nullptr) {
        return nullptr;
    }
    return WithOpenClipboard(HANDLE{nullptr}, [&](ClipboardState& state) -> HANDLE {
        if (format == 0) {
            Fail(ERROR_CLIPBOARD_NOT_OPEN); // the platform's own word for it
            return nullptr;
        }
        if (block == nullptr) { // to be made when it is asked for, which takes a window
            Remove(state, format);
            return nullptr;
        }
        return Put(state, format, memory, *block);
    });
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

BOOL WINAPI OpenClipboard(HWND newOwner)
{
    if (GateStops("OpenClipboard")) {
        return FALSE;
    }
    if (newOwner != nullptr) {
        return Fail(ERROR_INVALID_WINDOW_HANDLE);
    }
    ClipboardState& state = State();
    const std::lock_guard lock(state.mutex);
    if (state.openedBy != 0 && state.openedBy != gettid()) {
        return Fail(ERROR_ACCESS_DENIED);
    }
    if (!CloseWhenThreadEnds(state)) {
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    }
    state.openedBy = gettid();
    return TRUE;
}

BOOL WINAPI EmptyClipboard()
{
    if (GateStops("EmptyClipboard")) {
        return FALSE;
    }
    return WithOpenClipboard(FALSE, [](ClipboardState& state) {
        for (const auto& [format, memory] : state.blocks) {
            ReleaseHandle(memory);
        }
        state.blocks.clear();
        return TRUE;
    });
}

BOOL WINAPI CloseClipboard()
{
    if (GateStops("CloseClipboard")) {
        return FALSE;
    }
    return WithOpenClipboard(FALSE, [](ClipboardState& state) {
        state.openedBy = 0;
        return TRUE;
    });
}

HANDLE WINAPI SetClipboardData(UINT format, HANDLE memory)
{
    return Guarded("SetClipboardData", HANDLE{nullptr}, [&] { return SetData(format, memory); });
}

HANDLE WINAPI GetClipboardData(UINT format)
{
    if (GateStops("GetClipboardData")) {
        return nullptr;
    }
    return WithOpenClipboard(HANDLE{nullptr}, [&](ClipboardState& state) -> HANDLE {
        const auto place = state.blocks.find(format);
        return place != state.blocks.end() ? place->second : nullptr;
    });
}

HGLOBAL WINAPI GlobalAlloc(UINT flags, SIZE_T bytes)
{
    return Guarded("GlobalAlloc", HGLOBAL{nullptr}, [&]() -> HGLOBAL {
        if (flags != GMEM_MOVEABLE) {
            Fail(ERROR_INVALID_PARAMETER);
            return nullptr;
        }
        return OpenHandle(std::make_shared<Block>(bytes));
    });
}

LPVOID WINAPI GlobalLock(HGLOBAL memory)
{
    if (GateStops("GlobalLock") || memory == nullptr) {
        return nullptr;
    }
    const auto block = FindObjectOf<Block>(memory);
    return block != nullptr ? block->Lock() : nullptr;
}

BOOL WINAPI GlobalUnlock(HGLOBAL memory)
{
    if (GateStops("GlobalUnlock")) {
        return FALSE;
    }
    const auto block = FindObjectOf<Block>(memory);
    return block != nullptr ? block->Unlock() : FALSE;
}

SIZE_T WINAPI GlobalSize(HGLOBAL memory)
{
    if (GateStops("GlobalSize")) {
        return 0;
    }
    const auto block = FindObjectOf<Block>(memory);
    return block != nullptr ? block->Size() : 0;
}

HGLOBAL WINAPI GlobalFree(HGLOBAL memory)
{
    if (GateStops("GlobalFree") || memory == nullptr) {
        return memory;
    }
    const auto block = FindObjectOf<Block>(memory);
    if (block == nullptr) {
        return memory;
    }
    if (block->IsTaken() || !ReleaseHandle(memory)) {
        Fail(ERROR_INVALID_HANDLE);
        return memory;
    }
    return nullptr;
}
