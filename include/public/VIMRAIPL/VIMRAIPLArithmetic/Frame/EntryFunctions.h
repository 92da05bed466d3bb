#pragma once

// The shape of every entry function, written once: create the level-1
// processor, init with rules on, set the arguments in the operation's argument
// order, then run synchronously (returning the output, or the pair of outputs)
// or asynchronously (returning the processor).

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

#include <vimra/core/LogMessageFormater.h>
#include <vimra/processor/ProcessorMessages.h>

#include <boost/make_shared.hpp>

#include <tuple>
#include <utility>

namespace vimra::imaproc::arithm::entry {

/// How an entry-function argument becomes an attribute value. Most are taken
/// as they are; a range comes by shared pointer to const (a null one is refused).
/// `caller` names the processor class in errors; it is only called on failure
/// (the name is built under a process-wide mutex).
using CallerName = const std::string& (*)();

template <class Attr>
struct Argument {
    using type = typename Attr::value_type;
    static const type& convert(const type& value, CallerName) { return value; }
};
template <>
struct Argument<attr::InOutputRange> {
    using type = boost::shared_ptr<const processor::Range>;
    static processor::Range convert(const type& value, CallerName caller);
};

[[noreturn]] void throwNullArgument(CallerName caller, const char* attribute);

namespace detail {

template <class Op>
auto argumentsOf() {
    if constexpr (requires { typename Op::Arguments; }) {
        return typename Op::Arguments{};
    } else {
        using Levels = arithm::detail::LevelAttributes<eLevel::eLvl1, Op>;
        return typename arithm::detail::Concat<typename Levels::Inputs, typename Levels::Values>::type{};
    }
}

template <class Lvl1>
using ArgumentAttrs = decltype(argumentsOf<typename Lvl1::Operation>());
template <class Lvl1>
using OutputAttrs = typename arithm::detail::LevelAttributes<eLevel::eLvl1, typename Lvl1::Operation>::Outputs;

template <class Lvl1, class... A, class Tuple, std::size_t... I>
void setArguments(Lvl1& p, TypeList<A...>, const Tuple& values, std::index_sequence<I...>) {
    (p.template set<A>(Argument<A>::convert(std::get<I>(values), &Lvl1::getTypeName)), ...);
}
template <class Lvl1, class... O, class Tuple, std::size_t... I>
void setOutputs(Lvl1& p, TypeList<O...>, const Tuple& values, std::index_sequence<I...>) {
    ((std::get<I>(values) ? void() : throwNullArgument(&Lvl1::getTypeName, O::s_name)), ...);
    (p.template set<O>(std::get<I>(values)), ...);
}

/// Creates, initialises and configures the processor from `arguments..., outputs...`
/// (the outputs may be left out).
template <class Lvl1, class... All>
boost::shared_ptr<Lvl1> prepare(const All&... all) {
    constexpr std::size_t nArgs = ArgumentAttrs<Lvl1>::size;
    constexpr std::size_t nOuts = OutputAttrs<Lvl1>::size;
    static_assert(sizeof...(All) == nArgs || sizeof...(All) == nArgs + nOuts,
                  "entry functions take the operation's arguments, then optionally every output");
    auto processor = boost::make_shared<Lvl1>();
    processor->init(processor::eRulePolicy::eRulesOn);
    const auto values = std::forward_as_tuple(all...);
    setArguments(*processor, ArgumentAttrs<Lvl1>{}, values, std::make_index_sequence<nArgs>{});
    if constexpr (sizeof...(All) > nArgs) {
        [&]<std::size_t... I>(std::index_sequence<I...>) {
            setOutputs(*processor, OutputAttrs<Lvl1>{}, std::forward_as_tuple(std::get<nArgs + I>(values)...),
                       std::index_sequence<I...>{});
        }(std::make_index_sequence<nOuts>{});
        if constexpr (requires { Lvl1::Operation::deriveValues(*processor); })
            Lvl1::Operation::deriveValues(*processor);
    }
    return processor;
}

template <class Lvl1, class... O>
auto outputsOf(const Lvl1& p, TypeList<O...>) {
    if constexpr (sizeof...(O) == 1) {
        return p.template getStorage<O...>();
    } else {
        return std::make_pair(p.template getStorage<O>()...);
    }
}

}  // namespace detail

/// Runs with new output images and returns them (a pair where there are two).
template <class Lvl1, class... Args>
auto runCreating(const Args&... args) {
    auto processor = detail::prepare<Lvl1>(args...);
    processor::executeSyncRun(processor);
    return detail::outputsOf(*processor, detail::OutputAttrs<Lvl1>{});
}

/// Runs into the caller's output images (arguments, then outputs; none may be null).
template <class Lvl1, class... All>
void runInto(const All&... all) {
    static_assert(sizeof...(All) == detail::ArgumentAttrs<Lvl1>::size + detail::OutputAttrs<Lvl1>::size);
    processor::executeSyncRun(detail::prepare<Lvl1>(all...));
}

/// Starts an asynchronous run (arguments, then optionally the outputs).
template <class Lvl1, class... All>
boost::shared_ptr<Lvl1> runAsync(const All&... all) {
    auto processor = detail::prepare<Lvl1>(all...);
    processor::BoolResult started = processor->run(processor::eSynchronisationType::eAsynchronous);
    if (!started) throw processor::VIMRABaseProcessingException(started.getMessage());
    return processor;
}

/// The outputs of a run started by an `_async` form, once it has finished.
template <class Lvl1>
auto asyncOutput(const boost::shared_ptr<Lvl1>& processor) {
    if (!processor)
        throw processor::VIMRABaseProcessingException(
            core::formatMessage(processor::eBaseProcessingMessage::eNullProcessor, "getAsyncProcessorOutput"),
            "vimra::imaproc::arithm::getAsyncProcessorOutput");
    return detail::outputsOf(*processor, detail::OutputAttrs<Lvl1>{});
}

}  // namespace vimra::imaproc::arithm::entry
