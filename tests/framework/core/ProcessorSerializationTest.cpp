// Serialisation of processors: attributes, then the class section with its
// version written once per class and archive; and the processor factory.

#include "framework/core/LogCapture.h"

#include <vimra/core/Archive.h>
#include <vimra/core/BaseException.h>
#include <vimra/core/Log.h>
#include <vimra/image/BaseImage.h>
#include <vimra/processor/ProcessorClass.h>
#include <vimra/processor/ProcessorFactory.h>

#include <boost/make_shared.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>

namespace vimra::test {

using namespace vimra::processor;
namespace attr = vimra::imaproc::attr;

// A processor with one attribute of every serialised kind.
template <int N>
class Serialized : public ProcessorClass<Serialized<N>> {
  public:
    static std::string typeNameText() { return "vimra::test::Serialized" + std::to_string(N); }
    static std::string objectNameText() { return "Serialized" + std::to_string(N); }
    static std::string toolTipText() { return "serialisation test processor"; }

  protected:
    BoolResult initDerived(AttributeColl& attributes, OutputInitializerMap& initializers,
                           ProcessorDispatchPolicy& policy, RulePtr& rule, unsigned) override {
        attributes = {boost::make_shared<attr::InImg1>(),
                      boost::make_shared<attr::InFactor>(),
                      boost::make_shared<attr::InFactor1>(),
                      boost::make_shared<attr::InOutputRange>(),
                      boost::make_shared<attr::InConvertImageBufferType>(),
                      boost::make_shared<attr::InYStrip2d>(),
                      boost::make_shared<attr::OutImg>()};
        initializers.clear();
        policy.initDefault();
        rule.reset();
        return BoolResult::success();
    }
};
using SerializedA = Serialized<1>;
using SerializedB = Serialized<2>;

}  // namespace vimra::test

template struct vimra::processor::ProcessorRegistrator<vimra::test::SerializedA>;

namespace vimra::test {
namespace {

std::string serializationError(const std::function<void()>& f) {
    try {
        f();
    } catch (const core::SerializationException& e) {
        return e.what();
    } catch (const std::exception& e) {
        return std::string("wrong exception type: ") + e.what();
    }
    return "no exception";
}

template <class P>
boost::shared_ptr<P> makeInitialised() {
    auto p = boost::make_shared<P>();
    EXPECT_TRUE(p->init().isSuccess());
    return p;
}

// Replaces the first occurrence of `from`, which must exist.
std::string replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos) text.replace(at, from.size(), to);
    return text;
}

std::size_t occurrences(const std::string& text, const std::string& what) {
    std::size_t n = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

TEST(ProcessorSerialization, RoundTripsAttributeValues) {
    auto written = makeInitialised<SerializedA>();
    written->set<attr::InImg1>(image::Image::create3d(image::eImageBufferType::eInt16, 5, 4, 3));
    written->set<attr::InFactor>(-0.1);
    written->set<attr::InFactor1>(3.4028235e38f);
    written->set<attr::InOutputRange>(Range{-1.5, std::numeric_limits<double>::infinity()});
    written->set<attr::InConvertImageBufferType>(image::eImageBufferType::eLabel16);
    core::BaseOArchive out;
    written->write(out);
    const std::string doc = out.str();

    auto read = makeInitialised<SerializedA>();
    const image::ConstImagePtr callersImage =
        image::Image::create2d(image::eImageBufferType::eUInt8, 2, 2);
    read->set<attr::InImg1>(callersImage);
    core::BaseIArchive in(doc);
    read->read(in);
    EXPECT_EQ(read->getStorage<attr::InFactor>(), -0.1);
    EXPECT_EQ(read->getStorage<attr::InFactor1>(), 3.4028235e38f);
    EXPECT_EQ(read->getStorage<attr::InOutputRange>(),
              (Range{-1.5, std::numeric_limits<double>::infinity()}));
    EXPECT_EQ(read->getStorage<attr::InConvertImageBufferType>(),
              image::eImageBufferType::eLabel16);
    EXPECT_TRUE(read->findAttribute<attr::InFactor>()->isSet());
    // Images are archived by description only; the attribute keeps the caller's image.
    EXPECT_EQ(read->getStorage<attr::InImg1>(), callersImage);
    EXPECT_NE(doc.find("<section name=\"InImg1\">\n"
                       "        <item name=\"set\" type=\"bool\">true</item>\n"
                       "        <item name=\"bufferType\" type=\"unsigned\">3</item>\n"
                       "        <item name=\"sizeX\" type=\"unsigned\">5</item>\n"
                       "        <item name=\"sizeY\" type=\"unsigned\">4</item>\n"
                       "        <item name=\"volumeGeometry\" type=\"unsigned\">1</item>\n"
                       "        <item name=\"sizeZ\" type=\"unsigned\">3</item>\n"),
              std::string::npos)
        << doc;
    // Strips have no archived state.
    EXPECT_EQ(doc.find("InYStrip2d"), std::string::npos) << doc;
}

TEST(ProcessorSerialization, UnsetValuesReadBackUnset) {
    auto written = makeInitialised<SerializedA>();
    core::BaseOArchive out;
    written->write(out);
    auto read = makeInitialised<SerializedA>();
    read->set<attr::InFactor>(5.0);
    core::BaseIArchive in(out.str());
    read->read(in);
    EXPECT_FALSE(read->findAttribute<attr::InFactor>()->isSet());
    EXPECT_FALSE(read->findAttribute<attr::InOutputRange>()->isSet());
    EXPECT_FALSE(read->findAttribute<attr::OutImg>()->isSet());
}

TEST(ProcessorSerialization, ClassSectionFollowsTheAttributes) {
    auto p = makeInitialised<SerializedA>();
    core::BaseOArchive out;
    p->write(out);
    const std::string doc = out.str();
    const std::size_t lastAttribute = doc.find("<section name=\"OutImg\">");
    const std::size_t classSection = doc.find(
        "<section name=\"vimra::test::Serialized1\">\n"
        "        <item name=\"version\" type=\"unsigned\">1</item>\n"
        "    </section>");
    ASSERT_NE(lastAttribute, std::string::npos) << doc;
    ASSERT_NE(classSection, std::string::npos) << doc;
    EXPECT_LT(lastAttribute, classSection);
}

TEST(ProcessorSerialization, VersionIsWrittenOncePerClassAndArchive) {
    core::BaseOArchive out;
    auto a1 = makeInitialised<SerializedA>();
    auto a2 = makeInitialised<SerializedA>();
    auto b = makeInitialised<SerializedB>();
    a1->set<attr::InFactor>(1.0);
    a2->set<attr::InFactor>(2.0);
    a1->write(out);
    b->write(out);
    a2->write(out);
    const std::string doc = out.str();
    EXPECT_EQ(occurrences(doc, "<item name=\"version\""), 2u) << doc;
    EXPECT_EQ(occurrences(doc, "<section name=\"vimra::test::Serialized1\""), 2u) << doc;
    EXPECT_EQ(occurrences(doc, "<section name=\"vimra::test::Serialized1\"/>"), 1u) << doc;

    // Reading back in the same order gives every object its own values.
    core::BaseIArchive in(doc);
    auto r1 = makeInitialised<SerializedA>();
    auto rb = makeInitialised<SerializedB>();
    auto r2 = makeInitialised<SerializedA>();
    r1->read(in);
    rb->read(in);
    r2->read(in);
    EXPECT_EQ(r1->getStorage<attr::InFactor>(), 1.0);
    EXPECT_EQ(r2->getStorage<attr::InFactor>(), 2.0);
    EXPECT_TRUE(in.hasClassVersion("vimra::test::Serialized1"));
    EXPECT_EQ(in.getClassVersion("vimra::test::Serialized1"), 1u);
}

TEST(ProcessorSerialization, NewerVersionIsRefusedOlderAccepted) {
    auto p = makeInitialised<SerializedA>();
    core::BaseOArchive out;
    p->write(out);
    const std::string version1 = out.str();
    const std::string item = "<item name=\"version\" type=\"unsigned\">1</item>";

    {
        ScopedLogCapture capture(core::getSerializationLogger());
        core::BaseIArchive in(replaced(version1, item, replaced(item, ">1<", ">2<")));
        auto r = makeInitialised<SerializedA>();
        const std::string what = serializationError([&] { r->read(in); });
        const std::string expected =
            "Class vimra::test::Serialized1: the archive holds version 2, newer than the supported "
            "version 1";
        EXPECT_EQ(what, expected);
        EXPECT_EQ(capture.appender().count(log4cplus::ERROR_LOG_LEVEL, expected), 1u);
    }
    for (const char* accepted : {">1<", ">0<"}) {
        core::BaseIArchive in(replaced(version1, item, replaced(item, ">1<", accepted)));
        auto r = makeInitialised<SerializedA>();
        EXPECT_NO_THROW(r->read(in)) << accepted;
    }
}

TEST(ProcessorSerialization, DamagedArchivesAreClearErrors) {
    auto p = makeInitialised<SerializedA>();
    p->set<attr::InImg1>(image::Image::create2d(image::eImageBufferType::eFloat, 3, 2));
    p->set<attr::InFactor1>(1.0f);
    p->set<attr::InConvertImageBufferType>(image::eImageBufferType::eUInt8);
    core::BaseOArchive out;
    p->write(out);
    const std::string doc = out.str();
    const auto readError = [](const std::string& damaged) {
        return serializationError([&] {
            core::BaseIArchive in(damaged);
            makeInitialised<SerializedA>()->read(in);
        });
    };
    struct Case {
        std::string from, to, error;
    };
    const Case cases[] = {
        {"<section name=\"InFactor\">", "<section name=\"Renamed\">",
         "Section / has no unread section \"InFactor\""},
        {"<item name=\"sizeX\" type=\"unsigned\">3</item>", "",
         "Section /InImg1 has no item \"sizeX\""},
        {"<item name=\"sizeX\" type=\"unsigned\">3</item>",
         "<item name=\"sizeX\" type=\"signed\">3</item>",
         "Item \"sizeX\" in section /InImg1 holds a signed value, read as unsigned"},
        {"<item name=\"sizeX\" type=\"unsigned\">3</item>",
         "<item name=\"sizeX\" type=\"unsigned\">0</item>",
         "Attribute InImg1: the archived image description is not valid"},
        {"<item name=\"bufferType\" type=\"unsigned\">7</item>",
         "<item name=\"bufferType\" type=\"unsigned\">12</item>",
         "Attribute InImg1: 12 is not a valid image buffer type"},
        {"<item name=\"sizeZ\" type=\"unsigned\">1</item>",
         "<item name=\"sizeZ\" type=\"unsigned\">4</item>",
         "Attribute InImg1: sizeZ 4 is out of the range of a 2d image"},
        {"<item name=\"colorGeometry\" type=\"unsigned\">0</item>",
         "<item name=\"colorGeometry\" type=\"unsigned\">2</item>",
         "Attribute InImg1: colorGeometry 2 is out of the range of a geometry type"},
        {"<item name=\"value\" type=\"double\">1</item>",
         "<item name=\"value\" type=\"double\">1e+300</item>",
         "Attribute InFactor1: 1e+300 is out of the range of a float"},
        {"<item name=\"value\" type=\"unsigned\">2</item>",
         "<item name=\"value\" type=\"unsigned\">0</item>",
         "Attribute InConvertImageBufferType: 0 is not a valid image buffer type"},
        {"<section name=\"vimra::test::Serialized1\">", "<section name=\"vimra::test::Other\">",
         "Section / has no unread section \"vimra::test::Serialized1\""},
    };
    for (const Case& c : cases) {
        const std::string what = readError(replaced(doc, c.from, c.to));
        EXPECT_NE(what.find(c.error), std::string::npos)
            << "expected: " << c.error << "\ngot: " << what;
    }
    EXPECT_NE(readError(doc.substr(0, doc.size() / 2)).find("not well-formed XML"),
              std::string::npos);
}

TEST(ProcessorFactory, CreatesRegisteredProcessorsByName) {
    ProcessorFactory& f = ProcessorFactory::getInstance();
    EXPECT_TRUE(ProcessorRegistrator<SerializedA>::g_bProcessorRegistrator);
    EXPECT_TRUE(f.isRegistered("vimra::test::Serialized1"));
    boost::shared_ptr<BaseProcessor> p = f.createProcessor("vimra::test::Serialized1");
    ASSERT_TRUE(dynamic_cast<SerializedA*>(p.get()));
    EXPECT_FALSE(p->isInitialized());

    try {
        f.createProcessor("vimra::test::Unknown");
        FAIL() << "no exception";
    } catch (const core::BaseException& e) {
        EXPECT_EQ(std::string(e.what()),
                  "Type vimra::test::Unknown is not registered in the processor factory");
    }

    ScopedLogCapture capture(core::getCoreLogger());
    EXPECT_TRUE(f.registerProcessor<SerializedA>());  // the same creator again
    EXPECT_FALSE(
        f.registerProcessor("vimra::test::Serialized1", &SerializedB::createBaseProcessor));
    EXPECT_FALSE(f.registerProcessor("", &SerializedB::createBaseProcessor));
    EXPECT_FALSE(f.registerProcessor("vimra::test::Null", nullptr));
    EXPECT_EQ(capture.appender().records().size(), 3u);
    EXPECT_TRUE(dynamic_cast<SerializedA*>(f.createProcessor("vimra::test::Serialized1").get()));
    const std::vector<std::string> names = f.registeredTypeNames();
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
}

TEST(ProcessorSerialization, ThrowNewerClassVersionLogsAndThrows) {
    ScopedLogCapture capture(core::getSerializationLogger());
    const std::string what = serializationError([] { throwNewerClassVersion("a::B", 7, 3); });
    EXPECT_EQ(what, "Class a::B: the archive holds version 7, newer than the supported version 3");
    EXPECT_EQ(capture.appender().count(log4cplus::ERROR_LOG_LEVEL, what), 1u);
}

}  // namespace
}  // namespace vimra::test
