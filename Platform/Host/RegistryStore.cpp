#include "Platform/Host/RegistryStore.h"

#include "Platform/Host/Api/Processes.h"
#include "Platform/Host/Control.h"
#include "Platform/Host/LastError.h"
#include "Platform/Host/RegistryText.h"
#include "Platform/Host/StandardError.h"

#include <cstdlib>

namespace Platform::Host {

namespace {

constexpr const char* REGISTRY_VARIABLE = "PLATFORM_HOST_REGISTRY";
constexpr std::size_t LARGEST_FILE = std::size_t{64} * 1024 * 1024;
constexpr std::chrono::seconds LOCK_PATIENCE(5);

constinit OpenKey* firstOpenKey = nullptr;

std::optional<std::string> Variable(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

// What the environment said when the process started, before a test said something else. Neither this nor
// the registry is ever destroyed: objects that end after main may use it.
const std::optional<std::string>& InheritedFile()
{
    static const auto& inherited = *new std::optional<std::string>(Variable(REGISTRY_VARIABLE));
    return inherited;
}

// Empty unless it is absolute: a registry must not move with the current directory.
std::string AbsolutePath(const std::optional<std::string>& path)
{
    return path && path->starts_with('/') ? *path : "";
}

// Empty where there is no place for it.
std::string UsualFile()
{
    if (InheritedFile()) {
        return AbsolutePath(InheritedFile());
    }
    const std::string data = AbsolutePath(Variable("XDG_DATA_HOME"));
    if (!data.empty()) {
        return data + "/brenvault/registry.reg";
    }
    const std::string home = AbsolutePath(Variable("HOME"));
    return home.empty() ? "" : home + "/.local/share/brenvault/registry.reg";
}

struct Registry {
    std::string file = UsualFile(); // empty: in memory only
    std::optional<FileVersion> version;
    bool damaged = false;
    RegistryKey top = EmptyRegistry();
};

Registry& State()
{
    static auto& registry = *new Registry;
    return registry;
}

void Become(Registry& registry, RegistryKey&& top)
{
    registry.top = std::move(top);
    registry.damaged = false;
    OpenKey::MarkDeleted(registry.top);
}

bool Understand(std::string_view bytes, RegistryKey& top, RegistryTextFault& fault)
{
    if (bytes.size() > LARGEST_FILE) {
        fault = {1, "more than 64 MiB"};
        return false;
    }
    return ReadRegistryText(bytes, top, fault);
}

// All that can run out of memory comes before the state changes.
DWORD Reread(Registry& registry)
{
    std::string bytes;
    FileVersion version;
    const DWORD error = LoadFile(registry.file, LARGEST_FILE, bytes, version);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    RegistryKey top = EmptyRegistry();
    RegistryTextFault fault;
    if (!version.IsFile() || Understand(bytes, top, fault)) {
        Become(registry, std::move(top));
    } else {
        WriteToStandardError(registry.file + ':' + std::to_string(fault.line) +
                             ": damaged registry: " + fault.reason + '\n');
        registry.damaged = true;
    }
    registry.version = std::move(version);
    return ERROR_SUCCESS;
}

DWORD Refresh(Registry& registry)
{
    const bool isCurrent =
        registry.file.empty() || (registry.version && registry.version->IsStillAt(registry.file));
    const DWORD error = isCurrent ? ERROR_SUCCESS : Reread(registry);
    return error == ERROR_SUCCESS && registry.damaged ? ERROR_BADDB : error;
}

std::optional<FileLock> LockFile(const std::string& file)
{
    return file.empty() ? std::nullopt : std::optional<FileLock>(std::in_place, file, LOCK_PATIENCE);
}

DWORD Save(const std::string& file, const RegistryKey& top, FileVersion& version)
{
    const std::string text = WriteRegistryText(top);
    return text.size() <= LARGEST_FILE ? ReplaceFile(file, text, version) : ERROR_DISK_FULL;
}

} // namespace

OpenKey::~OpenKey()
{
    const std::lock_guard lock(registryMutex);
    if (!watched_) {
        return;
    }
    (previous_ != nullptr ? previous_->next_ : firstOpenKey) = next_;
    if (next_ != nullptr) {
        next_->previous_ = previous_;
    }
}

void OpenKey::Watch()
{
    watched_ = true;
    next_ = firstOpenKey;
    if (next_ != nullptr) {
        next_->previous_ = this;
    }
    firstOpenKey = this;
}

DWORD OpenKey::Wait(DWORD /*milliseconds*/)
{
    lastError = ERROR_ACCESS_DENIED;
    return WAIT_FAILED;
}

void OpenKey::MarkDeleted(const RegistryKey& top)
{
    for (OpenKey* key = firstOpenKey; key != nullptr; key = key->next_) {
        key->deleted_ = key->deleted_ || FindKey(top, key->path_) == nullptr;
    }
}

RegistryLook::RegistryLook() : lock_(registryMutex), error_(Refresh(State())) {}

const RegistryKey& RegistryLook::Top() const
{
    return State().top;
}

RegistryChange::RegistryChange()
    : turn_(registryTurn), fileLock_(LockFile(State().file)), lock_(registryMutex),
      error_(fileLock_ ? fileLock_->Error() : ERROR_SUCCESS)
{
    if (error_ == ERROR_SUCCESS) {
        error_ = Refresh(State());
    }
    if (error_ == ERROR_SUCCESS) {
        top_ = State().top;
    }
}

DWORD RegistryChange::Keep()
{
    Registry& registry = State();
    if (fileLock_) {
        FileVersion version;
        const DWORD error = Save(fileLock_->Path(), top_, version);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        registry.version = std::move(version);
    }
    Become(registry, std::move(top_));
    return ERROR_SUCCESS;
}

void SetRegistryFile(const std::optional<std::string>& nativePath)
{
    const std::scoped_lock lock(registryTurn, registryMutex);
    Registry& registry = State();
    const std::optional<std::string>& shown = nativePath ? nativePath : InheritedFile();
    if (shown) {
        setenv(REGISTRY_VARIABLE, shown->c_str(), 1);
    } else {
        unsetenv(REGISTRY_VARIABLE);
    }
    registry.file = nativePath ? AbsolutePath(nativePath) : UsualFile();
    registry.version.reset(); // a file is read at the next look
    if (registry.file.empty()) {
        Become(registry, EmptyRegistry());
    }
}

} // namespace Platform::Host
