// Rules over attributes: what they accept, what they refuse and what the refusal says.

#include <vimra/processor/Rule.h>

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

using namespace vimra;
using namespace vimra::processor;
using image::eImageBufferType;
namespace attr = vimra::imaproc::attr;

namespace {

template <class A>
boost::shared_ptr<A> withImage(image::ImagePtr img) {
    auto a = boost::make_shared<A>();
    a->setValue(img);
    return a;
}

image::ImagePtr img2d(eImageBufferType::domain t, std::uint64_t x, std::uint64_t y) {
    return image::Image::create2d(t, x, y);
}

}  // namespace

TEST(Rules, MatchSizeSkipsUnsetAttributesAndNamesTheMismatch) {
    auto in1 = withImage<attr::InImg1>(img2d(eImageBufferType::eUInt8, 4, 3));
    auto in2 = withImage<attr::InImg2>(img2d(eImageBufferType::eFloat, 4, 3));
    auto out = boost::make_shared<attr::OutImg>();
    RulePtr rule = matchSize(in1, in2, out);
    EXPECT_TRUE(rule->check());

    out->setValue(img2d(eImageBufferType::eUInt8, 4, 2));
    BoolResult r = rule->check();
    ASSERT_FALSE(r);
    EXPECT_NE(r.getMessage().find("InImg1"), std::string::npos) << r.getMessage();
    EXPECT_NE(r.getMessage().find("OutImg"), std::string::npos) << r.getMessage();
    EXPECT_NE(r.getMessage().find("4x2"), std::string::npos) << r.getMessage();
}

TEST(Rules, MatchSizeComparesEveryDimension) {
    image::ImageDescription a = image::ImageDescription::make3d(eImageBufferType::eUInt8, 4, 4, 2);
    image::ImageDescription b = a;
    b.color = image::ColorGeometry::multiChannel(2);
    b.volume = image::VolumeGeometry::make2d();
    auto in1 = boost::make_shared<attr::InImg1>();
    in1->setValue(image::Image::create(a));
    auto in2 = boost::make_shared<attr::InImg2>();
    in2->setValue(image::Image::create(b));
    EXPECT_FALSE(matchSize(in1, in2)->check());  // same number of planes, different geometry
}

TEST(Rules, MatchSizeInAModeComparesOnlyItsDimensions) {
    auto volume = withImage<attr::InImg1>(image::Image::create3d(eImageBufferType::eUInt16, 8, 6, 5));
    auto plane = withImage<attr::InImg2>(img2d(eImageBufferType::eUInt16, 8, 6));
    auto other = withImage<attr::InImg3>(img2d(eImageBufferType::eUInt16, 8, 7));
    EXPECT_FALSE(matchSize(volume, plane)->check());
    EXPECT_TRUE(matchSizeIn(eSizeMatchMode::ePlane, volume, plane)->check());
    EXPECT_FALSE(matchSizeIn(eSizeMatchMode::eVolume, volume, plane)->check());
    BoolResult r = matchSizeIn(eSizeMatchMode::ePlane, volume, other)->check();
    ASSERT_FALSE(r);
    EXPECT_NE(r.getMessage().find("InImg3"), std::string::npos) << r.getMessage();
    EXPECT_TRUE(matchSizeIn(eSizeMatchMode::eX, volume, other)->check());
}

TEST(Rules, BufferTypeRulesAndRanges) {
    auto in1 = withImage<attr::InImg1>(img2d(eImageBufferType::eUInt8, 2, 2));
    auto in2 = withImage<attr::InImg2>(img2d(eImageBufferType::eInt8, 2, 2));
    EXPECT_FALSE(matchBufferType(in1, in2)->check());
    EXPECT_FALSE(matchSizeAndType(in1, in2)->check());
    EXPECT_TRUE(bufferType(in1, eImageBufferType::eUInt8)->check());
    BoolResult r = bufferType(in2, eImageBufferType::eUInt8)->check();
    EXPECT_NE(r.getMessage().find("int8"), std::string::npos);

    auto range = boost::make_shared<attr::InOutputRange>();
    range->setValue({-1.0, 255.0});
    EXPECT_FALSE(matchImageRange(range, eRangeLeaf::eMin, in1)->check());
    EXPECT_TRUE(matchImageRange(range, eRangeLeaf::eMax, in1)->check());
    range->setValue({0.0, 256.0});
    EXPECT_FALSE(matchImageRange(range, eRangeLeaf::eMax, in1)->check());
}

TEST(Rules, GeometryPredicatesAndCombinators) {
    image::ImageDescription seq = image::ImageDescription::make2d(eImageBufferType::eUInt8, 2, 2);
    seq.temporal = image::TemporalGeometry::sequence(3);
    auto s = boost::make_shared<attr::InImg1>();
    s->setValue(image::Image::create(seq));
    auto single = withImage<attr::InImg2>(img2d(eImageBufferType::eUInt8, 2, 2));

    EXPECT_TRUE(isSequence(s)->check());
    EXPECT_FALSE(isSingle(s)->check());
    EXPECT_TRUE(is2d(s)->check());
    EXPECT_TRUE(isGrey(s)->check());
    EXPECT_FALSE(andRule(isSequence(s), isSequence(single))->check());
    EXPECT_TRUE(orRule(isSequence(single), isSequence(s))->check());
    EXPECT_TRUE(notRule(isSequence(single))->check());
    EXPECT_TRUE(ifRule(isSequence(single), noneRule() /*unused*/, isSingle(single))->check());
    EXPECT_FALSE(ifRule(isSequence(s), isSingle(s))->check());
    EXPECT_TRUE(noneRule()->check());
}

TEST(Rules, ExpiredAttributesFailInsteadOfCrashing) {
    RulePtr rule;
    {
        auto in1 = withImage<attr::InImg1>(img2d(eImageBufferType::eUInt8, 2, 2));
        rule = matchSize(in1);
    }
    EXPECT_FALSE(rule->check());
}
