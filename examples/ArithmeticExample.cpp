// Creates a few images, runs image arithmetic on them and prints what it computed.

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AbsImg/AbsImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/DivideImgImg/DivideImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/MultiplyImgImg/MultiplyImgImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/SubtractImgImg/SubtractImgImgLvl1.h>

#include <chrono>
#include <cstdio>

using namespace vimra;
using namespace vimra::imaproc::arithm;
using image::eImageBufferType;

namespace {

void printRow(const char* label, const image::BaseImage& img, std::uint64_t y, std::uint64_t z = 0) {
    std::printf("  %-28s %-7s", label, image::bufferTypeName(img.getBufferType()));
    for (std::uint64_t x = 0; x < std::min<std::uint64_t>(img.getSizeX(), 8); ++x)
        std::printf(" %9g", img.getValue(x, y, z));
    std::printf("\n");
}

}  // namespace

int main() {
    // A 2d gradient and a constant: ramps through the 8-bit range.
    auto ramp = image::Image::create2d(eImageBufferType::eUInt8, 640, 480);
    auto step = image::Image::create2d(eImageBufferType::eUInt8, 640, 480);
    for (std::uint64_t y = 0; y < 480; ++y)
        for (std::uint64_t x = 0; x < 640; ++x) ramp->setValue(static_cast<double>((x * 37 + y) % 256), x, y);
    step->fill(100);

    std::printf("2d images, 640x480 uint8 (first pixels of row 0)\n");
    printRow("a", *ramp, 0);
    printRow("b", *step, 0);
    printRow("a + b (promoted)", *addImgImg(ramp, step), 0);
    auto wrapped = image::Image::create2d(eImageBufferType::eUInt8, 640, 480);
    addImgImg(ramp, step, wrapped);
    printRow("a + b into uint8 (wraps)", *wrapped, 0);
    printRow("a - b (promoted)", *subtractImgImg(ramp, step), 0);
    printRow("a * b (promoted)", *multiplyImgImg(ramp, step), 0);
    printRow("a / b (float)", *divideImgImg(ramp, step), 0);
    printRow("|a - b|", *absImg(subtractImgImg(ramp, step)), 0);

    // A 3d int16 volume with negative values, processed plane by plane in parallel.
    auto volume = image::Image::create3d(eImageBufferType::eInt16, 256, 256, 16);
    for (std::uint64_t z = 0; z < 16; ++z)
        for (std::uint64_t y = 0; y < 256; ++y)
            for (std::uint64_t x = 0; x < 256; ++x)
                volume->setValue(static_cast<double>(x) * 128.0 - 32768.0 + static_cast<double>(z), x, y, z);
    const auto start = std::chrono::steady_clock::now();
    auto magnitude = absImg(volume);
    auto doubled = addImgImg(volume, volume);
    const double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    std::printf("\n3d volume, 256x256x16 int16 (plane 15, row 0)\n");
    printRow("v", *volume, 0, 15);
    printRow("|v| (promoted)", *magnitude, 0, 15);
    printRow("v + v (promoted)", *doubled, 0, 15);
    std::printf("\nabs and add of the volume took %.2f ms\n", ms);
    return 0;
}
