// A program of someone who installed the library: it includes the installed
// headers only and checks one result it can compute by hand.
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl1.h>

#include <cstdio>

int main() {
    using namespace vimra;
    auto a = image::Image::create2d(image::eImageBufferType::eUInt8, 300, 200);
    auto b = image::Image::create2d(image::eImageBufferType::eUInt8, 300, 200);
    a->fill(200);
    b->fill(100);
    const auto sum = imaproc::arithm::addImgImg(a, b);
    const double v = sum->getValue(299, 199);
    std::printf("200 + 100 = %g (%s)\n", v, image::bufferTypeName(sum->getBufferType()));
    return v == 300.0 ? 0 : 1;
}
