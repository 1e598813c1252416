#include "Platform/Host/Handles.h"

#include "Platform/Host/Api/Processes.h"
#include "Platform/Host/Gate.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace Platform::Host {

namespace {

// A handle is four times the object's place in the table, counted from 1: never null, never odd.
constexpr std::uintptr_t HANDLE_STEP = 4;

struct HandleTable {
    std::mutex mutex;
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
    const std::lock_guard lock(table.mutex);
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
    const std::lock_guard lock(table.mutex);
    if (std::shared_ptr<KernelObject>* place = PlaceOf(table, handle)) {
        released.swap(*place);
    }
    return released != nullptr;
}

std::shared_ptr<KernelObject> FindObject(HANDLE handle)
{
    HandleTable& table = Table();
    const std::lock_guard lock(table.mutex);
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
    return ReleaseHandle(object) ? TRUE : Fail(ERROR_INVALID_HANDLE);
}

DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD milliseconds)
{
    return Guarded("WaitForSingleObject", WAIT_FAILED, [&]() -> DWORD {
        const std::shared_ptr<KernelObject> object = FindObject(handle);
        return object != nullptr ? object->Wait(milliseconds) : WAIT_FAILED;
    });
}
