// Access to the level-3 classes' function selectors for the instruction-set
// files, compiled for the baseline processor.

#include "VectorRegistration.h"

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AbsImg/AbsImgLvl3.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl3.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/DivideImgImg/DivideImgImgLvl3.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MultiplyImgImg/MultiplyImgImgLvl3.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/SubtractImgImg/SubtractImgImgLvl3.h>

namespace vimra::imaproc::arithm::kernel {

template <class Lvl3>
processor::AlgorithmFunctionSelector& functionSelectorOf() {
    return Lvl3::retrieveFunctionSelector();
}

template processor::AlgorithmFunctionSelector& functionSelectorOf<AddImgImgLvl3>();
template processor::AlgorithmFunctionSelector& functionSelectorOf<SubtractImgImgLvl3>();
template processor::AlgorithmFunctionSelector& functionSelectorOf<MultiplyImgImgLvl3>();
template processor::AlgorithmFunctionSelector& functionSelectorOf<DivideImgImgLvl3>();
template processor::AlgorithmFunctionSelector& functionSelectorOf<AbsImgLvl3>();

}  // namespace vimra::imaproc::arithm::kernel
