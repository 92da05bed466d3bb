#pragma once

#include <cstdint>

namespace vimra {

/// Instruction sets that typed kernels are written for. The numbering is part of
/// the kit's interface and is kept as is (gaps included).
struct eInstructionSet {
    enum domain : std::uint8_t {
        eStandard = 0,
        eSSE2 = 1,
        eAVX = 5,
        eAVX2 = 7,
        eAVX512 = 8,
    };
};

namespace core {

/// True when the running processor and operating system support the instruction
/// set (for AVX and wider: the CPU feature bits and the OS's saving of the
/// wider registers). The result is further limited by limitInstructionSets().
bool isAvailable(eInstructionSet::domain set);

/// What the hardware offers, ignoring any process-wide limit.
bool isSupportedByProcessor(eInstructionSet::domain set);

/// Caps the instruction sets that isAvailable() reports for the whole process.
/// Meant for tests and benchmarks that exercise lower paths on a capable machine;
/// eAVX512 (the default) removes the cap. Kernels registered at load time stay
/// registered; the selector consults isAvailable() at every lookup.
void limitInstructionSets(eInstructionSet::domain highest);
eInstructionSet::domain getInstructionSetLimit();

/// Human-readable name ("standard", "SSE2", "AVX", "AVX2", "AVX-512").
const char* instructionSetName(eInstructionSet::domain set);

/// GPU processing switch of the framework. Off unless an application turns it on.
bool isGpuSupportActivated();
void setGpuSupportActivated(bool activated);

}  // namespace core
}  // namespace vimra
