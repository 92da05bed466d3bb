#include <vimra/image/BaseImage.h>
#include <vimra/image/Strip.h>

#include <gtest/gtest.h>

using namespace vimra::image;

TEST(Image, CreatesZeroedPaddedPlanes) {
    auto img = Image::create3d(eImageBufferType::eInt16, 65, 3, 2);
    EXPECT_EQ(img->getPlaneStride(), 256u);
    EXPECT_EQ(img->getValue(64, 2, 1), 0.0);
}
