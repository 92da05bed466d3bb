#pragma once

#include <vimra/image/BufferType.h>

namespace vimra::processor {

/// Unary promotion rules: the output buffer type of a one-image operation.
///   0 absolute value: signed integers become the unsigned type of the same width
///     (every magnitude fits), the rest keep their type.
///   1 identity.
///   2 affine operation: input type kept (results saturate).
///   3 square and L1 norms: integers double their width as unsigned (8 -> uint16,
///     16 -> uint32); 32-bit integers and float give float.
///   4 scalar operations: input type kept (results saturate).
struct ePromoteUnaryType {
    enum domain { eAbs = 0, eIdentity = 1, eAffine = 2, eSquare = 3, eScalar = 4 };
    static constexpr int s_count = 5;
};

/// Binary promotion rules: the output buffer type of a two-image operation,
/// chosen so that it holds the exact result for every pair of inputs where a
/// type of this kit can (32-bit integer sums and products need float).
///   0 minimum: the smallest type holding [min(lo1, lo2), min(hi1, hi2)].
///   1 maximum: the smallest type holding [max(lo1, lo2), max(hi1, hi2)].
///   2 maximum of absolute values: the smallest type holding [0, max |value|].
///   3 addition, multiplication, blending: twice the wider input's width, signed if
///     either input is signed; float when that width would be 64 bits or an input is float.
///   4 subtraction, linear combination: as 3 but always signed.
///   5 division: float.
struct ePromoteBinaryType {
    enum domain { eMin = 0, eMax = 1, eMaxAbs = 2, eAddition = 3, eSubtraction = 4, eDivision = 5 };
    static constexpr int s_count = 6;
};

/// The plain output buffer type (1..7) of a rule; buffer types 8..11 promote like
/// the plain type of their element.
image::eImageBufferType::domain promoteUnary(ePromoteUnaryType::domain rule, image::eImageBufferType::domain in);
image::eImageBufferType::domain promoteBinary(ePromoteBinaryType::domain rule, image::eImageBufferType::domain in1,
                                              image::eImageBufferType::domain in2);

/// Names used in documentation ("abs", "addition", ...).
const char* promoteUnaryName(ePromoteUnaryType::domain rule);
const char* promoteBinaryName(ePromoteBinaryType::domain rule);

}  // namespace vimra::processor
