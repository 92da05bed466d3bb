#pragma once

// The GPU side of an operation, written once: the GPU level-3 class, which runs
// a whole GPU sub-image through the launcher registered for its buffer types,
// and the level-2 decision to take the GPU path. An operation with a GPU class
// declares `s_toolTipGpuLvl3`, names `<Op>GpuLvl3` as its level 2's fourth
// parameter, and has a CUDA kernel file (Kernel/Gpu/CudaKernels.cuh).

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

#include <vimra/gpu/GpuProcessing.h>

namespace vimra::imaproc::arithm {

template <class Derived, class Op>
class GpuLvl3 : public OperationClass<Derived, Op, eLevel::eGpuLvl3, gpu::BaseGpuProcessingAlgorithm> {
    using Attrs = detail::LevelAttributes<eLevel::eGpuLvl3, Op>;
    static constexpr int s_inputs = Attrs::Inputs::size;
    static constexpr int s_outputs = Attrs::Outputs::size;

public:
    /// The class's launchers, one per buffer-type combination, created on first use.
    static processor::AlgorithmFunctionSelector& retrieveFunctionSelector() {
        static processor::AlgorithmFunctionSelector selector;
        return selector;
    }

protected:
    BoolResult initDerived(processor::AttributeColl& attributes, processor::OutputInitializerMap& initializers,
                           processor::ProcessorDispatchPolicy& policy, processor::RulePtr& rule,
                           unsigned rulePolicy) override {
        this->createAttributes(attributes);
        initializers.clear();
        policy = Derived::getDefaultDispatchPolicy();
        rule.reset();
        if (rulePolicy != processor::eRulePolicy::eRulesOff) rule = this->sizeRuleOverImages();
        return BoolResult::success();
    }

    const image::BaseImage* deviceImage() const override {
        return this->template attribute<FirstInput>()->getValue().get();
    }

    BoolResult process() override {
        std::array<std::vector<void*>, s_inputs + s_outputs> planes;
        processor::KernelArgs args;
        processor::DataTypeIdentifierColl types;
        int k = 0;
        collect(planes, args, types, k, typename Attrs::Inputs{}, typename Attrs::Outputs{});
        const gpu::LauncherInfo info = this->makeLauncherInfo(*deviceImage());
        args.launch = &info;
        processor::KernelParams params;
        detail::readKernelValues<Op>(*this, params, typename Attrs::Values{});
        args.params = &params;
        const processor::AlgorithmFunction launcher = retrieveFunctionSelector().select(types, {});
        if (!launcher) return detail::noKernelFailure(Derived::getTypeName(), types);
        return launcher(args).toBoolResult();
    }

private:
    template <class L>
    struct Head;
    template <class H, class... T>
    struct Head<TypeList<H, T...>> {
        using type = H;
    };
    using FirstInput = typename Head<typename Attrs::Inputs>::type;

    template <class Planes, class... I, class... O>
    void collect(Planes& planes, processor::KernelArgs& args, processor::DataTypeIdentifierColl& types, int& k,
                 TypeList<I...>, TypeList<O...>) const {
        auto add = [&](const image::BaseImage& img) {
            planes[static_cast<std::size_t>(k++)] = gpu::extractBufferDataCollToGpu(img);
            types.append(img.getBufferType());
        };
        int i = 0, o = 0;
        ((add(*this->template attribute<I>()->getValue()), args.in[i++] = planes[static_cast<std::size_t>(k - 1)].data()), ...);
        ((add(*this->template attribute<O>()->getValue()), args.out[o++] = planes[static_cast<std::size_t>(k - 1)].data()), ...);
    }
};

namespace detail {

/// Maps the level 2's images, position for position, onto the GPU level's
/// attributes: one CUDA split each (a whole sub-image), values handed on.
template <class GpuLvl3, class Level>
ProcessingResult<bool> tryGpuPath(const Level& level, unsigned priority, processor::ProviderPtr& provider) {
    using Op = typename GpuLvl3::Operation;
    using Mine = LevelAttributes<eLevel::eLvl2, Op>;
    using Theirs = LevelAttributes<eLevel::eGpuLvl3, Op>;
    constexpr auto splitType = OperationTraits<Op>::s_splitType;

    bool allOnGpu = core::isGpuSupportActivated();
    auto check = [&]<class... A>(TypeList<A...>) {
        ((allOnGpu = allOnGpu && (!level.template attribute<A>()->getValue() ||
                                  level.template attribute<A>()->getValue()->isGpuImage())),
         ...);
    };
    check(typename Mine::Inputs{});
    check(typename Mine::Outputs{});
    if (!allOnGpu) {
        BoolResult host = refuseGpuImages(level, core::isGpuSupportActivated()
                                                     ? "mixes host and GPU images"
                                                     : "has GPU images but GPU support is not activated");
        if (!host) return ProcessingResult<bool>::failure(host.getMessage());
        return ProcessingResult<bool>::success(false);
    }

    std::vector<processor::StaticSplitPtr> splits;
    auto addImages = [&]<class... M, class... T>(TypeList<M...>, TypeList<T...>) {
        auto one = [&]<class MA, class TA>() {
            const auto& image = level.template attribute<MA>()->getValue();
            if (!image) return;
            auto split = boost::make_shared<gpu::CudaSubImageSplit<GpuLvl3, TA>>();
            split->initBase(splitType, image);
            splits.push_back(split);
        };
        (one.template operator()<M, T>(), ...);
    };
    addImages(typename Mine::Outputs{}, typename Theirs::Outputs{});
    addImages(typename Mine::Inputs{}, typename Theirs::Inputs{});
    auto addValues = [&]<class... V>(TypeList<V...>) {
        [[maybe_unused]] auto one = [&]<class VA>() {
            const auto& a = level.template attribute<VA>();
            if (!a->isSet()) return;
            auto split = boost::make_shared<processor::StaticNoSplit<VA>>();
            split->initBase(a->getValue());
            splits.push_back(split);
        };
        (one.template operator()<V>(), ...);
    };
    addValues(typename Mine::Values{});
    auto dispatcher = boost::make_shared<processor::StaticProcessorDispatcher<GpuLvl3>>();
    dispatcher->initBase(priority, std::move(splits));
    provider = dispatcher;
    return ProcessingResult<bool>::success(true);
}

}  // namespace detail

}  // namespace vimra::imaproc::arithm
