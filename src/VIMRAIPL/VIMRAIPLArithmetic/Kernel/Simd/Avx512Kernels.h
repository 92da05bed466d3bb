#pragma once

// AVX-512 kernels: the vector kernel bodies over the AVX-512 layer. Include only
// from files compiled for AVX-512 (the <Op>Lvl3_avx512 files), before the
// operation's arithmetic; VIMRA_ARITHM_ISA_KERNELS(<Op>) then registers them.

#include "Avx512Layer.h"

#define VIMRA_SIMD_NS avx512
#include "VectorBody.h"
#undef VIMRA_SIMD_NS

#define VIMRA_KERNEL_SET ::vimra::eInstructionSet::eAVX512
#define VIMRA_KERNEL_ENTRY ::vimra::simd::avx512::VectorEntry
#include "../KernelFile.h"
