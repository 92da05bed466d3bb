#pragma once

// SSE2 kernels: the vector kernel bodies over the SSE2 layer. Include only
// from files compiled for SSE2 (the <Op>Lvl3_sse2 files), before the
// operation's arithmetic; VIMRA_ARITHM_ISA_KERNELS(<Op>) then registers them.

#include "Sse2Layer.h"

#define VIMRA_SIMD_NS sse2
#include "VectorBody.h"
#undef VIMRA_SIMD_NS

#define VIMRA_KERNEL_SET ::vimra::eInstructionSet::eSSE2
#define VIMRA_KERNEL_ENTRY ::vimra::simd::sse2::VectorEntry
#include "../KernelFile.h"
