// Output types chosen by the promotion rules, against the documented tables,
// and through the operations that use them.

#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AbsImg/AbsImgLvl1.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Processor/AddImgImg/AddImgImgLvl1.h>

#include <vimra/processor/Promotion.h>

#include <gtest/gtest.h>

#include <map>
#include <sstream>

using namespace vimra;
using image::eImageBufferType;
using processor::ePromoteBinaryType;
using processor::ePromoteUnaryType;

namespace {

// Types in table order: int8 uint8 int16 uint16 int32 uint32 float.
const eImageBufferType::domain s_types[] = {eImageBufferType::eInt8,  eImageBufferType::eUInt8,
                                            eImageBufferType::eInt16, eImageBufferType::eUInt16,
                                            eImageBufferType::eInt32, eImageBufferType::eUInt32,
                                            eImageBufferType::eFloat};

eImageBufferType::domain parse(const std::string& s) {
    static const std::map<std::string, eImageBufferType::domain> names = {
        {"i8", eImageBufferType::eInt8},   {"u8", eImageBufferType::eUInt8},   {"i16", eImageBufferType::eInt16},
        {"u16", eImageBufferType::eUInt16}, {"i32", eImageBufferType::eInt32}, {"u32", eImageBufferType::eUInt32},
        {"f", eImageBufferType::eFloat}};
    return names.at(s);
}

/// A 7x7 table written row by row (first input) as whitespace-separated names.
void expectBinaryTable(ePromoteBinaryType::domain rule, const std::string& table) {
    std::istringstream in(table);
    for (auto a : s_types)
        for (auto b : s_types) {
            std::string name;
            in >> name;
            EXPECT_EQ(processor::promoteBinary(rule, a, b), parse(name))
                << processor::promoteBinaryName(rule) << " of " << image::bufferTypeName(a) << " and "
                << image::bufferTypeName(b);
        }
}

void expectUnaryRow(ePromoteUnaryType::domain rule, const std::string& row) {
    std::istringstream in(row);
    for (auto a : s_types) {
        std::string name;
        in >> name;
        EXPECT_EQ(processor::promoteUnary(rule, a), parse(name))
            << processor::promoteUnaryName(rule) << " of " << image::bufferTypeName(a);
    }
}

}  // namespace

TEST(Promotion, UnaryTables) {
    expectUnaryRow(ePromoteUnaryType::eAbs, "u8 u8 u16 u16 u32 u32 f");
    expectUnaryRow(ePromoteUnaryType::eIdentity, "i8 u8 i16 u16 i32 u32 f");
    expectUnaryRow(ePromoteUnaryType::eAffine, "i8 u8 i16 u16 i32 u32 f");
    expectUnaryRow(ePromoteUnaryType::eSquare, "u16 u16 u32 u32 f f f");
    expectUnaryRow(ePromoteUnaryType::eScalar, "i8 u8 i16 u16 i32 u32 f");
}

TEST(Promotion, BinaryTables) {
    expectBinaryTable(ePromoteBinaryType::eMin,
                      "i8  i8  i16 i8  i32 i8  f "
                      "i8  u8  i16 u8  i32 u8  f "
                      "i16 i16 i16 i16 i32 i16 f "
                      "i8  u8  i16 u16 i32 u16 f "
                      "i32 i32 i32 i32 i32 i32 f "
                      "i8  u8  i16 u16 i32 u32 f "
                      "f   f   f   f   f   f   f");
    expectBinaryTable(ePromoteBinaryType::eMax,
                      "i8  u8  i16 u16 i32 u32 f "
                      "u8  u8  u16 u16 u32 u32 f "
                      "i16 u16 i16 u16 i32 u32 f "
                      "u16 u16 u16 u16 u32 u32 f "
                      "i32 u32 i32 u32 i32 u32 f "
                      "u32 u32 u32 u32 u32 u32 f "
                      "f   f   f   f   f   f   f");
    expectBinaryTable(ePromoteBinaryType::eMaxAbs,
                      "u8  u8  u16 u16 u32 u32 f "
                      "u8  u8  u16 u16 u32 u32 f "
                      "u16 u16 u16 u16 u32 u32 f "
                      "u16 u16 u16 u16 u32 u32 f "
                      "u32 u32 u32 u32 u32 u32 f "
                      "u32 u32 u32 u32 u32 u32 f "
                      "f   f   f   f   f   f   f");
    expectBinaryTable(ePromoteBinaryType::eAddition,
                      "i16 i16 i32 i32 f f f "
                      "i16 u16 i32 u32 f f f "
                      "i32 i32 i32 i32 f f f "
                      "i32 u32 i32 u32 f f f "
                      "f   f   f   f   f f f "
                      "f   f   f   f   f f f "
                      "f   f   f   f   f f f");
    expectBinaryTable(ePromoteBinaryType::eSubtraction,
                      "i16 i16 i32 i32 f f f "
                      "i16 i16 i32 i32 f f f "
                      "i32 i32 i32 i32 f f f "
                      "i32 i32 i32 i32 f f f "
                      "f   f   f   f   f f f "
                      "f   f   f   f   f f f "
                      "f   f   f   f   f f f");
    for (auto a : s_types)
        for (auto b : s_types) EXPECT_EQ(processor::promoteBinary(ePromoteBinaryType::eDivision, a, b), eImageBufferType::eFloat);
}

TEST(Promotion, FurtherBufferTypesPromoteLikeTheirElement) {
    EXPECT_EQ(processor::promoteBinary(ePromoteBinaryType::eAddition, eImageBufferType::eBinary,
                                       eImageBufferType::eLabel16),
              eImageBufferType::eUInt32);
    EXPECT_EQ(processor::promoteUnary(ePromoteUnaryType::eAbs, eImageBufferType::eLabel32), eImageBufferType::eUInt32);
}

TEST(Promotion, OperationsCreateOutputsOfThePromotedType) {
    for (auto a : s_types)
        for (auto b : s_types) {
            auto ia = image::Image::create2d(a, 3, 2);
            auto ib = image::Image::create2d(b, 3, 2);
            EXPECT_EQ(imaproc::arithm::addImgImg(ia, ib)->getBufferType(),
                      processor::promoteBinary(ePromoteBinaryType::eAddition, a, b));
        }
    for (auto a : s_types)
        EXPECT_EQ(imaproc::arithm::absImg(image::Image::create2d(a, 2, 2))->getBufferType(),
                  processor::promoteUnary(ePromoteUnaryType::eAbs, a));
}
