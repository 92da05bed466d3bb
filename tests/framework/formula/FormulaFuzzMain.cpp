// libFuzzer target of the formula compiler (scripts/fuzz-formula.sh builds it).

#include "FormulaFuzzEntry.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vimra::formula::test::fuzzFormulaOne(data, size);
    return 0;
}
