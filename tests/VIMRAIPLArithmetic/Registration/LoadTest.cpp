// Loads the library at run time, as an application or scripting binding does,
// and creates every algorithm class by its type name. This program does not link
// the library: everything it finds was registered by the library's own static
// initialisers.

#include <vimra/core/DynamicObjectFactory.h>
#include <vimra/processor/Processor.h>
#include <vimra/processor/ProcessorFactory.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <string>
#include <vector>

namespace {

const std::vector<std::string>& operations() {
    static const std::vector<std::string> ops = {"AbsImg", "AddImgImg", "DivideImgImg", "MultiplyImgImg",
                                                 "SubtractImgImg",
                                                 "L1Norm2Img", "L1Norm3Img", "L2Norm2Img", "L2Norm3Img",
                                                 "CartesianToPolarImg", "PolarToCartesianImg",
                                                 "Formula2dImg", "Formula3dImg"};
    return ops;
}

class LoadedLibrary : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_handle = dlopen(VIMRA_ARITHMETIC_LIBRARY, RTLD_NOW | RTLD_GLOBAL);
        ASSERT_NE(s_handle, nullptr) << dlerror();
    }
    static void* s_handle;
};
void* LoadedLibrary::s_handle = nullptr;

}  // namespace

TEST_F(LoadedLibrary, EveryLevelClassIsCreatedByTypeName) {
    auto& factory = vimra::core::DynamicObjectFactory::getInstance();
    for (const std::string& op : operations())
        for (const char* level : {"Lvl1", "Lvl2", "Lvl3"}) {
            const std::string name = "vimra::imaproc::arithm::" + op + level;
            ASSERT_TRUE(factory.isRegistered(name)) << name;
            auto object = factory.create(name);
            ASSERT_TRUE(object) << name;
            EXPECT_EQ(object->getClassName(), name);
            std::unique_ptr<vimra::BaseDynamicObject> raw(factory.createNew(name));
            EXPECT_EQ(raw->getClassName(), name);

            auto processor = vimra::processor::ProcessorFactory::getInstance().createProcessor(name);
            ASSERT_TRUE(processor) << name;
            EXPECT_EQ(processor->getObjectName(), op + level);
            EXPECT_FALSE(processor->getToolTip().empty()) << name;
        }
}

TEST_F(LoadedLibrary, UnknownTypeNameIsAClearError) {
    try {
        vimra::core::DynamicObjectFactory::getInstance().create("vimra::imaproc::arithm::NoSuchLvl1");
        FAIL();
    } catch (const vimra::core::BaseException& e) {
        EXPECT_NE(std::string(e.what()).find("NoSuchLvl1"), std::string::npos) << e.what();
    }
}
