// The portable evaluator: one float per lane, built for the baseline processor.

#include "EvalBody.h"
#include "ScalarLane.h"

namespace vimra::formula::detail {

const KernelTable& portableKernels() {
    using Lane = ScalarLane<eInstructionSet::eStandard>;
    static const KernelTable table = EvalBody<Lane, Lane>::table();
    return table;
}

}  // namespace vimra::formula::detail
