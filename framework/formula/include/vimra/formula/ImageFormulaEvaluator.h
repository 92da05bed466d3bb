#pragma once

// Runs a compiled formula over blocks of pixels. A block is a run of pixels along
// x; for each read of the program the caller gives a pointer to the input row at
// the read's offset, or a gather for reads that leave the image. The evaluator
// converts pixels to float once per block and runs each instruction as one
// vector loop over the block.

#include <vimra/core/InstructionSet.h>
#include <vimra/formula/ImageFormulaManager.h>
#include <vimra/image/Border.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vimra::formula {

/// Element type of the grey and label inputs (binary inputs are bytes).
enum class eFormulaElementType : std::uint8_t {
    eInt8,
    eUInt8,
    eInt16,
    eUInt16,
    eInt32,
    eUInt32,
    eFloat
};

template <class T>
constexpr eFormulaElementType formulaElementTypeOf() {
    if constexpr (std::is_same_v<T, signed char>)
        return eFormulaElementType::eInt8;
    else if constexpr (std::is_same_v<T, unsigned char>)
        return eFormulaElementType::eUInt8;
    else if constexpr (std::is_same_v<T, short>)
        return eFormulaElementType::eInt16;
    else if constexpr (std::is_same_v<T, unsigned short>)
        return eFormulaElementType::eUInt16;
    else if constexpr (std::is_same_v<T, int>)
        return eFormulaElementType::eInt32;
    else if constexpr (std::is_same_v<T, unsigned int>)
        return eFormulaElementType::eUInt32;
    else {
        static_assert(std::is_same_v<T, float>, "input types are the seven element types");
        return eFormulaElementType::eFloat;
    }
}

/// Writes `n` input values, as float, for the pixels (x .. x+n-1, y, z) of image
/// `imageId`; the coordinates may lie outside the image (border reads). Binary
/// images give 0 or 1.
using FormulaGatherFn = void (*)(const void* context, unsigned imageId, std::int64_t x,
                                 std::int64_t y, std::int64_t z, int n, float* out);

/// Where one read of the program finds its pixels for a block: `Row` points at
/// the input pixel of the block's first position moved by the read's offset
/// (elements of the image's type, contiguous along x); or, when `Row` is null,
/// `Gather` is called with `Context`.
struct FormulaReadSource {
    const void* Row = nullptr;
    FormulaGatherFn Gather = nullptr;
    const void* Context = nullptr;
};

/// A block: `Count` pixels along x. Its first pixel is at Origin + Position in
/// the image (Origin: the tile's corner; Position: the block within the tile),
/// which is what the coordinates x, y, z give.
struct FormulaBlock {
    std::array<std::int64_t, 3> Origin{0, 0, 0};
    std::array<std::int64_t, 3> Position{0, 0, 0};
    int Count = 0;
    /// One source per entry of ImageFormulaManager::getReads(), in that order.
    const FormulaReadSource* Reads = nullptr;
};

/// The output's size: what width, height and depth give.
struct FormulaImageSize {
    std::int64_t Width = 0, Height = 0, Depth = 1;
};

struct FormulaEvalStatus {
    bool Success = true;
    std::string Message;
    explicit operator bool() const { return Success; }
};

/// A program bound to input types, an instruction set and an output size. One
/// per thread: it owns the registers. The manager is shared and read-only.
class FormulaProgram {
  public:
    FormulaProgram(ImageFormulaManagerPtr manager, eFormulaElementType greyType,
                   eFormulaElementType labelType, eInstructionSet::domain set,
                   FormulaImageSize outputSize);
    ~FormulaProgram();
    FormulaProgram(FormulaProgram&&) noexcept;
    FormulaProgram& operator=(FormulaProgram&&) noexcept;

    /// Numeric values (a logical result gives 0 and 1). NaNs are written as the
    /// canonical quiet NaN.
    FormulaEvalStatus evaluate(const FormulaBlock& block, float* out);
    /// Logical values: 1 where the value is non-zero or NaN, else 0.
    FormulaEvalStatus evaluate(const FormulaBlock& block, std::uint8_t* out);

    const ImageFormulaManager& getManager() const;
    eInstructionSet::domain getInstructionSet() const;

  private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

/// The evaluator over the grey input type, the label type and the instruction
/// set of a typed kernel.
template <class InputT, class LabelT, eInstructionSet::domain Isa>
class ImageFormulaEvaluator : public FormulaProgram {
  public:
    ImageFormulaEvaluator(ImageFormulaManagerPtr manager, FormulaImageSize outputSize)
        : FormulaProgram(std::move(manager), formulaElementTypeOf<InputT>(),
                         formulaElementTypeOf<LabelT>(), Isa, outputSize) {}
};

// ---- whole images -------------------------------------------------------------------------

/// An input image in memory: strides in elements.
struct FormulaImageView {
    const void* Data = nullptr;
    eFormulaElementType Type = eFormulaElementType::eFloat;  ///< ignored for binary images (bytes)
    std::int64_t SizeX = 0, SizeY = 0, SizeZ = 1;
    std::int64_t RowStride = 0, PlaneStride = 0;
};

/// A box of the output, and where its values go (strides in elements).
struct FormulaOutputTile {
    std::array<std::int64_t, 3> Origin{0, 0, 0};
    std::array<std::int64_t, 3> Size{0, 0, 1};
    std::int64_t RowStride = 0, PlaneStride = 0;
};

/// Evaluates runs of output pixels from input images in memory, reading outside
/// them through a border policy: the constant for grey images, false and 0 for
/// binary and label images. Runs where every read is inside read the rows
/// directly; runs near an edge gather. Holds its program (registers included),
/// so one serves any number of rows of one thread.
class FormulaImageEvaluator {
  public:
    /// The element types of the grey and label images come from their views. A
    /// missing image that the formula reads, or images of one kind of different
    /// element types, leave the evaluator failed: see status().
    FormulaImageEvaluator(ImageFormulaManagerPtr manager, eInstructionSet::domain set,
                          const std::array<FormulaImageView, kImageCount>& images,
                          const image::BorderPolicy& border, FormulaImageSize outputSize);
    ~FormulaImageEvaluator();
    FormulaImageEvaluator(const FormulaImageEvaluator&) = delete;
    FormulaImageEvaluator& operator=(const FormulaImageEvaluator&) = delete;

    const FormulaEvalStatus& status() const { return m_status; }

    /// Pixels x .. x + count - 1 of row y of plane z of the images. The formula's
    /// coordinates are `origin` + (x, y, z): a tile of a larger image passes its
    /// corner. Exactly one output is given: float values, or bytes 0/1.
    FormulaEvalStatus evaluateRow(const std::array<std::int64_t, 3>& origin, std::int64_t x,
                                  std::int64_t y, std::int64_t z, std::int64_t count,
                                  float* numericOut, std::uint8_t* logicalOut, int maxBlock = 0);

  private:
    struct State;
    std::unique_ptr<State> m_state;
    FormulaEvalStatus m_status;
};

/// Evaluates a tile of the output from whole input images (indexed by image id;
/// unused ones may be empty), reading outside them through the border policy:
/// the constant for grey images, false and 0 for binary and label images.
/// Interior runs read the rows directly; runs near an edge gather. Output: float
/// values, or bytes 0/1 when `logicalOut` is given instead.
FormulaEvalStatus evaluateFormulaTile(const ImageFormulaManagerPtr& manager,
                                      eInstructionSet::domain set,
                                      const std::array<FormulaImageView, kImageCount>& images,
                                      const image::BorderPolicy& border,
                                      FormulaImageSize outputSize, const FormulaOutputTile& tile,
                                      float* numericOut, std::uint8_t* logicalOut,
                                      int maxBlock = 0);

}  // namespace vimra::formula
