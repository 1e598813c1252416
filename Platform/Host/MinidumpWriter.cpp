// Writes a minidump. While it does, the other threads stand still, and any of them may hold the heap's lock
// or another: all memory here is the stack's and the system's own.
#include "Platform/FaultGuard.h"
#include "Platform/Host/Api/DebugHelp.h"
#include "Platform/Host/FileObject.h"
#include "Platform/Host/Gate.h"
#include "Platform/Host/LoadedModules.h"
#include "Platform/Host/Minidump.h"
#include "Platform/Host/OwnVersion.h"
#include "Platform/Host/ProcessMemory.h"
#include "Platform/Host/ProcessObject.h"
#include "Platform/Host/Registers.h"
#include "Platform/Host/Snapshot.h"
#include "Platform/Host/Utf.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <link.h>
#include <thread>
#include <ucontext.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

constexpr std::size_t MOST_STACK = 65536;
constexpr std::size_t PIECE = 4096; // of a stack: the writer's own may be a small one, of a signal handler
constexpr std::size_t LONGEST_NAME = 1024; // UTF-16 units of a module's path; more are cut
constexpr char16_t ROOT_DRIVE[] = u"Z:";

constexpr std::uint16_t ARCHITECTURE =
    KNOWS_REGISTERS ? Minidump::ARCHITECTURE_AMD64 : Minidump::ARCHITECTURE_UNKNOWN;

struct ModuleName {
    std::size_t length;
    char16_t units[LONGEST_NAME + 2]; // with its terminator, and one to fill up
};

// On the drive that is the host's root folder, for the other drives' roots lie in heap memory.
void NameModule(const char* path, ModuleName& name)
{
    std::copy(std::begin(ROOT_DRIVE), std::end(ROOT_DRIVE), name.units);
    const std::size_t start = *path == '/' ? std::size(ROOT_DRIVE) - 1 : 0; // what has no folder is no file
    name.length = start + FromHost(path, name.units + start, LONGEST_NAME - start);
    std::replace(name.units, name.units + name.length, u'/', u'\\');
    name.units[name.length] = 0;
    name.units[name.length + 1] = 0;
}

// With what fills it up to a place that is divisible by 4, for the next one.
std::uint32_t NameSize(const ModuleName& name)
{
    const std::size_t size = sizeof(std::uint32_t) + (name.length + 1) * sizeof(char16_t);
    return static_cast<std::uint32_t>((size + 3) / 4 * 4);
}

// After an overflow the stack's pointer lies in the page below it.
std::uintptr_t StackStart(const ThreadSnapshot& thread)
{
    const std::uintptr_t pointer = thread.registers.Esp; // 0: not known
    char byte = 0;
    const bool isOnStack = pointer == 0 || ReadMemory(pointer, &byte, 1) == 1;
    return isOnStack ? pointer : (pointer | (PIECE - 1)) + 1;
}

std::uint32_t StackSize(const ThreadSnapshot& thread)
{
    const bool isKnown = thread.hasRegisters && thread.registers.Esp != 0;
    char piece[PIECE];
    std::size_t size = 0;
    for (std::size_t step = isKnown ? PIECE : 0; step == PIECE && size < MOST_STACK; size += step) {
        step = ReadMemory(thread.stackStart + size, piece, PIECE);
    }
    return static_cast<std::uint32_t>(size);
}

Minidump::Context ToContext(const CONTEXT& registers)
{
    Minidump::Context context{.flags = Minidump::CONTEXT_AMD64_FULL,
                              .cs = static_cast<std::uint16_t>(registers.SegCs),
                              .ds = static_cast<std::uint16_t>(registers.SegDs),
                              .es = static_cast<std::uint16_t>(registers.SegEs),
                              .fs = static_cast<std::uint16_t>(registers.SegFs),
                              .gs = static_cast<std::uint16_t>(registers.SegGs),
                              .ss = static_cast<std::uint16_t>(registers.SegSs),
                              .eFlags = registers.EFlags,
                              .rax = registers.Eax,
                              .rcx = registers.Ecx,
                              .rdx = registers.Edx,
                              .rbx = registers.Ebx,
                              .rsp = registers.Esp,
                              .rbp = registers.Ebp,
                              .rsi = registers.Esi,
                              .rdi = registers.Edi,
                              .rip = registers.Eip};
    std::copy(std::begin(registers.Further), std::end(registers.Further), context.further);
    return context;
}

// An exception as it was before any thread was stopped: reading it may fault.
struct ExceptionCopy {
    bool isThere = false;
    DWORD threadId = 0;
    EXCEPTION_RECORD record{};
    CONTEXT registers{};

    explicit ExceptionCopy(const MINIDUMP_EXCEPTION_INFORMATION* information)
    {
        if (information != nullptr && information->ExceptionPointers != nullptr) {
            isThere = true;
            threadId = information->ThreadId;
            record = *information->ExceptionPointers->ExceptionRecord;
            registers = *information->ExceptionPointers->ContextRecord;
        }
    }
};

Minidump::Exception ToException(const ExceptionCopy& exception, Minidump::Location context)
{
    Minidump::Exception result{
        .threadId = exception.threadId,
        .code = exception.record.ExceptionCode,
        .flags = exception.record.ExceptionFlags,
        .record = reinterpret_cast<std::uintptr_t>(exception.record.ExceptionRecord),
        .address = reinterpret_cast<std::uintptr_t>(exception.record.ExceptionAddress),
        .parameterCount = std::min(exception.record.NumberParameters, DWORD{EXCEPTION_MAXIMUM_PARAMETERS}),
        .context = context};
    std::copy(std::begin(exception.record.ExceptionInformation),
              std::end(exception.record.ExceptionInformation), result.parameters);
    return result;
}

// Gathers the bytes of a file, so that it takes few calls.
class Output {
public:
    explicit Output(File& file) : file_(file) {}

    template <typename Structure>
    void Put(const Structure& structure)
    {
        Put(&structure, sizeof(structure));
    }

    void Put(const void* bytes, std::size_t size)
    {
        for (std::size_t done = 0; done < size;) {
            const std::size_t step = std::min(size - done, sizeof(buffer_) - used_);
            std::memcpy(buffer_ + used_, static_cast<const char*>(bytes) + done, step);
            used_ += step;
            done += step;
            if (used_ == sizeof(buffer_)) {
                Flush();
            }
        }
    }

    // False with the last error where some write has failed; what follows that one is not tried.
    bool Flush()
    {
        DWORD done = 0;
        isWhole_ = isWhole_ && file_.Write(buffer_, static_cast<DWORD>(used_), done) != FALSE;
        used_ = 0;
        return isWhole_;
    }

private:
    File& file_;
    bool isWhole_ = true;
    std::size_t used_ = 0;
    char buffer_[4096];
};

// Hands out the dump's bytes one after the other.
class Places {
public:
    Minidump::Location Take(std::size_t size)
    {
        const Minidump::Location taken{static_cast<std::uint32_t>(size), size != 0 ? next_ : 0};
        next_ += taken.size;
        return taken;
    }

private:
    std::uint32_t next_ = 0;
};

// All streams come first, then what they refer to. Each part's place follows from the sizes of those before,
// and the parts are written in the order in which they took their places.
class Dump {
public:
    Dump(Snapshot& threads, const ExceptionCopy& exception, std::uint8_t processorCount);

    void Write(Output& output);

private:
    static constexpr std::uint32_t NO_SERVICE_PACK[2] = {}; // a name without characters, filled up

    void WriteDirectory(Output& output) const;
    void WriteSystem(Output& output) const;
    void WriteThreads(Output& output);
    void WriteModules(Output& output);
    void WriteMemory(Output& output) const;

    Snapshot& threads_;
    const ExceptionCopy& exception_;
    std::uint32_t moduleCount_ = 0;
    std::uint8_t processorCount_;

    Places places_;
    Minidump::Location header_, directory_, system_, exceptionStream_, threadList_, moduleList_;
    Minidump::Location servicePack_, exceptionContext_;
};

std::size_t ContextSize(const ThreadSnapshot& thread)
{
    return thread.hasRegisters ? sizeof(Minidump::Context) : 0;
}

template <typename Entry>
std::size_t ListSize(std::size_t count)
{
    return sizeof(std::uint32_t) + count * sizeof(Entry);
}

Dump::Dump(Snapshot& threads, const ExceptionCopy& exception, std::uint8_t processorCount)
    : threads_(threads), exception_(exception), processorCount_(processorCount)
{
    ForEachModule([this](const LoadedModule&) { ++moduleCount_; });
    for (ThreadSnapshot& thread : threads) {
        thread.stackStart = StackStart(thread);
        thread.stackSize = StackSize(thread);
    }
    const std::size_t streams = exception.isThere ? 4 : 3;
    header_ = places_.Take(sizeof(Minidump::Header));
    directory_ = places_.Take(streams * sizeof(Minidump::DirectoryEntry));
    system_ = places_.Take(sizeof(Minidump::SystemInfo));
    exceptionStream_ = places_.Take(exception.isThere ? sizeof(Minidump::Exception) : 0);
    threadList_ = places_.Take(ListSize<Minidump::Thread>(threads.Count()));
    moduleList_ = places_.Take(ListSize<Minidump::Module>(moduleCount_));
    servicePack_ = places_.Take(sizeof(NO_SERVICE_PACK));
    exceptionContext_ = places_.Take(exception.isThere && KNOWS_REGISTERS ? sizeof(Minidump::Context) : 0);
}

void Dump::Write(Output& output)
{
    WriteDirectory(output);
    WriteSystem(output);
    if (exception_.isThere) {
        output.Put(ToException(exception_, exceptionContext_));
    }
    WriteThreads(output);
    WriteModules(output);
    output.Put(NO_SERVICE_PACK);
    WriteMemory(output);
}

void Dump::WriteDirectory(Output& output) const
{
    output.Put(Minidump::Header{.signature = Minidump::SIGNATURE,
                                .version = Minidump::VERSION,
                                .streamCount = exception_.isThere ? 4u : 3u,
                                .directoryRva = directory_.rva,
                                .checksum = 0,
                                .timeDateStamp = static_cast<std::uint32_t>(time(nullptr)),
                                .flags = MiniDumpNormal});
    output.Put(Minidump::DirectoryEntry{Minidump::SYSTEM_INFO, system_});
    if (exception_.isThere) {
        output.Put(Minidump::DirectoryEntry{Minidump::EXCEPTION, exceptionStream_});
    }
    output.Put(Minidump::DirectoryEntry{Minidump::THREAD_LIST, threadList_});
    output.Put(Minidump::DirectoryEntry{Minidump::MODULE_LIST, moduleList_});
}

void Dump::WriteSystem(Output& output) const
{
    output.Put(Minidump::SystemInfo{.architecture = ARCHITECTURE,
                                    .processorCount = processorCount_,
                                    .productType = OWN_VERSION.wProductType,
                                    .majorVersion = OWN_VERSION.dwMajorVersion,
                                    .minorVersion = OWN_VERSION.dwMinorVersion,
                                    .build = OWN_VERSION.dwBuildNumber,
                                    .platform = OWN_VERSION.dwPlatformId,
                                    .servicePackRva = servicePack_.rva});
}

void Dump::WriteThreads(Output& output)
{
    output.Put(static_cast<std::uint32_t>(threads_.Count()));
    for (const ThreadSnapshot& thread : threads_) {
        const Minidump::Location context = places_.Take(ContextSize(thread));
        const Minidump::Location stack = places_.Take(thread.stackSize);
        output.Put(Minidump::Thread{.id = static_cast<std::uint32_t>(thread.id),
                                    .stack = {thread.stackStart, stack},
                                    .context = context});
    }
}

void Dump::WriteModules(Output& output)
{
    output.Put(moduleCount_);
    ForEachModule([&](const LoadedModule& module) {
        ModuleName name;
        NameModule(module.path, name);
        output.Put(Minidump::Module{.base = module.start,
                                    .size = static_cast<std::uint32_t>(module.end - module.start),
                                    .nameRva = places_.Take(NameSize(name)).rva});
    });
}

// What could be read before and cannot any more is 0.
void WriteStack(Output& output, const ThreadSnapshot& thread)
{
    for (std::size_t done = 0; done < thread.stackSize; done += PIECE) {
        char piece[PIECE]{};
        const std::size_t size = std::min(PIECE, thread.stackSize - done);
        ReadMemory(thread.stackStart + done, piece, size);
        output.Put(piece, size);
    }
}

void Dump::WriteMemory(Output& output) const
{
    if (exceptionContext_.size != 0) {
        output.Put(ToContext(exception_.registers));
    }
    for (const ThreadSnapshot& thread : threads_) {
        if (thread.hasRegisters) {
            output.Put(ToContext(thread.registers));
        }
        WriteStack(output, thread);
    }
    ForEachModule([&](const LoadedModule& module) {
        ModuleName name;
        NameModule(module.path, name);
        const auto length = static_cast<std::uint32_t>(name.length * sizeof(char16_t));
        output.Put(length);
        output.Put(name.units, NameSize(name) - sizeof(length));
    });
}

// The thread of an exception is shown where that happened, not where it waits for its dump.
void ShowException(Snapshot& threads, const ExceptionCopy& exception)
{
    ThreadSnapshot* const thread =
        exception.isThere ? threads.Find(static_cast<pid_t>(exception.threadId)) : nullptr;
    if (thread != nullptr && KNOWS_REGISTERS) {
        thread->hasRegisters = true;
        thread->registers = exception.registers;
    }
}

BOOL WriteDump(File& file, const MINIDUMP_EXCEPTION_INFORMATION* information)
{
    const DWORD before = lastError; // a thread that could not be stopped is no failure of the dump
    const ExceptionCopy exception(information);
    const auto processors = static_cast<std::uint8_t>(std::min(std::thread::hardware_concurrency(), 255u));
    ucontext_t host{};
    CONTEXT registers{};
    getcontext(&host); // here, for this frame is there until the dump is written
    ReadRegisters(host, registers);
    Snapshot threads(registers);
    if (!threads.IsWhole()) {
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    }
    lastError = before;
    ShowException(threads, exception);
    Output output(file);
    if (!RunGuarded([&] { Dump(threads, exception, processors).Write(output); })) { // threads have to go on
        return Fail(ERROR_NOACCESS);
    }
    return output.Flush() ? TRUE : FALSE;
}

} // namespace

} // namespace Platform::Host

using namespace Platform::Host;

BOOL WINAPI MiniDumpWriteDump(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE type,
                              MINIDUMP_EXCEPTION_INFORMATION* exception,
                              PMINIDUMP_USER_STREAM_INFORMATION userStreams,
                              PMINIDUMP_CALLBACK_INFORMATION callback)
{
    return Guarded("MiniDumpWriteDump", FALSE, [&]() -> BOOL {
        const bool isKnown = type == MiniDumpNormal && userStreams == nullptr && callback == nullptr &&
                             (exception == nullptr || exception->ClientPointers == FALSE);
        if (!isKnown || FindObject(process) != OwnProcess() || processId != static_cast<DWORD>(getpid())) {
            return Fail(ERROR_INVALID_PARAMETER);
        }
        const std::shared_ptr<File> found = FindObjectOf<File>(file);
        return found != nullptr ? WriteDump(*found, exception) : FALSE;
    });
}
