#pragma once

#include <cstddef>
#include <cstdint>

namespace vimra::formula::test {

/// Compiles `data` as a formula under several contexts and checks what comes
/// back: a diagnostic whose span lies in the text, or a program that every
/// instruction set evaluates to the same bits. Aborts on any violation; the
/// fuzzer and the corpus replay share it.
void fuzzFormulaOne(const std::uint8_t* data, std::size_t size);

/// The longest compilation of the last call, in seconds of processor time.
double lastCompileSeconds();

}  // namespace vimra::formula::test
