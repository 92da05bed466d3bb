#pragma once

// The level classes of the formula operations (formula2dImg, formula3dImg),
// written once for 2d and 3d. An operation is a declaration `Op` as for the
// pixel-wise operations (name, tool tips, Inputs: the nine optional images in
// the order grey 1-3, binary 1-3, label 1-3; Values: the formula and the border
// policy; Outputs: OutImg) plus
//   using KernelStrip = image::InputImageYStrip2dWithKernel;   or the z variant
//   static constexpr auto s_splitType = ...ePlane2d;           or eVolume3d
//
//   Lvl1  rule (matchFormulaWithImages, sizes, types), output from the formula;
//         one level-2 run per sub-image over the images the formula reads.
//   Lvl2  strips of the output, and of each input widened by the formula's halo.
//   Lvl3  the kernel of the strips' input, label and output types.

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/OutputInitializer/FormulaInitializerUtils.h>

#include <vimra/formula/ImageFormulaEvaluator.h>
#include <vimra/processor/FormulaAttribute.h>

#include <array>
#include <memory>
#include <string>

namespace vimra::imaproc::attr {

using InOptImg1 = Attribute<"InOptImg1", BaseInputImageAttribute>;
using InOptImg2 = Attribute<"InOptImg2", BaseInputImageAttribute>;
using InOptImg3 = Attribute<"InOptImg3", BaseInputImageAttribute>;
using InOptBinImg1 = Attribute<"InOptBinImg1", BaseInputImageAttribute>;
using InOptBinImg2 = Attribute<"InOptBinImg2", BaseInputImageAttribute>;
using InOptBinImg3 = Attribute<"InOptBinImg3", BaseInputImageAttribute>;
using InOptLabImg1 = Attribute<"InOptLabImg1", BaseInputImageAttribute>;
using InOptLabImg2 = Attribute<"InOptLabImg2", BaseInputImageAttribute>;
using InOptLabImg3 = Attribute<"InOptLabImg3", BaseInputImageAttribute>;
using InOptImg3d1 = Attribute<"InOptImg3d1", BaseInputImageAttribute>;
using InOptImg3d2 = Attribute<"InOptImg3d2", BaseInputImageAttribute>;
using InOptImg3d3 = Attribute<"InOptImg3d3", BaseInputImageAttribute>;
using InOptBinImg3d1 = Attribute<"InOptBinImg3d1", BaseInputImageAttribute>;
using InOptBinImg3d2 = Attribute<"InOptBinImg3d2", BaseInputImageAttribute>;
using InOptBinImg3d3 = Attribute<"InOptBinImg3d3", BaseInputImageAttribute>;
using InOptLabImg3d1 = Attribute<"InOptLabImg3d1", BaseInputImageAttribute>;
using InOptLabImg3d2 = Attribute<"InOptLabImg3d2", BaseInputImageAttribute>;
using InOptLabImg3d3 = Attribute<"InOptLabImg3d3", BaseInputImageAttribute>;

using InOptSubImg2d1 = Attribute<"InOptSubImg2d1", BaseInputImageAttribute>;
using InOptSubImg2d2 = Attribute<"InOptSubImg2d2", BaseInputImageAttribute>;
using InOptSubImg2d3 = Attribute<"InOptSubImg2d3", BaseInputImageAttribute>;
using InOptSubBinImg2d1 = Attribute<"InOptSubBinImg2d1", BaseInputImageAttribute>;
using InOptSubBinImg2d2 = Attribute<"InOptSubBinImg2d2", BaseInputImageAttribute>;
using InOptSubBinImg2d3 = Attribute<"InOptSubBinImg2d3", BaseInputImageAttribute>;
using InOptSubLabImg2d1 = Attribute<"InOptSubLabImg2d1", BaseInputImageAttribute>;
using InOptSubLabImg2d2 = Attribute<"InOptSubLabImg2d2", BaseInputImageAttribute>;
using InOptSubLabImg2d3 = Attribute<"InOptSubLabImg2d3", BaseInputImageAttribute>;
using InOptSubImg3d1 = Attribute<"InOptSubImg3d1", BaseInputImageAttribute>;
using InOptSubImg3d2 = Attribute<"InOptSubImg3d2", BaseInputImageAttribute>;
using InOptSubImg3d3 = Attribute<"InOptSubImg3d3", BaseInputImageAttribute>;
using InOptSubBinImg3d1 = Attribute<"InOptSubBinImg3d1", BaseInputImageAttribute>;
using InOptSubBinImg3d2 = Attribute<"InOptSubBinImg3d2", BaseInputImageAttribute>;
using InOptSubBinImg3d3 = Attribute<"InOptSubBinImg3d3", BaseInputImageAttribute>;
using InOptSubLabImg3d1 = Attribute<"InOptSubLabImg3d1", BaseInputImageAttribute>;
using InOptSubLabImg3d2 = Attribute<"InOptSubLabImg3d2", BaseInputImageAttribute>;
using InOptSubLabImg3d3 = Attribute<"InOptSubLabImg3d3", BaseInputImageAttribute>;

using InOptKnlYStrip2d1 = Attribute<"InOptKnlYStrip2d1", BaseInputYStrip2dWithKernelAttribute>;
using InOptKnlYStrip2d2 = Attribute<"InOptKnlYStrip2d2", BaseInputYStrip2dWithKernelAttribute>;
using InOptKnlYStrip2d3 = Attribute<"InOptKnlYStrip2d3", BaseInputYStrip2dWithKernelAttribute>;
using InOptKnlBinYStrip2d1 =
    Attribute<"InOptKnlBinYStrip2d1", BaseInputYStrip2dWithKernelAttribute>;
using InOptKnlBinYStrip2d2 =
    Attribute<"InOptKnlBinYStrip2d2", BaseInputYStrip2dWithKernelAttribute>;
using InOptKnlBinYStrip2d3 =
    Attribute<"InOptKnlBinYStrip2d3", BaseInputYStrip2dWithKernelAttribute>;
using InOptKnlLabYStrip2d1 =
    Attribute<"InOptKnlLabYStrip2d1", BaseInputYStrip2dWithKernelAttribute>;
using InOptKnlLabYStrip2d2 =
    Attribute<"InOptKnlLabYStrip2d2", BaseInputYStrip2dWithKernelAttribute>;
using InOptKnlLabYStrip2d3 =
    Attribute<"InOptKnlLabYStrip2d3", BaseInputYStrip2dWithKernelAttribute>;
using InOptKnlZStrip3d1 = Attribute<"InOptKnlZStrip3d1", BaseInputZStrip3dWithKernelAttribute>;
using InOptKnlZStrip3d2 = Attribute<"InOptKnlZStrip3d2", BaseInputZStrip3dWithKernelAttribute>;
using InOptKnlZStrip3d3 = Attribute<"InOptKnlZStrip3d3", BaseInputZStrip3dWithKernelAttribute>;
using InOptKnlBinZStrip3d1 =
    Attribute<"InOptKnlBinZStrip3d1", BaseInputZStrip3dWithKernelAttribute>;
using InOptKnlBinZStrip3d2 =
    Attribute<"InOptKnlBinZStrip3d2", BaseInputZStrip3dWithKernelAttribute>;
using InOptKnlBinZStrip3d3 =
    Attribute<"InOptKnlBinZStrip3d3", BaseInputZStrip3dWithKernelAttribute>;
using InOptKnlLabZStrip3d1 =
    Attribute<"InOptKnlLabZStrip3d1", BaseInputZStrip3dWithKernelAttribute>;
using InOptKnlLabZStrip3d2 =
    Attribute<"InOptKnlLabZStrip3d2", BaseInputZStrip3dWithKernelAttribute>;
using InOptKnlLabZStrip3d3 =
    Attribute<"InOptKnlLabZStrip3d3", BaseInputZStrip3dWithKernelAttribute>;

}  // namespace vimra::imaproc::attr

namespace vimra::imaproc::arithm {

/// The optional inputs of a formula; an empty pointer is an image left unset.
/// Their positions are the image identifiers of the formula language (I1..I3 are
/// 0..2, B1..B3 3..5, L1..L3 6..8).
struct FormulaInOptImages {
    ConstImagePtr Grey1, Grey2, Grey3;
    ConstImagePtr Binary1, Binary2, Binary3;
    ConstImagePtr Label1, Label2, Label3;

    std::array<ConstImagePtr, formula::kImageCount> asArray() const {
        return {Grey1, Grey2, Grey3, Binary1, Binary2, Binary3, Label1, Label2, Label3};
    }
};

/// Neighbourhood reads outside the image follow this policy when the caller gives none.
inline image::BorderPolicy defaultFormulaBorder() {
    return image::BorderPolicy::mirror();
}

/// A value with a different attribute at each level.
template <class A1, class A2, class A3>
struct LevelChain {
    using Lvl1 = A1;
    using Lvl2 = A2;
    using Lvl3 = A3;
};

// ---- rules ----------------------------------------------------------------------------------

/// Every image the formula reads is set and suits its use (binary images of one
/// byte, label images of unsigned 16- or 32-bit elements), the formula is valid
/// for the images set, and an image that is also the output is not read at an
/// offset.
processor::RulePtr matchFormulaWithImages(
    boost::weak_ptr<const formula::BaseImageFormulaAttribute> formula,
    std::array<processor::ImageAttributeRef, formula::kImageCount> images,
    processor::ImageAttributeRef output);

/// The rule of both formula operations: matchFormulaWithImages, every set image
/// and the output of one size, grey images of one buffer type and label images of
/// one buffer type (the evaluator reads each kind through one element type).
processor::RulePtr formulaRule(
    boost::weak_ptr<const formula::BaseImageFormulaAttribute> formula,
    const std::array<processor::ImageAttributeRef, formula::kImageCount>& images,
    processor::ImageAttributeRef output);

template <class Level, class... A>
std::array<processor::ImageAttributeRef, formula::kImageCount> imageRefs(const Level& level,
                                                                         TypeList<A...>) {
    return {processor::ImageAttributeRef(level.template attribute<A>())...};
}

struct FormulaRule {
    template <class Level>
    static processor::RulePtr make(const Level& level) {
        using Op = typename Level::Operation;
        return formulaRule(
            level.template attribute<typename Op::FormulaAttr>(),
            imageRefs(level, typename detail::LevelAttributes<eLevel::eLvl1, Op>::Inputs{}),
            level.template attribute<attr::OutImg>());
    }
};

/// The output created from the formula (outputFormula).
template <class FormulaAttr>
struct FormulaOutput {
    template <class Level>
    static processor::OutputInitializerPtr make(const Level& level) {
        return make(
            level,
            typename detail::LevelAttributes<eLevel::eLvl1, typename Level::Operation>::Inputs{});
    }

  private:
    template <class Level, class... A>
    static processor::OutputInitializerPtr make(const Level& level, TypeList<A...>) {
        return processor::customOutput(level.template attribute<attr::OutImg>(),
                                       outputFormula(level.template attribute<FormulaAttr>(),
                                                     level.template attribute<A>()...));
    }
};

// ---- the strip kernel's view of a run ---------------------------------------------------------

/// What a level-3 formula processor hands its kernel: the compiled formula, the
/// border, the inputs' whole sub-images, the output strip and where it lies. The
/// kernel keeps its evaluator here between the strips of a chunk.
struct FormulaStripJob {
    formula::ImageFormulaManagerPtr Manager;
    image::BorderPolicy Border;
    std::array<formula::FormulaImageView, formula::kImageCount> Images{};
    formula::FormulaImageSize Size;
    std::array<std::int64_t, 3> Origin{0, 0, 0};
    void* Out = nullptr;
    processor::ProcessingInfo Strip;

    struct Cache;
    std::shared_ptr<Cache> Evaluation;
};

namespace detail {
/// The input views of a strip: its source volume, rows of sizeX elements.
formula::FormulaImageView formulaView(const image::KernelStripSource& source);
/// Kernel key: the grey input type (float when none is read), the label type
/// (unsigned 16-bit when none is read) and the output type.
processor::DataTypeIdentifierColl formulaKernelKey(
    const std::array<const image::KernelStripSource*, 9>& inputs,
    image::eImageBufferType::domain output);
ProcessingResult<bool> formulaNotCompiled(const std::string& processor);
}  // namespace detail

// ---- level 1 --------------------------------------------------------------------------------

/// Op::chooseProvider of the formula operations: one level-2 run per sub-image,
/// splitting the output and each set image the formula reads.
template <class Op>
struct FormulaLvl1Provider {
    template <class L1>
    static ProcessingResult<bool> choose(const L1& level, unsigned priority,
                                         processor::ProviderPtr& provider) {
        using Lvl2 = typename Op::Lvl2Class;
        const auto& formulaAttr = level.template attribute<typename Op::FormulaAttr>();
        const auto manager = formulaAttr->getImageFormulaManager();
        if (!manager) return detail::formulaNotCompiled(L1::getTypeName());
        std::vector<processor::StaticSplitPtr> splits;
        auto out = boost::make_shared<processor::SubImageSplit<Lvl2, attr::OutImg>>();
        out->initBase(Op::s_splitType, 0, 0, 0,
                      level.template attribute<attr::OutImg>()->getValue());
        splits.push_back(out);
        addInputs<Lvl2>(level, *manager, splits, typename Op::Inputs{},
                        std::make_index_sequence<9>{});
        auto f = boost::make_shared<processor::StaticFormulaNoSplit<typename Op::FormulaAttr>>();
        f->initBase(formulaAttr);
        splits.push_back(f);
        using Border = typename Op::BorderChain;
        const auto& border = level.template attribute<typename Border::Lvl1>();
        auto b = boost::make_shared<processor::StaticNoSplit<typename Border::Lvl2>>();
        b->initBase(border->isSet() ? border->getValue() : defaultFormulaBorder());
        splits.push_back(b);
        auto dispatcher = boost::make_shared<processor::StaticProcessorDispatcher<Lvl2>>();
        dispatcher->initBase(priority, std::move(splits));
        provider = dispatcher;
        return ProcessingResult<bool>::success(true);
    }

  private:
    template <class Lvl2, class L1, class... C, std::size_t... I>
    static void addInputs(const L1& level, const formula::ImageFormulaManager& m,
                          std::vector<processor::StaticSplitPtr>& splits, TypeList<C...>,
                          std::index_sequence<I...>) {
        (addInput<Lvl2, C>(level, m, I, splits), ...);
    }
    template <class Lvl2, class C, class L1>
    static void addInput(const L1& level, const formula::ImageFormulaManager& m, unsigned id,
                         std::vector<processor::StaticSplitPtr>& splits) {
        const auto& image = level.template attribute<typename C::Lvl1>()->getValue();
        if (!image || !m.getImageIdSet().count(id))
            return;  // images the formula does not read take no part
        auto split = boost::make_shared<processor::SubImageSplit<Lvl2, typename C::Lvl2>>();
        split->initBase(Op::s_splitType, 0, 0, 0, image);
        splits.push_back(split);
    }
};

// ---- level 2 --------------------------------------------------------------------------------

template <class Derived, class Op, class Lvl3>
class FormulaLvl2 : public Level2Base<Derived, Op, eLevel::eLvl2> {
    static constexpr bool s_3d =
        std::is_same_v<typename Op::KernelStrip, image::InputImageZStrip3dWithKernel>;

  protected:
    ProcessingResult<bool> retrieveProvider(unsigned priority,
                                            processor::ProviderPtr& provider) override {
        const auto& formulaAttr = this->template attribute<typename Op::FormulaAttr>();
        const auto manager = formulaAttr->getImageFormulaManager();
        if (!manager) return detail::formulaNotCompiled(Derived::getTypeName());
        const formula::FormulaHalo& halo = manager->getHalo();
        std::array<std::uint64_t, 3> margin{};
        for (int a = 0; a < 3; ++a)
            margin[a] = static_cast<std::uint64_t>(std::max(halo.Before[a], halo.After[a]));
        std::vector<processor::DynamicSplitPtr> splits;
        const auto& out = this->template attribute<attr::OutImg>()->getValue();
        if constexpr (s_3d) {
            auto split = boost::make_shared<
                processor::ImageZStrip3dSplit<Lvl3, image::BaseImage, attr::OutZStrip3d>>();
            split->initBase(out, 0, 0, 0);
            splits.push_back(split);
        } else {
            auto split = boost::make_shared<
                processor::ImageYStrip2dSplit<Lvl3, image::BaseImage, attr::OutYStrip2d>>();
            split->initBase(out, 0, 0, 0);
            splits.push_back(split);
        }
        addInputs(splits, margin, typename Op::Inputs{});
        auto f = boost::make_shared<processor::DynamicFormulaNoSplit<typename Op::FormulaAttr>>();
        f->initBase(formulaAttr);
        splits.push_back(f);
        using Border = typename Op::BorderChain;
        auto b = boost::make_shared<processor::DynamicNoSplit<typename Border::Lvl3>>();
        b->initBase(this->template attribute<typename Border::Lvl2>()->getValue());
        splits.push_back(b);
        auto dispatcher = boost::make_shared<processor::DynamicProcessorDispatcher<Lvl3>>();
        dispatcher->initBase(priority, std::move(splits));
        provider = dispatcher;
        return ProcessingResult<bool>::success(true);
    }

  private:
    template <class... C>
    void addInputs(std::vector<processor::DynamicSplitPtr>& splits,
                   const std::array<std::uint64_t, 3>& margin, TypeList<C...>) const {
        (addInput<C>(splits, margin), ...);
    }
    template <class C>
    void addInput(std::vector<processor::DynamicSplitPtr>& splits,
                  const std::array<std::uint64_t, 3>& margin) const {
        const auto& image = this->template attribute<typename C::Lvl2>()->getValue();
        if (!image) return;
        if constexpr (s_3d) {
            auto split = boost::make_shared<
                processor::ImageZStrip3dWithKernelSplit<Lvl3, typename C::Lvl3>>();
            split->initBase(image, margin[0], margin[1], margin[2]);
            splits.push_back(split);
        } else {
            auto split = boost::make_shared<
                processor::ImageYStrip2dWithKernelSplit<Lvl3, typename C::Lvl3>>();
            split->initBase(image, margin[0], margin[1]);
            splits.push_back(split);
        }
    }
};

// ---- level 3 --------------------------------------------------------------------------------

template <class Derived, class Op>
class FormulaLvl3 : public OperationClass<Derived, Op, eLevel::eLvl3>,
                    public Level3Kernels<Derived> {
    using Attrs = typename OperationClass<Derived, Op, eLevel::eLvl3>::Attrs;
    using InputStrip = processor::BaseStripAttribute<typename Op::KernelStrip, true>;

  protected:
    BoolResult initDerived(processor::AttributeColl& attributes,
                           processor::OutputInitializerMap& initializers,
                           processor::ProcessorDispatchPolicy& policy, processor::RulePtr& rule,
                           unsigned) override {
        this->createAttributes(attributes);
        bindInputs(typename Attrs::Inputs{});
        initializers.clear();
        policy = Derived::getDefaultDispatchPolicy();
        rule.reset();
        return BoolResult::success();
    }

    BoolResult runDerived(processor::RunContext&) override {
        const auto& formulaAttr = *this->template attribute<typename Op::FormulaAttr>();
        FormulaStripJob& job = m_job;
        job.Manager = formulaAttr.getImageFormulaManager();
        if (!job.Manager) return detail::formulaNotCompiled(Derived::getTypeName()).toBoolResult();
        job.Border = this->template attribute<typename Op::BorderChain::Lvl3>()->getValue();
        std::array<const image::KernelStripSource*, 9> sources{};
        for (unsigned i = 0; i < m_in.size(); ++i) {
            sources[i] = m_in[i]->isSet() ? &m_in[i]->getStrip().getSource() : nullptr;
            job.Images[i] =
                sources[i] ? detail::formulaView(*sources[i]) : formula::FormulaImageView{};
        }
        const auto& out = *this->template attribute<typename Op::OutStrip>();
        out.describe(job.Strip);
        job.Out = out.getOutputStripData();
        const auto& strip = out.getStrip();
        if constexpr (std::is_same_v<typename Op::KernelStrip,
                                     image::InputImageZStrip3dWithKernel>) {
            job.Size = {static_cast<std::int64_t>(strip.getSizeX()),
                        static_cast<std::int64_t>(strip.getSizeY()),
                        static_cast<std::int64_t>(strip.getVolumeSizeZ())};
        } else {
            job.Size = {static_cast<std::int64_t>(strip.getSizeX()),
                        static_cast<std::int64_t>(strip.getPlaneSizeY()), 1};
        }
        const processor::DataTypeIdentifierColl types =
            detail::formulaKernelKey(sources, out.getImageBufferType());
        const processor::InstructionSetsIdentifier forced = this->getForcedInstructionSets();
        if (!m_kernel || !(types == m_kernelTypes) || forced.getMask() != m_kernelForcedMask) {
            m_kernel = this->retrieveFunctionSelector().select(types, forced);
            m_kernelTypes = types;
            m_kernelForcedMask = forced.getMask();
        }
        if (!m_kernel) return detail::noKernelFailure(Derived::getTypeName(), types);
        processor::KernelArgs args;
        args.info = job.Strip;
        args.context = &job;
        return m_kernel(args).toBoolResult();
    }

  private:
    template <class... I>
    void bindInputs(TypeList<I...>) {
        int i = 0;
        ((m_in[i++] = this->template attribute<I>().get()), ...);
    }

    FormulaStripJob m_job;
    std::array<const InputStrip*, formula::kImageCount> m_in{};
    processor::AlgorithmFunction m_kernel = nullptr;
    processor::DataTypeIdentifierColl m_kernelTypes;
    std::uint32_t m_kernelForcedMask = 0;
};

// ---- entry functions ---------------------------------------------------------------------------

namespace entry {

template <class Lvl1, class... A>
void setImages(Lvl1& processor, const std::array<ConstImagePtr, formula::kImageCount>& images,
               TypeList<A...>) {
    std::size_t i = 0;
    ((images[i] ? processor.template set<A>(images[i]) : void(), ++i), ...);
}

/// Creates the level-1 formula processor and sets the formula, the images that
/// are there, the border (when given) and the output (when given).
template <class Lvl1, class Border>
boost::shared_ptr<Lvl1> prepareFormula(const std::string& formulaText,
                                       const FormulaInOptImages& images,
                                       const boost::shared_ptr<const Border>* border,
                                       const ImagePtr* out) {
    using Op = typename Lvl1::Operation;
    auto processor = boost::make_shared<Lvl1>();
    processor->init(processor::eRulePolicy::eRulesOn);
    processor->template set<typename Op::FormulaAttr>(formulaText);
    setImages(*processor, images.asArray(),
              typename arithm::detail::LevelAttributes<eLevel::eLvl1, Op>::Inputs{});
    if (border) {
        if (!*border) throwNullArgument(&Lvl1::getTypeName, Op::BorderChain::Lvl1::s_name);
        processor->template set<typename Op::BorderChain::Lvl1>(**border);
    }
    if (out) {
        if (!*out) throwNullArgument(&Lvl1::getTypeName, attr::OutImg::s_name);
        processor->template set<attr::OutImg>(*out);
    }
    return processor;
}

/// Starts an asynchronous run of a prepared processor.
template <class Lvl1>
boost::shared_ptr<Lvl1> startAsync(boost::shared_ptr<Lvl1> processor) {
    processor::BoolResult started = processor->run(processor::eSynchronisationType::eAsynchronous);
    if (!started) throw processor::VIMRABaseProcessingException(started.getMessage());
    return processor;
}

/// The three forms of a formula entry function: a new output; a given output; a
/// given border and output. Each synchronous, or started (`_async`).
template <class Lvl1>
struct FormulaEntry {
    using BorderPtr = boost::shared_ptr<const image::BorderPolicy>;
    static ImagePtr create(const std::string& f, const FormulaInOptImages& images) {
        auto p = prepareFormula<Lvl1, image::BorderPolicy>(f, images, nullptr, nullptr);
        processor::executeSyncRun(p);
        return p->template getStorage<attr::OutImg>();
    }
    static void into(const std::string& f, const FormulaInOptImages& images,
                     const BorderPtr* border, const ImagePtr& out) {
        processor::executeSyncRun(prepareFormula<Lvl1>(f, images, border, &out));
    }
    static boost::shared_ptr<Lvl1> createAsync(const std::string& f,
                                               const FormulaInOptImages& images) {
        return startAsync(prepareFormula<Lvl1, image::BorderPolicy>(f, images, nullptr, nullptr));
    }
    static boost::shared_ptr<Lvl1> intoAsync(const std::string& f, const FormulaInOptImages& images,
                                             const BorderPtr* border, const ImagePtr& out) {
        return startAsync(prepareFormula<Lvl1>(f, images, border, &out));
    }
};

}  // namespace entry

}  // namespace vimra::imaproc::arithm
