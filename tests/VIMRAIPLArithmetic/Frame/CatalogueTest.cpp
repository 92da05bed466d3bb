// The operation catalogue: every library operation listed under its front
// names, described from its declaration, and driven by name to the same
// results as its entry function; arguments of the wrong kind, missing or
// null refused by name before anything runs.

#include <VIMRAIPL/VIMRAIPLArithmetic/Catalogue.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AbsImg/AbsImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/SubtractImgImg/SubtractImgImgLvl1.h>

#include <Frame/CatalogueEntry.h>

#include <vimra/processor/ProcessingException.h>

#include "support/Reference.h"

#include <gtest/gtest.h>

#include <random>

using namespace vimra;
using namespace vimra::imaproc::arithm;
using image::eImageBufferType;

namespace vimra::imaproc::arithm {

/// Declared only (never registered or run): a value with a default, an
/// optional float, a range and two outputs with different initialisers.
struct CatalogueProbeOperation {
    static constexpr const char* s_name = "ScaleClampScalarImg";
    static constexpr auto s_toolTipLvl1 = eProcessorMessage::eAddImgImgLvl1;
    static constexpr auto s_toolTipLvl2 = eProcessorMessage::eAddImgImgLvl2;
    static constexpr auto s_toolTipLvl3 = eProcessorMessage::eAddImgImgLvl3;
    using Inputs = TypeList<shape::In>;
    using Values = TypeList<ValueChain<attr::InFactor, 2.0>, ValueChain<attr::InOptBlendMultiplier, 0.25>,
                            ValueChain<attr::InOutputRange>>;
    using Outputs =
        TypeList<OutputChain<attr::OutImg1, attr::OutImg1, attr::OutYStrip2d1,
                             PromoteUnaryOutput<processor::ePromoteUnaryType::eAbs, attr::InImg, attr::OutImg1>>,
                 OutputChain<attr::OutImg2, attr::OutImg2, attr::OutYStrip2d2,
                             FixedTypeOutput<attr::InImg, eImageBufferType::eFloat, attr::OutImg2>>>;
    using Arguments = TypeList<attr::InFactor, attr::InImg, attr::InOptBlendMultiplier, attr::InOutputRange>;
    using Rule = NoRule;
};
class CatalogueProbeLvl3 final : public PixelwiseLvl3<CatalogueProbeLvl3, CatalogueProbeOperation> {};
class CatalogueProbeLvl2 final : public PixelwiseLvl2<CatalogueProbeLvl2, CatalogueProbeOperation, CatalogueProbeLvl3> {};
class CatalogueProbeLvl1 final : public PixelwiseLvl1<CatalogueProbeLvl1, CatalogueProbeOperation, CatalogueProbeLvl2> {};

}  // namespace vimra::imaproc::arithm

namespace {

using catalogue::ArgumentValue;
using catalogue::eArgumentKind;

image::ImagePtr randomImage(eImageBufferType::domain type, std::uint64_t x, std::uint64_t y, std::mt19937& rng) {
    auto img = image::Image::create2d(type, x, y);
    test::fillImage(*img, test::randomValues(type, x * y, rng));
    return img;
}

/// Equal values, NaN matching NaN.
::testing::AssertionResult sameImages(const image::BaseImage& actual, const image::BaseImage& expected) {
    const auto a = test::imageValues(actual), e = test::imageValues(expected);
    if (a.size() != e.size()) return ::testing::AssertionFailure() << "sizes differ";
    for (std::size_t i = 0; i < a.size(); ++i)
        if (!test::sameValue(e[i], a[i]))
            return ::testing::AssertionFailure() << "element " << i << ": " << a[i] << " against " << e[i];
    return ::testing::AssertionSuccess();
}

TEST(Catalogue, ListsTheLibraryOperationsUnderEveryName) {
    for (const char* name : {"addImgImg", "add", "subtract", "multiply", "divide", "abs", "absImg"}) {
        const auto* op = catalogue::findOperation(name);
        ASSERT_NE(op, nullptr) << name;
        EXPECT_EQ(op->className, "vimra::imaproc::arithm::" + std::string(1, static_cast<char>(std::toupper(op->entryName[0]))) +
                                     op->entryName.substr(1) + "Lvl1");
        EXPECT_FALSE(op->toolTip.empty()) << name;
    }
    EXPECT_EQ(catalogue::findOperation("add"), catalogue::findOperation("addImgImg"));
    EXPECT_EQ(catalogue::findOperation("nope"), nullptr);
    EXPECT_EQ(catalogue::findOperation(""), nullptr);

    const auto& ops = catalogue::operations();
    for (std::size_t i = 1; i < ops.size(); ++i) EXPECT_LT(ops[i - 1].snakeName(), ops[i].snakeName());
    for (const auto& op : ops) EXPECT_EQ(catalogue::findOperation(op.kebabName()), &op);
}

TEST(Catalogue, DescribesArgumentsAndOutputsFromTheDeclaration) {
    const auto* add = catalogue::findOperation("add");
    ASSERT_NE(add, nullptr);
    ASSERT_EQ(add->arguments.size(), 2u);
    EXPECT_EQ(add->arguments[0].attribute, "InImg1");
    EXPECT_EQ(add->arguments[0].name, "img1");
    EXPECT_EQ(add->arguments[1].name, "img2");
    for (const auto& a : add->arguments) {
        EXPECT_EQ(a.kind, eArgumentKind::eImage);
        EXPECT_FALSE(a.optional);
    }
    ASSERT_EQ(add->outputs.size(), 1u);
    EXPECT_EQ(add->outputs[0].name, "img");
    EXPECT_NE(add->outputs[0].typeRule.find("img1 and img2"), std::string::npos) << add->outputs[0].typeRule;

    auto probe = catalogue::detail::describe<CatalogueProbeLvl1>();
    EXPECT_EQ(probe.entryName, "scaleClampScalarImg");
    EXPECT_EQ(probe.words, (std::vector<std::string>{"scale", "clamp", "scalar"}));
    ASSERT_EQ(probe.arguments.size(), 4u);
    const std::pair<const char*, eArgumentKind> expected[] = {{"factor", eArgumentKind::eNumber},
                                                              {"img", eArgumentKind::eImage},
                                                              {"blend_multiplier", eArgumentKind::eNumber},
                                                              {"output_range", eArgumentKind::eRange}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(probe.arguments[i].name, expected[i].first);
        EXPECT_EQ(probe.arguments[i].kind, expected[i].second);
        EXPECT_EQ(probe.arguments[i].optional, i == 2) << i;
    }
    EXPECT_EQ(probe.arguments[0].defaultValue, 2.0);
    EXPECT_EQ(probe.arguments[2].defaultValue, 0.25);
    ASSERT_EQ(probe.outputs.size(), 2u);
    EXPECT_EQ(probe.outputs[1].typeRule, image::bufferTypeName(eImageBufferType::eFloat));
    EXPECT_EQ(probe.outputs[1].resultType({eImageBufferType::eInt8}), eImageBufferType::eFloat);
    EXPECT_EQ(probe.outputs[0].resultType({eImageBufferType::eInt8}),
              processor::promoteUnary(processor::ePromoteUnaryType::eAbs, eImageBufferType::eInt8));
    EXPECT_EQ(probe.outputs[0].resultType({}), std::nullopt);
}

TEST(Catalogue, SetsArgumentsOfEveryKindAndRefusesWhatTheyCannotHold) {
    auto probe = catalogue::detail::describe<CatalogueProbeLvl1>();
    auto in = image::Image::create2d(eImageBufferType::eUInt8, 4, 3);
    auto p = probe.prepare({3.5, ArgumentValue(image::ConstImagePtr(in)), 0.75, processor::Range{1, 9}});
    EXPECT_EQ(p->getStorage<imaproc::attr::InFactor>(), 3.5);
    EXPECT_EQ(p->getStorage<imaproc::attr::InImg>(), in);
    EXPECT_EQ(p->getStorage<imaproc::attr::InOptBlendMultiplier>(), 0.75f);
    EXPECT_EQ(p->getStorage<imaproc::attr::InOutputRange>(), (processor::Range{1, 9}));

    // The optional value left unset stays unset; a shorter list leaves the rest unset too.
    auto q = probe.prepare({1.0, ArgumentValue(image::ConstImagePtr(in)), {}, processor::Range{}});
    EXPECT_FALSE(q->findAttribute<imaproc::attr::InOptBlendMultiplier>()->isSet());

    auto refusal = [&](const std::vector<ArgumentValue>& args, const std::vector<image::ImagePtr>& outs = {}) {
        try {
            probe.prepare(args, outs);
        } catch (const processor::VIMRABaseProcessingException& e) {
            return std::string(e.what());
        }
        return std::string("accepted");
    };
    const image::ConstImagePtr img = in;
    EXPECT_NE(refusal({img, img}).find("'factor' (InFactor) takes a number"), std::string::npos);
    EXPECT_NE(refusal({1.0}).find("'img' (InImg) is required"), std::string::npos);
    EXPECT_NE(refusal({1.0, image::ConstImagePtr()}).find("'img' (InImg) is required"), std::string::npos);
    EXPECT_NE(refusal({1.0, img, 1e300, processor::Range{}}).find("'blend_multiplier'"), std::string::npos);
    EXPECT_NE(refusal({1.0, img, 1.0, 2.0}).find("takes a range"), std::string::npos);
    EXPECT_NE(refusal({1.0, img, 1.0, processor::Range{}, 5.0}).find("takes 4 arguments, not 5"), std::string::npos);
    auto out = image::Image::create2d(eImageBufferType::eUInt8, 4, 3);
    EXPECT_NE(refusal({1.0, img, 1.0, processor::Range{}}, {out}).find("all 2 outputs or none"), std::string::npos);
    EXPECT_NE(refusal({1.0, img, 1.0, processor::Range{}}, {out, nullptr}).find("output 'img2' (OutImg2) is null"),
              std::string::npos);
    // Infinities pass to float values as they are.
    EXPECT_EQ(refusal({1.0, img, HUGE_VAL, processor::Range{}}), "accepted");
}

TEST(Catalogue, RunsOperationsByNameLikeTheirEntryFunctions) {
    std::mt19937 rng(7);
    for (auto [ta, tb] : {std::pair{eImageBufferType::eUInt8, eImageBufferType::eInt16},
                          std::pair{eImageBufferType::eInt32, eImageBufferType::eUInt8},
                          std::pair{eImageBufferType::eFloat, eImageBufferType::eInt8}}) {
        auto a = randomImage(ta, 37, 11, rng);
        auto b = randomImage(tb, 37, 11, rng);
        const auto* op = catalogue::findOperation("subtract");
        ASSERT_NE(op, nullptr);
        auto p = op->prepare({image::ConstImagePtr(a), image::ConstImagePtr(b)});
        processor::executeSyncRun(p);
        const auto created = op->outputsOf(*p).at(0);
        const auto expected = subtractImgImg(a, b);
        EXPECT_EQ(created->getBufferType(), expected->getBufferType());
        EXPECT_EQ(op->outputs[0].resultType({ta, tb}), expected->getBufferType());
        EXPECT_TRUE(sameImages(*created, *expected));

        // Into a given output, of a type the caller chose.
        auto into = image::Image::create2d(eImageBufferType::eInt8, 37, 11);
        auto expectedInto = image::Image::create2d(eImageBufferType::eInt8, 37, 11);
        processor::executeSyncRun(op->prepare({image::ConstImagePtr(a), image::ConstImagePtr(b)}, {into}));
        subtractImgImg(a, b, expectedInto);
        EXPECT_TRUE(sameImages(*into, *expectedInto));
    }
}

TEST(Catalogue, DropsScalarFromNamesOnlyWhereTheyStayUnique) {
    const auto& before = catalogue::operations();
    const std::size_t count = before.size();
    auto fake = [](const char* name) {
        catalogue::OperationInfo info;
        info.entryName = catalogue::detail::lowerFirst(name);
        info.words = catalogue::detail::operationWords(name);
        catalogue::registerOperation(std::move(info));
    };
    fake("AddScalarImg");
    fake("FooBarScalarImg");
    const auto& after = catalogue::operations();
    EXPECT_EQ(before.size(), count);  // lists handed out earlier stay as they were
    EXPECT_EQ(after.size(), count + 2);
    ASSERT_NE(catalogue::findOperation("add_scalar"), nullptr);
    EXPECT_EQ(catalogue::findOperation("add_scalar")->entryName, "addScalarImg");
    ASSERT_NE(catalogue::findOperation("foo-bar"), nullptr);
    EXPECT_EQ(catalogue::findOperation("foo_bar")->entryName, "fooBarScalarImg");
    EXPECT_EQ(catalogue::findOperation("add")->entryName, "addImgImg");

    EXPECT_EQ(catalogue::splitWords("L2Norm2Img"), (std::vector<std::string>{"l2", "norm2", "img"}));
    EXPECT_EQ(catalogue::detail::operationWords("CartesianToPolarImg"),
              (std::vector<std::string>{"cartesian", "to", "polar"}));
    EXPECT_EQ(catalogue::detail::argumentName("OutRhoImg"), "rho_img");
    EXPECT_EQ(catalogue::detail::argumentName("InOptBlendMultiplier"), "blend_multiplier");
    EXPECT_EQ(catalogue::detail::argumentName("Input"), "input");
}

}  // namespace
