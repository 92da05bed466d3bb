#pragma once

#include <vimra/core/InstructionSet.h>
#include <vimra/image/BufferType.h>
#include <vimra/processor/Result.h>

#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <unordered_map>
#include <vector>

namespace vimra::processor {

/// What a typed kernel receives for one strip. The first field is the number of
/// elements to process; buffers are flat runs of elements (inputs first).
struct ProcessingInfo {
    std::uint64_t count = 0;
};

struct KernelArgs {
    ProcessingInfo info;
    static constexpr int s_maxInputs = 9;
    static constexpr int s_maxOutputs = 2;
    const void* in[s_maxInputs] = {};
    void* out[s_maxOutputs] = {};
    /// Operation parameters (scalars, ranges), owned by the level-3 processor.
    const void* params = nullptr;
};

/// A typed kernel. Kernels have no failure path of their own; they return success.
using AlgorithmFunction = ProcessingResult<bool> (*)(const KernelArgs& args);

/// Base of the identifiers that make up a kernel's key.
class BaseDataTypeIdentifier {
public:
    virtual ~BaseDataTypeIdentifier() = default;
};

/// One strip's buffer type.
class ImageBufferTypeIdentifier final : public BaseDataTypeIdentifier {
public:
    void init(image::eImageBufferType::domain type) { m_type = type; }
    image::eImageBufferType::domain getBufferType() const { return m_type; }

private:
    image::eImageBufferType::domain m_type = image::eImageBufferType::eUInt8;
};

/// The ordered buffer types of a kernel's strips, inputs first, output(s) last.
/// Encoded as four bits per strip so that lookups allocate nothing.
class DataTypeIdentifierColl {
public:
    static constexpr int s_maxStrips = 15;

    template <class... Ids>
    void init(const Ids&... ids) {
        m_key = 0;
        m_count = 0;
        (append(ids.getBufferType()), ...);
    }
    void append(image::eImageBufferType::domain type);
    void clear() { m_key = 0, m_count = 0; }
    std::uint64_t getKey() const { return m_key; }
    int getCount() const { return m_count; }
    std::string toString() const;
    bool operator==(const DataTypeIdentifierColl&) const = default;

private:
    std::uint64_t m_key = 0;
    int m_count = 0;
};

/// A set of instruction sets (bit i for eInstructionSet value i).
class InstructionSetsIdentifier {
public:
    InstructionSetsIdentifier() = default;
    void init(eInstructionSet::domain set) { m_mask = 1u << set; }
    void init(std::initializer_list<eInstructionSet::domain> sets);
    void add(eInstructionSet::domain set) { m_mask |= 1u << set; }
    bool contains(eInstructionSet::domain set) const { return (m_mask >> set) & 1u; }
    bool empty() const { return m_mask == 0; }
    std::uint32_t getMask() const { return m_mask; }
    static InstructionSetsIdentifier fromMask(std::uint32_t mask) {
        InstructionSetsIdentifier s;
        s.m_mask = mask;
        return s;
    }

private:
    std::uint32_t m_mask = 0;
};

/// Efficiency figure of a kernel written for an instruction set; higher wins.
template <eInstructionSet::domain Set, int A = 0, int B = 0>
struct AlgorithmFunctionEfficiency {
    static constexpr unsigned getEfficiency() {
        switch (Set) {
            case eInstructionSet::eStandard: return 10;
            case eInstructionSet::eSSE2: return 20;
            case eInstructionSet::eAVX: return 30;
            case eInstructionSet::eAVX2: return 40;
            case eInstructionSet::eAVX512: return 50;
        }
        return 0;
    }
};
unsigned efficiencyOf(eInstructionSet::domain set);

/// One registration: key, instruction set(s), efficiency and kernel.
class AlgorithmFunctionIdentifier {
public:
    void init(const DataTypeIdentifierColl& types, const InstructionSetsIdentifier& sets, unsigned efficiency,
              AlgorithmFunction function) {
        m_types = types;
        m_sets = sets;
        m_efficiency = efficiency;
        m_function = function;
    }
    const DataTypeIdentifierColl& getTypes() const { return m_types; }
    const InstructionSetsIdentifier& getInstructionSets() const { return m_sets; }
    unsigned getEfficiency() const { return m_efficiency; }
    AlgorithmFunction getFunction() const { return m_function; }

private:
    DataTypeIdentifierColl m_types;
    InstructionSetsIdentifier m_sets;
    unsigned m_efficiency = 0;
    AlgorithmFunction m_function = nullptr;
};

/// A level-3 class's table of kernels. Filled at library load (single-threaded),
/// read concurrently afterwards without locks.
class AlgorithmFunctionSelector {
public:
    /// Whether this selector accepts kernels of these sets (all sets are accepted;
    /// an empty set is not).
    bool isSupported(const InstructionSetsIdentifier& sets) const { return !sets.empty(); }
    /// Adds a registration; false (and nothing added) for a null function, an
    /// empty key or set, or a duplicate key and set.
    bool registerFunction(const AlgorithmFunctionIdentifier& identifier);

    /// The usable kernel of highest efficiency for the key: its sets must be
    /// available on this processor (core::isAvailable) and, when `forced` is not
    /// empty, among the forced sets. Ties go to the earlier registration.
    /// Null when nothing matches.
    AlgorithmFunction select(const DataTypeIdentifierColl& types,
                             const InstructionSetsIdentifier& forced = {}) const;
    /// The instruction set the selected kernel was registered for (for tests and logs).
    bool selectSet(const DataTypeIdentifierColl& types, const InstructionSetsIdentifier& forced,
                   eInstructionSet::domain& set) const;

    /// Number of registrations made for an instruction set.
    std::size_t countRegistrations(eInstructionSet::domain set) const;
    std::size_t size() const;

private:
    struct Entry {
        InstructionSetsIdentifier sets;
        unsigned efficiency;
        AlgorithmFunction function;
    };
    const Entry* best(const DataTypeIdentifierColl& types, const InstructionSetsIdentifier& forced) const;
    std::unordered_map<std::uint64_t, std::vector<Entry>> m_entries;
};

/// Registers a table of element-type kernels under every buffer-type combination.
/// `table` holds 7^arity kernels, indexed by element indices (first strip most
/// significant); every combination of the eleven buffer types of `arity` strips
/// is registered, first strip outermost, each running 1 to 11. With `onlyFloat`
/// the table holds a single kernel, registered for the all-float combination only. Returns the number of
/// registrations; failures are logged.
std::size_t registerKernelTable(AlgorithmFunctionSelector& selector, eInstructionSet::domain set,
                                const AlgorithmFunction* table, int arity, bool onlyFloat = false);

/// Static-initialiser helper of an instruction-set kernel file: registers the
/// table only when core::isAvailable(set). It lives in the baseline-compiled
/// framework so that no code compiled for a wider set runs before that check.
class KernelTableRegistration {
public:
    KernelTableRegistration(AlgorithmFunctionSelector& (*selector)(), eInstructionSet::domain set,
                            const AlgorithmFunction* table, int arity, bool onlyFloat = false);
    std::size_t getCount() const { return m_count; }

private:
    std::size_t m_count = 0;
};

}  // namespace vimra::processor
