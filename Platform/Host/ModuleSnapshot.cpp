// Lists of the process's modules, behind handles.
#include "Platform/Host/Api/Files.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/Handles.h"
#include "Platform/Host/ModulePaths.h"

#include <algorithm>
#include <mutex>
#include <unistd.h>
#include <vector>

namespace Platform::Host {

namespace {

constexpr DWORD NO_COUNT = 0xFFFF; // of loads; the platform has given up on it

template <std::size_t SIZE>
void CopyCut(std::u16string_view text, WCHAR (&target)[SIZE])
{
    target[text.copy(target, SIZE - 1)] = 0;
}

MODULEENTRY32W Describe(const ListedModule& module)
{
    MODULEENTRY32W entry{.dwSize = sizeof(entry),
                         .th32ModuleID = 1,
                         .th32ProcessID = static_cast<DWORD>(getpid()),
                         .GlblcntUsage = NO_COUNT,
                         .ProccntUsage = NO_COUNT,
                         .modBaseAddr = reinterpret_cast<LPBYTE>(module.handle),
                         .modBaseSize = static_cast<DWORD>(module.size),
                         .hModule = module.handle};
    CopyCut(FileNameOf(module.path), entry.szModule);
    CopyCut(module.path, entry.szExePath);
    return entry;
}

class ModuleSnapshot : public KernelObject {
public:
    ModuleSnapshot()
    {
        for (const ListedModule& module : ListModules()) {
            entries_.push_back(Describe(module));
        }
    }

    DWORD Wait(DWORD /*milliseconds*/) override
    {
        Fail(ERROR_ACCESS_DENIED);
        return WAIT_FAILED;
    }

    BOOL Next(bool fromStart, MODULEENTRY32W& entry)
    {
        if (entry.dwSize < sizeof(entry)) {
            return Fail(ERROR_INSUFFICIENT_BUFFER);
        }
        const std::lock_guard lock(mutex_);
        next_ = fromStart ? 0 : next_;
        if (next_ == entries_.size()) {
            return Fail(ERROR_NO_MORE_FILES);
        }
        entry = entries_[next_++];
        return TRUE;
    }

private:
    std::mutex mutex_;
    std::vector<MODULEENTRY32W> entries_;
    std::size_t next_ = 0;
};

BOOL NextOf(HANDLE snapshot, bool fromStart, MODULEENTRY32W& entry)
{
    const std::shared_ptr<ModuleSnapshot> found = FindObjectOf<ModuleSnapshot>(snapshot);
    return found != nullptr ? found->Next(fromStart, entry) : FALSE;
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

HANDLE WINAPI CreateToolhelp32Snapshot(DWORD flags, DWORD processId)
{
    return Guarded("CreateToolhelp32Snapshot", INVALID_HANDLE_VALUE, [&] {
        const bool isOwn = processId == 0 || processId == static_cast<DWORD>(getpid());
        if (flags != TH32CS_SNAPMODULE || !isOwn) {
            Fail(flags != TH32CS_SNAPMODULE ? ERROR_CALL_NOT_IMPLEMENTED : ERROR_INVALID_PARAMETER);
            return INVALID_HANDLE_VALUE;
        }
        auto* const handle = OpenHandle(std::make_shared<ModuleSnapshot>());
        lastError = ERROR_SUCCESS;
        return handle;
    });
}

BOOL WINAPI Module32FirstW(HANDLE snapshot, LPMODULEENTRY32W entry)
{
    return Guarded("Module32FirstW", FALSE, [&] { return NextOf(snapshot, true, *entry); });
}

BOOL WINAPI Module32NextW(HANDLE snapshot, LPMODULEENTRY32W entry)
{
    return Guarded("Module32NextW", FALSE, [&] { return NextOf(snapshot, false, *entry); });
}
