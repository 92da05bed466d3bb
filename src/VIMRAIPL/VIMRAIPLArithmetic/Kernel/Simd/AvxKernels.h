#pragma once

// AVX kernels: the vector kernel bodies over the AVX layer. Include only
// from files compiled for AVX (the <Op>Lvl3_avx files), before the
// operation's arithmetic; VIMRA_ARITHM_ISA_KERNELS(<Op>) then registers them.

#include "AvxLayer.h"

#define VIMRA_SIMD_NS avx
#include "VectorBody.h"
#undef VIMRA_SIMD_NS

#define VIMRA_KERNEL_SET ::vimra::eInstructionSet::eAVX
#define VIMRA_KERNEL_ENTRY ::vimra::simd::avx::VectorEntry
#include "../KernelFile.h"
