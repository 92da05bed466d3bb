#pragma once

#include <vimra/core/DynamicObject.h>
#include <vimra/image/StripParser.h>
#include <vimra/processor/Attribute.h>
#include <vimra/processor/DispatchPolicy.h>
#include <vimra/processor/OutputInitializer.h>
#include <vimra/processor/ProcessingException.h>
#include <vimra/processor/Result.h>
#include <vimra/processor/Rule.h>

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>

#include <atomic>
#include <cstring>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace vimra::processor {

class BaseProcessor;

/// Shared by every level of one run: cancellation, the dispatch policy of the
/// level-1 processor that started it and whether the run's kernels stream their
/// stores (Streaming.h).
class RunContext {
public:
    explicit RunContext(const ProcessorDispatchPolicy& policy) : m_policy(policy) {}
    void requestCancellation() { m_cancel.store(true, std::memory_order_relaxed); }
    bool isCancellationRequested() const { return m_cancel.load(std::memory_order_relaxed); }
    const ProcessorDispatchPolicy& getPolicy() const { return m_policy; }

    /// The first decision stands: the outermost processor with output images
    /// decides for the whole run, before any sub-run starts (which then reads it).
    void decideStreamingStores(bool streaming) {
        int undecided = s_undecided;
        m_streaming.compare_exchange_strong(undecided, streaming ? 1 : 0, std::memory_order_relaxed);
    }
    bool isStreamingDecided() const { return m_streaming.load(std::memory_order_relaxed) != s_undecided; }
    /// False until decided.
    bool useStreamingStores() const { return m_streaming.load(std::memory_order_relaxed) == 1; }

private:
    static constexpr int s_undecided = -1;
    std::atomic<bool> m_cancel{false};
    std::atomic<int> m_streaming{s_undecided};
    ProcessorDispatchPolicy m_policy;
};

/// What a level-1 or level-2 processor hands its work to (a dispatcher).
class BaseProvider {
public:
    virtual ~BaseProvider() = default;
    virtual BoolResult run(RunContext& context) = 0;
};
using ProviderPtr = boost::shared_ptr<BaseProvider>;

/// Second base of every processor class: names shown to users.
class ProcessorIdentity {
public:
    virtual ~ProcessorIdentity() = default;
    virtual std::string getObjectName() const = 0;
    virtual std::string getToolTip() const = 0;
};

struct eSynchronisationType {
    enum domain { eSynchronous = 0, eAsynchronous = 1 };
};

/// Rule policy 0 attaches the class's rules; 1 attaches none.
struct eRulePolicy {
    enum domain { eRulesOn = 0, eRulesOff = 1 };
};

/// Base of every processor. Life cycle: init(rulePolicy) -> set<Attr>(...) -> run.
/// A run checks mandatory inputs and the rule, creates missing outputs through
/// their initialisers, then either asks for a provider (levels 1 and 2) or
/// computes directly (level 3, which overrides runDerived).
class BaseProcessor : public core::BaseComplexAction,
                      public ProcessorIdentity,
                      public boost::enable_shared_from_this<BaseProcessor> {
public:
    ~BaseProcessor() override;

    BoolResult init(unsigned rulePolicy = eRulePolicy::eRulesOn);
    bool isInitialized() const { return m_initialized; }

    /// Stores a value into the attribute of type Attr.
    template <class Attr>
    void set(const typename Attr::value_type& value) {
        accessAttribute<Attr>("set").setValue(value);
    }
    /// The value of the attribute of type Attr (typically an output image).
    template <class Attr>
    const typename Attr::value_type& getStorage() const {
        return const_cast<BaseProcessor*>(this)->accessAttribute<Attr>("getStorage").getValue();
    }
    /// The attribute object of type Attr, or null. Found by name: an attribute
    /// name denotes one attribute type throughout the framework.
    template <class Attr>
    boost::shared_ptr<Attr> findAttribute() const {
        for (const AttributePtr& a : m_attributes)
            if (std::strcmp(a->getName(), Attr::s_name) == 0) return boost::static_pointer_cast<Attr>(a);
        return {};
    }

    const AttributeColl& getAttributeColl() const { return m_attributes; }
    std::vector<std::string> getAttributeNameColl() const;
    AttributePtr getAttribute(const std::string& name) const;
    const RulePtr& getRule() const { return m_rule; }
    const ProcessorDispatchPolicy& getDispatchPolicy() const { return m_policy; }
    void setDispatchPolicy(const ProcessorDispatchPolicy& policy) { m_policy = policy; }

    /// Runs the processor in the given context (used by dispatchers and by run()).
    BoolResult execute(RunContext& context);
    /// Runs again with new values of already checked attributes: skips the
    /// checks, the rule and output creation (strips after the first of a chunk).
    BoolResult executeUnchecked(RunContext& context);

    /// The framework's part of serialisation: the attributes in order.
    void write(core::BaseOArchive& archive) const override;
    void read(core::BaseIArchive& archive) override;

    virtual std::string getProcessorType() const { return "processor"; }

    /// Strip processors list the parsers of their strip attributes here, in
    /// attribute order, once per chunk of strips (a parser reads its attribute's
    /// current strip, so one serves every strip of the chunk); clearDataParserColl
    /// releases them. Flat kernels read their strips directly and create none.
    virtual void initDataParserColl(std::vector<image::StripParserPtr>& parsers) { parsers.clear(); }
    virtual void clearDataParserColl() {}

protected:
    BaseProcessor() = default;

    virtual BoolResult initDerived(AttributeColl& attributes, OutputInitializerMap& initializers,
                                   ProcessorDispatchPolicy& policy, RulePtr& rule, unsigned rulePolicy) = 0;
    /// Levels 1 and 2: the dispatcher over the next level.
    virtual ProcessingResult<bool> retrieveProvider(unsigned priority, ProviderPtr& provider);
    /// The work of a run once checks and output initialisation are done.
    virtual BoolResult runDerived(RunContext& context);

    /// Logs and throws VIMRABaseProcessingException naming the accessor when not initialised.
    void checkInitialized(const char* accessor) const;

private:
    template <class Attr>
    Attr& accessAttribute(const char* accessor) {
        checkInitialized(accessor);
        if (auto a = findAttribute<Attr>()) return *a;
        throwUnknownAttribute(accessor, Attr::s_name);
    }
    [[noreturn]] void throwUnknownAttribute(const char* accessor, const char* name) const;
    BoolResult checkInputs() const;
    void decideStreaming(RunContext& context) const;
    BoolResult initializeOutputs(std::vector<AttributePtr>& created);

    AttributeColl m_attributes;
    OutputInitializerMap m_initializers;
    ProcessorDispatchPolicy m_policy;
    RulePtr m_rule;
    bool m_initialized = false;
};

using ProcessorPtr = boost::shared_ptr<BaseProcessor>;

/// A processor that can also run asynchronously and be cancelled.
class BaseAsyncProcessor : public BaseProcessor {
public:
    ~BaseAsyncProcessor() override;

    /// Synchronous: runs and returns the outcome. Asynchronous: starts the run on
    /// its own thread and returns success at once (or a failure if one is running).
    BoolResult run(unsigned synchronisationType = eSynchronisationType::eSynchronous);

    /// Blocks until the current asynchronous run ends and returns its outcome.
    /// Returns success at once when no asynchronous run was started.
    BoolResult waitForCompletion();
    /// As waitForCompletion, but throws VIMRABaseProcessingException with the
    /// failure's message when the run failed.
    void wait();
    bool isRunning() const;

    /// Asks the running work to stop; dispatchers stop between strips and the run fails.
    void requestCancellation();

protected:
    virtual void requestCancellationdDerived() {}

private:
    BoolResult runSync();
    mutable std::mutex m_mutex;
    std::condition_variable m_done;
    bool m_running = false;
    BoolResult m_lastResult;
    RunContext* m_context = nullptr;
    bool m_cancelPending = false;
    std::thread m_thread;
};

/// Base of the library's algorithm classes.
class BaseAsync1Processor : public BaseAsyncProcessor {};

/// Runs a processor synchronously; throws VIMRABaseProcessingException carrying the
/// failure message when the run fails.
void executeSyncRun(const boost::shared_ptr<BaseAsyncProcessor>& processor);

}  // namespace vimra::processor
