#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/FormulaLevels.h>

#include "../Kernel/FormulaKernels.h"

#include <boost/format.hpp>

#include <algorithm>
#include <vector>

namespace vimra::imaproc::arithm {

namespace {

using formula::eFormulaImageKind;
using formula::imageKindOf;
using image::eImageBufferType;

bool isOneByte(eImageBufferType::domain t) {
    return image::getImageBufferBaseSize(t) == 1;
}
bool isLabelStorage(eImageBufferType::domain t) {
    const int e = image::elementIndex(t);
    return e == 3 || e == 5;
}

class FormulaImagesRule final : public processor::BaseRule {
  public:
    FormulaImagesRule(boost::weak_ptr<const formula::BaseImageFormulaAttribute> formula,
                      std::array<processor::ImageAttributeRef, formula::kImageCount> images,
                      processor::ImageAttributeRef output)
        : m_formula(std::move(formula)), m_images(std::move(images)), m_output(std::move(output)) {}

    BoolResult check() const override {
        const auto f = m_formula.lock();
        if (!f)
            return BoolResult::failure("matchFormulaWithImages: the formula attribute has expired");
        if (!f->isSet()) return BoolResult::failure("matchFormulaWithImages: no formula is set");
        const auto out = m_output.lock();
        const image::BaseImage* outImage = out ? out->getImage() : nullptr;
        std::uint16_t bound = 0, aliases = 0;
        for (unsigned id = 0; id < formula::kImageCount; ++id) {
            const auto a = m_images[id].lock();
            if (!a)
                return BoolResult::failure(
                    "matchFormulaWithImages: an image attribute has expired");
            const image::BaseImage* img = a->getImage();
            if (!img) continue;
            bound |= static_cast<std::uint16_t>(1u << id);
            if (img == outImage) aliases |= static_cast<std::uint16_t>(1u << id);
            const eImageBufferType::domain t = img->getBufferType();
            if (imageKindOf(id) == eFormulaImageKind::eBinary && !isOneByte(t))
                return unsuited(*a, *img, "a binary image needs one-byte elements");
            if (imageKindOf(id) == eFormulaImageKind::eLabel && !isLabelStorage(t))
                return unsuited(*a, *img, "a label image needs unsigned 16- or 32-bit elements");
        }
        const formula::FormulaValidation v =
            f->validateFormula(bound, formula::eFormulaResultKind::eAny, aliases);
        if (v) return BoolResult::success();
        return BoolResult::failure("matchFormulaWithImages: formula \"" + f->getFormulaStr() +
                                   "\" does not suit the images set:\n" + v.Diagnostic);
    }
    std::string describe() const override { return "matchFormulaWithImages"; }

  private:
    static BoolResult unsuited(const processor::BaseImageAttribute& a, const image::BaseImage& img,
                               const char* why) {
        return BoolResult::failure((boost::format("matchFormulaWithImages: %s (%s): %s") %
                                    a.getName() % img.getDescription().toString() % why)
                                       .str());
    }

    boost::weak_ptr<const formula::BaseImageFormulaAttribute> m_formula;
    std::array<processor::ImageAttributeRef, formula::kImageCount> m_images;
    processor::ImageAttributeRef m_output;
};

}  // namespace

processor::RulePtr matchFormulaWithImages(
    boost::weak_ptr<const formula::BaseImageFormulaAttribute> formula,
    std::array<processor::ImageAttributeRef, formula::kImageCount> images,
    processor::ImageAttributeRef output) {
    return boost::make_shared<FormulaImagesRule>(std::move(formula), std::move(images),
                                                 std::move(output));
}

processor::RulePtr formulaRule(
    boost::weak_ptr<const formula::BaseImageFormulaAttribute> formula,
    const std::array<processor::ImageAttributeRef, formula::kImageCount>& images,
    processor::ImageAttributeRef output) {
    // Sizes: every set image and the output against each other.
    std::vector<processor::ImageAttributeRef> all(images.begin(), images.end());
    all.push_back(output);
    processor::RulePtr rule = processor::andRule(matchFormulaWithImages(formula, images, output),
                                                 processor::matchSize(all));
    // Grey images share one element type, and so do label images: the evaluator
    // reads each kind through one type.
    rule = processor::andRule(rule, processor::matchBufferType({images[0], images[1], images[2]}));
    return processor::andRule(rule, processor::matchBufferType({images[6], images[7], images[8]}));
}

// ---- the strip driver -------------------------------------------------------------------------

struct FormulaStripJob::Cache {
    eInstructionSet::domain Set = eInstructionSet::eStandard;
    std::array<formula::FormulaImageView, formula::kImageCount> Images{};
    formula::ImageFormulaManagerPtr Manager;
    image::BorderPolicy Border;
    formula::FormulaImageSize Size;
    std::unique_ptr<formula::FormulaImageEvaluator> Evaluator;
    std::vector<float> Numeric;
    std::vector<std::uint8_t> Logical;

    static bool same(const formula::FormulaImageView& a, const formula::FormulaImageView& b) {
        return a.Data == b.Data && a.Type == b.Type && a.SizeX == b.SizeX && a.SizeY == b.SizeY &&
               a.SizeZ == b.SizeZ && a.RowStride == b.RowStride && a.PlaneStride == b.PlaneStride;
    }
    bool holds(eInstructionSet::domain set,
               const std::array<formula::FormulaImageView, formula::kImageCount>& images,
               const FormulaStripJob& job) const {
        if (!Evaluator || Set != set || Manager != job.Manager || !(Border == job.Border) ||
            Size.Width != job.Size.Width || Size.Height != job.Size.Height ||
            Size.Depth != job.Size.Depth)
            return false;
        for (unsigned i = 0; i < formula::kImageCount; ++i)
            if (!same(Images[i], images[i])) return false;
        return true;
    }
};

namespace {

/// Rows are evaluated in pieces of this many pixels (the buffers stay in cache).
constexpr std::int64_t s_piece = 2048;

template <class T>
void widenLogical(const std::uint8_t* in, void* out, std::int64_t n) {
    T* o = static_cast<T*>(out);
    for (std::int64_t i = 0; i < n; ++i) o[i] = static_cast<T>(in[i]);
}

void storeLogical(int element, const std::uint8_t* in, void* out, std::int64_t n) {
    switch (element) {
        case 2:
            return widenLogical<short>(in, out, n);
        case 3:
            return widenLogical<unsigned short>(in, out, n);
        case 4:
            return widenLogical<int>(in, out, n);
        case 5:
            return widenLogical<unsigned int>(in, out, n);
        case 6:
            return widenLogical<float>(in, out, n);
        default:
            return widenLogical<unsigned char>(in, out, n);
    }
}

constexpr std::size_t s_elementBytes[7] = {1, 1, 2, 2, 4, 4, 4};

}  // namespace

namespace kernel {

processor::ProcessingResult<bool> runFormulaStrip(void* jobPtr, eInstructionSet::domain set,
                                                  formula::eFormulaElementType grey,
                                                  formula::eFormulaElementType label,
                                                  int outputElement, FormulaConvertFn convert) {
    FormulaStripJob& job = *static_cast<FormulaStripJob*>(jobPtr);
    std::array<formula::FormulaImageView, formula::kImageCount> images = job.Images;
    for (unsigned id = 0; id < formula::kImageCount; ++id) {
        if (imageKindOf(id) == eFormulaImageKind::eGrey) images[id].Type = grey;
        if (imageKindOf(id) == eFormulaImageKind::eLabel) images[id].Type = label;
    }
    if (!job.Evaluation) job.Evaluation = std::make_shared<FormulaStripJob::Cache>();
    FormulaStripJob::Cache& cache = *job.Evaluation;
    if (!cache.holds(set, images, job)) {
        cache.Evaluator = std::make_unique<formula::FormulaImageEvaluator>(job.Manager, set, images,
                                                                           job.Border, job.Size);
        cache.Set = set;
        cache.Images = images;
        cache.Manager = job.Manager;
        cache.Border = job.Border;
        cache.Size = job.Size;
    }
    formula::FormulaImageEvaluator& evaluator = *cache.Evaluator;
    if (!evaluator.status())
        return processor::ProcessingResult<bool>::failure(evaluator.status().Message);

    const bool logical = job.Manager->getResultType() == formula::eImageFormulaResultType::eLogical;
    const std::size_t bytes = s_elementBytes[outputElement];
    const processor::ProcessingInfo& strip = job.Strip;
    const auto width = static_cast<std::int64_t>(strip.sizeX);
    const std::int64_t piece = std::min(width, s_piece);
    // Float results go straight to a float output, bytes straight to a one-byte one.
    const bool direct = logical ? bytes == 1 : outputElement == 6;
    if (!direct) {
        if (logical)
            cache.Logical.resize(static_cast<std::size_t>(piece));
        else
            cache.Numeric.resize(static_cast<std::size_t>(piece));
    }
    for (std::uint64_t p = 0; p < strip.planes; ++p)
        for (std::uint64_t r = 0; r < strip.rows; ++r) {
            auto* row = static_cast<std::byte*>(job.Out) +
                        (p * strip.planeStride + r * strip.sizeX) * bytes;
            const auto y = static_cast<std::int64_t>(strip.startY + r);
            const auto z = static_cast<std::int64_t>(strip.startZ + p);
            for (std::int64_t x = 0; x < width; x += piece) {
                const std::int64_t n = std::min(piece, width - x);
                void* target = row + static_cast<std::size_t>(x) * bytes;
                formula::FormulaEvalStatus s;
                if (logical) {
                    std::uint8_t* dst =
                        direct ? static_cast<std::uint8_t*>(target) : cache.Logical.data();
                    s = evaluator.evaluateRow(job.Origin, x, y, z, n, nullptr, dst);
                    if (s && !direct) storeLogical(outputElement, dst, target, n);
                } else {
                    float* dst = direct ? static_cast<float*>(target) : cache.Numeric.data();
                    s = evaluator.evaluateRow(job.Origin, x, y, z, n, dst, nullptr);
                    if (s && !direct) convert(dst, target, static_cast<std::size_t>(n));
                }
                if (!s) return processor::ProcessingResult<bool>::failure(s.Message);
            }
        }
    return processor::ProcessingResult<bool>::success(true);
}

}  // namespace kernel

namespace detail {

formula::FormulaImageView formulaView(const image::KernelStripSource& source) {
    formula::FormulaImageView v;
    v.Data = source.volume;
    v.SizeX = static_cast<std::int64_t>(source.sizeX);
    v.SizeY = static_cast<std::int64_t>(source.sizeY);
    v.SizeZ = static_cast<std::int64_t>(source.sizeZ);
    v.RowStride = static_cast<std::int64_t>(source.sizeX);
    v.PlaneStride = static_cast<std::int64_t>(source.planeStride);
    return v;
}

processor::DataTypeIdentifierColl formulaKernelKey(
    const std::array<const image::KernelStripSource*, 9>& inputs,
    image::eImageBufferType::domain output) {
    auto firstOf = [&](unsigned from, eImageBufferType::domain fallback) {
        for (unsigned id = from; id < from + 3; ++id)
            if (inputs[id]) return inputs[id]->type;
        return fallback;
    };
    processor::DataTypeIdentifierColl key;
    key.append(firstOf(formula::kFirstGreyId, eImageBufferType::eFloat));
    key.append(firstOf(formula::kFirstLabelId, eImageBufferType::eLabel16));
    key.append(output);
    return key;
}

ProcessingResult<bool> formulaNotCompiled(const std::string& processor) {
    return ProcessingResult<bool>::failure(processor + ": the formula is not valid");
}

}  // namespace detail

}  // namespace vimra::imaproc::arithm
