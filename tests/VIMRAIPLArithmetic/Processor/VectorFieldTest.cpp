// The vector-field operations end to end: L1 and L2 norms of two and three
// images, cartesian and polar transforms. Entry functions in every form, the
// outputs they create, their registrations, and refusals that leave the
// caller's outputs untouched.

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/CartesianToPolarImg/CartesianToPolarImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L1Norm2Img/L1Norm2ImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L1Norm3Img/L1Norm3ImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L2Norm2Img/L2Norm2ImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/L2Norm3Img/L2Norm3ImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/PolarToCartesianImg/PolarToCartesianImgLvl1.h>

#include "VIMRAIPLArithmetic/Kernel/VectorFieldReference.h"
#include "support/Reference.h"

#include <gtest/gtest.h>

#include <vimra/core/DynamicObjectFactory.h>
#include <vimra/processor/Promotion.h>

#include <algorithm>
#include <cstring>
#include <functional>

using namespace vimra;
using namespace vimra::imaproc::arithm;
using image::eImageBufferType;
using image::ImageDescription;
using test::s_plainTypes;

namespace {

/// Restricts a level-3 class to one instruction set for the object's lifetime.
template <class Lvl3>
class Forced {
  public:
    explicit Forced(eInstructionSet::domain set) {
        processor::InstructionSetsIdentifier s;
        s.init(set);
        Lvl3::forceInstructionSets(s);
    }
    ~Forced() { Lvl3::releaseForcedInstructionSets(); }
};

image::ImagePtr randomImage(const ImageDescription& desc, std::mt19937& rng) {
    auto img = image::Image::create(desc);
    test::fillImage(*img, test::randomValues(desc.bufferType,
                                             desc.sizeX * desc.sizeY * desc.planeCount(), rng));
    return img;
}

ImageDescription withType(ImageDescription d, eImageBufferType::domain t) {
    d.bufferType = t;
    return d;
}

int elementOf(eImageBufferType::domain t) {
    return image::elementIndex(t);
}

arithm_test::ref::Value valueOf(int t, double v) {
    return arithm_test::ref::info(t).isFloat
               ? arithm_test::ref::floatValue(static_cast<float>(v))
               : arithm_test::ref::intValue(static_cast<std::int64_t>(v));
}
double doubleOf(int t, const arithm_test::ref::Value& v) {
    return arithm_test::ref::info(t).isFloat ? static_cast<double>(v.f) : static_cast<double>(v.i);
}

std::vector<std::byte> rawBytes(const image::BaseImage& img) {
    const auto* p = static_cast<const std::byte*>(img.planeData());
    return {p, p + img.getPlaneSize() * img.getElementSize()};
}

/// Runs `call`, which must be refused with a message holding every word.
void refused(const std::function<void()>& call, std::initializer_list<const char*> words) {
    try {
        call();
        ADD_FAILURE() << "expected a refusal";
    } catch (const processor::VIMRABaseProcessingException& e) {
        for (const char* w : words)
            EXPECT_NE(std::string(e.what()).find(w), std::string::npos) << e.what();
    }
}

eInstructionSet::domain bestVectorSet() {
    for (auto s : {eInstructionSet::eAVX512, eInstructionSet::eAVX2, eInstructionSet::eSSE2})
        if (core::isSupportedByProcessor(s)) return s;
    return eInstructionSet::eStandard;
}

// ---- norms ------------------------------------------------------------------------------------

using Images = std::vector<image::ImagePtr>;

struct Norm {
    const char* name;
    int inputs;
    bool l2;
    std::function<void(const Images&, const image::ImagePtr&)> into;
    std::function<image::ImagePtr(const Images&)> creating;
    std::function<void(eInstructionSet::domain)> force;
    std::function<void()> release;
};

template <class Lvl3>
void forceSet(eInstructionSet::domain set) {
    processor::InstructionSetsIdentifier s;
    s.init(set);
    Lvl3::forceInstructionSets(s);
}

std::vector<Norm> norms() {
    return {
        {"l1Norm2Img", 2, false,
         [](const Images& in, const image::ImagePtr& out) { l1Norm2Img(in[0], in[1], out); },
         [](const Images& in) { return l1Norm2Img(in[0], in[1]); }, forceSet<L1Norm2ImgLvl3>,
         L1Norm2ImgLvl3::releaseForcedInstructionSets},
        {"l1Norm3Img", 3, false,
         [](const Images& in, const image::ImagePtr& out) { l1Norm3Img(in[0], in[1], in[2], out); },
         [](const Images& in) { return l1Norm3Img(in[0], in[1], in[2]); }, forceSet<L1Norm3ImgLvl3>,
         L1Norm3ImgLvl3::releaseForcedInstructionSets},
        {"l2Norm2Img", 2, true,
         [](const Images& in, const image::ImagePtr& out) { l2Norm2Img(in[0], in[1], out); },
         [](const Images& in) { return l2Norm2Img(in[0], in[1]); }, forceSet<L2Norm2ImgLvl3>,
         L2Norm2ImgLvl3::releaseForcedInstructionSets},
        {"l2Norm3Img", 3, true,
         [](const Images& in, const image::ImagePtr& out) { l2Norm3Img(in[0], in[1], in[2], out); },
         [](const Images& in) { return l2Norm3Img(in[0], in[1], in[2]); }, forceSet<L2Norm3ImgLvl3>,
         L2Norm3ImgLvl3::releaseForcedInstructionSets},
    };
}

/// Checks every pixel of `out` against the model of the given path.
void expectNorm(const Norm& n, const Images& in, const image::BaseImage& out,
                eInstructionSet::domain set) {
    using namespace arithm_test::ref;
    const int t = elementOf(in[0]->getBufferType()), o = elementOf(out.getBufferType());
    std::vector<std::vector<double>> values;
    for (int k = 0; k < n.inputs; ++k) values.push_back(test::imageValues(*in[k]));
    const auto got = test::imageValues(out);
    for (std::size_t i = 0; i < got.size(); ++i) {
        Value v[3];
        for (int k = 0; k < n.inputs; ++k) v[k] = valueOf(t, values[k][i]);
        const BinaryExpectation e = n.l2 ? expectL2(t, v, n.inputs, o, isaOf(set))
                                         : expectL1(t, v, n.inputs, o, isaOf(set));
        const double expected =
            doubleOf(o, set == eInstructionSet::eStandard ? e.standard : e.vector);
        ASSERT_TRUE(test::sameValue(expected, got[i]))
            << n.name << " pixel " << i << " (" << values[0][i] << ", " << values[1][i] << ") gave "
            << got[i] << ", expected " << expected;
    }
}

TEST(VectorFieldNorms, EveryTypePairOnTheStandardAndTheBestVectorPath) {
    std::mt19937 rng(1);
    ImageDescription colour = ImageDescription::make2d(eImageBufferType::eUInt8, 67, 5);
    colour.color = image::ColorGeometry::multiChannel(2);
    for (const Norm& n : norms())
        for (auto set : {eInstructionSet::eStandard, bestVectorSet()}) {
            n.force(set);
            for (auto t : s_plainTypes)
                for (auto o : s_plainTypes) {
                    SCOPED_TRACE(std::string(n.name) + " " + image::bufferTypeName(t) + " -> " +
                                 image::bufferTypeName(o) + " on " + core::instructionSetName(set));
                    Images in;
                    for (int k = 0; k < n.inputs; ++k)
                        in.push_back(randomImage(withType(colour, t), rng));
                    auto out = image::Image::create(withType(colour, o));
                    n.into(in, out);
                    expectNorm(n, in, *out, set);
                }
            n.release();
        }
}

TEST(VectorFieldNorms, CreatedOutputsTakeThePromotedOrTheFloatType) {
    const auto d = ImageDescription::make3d(eImageBufferType::eInt8, 9, 4, 3);
    for (const Norm& n : norms())
        for (auto t : s_plainTypes) {
            Images in;
            for (int k = 0; k < n.inputs; ++k) in.push_back(image::Image::create(withType(d, t)));
            const auto out = n.creating(in);
            const auto expected =
                n.l2 ? eImageBufferType::eFloat
                     : processor::promoteUnary(processor::ePromoteUnaryType::eSquare, t);
            EXPECT_EQ(out->getBufferType(), expected)
                << n.name << " of " << image::bufferTypeName(t);
            EXPECT_TRUE(out->getDescription().sameSize(d));
            EXPECT_EQ(out->getVolumeGeometry(), d.volume);
        }
}

TEST(VectorFieldNorms, DescribedValuesPerPath) {
    const auto u8 = [](double v) {
        auto img = image::Image::create2d(eImageBufferType::eUInt8, 70, 3);
        img->fill(v);
        return img;
    };
    const auto f32 = [](double v) {
        auto img = image::Image::create2d(eImageBufferType::eFloat, 70, 3);
        img->fill(v);
        return img;
    };
    for (auto set : {eInstructionSet::eStandard, eInstructionSet::eSSE2, eInstructionSet::eAVX2,
                     eInstructionSet::eAVX512}) {
        if (!core::isSupportedByProcessor(set)) continue;
        SCOPED_TRACE(core::instructionSetName(set));
        const bool vector = set != eInstructionSet::eStandard;
        Forced<L1Norm2ImgLvl3> l1(set);
        Forced<L2Norm2ImgLvl3> l2(set);
        Forced<L2Norm3ImgLvl3> l23(set);

        auto out = u8(0);
        l1Norm2Img(u8(200), u8(100), out);
        EXPECT_EQ(out->getValue(69, 2), vector ? 255.0 : 44.0);

        auto five = l2Norm2Img(u8(3), u8(4));
        EXPECT_EQ(five->getBufferType(), eImageBufferType::eFloat);
        EXPECT_EQ(five->getValue(69, 2), 5.0);
        l2Norm2Img(u8(255), u8(255), out);
        EXPECT_EQ(out->getValue(69, 2), vector ? 255.0 : 104.0);
        EXPECT_EQ(l2Norm2Img(u8(255), u8(255))->at<float>(0, 0), 360.62445f);
        EXPECT_EQ(l2Norm3Img(f32(1), f32(2), f32(2))->at<float>(69, 2), 3.0f);
    }
}

TEST(VectorFieldNorms, RefusalsNameTheCauseAndLeaveTheOutputUntouched) {
    auto a = image::Image::create2d(eImageBufferType::eInt16, 8, 8);
    auto b = image::Image::create2d(eImageBufferType::eInt16, 8, 8);
    auto c = image::Image::create2d(eImageBufferType::eInt16, 8, 8);
    auto otherType = image::Image::create2d(eImageBufferType::eUInt16, 8, 8);
    auto otherSize = image::Image::create2d(eImageBufferType::eInt16, 8, 9);
    auto out = image::Image::create2d(eImageBufferType::eFloat, 8, 8);
    auto smallOut = image::Image::create2d(eImageBufferType::eFloat, 8, 7);
    out->fill(7);
    smallOut->fill(7);
    const auto before = rawBytes(*out), beforeSmall = rawBytes(*smallOut);
    refused([&] { l1Norm2Img(a, otherType, out); },
            {"matchBufferType", "InImg1", "InImg2", "uint16"});
    refused([&] { l2Norm3Img(a, b, otherType, out); }, {"matchBufferType", "InImg3"});
    refused([&] { l1Norm3Img(a, otherSize, c, out); }, {"matchSize", "InImg2", "8x9"});
    refused([&] { l2Norm2Img(a, b, smallOut); }, {"matchSize", "OutImg"});
    refused([&] { l1Norm2Img(a, b, image::ImagePtr()); }, {"OutImg"});
    EXPECT_EQ(rawBytes(*out), before);
    EXPECT_EQ(rawBytes(*smallOut), beforeSmall);
}

TEST(VectorFieldNorms, AsynchronousFormsDeliverTheirOutput) {
    auto a = image::Image::create2d(eImageBufferType::eFloat, 33, 17);
    auto b = image::Image::create2d(eImageBufferType::eFloat, 33, 17);
    auto c = image::Image::create2d(eImageBufferType::eFloat, 33, 17);
    a->fill(-1.0);
    b->fill(2.0);
    c->fill(-2.0);
    auto run = l1Norm3Img_async(a, b, c);
    run->wait();
    EXPECT_EQ(getAsyncProcessorOutput(run)->getValue(32, 16), 5.0);
    auto out = image::Image::create2d(eImageBufferType::eUInt8, 33, 17);
    auto run2 = l2Norm3Img_async(a, b, c, out);
    run2->wait();
    EXPECT_EQ(getAsyncProcessorOutput(run2), out);
    EXPECT_EQ(out->getValue(0, 0), 3.0);
}

// ---- transforms -------------------------------------------------------------------------------

image::ImagePtr floatImage(const ImageDescription& d, const std::vector<float>& values) {
    auto img = image::Image::create(withType(d, eImageBufferType::eFloat));
    std::vector<double> v(values.begin(), values.end());
    test::fillImage(*img, v);
    return img;
}

std::vector<float> randomFloats(std::size_t n, float lo, float hi, std::mt19937& rng) {
    std::uniform_real_distribution<float> u(lo, hi);
    std::vector<float> v(n);
    for (float& x : v) x = u(rng);
    return v;
}

bool sameFloat(double a, float b) {
    const float fa = static_cast<float>(a);
    return std::memcmp(&fa, &b, sizeof b) == 0 || (std::isnan(fa) && std::isnan(b));
}

TEST(VectorFieldTransforms, PairsOfNewImagesFollowTheStandardRules) {
    Forced<CartesianToPolarImgLvl3> c2p(eInstructionSet::eStandard);
    Forced<PolarToCartesianImgLvl3> p2c(eInstructionSet::eStandard);
    std::mt19937 rng(3);
    ImageDescription d = ImageDescription::make3d(eImageBufferType::eFloat, 37, 11, 3);
    d.temporal = image::TemporalGeometry::sequence(2);
    const std::size_t n = 37 * 11 * 3 * 2;
    const auto xs = randomFloats(n, -50, 50, rng), ys = randomFloats(n, -50, 50, rng);
    auto [rho, theta] = cartesianToPolarImg(floatImage(d, xs), floatImage(d, ys));
    ASSERT_TRUE(rho && theta);
    for (const auto& img : {rho, theta}) {
        EXPECT_EQ(img->getBufferType(), eImageBufferType::eFloat);
        EXPECT_TRUE(img->getDescription().sameSize(d));
        EXPECT_EQ(img->getTemporalGeometry(), d.temporal);
    }
    const auto vr = test::imageValues(*rho), vt = test::imageValues(*theta);
    for (std::size_t i = 0; i < n; ++i) {
        ASSERT_TRUE(sameFloat(vr[i], arithm_test::ref::radius(xs[i], ys[i]))) << i;
        ASSERT_TRUE(sameFloat(vt[i], std::atan2(ys[i], xs[i]))) << i;
    }

    const auto angles = randomFloats(n, -10, 10, rng);
    auto [x, y] = polarToCartesianImg(floatImage(d, xs), floatImage(d, angles));
    const auto vx = test::imageValues(*x), vy = test::imageValues(*y);
    for (std::size_t i = 0; i < n; ++i) {
        float s = 0, c = 0;
        arithm_test::ref::approximateSineCosine(angles[i], s, c);
        ASSERT_TRUE(sameFloat(vx[i], c * xs[i]) && sameFloat(vy[i], s * xs[i])) << i;
    }
}

TEST(VectorFieldTransforms, DescribedValues) {
    const auto pixel = [](float v) {
        auto img = image::Image::create2d(eImageBufferType::eFloat, 1, 1);
        img->fill(v);
        return img;
    };
    auto [x, y] = polarToCartesianImg(pixel(2.0f), pixel(1.5707964f));
    EXPECT_NEAR(x->getValue(0, 0), 0.0, 1e-6);
    EXPECT_NEAR(y->getValue(0, 0), 2.0, 1e-6);
    auto [x2, y2] = polarToCartesianImg(pixel(1.0f), pixel(-0.78539819f));
    EXPECT_NEAR(x2->getValue(0, 0), 0.70710677, 1e-7);
    EXPECT_NEAR(y2->getValue(0, 0), -0.70710677, 1e-7);
    auto [rho, theta] = cartesianToPolarImg(pixel(3.0f), pixel(4.0f));
    EXPECT_EQ(rho->getValue(0, 0), 5.0);
    EXPECT_NEAR(theta->getValue(0, 0), 0.9272952, 2e-7);
}

TEST(VectorFieldTransforms, OutputsMayBeTheInputsThemselves) {
    std::mt19937 rng(4);
    const auto d = ImageDescription::make2d(eImageBufferType::eFloat, 301, 40);
    const std::size_t n = 301 * 40;
    const auto a = randomFloats(n, -9, 9, rng), b = randomFloats(n, -9, 9, rng);
    auto [er, et] = cartesianToPolarImg(floatImage(d, a), floatImage(d, b));
    auto x = floatImage(d, a), y = floatImage(d, b);
    cartesianToPolarImg(x, y, x, y);
    EXPECT_EQ(rawBytes(*x), rawBytes(*er));
    EXPECT_EQ(rawBytes(*y), rawBytes(*et));
    auto [ex, ey] = polarToCartesianImg(floatImage(d, a), floatImage(d, b));
    auto r = floatImage(d, a), t = floatImage(d, b);
    polarToCartesianImg(r, t, t, r);  // crosswise
    EXPECT_EQ(rawBytes(*t), rawBytes(*ex));
    EXPECT_EQ(rawBytes(*r), rawBytes(*ey));
}

TEST(VectorFieldTransforms, RefusalsNameTheCauseAndLeaveBothOutputsUntouched) {
    auto fx = image::Image::create2d(eImageBufferType::eFloat, 8, 8);
    auto fy = image::Image::create2d(eImageBufferType::eFloat, 8, 8);
    auto ix = image::Image::create2d(eImageBufferType::eInt16, 8, 8);
    auto wide = image::Image::create2d(eImageBufferType::eFloat, 9, 8);
    auto out1 = image::Image::create2d(eImageBufferType::eFloat, 8, 8);
    auto out2 = image::Image::create2d(eImageBufferType::eFloat, 8, 8);
    auto intOut = image::Image::create2d(eImageBufferType::eUInt16, 8, 8);
    for (const auto& img : {out1, out2, intOut}) img->fill(3);
    const auto b1 = rawBytes(*out1), b2 = rawBytes(*out2), bi = rawBytes(*intOut);
    refused([&] { cartesianToPolarImg(ix, fy, out1, out2); }, {"InXImg", "int16", "float"});
    refused([&] { cartesianToPolarImg(ix, fy); }, {"InXImg", "float"});
    refused([&] { polarToCartesianImg(fx, ix, out1, out2); }, {"InThetaImg", "int16"});
    refused([&] { polarToCartesianImg(fx, fy, out1, intOut); }, {"OutYImg", "uint16", "float"});
    refused([&] { cartesianToPolarImg(fx, wide, out1, out2); }, {"matchSize", "InYImg", "9x8"});
    refused([&] { polarToCartesianImg(fx, fy, out1, image::ImagePtr()); }, {"OutYImg"});
    EXPECT_EQ(rawBytes(*out1), b1);
    EXPECT_EQ(rawBytes(*out2), b2);
    EXPECT_EQ(rawBytes(*intOut), bi);
}

TEST(VectorFieldTransforms, AsynchronousFormsDeliverBothOutputs) {
    auto x = image::Image::create2d(eImageBufferType::eFloat, 40, 9);
    auto y = image::Image::create2d(eImageBufferType::eFloat, 40, 9);
    x->fill(0.0);
    y->fill(-2.0);
    auto run = cartesianToPolarImg_async(x, y);
    run->wait();
    auto [rho, theta] = getAsyncProcessorOutput(run);
    EXPECT_EQ(rho->getValue(39, 8), 2.0);
    EXPECT_NEAR(theta->getValue(39, 8), -1.5707963, 1e-7);
    auto ox = image::Image::create2d(eImageBufferType::eFloat, 40, 9);
    auto oy = image::Image::create2d(eImageBufferType::eFloat, 40, 9);
    auto run2 = polarToCartesianImg_async(y, x, ox, oy);  // rho = -2, theta = 0
    run2->wait();
    EXPECT_EQ(getAsyncProcessorOutput(run2), std::make_pair(ox, oy));
    EXPECT_EQ(ox->getValue(0, 0), -2.0);
    EXPECT_EQ(oy->getValue(0, 0), 0.0);
}

// ---- classes and registrations ------------------------------------------------------------------

TEST(VectorFieldClasses, NamesToolTipsAndKernelsPerInstructionSet) {
    struct Class {
        std::string typeName, toolTip;
        const processor::AlgorithmFunctionSelector* selector;  // level 3 only
        std::size_t keys;
        std::vector<eInstructionSet::domain> sets;  // besides the standard one
    };
    using S = eInstructionSet::domain;
    const std::vector<S> all = {eInstructionSet::eSSE2, eInstructionSet::eAVX,
                                eInstructionSet::eAVX2, eInstructionSet::eAVX512};
    const std::string l1 = "Level 3 algorithm: Computation of L1 (taxicab) norm of ";
    const std::string l2 = "Level 3 algorithm: Computation of L2 (euclidian) norm of ";
    const std::vector<Class> classes = {
        {L1Norm2ImgLvl3::getTypeName(), l1 + "two images",
         &L1Norm2ImgLvl3::retrieveFunctionSelector(), 121, all},
        {L1Norm3ImgLvl3::getTypeName(), l1 + "three images",
         &L1Norm3ImgLvl3::retrieveFunctionSelector(), 121, all},
        {L2Norm2ImgLvl3::getTypeName(), l2 + "two images",
         &L2Norm2ImgLvl3::retrieveFunctionSelector(), 121, all},
        {L2Norm3ImgLvl3::getTypeName(), l2 + "three images",
         &L2Norm3ImgLvl3::retrieveFunctionSelector(), 121, all},
        {CartesianToPolarImgLvl3::getTypeName(),
         "Level 3 algorithm: cartesian to polar coordinates transformation",
         &CartesianToPolarImgLvl3::retrieveFunctionSelector(),
         1,
         {eInstructionSet::eSSE2, eInstructionSet::eAVX, eInstructionSet::eAVX512}},
        {PolarToCartesianImgLvl3::getTypeName(),
         "Level 3 algorithm: polar to cartesian coordinates transformation",
         &PolarToCartesianImgLvl3::retrieveFunctionSelector(), 1, all},
    };
    for (const Class& c : classes) {
        SCOPED_TRACE(c.typeName);
        EXPECT_TRUE(core::DynamicObjectFactory::getInstance().isRegistered(c.typeName));
        EXPECT_EQ(processor::findFunctionSelector(c.typeName), c.selector);
        EXPECT_EQ(c.selector->countRegistrations(eInstructionSet::eStandard), c.keys);
        for (S s : all) {
            const bool listed = std::find(c.sets.begin(), c.sets.end(), s) != c.sets.end();
            const std::size_t keys = s == eInstructionSet::eAVX ? 1 : c.keys;  // AVX: float only
            EXPECT_EQ(c.selector->countRegistrations(s),
                      listed && core::isSupportedByProcessor(s) ? keys : 0u)
                << core::instructionSetName(s);
        }
    }
    EXPECT_EQ(L1Norm2ImgLvl3::getToolTipStr(), l1 + "two images");
    EXPECT_EQ(L2Norm3ImgLvl3::getToolTipStr(), l2 + "three images");
    EXPECT_EQ(L1Norm3ImgLvl1::getToolTipStr(),
              "Level 1 algorithm: Computation of L1 (taxicab) norm of three images");
    EXPECT_EQ(L2Norm2ImgLvl2::getToolTipStr(),
              "Level 2 algorithm: Computation of L2 (euclidian) norm of two images");
    EXPECT_EQ(CartesianToPolarImgLvl1::getToolTipStr(),
              "Level 1 algorithm: cartesian to polar coordinates transformation");
    EXPECT_EQ(PolarToCartesianImgLvl2::getToolTipStr(),
              "Level 2 algorithm: polar to cartesian coordinates transformation");
    EXPECT_EQ(PolarToCartesianImgLvl3::getToolTipStr(),
              "Level 3 algorithm: polar to cartesian coordinates transformation");

    CartesianToPolarImgLvl1 p;
    p.init();
    EXPECT_EQ(p.getAttributeNameColl(),
              (std::vector<std::string>{"InXImg", "InYImg", "OutRhoImg", "OutThetaImg"}));
    L2Norm3ImgLvl1 q;
    q.init();
    EXPECT_NE(q.getRule()->describe().find("matchBufferType(InImg1, InImg2, InImg3)"),
              std::string::npos)
        << q.getRule()->describe();
}

}  // namespace
