#pragma once

// The three level classes of every pixel-wise operation, written once.
//
//   Lvl1  whole images: attributes, rule, output initialisers; dispatches one
//         level-2 run per sub-image (2d planes unless the operation says otherwise).
//   Lvl2  one sub-image: tries the GPU path, else dispatches level-3 runs over
//         strips of rows (or of planes).
//   Lvl3  one strip: picks the kernel registered for its buffer types and the
//         best usable instruction set, and calls it with the operation's parameters.
//
// An operation is one declaration struct `Op`:
//   static constexpr const char* s_name;                        "AddImgImg"
//   static constexpr eProcessorMessage::domain s_toolTipLvl1, s_toolTipLvl2, s_toolTipLvl3;
//   using Inputs = TypeList<shape::In1, shape::In2>;            image chains, in attribute order
//   using Outputs = TypeList<shape::Out<PromoteBinaryOutput<...>>>;
//   using Rule = SizeRule;                                      level-1 rule
// and, where it departs from the defaults:
//   using Values = TypeList<ValueChain<attr::InFactor>>;        value attributes (default none)
//   using Arguments = TypeList<...>;                            entry-function argument order
//                                                               (default: inputs, then values)
//   using Lvl3Rule = ...;                                       rule checked once per chunk of strips
//   static constexpr auto s_splitType = eSubImageSplitType::...; sub-images (default 2d planes)
//   static constexpr auto s_stripAxis = eStripAxis::eZ;         strips of planes (default rows)
//   static void deriveValues(Lvl1&);                            values taken from a given output

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/OperationShape.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/ProcessorLogMessages.h>

#include <vimra/core/Mutexes.h>
#include <vimra/processor/Dispatcher.h>
#include <vimra/processor/FunctionSelector.h>
#include <vimra/processor/ProcessorClass.h>

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include <array>
#include <atomic>
#include <string>
#include <tuple>

namespace vimra::imaproc::arithm {

using image::ConstImagePtr;
using image::ImagePtr;
using processor::BoolResult;
using processor::ProcessingResult;

enum class eLevel { eLvl1, eLvl2, eLvl3 };

namespace detail {

template <eLevel L, class Chain>
struct AttrAt;
template <class Chain> struct AttrAt<eLevel::eLvl1, Chain> { using type = typename Chain::Lvl1; };
template <class Chain> struct AttrAt<eLevel::eLvl2, Chain> { using type = typename Chain::Lvl2; };
template <class Chain> struct AttrAt<eLevel::eLvl3, Chain> { using type = typename Chain::Lvl3; };

template <eLevel L, class List>
struct AttrsAt;
template <eLevel L, class... Chains>
struct AttrsAt<L, TypeList<Chains...>> {
    using type = TypeList<typename AttrAt<L, Chains>::type...>;
};

template <class... Lists>
struct Concat;
template <class... A>
struct Concat<TypeList<A...>> {
    using type = TypeList<A...>;
};
template <class... A, class... B, class... Rest>
struct Concat<TypeList<A...>, TypeList<B...>, Rest...> {
    using type = typename Concat<TypeList<A..., B...>, Rest...>::type;
};

template <class Op>
auto valuesOf() {
    if constexpr (requires { typename Op::Values; }) {
        return typename Op::Values{};
    } else {
        return TypeList<>{};
    }
}
template <class Op>
auto lvl3RuleOf() {
    if constexpr (requires { typename Op::Lvl3Rule; }) {
        return typename Op::Lvl3Rule{};
    } else {
        return NoRule{};
    }
}

}  // namespace detail

/// An operation's declaration with the defaults filled in.
template <class Op>
struct OperationTraits {
    using Inputs = typename Op::Inputs;
    using Values = decltype(detail::valuesOf<Op>());
    using Outputs = typename Op::Outputs;
    using Lvl3Rule = decltype(detail::lvl3RuleOf<Op>());
    static constexpr processor::eSubImageSplitType::domain s_splitType = [] {
        if constexpr (requires { Op::s_splitType; }) {
            return Op::s_splitType;
        } else {
            return processor::eSubImageSplitType::ePlane2d;
        }
    }();
    static constexpr processor::eStripAxis::domain s_stripAxis = [] {
        if constexpr (requires { Op::s_stripAxis; }) {
            return Op::s_stripAxis;
        } else {
            return processor::eStripAxis::eY;
        }
    }();
};

namespace detail {

/// The attributes of one level, in creation order: inputs, values, outputs.
template <eLevel L, class Op>
struct LevelAttributes {
    using Inputs = typename AttrsAt<L, typename OperationTraits<Op>::Inputs>::type;
    using Values = typename AttrsAt<L, typename OperationTraits<Op>::Values>::type;
    using Outputs = typename AttrsAt<L, typename OperationTraits<Op>::Outputs>::type;
    using All = typename Concat<Inputs, Values, Outputs>::type;
};

/// Owns one shared pointer per attribute type of a list. The attributes live in
/// one allocation; each pointer shares its ownership, so rules' weak references
/// behave as with separately allocated attributes.
template <class List>
class AttributeStore;
template <class... A>
class AttributeStore<TypeList<A...>> {
public:
    void create(processor::AttributeColl& coll) {
        coll.clear();
        coll.reserve(sizeof...(A));
        auto block = boost::make_shared<std::tuple<A...>>();
        ((std::get<boost::shared_ptr<A>>(m_attrs) = boost::shared_ptr<A>(block, &std::get<A>(*block)),
          coll.push_back(std::get<boost::shared_ptr<A>>(m_attrs))),
         ...);
    }
    template <class Attr>
    const boost::shared_ptr<Attr>& get() const {
        return std::get<boost::shared_ptr<Attr>>(m_attrs);
    }

private:
    std::tuple<boost::shared_ptr<A>...> m_attrs;
};

const char* levelSuffix(eLevel level);

template <class Done, class... Rest>
struct Reverse {
    using type = Done;
};
template <class... Done, class Head, class... Rest>
struct Reverse<TypeList<Done...>, Head, Rest...> {
    using type = typename Reverse<TypeList<Head, Done...>, Rest...>::type;
};
template <class List>
struct Reversed;
template <class... C>
struct Reversed<TypeList<C...>> {
    using type = typename Reverse<TypeList<>, C...>::type;
};

}  // namespace detail

/// Identity of an operation's class at a level: names and tool tip from the
/// operation's declaration, everything else from ProcessorClass.
template <class Derived, class Op, eLevel L>
class OperationClass : public processor::ProcessorClass<Derived> {
public:
    using Operation = Op;
    static constexpr eLevel s_level = L;

    static std::string objectNameText() { return std::string(Op::s_name) + detail::levelSuffix(L); }
    static std::string typeNameText() { return "vimra::imaproc::arithm::" + objectNameText(); }
    static std::string toolTipText() {
        if constexpr (L == eLevel::eLvl1) return getProcessorMessageText(Op::s_toolTipLvl1);
        if constexpr (L == eLevel::eLvl2) return getProcessorMessageText(Op::s_toolTipLvl2);
        if constexpr (L == eLevel::eLvl3) return getProcessorMessageText(Op::s_toolTipLvl3);
    }

    /// The attribute object of type Attr created by init().
    template <class Attr>
    const boost::shared_ptr<Attr>& attribute() const {
        return m_store.template get<Attr>();
    }

    /// matchSize over every image attribute of the level.
    processor::RulePtr sizeRuleOverImages() const {
        return sizeRule(typename Attrs::Inputs{}, typename Attrs::Outputs{});
    }
    /// matchBufferType over the input images of the level.
    processor::RulePtr typeRuleOverInputs() const { return typeRule(typename Attrs::Inputs{}); }

protected:
    using Attrs = detail::LevelAttributes<L, Op>;

    void createAttributes(processor::AttributeColl& coll) { m_store.create(coll); }

private:
    template <class... I, class... O>
    processor::RulePtr sizeRule(TypeList<I...>, TypeList<O...>) const {
        return processor::matchSize(attribute<I>()..., attribute<O>()...);
    }
    template <class... I>
    processor::RulePtr typeRule(TypeList<I...>) const {
        return processor::matchBufferType(attribute<I>()...);
    }
    detail::AttributeStore<typename Attrs::All> m_store;
};

// ---- level 1 ------------------------------------------------------------------------------

template <class Derived, class Op, class Lvl2>
class PixelwiseLvl1 : public OperationClass<Derived, Op, eLevel::eLvl1> {
    using Traits = OperationTraits<Op>;

protected:
    BoolResult initDerived(processor::AttributeColl& attributes, processor::OutputInitializerMap& initializers,
                           processor::ProcessorDispatchPolicy& policy, processor::RulePtr& rule,
                           unsigned rulePolicy) override {
        this->createAttributes(attributes);
        initializers.clear();
        addInitializers(initializers, typename Traits::Outputs{});
        policy = Derived::getDefaultDispatchPolicy();
        rule.reset();
        if (rulePolicy != processor::eRulePolicy::eRulesOff) rule = Op::Rule::make(*this);
        return BoolResult::success();
    }

    ProcessingResult<bool> retrieveProvider(unsigned priority, processor::ProviderPtr& provider) override {
        if constexpr (requires { Op::chooseProvider(*this, priority, provider); }) {
            return Op::chooseProvider(static_cast<const Derived&>(*this), priority, provider);
        } else {
            provider = this->template subImageDispatcher<Lvl2>(priority, Traits::s_splitType);
            return ProcessingResult<bool>::success(true);
        }
    }

public:
    /// A static dispatcher running one `Level2` per sub-image of `splitType`:
    /// one split per set image attribute (outputs, then inputs last to first)
    /// and per set value.
    template <class Level2>
    processor::ProviderPtr subImageDispatcher(unsigned priority,
                                              processor::eSubImageSplitType::domain splitType) const {
        std::vector<processor::StaticSplitPtr> splits;
        splits.reserve(Traits::Outputs::size + Traits::Inputs::size + Traits::Values::size);
        addImageSplits<Level2>(splits, typename Traits::Outputs{}, splitType);
        addImageSplits<Level2>(splits, typename detail::Reversed<typename Traits::Inputs>::type{}, splitType);
        addValueSplits<Level2>(splits, typename Traits::Values{});
        auto dispatcher = boost::make_shared<processor::StaticProcessorDispatcher<Level2>>();
        dispatcher->initBase(priority, std::move(splits));
        return dispatcher;
    }

private:
    template <class... C>
    void addInitializers(processor::OutputInitializerMap& initializers, TypeList<C...>) const {
        ((initializers[C::Lvl1::s_name] = C::Initializer::make(*this)), ...);
    }
    template <class Level2, class... C>
    void addImageSplits(std::vector<processor::StaticSplitPtr>& splits, TypeList<C...>,
                        processor::eSubImageSplitType::domain type) const {
        (addImageSplit<Level2, C>(splits, type), ...);
    }
    template <class Level2, class C>
    void addImageSplit(std::vector<processor::StaticSplitPtr>& splits,
                       processor::eSubImageSplitType::domain type) const {
        const auto& image = this->template attribute<typename C::Lvl1>()->getValue();
        if (!image) return;  // an optional image left unset takes no part
        auto split = boost::make_shared<processor::SubImageSplit<Level2, typename C::Lvl2>>();
        split->initBase(type, 0, 0, 0, image);
        splits.push_back(split);
    }
    template <class Level2, class... C>
    void addValueSplits(std::vector<processor::StaticSplitPtr>& splits, TypeList<C...>) const {
        (addValueSplit<Level2, C>(splits), ...);
    }
    template <class Level2, class C>
    void addValueSplit(std::vector<processor::StaticSplitPtr>& splits) const {
        const auto& a = this->template attribute<typename C::Lvl1>();
        if (!a->isSet()) return;  // optional value left unset: the kernels read its default
        auto split = boost::make_shared<processor::StaticNoSplit<typename C::Lvl2>>();
        split->initBase(a->getValue());
        splits.push_back(split);
    }
};

// ---- level 2 ------------------------------------------------------------------------------

template <class Derived, class Op, eLevel L>
class Level2Base : public OperationClass<Derived, Op, L> {
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
};

template <class Derived, class Op, class Lvl3>
class PixelwiseLvl2 : public Level2Base<Derived, Op, eLevel::eLvl2> {
    using Traits = OperationTraits<Op>;

protected:
    /// The GPU path: installs a GPU dispatcher and answers true, or answers false
    /// to run on the processor. Operations without a GPU class never launch.
    virtual ProcessingResult<bool> tryToLaunchGpuProcess(unsigned, processor::ProviderPtr&) {
        return ProcessingResult<bool>::success(false);
    }

    ProcessingResult<bool> retrieveProvider(unsigned priority, processor::ProviderPtr& provider) override {
        ProcessingResult<bool> gpu = tryToLaunchGpuProcess(priority, provider);
        if (!gpu || gpu.getValue()) return gpu;
        std::vector<processor::DynamicSplitPtr> splits;
        splits.reserve(Traits::Outputs::size + Traits::Inputs::size + Traits::Values::size);
        addSplits<image::BaseImage>(splits, typename Traits::Outputs{});
        addSplits<const image::BaseImage>(splits, typename detail::Reversed<typename Traits::Inputs>::type{});
        addValueSplits(splits, typename Traits::Values{});
        auto dispatcher = boost::make_shared<processor::DynamicProcessorDispatcher<Lvl3>>();
        dispatcher->initBase(priority, std::move(splits));
        provider = dispatcher;
        return ProcessingResult<bool>::success(true);
    }

private:
    template <class Image, class... C>
    void addSplits(std::vector<processor::DynamicSplitPtr>& splits, TypeList<C...>) const {
        (addSplit<C, Image>(splits), ...);
    }
    template <class C, class Image>
    void addSplit(std::vector<processor::DynamicSplitPtr>& splits) const {
        const auto& image = this->template attribute<typename C::Lvl2>()->getValue();
        if (!image) return;  // unset optional input
        using Lvl3Attr = typename C::Lvl3;
        if constexpr (Traits::s_stripAxis == processor::eStripAxis::eZ) {
            auto split = boost::make_shared<processor::ImageZStrip3dSplit<Lvl3, Image, Lvl3Attr>>();
            split->initBase(image, 0, 0, 0);
            splits.push_back(split);
        } else {
            auto split = boost::make_shared<processor::ImageYStrip2dSplit<Lvl3, Image, Lvl3Attr>>();
            split->initBase(image, 0, 0, 0);
            splits.push_back(split);
        }
    }
    template <class... C>
    void addValueSplits(std::vector<processor::DynamicSplitPtr>& splits, TypeList<C...>) const {
        (addValueSplit<C>(splits), ...);
    }
    template <class C>
    void addValueSplit(std::vector<processor::DynamicSplitPtr>& splits) const {
        const auto& a = this->template attribute<typename C::Lvl2>();
        if (!a->isSet()) return;
        auto split = boost::make_shared<processor::DynamicNoSplit<typename C::Lvl3>>();
        split->initBase(a->getValue());
        splits.push_back(split);
    }
};

/// A level 2 that runs another level-1 algorithm on its piece, in the same run
/// (cancellation, the worker cap and failures carry through): for operations
/// that cut their first image into pieces of the second image's geometry.
/// Attributes map in order: the piece's inputs, values and outputs to Target's.
template <class Derived, class Op, class Target>
class PieceLvl2 : public Level2Base<Derived, Op, eLevel::eLvl2> {
    using Mine = detail::LevelAttributes<eLevel::eLvl2, Op>;
    using Theirs = detail::LevelAttributes<eLevel::eLvl1, typename Target::Operation>;

protected:
    BoolResult runDerived(processor::RunContext& context) override {
        auto target = boost::make_shared<Target>();
        BoolResult r = target->init(processor::eRulePolicy::eRulesOn);
        if (!r) return r;
        copy(*target, typename Mine::All{}, typename Theirs::All{});
        return target->execute(context);
    }

private:
    template <class... M, class... T>
    void copy(Target& target, TypeList<M...>, TypeList<T...>) const {
        static_assert(sizeof...(M) == sizeof...(T), "a piece maps attribute for attribute onto its target");
        (copyOne<M, T>(target), ...);
    }
    template <class M, class T>
    void copyOne(Target& target) const {
        const auto& a = this->template attribute<M>();
        if (a->isSet()) target.template set<T>(a->getValue());
    }
};

// ---- level 3 ------------------------------------------------------------------------------

template <class Derived, class Op>
class PixelwiseLvl3 : public OperationClass<Derived, Op, eLevel::eLvl3> {
    using Traits = OperationTraits<Op>;
    using Attrs = typename OperationClass<Derived, Op, eLevel::eLvl3>::Attrs;
    static constexpr int s_inputs = Attrs::Inputs::size;
    static constexpr int s_outputs = Attrs::Outputs::size;
    static_assert(s_inputs <= processor::KernelArgs::s_maxInputs && s_outputs <= processor::KernelArgs::s_maxOutputs);

public:
    /// The class's kernel table, created on first use.
    static processor::AlgorithmFunctionSelector& retrieveFunctionSelector() {
        static processor::AlgorithmFunctionSelector selector;
        return selector;
    }
    static processor::AlgorithmFunctionSelector& accessFunctionSelector() { return retrieveFunctionSelector(); }
    const processor::AlgorithmFunctionSelector& getFunctionSelector() const { return retrieveFunctionSelector(); }

    /// Instruction sets this class is restricted to (empty: no restriction).
    static std::atomic<std::uint32_t>& retrieveForcedInstructionSets() {
        static std::atomic<std::uint32_t> mask{0};
        return mask;
    }
    static std::atomic<std::uint32_t>& accessForcedInstructionSets() { return retrieveForcedInstructionSets(); }
    static void forceInstructionSets(const processor::InstructionSetsIdentifier& sets) {
        boost::lock_guard<boost::mutex> lock(core::ForcedInstructionSetsMutex());
        retrieveForcedInstructionSets().store(sets.getMask(), std::memory_order_relaxed);
    }
    static void releaseForcedInstructionSets() { forceInstructionSets(processor::InstructionSetsIdentifier{}); }
    processor::InstructionSetsIdentifier getForcedInstructionSets() const {
        return processor::InstructionSetsIdentifier::fromMask(
            retrieveForcedInstructionSets().load(std::memory_order_relaxed));
    }

protected:
    BoolResult initDerived(processor::AttributeColl& attributes, processor::OutputInitializerMap& initializers,
                           processor::ProcessorDispatchPolicy& policy, processor::RulePtr& rule,
                           unsigned rulePolicy) override {
        this->createAttributes(attributes);
        bindStrips(typename Attrs::Inputs{}, typename Attrs::Outputs{});
        initializers.clear();
        policy = Derived::getDefaultDispatchPolicy();
        rule.reset();
        if (rulePolicy != processor::eRulePolicy::eRulesOff) rule = Traits::Lvl3Rule::make(*this);
        return BoolResult::success();
    }

    BoolResult runDerived(processor::RunContext&) override {
        processor::KernelArgs args;
        processor::DataTypeIdentifierColl types;
        for (int i = 0; i < s_inputs; ++i) {
            args.in[i] = m_in[i]->getStripData();
            types.append(m_in[i]->getImageBufferType());
        }
        for (int i = 0; i < s_outputs; ++i) {
            args.out[i] = m_out[i]->getOutputStripData();
            types.append(m_out[i]->getImageBufferType());
        }
        m_out[0]->describe(args.info);
        processor::KernelParams params;
        readValues(params, typename Attrs::Values{});
        args.params = &params;
        // Every strip a dispatcher hands this processor has the same buffer types:
        // the kernel is looked up once and kept while key and forced sets stay the same.
        const processor::InstructionSetsIdentifier forced = getForcedInstructionSets();
        if (!m_kernel || !(types == m_kernelTypes) || forced.getMask() != m_kernelForcedMask) {
            m_kernel = retrieveFunctionSelector().select(types, forced);
            m_kernelTypes = types;
            m_kernelForcedMask = forced.getMask();
        }
        if (!m_kernel) return noKernel(types);
        return m_kernel(args).toBoolResult();
    }

private:
    template <class... I, class... O>
    void bindStrips(TypeList<I...>, TypeList<O...>) {
        int i = 0, o = 0;
        ((m_in[i++] = this->template attribute<I>().get()), ...);
        ((m_out[o++] = this->template attribute<O>().get()), ...);
    }
    template <class... C>
    void readValues(processor::KernelParams& params, TypeList<C...>) const {
        (readValue<C>(params), ...);
    }
    template <class Attr>
    void readValue(processor::KernelParams& params) const {
        const auto& a = this->template attribute<Attr>();
        if (a->isSet()) {
            Attr::appendKernelParams(params, a->getValue());
        } else {
            params.push(defaultOf<Attr>(typename Traits::Values{}));
        }
    }
    template <class Attr, class... C>
    static constexpr double defaultOf(TypeList<C...>) {
        double d = 0.0;
        ((std::is_same_v<typename C::Lvl3, Attr> ? (d = C::s_default, 0) : 0), ...);
        return d;
    }
    BoolResult noKernel(const processor::DataTypeIdentifierColl& types) const;

    processor::AlgorithmFunction m_kernel = nullptr;
    processor::DataTypeIdentifierColl m_kernelTypes;
    std::uint32_t m_kernelForcedMask = 0;
    std::array<const processor::BaseImageStripAttribute*, s_inputs> m_in{};
    std::array<const processor::BaseImageStripAttribute*, s_outputs> m_out{};
};

namespace detail {
BoolResult noKernelFailure(const std::string& typeName, const processor::DataTypeIdentifierColl& types);
}  // namespace detail

template <class Derived, class Op>
BoolResult PixelwiseLvl3<Derived, Op>::noKernel(const processor::DataTypeIdentifierColl& types) const {
    return detail::noKernelFailure(Derived::getTypeName(), types);
}

}  // namespace vimra::imaproc::arithm
