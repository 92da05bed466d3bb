// The block loop of the evaluator: binds reads and coordinates to registers and
// runs the items, each as one call into the instruction set's table.

#include "Kernels.h"

#include <vimra/formula/ImageFormulaEvaluator.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace vimra::formula {

namespace detail {

const KernelTable* kernelsFor(eInstructionSet::domain set) {
    if (!core::isAvailable(set)) return nullptr;
    switch (set) {
        case eInstructionSet::eStandard:
            return &portableKernels();
        case eInstructionSet::eSSE2:
            return &sse2Kernels();
        case eInstructionSet::eAVX2:
            return &avx2Kernels();
        case eInstructionSet::eAVX512:
            return &avx512Kernels();
        default:
            return nullptr;  // no AVX variant: AVX2 is the next step up
    }
}

namespace {

eElement elementOf(eFormulaElementType t) {
    switch (t) {
        case eFormulaElementType::eInt8:
            return eElement::S8;
        case eFormulaElementType::eUInt8:
            return eElement::U8;
        case eFormulaElementType::eInt16:
            return eElement::S16;
        case eFormulaElementType::eUInt16:
            return eElement::U16;
        case eFormulaElementType::eInt32:
            return eElement::S32;
        case eFormulaElementType::eUInt32:
            return eElement::U32;
        case eFormulaElementType::eFloat:
            return eElement::F32;
    }
    return eElement::F32;
}

}  // namespace
}  // namespace detail

struct FormulaProgram::Impl {
    ImageFormulaManagerPtr Manager;
    const detail::KernelTable* Kernels = nullptr;
    eInstructionSet::domain Set = eInstructionSet::eStandard;
    std::string Error;
    std::array<detail::eElement, kImageCount> Elements{};
    FormulaImageSize Size;
    std::vector<float> Storage;
    float* Base =
        nullptr;  ///< Storage's first 64-byte boundary: no vector load splits a cache line
    std::vector<float*> Regs;

    float* storage(std::size_t reg) { return Base + reg * detail::kBlock; }

    void fill(float* d, float v, int n) { std::fill(d, d + n, v); }

    void runItems(const std::array<std::int64_t, 3>& at, int n) {
        using detail::Op;
        const detail::KernelTable& k = *Kernels;
        const auto& items = Manager->getFormulaItemColl();
        for (std::size_t i = Manager->getFirstPerPixelItem(); i < items.size(); ++i) {
            const FormulaItem& it = items[i];
            float* d = Regs[it.Result];
            auto arg = [&](std::size_t a) { return Regs[it.Args[a]]; };
            switch (it.Kind) {
                case eFormulaItemKind::eImageWithOffset:
                    break;  // bound before the items run
                case eFormulaItemKind::eDynamicConstant:
                    if (it.Code == FormulaDynamicConstantInfo::eX)
                        for (int p = 0; p < n; ++p) d[p] = static_cast<float>(at[0] + p);
                    else
                        fill(d, static_cast<float>(at[it.Code]), n);
                    break;
                case eFormulaItemKind::eGenericFunction: {
                    const Op op = detail::opOf(it.Kind, it.Code);
                    k.binary(op, d, arg(0), arg(1), n);
                    for (std::size_t a = 2; a < it.Args.size(); ++a) k.binary(op, d, d, arg(a), n);
                    break;
                }
                case eFormulaItemKind::eMap:
                    detail::mapBlock(it.Map, d, arg(0), arg(1), n);
                    break;
                case eFormulaItemKind::eCoupledFunction:
                    if (it.Coupled.Function == FormulaCoupledArithmeticFunctionInfo::ePiecewise) {
                        detail::piecewiseBlock(it.Coupled, d, arg(0), n);
                        break;
                    }
                    [[fallthrough]];
                default: {
                    const Op op = detail::opOf(it.Kind, it.Code);
                    switch (detail::arityOf(op)) {
                        case 1:
                            k.unary(op, d, arg(0), n);
                            break;
                        case 2:
                            k.binary(op, d, arg(0), arg(1), n);
                            break;
                        default:
                            k.ternary(op, d, arg(0), arg(1), arg(2), n);
                            break;
                    }
                }
            }
        }
    }

    template <class Out>
    FormulaEvalStatus evaluate(const FormulaBlock& block, Out* out) {
        if (!Error.empty()) return {false, Error};
        if (block.Count < 0)
            return {false,
                    "formula evaluation: negative pixel count " + std::to_string(block.Count)};
        if (block.Count == 0) return {};
        if (out == nullptr) return {false, "formula evaluation: no output buffer"};
        const auto& reads = Manager->getReads();
        if (!reads.empty() && block.Reads == nullptr)
            return {false,
                    "formula evaluation: the block gives no sources for the formula's reads"};
        for (std::size_t r = 0; r < reads.size(); ++r)
            if (block.Reads[r].Row == nullptr && block.Reads[r].Gather == nullptr)
                return {false, "formula evaluation: read " + std::to_string(r) + " (" +
                                   imageName(reads[r].ImageId) +
                                   ") has neither a row nor a gather"};
        std::array<std::int64_t, 3> at;
        for (std::size_t a = 0; a < 3; ++a) at[a] = block.Origin[a] + block.Position[a];
        for (int start = 0; start < block.Count; start += detail::kBlock) {
            const int n = std::min(detail::kBlock, block.Count - start);
            for (std::size_t r = 0; r < reads.size(); ++r) {
                const FormulaReadSource& src = block.Reads[r];
                const FormulaImageWithOffsetInfo& info = reads[r];
                const detail::eElement e = Elements[info.ImageId];
                if (src.Row != nullptr) {
                    const auto* row = static_cast<const unsigned char*>(src.Row) +
                                      static_cast<std::size_t>(start) *
                                          static_cast<std::size_t>(detail::elementSize(e));
                    if (e == detail::eElement::F32) {
                        // Float rows are read in place: read registers are never written.
                        Regs[r] = const_cast<float*>(reinterpret_cast<const float*>(row));
                    } else {
                        Regs[r] = storage(r);
                        Kernels->convert(e, row, Regs[r], n);
                    }
                } else {
                    Regs[r] = storage(r);
                    src.Gather(src.Context, info.ImageId, at[0] + start + info.Dx, at[1] + info.Dy,
                               at[2] + info.Dz, n, Regs[r]);
                }
            }
            runItems({at[0] + start, at[1], at[2]}, n);
            const float* result = Regs[Manager->getResultRegister()];
            if constexpr (std::is_same_v<Out, float>)
                Kernels->storeFloat(out + start, result, n);
            else
                Kernels->storeBool(out + start, result, n);
        }
        return {};
    }
};

FormulaProgram::FormulaProgram(ImageFormulaManagerPtr manager, eFormulaElementType greyType,
                               eFormulaElementType labelType, eInstructionSet::domain set,
                               FormulaImageSize outputSize)
    : m_impl(std::make_unique<Impl>()) {
    Impl& p = *m_impl;
    p.Manager = std::move(manager);
    p.Set = set;
    p.Size = outputSize;
    if (!p.Manager) {
        p.Error = "formula evaluation: no compiled formula";
        return;
    }
    p.Kernels = detail::kernelsFor(set);
    if (p.Kernels == nullptr) {
        p.Error =
            std::string("formula evaluation: the instruction set ") +
            core::instructionSetName(set) +
            (set == eInstructionSet::eAVX
                 ? " has no formula evaluator (there are standard, SSE2, AVX2 and AVX-512 ones)"
                 : " is not available on this processor");
        return;
    }
    for (unsigned id = 0; id < kImageCount; ++id) {
        const eFormulaImageKind kind = imageKindOf(id);
        p.Elements[id] = kind == eFormulaImageKind::eBinary ? detail::eElement::Binary
                         : kind == eFormulaImageKind::eGrey ? detail::elementOf(greyType)
                                                            : detail::elementOf(labelType);
    }
    const std::size_t regs = p.Manager->getRegisterCount();
    p.Storage.assign(regs * detail::kBlock + 16, 0.0f);
    const auto misalign = reinterpret_cast<std::uintptr_t>(p.Storage.data()) % 64;
    p.Base = p.Storage.data() + (misalign == 0 ? 0 : (64 - misalign) / sizeof(float));
    p.Regs.resize(regs);
    for (std::size_t r = 0; r < regs; ++r) p.Regs[r] = p.storage(r);
    // Constants and sizes fill their registers once.
    const auto& items = p.Manager->getFormulaItemColl();
    for (std::size_t i = 0; i < p.Manager->getFirstPerPixelItem(); ++i) {
        const FormulaItem& it = items[i];
        float v = it.Value;
        if (it.Kind == eFormulaItemKind::eImageConstant)
            v = static_cast<float>(it.Code == FormulaImageConstantInfo::eWidth ? outputSize.Width
                                   : it.Code == FormulaImageConstantInfo::eHeight
                                       ? outputSize.Height
                                       : outputSize.Depth);
        p.fill(p.Regs[it.Result], v, detail::kBlock);
    }
}

FormulaProgram::~FormulaProgram() = default;
FormulaProgram::FormulaProgram(FormulaProgram&&) noexcept = default;
FormulaProgram& FormulaProgram::operator=(FormulaProgram&&) noexcept = default;

FormulaEvalStatus FormulaProgram::evaluate(const FormulaBlock& block, float* out) {
    return m_impl->evaluate(block, out);
}
FormulaEvalStatus FormulaProgram::evaluate(const FormulaBlock& block, std::uint8_t* out) {
    return m_impl->evaluate(block, out);
}
const ImageFormulaManager& FormulaProgram::getManager() const {
    return *m_impl->Manager;
}
eInstructionSet::domain FormulaProgram::getInstructionSet() const {
    return m_impl->Set;
}

// ---- whole images -------------------------------------------------------------------------

namespace {

struct GatherContext {
    const std::array<FormulaImageView, kImageCount>* Images;
    image::BorderPolicy Border;
};

template <class T>
float element(const void* data, std::int64_t index) {
    return static_cast<float>(static_cast<const T*>(data)[index]);
}

float loadAsFloat(const FormulaImageView& v, bool binary, std::int64_t index) {
    if (binary) return static_cast<const std::uint8_t*>(v.Data)[index] != 0 ? 1.0f : 0.0f;
    switch (v.Type) {
        case eFormulaElementType::eInt8:
            return element<std::int8_t>(v.Data, index);
        case eFormulaElementType::eUInt8:
            return element<std::uint8_t>(v.Data, index);
        case eFormulaElementType::eInt16:
            return element<std::int16_t>(v.Data, index);
        case eFormulaElementType::eUInt16:
            return element<std::uint16_t>(v.Data, index);
        case eFormulaElementType::eInt32:
            return element<std::int32_t>(v.Data, index);
        case eFormulaElementType::eUInt32:
            return element<std::uint32_t>(v.Data, index);
        case eFormulaElementType::eFloat:
            return element<float>(v.Data, index);
    }
    return 0.0f;
}

void borderGather(const void* context, unsigned id, std::int64_t x, std::int64_t y, std::int64_t z,
                  int n, float* out) {
    const auto& c = *static_cast<const GatherContext*>(context);
    const FormulaImageView& v = (*c.Images)[id];
    const auto type = c.Border.getType();
    const bool binary = imageKindOf(id) == eFormulaImageKind::eBinary;
    const float outside = imageKindOf(id) == eFormulaImageKind::eGrey
                              ? static_cast<float>(c.Border.getConstant())
                              : 0.0f;
    const std::int64_t yi = image::mapBorderIndex(type, y, v.SizeY);
    const std::int64_t zi = image::mapBorderIndex(type, z, v.SizeZ);
    for (int p = 0; p < n; ++p) {
        const std::int64_t xi = image::mapBorderIndex(type, x + p, v.SizeX);
        out[p] = xi < 0 || yi < 0 || zi < 0
                     ? outside
                     : loadAsFloat(v, binary, zi * v.PlaneStride + yi * v.RowStride + xi);
    }
}

int elementBytes(const FormulaImageView& v, bool binary) {
    if (binary) return 1;
    switch (v.Type) {
        case eFormulaElementType::eInt8:
        case eFormulaElementType::eUInt8:
            return 1;
        case eFormulaElementType::eInt16:
        case eFormulaElementType::eUInt16:
            return 2;
        default:
            return 4;
    }
}

}  // namespace

struct FormulaImageEvaluator::State {
    std::array<FormulaImageView, kImageCount> Images;
    GatherContext Context;
    std::vector<FormulaReadSource> Sources;
    std::unique_ptr<FormulaProgram> Program;
};

FormulaImageEvaluator::FormulaImageEvaluator(ImageFormulaManagerPtr manager,
                                             eInstructionSet::domain set,
                                             const std::array<FormulaImageView, kImageCount>& images,
                                             const image::BorderPolicy& border,
                                             FormulaImageSize outputSize)
    : m_state(std::make_unique<State>()) {
    State& st = *m_state;
    st.Images = images;
    st.Context = {&st.Images, border};
    if (!manager) {
        m_status = {false, "formula evaluation: no compiled formula"};
        return;
    }
    const auto& reads = manager->getReads();
    eFormulaElementType grey = eFormulaElementType::eFloat, label = eFormulaElementType::eUInt32;
    for (const auto& r : reads) {
        const FormulaImageView& v = images[r.ImageId];
        if (v.Data == nullptr || v.SizeX <= 0 || v.SizeY <= 0 || v.SizeZ <= 0) {
            m_status = {false, "formula evaluation: the formula reads " + imageName(r.ImageId) +
                                   ", which is not given"};
            return;
        }
        if (imageKindOf(r.ImageId) == eFormulaImageKind::eGrey) grey = v.Type;
        if (imageKindOf(r.ImageId) == eFormulaImageKind::eLabel) label = v.Type;
    }
    for (const auto& r : reads) {
        const FormulaImageView& v = images[r.ImageId];
        if ((imageKindOf(r.ImageId) == eFormulaImageKind::eGrey && v.Type != grey) ||
            (imageKindOf(r.ImageId) == eFormulaImageKind::eLabel && v.Type != label)) {
            m_status = {false, "formula evaluation: images of one kind must share an element type"};
            return;
        }
    }
    st.Sources.resize(reads.size());
    st.Program = std::make_unique<FormulaProgram>(std::move(manager), grey, label, set, outputSize);
}

FormulaImageEvaluator::~FormulaImageEvaluator() = default;

FormulaEvalStatus FormulaImageEvaluator::evaluateRow(const std::array<std::int64_t, 3>& origin,
                                                     std::int64_t x0, std::int64_t y,
                                                     std::int64_t z, std::int64_t count,
                                                     float* numericOut, std::uint8_t* logicalOut,
                                                     int maxBlock) {
    if (!m_status) return m_status;
    if ((numericOut == nullptr) == (logicalOut == nullptr))
        return {false, "formula evaluation: give exactly one output buffer"};
    State& st = *m_state;
    const auto& reads = st.Program->getManager().getReads();
    const int step =
        maxBlock > 0 ? maxBlock : static_cast<int>(std::min<std::int64_t>(count, 1 << 20));
    for (std::int64_t t = 0; t < count;) {
        // A run in which each read is either wholly inside its image or goes
        // through the border: cut where a read crosses an edge.
        const std::int64_t x = x0 + t;
        std::int64_t end = std::min(count, t + step);
        for (const auto& r : reads) {
            const std::int64_t sizeX = st.Images[r.ImageId].SizeX;
            for (const std::int64_t edge : {-r.Dx - x0, sizeX - r.Dx - x0})
                if (edge > t && edge < end) end = edge;
        }
        const int n = static_cast<int>(end - t);
        for (std::size_t i = 0; i < reads.size(); ++i) {
            const auto& r = reads[i];
            const FormulaImageView& v = st.Images[r.ImageId];
            const std::int64_t rx = x + r.Dx, ry = y + r.Dy, rz = z + r.Dz;
            const bool inside = rx >= 0 && rx + n <= v.SizeX && ry >= 0 && ry < v.SizeY &&
                                rz >= 0 && rz < v.SizeZ;
            const bool binary = imageKindOf(r.ImageId) == eFormulaImageKind::eBinary;
            if (inside)
                st.Sources[i] = {static_cast<const unsigned char*>(v.Data) +
                                     (rz * v.PlaneStride + ry * v.RowStride + rx) *
                                         elementBytes(v, binary),
                                 nullptr, nullptr};
            else
                st.Sources[i] = {nullptr, &borderGather, &st.Context};
        }
        FormulaBlock block;
        block.Origin = origin;
        block.Position = {x, y, z};
        block.Count = n;
        block.Reads = st.Sources.data();
        const FormulaEvalStatus s = numericOut ? st.Program->evaluate(block, numericOut + t)
                                               : st.Program->evaluate(block, logicalOut + t);
        if (!s) return s;
        t = end;
    }
    return {};
}

FormulaEvalStatus evaluateFormulaTile(const ImageFormulaManagerPtr& manager,
                                      eInstructionSet::domain set,
                                      const std::array<FormulaImageView, kImageCount>& images,
                                      const image::BorderPolicy& border,
                                      FormulaImageSize outputSize, const FormulaOutputTile& tile,
                                      float* numericOut, std::uint8_t* logicalOut, int maxBlock) {
    FormulaImageEvaluator evaluator(manager, set, images, border, outputSize);
    if (!evaluator.status()) return evaluator.status();
    if ((numericOut == nullptr) == (logicalOut == nullptr))
        return {false, "formula evaluation: give exactly one output buffer"};
    for (std::int64_t tz = 0; tz < tile.Size[2]; ++tz)
        for (std::int64_t ty = 0; ty < tile.Size[1]; ++ty) {
            const std::int64_t o = tz * tile.PlaneStride + ty * tile.RowStride;
            const FormulaEvalStatus s = evaluator.evaluateRow(
                {0, 0, 0}, tile.Origin[0], tile.Origin[1] + ty, tile.Origin[2] + tz, tile.Size[0],
                numericOut ? numericOut + o : nullptr, logicalOut ? logicalOut + o : nullptr,
                maxBlock);
            if (!s) return s;
        }
    return {};
}

}  // namespace vimra::formula
