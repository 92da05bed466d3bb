#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace vimra::image {

/// Pixel buffer types. 1..7 are the plain element types; 8..11 are further types
/// (binary and label images) stored with an unsigned element.
struct eImageBufferType {
    enum domain : std::uint8_t {
        eInt8 = 1,
        eUInt8 = 2,
        eInt16 = 3,
        eUInt16 = 4,
        eInt32 = 5,
        eUInt32 = 6,
        eFloat = 7,
        eBinary = 8,    ///< stored as unsigned char
        eLabel16 = 9,   ///< stored as unsigned short
        eLabel32 = 10,  ///< stored as unsigned int
        eLabel8 = 11,   ///< stored as unsigned char
    };
    static constexpr int s_first = 1;
    static constexpr int s_last = 11;
    static constexpr int s_count = 11;
};

/// True for the eleven defined values.
constexpr bool isValidBufferType(int value) {
    return value >= eImageBufferType::s_first && value <= eImageBufferType::s_last;
}

/// Index 0..6 of the element type that stores a buffer type, in the order
/// int8, uint8, int16, uint16, int32, uint32, float.
constexpr int elementIndex(eImageBufferType::domain type) {
    switch (type) {
        case eImageBufferType::eBinary:
        case eImageBufferType::eLabel8:
            return 1;
        case eImageBufferType::eLabel16:
            return 3;
        case eImageBufferType::eLabel32:
            return 5;
        default:
            return static_cast<int>(type) - 1;
    }
}

/// The plain buffer type (1..7) stored with the same element as `type`.
constexpr eImageBufferType::domain elementBufferType(eImageBufferType::domain type) {
    return static_cast<eImageBufferType::domain>(elementIndex(type) + 1);
}

/// Size in bytes of one element of the buffer type; 0 for an invalid value.
std::size_t getImageBufferBaseSize(eImageBufferType::domain type);

/// Short name ("uint8", "float", "label16", ...).
const char* bufferTypeName(eImageBufferType::domain type);

/// Element type <-> buffer type, compile time.
template <class T>
struct BufferTypeOf;
template <>
struct BufferTypeOf<signed char> {
    static constexpr auto value = eImageBufferType::eInt8;
};
template <>
struct BufferTypeOf<unsigned char> {
    static constexpr auto value = eImageBufferType::eUInt8;
};
template <>
struct BufferTypeOf<short> {
    static constexpr auto value = eImageBufferType::eInt16;
};
template <>
struct BufferTypeOf<unsigned short> {
    static constexpr auto value = eImageBufferType::eUInt16;
};
template <>
struct BufferTypeOf<int> {
    static constexpr auto value = eImageBufferType::eInt32;
};
template <>
struct BufferTypeOf<unsigned int> {
    static constexpr auto value = eImageBufferType::eUInt32;
};
template <>
struct BufferTypeOf<float> {
    static constexpr auto value = eImageBufferType::eFloat;
};

template <int ElementIndex>
struct ElementTypeAt;
template <>
struct ElementTypeAt<0> {
    using type = signed char;
};
template <>
struct ElementTypeAt<1> {
    using type = unsigned char;
};
template <>
struct ElementTypeAt<2> {
    using type = short;
};
template <>
struct ElementTypeAt<3> {
    using type = unsigned short;
};
template <>
struct ElementTypeAt<4> {
    using type = int;
};
template <>
struct ElementTypeAt<5> {
    using type = unsigned int;
};
template <>
struct ElementTypeAt<6> {
    using type = float;
};

inline constexpr int s_elementTypeCount = 7;

/// Calls f.template operator()<T>() with the element type stored by `type`.
template <class F>
decltype(auto) visitElementType(eImageBufferType::domain type, F&& f) {
    switch (elementIndex(type)) {
        case 0:
            return f.template operator()<signed char>();
        case 1:
            return f.template operator()<unsigned char>();
        case 2:
            return f.template operator()<short>();
        case 3:
            return f.template operator()<unsigned short>();
        case 4:
            return f.template operator()<int>();
        case 5:
            return f.template operator()<unsigned int>();
        default:
            return f.template operator()<float>();
    }
}

/// Representable range of each element type; `s_sqrt_eps` for float is the
/// square root of the float epsilon.
template <class T>
struct NumericLimits {
    static constexpr T s_min = std::numeric_limits<T>::lowest();
    static constexpr T s_max = std::numeric_limits<T>::max();
};
template <>
struct NumericLimits<float> {
    static constexpr float s_min = std::numeric_limits<float>::lowest();
    static constexpr float s_max = std::numeric_limits<float>::max();
    static constexpr float s_sqrt_eps = 3.4526698e-04f;  // sqrt(2^-23)
};

/// Converts a double to the element type T the way images store values: integers
/// are clamped to T's range and truncated toward zero, NaN becomes 0; floats are
/// clamped to +-max (infinities and NaN are kept). Never undefined behaviour.
template <class T>
T convertClamped(double v) {
    if constexpr (std::is_floating_point_v<T>) {
        if (v < static_cast<double>(std::numeric_limits<T>::lowest()) &&
            v > -std::numeric_limits<double>::infinity())
            return std::numeric_limits<T>::lowest();
        if (v > static_cast<double>(std::numeric_limits<T>::max()) &&
            v < std::numeric_limits<double>::infinity())
            return std::numeric_limits<T>::max();
        return static_cast<T>(v);
    } else {
        if (v != v) return T{0};
        if (v <= static_cast<double>(std::numeric_limits<T>::lowest()))
            return std::numeric_limits<T>::lowest();
        if (v >= static_cast<double>(std::numeric_limits<T>::max()))
            return std::numeric_limits<T>::max();
        return static_cast<T>(v);
    }
}

}  // namespace vimra::image
