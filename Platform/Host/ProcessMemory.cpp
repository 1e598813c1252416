#include "Platform/Host/ProcessMemory.h"

#include <algorithm>
#include <sys/uio.h>
#include <unistd.h>

namespace Platform::Host {

namespace {

constexpr std::size_t PAGE = 4096;
constexpr std::size_t PARTS_AT_ONCE = 32;

// The host reads a part whole or not at all, so the parts end where pages do.
std::size_t Split(std::uintptr_t address, std::size_t size, iovec (&parts)[PARTS_AT_ONCE])
{
    std::size_t count = 0;
    for (; size != 0 && count < PARTS_AT_ONCE; ++count) {
        const std::size_t length = std::min(size, PAGE - address % PAGE);
        parts[count] = {reinterpret_cast<void*>(address), length};
        address += length;
        size -= length;
    }
    return count;
}

} // namespace

std::size_t ReadMemory(std::uintptr_t address, void* bytes, std::size_t size)
{
    std::size_t done = 0;
    ssize_t step = 1;
    while (done < size && step > 0) {
        iovec parts[PARTS_AT_ONCE];
        const std::size_t count = Split(address + done, size - done, parts);
        const iovec target{static_cast<char*>(bytes) + done, size - done};
        step = process_vm_readv(getpid(), &target, 1, parts, count, 0);
        done += step > 0 ? static_cast<std::size_t>(step) : 0;
    }
    return done;
}

} // namespace Platform::Host
