#include <vimra/processor/Processor.h>
#include <vimra/processor/ProcessorMessages.h>
#include <vimra/processor/Streaming.h>

#include <vimra/core/Log.h>
#include <vimra/core/LogMessageFormater.h>

#include <boost/format.hpp>
#include <tbb/task_arena.h>

#include <exception>

namespace vimra::processor {

BaseProcessor::~BaseProcessor() = default;

BoolResult BaseProcessor::init(unsigned rulePolicy) {
    m_initialized = false;
    m_attributes.clear();
    m_initializers.clear();
    m_rule.reset();
    BoolResult r = initDerived(m_attributes, m_initializers, m_policy, m_rule, rulePolicy);
    m_initialized = r.isSuccess();
    return r;
}

namespace {

std::string accessorContext(const char* accessor) {
    return std::string("vimra::processor::BaseProcessor::") + accessor + " (vimra/processor/Processor.h)";
}

}  // namespace

void BaseProcessor::checkInitialized(const char* accessor) const {
    if (m_initialized) return;
    const std::string name = getObjectName();
    core::logMessage(getBaseProcessingLogger(), log4cplus::ERROR_LOG_LEVEL,
                     eBaseProcessingMessage::eProcessorNotInitialized, name, accessor);
    throw VIMRABaseProcessingException(
        core::formatMessage(eBaseProcessingMessage::eProcessorNotInitialized, name, accessor),
        accessorContext(accessor));
}

void BaseProcessor::throwUnknownAttribute(const char* accessor, const char* name) const {
    throw VIMRABaseProcessingException(
        core::formatMessage(eBaseProcessingMessage::eUnknownAttribute, getObjectName(), name),
        accessorContext(accessor));
}

std::vector<std::string> BaseProcessor::getAttributeNameColl() const {
    std::vector<std::string> names;
    names.reserve(m_attributes.size());
    for (const AttributePtr& a : m_attributes) names.emplace_back(a->getName());
    return names;
}

AttributePtr BaseProcessor::getAttribute(const std::string& name) const {
    for (const AttributePtr& a : m_attributes)
        if (name == a->getName()) return a;
    return {};
}

BoolResult BaseProcessor::checkInputs() const {
    for (const AttributePtr& a : m_attributes) {
        if (a->isInput() && a->isMandatory() && !a->isSet())
            return BoolResult::failure(core::formatMessage(eBaseProcessingMessage::eMandatoryAttributeNotSet,
                                                           getObjectName(), a->getName()));
    }
    return BoolResult::success();
}

BoolResult BaseProcessor::initializeOutputs(std::vector<AttributePtr>& created) {
    for (const AttributePtr& a : m_attributes) {
        if (a->isInput() || a->isSet()) continue;
        auto it = m_initializers.find(a->getName());
        if (it == m_initializers.end() || !it->second)
            return BoolResult::failure(core::formatMessage(eBaseProcessingMessage::eOutputWithoutInitializer,
                                                           getObjectName(), a->getName()));
        BoolResult r = it->second->init();
        if (!r)
            return BoolResult::failure(core::formatMessage(eBaseProcessingMessage::eOutputNotCreated,
                                                           getObjectName(), a->getName(), r.getMessage()));
        created.push_back(a);
    }
    return BoolResult::success();
}

void BaseProcessor::decideStreaming(RunContext& context) const {
    if (context.isStreamingDecided()) return;
    bool hasImages = false;
    std::uint64_t bytes = 0;
    for (const AttributePtr& a : m_attributes) {
        if (a->isInput()) continue;
        const auto* attribute = dynamic_cast<const BaseImageAttribute*>(a.get());
        const image::BaseImage* img = attribute ? attribute->getImage() : nullptr;
        if (!img) continue;
        hasImages = true;
        bytes += img->getSizeX() * img->getSizeY() * img->getPlaneCount() * img->getElementSize();
    }
    // Strip processors have no output images: a run started below level 1 keeps plain stores.
    if (hasImages) context.decideStreamingStores(chooseStreaming(bytes));
}

BoolResult BaseProcessor::execute(RunContext& context) {
    if (!m_initialized)
        return BoolResult::failure((boost::format("Processor %s is not initialised") % getObjectName()).str());
    std::vector<AttributePtr> created;
    BoolResult result;
    try {
        result = checkInputs();
        if (result && m_rule) {
            result = m_rule->check();
            if (!result)
                result = BoolResult::failure(core::formatMessage(eBaseProcessingMessage::eRuleFailed,
                                                                 getObjectName(), m_rule->describe(),
                                                                 result.getMessage()));
        }
        if (result) result = initializeOutputs(created);
        if (result) decideStreaming(context);
        if (result && context.isCancellationRequested())
            result = BoolResult::failure(getObjectName() + ": processing cancelled");
        if (result) result = runDerived(context);
    } catch (const std::exception& e) {
        result = BoolResult::failure(getObjectName() + ": " + e.what());
    }
    // Outputs this run created are dropped on failure; the caller's images are untouched.
    if (!result)
        for (const AttributePtr& a : created) a->clear();
    return result;
}

BoolResult BaseProcessor::executeUnchecked(RunContext& context) {
    try {
        return runDerived(context);
    } catch (const std::exception& e) {
        return BoolResult::failure(getObjectName() + ": " + e.what());
    }
}

ProcessingResult<bool> BaseProcessor::retrieveProvider(unsigned, ProviderPtr&) {
    return ProcessingResult<bool>::failure(getObjectName() + " provides no processing");
}

BoolResult BaseProcessor::runDerived(RunContext& context) {
    ProviderPtr provider;
    ProcessingResult<bool> r = retrieveProvider(0, provider);
    if (!r) return r.toBoolResult();
    if (!provider) return BoolResult::failure(getObjectName() + ": no provider for the run");
    return provider->run(context);
}

void BaseProcessor::write(core::BaseOArchive& archive) const {
    for (const AttributePtr& a : m_attributes) a->write(archive);
}

void BaseProcessor::read(core::BaseIArchive& archive) {
    if (!m_initialized) init(eRulePolicy::eRulesOn);
    for (const AttributePtr& a : m_attributes) a->read(archive);
}

// ---------------------------------------------------------------------------------------------

BaseAsyncProcessor::~BaseAsyncProcessor() {
    if (m_thread.joinable()) {
        // The last owner may be the run's own thread, which cannot join itself.
        if (m_thread.get_id() == std::this_thread::get_id())
            m_thread.detach();
        else
            m_thread.join();
    }
}

BoolResult BaseAsyncProcessor::runSync() {
    RunContext context(getDispatchPolicy());
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_context = &context;
        if (m_cancelPending) context.requestCancellation();
        m_cancelPending = false;
    }
    BoolResult r;
    const unsigned cap = getDispatchPolicy().getMaxWorkers();
    if (cap > 0) {
        // A capped run gets its own arena; nested dispatchers inherit it.
        tbb::task_arena arena(static_cast<int>(cap));
        arena.execute([&] { r = execute(context); });
    } else {
        r = execute(context);
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    m_context = nullptr;
    return r;
}

BoolResult BaseAsyncProcessor::run(unsigned synchronisationType) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_running) return BoolResult::failure(getObjectName() + ": a run is already in progress");
        m_running = true;
    }
    if (synchronisationType != eSynchronisationType::eAsynchronous) {
        BoolResult r = runSync();
        std::lock_guard<std::mutex> lock(m_mutex);
        m_running = false;
        m_lastResult = r;
        m_done.notify_all();
        return r;
    }
    boost::shared_ptr<BaseAsyncProcessor> self;
    try {
        // The run keeps its processor alive, so the processor must be owned by a shared pointer.
        self = boost::static_pointer_cast<BaseAsyncProcessor>(shared_from_this());
    } catch (const boost::bad_weak_ptr&) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_running = false;
        m_lastResult = BoolResult::failure(getObjectName() +
                                           ": an asynchronous run needs a processor owned by a shared pointer");
        m_done.notify_all();
        return m_lastResult;
    }
    // The handle is replaced under the lock: this run may end, and another caller start
    // the next one and join this thread, before the assignment below would otherwise be
    // visible to it. The new thread waits for the lock in runSync until we are done.
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_thread.joinable()) m_thread.join();  // a previous run, past its last use of the lock
    m_thread = std::thread([self] {
        BoolResult r = self->runSync();
        std::lock_guard<std::mutex> lock(self->m_mutex);
        self->m_running = false;
        self->m_lastResult = r;
        self->m_done.notify_all();
    });
    return BoolResult::success();
}

BoolResult BaseAsyncProcessor::waitForCompletion() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_done.wait(lock, [this] { return !m_running; });
    return m_lastResult;
}

void BaseAsyncProcessor::wait() {
    BoolResult r = waitForCompletion();
    if (!r) throw VIMRABaseProcessingException(r.getMessage(), "vimra::processor::BaseAsyncProcessor::wait");
}

bool BaseAsyncProcessor::isRunning() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_running;
}

void BaseAsyncProcessor::requestCancellation() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_context)
            m_context->requestCancellation();
        else if (m_running)
            m_cancelPending = true;
    }
    requestCancellationdDerived();
}

void executeSyncRun(const boost::shared_ptr<BaseAsyncProcessor>& processor) {
    if (!processor)
        throw VIMRABaseProcessingException(
            core::formatMessage(eBaseProcessingMessage::eNullProcessor, "executeSyncRun"),
            "vimra::processor::executeSyncRun");
    BoolResult r = processor->run(eSynchronisationType::eSynchronous);
    if (!r) throw VIMRABaseProcessingException(r.getMessage(), "vimra::processor::executeSyncRun");
}

}  // namespace vimra::processor
