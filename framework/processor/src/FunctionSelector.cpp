#include <vimra/processor/FunctionSelector.h>

#include <boost/format.hpp>

#include <iostream>

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

std::size_t registerKernelTable(AlgorithmFunctionSelector& selector, eInstructionSet::domain set,
                                const AlgorithmFunction* table, int arity, bool onlyFloat) {
    InstructionSetsIdentifier sets;
    sets.init(set);
    if (!selector.isSupported(sets) || arity <= 0 || arity > DataTypeIdentifierColl::s_maxStrips) return 0;
    const unsigned efficiency = efficiencyOf(set);
    std::size_t registered = 0;
    auto registerOne = [&](const DataTypeIdentifierColl& types, AlgorithmFunction f) {
        AlgorithmFunctionIdentifier id;
        id.init(types, sets, efficiency, f);
        if (selector.registerFunction(id)) {
            ++registered;
        } else {
            std::cerr << "vimra: kernel registration failed for " << types.toString() << " with "
                      << core::instructionSetName(set) << "\n";
        }
    };
    if (onlyFloat) {
        DataTypeIdentifierColl types;
        for (int s = 0; s < arity; ++s) types.append(image::eImageBufferType::eFloat);
        registerOne(types, table[0]);
        return registered;
    }
    // Odometer over buffer types 1..11 per strip, first strip outermost.
    std::vector<int> digits(static_cast<std::size_t>(arity), image::eImageBufferType::s_first);
    for (;;) {
        DataTypeIdentifierColl types;
        std::size_t index = 0;
        for (int d : digits) {
            const auto type = static_cast<image::eImageBufferType::domain>(d);
            types.append(type);
            index = index * image::s_elementTypeCount + static_cast<std::size_t>(image::elementIndex(type));
        }
        registerOne(types, table[index]);
        int pos = arity - 1;
        while (pos >= 0 && digits[static_cast<std::size_t>(pos)] == image::eImageBufferType::s_last)
            digits[static_cast<std::size_t>(pos--)] = image::eImageBufferType::s_first;
        if (pos < 0) break;
        ++digits[static_cast<std::size_t>(pos)];
    }
    return registered;
}

KernelTableRegistration::KernelTableRegistration(AlgorithmFunctionSelector& (*selector)(),
                                                 eInstructionSet::domain set, const AlgorithmFunction* table,
                                                 int arity, bool onlyFloat) {
    if (!core::isAvailable(set)) return;
    m_count = registerKernelTable(selector(), set, table, arity, onlyFloat);
}

}  // namespace vimra::processor
