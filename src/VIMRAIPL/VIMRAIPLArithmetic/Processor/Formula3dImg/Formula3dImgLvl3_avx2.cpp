#include "../../Kernel/FormulaKernels.h"

VIMRA_FORMULA_ISA_KERNELS(Formula3dImg, ::vimra::eInstructionSet::eAVX2)
