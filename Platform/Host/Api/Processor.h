// What the processor says of itself.
#pragma once

// The processor's CPUID instruction: EAX, EBX, ECX and EDX for the leaf. All are 0 on a processor that has no
// such instruction.
void __cpuidex(int registers[4], int leaf, int subLeaf);
