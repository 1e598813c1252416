#include "Plinth/Debug/Processor.h"

#include "Platform/Win32.h"
#include "Plinth/Debug/SystemInfoState.h"

#include <cstring>

namespace Plinth {

namespace {

constexpr std::uint32_t EXTENDED_LEAVES = 0x80000000;
constexpr std::uint32_t FEATURE_MMX = 1u << 23;
constexpr std::uint32_t FEATURE_SSE = 1u << 25;
constexpr std::uint32_t FEATURE_HYPER_THREADING = 1u << 28;
constexpr std::uint32_t EXTENDED_FEATURE_3DNOW = 1u << 31;

struct CpuLeaf {
    std::uint32_t eax, ebx, ecx, edx;
};

CpuLeaf ReadLeaf(std::uint32_t leaf)
{
    int registers[4];
    __cpuidex(registers, static_cast<int>(leaf), 0);
    CpuLeaf result;
    std::memcpy(&result, registers, sizeof(result));
    return result;
}

void ReadStandardLeaves(CpuInfo& cpu)
{
    const CpuLeaf first = ReadLeaf(0);
    const std::uint32_t vendor[] = {first.ebx, first.edx, first.ecx};
    std::memcpy(cpu.vendor, vendor, sizeof(vendor));
    const CpuLeaf second = ReadLeaf(1);
    cpu.signature = second.eax;
    cpu.miscellaneous = second.ebx;
    cpu.features = second.edx;
    if (first.eax >= 4) {
        cpu.cacheParameters = ReadLeaf(4).eax;
    }
}

void ReadBrand(CpuInfo& cpu)
{
    for (std::uint32_t part = 0; part < 3; ++part) {
        const CpuLeaf leaf = ReadLeaf(EXTENDED_LEAVES + 2 + part);
        std::memcpy(cpu.brand + part * sizeof(leaf), &leaf, sizeof(leaf));
    }
}

void ReadExtendedLeaves(CpuInfo& cpu)
{
    const std::uint32_t highest = ReadLeaf(EXTENDED_LEAVES).eax;
    if (highest >= EXTENDED_LEAVES + 1) {
        cpu.extendedFeatures = ReadLeaf(EXTENDED_LEAVES + 1).edx;
    }
    if (highest >= EXTENDED_LEAVES + 4) {
        ReadBrand(cpu);
    }
    if (highest >= EXTENDED_LEAVES + 8) {
        cpu.extendedSizes = ReadLeaf(EXTENDED_LEAVES + 8).ecx;
    }
}

const CpuInfo& Cpu()
{
    if (!systemInfoState.cpu.queried) {
        QueryCpu();
    }
    return systemInfoState.cpu;
}

bool IsMadeBy(const CpuInfo& cpu, const char* vendor)
{
    return std::memcmp(cpu.vendor, vendor, sizeof(cpu.vendor) - 1) == 0;
}

} // namespace

void QueryCpu()
{
    CpuInfo cpu{};
    cpu.queried = true;
    ReadStandardLeaves(cpu);
    ReadExtendedLeaves(cpu);
    systemInfoState.cpu = cpu; // as a whole: other threads may ask at the same time
}

bool HasCpuFeature(std::int32_t kind)
{
    const CpuInfo& cpu = Cpu();
    switch (kind) {
    case CPU_FEATURE_MMX:
        return (cpu.features & FEATURE_MMX) != 0;
    case CPU_FEATURE_SSE:
        return (cpu.features & FEATURE_SSE) != 0;
    case CPU_FEATURE_3DNOW:
        return (cpu.extendedFeatures & EXTENDED_FEATURE_3DNOW) != 0;
    default:
        return false;
    }
}

const char* GetCpuText(std::int32_t kind)
{
    const CpuInfo& cpu = Cpu();
    const char* text = "";
    if (kind == CPU_TEXT_VENDOR) {
        text = cpu.vendor;
    } else if (kind == CPU_TEXT_BRAND) {
        text = cpu.brand;
    }
    return *text != 0 ? text : nullptr;
}

std::int32_t GetCpuCoreCount()
{
    const CpuInfo& cpu = Cpu();
    if (IsMadeBy(cpu, "GenuineIntel")) {
        return static_cast<std::int32_t>((cpu.cacheParameters >> 26) + 1);
    }
    if (IsMadeBy(cpu, "AuthenticAMD")) {
        return static_cast<std::int32_t>((cpu.extendedSizes & 0x7F) + 1);
    }
    return 1;
}

std::int32_t GetCpuLogicalPerPackage()
{
    const CpuInfo& cpu = Cpu();
    const bool hasHyperThreading = (cpu.features & FEATURE_HYPER_THREADING) != 0;
    return hasHyperThreading ? static_cast<std::int32_t>(cpu.miscellaneous >> 16 & 0xFF) : 1;
}

} // namespace Plinth
