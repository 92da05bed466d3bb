#pragma once

// The three level classes of every pixel-wise operation, written once.
//
//   Lvl1  whole images: attributes, rule, output initialiser; dispatches one
//         level-2 run per 2d sub-image.
//   Lvl2  one 2d sub-image; dispatches level-3 runs over strips of rows.
//   Lvl3  one strip: picks the kernel registered for its buffer types and the
//         best usable instruction set, and calls it.
//
// An operation supplies a small traits struct `Op`:
//   static constexpr const char* s_name;                 "AddImgImg"
//   static constexpr eProcessorMessage::domain s_toolTipLvl1, s_toolTipLvl2, s_toolTipLvl3;
//   using Shape = shape::ImgImg;                         attributes per level
//   using Initializer = PromoteBinaryOutput<...>;        output initialiser
//   using Rule = SizeRule;                               level-1 rule

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

/// The attributes of one level, in creation order: inputs, values, outputs.
template <eLevel L, class Shape>
struct LevelAttributes {
    using Inputs = typename AttrsAt<L, typename Shape::Inputs>::type;
    using Values = typename AttrsAt<L, typename Shape::Values>::type;
    using Outputs = typename AttrsAt<L, typename Shape::Outputs>::type;
    using All = typename Concat<Inputs, Values, Outputs>::type;
};

/// Owns one shared pointer per attribute type of a list.
template <class List>
class AttributeStore;
template <class... A>
class AttributeStore<TypeList<A...>> {
public:
    void create(processor::AttributeColl& coll) {
        coll.clear();
        ((std::get<boost::shared_ptr<A>>(m_attrs) = boost::make_shared<A>(),
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

}  // namespace detail

/// Identity of an operation's class at a level: names and tool tip from the
/// operation's traits, everything else from ProcessorClass.
template <class Derived, class Op, eLevel L>
class OperationClass : public processor::ProcessorClass<Derived> {
public:
    using Operation = Op;

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

protected:
    using Attrs = detail::LevelAttributes<L, typename Op::Shape>;

    void createAttributes(processor::AttributeColl& coll) { m_store.create(coll); }

private:
    template <class... I, class... O>
    processor::RulePtr sizeRule(TypeList<I...>, TypeList<O...>) const {
        return processor::matchSize(attribute<I>()..., attribute<O>()...);
    }
    detail::AttributeStore<typename Attrs::All> m_store;
};

// ---- level 1 ------------------------------------------------------------------------------

template <class Derived, class Op, class Lvl2>
class PixelwiseLvl1 : public OperationClass<Derived, Op, eLevel::eLvl1> {
    using Base = OperationClass<Derived, Op, eLevel::eLvl1>;
    using Shape = typename Op::Shape;

protected:
    BoolResult initDerived(processor::AttributeColl& attributes, processor::OutputInitializerMap& initializers,
                           processor::ProcessorDispatchPolicy& policy, processor::RulePtr& rule,
                           unsigned rulePolicy) override {
        this->createAttributes(attributes);
        initializers.clear();
        initializers[attr::OutImg::s_name] = Op::Initializer::make(*this);
        policy = Derived::getDefaultDispatchPolicy();
        rule.reset();
        if (rulePolicy != processor::eRulePolicy::eRulesOff) rule = Op::Rule::make(*this);
        return BoolResult::success();
    }

    ProcessingResult<bool> retrieveProvider(unsigned priority, processor::ProviderPtr& provider) override {
        std::vector<processor::StaticSplitPtr> splits;
        addImageSplits(splits, typename Shape::Outputs{});
        addImageSplits(splits, reversed(typename Shape::Inputs{}));
        addValueSplits(splits, typename Shape::Values{});
        auto dispatcher = boost::make_shared<processor::StaticProcessorDispatcher<Lvl2>>();
        dispatcher->initBase(priority, std::move(splits));
        provider = dispatcher;
        return ProcessingResult<bool>::success(true);
    }

private:
    template <class... C>
    static auto reversed(TypeList<C...>) {
        return typename Reverse<TypeList<>, C...>::type{};
    }
    template <class Done, class... Rest>
    struct Reverse {
        using type = Done;
    };
    template <class... Done, class Head, class... Rest>
    struct Reverse<TypeList<Done...>, Head, Rest...> {
        using type = typename Reverse<TypeList<Head, Done...>, Rest...>::type;
    };

    template <class... C>
    void addImageSplits(std::vector<processor::StaticSplitPtr>& splits, TypeList<C...>) const {
        (addImageSplit<C>(splits), ...);
    }
    template <class C>
    void addImageSplit(std::vector<processor::StaticSplitPtr>& splits) const {
        auto split = boost::make_shared<processor::SubImageSplit<Lvl2, typename C::Lvl2>>();
        split->initBase(processor::eSubImageSplitType::ePlane2d, 0, 0, 0,
                        this->template attribute<typename C::Lvl1>()->getValue());
        splits.push_back(split);
    }
    template <class... C>
    void addValueSplits(std::vector<processor::StaticSplitPtr>& splits, TypeList<C...>) const {
        (addValueSplit<C>(splits), ...);
    }
    template <class C>
    void addValueSplit(std::vector<processor::StaticSplitPtr>& splits) const {
        const auto& a = this->template attribute<typename C::Lvl1>();
        if (!a->isSet()) return;  // optional value left unset: level 2 keeps its default
        auto split = boost::make_shared<processor::StaticNoSplit<typename C::Lvl2>>();
        split->initBase(a->getValue());
        splits.push_back(split);
    }
};

// ---- level 2 ------------------------------------------------------------------------------

template <class Derived, class Op, class Lvl3>
class PixelwiseLvl2 : public OperationClass<Derived, Op, eLevel::eLvl2> {
    using Shape = typename Op::Shape;

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

    ProcessingResult<bool> retrieveProvider(unsigned priority, processor::ProviderPtr& provider) override {
        std::vector<processor::DynamicSplitPtr> splits;
        addOutputSplits(splits, typename Shape::Outputs{});
        addInputSplits(splits, typename Shape::Inputs{});
        addValueSplits(splits, typename Shape::Values{});
        auto dispatcher = boost::make_shared<processor::DynamicProcessorDispatcher<Lvl3>>();
        dispatcher->initBase(priority, std::move(splits));
        provider = dispatcher;
        return ProcessingResult<bool>::success(true);
    }

private:
    template <class... C>
    void addOutputSplits(std::vector<processor::DynamicSplitPtr>& splits, TypeList<C...>) const {
        (addSplit<C, image::BaseImage>(splits), ...);
    }
    template <class... C>
    void addInputSplits(std::vector<processor::DynamicSplitPtr>& splits, TypeList<C...>) const {
        // Later inputs first, as the level-1 dispatch does.
        std::vector<processor::DynamicSplitPtr> in;
        (addSplit<C, const image::BaseImage>(in), ...);
        splits.insert(splits.end(), in.rbegin(), in.rend());
    }
    template <class C, class Image>
    void addSplit(std::vector<processor::DynamicSplitPtr>& splits) const {
        auto split = boost::make_shared<processor::ImageYStrip2dSplit<Lvl3, Image, typename C::Lvl3>>();
        split->initBase(this->template attribute<typename C::Lvl2>()->getValue(), 0, 0, 0);
        splits.push_back(split);
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

// ---- level 3 ------------------------------------------------------------------------------

/// The typed kernel entry of a level-3 class: genericProcessFunction<TIn1, TIn2,
/// TOut, S> for two inputs, <TIn, TOut, S> for one. Defined in the library's
/// kernel headers, instantiated only by the kernel files of each instruction set.
template <class Arithmetic, int Inputs>
struct GenericProcess;

template <class Arithmetic>
struct GenericProcess<Arithmetic, 1> {
    template <class TIn, class TOut, eInstructionSet::domain S>
    static ProcessingResult<bool> genericProcessFunction(const processor::KernelArgs& args);
};

template <class Arithmetic>
struct GenericProcess<Arithmetic, 2> {
    template <class TIn1, class TIn2, class TOut, eInstructionSet::domain S>
    static ProcessingResult<bool> genericProcessFunction(const processor::KernelArgs& args);
};

template <class Derived, class Op, class Arithmetic>
class PixelwiseLvl3 : public OperationClass<Derived, Op, eLevel::eLvl3>,
                      public GenericProcess<Arithmetic, Op::Shape::Inputs::size> {
    using Shape = typename Op::Shape;
    static constexpr int s_inputs = Shape::Inputs::size;
    static constexpr int s_outputs = Shape::Outputs::size;

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
                           unsigned) override {
        this->createAttributes(attributes);
        bindStrips(typename OperationClass<Derived, Op, eLevel::eLvl3>::Attrs::Inputs{},
                   typename OperationClass<Derived, Op, eLevel::eLvl3>::Attrs::Outputs{});
        initializers.clear();
        policy = Derived::getDefaultDispatchPolicy();
        rule.reset();
        return BoolResult::success();
    }

    BoolResult runDerived(processor::RunContext&) override {
        processor::KernelArgs args;
        processor::DataTypeIdentifierColl types;
        for (int i = 0; i < s_inputs; ++i) {
            args.in[i] = m_in[i]->getStrip().getData();
            types.append(m_in[i]->getImageBufferType());
        }
        for (int i = 0; i < s_outputs; ++i) {
            args.out[i] = m_out[i]->getStrip().getData();
            types.append(m_out[i]->getImageBufferType());
        }
        args.info.count = m_out[0]->getStrip().getElementCount();
        // Every strip a dispatcher hands this processor has the same buffer types:
        // the kernel is looked up once and kept while key and forced sets stay the same.
        const processor::InstructionSetsIdentifier forced = getForcedInstructionSets();
        if (!m_kernel || !(types == m_kernelTypes) || forced.getMask() != m_kernelForcedMask) {
            m_kernel = retrieveFunctionSelector().select(types, forced);
            m_kernelTypes = types;
            m_kernelForcedMask = forced.getMask();
        }
        const processor::AlgorithmFunction kernel = m_kernel;
        if (!kernel)
            return BoolResult::failure(Derived::getTypeName() + ": no kernel is registered for the buffer types " +
                                       types.toString() + " with the usable instruction sets");
        return kernel(args).toBoolResult();
    }

private:
    template <class... I, class... O>
    void bindStrips(TypeList<I...>, TypeList<O...>) {
        int i = 0, o = 0;
        ((m_in[i++] = this->template attribute<I>().get()), ...);
        ((m_out[o++] = this->template attribute<O>().get()), ...);
    }

    processor::AlgorithmFunction m_kernel = nullptr;
    processor::DataTypeIdentifierColl m_kernelTypes;
    std::uint32_t m_kernelForcedMask = 0;
    std::array<const processor::BaseInputYStrip2dAttribute*, s_inputs> m_in{};
    std::array<const processor::BaseOutputYStrip2dAttribute*, s_outputs> m_out{};
};

}  // namespace vimra::imaproc::arithm
