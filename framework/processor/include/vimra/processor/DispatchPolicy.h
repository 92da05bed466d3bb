#pragma once

#include <cstdint>

namespace vimra::processor {

/// What the dispatchers read from a processor class: how many worker threads a
/// run may use and how large strips should be.
class ProcessorDispatchPolicy {
public:
    /// The framework default: no cap on workers, strips of about 32768 elements.
    void initDefault() {
        m_maxWorkers = 0;
        m_stripTargetElements = 32768;
        m_initialized = true;
    }
    bool isInitialized() const { return m_initialized; }

    /// 0 means "as many as the scheduler has"; otherwise at most this many threads.
    unsigned getMaxWorkers() const { return m_maxWorkers; }
    void setMaxWorkers(unsigned n) { m_maxWorkers = n; }

    std::uint64_t getStripTargetElements() const { return m_stripTargetElements; }
    void setStripTargetElements(std::uint64_t n) { m_stripTargetElements = n == 0 ? 1 : n; }

private:
    unsigned m_maxWorkers = 0;
    std::uint64_t m_stripTargetElements = 32768;
    bool m_initialized = false;
};

}  // namespace vimra::processor
