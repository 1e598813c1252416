#include "Platform/Host/Handles.h"

#include "Platform/Host/Api/Processes.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/ProcessObject.h"
#include "Platform/Host/Suspension.h"
#include "Platform/Host/ThreadObject.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace Platform::Host {

namespace {

// A handle is four times the object's place in the table, counted from 1: never null, never odd.
constexpr std::uintptr_t HANDLE_STEP = 4;

struct HandleTable {
    std::recursive_mutex mutex; // the report of a fault of who has it writes to files
    std::vector<std::shared_ptr<KernelObject>> objects;
};

HandleTable& Table()
{
    static auto& table = *new HandleTable; // never destroyed: objects that end after main have handles too
    return table;
}

HANDLE HandleOf(std::size_t place)
{
    return reinterpret_cast<HANDLE>((place + 1) * HANDLE_STEP);
}

// Held while the table is used. A thread that is stopped with it would leave no handle to anybody.
class TableLock {
public:
    TableLock() : lock_(Table().mutex) {}

private:
    StopsLater later_; // from before the lock is taken until it is given back
    std::lock_guard<std::recursive_mutex> lock_;
};

// The handle's place in the table, which must be locked; null for a handle that is none.
std::shared_ptr<KernelObject>* PlaceOf(HandleTable& table, HANDLE handle)
{
    const auto value = reinterpret_cast<std::uintptr_t>(handle);
    if (value == 0 || value % HANDLE_STEP != 0 || value / HANDLE_STEP > table.objects.size()) {
        return nullptr;
    }
    return &table.objects[value / HANDLE_STEP - 1];
}

} // namespace

HANDLE OpenHandle(std::shared_ptr<KernelObject> object)
{
    HandleTable& table = Table();
    const TableLock lock;
    auto place = std::find(table.objects.begin(), table.objects.end(), nullptr);
    if (place == table.objects.end()) {
        place = table.objects.emplace(place);
    }
    *place = std::move(object);
    return HandleOf(static_cast<std::size_t>(place - table.objects.begin()));
}

bool ReleaseHandle(HANDLE handle)
{
    std::shared_ptr<KernelObject> released; // ends outside the lock
    HandleTable& table = Table();
    const TableLock lock;
    if (std::shared_ptr<KernelObject>* place = PlaceOf(table, handle)) {
        released.swap(*place);
    }
    return released != nullptr;
}

namespace {

bool IsStandIn(HANDLE handle)
{
    return handle == CURRENT_PROCESS || handle == CURRENT_THREAD;
}

BOOL DuplicateInto(HANDLE& target, HANDLE source)
{
    std::shared_ptr<KernelObject> object = FindObject(source);
    if (object == nullptr) {
        return FALSE;
    }
    target = OpenHandle(std::move(object));
    return TRUE;
}

} // namespace

std::shared_ptr<KernelObject> FindObject(HANDLE handle)
{
    if (handle == CURRENT_PROCESS) {
        return OwnProcess();
    }
    if (handle == CURRENT_THREAD) {
        return OwnThread();
    }
    HandleTable& table = Table();
    const TableLock lock;
    const std::shared_ptr<KernelObject>* place = PlaceOf(table, handle);
    if (place == nullptr || *place == nullptr) {
        lastError = ERROR_INVALID_HANDLE;
        return nullptr;
    }
    return *place;
}

} // namespace Platform::Host

using namespace Platform::Host;

BOOL WINAPI CloseHandle(HANDLE object)
{
    if (GateStops("CloseHandle")) {
        return FALSE;
    }
    return IsStandIn(object) || ReleaseHandle(object) ? TRUE : Fail(ERROR_INVALID_HANDLE);
}

DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD milliseconds)
{
    return Guarded("WaitForSingleObject", WAIT_FAILED, [&]() -> DWORD {
        const std::shared_ptr<KernelObject> object = FindObject(handle);
        return object != nullptr ? object->Wait(milliseconds) : WAIT_FAILED;
    });
}

BOOL WINAPI DuplicateHandle(HANDLE sourceProcess, HANDLE source, HANDLE targetProcess, HANDLE* target,
                            DWORD /*access*/, BOOL /*inherit*/, DWORD options)
{
    return Guarded("DuplicateHandle", FALSE, [&]() -> BOOL {
        if (FindObject(sourceProcess) != OwnProcess() || FindObject(targetProcess) != OwnProcess()) {
            return Fail(ERROR_INVALID_HANDLE);
        }
        if (target == nullptr || options != DUPLICATE_SAME_ACCESS) {
            return Fail(ERROR_INVALID_PARAMETER);
        }
        return DuplicateInto(*target, source);
    });
}
