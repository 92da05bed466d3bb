#include <vimra/image/BufferType.h>

namespace vimra::image {

std::size_t getImageBufferBaseSize(eImageBufferType::domain type) {
    if (!isValidBufferType(type)) return 0;
    static constexpr std::size_t sizes[s_elementTypeCount] = {1, 1, 2, 2, 4, 4, 4};
    return sizes[elementIndex(type)];
}

const char* bufferTypeName(eImageBufferType::domain type) {
    static constexpr const char* names[] = {"invalid", "int8",    "uint8",   "int16",
                                            "uint16",  "int32",   "uint32",  "float",
                                            "binary",  "label16", "label32", "label8"};
    return isValidBufferType(type) ? names[type] : names[0];
}

}  // namespace vimra::image
