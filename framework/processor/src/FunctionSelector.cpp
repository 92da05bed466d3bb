#include <vimra/processor/FunctionSelector.h>
#include <vimra/processor/ProcessorMessages.h>

#include <vimra/image/BaseImage.h>

#include <vimra/core/Log.h>
#include <vimra/core/LogMessageFormater.h>

#include <boost/format.hpp>

#include <bit>
#include <cstring>
#include <iostream>
#include <map>
#include <mutex>

namespace vimra::processor {

void DataTypeIdentifierColl::append(image::eImageBufferType::domain type) {
    if (m_count < s_maxStrips) {
        m_key |= static_cast<std::uint64_t>(type & 0xf) << (4 * m_count);
        ++m_count;
    }
}

std::string DataTypeIdentifierColl::toString() const {
    std::string s = "(";
    for (int i = 0; i < m_count; ++i) {
        if (i) s += ", ";
        s += image::bufferTypeName(static_cast<image::eImageBufferType::domain>((m_key >> (4 * i)) & 0xf));
    }
    return s + ")";
}

void InstructionSetsIdentifier::init(std::initializer_list<eInstructionSet::domain> sets) {
    m_mask = 0;
    for (auto s : sets) add(s);
}

InstructionSetsIdentifier capInstructionSets(const InstructionSetsIdentifier& forced, eInstructionSet::domain highest) {
    if (highest >= eInstructionSet::eAVX512) return forced;
    InstructionSetsIdentifier capped;
    for (auto s : {eInstructionSet::eStandard, eInstructionSet::eSSE2, eInstructionSet::eAVX, eInstructionSet::eAVX2})
        if (s <= highest && (forced.empty() || forced.contains(s))) capped.add(s);
    if (capped.empty()) capped.add(eInstructionSet::eStandard);
    return capped;
}

unsigned efficiencyOf(eInstructionSet::domain set) {
    switch (set) {
        case eInstructionSet::eStandard: return AlgorithmFunctionEfficiency<eInstructionSet::eStandard>::getEfficiency();
        case eInstructionSet::eSSE2: return AlgorithmFunctionEfficiency<eInstructionSet::eSSE2>::getEfficiency();
        case eInstructionSet::eAVX: return AlgorithmFunctionEfficiency<eInstructionSet::eAVX>::getEfficiency();
        case eInstructionSet::eAVX2: return AlgorithmFunctionEfficiency<eInstructionSet::eAVX2>::getEfficiency();
        case eInstructionSet::eAVX512: return AlgorithmFunctionEfficiency<eInstructionSet::eAVX512>::getEfficiency();
    }
    return 0;
}

namespace {

constexpr eInstructionSet::domain s_allSets[] = {eInstructionSet::eStandard, eInstructionSet::eSSE2,
                                                 eInstructionSet::eAVX, eInstructionSet::eAVX2,
                                                 eInstructionSet::eAVX512};

/// Every set of the registration must be usable on this processor and allowed by the force.
bool usable(const InstructionSetsIdentifier& sets, const InstructionSetsIdentifier& forced) {
    for (auto s : s_allSets) {
        if (!sets.contains(s)) continue;
        if (!core::isAvailable(s)) return false;
        if (!forced.empty() && !forced.contains(s)) return false;
    }
    return true;
}

}  // namespace

bool AlgorithmFunctionSelector::registerFunction(const AlgorithmFunctionIdentifier& id) {
    if (!id.getFunction() || id.getTypes().getCount() == 0 || id.getInstructionSets().empty()) return false;
    std::vector<Entry>& entries = m_entries[id.getTypes().getKey()];
    for (const Entry& e : entries)
        if (e.sets.getMask() == id.getInstructionSets().getMask()) return false;
    entries.push_back({id.getInstructionSets(), id.getEfficiency(), id.getFunction()});
    return true;
}

const AlgorithmFunctionSelector::Entry* AlgorithmFunctionSelector::best(
    const DataTypeIdentifierColl& types, const InstructionSetsIdentifier& forced) const {
    auto it = m_entries.find(types.getKey());
    if (it == m_entries.end()) return nullptr;
    const Entry* chosen = nullptr;
    for (const Entry& e : it->second)
        if (usable(e.sets, forced) && (!chosen || e.efficiency > chosen->efficiency)) chosen = &e;
    return chosen;
}

AlgorithmFunction AlgorithmFunctionSelector::select(const DataTypeIdentifierColl& types,
                                                    const InstructionSetsIdentifier& forced) const {
    const Entry* e = best(types, forced);
    return e ? e->function : nullptr;
}

bool AlgorithmFunctionSelector::selectSet(const DataTypeIdentifierColl& types, const InstructionSetsIdentifier& forced,
                                          eInstructionSet::domain& set) const {
    const Entry* e = best(types, forced);
    if (!e) return false;
    for (auto s : s_allSets)
        if (e->sets.contains(s)) set = s;
    return true;
}

std::size_t AlgorithmFunctionSelector::countRegistrations(eInstructionSet::domain set) const {
    std::size_t n = 0;
    for (const auto& [key, entries] : m_entries)
        for (const Entry& e : entries) n += e.sets.contains(set) ? 1 : 0;
    return n;
}

std::size_t AlgorithmFunctionSelector::size() const {
    std::size_t n = 0;
    for (const auto& [key, entries] : m_entries) n += entries.size();
    return n;
}

std::size_t KernelSignature::tableSize() const {
    std::size_t n = 1;
    for (int p = 0; p < params; ++p) n *= static_cast<std::size_t>(std::popcount(domains[p]));
    return n;
}

namespace {

bool inDomain(std::uint8_t domain, int bufferType) {
    return (domain >> image::elementIndex(static_cast<image::eImageBufferType::domain>(bufferType))) & 1u;
}

/// Position of an element index among the set bits of a domain.
std::size_t rankInDomain(std::uint8_t domain, int elementIndex) {
    return static_cast<std::size_t>(std::popcount(static_cast<unsigned>(domain & ((1u << elementIndex) - 1u))));
}

}  // namespace

std::size_t KernelSignature::keyCount() const {
    std::size_t n = 1;
    for (int p = 0; p < params; ++p) {
        std::size_t types = 0;
        for (int t = image::eImageBufferType::s_first; t <= image::eImageBufferType::s_last; ++t)
            types += inDomain(domains[p], t) ? 1 : 0;
        n *= types;
    }
    return n;
}

bool KernelSignature::isValid() const {
    if (params < 0 || params > s_maxParams || slots <= 0 || slots > DataTypeIdentifierColl::s_maxStrips)
        return false;
    for (int p = 0; p < params; ++p)
        if ((domains[p] & s_allElements) == 0 || (domains[p] & ~s_allElements) != 0) return false;
    for (int k = 0; k < slots; ++k) {
        if (slotParam[k] == s_fixed) {
            if (!image::isValidBufferType(slotFixed[k])) return false;
        } else if (slotParam[k] < 0 || slotParam[k] >= params) {
            return false;
        }
    }
    return true;
}

std::size_t registerKernelTable(AlgorithmFunctionSelector& selector, eInstructionSet::domain set,
                                const AlgorithmFunction* table, const KernelSignature& sig) {
    InstructionSetsIdentifier sets;
    sets.init(set);
    if (!selector.isSupported(sets) || !table || !sig.isValid()) return 0;
    const unsigned efficiency = efficiencyOf(set);
    std::size_t registered = 0;

    // Odometer over the parameters' buffer types, parameter 0 outermost.
    int digits[KernelSignature::s_maxParams];
    auto firstOf = [&](int p, int from) {
        for (int t = from; t <= image::eImageBufferType::s_last; ++t)
            if (inDomain(sig.domains[p], t)) return t;
        return 0;
    };
    for (int p = 0; p < sig.params; ++p) digits[p] = firstOf(p, image::eImageBufferType::s_first);
    for (;;) {
        std::size_t index = 0;
        for (int p = 0; p < sig.params; ++p) {
            const int element = image::elementIndex(static_cast<image::eImageBufferType::domain>(digits[p]));
            index = index * static_cast<std::size_t>(std::popcount(sig.domains[p])) +
                    rankInDomain(sig.domains[p], element);
        }
        DataTypeIdentifierColl types;
        for (int k = 0; k < sig.slots; ++k)
            types.append(sig.slotParam[k] == KernelSignature::s_fixed
                             ? sig.slotFixed[k]
                             : static_cast<image::eImageBufferType::domain>(digits[sig.slotParam[k]]));
        AlgorithmFunctionIdentifier id;
        id.init(types, sets, efficiency, table[index]);
        if (selector.registerFunction(id)) {
            ++registered;
        } else {
            core::logMessage(getBaseProcessingLogger(), log4cplus::ERROR_LOG_LEVEL,
                             eBaseProcessingMessage::eKernelRegistrationFailed,
                             types.toString() + " with " + core::instructionSetName(set));
        }
        int p = sig.params - 1;
        for (; p >= 0; --p) {
            const int next = firstOf(p, digits[p] + 1);
            if (next != 0) {
                digits[p] = next;
                break;
            }
            digits[p] = firstOf(p, image::eImageBufferType::s_first);
        }
        if (p < 0) break;
    }
    return registered;
}

namespace {

struct SelectorRegistry {
    std::mutex mutex;
    std::map<std::string, AlgorithmFunctionSelector*> selectors;
};
SelectorRegistry& selectorRegistry() {
    static SelectorRegistry registry;
    return registry;
}

}  // namespace

void registerFunctionSelector(const std::string& typeName, AlgorithmFunctionSelector& selector) {
    SelectorRegistry& r = selectorRegistry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.selectors[typeName] = &selector;
}

AlgorithmFunctionSelector* findFunctionSelector(const std::string& typeName) {
    SelectorRegistry& r = selectorRegistry();
    std::lock_guard<std::mutex> lock(r.mutex);
    auto it = r.selectors.find(typeName);
    return it == r.selectors.end() ? nullptr : it->second;
}

KernelTableRegistration::KernelTableRegistration(AlgorithmFunctionSelector& (*selector)(),
                                                 eInstructionSet::domain set, const AlgorithmFunction* table,
                                                 const KernelSignature& signature) {
    if (!core::isAvailable(set)) return;
    m_count = registerKernelTable(selector(), set, table, signature);
}

}  // namespace vimra::processor

namespace vimra::processor {

ProcessingResult<bool> runKernelWithinBuffers(AlgorithmFunction kernel, const KernelArgs& args, int inputs,
                                              int outputs, const std::size_t* elementSizes) {
    constexpr std::uint64_t step = image::s_vectorPadding;  // a multiple of every set's step
    constexpr std::size_t maxElement = 8;
    const std::uint64_t count = args.info.count;
    const std::uint64_t whole = count / step * step;
    if (whole == count) return kernel(args);  // whole steps only: nothing to step past
    if (inputs < 0 || outputs < 0 || inputs > KernelArgs::s_maxInputs || outputs > KernelArgs::s_maxOutputs)
        return ProcessingResult<bool>::failure("runKernelWithinBuffers: too many strips");
    for (int k = 0; k < inputs + outputs; ++k)
        if (elementSizes[k] == 0 || elementSizes[k] > maxElement)
            return ProcessingResult<bool>::failure("runKernelWithinBuffers: unsupported element size");
    if (whole > 0) {
        KernelArgs head = args;
        head.info.count = whole;
        ProcessingResult<bool> r = kernel(head);
        if (!r) return r;
    }
    // The tail, through scratch: zero beyond the copied elements, like the padding
    // of an owning image. An output that is also an input is read before it is written.
    alignas(64) std::byte scratch[KernelArgs::s_maxInputs + KernelArgs::s_maxOutputs][step * maxElement] = {};
    const std::uint64_t tail = count - whole;
    KernelArgs last = args;
    last.info.count = tail;
    last.info.first = args.info.first + whole;
    for (int i = 0; i < inputs; ++i) {
        const std::size_t size = elementSizes[i];
        std::memcpy(scratch[i], static_cast<const std::byte*>(args.in[i]) + whole * size, tail * size);
        last.in[i] = scratch[i];
    }
    for (int o = 0; o < outputs; ++o) last.out[o] = scratch[inputs + o];
    ProcessingResult<bool> r = kernel(last);
    if (!r) return r;
    for (int o = 0; o < outputs; ++o) {
        const std::size_t size = elementSizes[inputs + o];
        std::memcpy(static_cast<std::byte*>(args.out[o]) + whole * size, scratch[inputs + o], tail * size);
    }
    return r;
}

}  // namespace vimra::processor
