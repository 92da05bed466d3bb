#pragma once

// Running formulas over small in-memory images in the tests.

#include <vimra/formula/ImageFormulaEvaluator.h>

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstdint>
#include <string>
#include <vector>

namespace vimra::formula::test {

/// Nine optional inputs: grey images as float, binary as bytes, labels as uint32.
struct Inputs {
    std::int64_t SizeX = 1, SizeY = 1, SizeZ = 1;
    std::array<std::vector<float>, 3> Grey;
    std::array<std::vector<std::uint8_t>, 3> Binary;
    std::array<std::vector<std::uint32_t>, 3> Label;

    std::array<FormulaImageView, kImageCount> views() const {
        std::array<FormulaImageView, kImageCount> v{};
        auto view = [&](const void* data, eFormulaElementType t) {
            return FormulaImageView{data, t, SizeX, SizeY, SizeZ, SizeX, SizeX * SizeY};
        };
        for (std::size_t i = 0; i < 3; ++i) {
            if (!Grey[i].empty()) v[i] = view(Grey[i].data(), eFormulaElementType::eFloat);
            if (!Binary[i].empty()) v[3 + i] = view(Binary[i].data(), eFormulaElementType::eUInt8);
            if (!Label[i].empty()) v[6 + i] = view(Label[i].data(), eFormulaElementType::eUInt32);
        }
        return v;
    }
    std::uint16_t bound() const {
        std::uint16_t b = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            if (!Grey[i].empty()) b |= static_cast<std::uint16_t>(1u << i);
            if (!Binary[i].empty()) b |= static_cast<std::uint16_t>(1u << (3 + i));
            if (!Label[i].empty()) b |= static_cast<std::uint16_t>(1u << (6 + i));
        }
        return b;
    }
};

inline ImageFormulaManagerPtr compileOrFail(const std::string& formula,
                                            const FormulaCompileOptions& o = {}) {
    const FormulaCompileResult r = compileFormula(formula, o);
    EXPECT_TRUE(r.ok()) << formula << "\n" << formatDiagnostics(r.Diagnostics);
    return r.Manager;
}

/// The numeric output over the whole image.
inline std::vector<float> evaluate(
    const ImageFormulaManagerPtr& m, const Inputs& in,
    eInstructionSet::domain set = eInstructionSet::eStandard,
    const image::BorderPolicy& border = image::BorderPolicy::constant(0.0), int maxBlock = 0) {
    std::vector<float> out(static_cast<std::size_t>(in.SizeX * in.SizeY * in.SizeZ), -12345.0f);
    if (!m) return out;
    FormulaOutputTile tile;
    tile.Size = {in.SizeX, in.SizeY, in.SizeZ};
    tile.RowStride = in.SizeX;
    tile.PlaneStride = in.SizeX * in.SizeY;
    const FormulaEvalStatus s =
        evaluateFormulaTile(m, set, in.views(), border, {in.SizeX, in.SizeY, in.SizeZ}, tile,
                            out.data(), nullptr, maxBlock);
    EXPECT_TRUE(s.Success) << s.Message;
    return out;
}

/// The value of a formula without images (or over a 1x1 input).
inline float value(const std::string& formula, const Inputs& in = {}) {
    FormulaCompileOptions o;
    o.BoundImages = in.bound();
    const auto m = compileOrFail(formula, o);
    return m ? evaluate(m, in)[0] : -12345.0f;
}

inline std::uint32_t bits(float v) {
    return std::bit_cast<std::uint32_t>(v);
}

/// Same bits, every NaN counting as the canonical one.
inline bool sameBits(float a, float b) {
    return a != a ? b != b : bits(a) == bits(b);
}

}  // namespace vimra::formula::test
