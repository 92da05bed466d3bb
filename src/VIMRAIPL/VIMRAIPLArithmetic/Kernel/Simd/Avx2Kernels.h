#pragma once

// AVX2 kernels: the vector kernel bodies over the AVX2 layer. Include only
// from files compiled for AVX2 (the <Op>Lvl3_avx2 files), before the
// operation's arithmetic; VIMRA_ARITHM_ISA_KERNELS(<Op>) then registers them.

#include "Avx2Layer.h"

#define VIMRA_SIMD_NS avx2
#include "VectorBody.h"
#undef VIMRA_SIMD_NS

#define VIMRA_KERNEL_SET ::vimra::eInstructionSet::eAVX2
#define VIMRA_KERNEL_ENTRY ::vimra::simd::avx2::VectorEntry
#include "../KernelFile.h"
