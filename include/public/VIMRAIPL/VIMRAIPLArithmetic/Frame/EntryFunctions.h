#pragma once

// The shape of every entry function, written once: create the level-1
// processor, init with rules on, set the arguments in attribute order, then run
// synchronously (returning the output) or asynchronously (returning the processor).

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

#include <boost/make_shared.hpp>

#include <utility>

namespace vimra::imaproc::arithm::entry {

namespace detail {

template <class Lvl1, class... Attrs, class... Args>
void setAll(Lvl1& processor, TypeList<Attrs...>, const Args&... args) {
    static_assert(sizeof...(Attrs) == sizeof...(Args), "one argument per input and value attribute");
    (processor.template set<Attrs>(args), ...);
}

template <class Lvl1>
using ArgumentAttrs = typename arithm::detail::Concat<
    typename arithm::detail::LevelAttributes<eLevel::eLvl1, typename Lvl1::Operation::Shape>::Inputs,
    typename arithm::detail::LevelAttributes<eLevel::eLvl1, typename Lvl1::Operation::Shape>::Values>::type;

template <class Lvl1, class... Args>
boost::shared_ptr<Lvl1> prepare(const Args&... args) {
    auto processor = boost::make_shared<Lvl1>();
    processor->init(processor::eRulePolicy::eRulesOn);
    setAll(*processor, ArgumentAttrs<Lvl1>{}, args...);
    return processor;
}

}  // namespace detail

/// Runs with a new output image and returns it.
template <class Lvl1, class... Args>
ImagePtr runCreating(const Args&... args) {
    auto processor = detail::prepare<Lvl1>(args...);
    processor::executeSyncRun(processor);
    return processor->template getStorage<attr::OutImg>();
}

/// Runs into the caller's output image.
template <class Lvl1, class... Args>
void runInto(const ImagePtr& out, const Args&... args) {
    auto processor = detail::prepare<Lvl1>(args...);
    processor->template set<attr::OutImg>(out);
    processor::executeSyncRun(processor);
}

/// Starts an asynchronous run; `out` may be null (the output is then created).
template <class Lvl1, class... Args>
boost::shared_ptr<Lvl1> runAsync(const ImagePtr& out, const Args&... args) {
    auto processor = detail::prepare<Lvl1>(args...);
    if (out) processor->template set<attr::OutImg>(out);
    processor::BoolResult started = processor->run(processor::eSynchronisationType::eAsynchronous);
    if (!started) throw processor::VIMRABaseProcessingException(started.getMessage());
    return processor;
}

}  // namespace vimra::imaproc::arithm::entry
