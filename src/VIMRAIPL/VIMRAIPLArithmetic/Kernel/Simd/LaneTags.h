#pragma once

// Lane kinds that the instruction-set layers overload their primitives on. These
// are empty types: they carry no code, so one definition serves every set.
//
// A kind derives from its width's kind, so a primitive whose result does not
// depend on signedness (wrap-around add, for instance) is written once for the
// width and still accepts the signed and unsigned kinds.

namespace vimra::simd {

struct Int8 {};
struct S8 : Int8 {};
struct U8 : Int8 {};
struct Int16 {};
struct S16 : Int16 {};
struct U16 : Int16 {};
struct Int32 {};
struct S32 : Int32 {};
struct U32 : Int32 {};
struct F32 {};

template <class T>
struct LaneTagOf;
template <>
struct LaneTagOf<signed char> {
    using type = S8;
};
template <>
struct LaneTagOf<unsigned char> {
    using type = U8;
};
template <>
struct LaneTagOf<short> {
    using type = S16;
};
template <>
struct LaneTagOf<unsigned short> {
    using type = U16;
};
template <>
struct LaneTagOf<int> {
    using type = S32;
};
template <>
struct LaneTagOf<unsigned int> {
    using type = U32;
};
template <>
struct LaneTagOf<float> {
    using type = F32;
};

/// The lane kind of element type T.
template <class T>
using LaneTag = typename LaneTagOf<T>::type;

}  // namespace vimra::simd
