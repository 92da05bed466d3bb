#include "framework/core/LogCapture.h"

#include <vimra/core/BaseException.h>
#include <vimra/core/DynamicObjectFactory.h>
#include <vimra/core/Log.h>
#include <vimra/core/Registrators.h>
#include <vimra/processor/ProcessorFactory.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace vimra::test {

// Two dynamic classes registered by static registrators when the program loads.
template <int N>
class Widget : public BaseDynamicObject {
  public:
    static const std::string& getTypeName() {
        static const std::string name = "vimra::test::Widget" + std::to_string(N);
        return name;
    }
    static BaseDynamicObject* createNewObject() { return new Widget; }
    static boost::shared_ptr<BaseDynamicObject> createSharedObject() {
        return boost::shared_ptr<BaseDynamicObject>(new Widget);
    }
    std::string getClassName() const override { return getTypeName(); }
    BaseDynamicObject* createNew() const override { return createNewObject(); }
    boost::shared_ptr<BaseDynamicObject> createShared() const override {
        return createSharedObject();
    }
};

}  // namespace vimra::test

template class vimra::core::DynamicRegistrator<vimra::test::Widget<1>>;
template class vimra::core::DynamicRegistrator<vimra::test::Widget<2>>;

namespace vimra::test {

// A message enumeration registered by its static registrator object.
enum class eLoadMessage : unsigned { eOnly = 0 };
constexpr core::MessageEntry s_loadMessages[] = {{0, "registered at load"}};
const core::MessageMapInfo& getMessageMapInfo(eLoadMessage) {
    static const core::MessageMapInfo info{"LoadDomain", "vimra::test::eLoadMessage",
                                           s_loadMessages};
    return info;
}
const core::MsgMapRegistrator<eLoadMessage> g_loadMessageRegistrator;

namespace {

using core::DynamicObjectFactory;

BaseDynamicObject* otherNew() {
    return new Widget<2>;
}
boost::shared_ptr<BaseDynamicObject> otherShared() {
    return boost::shared_ptr<BaseDynamicObject>(new Widget<2>);
}

TEST(DynamicObjectFactory, StaticRegistratorsRegisterAtLoad) {
    EXPECT_TRUE(core::DynamicRegistrator<Widget<1>>::g_classRegistrator.isRegistered());
    EXPECT_TRUE(DynamicObjectFactory::getInstance().isRegistered("vimra::test::Widget1"));
    EXPECT_TRUE(DynamicObjectFactory::getInstance().isRegistered("vimra::test::Widget2"));
}

TEST(DynamicObjectFactory, CreatesByTypeName) {
    DynamicObjectFactory& f = DynamicObjectFactory::getInstance();
    boost::shared_ptr<BaseDynamicObject> shared = f.create("vimra::test::Widget1");
    ASSERT_TRUE(shared);
    EXPECT_TRUE(dynamic_cast<Widget<1>*>(shared.get()));
    EXPECT_EQ(shared->getClassName(), "vimra::test::Widget1");

    std::unique_ptr<BaseDynamicObject> raw(f.createNew("vimra::test::Widget2"));
    EXPECT_TRUE(dynamic_cast<Widget<2>*>(raw.get()));

    EXPECT_TRUE(f.createAs<Widget<2>>("vimra::test::Widget2"));
    try {
        f.createAs<Widget<1>>("vimra::test::Widget2");
        FAIL() << "no exception";
    } catch (const core::BaseException& e) {
        EXPECT_NE(std::string(e.what()).find("vimra::test::Widget<1>"), std::string::npos)
            << e.what();
    }
}

TEST(DynamicObjectFactory, UnknownNameIsAClearError) {
    for (auto create :
         {+[] { DynamicObjectFactory::getInstance().create("no::such::Type"); },
          +[] { delete DynamicObjectFactory::getInstance().createNew("no::such::Type"); }}) {
        try {
            create();
            FAIL() << "no exception";
        } catch (const core::BaseException& e) {
            EXPECT_EQ(std::string(e.what()),
                      "Type no::such::Type is not registered in the object factory");
        }
    }
    EXPECT_FALSE(DynamicObjectFactory::getInstance().isRegistered("no::such::Type"));
}

// A type name is caller data: a NUL inside it must not cut the message short.
TEST(Factories, TypeNameWithNulIsReportedWhole) {
    const std::string name("no::such\0::Type\0tail", 20);
    const std::string shown = "no::such\\0::Type\\0tail";
    const std::vector<std::pair<std::string, std::function<void()>>> creations = {
        {"Type " + shown + " is not registered in the object factory",
         [&] { DynamicObjectFactory::getInstance().create(name); }},
        {"Type " + shown + " is not registered in the object factory",
         [&] { delete DynamicObjectFactory::getInstance().createNew(name); }},
        {"Type " + shown + " is not registered in the processor factory",
         [&] { processor::ProcessorFactory::getInstance().createProcessor(name); }},
    };
    for (const auto& [expected, create] : creations) {
        try {
            create();
            ADD_FAILURE() << "no exception for " << expected;
        } catch (const core::BaseException& e) {
            EXPECT_EQ(std::string(e.what()), expected);
            EXPECT_EQ(e.getMessage(), expected);
        }
    }

    ScopedLogCapture capture(core::getCoreLogger());
    EXPECT_FALSE(DynamicObjectFactory::getInstance().registerClass(name, &otherNew, nullptr));
    EXPECT_FALSE(processor::ProcessorFactory::getInstance().registerProcessor(name, nullptr));
    const std::vector<LogRecord> records = capture.appender().records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].message, "Object factory registration of \"" + shown +
                                      "\" refused: empty type name or missing creator");
    EXPECT_EQ(records[1].message, "Processor factory registration of \"" + shown +
                                      "\" refused: empty type name or missing creator");
}

TEST(DynamicObjectFactory, RegistrationRules) {
    DynamicObjectFactory& f = DynamicObjectFactory::getInstance();
    ScopedLogCapture capture(core::getCoreLogger());
    // The same creators again: accepted, nothing logged.
    EXPECT_TRUE(f.registerClass("vimra::test::Widget1", &Widget<1>::createNewObject,
                                &Widget<1>::createSharedObject));
    EXPECT_TRUE(capture.appender().records().empty());
    // Other creators under a taken name: refused, the first ones stay.
    EXPECT_FALSE(f.registerClass("vimra::test::Widget1", &otherNew, &otherShared));
    EXPECT_TRUE(dynamic_cast<Widget<1>*>(f.create("vimra::test::Widget1").get()));
    // Incomplete registrations are refused.
    EXPECT_FALSE(f.registerClass("", &otherNew, &otherShared));
    EXPECT_FALSE(f.registerClass("vimra::test::Half", &otherNew, nullptr));
    EXPECT_FALSE(f.registerClass("vimra::test::Half", nullptr, &otherShared));
    EXPECT_FALSE(f.isRegistered("vimra::test::Half"));

    const std::vector<LogRecord> records = capture.appender().records();
    ASSERT_EQ(records.size(), 4u);
    EXPECT_EQ(records[0].level, log4cplus::ERROR_LOG_LEVEL);
    EXPECT_EQ(records[0].message,
              "Type vimra::test::Widget1 is already registered in the object factory with other "
              "creators; the new registration is ignored");
    EXPECT_EQ(records[3].message,
              "Object factory registration of \"vimra::test::Half\" refused: empty type name or "
              "missing creator");
}

TEST(DynamicObjectFactory, ListsRegisteredNamesSorted) {
    const std::vector<std::string> names =
        DynamicObjectFactory::getInstance().registeredTypeNames();
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    EXPECT_EQ(std::count(names.begin(), names.end(), "vimra::test::Widget1"), 1);
    EXPECT_EQ(std::count(names.begin(), names.end(), "vimra::test::Widget2"), 1);
}

TEST(DynamicObjectFactory, ConcurrentRegistrationAndCreation) {
    DynamicObjectFactory& f = DynamicObjectFactory::getInstance();
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 200; ++i) {
                if (t == 0) {
                    f.registerClass("vimra::test::Concurrent" + std::to_string(i), &otherNew,
                                    &otherShared);
                } else if (!dynamic_cast<Widget<1>*>(f.create("vimra::test::Widget1").get())) {
                    ++failures;
                }
            }
        });
    }
    for (std::thread& th : threads) th.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_TRUE(f.isRegistered("vimra::test::Concurrent199"));
}

TEST(MessageMapRegistrator, MapRegisteredAtLoadAndProcessIsIdempotent) {
    core::MessageManager& m = core::MessageManager::getInstance("LoadDomain");
    EXPECT_TRUE(m.isMapRegistered("vimra::test::eLoadMessage"));
    m.add("vimra::test::eLoadMessage", 0, "replaced");
    EXPECT_TRUE(core::MessageMapRegistrator<eLoadMessage>::process());
    EXPECT_EQ(m.getText("vimra::test::eLoadMessage", 0), "replaced");
    EXPECT_EQ(m.getMessageCount("vimra::test::eLoadMessage"), 1u);
}

}  // namespace
}  // namespace vimra::test
