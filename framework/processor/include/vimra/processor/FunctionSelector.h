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

/// What a typed kernel receives for one strip. `count` elements are processed
/// as one flat run per buffer (inputs first). The geometry fields locate the
/// strip for kernels that walk it line by line (neighbourhoods, coordinates):
/// rows of `sizeX` elements, `rows` rows per plane, `planes` planes
/// `planeStride` elements apart, starting at row `startY` and plane `startZ` of
/// the sub-image.
struct ProcessingInfo {
    std::uint64_t count = 0;
    std::uint64_t sizeX = 0;
    std::uint64_t rows = 0;
    std::uint64_t planes = 1;
    std::uint64_t planeStride = 0;
    std::uint64_t startY = 0;
    std::uint64_t startZ = 0;
    /// Index in the strip's run of element 0 of this call: non-zero only for the
    /// last partial vector step of unpadded memory (runKernelWithinBuffers),
    /// which a kernel locating pixels by position adds to its element index.
    std::uint64_t first = 0;
};

/// The value parameters of an operation as its kernels read them: the level-3
/// processor copies its value attributes here once per chunk of strips, in the
/// operation's order (a range takes two slots, Min then Max; an unset optional
/// value its operation's default).
struct KernelParams {
    static constexpr int s_max = 8;
    double values[s_max] = {};
    int count = 0;
    void push(double v) {
        if (count < s_max) values[count++] = v;
    }
};

struct KernelArgs {
    ProcessingInfo info;
    static constexpr int s_maxInputs = 9;
    static constexpr int s_maxOutputs = 2;
    const void* in[s_maxInputs] = {};
    void* out[s_maxOutputs] = {};
    /// Operation parameters (scalars, ranges), owned by the level-3 processor and
    /// read by the kernel once per strip.
    const KernelParams* params = nullptr;
    /// State of the operation beyond values (a formula's bound program and
    /// images), owned by the level-3 processor; null for pixel-wise operations.
    void* context = nullptr;
    /// GPU launchers only: the launch information (gpu::LauncherInfo); in[] and
    /// out[] then point to each image's array of device plane addresses.
    const void* launch = nullptr;
    /// Write the outputs with streaming stores (the run's choice, Streaming.h).
    /// Kernels that honour it fence before returning, so the strip's writes are
    /// ordered before the worker reports the strip done. Results are the same either way.
    bool streaming = false;
};

/// A typed kernel. Kernels have no failure path of their own; they return success.
using AlgorithmFunction = ProcessingResult<bool> (*)(const KernelArgs& args);

/// Runs a flat kernel over strips some of whose buffers end at the run's last
/// element (caller memory without padding), where a vector kernel's last step
/// must not read or write past `count`: the whole 64-element steps run in place,
/// the remaining elements through 64-element scratch copies, with the same
/// kernel, so results are those of a padded run. `elementSizes` lists the
/// strips' element sizes, inputs first. Strips with padding need none of this.
ProcessingResult<bool> runKernelWithinBuffers(AlgorithmFunction kernel, const KernelArgs& args, int inputs,
                                              int outputs, const std::size_t* elementSizes);

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

/// `forced` (empty: every set) without the sets wider than `highest`; the
/// standard set alone when nothing is left.
InstructionSetsIdentifier capInstructionSets(const InstructionSetsIdentifier& forced, eInstructionSet::domain highest);

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

/// How a table of element-type kernels maps onto buffer-type keys.
///
/// A table is indexed by the kernel's type parameters, parameter 0 most
/// significant, each running over the element types of its domain in element
/// order (a domain is a bit mask over element indices 0..6). A key has one slot
/// per strip (inputs first): a slot takes the buffer type of one parameter, or a
/// fixed buffer type. Registration walks every buffer type of every parameter's
/// domain, parameter 0 outermost, each running 1 to 11.
///   two inputs and an output:   3 parameters, slots (0, 1, 2)         1331 keys
///   inputs sharing a type:      2 parameters, slots (0, 0, 1)          121 keys
///   output type only:           1 parameter,  slots (float, 0)          11 keys
///   no type parameter:          0 parameters, slots (float, float)       1 key
struct KernelSignature {
    static constexpr int s_maxParams = 4;
    static constexpr std::uint8_t s_allElements = 0x7f;
    static constexpr std::int8_t s_fixed = -1;

    int params = 0;
    std::uint8_t domains[s_maxParams] = {};
    int slots = 0;
    std::int8_t slotParam[DataTypeIdentifierColl::s_maxStrips] = {};
    image::eImageBufferType::domain slotFixed[DataTypeIdentifierColl::s_maxStrips] = {};

    /// Kernels in a table of this signature (the product of the domain sizes).
    std::size_t tableSize() const;
    /// Keys registered for a table (the product of the domains' buffer-type counts).
    std::size_t keyCount() const;
    /// False for out-of-range counts, empty domains or slots naming no parameter.
    bool isValid() const;
};

/// Registers `table` (KernelSignature::tableSize() kernels) under every key of
/// the signature. Returns the number of registrations; failures are logged.
std::size_t registerKernelTable(AlgorithmFunctionSelector& selector, eInstructionSet::domain set,
                                const AlgorithmFunction* table, const KernelSignature& signature);

/// Level-3 classes make their selectors known by type name, so that tests and
/// tools reach any class's kernels without naming its C++ type.
void registerFunctionSelector(const std::string& typeName, AlgorithmFunctionSelector& selector);
AlgorithmFunctionSelector* findFunctionSelector(const std::string& typeName);

/// Static-initialiser helper of an instruction-set kernel file: registers the
/// table only when core::isAvailable(set). It lives in the baseline-compiled
/// framework so that no code compiled for a wider set runs before that check.
class KernelTableRegistration {
public:
    KernelTableRegistration(AlgorithmFunctionSelector& (*selector)(), eInstructionSet::domain set,
                            const AlgorithmFunction* table, const KernelSignature& signature);
    std::size_t getCount() const { return m_count; }

private:
    std::size_t m_count = 0;
};

}  // namespace vimra::processor
