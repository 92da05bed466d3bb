// formula2dImg and formula3dImg against an independent reference: neighbour
// reads at every border under every policy, every input and output type, binary
// and label inputs, strips of every height and thread counts, every instruction
// set against the portable kernel, and the refusals that must leave the
// caller's output untouched.

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/Formula2dImg/Formula2dImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/Formula3dImg/Formula3dImgLvl1.h>

#include "FormulaTestSupport.h"

#include <vimra/core/InstructionSet.h>

#include <gtest/gtest.h>

#include <limits>

using namespace vimra;
using namespace formula_test;
using image::ConstImagePtr;
using image::Image;
using image::ImagePtr;
using imaproc::arithm::FormulaInOptImages;

namespace arithm = vimra::imaproc::arithm;

namespace {

const std::vector<BorderPolicy>& borders() {
    static const std::vector<BorderPolicy> b = {BorderPolicy::constant(7), BorderPolicy::nearest(),
                                                BorderPolicy::mirror(), BorderPolicy::mirrorEdge(),
                                                BorderPolicy::periodic()};
    return b;
}

constexpr eImageBufferType::domain s_plainTypes[] = {
    eImageBufferType::eInt8,   eImageBufferType::eUInt8, eImageBufferType::eInt16,
    eImageBufferType::eUInt16, eImageBufferType::eInt32, eImageBufferType::eUInt32,
    eImageBufferType::eFloat};

ImagePtr random2d(eImageBufferType::domain t, std::uint64_t x, std::uint64_t y, std::mt19937& rng,
                  int lo = 0, int hi = 100) {
    ImagePtr img = Image::create2d(t, x, y);
    fillRandom(*img, rng, lo, hi);
    return img;
}
ImagePtr random3d(eImageBufferType::domain t, std::uint64_t x, std::uint64_t y, std::uint64_t z,
                  std::mt19937& rng, int lo = 0, int hi = 100) {
    ImagePtr img = Image::create3d(t, x, y, z);
    fillRandom(*img, rng, lo, hi);
    return img;
}

/// Runs a prepared level-1 formula processor with strips of about `stripElements`
/// elements on at most `workers` threads (0: no cap), never on the caller's thread only.
template <class Lvl1>
void runCut(const std::string& f, const FormulaInOptImages& images, const BorderPolicy& border,
            const ImagePtr& out, std::uint64_t stripElements = 32768, unsigned workers = 0) {
    const auto b = boost::make_shared<const BorderPolicy>(border);
    auto p = arithm::entry::prepareFormula<Lvl1>(f, images, &b, &out);
    processor::ProcessorDispatchPolicy policy = p->getDispatchPolicy();
    policy.setStripTargetElements(stripElements);
    policy.setMaxWorkers(workers);
    policy.setParallelThreshold(0);
    p->setDispatchPolicy(policy);
    processor::executeSyncRun(p);
}

/// Grey images only (the others left unset).
FormulaInOptImages greys(ConstImagePtr first, ConstImagePtr second = {}) {
    FormulaInOptImages images;
    images.Grey1 = std::move(first);
    images.Grey2 = std::move(second);
    return images;
}

std::string describe(const BorderPolicy& b) {
    return "border " + std::to_string(static_cast<int>(b.getType()));
}

/// The instruction sets with formula kernels that this processor runs.
std::vector<eInstructionSet::domain> usableSets() {
    std::vector<eInstructionSet::domain> sets;
    for (auto s : {eInstructionSet::eStandard, eInstructionSet::eSSE2, eInstructionSet::eAVX2,
                   eInstructionSet::eAVX512})
        if (core::isAvailable(s)) sets.push_back(s);
    return sets;
}

/// Forces a level-3 class to one instruction set for the scope.
template <class Lvl3>
struct ForcedSet {
    explicit ForcedSet(eInstructionSet::domain s) {
        processor::InstructionSetsIdentifier id;
        id.init(s);
        Lvl3::forceInstructionSets(id);
    }
    ~ForcedSet() { Lvl3::releaseForcedInstructionSets(); }
};

}  // namespace

// ---- neighbours ---------------------------------------------------------------------------------

TEST(Formula2dImg, NeighboursAtEveryBorderUnderEveryPolicyForEveryInputType) {
    std::mt19937 rng(11);
    const std::string f = "(I1[-1,0] + I1[1,0] + I1[0,-1] + I1[0,1]) / 4 + I1[-2,-3] - 2 * I1[3,2]";
    for (auto type : s_plainTypes)
        for (const BorderPolicy& border : borders()) {
            SCOPED_TRACE(describe(border) + ", type " + image::bufferTypeName(type));
            ImagePtr in = random2d(type, 11, 7, rng);
            ImagePtr out = Image::create2d(eImageBufferType::eFloat, 11, 7);
            runCut<arithm::Formula2dImgLvl1>(f, greys(in), border, out);
            EXPECT_TRUE(matches(*out, [&](std::int64_t x, std::int64_t y, std::int64_t) {
                auto r = [&](int dx, int dy) {
                    return read(*in, Kind::eGrey, border, x + dx, y + dy);
                };
                return (r(-1, 0) + r(1, 0) + r(0, -1) + r(0, 1)) / 4 + r(-2, -3) - 2 * r(3, 2);
            }));
        }
}

TEST(Formula3dImg, NeighboursAtEveryBorderUnderEveryPolicy) {
    std::mt19937 rng(12);
    const std::string f = "I1[0,0,-1] + I1[0,0,2] + I1[-1,0] + 2 * I1[0,1,0] - I1[1,-1,1]";
    for (auto type : {eImageBufferType::eUInt8, eImageBufferType::eInt16, eImageBufferType::eFloat})
        for (const BorderPolicy& border : borders()) {
            SCOPED_TRACE(describe(border) + ", type " + image::bufferTypeName(type));
            ImagePtr in = random3d(type, 6, 5, 7, rng);
            ImagePtr out = Image::create3d(eImageBufferType::eFloat, 6, 5, 7);
            runCut<arithm::Formula3dImgLvl1>(f, greys(in), border, out, 60);
            EXPECT_TRUE(matches(*out, [&](std::int64_t x, std::int64_t y, std::int64_t z) {
                auto r = [&](int dx, int dy, int dz) {
                    return read(*in, Kind::eGrey, border, x + dx, y + dy, z + dz);
                };
                return r(0, 0, -1) + r(0, 0, 2) + r(-1, 0, 0) + 2 * r(0, 1, 0) - r(1, -1, 1);
            }));
        }
}

TEST(Formula2dImg, BinaryAndLabelInputsReadFalseAndZeroOutsideUnderAConstantPolicy) {
    std::mt19937 rng(13);
    const std::string f = "B1 ? L1 * 2 + I1[0,-1] : L2[1,0] - B2[0,-1] + I1[-1,0]";
    for (auto labelType : {eImageBufferType::eLabel16, eImageBufferType::eLabel32,
                           eImageBufferType::eUInt16, eImageBufferType::eUInt32})
        for (const BorderPolicy& border : {BorderPolicy::constant(5), BorderPolicy::periodic()}) {
            SCOPED_TRACE(describe(border) + ", label " + image::bufferTypeName(labelType));
            ImagePtr grey = random2d(eImageBufferType::eInt16, 9, 6, rng, -50, 50);
            ImagePtr bin1 = random2d(eImageBufferType::eBinary, 9, 6, rng, 0, 2);
            ImagePtr bin2 = random2d(eImageBufferType::eBinary, 9, 6, rng, 0, 255);
            ImagePtr lab1 = random2d(labelType, 9, 6, rng, 0, 60000);
            ImagePtr lab2 = random2d(labelType, 9, 6, rng, 0, 60000);
            ImagePtr out = Image::create2d(eImageBufferType::eFloat, 9, 6);
            FormulaInOptImages images;
            images.Grey1 = grey;
            images.Binary1 = bin1;
            images.Binary2 = bin2;
            images.Label1 = lab1;
            images.Label2 = lab2;
            runCut<arithm::Formula2dImgLvl1>(f, images, border, out);
            EXPECT_TRUE(matches(*out, [&](std::int64_t x, std::int64_t y, std::int64_t) {
                if (read(*bin1, Kind::eBinary, border, x, y) != 0)
                    return read(*lab1, Kind::eLabel, border, x, y) * 2 +
                           read(*grey, Kind::eGrey, border, x, y - 1);
                return read(*lab2, Kind::eLabel, border, x + 1, y) -
                       read(*bin2, Kind::eBinary, border, x, y - 1) +
                       read(*grey, Kind::eGrey, border, x - 1, y);
            }));
        }
}

// ---- the cut does not show --------------------------------------------------------------------

TEST(Formula2dImg, ResultDoesNotDependOnStripHeightOrThreadCount) {
    std::mt19937 rng(14);
    ImagePtr in = random2d(eImageBufferType::eUInt16, 33, 67, rng);
    const BorderPolicy border = BorderPolicy::mirror();
    for (std::uint64_t strip : {1u, 33u, 100u, 1000u, 1u << 20})
        for (unsigned workers : {1u, 2u}) {
            SCOPED_TRACE("strip " + std::to_string(strip) + ", workers " + std::to_string(workers));
            ImagePtr out = Image::create2d(eImageBufferType::eFloat, 33, 67);
            runCut<arithm::Formula2dImgLvl1>("x + 1000 * y + I1[0,-2] - I1[0,3] + width * height",
                                             greys(in), border, out, strip, workers);
            EXPECT_TRUE(matches(*out, [&](std::int64_t x, std::int64_t y, std::int64_t) {
                return x + 1000.0 * y + read(*in, Kind::eGrey, border, x, y - 2) -
                       read(*in, Kind::eGrey, border, x, y + 3) + 33.0 * 67.0;
            }));
        }
}

TEST(Formula3dImg, ResultDoesNotDependOnStripDepthOrThreadCount) {
    std::mt19937 rng(15);
    ImagePtr in = random3d(eImageBufferType::eUInt8, 9, 7, 13, rng);
    const BorderPolicy border = BorderPolicy::nearest();
    for (std::uint64_t strip : {1u, 63u, 200u, 1u << 20})
        for (unsigned workers : {1u, 2u}) {
            SCOPED_TRACE("strip " + std::to_string(strip) + ", workers " + std::to_string(workers));
            ImagePtr out = Image::create3d(eImageBufferType::eFloat, 9, 7, 13);
            runCut<arithm::Formula3dImgLvl1>(
                "x + 100 * y + 10000 * z + I1[0,0,-2] - I1[1,1,3] + depth", greys(in), border, out,
                strip, workers);
            EXPECT_TRUE(matches(*out, [&](std::int64_t x, std::int64_t y, std::int64_t z) {
                return x + 100.0 * y + 10000.0 * z + read(*in, Kind::eGrey, border, x, y, z - 2) -
                       read(*in, Kind::eGrey, border, x + 1, y + 1, z + 3) + 13.0;
            }));
        }
}

TEST(Formula2dImg, PlanesOfAVolumeAreProcessedAsSeparateImages) {
    std::mt19937 rng(16);
    ImagePtr in = random3d(eImageBufferType::eFloat, 8, 5, 3, rng);
    ImagePtr out = Image::create3d(eImageBufferType::eFloat, 8, 5, 3);
    const BorderPolicy border = BorderPolicy::constant(-1);
    runCut<arithm::Formula2dImgLvl1>("I1[0,1] + y", greys(in), border, out);
    EXPECT_TRUE(matches(*out, [&](std::int64_t x, std::int64_t y, std::int64_t z) {
        return (y + 1 < 5 ? in->getValue(x, y + 1, z) : -1.0) + y;
    }));
}

// ---- conversion of the value ------------------------------------------------------------------

TEST(Formula2dImg, NumericResultsRoundHalfAwayAndWrapIdenticallyOnEverySet) {
    const float values[] = {300.4f,
                            -2.5f,
                            2.5f,
                            0.5f,
                            -0.5f,
                            0.49999997f,
                            -0.49999997f,
                            1.5f,
                            65535.5f,
                            -129.5f,
                            1e10f,
                            -1e10f,
                            2147483520.0f,
                            -2147483648.0f,
                            3e9f,
                            std::numeric_limits<float>::quiet_NaN(),
                            std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity(),
                            127.5f,
                            -128.5f,
                            4294967040.0f};
    const std::uint64_t n = std::size(values);
    ImagePtr in = Image::create2d(eImageBufferType::eFloat, n, 3);
    for (std::uint64_t y = 0; y < 3; ++y)
        for (std::uint64_t x = 0; x < n; ++x) in->at<float>(x, y) = values[x];
    for (auto set : usableSets()) {
        ForcedSet<arithm::Formula2dImgLvl3> forced(set);
        for (int t = image::eImageBufferType::s_first; t <= image::eImageBufferType::s_last; ++t) {
            const auto type = static_cast<eImageBufferType::domain>(t);
            SCOPED_TRACE(std::string("set ") + std::to_string(set) + ", output " +
                         image::bufferTypeName(type));
            ImagePtr out = Image::create2d(type, n, 3);
            arithm::formula2dImg("I1", greys(in), out);
            EXPECT_TRUE(matches(*out, [&](std::int64_t x, std::int64_t, std::int64_t) {
                return storedNumeric(values[x], type);
            }));
        }
    }
    // The documented conversion edge cases.
    ImagePtr out = Image::create2d(eImageBufferType::eUInt8, 2, 1);
    ImagePtr pair = Image::create2d(eImageBufferType::eFloat, 2, 1);
    pair->at<float>(0, 0) = 300.4f;
    pair->at<float>(1, 0) = -2.5f;
    arithm::formula2dImg("I1", greys(pair), out);
    EXPECT_EQ(out->at<unsigned char>(0, 0), 44);
    EXPECT_EQ(out->at<unsigned char>(1, 0), 253);
}

TEST(Formula2dImg, LogicalResultsStoreOneForNonZeroAndNaN) {
    ImagePtr in = Image::create2d(eImageBufferType::eFloat, 5, 2);
    const float v[] = {0.0f, -3.0f, std::numeric_limits<float>::quiet_NaN(), 2.5f, -0.0f};
    for (std::uint64_t y = 0; y < 2; ++y)
        for (std::uint64_t x = 0; x < 5; ++x) in->at<float>(x, y) = v[x];
    for (auto set : usableSets()) {
        ForcedSet<arithm::Formula2dImgLvl3> forced(set);
        for (int t = image::eImageBufferType::s_first; t <= image::eImageBufferType::s_last; ++t) {
            const auto type = static_cast<eImageBufferType::domain>(t);
            SCOPED_TRACE(std::string("output ") + image::bufferTypeName(type));
            ImagePtr out = Image::create2d(type, 5, 2);
            arithm::formula2dImg("y == 0 ? bool(I1) : I1 > 2", greys(in), out);
            EXPECT_TRUE(matches(*out, [&](std::int64_t x, std::int64_t y, std::int64_t) {
                const float a = v[x];
                return y == 0 ? (a != 0.0f || std::isnan(a) ? 1.0 : 0.0) : (a > 2.0f ? 1.0 : 0.0);
            }));
        }
    }
}

// ---- instruction sets -------------------------------------------------------------------------

template <class Lvl1, class Lvl3>
void expectEverySetLikeThePortableKernel(const std::string& f, const FormulaInOptImages& images,
                                         const image::ImageDescription& desc) {
    for (int t = image::eImageBufferType::s_first; t <= image::eImageBufferType::s_last; ++t) {
        image::ImageDescription d = desc;
        d.bufferType = static_cast<eImageBufferType::domain>(t);
        std::vector<unsigned char> portable;
        for (auto set : usableSets()) {
            SCOPED_TRACE(std::string("set ") + std::to_string(set) + ", output " +
                         image::bufferTypeName(d.bufferType));
            ForcedSet<Lvl3> forced(set);
            ImagePtr out = Image::create(d);
            runCut<Lvl1>(f, images, BorderPolicy::mirror(), out, 500);
            if (set == eInstructionSet::eStandard)
                portable = bytesOf(*out);
            else
                EXPECT_TRUE(portable == bytesOf(*out));
        }
    }
}

TEST(Formula2dImg, EveryInstructionSetGivesThePortableKernelsBits) {
    std::mt19937 rng(17);
    FormulaInOptImages images;
    images.Grey1 = random2d(eImageBufferType::eFloat, 45, 23, rng, -300, 300);
    images.Grey2 = random2d(eImageBufferType::eFloat, 45, 23, rng, -300, 300);
    images.Label1 = random2d(eImageBufferType::eLabel32, 45, 23, rng, 0, 5);
    expectEverySetLikeThePortableKernel<arithm::Formula2dImgLvl1, arithm::Formula2dImgLvl3>(
        "sin(I1 * 0.37) * exp(-abs(I2) * 0.01) * 300 + sqrt(abs(I1[1,1] - I2[-1,0])) + map(L1, {1: "
        "7, 2..3: -9})",
        images, images.Grey1->getDescription());
}

TEST(Formula3dImg, EveryInstructionSetGivesThePortableKernelsBits) {
    std::mt19937 rng(18);
    FormulaInOptImages images;
    images.Grey1 = random3d(eImageBufferType::eInt16, 19, 6, 5, rng, -300, 300);
    images.Binary1 = random3d(eImageBufferType::eBinary, 19, 6, 5, rng, 0, 1);
    expectEverySetLikeThePortableKernel<arithm::Formula3dImgLvl1, arithm::Formula3dImgLvl3>(
        "B1[0,0,1] ? cos(I1[0,0,-1] * 0.1) * 1000 : I1 / 3 + z", images,
        images.Grey1->getDescription());
}

TEST(FormulaKernels, NinetyEightCombinationsAreRegisteredPerUsableSet) {
    for (const char* cls :
         {"vimra::imaproc::arithm::Formula2dImgLvl3", "vimra::imaproc::arithm::Formula3dImgLvl3"}) {
        processor::AlgorithmFunctionSelector* selector = processor::findFunctionSelector(cls);
        ASSERT_NE(selector, nullptr) << cls;
        // 11 input buffer types x 4 label buffer types x 11 output buffer types over 98 kernels.
        for (auto set : usableSets())
            EXPECT_EQ(selector->countRegistrations(set), 11u * 4u * 11u) << cls;
        EXPECT_EQ(selector->countRegistrations(eInstructionSet::eAVX), 0u) << cls;
    }
}

// ---- entry functions and the created output ---------------------------------------------------

TEST(Formula2dImg, CreatedOutputFollowsTheResultTypeAndTheFirstImageRead) {
    std::mt19937 rng(19);
    ImagePtr grey2 = random3d(eImageBufferType::eUInt8, 6, 4, 2, rng);
    FormulaInOptImages images;
    images.Grey2 = grey2;
    ImagePtr logical = arithm::formula2dImg("I2 > 50", images);
    ASSERT_TRUE(logical);
    EXPECT_EQ(logical->getBufferType(), eImageBufferType::eBinary);
    EXPECT_TRUE(logical->getDescription().sameSize(grey2->getDescription()));
    EXPECT_TRUE(matches(*logical, [&](std::int64_t x, std::int64_t y, std::int64_t z) {
        return grey2->getValue(x, y, z) > 50 ? 1.0 : 0.0;
    }));
    ImagePtr numeric = arithm::formula2dImg("I2 * 0.5", images);
    EXPECT_EQ(numeric->getBufferType(), eImageBufferType::eFloat);
    EXPECT_TRUE(matches(*numeric, [&](std::int64_t x, std::int64_t y, std::int64_t z) {
        return grey2->getValue(x, y, z) * 0.5;
    }));
}

TEST(Formula2dImg, ConstantsOnlyNeedInputZeroForTheirGeometry) {
    std::mt19937 rng(20);
    ImagePtr grey1 = random3d(eImageBufferType::eInt32, 5, 3, 2, rng);
    ImagePtr out = arithm::formula2dImg("1.5 + 2", greys(grey1));
    EXPECT_EQ(out->getBufferType(), eImageBufferType::eFloat);
    EXPECT_TRUE(out->getDescription().sameSize(grey1->getDescription()));
    EXPECT_TRUE(matches(*out, [](std::int64_t, std::int64_t, std::int64_t) { return 3.5; }));
    // With an output, no image is needed at all.
    ImagePtr given = Image::create2d(eImageBufferType::eInt16, 4, 4);
    arithm::formula2dImg("-7", {}, given);
    EXPECT_TRUE(matches(*given, [](std::int64_t, std::int64_t, std::int64_t) { return -7.0; }));
    try {
        arithm::formula2dImg("1.5 + 2", {});
        FAIL() << "a constant formula without input 0 cannot create its output";
    } catch (const std::exception& e) {
        EXPECT_NE(std::string(e.what()).find(
                      "Image formula {1.5 + 2} should be based at least on an input image"),
                  std::string::npos)
            << e.what();
    }
}

TEST(Formula2dImg, AsyncFormsAndBorderFormGiveTheSynchronousResults) {
    std::mt19937 rng(21);
    ImagePtr in = random2d(eImageBufferType::eUInt8, 300, 300, rng);
    const auto border = boost::make_shared<const BorderPolicy>(BorderPolicy::constant(9));
    ImagePtr sync = Image::create2d(eImageBufferType::eFloat, 300, 300);
    arithm::formula2dImg("I1[-1,0] + I1[0,1]", greys(in), border, sync);
    EXPECT_TRUE(matches(*sync, [&](std::int64_t x, std::int64_t y, std::int64_t) {
        return read(*in, Kind::eGrey, *border, x - 1, y) +
               read(*in, Kind::eGrey, *border, x, y + 1);
    }));
    auto run = arithm::formula2dImg_async("I1[-1,0] + I1[0,1]", greys(in));
    run->wait();
    ImagePtr created = arithm::getAsyncProcessorOutput(run);
    const BorderPolicy mirror = BorderPolicy::mirror();  // the default policy
    EXPECT_TRUE(matches(*created, [&](std::int64_t x, std::int64_t y, std::int64_t) {
        return read(*in, Kind::eGrey, mirror, x - 1, y) + read(*in, Kind::eGrey, mirror, x, y + 1);
    }));
    ImagePtr given = Image::create2d(eImageBufferType::eFloat, 300, 300);
    auto withBorder = arithm::formula2dImg_async("I1[-1,0] + I1[0,1]", greys(in), border, given);
    withBorder->wait();
    EXPECT_TRUE(bytesOf(*given) == bytesOf(*sync));
    ImagePtr volume = Image::create3d(eImageBufferType::eFloat, 4, 4, 4);
    auto run3d = arithm::formula3dImg_async("z", {}, volume);
    run3d->wait();
    EXPECT_TRUE(
        matches(*volume, [](std::int64_t, std::int64_t, std::int64_t z) { return double(z); }));
}

TEST(Formula2dImg, AnOutputThatIsAlsoAnInputIsComputedInPlaceWithoutOffsets) {
    std::mt19937 rng(22);
    ImagePtr img = random2d(eImageBufferType::eFloat, 70, 40, rng);
    ImagePtr before = Image::clone(*img);
    arithm::formula2dImg("I1 * 2 + 1", greys(img), img);
    EXPECT_TRUE(matches(*img, [&](std::int64_t x, std::int64_t y, std::int64_t) {
        return before->getValue(x, y) * 2 + 1;
    }));
}

// ---- refusals --------------------------------------------------------------------------------

TEST(Formula2dImg, RefusalsNameTheFaultAndLeaveTheOutputUntouched) {
    std::mt19937 rng(23);
    ImagePtr a = random2d(eImageBufferType::eFloat, 8, 6, rng);
    ImagePtr b = random2d(eImageBufferType::eFloat, 8, 6, rng);
    ImagePtr small = random2d(eImageBufferType::eFloat, 7, 6, rng);
    ImagePtr int16 = random2d(eImageBufferType::eInt16, 8, 6, rng);
    ImagePtr wideBinary = random2d(eImageBufferType::eUInt16, 8, 6, rng);
    ImagePtr floatLabel = random2d(eImageBufferType::eFloat, 8, 6, rng);
    struct Case {
        const char* name;
        std::string formula;
        FormulaInOptImages images;
        bool aliased;
        const char* expected;
    };
    FormulaInOptImages onlyFirst = greys(a);
    FormulaInOptImages mixedSizes = greys(a, small);
    FormulaInOptImages mixedTypes = greys(a, int16);
    FormulaInOptImages binary;
    binary.Grey1 = a;
    binary.Binary1 = wideBinary;
    FormulaInOptImages label;
    label.Label1 = floatLabel;
    const Case cases[] = {
        {"unset image read", "I1 + I2", onlyFirst, false, "E_UNBOUND_INPUT"},
        {"sizes differ", "I1 + I2", mixedSizes, false, "differ"},
        {"grey types differ", "I1 + I2", mixedTypes, false, "InOptImg2"},
        {"aliased output read at an offset", "I1[1,0] + I1", onlyFirst, true,
         "E_ALIAS_WITH_OFFSETS"},
        {"invalid formula", "I1 +", onlyFirst, false, "E_SYNTAX"},
        {"binary image of two bytes", "B1 ? I1 : 0", binary, false, "one-byte"},
        {"float label image", "L1", label, false, "label image"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ImagePtr out = c.aliased ? a : Image::create2d(eImageBufferType::eFloat, 8, 6);
        if (!c.aliased) out->fill(77);
        const std::vector<unsigned char> before = bytesOf(*out);
        try {
            arithm::formula2dImg(c.formula, c.images, out);
            ADD_FAILURE() << "not refused";
        } catch (const processor::VIMRABaseProcessingException& e) {
            EXPECT_NE(std::string(e.what()).find(c.expected), std::string::npos) << e.what();
        }
        EXPECT_TRUE(before == bytesOf(*out));
    }
    // A null border or output is refused before anything runs.
    ImagePtr out = Image::create2d(eImageBufferType::eFloat, 8, 6);
    EXPECT_THROW(
        arithm::formula2dImg("I1", onlyFirst, boost::shared_ptr<const BorderPolicy>(), out),
        processor::VIMRABaseProcessingException);
    EXPECT_THROW(arithm::formula2dImg("I1", onlyFirst, ImagePtr()),
                 processor::VIMRABaseProcessingException);
}

TEST(Formula3dImg, RefusesATwoDimensionalFormulaItCannotReadAndDifferentDepths) {
    std::mt19937 rng(24);
    ImagePtr a = random3d(eImageBufferType::eFloat, 4, 4, 3, rng);
    ImagePtr b = random3d(eImageBufferType::eFloat, 4, 4, 2, rng);
    ImagePtr out = Image::create3d(eImageBufferType::eFloat, 4, 4, 3);
    out->fill(5);
    const auto before = bytesOf(*out);
    EXPECT_THROW(arithm::formula3dImg("I1 + I2", greys(a, b), out),
                 processor::VIMRABaseProcessingException);
    EXPECT_THROW(arithm::formula2dImg("I1[0,0,1]", greys(a), out),
                 processor::VIMRABaseProcessingException);
    EXPECT_TRUE(before == bytesOf(*out));
}

// ---- tiles of a larger image ------------------------------------------------------------------

TEST(FormulaImageEvaluator, AnOriginShiftsTheCoordinatesButNotTheReads) {
    const formula::FormulaCompileResult compiled =
        formula::compileFormula("x + 1000 * y + I1[-1,0]");
    ASSERT_TRUE(compiled.ok());
    const float pixels[3][4] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}};
    std::array<formula::FormulaImageView, formula::kImageCount> views{};
    views[0] = {pixels, formula::eFormulaElementType::eFloat, 4, 3, 1, 4, 12};
    for (auto set : usableSets()) {
        formula::FormulaImageEvaluator evaluator(compiled.Manager, set, views,
                                                 BorderPolicy::constant(-5), {4, 3, 1});
        ASSERT_TRUE(evaluator.status()) << evaluator.status().Message;
        float out[4] = {};
        ASSERT_TRUE(evaluator.evaluateRow({100, 200, 0}, 0, 1, 0, 4, out, nullptr));
        for (int x = 0; x < 4; ++x)
            EXPECT_EQ(out[x], 100.0f + x + 1000.0f * 201 + (x == 0 ? -5.0f : pixels[1][x - 1]))
                << "set " << set;
    }
}
