#pragma once

#include <vimra/core/InstructionSet.h>

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
        m_parallelThreshold = s_defaultParallelThreshold;
        m_initialized = true;
    }
    bool isInitialized() const { return m_initialized; }

    /// 0 means "as many as the scheduler has"; otherwise at most this many threads.
    unsigned getMaxWorkers() const { return m_maxWorkers; }
    void setMaxWorkers(unsigned n) { m_maxWorkers = n; }

    std::uint64_t getStripTargetElements() const { return m_stripTargetElements; }
    void setStripTargetElements(std::uint64_t n) { m_stripTargetElements = n == 0 ? 1 : n; }

    /// Sub-images of at most this many elements are processed on the calling
    /// thread: waking workers costs more than the work.
    static constexpr std::uint64_t s_defaultParallelThreshold = std::uint64_t{1} << 18;
    std::uint64_t getParallelThreshold() const { return m_parallelThreshold; }
    void setParallelThreshold(std::uint64_t n) { m_parallelThreshold = n; }

    /// The widest instruction set the run's kernels may use (eAVX512: no cap).
    /// Per run, unlike core::limitInstructionSets, so concurrent runs may differ.
    eInstructionSet::domain getHighestInstructionSet() const { return m_highestSet; }
    void setHighestInstructionSet(eInstructionSet::domain set) { m_highestSet = set; }

private:
    eInstructionSet::domain m_highestSet = eInstructionSet::eAVX512;
    std::uint64_t m_parallelThreshold = s_defaultParallelThreshold;
    unsigned m_maxWorkers = 0;
    std::uint64_t m_stripTargetElements = 32768;
    bool m_initialized = false;
};

}  // namespace vimra::processor
