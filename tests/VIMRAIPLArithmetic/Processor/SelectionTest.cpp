// What the library registers per instruction set, and how a strip's kernel is chosen.

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AbsImg/AbsImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/DivideImgImg/DivideImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MultiplyImgImg/MultiplyImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/SubtractImgImg/SubtractImgImgLvl1.h>

#include <gtest/gtest.h>

using namespace vimra;
using namespace vimra::imaproc::arithm;
using image::eImageBufferType;
using processor::AlgorithmFunctionSelector;

namespace {

struct ClassCase {
    const char* name;
    const AlgorithmFunctionSelector& selector;
    std::size_t combinations;  // 11^strips
};

std::vector<ClassCase> levelThreeClasses() {
    return {{"AddImgImgLvl3", AddImgImgLvl3::retrieveFunctionSelector(), 1331},
            {"SubtractImgImgLvl3", SubtractImgImgLvl3::retrieveFunctionSelector(), 1331},
            {"MultiplyImgImgLvl3", MultiplyImgImgLvl3::retrieveFunctionSelector(), 1331},
            {"DivideImgImgLvl3", DivideImgImgLvl3::retrieveFunctionSelector(), 1331},
            {"AbsImgLvl3", AbsImgLvl3::retrieveFunctionSelector(), 121}};
}

processor::DataTypeIdentifierColl key(std::initializer_list<eImageBufferType::domain> types) {
    processor::DataTypeIdentifierColl k;
    for (auto t : types) k.append(t);
    return k;
}

eInstructionSet::domain chosenSet(const processor::DataTypeIdentifierColl& types,
                                  const processor::InstructionSetsIdentifier& forced = {}) {
    eInstructionSet::domain set = eInstructionSet::eStandard;
    EXPECT_TRUE(AddImgImgLvl3::retrieveFunctionSelector().selectSet(types, forced, set));
    return set;
}

eInstructionSet::domain bestSupported(bool floatOnly) {
    for (auto s : {eInstructionSet::eAVX512, eInstructionSet::eAVX2, eInstructionSet::eAVX, eInstructionSet::eSSE2})
        if (core::isSupportedByProcessor(s) && (floatOnly || s != eInstructionSet::eAVX)) return s;
    return eInstructionSet::eStandard;
}

}  // namespace

TEST(KernelRegistration, CountsPerInstructionSetFollowTheProcessor) {
    for (const ClassCase& c : levelThreeClasses()) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.selector.countRegistrations(eInstructionSet::eStandard), c.combinations);
        for (auto s : {eInstructionSet::eSSE2, eInstructionSet::eAVX2, eInstructionSet::eAVX512})
            EXPECT_EQ(c.selector.countRegistrations(s), core::isSupportedByProcessor(s) ? c.combinations : 0u)
                << core::instructionSetName(s);
        EXPECT_EQ(c.selector.countRegistrations(eInstructionSet::eAVX),
                  core::isSupportedByProcessor(eInstructionSet::eAVX) ? 1u : 0u);
    }
    if (!core::isSupportedByProcessor(eInstructionSet::eAVX512))
        std::printf("[   NOTE   ] this processor has no AVX-512: no AVX-512 kernel may be registered, none is\n");
}

TEST(KernelSelection, BestUsableSetWinsAndForcingRestricts) {
    const auto bytes = key({eImageBufferType::eUInt8, eImageBufferType::eUInt8, eImageBufferType::eUInt8});
    const auto floats = key({eImageBufferType::eFloat, eImageBufferType::eFloat, eImageBufferType::eFloat});
    EXPECT_EQ(chosenSet(bytes), bestSupported(false));
    EXPECT_EQ(chosenSet(floats), bestSupported(true));

    processor::InstructionSetsIdentifier standard;
    standard.init(eInstructionSet::eStandard);
    AddImgImgLvl3::forceInstructionSets(standard);
    EXPECT_EQ(chosenSet(bytes, AddImgImgLvl3().getForcedInstructionSets()), eInstructionSet::eStandard);
    AddImgImgLvl3::releaseForcedInstructionSets();
    EXPECT_TRUE(AddImgImgLvl3().getForcedInstructionSets().empty());
    EXPECT_EQ(chosenSet(bytes), bestSupported(false));
}

TEST(KernelSelection, ProcessWideLimitLowersTheChoice) {
    for (auto limit : {eInstructionSet::eStandard, eInstructionSet::eSSE2, eInstructionSet::eAVX,
                       eInstructionSet::eAVX2}) {
        core::limitInstructionSets(limit);
        const auto set = chosenSet(key({eImageBufferType::eFloat, eImageBufferType::eFloat, eImageBufferType::eFloat}));
        EXPECT_LE(static_cast<int>(set), static_cast<int>(limit));
        EXPECT_TRUE(core::isAvailable(set));
    }
    core::limitInstructionSets(eInstructionSet::eAVX512);
}

TEST(KernelSelection, FurtherBufferTypesUseTheirElementKernels) {
    // A binary image plus a label16 image into label32: served by (uint8, uint16, uint32) kernels.
    auto a = image::Image::create2d(eImageBufferType::eBinary, 70, 3);
    auto b = image::Image::create2d(eImageBufferType::eLabel16, 70, 3);
    auto out = image::Image::create2d(eImageBufferType::eLabel32, 70, 3);
    a->fill(1);
    b->fill(65535);
    addImgImg(a, b, out);
    EXPECT_EQ(out->getValue(69, 2), 65536.0);
}
