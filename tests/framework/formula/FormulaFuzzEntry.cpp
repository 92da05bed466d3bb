#include "FormulaFuzzEntry.h"

#include <vimra/formula/ImageFormulaEvaluator.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>
#include <vector>

namespace vimra::formula::test {

namespace {

double g_lastCompile = 0.0;

/// Processor time of this thread: compile times that do not depend on the load.
double cpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

[[noreturn]] void violation(const char* what, std::string_view text) {
    std::fprintf(stderr, "formula fuzz: %s\nformula (%zu bytes): %.*s\n", what, text.size(),
                 static_cast<int>(std::min<std::size_t>(text.size(), 500)), text.data());
    std::abort();
}

void checkDiagnostics(const FormulaCompileResult& r, std::string_view text) {
    if (r.Diagnostics.empty()) violation("a failed compilation without a diagnostic", text);
    for (const FormulaDiagnostic& d : r.Diagnostics) {
        if (d.Offset > text.size() || d.Length > text.size() - d.Offset)
            violation("a span outside the text", text);
        if (d.Message.empty() || d.CaretLine.find('^') == std::string::npos || d.Line == 0 ||
            d.Column == 0)
            violation("an incomplete diagnostic", text);
        if (std::strncmp(diagnosticCodeName(d.Code), "E_", 2) != 0 ||
            std::strcmp(diagnosticCodeName(d.Code), "E_UNKNOWN") == 0)
            violation("an unnamed diagnostic code", text);
        if (formatDiagnostic(d).empty()) violation("an empty diagnostic text", text);
    }
}

// A 5x3(x2) image per input, with values that reach the edge cases.
void evaluateEverywhere(const ImageFormulaManagerPtr& m, std::string_view text) {
    constexpr std::int64_t sx = 5, sy = 3;
    const std::int64_t sz = m->getDimension() == eFormulaDimension::e3d ? 2 : 1;
    const std::size_t n = static_cast<std::size_t>(sx * sy * sz);
    const float greyValues[] = {0.0f, -1.5f, 3.0f, 255.0f, 1e30f, -0.0f, 0.5f, 7.0f};
    std::vector<float> grey(n);
    std::vector<std::uint8_t> binary(n);
    std::vector<std::uint32_t> label(n);
    for (std::size_t i = 0; i < n; ++i) {
        grey[i] = greyValues[i % 8];
        binary[i] = static_cast<std::uint8_t>(i % 3 == 0);
        label[i] = static_cast<std::uint32_t>(i % 4);
    }
    std::array<FormulaImageView, kImageCount> views{};
    for (unsigned id = 0; id < kImageCount; ++id) {
        const void* data = id < 3   ? static_cast<const void*>(grey.data())
                           : id < 6 ? static_cast<const void*>(binary.data())
                                    : static_cast<const void*>(label.data());
        const auto type = id < 3   ? eFormulaElementType::eFloat
                          : id < 6 ? eFormulaElementType::eUInt8
                                   : eFormulaElementType::eUInt32;
        views[id] = {data, type, sx, sy, sz, sx, sx * sy};
    }
    FormulaOutputTile tile;
    tile.Size = {sx, sy, sz};
    tile.RowStride = sx;
    tile.PlaneStride = sx * sy;
    std::vector<float> reference(n), out(n);
    const auto border = image::BorderPolicy::mirror();
    if (!evaluateFormulaTile(m, eInstructionSet::eStandard, views, border, {sx, sy, sz}, tile,
                             reference.data(), nullptr))
        violation("the portable evaluator failed", text);
    for (const auto set :
         {eInstructionSet::eSSE2, eInstructionSet::eAVX2, eInstructionSet::eAVX512}) {
        if (!core::isAvailable(set)) continue;
        if (!evaluateFormulaTile(m, set, views, border, {sx, sy, sz}, tile, out.data(), nullptr, 3))
            violation("a vector evaluator failed", text);
        if (std::memcmp(out.data(), reference.data(), n * sizeof(float)) != 0)
            violation("an instruction set differs from the portable evaluator", text);
    }
}

}  // namespace

double lastCompileSeconds() {
    return g_lastCompile;
}

void fuzzFormulaOne(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    g_lastCompile = 0.0;
    FormulaCompileOptions contexts[3];
    contexts[1].Dimension = eFormulaDimension::e3d;
    contexts[2].BoundImages = 0x049;  // I1 B1 L1 only
    contexts[2].OutputAliases = 0x1;
    contexts[2].RequiredResult = eFormulaResultKind::eNumeric;
    contexts[2].Limits.MaxTemporaries = 8;
    contexts[2].Limits.MaxNesting = 16;
    for (const auto& o : contexts) {
        const double start = cpuSeconds();
        const FormulaCompileResult r = compileFormula(text, o);
        const double seconds = cpuSeconds() - start;
        g_lastCompile = std::max(g_lastCompile, seconds);
        if (!r.ok()) {
            checkDiagnostics(r, text);
            continue;
        }
        if (!r.Diagnostics.empty()) violation("a program with diagnostics", text);
        const FormulaExplanation e = explainFormula(text, o);
        if (!e.Valid || e.NormalForm != r.Manager->getNormalForm())
            violation("explain disagrees", text);
        // The normal form is itself a formula with the same meaning.
        const FormulaCompileResult again = compileFormula(e.NormalForm, o);
        if (!again.ok() && again.Diagnostics[0].Code != eFormulaDiagnosticCode::E_LIMIT_LENGTH &&
            again.Diagnostics[0].Code != eFormulaDiagnosticCode::E_LIMIT_TOKENS &&
            again.Diagnostics[0].Code != eFormulaDiagnosticCode::E_LIMIT_NESTING)
            violation("the normal form does not compile", text);
        if (again.ok() && again.Manager->getResultType() != r.Manager->getResultType())
            violation("the normal form changes the result type", text);
        evaluateEverywhere(r.Manager, text);
    }
}

}  // namespace vimra::formula::test
