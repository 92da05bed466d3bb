// Min, max, maxAbs, blend, linear combination and complex multiplication through
// their entry functions and levels: every type triple against the independent
// model (standard kernels forced, then the best ones agreeing wherever the result
// is in range), the documented examples, the created outputs' types, the rules'
// refusals (leaving a given output untouched), the asynchronous forms and the
// classes' identities.

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/BlendImgImg/BlendImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/ComplexMultiplyImgImg/ComplexMultiplyImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/LinearCombineImgImg/LinearCombineImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MaxAbsImgImg/MaxAbsImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MaxImgImg/MaxImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MinImgImg/MinImgImgLvl1.h>

#include <vimra/core/DynamicObjectFactory.h>
#include <vimra/processor/ProcessorFactory.h>

#include "VIMRAIPLArithmetic/Kernel/TwoImageReference.h"
#include "support/Reference.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <random>

using namespace vimra;
using namespace vimra::imaproc::arithm;
using image::eImageBufferType;
using image::ImageDescription;
using test::s_plainTypes;

namespace {

namespace ref = arithm_test::ref;

enum class eOp { eMin, eMax, eMaxAbs, eBlend, eLinearCombine, eComplexMultiply };
constexpr eOp s_ops[] = {eOp::eMin, eOp::eMax, eOp::eMaxAbs, eOp::eBlend, eOp::eLinearCombine, eOp::eComplexMultiply};
constexpr const char* s_names[] = {"MinImgImg", "MaxImgImg", "MaxAbsImgImg", "BlendImgImg", "LinearCombineImgImg",
                                   "ComplexMultiplyImgImg"};
constexpr float s_multiplier = 0.3f, s_factor1 = 1.7f, s_factor2 = -0.6f;

/// Forces (or releases) one operation's level-3 class onto the standard kernels.
void forceStandard(eOp op, bool on) {
    processor::InstructionSetsIdentifier sets;
    if (on) sets.init(eInstructionSet::eStandard);
    switch (op) {
        case eOp::eMin: MinImgImgLvl3::forceInstructionSets(sets); break;
        case eOp::eMax: MaxImgImgLvl3::forceInstructionSets(sets); break;
        case eOp::eMaxAbs: MaxAbsImgImgLvl3::forceInstructionSets(sets); break;
        case eOp::eBlend: BlendImgImgLvl3::forceInstructionSets(sets); break;
        case eOp::eLinearCombine: LinearCombineImgImgLvl3::forceInstructionSets(sets); break;
        case eOp::eComplexMultiply: ComplexMultiplyImgImgLvl3::forceInstructionSets(sets); break;
    }
}

/// Runs an operation into the given outputs (two for the complex product: the
/// inputs are then real 1, imaginary 1, real 2, imaginary 2).
void runInto(eOp op, const std::vector<image::ImagePtr>& in, const std::vector<image::ImagePtr>& out) {
    switch (op) {
        case eOp::eMin: minImgImg(in[0], in[1], out[0]); break;
        case eOp::eMax: maxImgImg(in[0], in[1], out[0]); break;
        case eOp::eMaxAbs: maxAbsImgImg(in[0], in[1], out[0]); break;
        case eOp::eBlend: blendImgImg(in[0], in[1], s_multiplier, out[0]); break;
        case eOp::eLinearCombine: linearCombineImgImg(in[0], in[1], s_factor1, s_factor2, out[0]); break;
        case eOp::eComplexMultiply: complexMultiplyImgImg(in[0], in[1], in[2], in[3], out[0], out[1]); break;
    }
}

int refType(eImageBufferType::domain t) {
    return static_cast<int>(image::elementBufferType(t)) - 1;
}
ref::Value refValue(int t, double v) {
    return ref::info(t).isFloat ? ref::floatValue(static_cast<float>(v)) : ref::intValue(static_cast<std::int64_t>(v));
}
double asDouble(int t, const ref::Value& v) {
    return ref::info(t).isFloat ? static_cast<double>(v.f) : static_cast<double>(v.i);
}

/// The model's results for pixel i: one expectation per output.
std::vector<ref::BinaryExpectation> expected(eOp op, int ta, int tb, int tc, const std::vector<std::vector<double>>& in,
                                             std::size_t i, ref::eIsa isa, bool fused) {
    const ref::Value a = refValue(ta, in[0][i]), b = refValue(tb, in[1][i]);
    switch (op) {
        case eOp::eMin: return {ref::expectSelect(ref::eSelect::eMin, ta, a, tb, b, tc, isa)};
        case eOp::eMax: return {ref::expectSelect(ref::eSelect::eMax, ta, a, tb, b, tc, isa)};
        case eOp::eMaxAbs: return {ref::expectSelect(ref::eSelect::eMaxAbs, ta, a, tb, b, tc, isa)};
        case eOp::eBlend: return {ref::expectBlend(s_multiplier, ta, a, tb, b, tc, isa)};
        case eOp::eLinearCombine: {
            ref::BinaryExpectation e;
            e.standard = e.vector = ref::linearCombination(s_factor1, s_factor2, ta, a, tb, b, tc);
            e.mustAgree = true;
            return {e};
        }
        default: {
            // Operands: in[0] + i in[1] of type ta, in[2] + i in[3] of type tb.
            const float x[4] = {ref::asFloat(ta, a), ref::asFloat(ta, refValue(ta, in[1][i])),
                                ref::asFloat(tb, refValue(tb, in[2][i])), ref::asFloat(tb, refValue(tb, in[3][i]))};
            const ref::ComplexValue plain = ref::complexProduct(x[0], x[1], x[2], x[3], false);
            const ref::ComplexValue onVector = ref::complexProduct(x[0], x[1], x[2], x[3], fused);
            std::vector<ref::BinaryExpectation> e = {
                ref::expectConversion(ref::eFloat, ref::floatValue(plain.real), tc, isa),
                ref::expectConversion(ref::eFloat, ref::floatValue(plain.imag), tc, isa)};
            if (fused) {
                e[0].vector = ref::floatValue(onVector.real);
                e[1].vector = ref::floatValue(onVector.imag);
                e[0].mustAgree = e[1].mustAgree = false;
            }
            return e;
        }
    }
}

/// The best instruction set this processor offers for a kernel of these types.
ref::eIsa bestSet(int ta, int tb, int tc) {
    if (core::isSupportedByProcessor(eInstructionSet::eAVX512)) return ref::eIsa::eAvx512;
    if (core::isSupportedByProcessor(eInstructionSet::eAVX2)) return ref::eIsa::eAvx2;
    if (ta == ref::eFloat && tb == ref::eFloat && tc == ref::eFloat &&
        core::isSupportedByProcessor(eInstructionSet::eAVX))
        return ref::eIsa::eAvx;
    return ref::eIsa::eSse2;
}

bool same(int tc, const ref::Value& expected, double got) {
    return test::sameValue(asDouble(tc, expected), got);
}

TEST(TwoImageFamily, EveryTypeTripleThroughTheLevelsMatchesTheModel) {
    std::mt19937 rng(11);
    // Several planes, rows that are not a whole vector step.
    const ImageDescription geometry = ImageDescription::make3d(eImageBufferType::eUInt8, 37, 5, 2);
    const std::size_t n = 37 * 5 * 2;
    for (std::size_t o = 0; o < std::size(s_ops); ++o) {
        const eOp op = s_ops[o];
        const bool complex = op == eOp::eComplexMultiply;
        int failures = 0;
        for (auto t1 : s_plainTypes)
            for (auto t2 : s_plainTypes)
                for (auto t3 : s_plainTypes) {
                    const int ta = refType(t1), tb = refType(t2), tc = refType(t3);
                    std::vector<image::ImagePtr> in;
                    std::vector<std::vector<double>> values;
                    for (int j = 0; j < (complex ? 4 : 2); ++j) {
                        ImageDescription d = geometry;
                        d.bufferType = (complex ? j < 2 : j == 0) ? t1 : t2;
                        values.push_back(test::randomValues(d.bufferType, n, rng));
                        in.push_back(image::Image::create(d));
                        test::fillImage(*in.back(), values.back());
                    }
                    std::vector<image::ImagePtr> standard, best;
                    for (int j = 0; j < (complex ? 2 : 1); ++j) {
                        ImageDescription d = geometry;
                        d.bufferType = t3;
                        standard.push_back(image::Image::create(d));
                        best.push_back(image::Image::create(d));
                    }
                    forceStandard(op, true);
                    runInto(op, in, standard);
                    forceStandard(op, false);
                    runInto(op, in, best);
                    const ref::eIsa isa = bestSet(ta, tb, tc);
                    const bool fused = complex && isa == ref::eIsa::eAvx512 && ta == ref::eFloat &&
                                       tb == ref::eFloat && tc == ref::eFloat;
                    for (std::size_t k = 0; k < standard.size(); ++k) {
                        const auto vs = test::imageValues(*standard[k]), vb = test::imageValues(*best[k]);
                        for (std::size_t i = 0; i < n && failures < 5; ++i) {
                            const ref::BinaryExpectation e = expected(op, ta, tb, tc, values, i, isa, fused)[k];
                            if (!same(tc, e.standard, vs[i]) || (e.mustAgree && !same(tc, e.standard, vb[i]))) {
                                ++failures;
                                ADD_FAILURE() << s_names[o] << " " << ref::info(ta).name << ", " << ref::info(tb).name
                                              << " -> " << ref::info(tc).name << " output " << k << " pixel " << i
                                              << " of " << values[0][i] << ", " << values[1][i] << ": standard "
                                              << vs[i] << ", best " << vb[i] << ", expected "
                                              << asDouble(tc, e.standard);
                            }
                        }
                    }
                }
    }
}

// ---- documented examples ---------------------------------------------------------------------

image::ImagePtr filled(eImageBufferType::domain t, double v) {
    auto img = image::Image::create2d(t, 70, 3);  // more than one vector step per row
    img->fill(v);
    return img;
}
image::ImagePtr output(eImageBufferType::domain t) {
    return image::Image::create2d(t, 70, 3);
}

/// Every pixel of img equals v.
void expectAll(const image::BaseImage& img, double v, const std::string& what) {
    for (double x : test::imageValues(img)) {
        if (!test::sameValue(v, x)) {
            ADD_FAILURE() << what << ": " << x << ", expected " << v;
            return;
        }
    }
}

/// Runs `f` on the standard kernels and on the best ones.
void onEveryPath(eOp op, const std::function<void(const char*)>& f) {
    forceStandard(op, true);
    f("standard");
    forceStandard(op, false);
    f("best");
}

TEST(TwoImageFamily, DocumentedExamples) {
    using T = eImageBufferType;
    onEveryPath(eOp::eMin, [](const char* path) {
        auto out = output(T::eInt8);
        minImgImg(filled(T::eInt8, -1), filled(T::eUInt8, 5), out);
        expectAll(*out, -1, std::string("min int8 -1, uint8 5 -> int8, ") + path);
    });
    onEveryPath(eOp::eMaxAbs, [](const char* path) {
        auto out = output(T::eInt16);
        maxAbsImgImg(filled(T::eInt16, -300), filled(T::eInt16, 200), out);
        expectAll(*out, 300, std::string("maxAbs int16 -300, 200 -> int16, ") + path);
        out = output(T::eUInt8);
        maxAbsImgImg(filled(T::eInt8, -7), filled(T::eInt8, 3), out);
        expectAll(*out, 7, std::string("maxAbs int8 -7, 3 -> uint8, ") + path);
        out = output(T::eFloat);
        maxAbsImgImg(filled(T::eFloat, -0.0), filled(T::eFloat, 0.0), out);
        for (double v : test::imageValues(*out)) ASSERT_FALSE(std::signbit(v)) << "maxAbs of -0 and 0 is +0, " << path;
        out = output(T::eUInt32);
        maxAbsImgImg(filled(T::eInt32, -2147483648.0), filled(T::eUInt32, 5), out);
        expectAll(*out, 2147483648.0, std::string("maxAbs int32 min, 5 -> uint32, ") + path);
    });
    onEveryPath(eOp::eMax, [](const char* path) {
        auto out = output(T::eFloat);
        maxImgImg(filled(T::eUInt32, 4000000000.0), filled(T::eInt32, -5), out);
        expectAll(*out, 4000000000.0, std::string("max uint32 4e9, int32 -5 -> float, ") + path);
        out = output(T::eInt32);
        minImgImg(filled(T::eUInt32, 4000000000.0), filled(T::eInt32, -5), out);
        expectAll(*out, -5, std::string("min uint32 4e9, int32 -5 -> int32, ") + path);
    });
    onEveryPath(eOp::eBlend, [](const char* path) {
        auto out = output(T::eUInt8);
        blendImgImg(filled(T::eUInt8, 255), filled(T::eUInt8, 0), 0.5f, out);
        expectAll(*out, 127, std::string("blend 255, 0, 0.5 -> uint8 truncates, ") + path);
        blendImgImg(filled(T::eUInt8, 200), filled(T::eUInt8, 9), 1.0f, out);
        expectAll(*out, 200, std::string("blend a = 1 is the first image, ") + path);
        blendImgImg(filled(T::eUInt8, 200), filled(T::eUInt8, 9), 0.0f, out);
        expectAll(*out, 9, std::string("blend a = 0 is the second image, ") + path);
    });
    onEveryPath(eOp::eLinearCombine, [](const char* path) {
        auto out = output(T::eUInt8);
        linearCombineImgImg(filled(T::eUInt8, 255), filled(T::eUInt8, 0), 0.5f, 0.5f, out);
        expectAll(*out, 128, std::string("linear 255, 0, 0.5, 0.5 -> uint8 rounds, ") + path);
        linearCombineImgImg(filled(T::eUInt8, 200), filled(T::eUInt8, 200), 1.0f, 1.0f, out);
        expectAll(*out, 255, std::string("linear 200 + 200 -> uint8 saturates, ") + path);
        linearCombineImgImg(filled(T::eUInt8, 200), filled(T::eUInt8, 200), -1.0f, 0.0f, out);
        expectAll(*out, 0, std::string("linear -200 -> uint8 saturates, ") + path);
        auto s16 = output(T::eInt16);
        linearCombineImgImg(filled(T::eFloat, -2.5), filled(T::eFloat, 0), 1.0f, 1.0f, s16);
        expectAll(*s16, -3, std::string("linear -2.5 -> int16, ") + path);
        linearCombineImgImg(filled(T::eFloat, 2.5), filled(T::eFloat, 0), 1.0f, 1.0f, s16);
        expectAll(*s16, 3, std::string("linear 2.5 -> int16, ") + path);
        auto s32 = output(T::eInt32);
        linearCombineImgImg(filled(T::eFloat, 3e9), filled(T::eFloat, 0), 1.0f, 1.0f, s32);
        expectAll(*s32, 2147483647, std::string("linear 3e9 -> int32 saturates, ") + path);
        linearCombineImgImg(filled(T::eFloat, NAN), filled(T::eFloat, 0), 1.0f, 1.0f, s32);
        expectAll(*s32, 0, std::string("linear NaN -> int32 gives 0, ") + path);
    });
    onEveryPath(eOp::eComplexMultiply, [](const char* path) {
        for (auto t : {T::eInt8, T::eInt16, T::eInt32, T::eFloat}) {
            auto re = output(t), im = output(t);
            complexMultiplyImgImg(filled(T::eUInt8, 1), filled(T::eUInt8, 2), filled(T::eInt16, 3),
                                  filled(T::eInt16, 4), re, im);
            expectAll(*re, -5, std::string("(1 + 2i)(3 + 4i) real, ") + path);
            expectAll(*im, 10, std::string("(1 + 2i)(3 + 4i) imaginary, ") + path);
        }
        auto re = output(T::eInt16), im = output(T::eInt16);
        complexMultiplyImgImg(filled(T::eInt16, 200), filled(T::eInt16, 0), filled(T::eInt16, 200),
                              filled(T::eInt16, 0), re, im);
        expectAll(*re, std::string(path) == "standard" ? -25536 : 32767,
                  std::string("(200)(200) -> int16 wraps on the standard path, saturates on the others, ") + path);
    });
}

// ---- created outputs -------------------------------------------------------------------------

TEST(TwoImageFamily, CreatedOutputsTakeTheOperationsPromotionRule) {
    using processor::ePromoteBinaryType;
    for (auto a : s_plainTypes)
        for (auto b : s_plainTypes) {
            auto ia = image::Image::create2d(a, 3, 2), ib = image::Image::create2d(b, 3, 2);
            EXPECT_EQ(minImgImg(ia, ib)->getBufferType(), processor::promoteBinary(ePromoteBinaryType::eMin, a, b));
            EXPECT_EQ(maxImgImg(ia, ib)->getBufferType(), processor::promoteBinary(ePromoteBinaryType::eMax, a, b));
            EXPECT_EQ(maxAbsImgImg(ia, ib)->getBufferType(),
                      processor::promoteBinary(ePromoteBinaryType::eMaxAbs, a, b));
            EXPECT_EQ(blendImgImg(ia, ib, 0.5f)->getBufferType(),
                      processor::promoteBinary(ePromoteBinaryType::eAddition, a, b));
            EXPECT_EQ(linearCombineImgImg(ia, ib, 1.0f, 1.0f)->getBufferType(),
                      processor::promoteBinary(ePromoteBinaryType::eSubtraction, a, b));
        }
}

TEST(TwoImageFamily, ComplexProductCreatesTwoFloatImagesOfTheFirstInputsGeometry) {
    ImageDescription d = ImageDescription::make3d(eImageBufferType::eInt16, 9, 4, 3);
    d.color = image::ColorGeometry::multiChannel(2);
    ImageDescription d2 = d;
    d2.bufferType = eImageBufferType::eUInt8;
    auto re1 = image::Image::create(d), im1 = image::Image::create(d);
    auto re2 = image::Image::create(d2), im2 = image::Image::create(d2);
    re1->fill(3);
    im1->fill(-2);
    re2->fill(5);
    im2->fill(7);
    auto [re, im] = complexMultiplyImgImg(re1, im1, re2, im2);
    ASSERT_TRUE(re && im);
    ASSERT_NE(re, im);
    for (const auto& o : {re, im}) {
        EXPECT_EQ(o->getBufferType(), eImageBufferType::eFloat);
        EXPECT_EQ(o->getSizeX(), 9u);
        EXPECT_EQ(o->getSizeZ(), 3u);
        EXPECT_EQ(o->getSizeC(), 2u);
    }
    expectAll(*re, 3 * 5 - (-2) * 7, "real part");
    expectAll(*im, 3 * 7 + (-2) * 5, "imaginary part");
}

// ---- refusals --------------------------------------------------------------------------------

std::vector<std::byte> rawBytes(const image::BaseImage& img) {
    const auto* p = static_cast<const std::byte*>(img.planeData());
    return {p, p + img.getPlaneSize() * img.getElementSize()};
}

/// `run` must throw a processing exception naming every text of `names`, and leave
/// every image of `outputs` byte-identical.
void expectRefusal(const std::function<void()>& run, const std::vector<image::ImagePtr>& outputs,
                   const std::vector<std::string>& names, const std::string& what) {
    std::vector<std::vector<std::byte>> before;
    for (const auto& o : outputs) before.push_back(rawBytes(*o));
    try {
        run();
        ADD_FAILURE() << what << ": accepted";
    } catch (const processor::VIMRABaseProcessingException& e) {
        for (const std::string& n : names)
            EXPECT_NE(std::string(e.what()).find(n), std::string::npos) << what << ": " << e.what();
    }
    for (std::size_t k = 0; k < outputs.size(); ++k) EXPECT_EQ(rawBytes(*outputs[k]), before[k]) << what;
}

TEST(TwoImageFamily, RuleFailuresLeaveTheGivenOutputsUntouched) {
    using T = eImageBufferType;
    auto a = filled(T::eUInt8, 4), b = filled(T::eInt16, 9);
    auto small = image::Image::create2d(T::eUInt8, 69, 3);
    small->fill(1);
    auto out = filled(T::eFloat, 42), shortOut = image::Image::create2d(T::eFloat, 70, 2);
    shortOut->fill(42);
    expectRefusal([&] { minImgImg(a, small, out); }, {out}, {"InImg1", "InImg2", "69x3"}, "min, inputs differ");
    expectRefusal([&] { maxImgImg(a, b, shortOut); }, {shortOut}, {"OutImg"}, "max, output differs");
    expectRefusal([&] { maxAbsImgImg(small, b, out); }, {out}, {"InImg1"}, "maxAbs, inputs differ");
    expectRefusal([&] { blendImgImg(a, small, 0.5f, out); }, {out}, {"InImg2"}, "blend, inputs differ");
    expectRefusal([&] { linearCombineImgImg(a, b, 1.0f, 1.0f, shortOut); }, {shortOut}, {"OutImg"},
                  "linear combination, output differs");

    auto re = filled(T::eFloat, 42), im = filled(T::eFloat, 43);
    expectRefusal([&] { complexMultiplyImgImg(a, b, a, a, re, im); }, {re, im}, {"InImg1", "InImg2"},
                  "complex, first operand's parts differ in type");
    expectRefusal([&] { complexMultiplyImgImg(a, a, b, a, re, im); }, {re, im}, {"InImg3", "InImg4"},
                  "complex, second operand's parts differ in type");
    auto imInt = filled(T::eInt32, 43);
    expectRefusal([&] { complexMultiplyImgImg(a, a, b, b, re, imInt); }, {re, imInt}, {"OutImg1", "OutImg2"},
                  "complex, outputs differ in type");
    auto b2 = image::Image::create2d(T::eInt16, 69, 3);
    expectRefusal([&] { complexMultiplyImgImg(a, a, b2, b2, re, im); }, {re, im}, {"InImg3"},
                  "complex, operands differ in size");
    expectRefusal([&] { complexMultiplyImgImg(a, a, b, b, re, image::ImagePtr()); }, {re}, {"OutImg2"},
                  "complex, a null output");
}

TEST(TwoImageFamily, ComplexProductAcceptsOperandsOfDifferentTypes) {
    using T = eImageBufferType;
    auto re = output(T::eInt32), im = output(T::eInt32);
    complexMultiplyImgImg(filled(T::eInt8, -3), filled(T::eInt8, 2), filled(T::eFloat, 0.5), filled(T::eFloat, 4),
                          re, im);
    expectAll(*re, -9, "real 0.5 * -3 - 2 * 4 = -9.5, truncated");
    expectAll(*im, -11, "imaginary -3 * 4 + 2 * 0.5");
}

// ---- values, asynchronous runs, identity -----------------------------------------------------

TEST(TwoImageFamily, BlendWithoutAMultiplierMixesEvenly) {
    auto p = boost::make_shared<BlendImgImgLvl1>();
    p->init();
    p->set<imaproc::attr::InImg1>(filled(eImageBufferType::eFloat, 10));
    p->set<imaproc::attr::InImg2>(filled(eImageBufferType::eFloat, 4));
    processor::executeSyncRun(p);
    expectAll(*getAsyncProcessorOutput(p), 7, "blend without a multiplier");
}

TEST(TwoImageFamily, LinearCombinationWithoutAFactorFailsNamingIt) {
    auto p = boost::make_shared<LinearCombineImgImgLvl1>();
    p->init();
    p->set<imaproc::attr::InImg1>(filled(eImageBufferType::eFloat, 10));
    p->set<imaproc::attr::InImg2>(filled(eImageBufferType::eFloat, 4));
    p->set<imaproc::attr::InFactor1>(1.0f);
    try {
        processor::executeSyncRun(p);
        FAIL() << "ran without InFactor2";
    } catch (const processor::VIMRABaseProcessingException& e) {
        EXPECT_NE(std::string(e.what()).find("InFactor2"), std::string::npos) << e.what();
    }
}

TEST(TwoImageFamily, AsynchronousFormsGiveTheSynchronousResults) {
    using T = eImageBufferType;
    std::mt19937 rng(5);
    auto random = [&](T::domain t) {
        auto img = image::Image::create2d(t, 300, 41);
        test::fillImage(*img, test::randomValues(t, 300 * 41, rng));
        return img;
    };
    auto a = random(T::eInt16), b = random(T::eFloat), c = random(T::eUInt8), d = random(T::eUInt8);
    const auto values = [](const image::ImagePtr& img) { return test::imageValues(*img); };
    auto equal = [](const std::vector<double>& x, const std::vector<double>& y) {
        if (x.size() != y.size()) return false;
        for (std::size_t i = 0; i < x.size(); ++i)
            if (!test::sameValue(x[i], y[i])) return false;
        return true;
    };

    auto r1 = minImgImg_async(a, b);
    auto r2 = maxAbsImgImg_async(a, c);
    auto r3 = blendImgImg_async(a, b, 0.25f);
    auto r4 = linearCombineImgImg_async(c, b, 2.0f, -1.0f);
    auto r5 = complexMultiplyImgImg_async(a, a, c, d);
    auto given = image::Image::create2d(T::eInt8, 300, 41);
    auto r6 = maxImgImg_async(a, c, given);
    for (auto* r : std::initializer_list<processor::BaseAsync1Processor*>{r1.get(), r2.get(), r3.get(), r4.get(),
                                                                        r5.get(), r6.get()})
        r->wait();
    EXPECT_TRUE(equal(values(getAsyncProcessorOutput(r1)), values(minImgImg(a, b))));
    EXPECT_TRUE(equal(values(getAsyncProcessorOutput(r2)), values(maxAbsImgImg(a, c))));
    EXPECT_TRUE(equal(values(getAsyncProcessorOutput(r3)), values(blendImgImg(a, b, 0.25f))));
    EXPECT_TRUE(equal(values(getAsyncProcessorOutput(r4)), values(linearCombineImgImg(c, b, 2.0f, -1.0f))));
    const auto [re, im] = getAsyncProcessorOutput(r5);
    const auto [re0, im0] = complexMultiplyImgImg(a, a, c, d);
    EXPECT_TRUE(equal(values(re), values(re0)));
    EXPECT_TRUE(equal(values(im), values(im0)));
    auto into = image::Image::create2d(T::eInt8, 300, 41);
    maxImgImg(a, c, into);
    EXPECT_EQ(getAsyncProcessorOutput(r6), given);
    EXPECT_TRUE(equal(values(given), values(into)));
    EXPECT_THROW(getAsyncProcessorOutput(boost::shared_ptr<ComplexMultiplyImgImgLvl1>()),
                 processor::VIMRABaseProcessingException);
}

TEST(TwoImageFamily, ClassesAreRegisteredWithTheirToolTips) {
    const std::pair<const char*, const char*> expected[] = {
        {"MinImgImgLvl1", "Level 1 algorithm: minimum of 2 images, pixel by pixel"},
        {"MaxImgImgLvl2", "Level 2 algorithm: maximum of 2 iamges, pixel by pixel"},
        {"MaxAbsImgImgLvl3", "Level 3 algorithm: maximum of absolute values of 2 images, pixel by pixel"},
        {"BlendImgImgLvl1", "Level 1 algorithm: blending on 2 images"},
        {"BlendImgImgLvl3", "Level 3 algorithm: blending on 2 images"},
        {"LinearCombineImgImgLvl2", "Level 2 algorithm: linear combination of 2 images, pixel by pixel"},
        {"ComplexMultiplyImgImgLvl1", "Level 1 algorithm: Multiplication between two complex images"},
        {"ComplexMultiplyImgImgLvl3", "Level 3 algorithm: Multiplication between two complex images"},
    };
    for (const auto& [name, tip] : expected) {
        const std::string type = std::string("vimra::imaproc::arithm::") + name;
        auto p = processor::ProcessorFactory::getInstance().createProcessor(type);
        ASSERT_TRUE(p) << type;
        EXPECT_EQ(p->getToolTip(), tip) << type;
        EXPECT_EQ(p->getObjectName(), name);
    }
    for (const char* op : s_names)
        for (const char* level : {"Lvl1", "Lvl2", "Lvl3"})
            EXPECT_TRUE(core::DynamicObjectFactory::getInstance().isRegistered(
                std::string("vimra::imaproc::arithm::") + op + level))
                << op << level;
}

}  // namespace
