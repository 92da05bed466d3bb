#include "../../Kernel/FormulaKernels.h"

VIMRA_FORMULA_ISA_KERNELS(Formula2dImg, ::vimra::eInstructionSet::eAVX512)
