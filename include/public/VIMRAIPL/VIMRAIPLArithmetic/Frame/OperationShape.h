#pragma once

// How an operation's attributes look at each level. An operation picks a shape
// (or writes its own from these pieces) and states nothing else about its
// attributes: the level classes derive attribute creation, splits and kernel
// arguments from it.

#include <vimra/processor/Attribute.h>
#include <vimra/processor/OutputInitializer.h>
#include <vimra/processor/Rule.h>

namespace vimra::imaproc::arithm {

template <class... T>
struct TypeList {
    static constexpr int size = sizeof...(T);
};

/// One image through the levels: level-1 image, level-2 sub-image, level-3 strip.
template <class Lvl1Attr, class Lvl2Attr, class Lvl3Attr>
struct ImageChain {
    using Lvl1 = Lvl1Attr;
    using Lvl2 = Lvl2Attr;
    using Lvl3 = Lvl3Attr;
};

/// A value handed unchanged to every level.
template <class Attr>
struct ValueChain {
    using Lvl1 = Attr;
    using Lvl2 = Attr;
    using Lvl3 = Attr;
};

namespace shape {

using In1 = ImageChain<attr::InImg1, attr::InSubImg2d1, attr::InYStrip2d1>;
using In2 = ImageChain<attr::InImg2, attr::InSubImg2d2, attr::InYStrip2d2>;
using In = ImageChain<attr::InImg, attr::InSubImg2d, attr::InYStrip2d>;
using Out = ImageChain<attr::OutImg, attr::OutImg, attr::OutYStrip2d>;

/// Two input images of equal size, one output.
struct ImgImg {
    using Inputs = TypeList<In1, In2>;
    using Values = TypeList<>;
    using Outputs = TypeList<Out>;
};

/// One input image, one output.
struct Img {
    using Inputs = TypeList<In>;
    using Values = TypeList<>;
    using Outputs = TypeList<Out>;
};

}  // namespace shape

// ---- output initialisers, chosen by the operation ------------------------------------------

template <processor::ePromoteBinaryType::domain Rule, bool LargerGeometry = false>
struct PromoteBinaryOutput {
    template <class Level>
    static processor::OutputInitializerPtr make(const Level& level) {
        return processor::promoteBinary(level.template attribute<attr::OutImg>(),
                                        level.template attribute<attr::InImg1>(),
                                        level.template attribute<attr::InImg2>(), Rule, LargerGeometry);
    }
};

template <processor::ePromoteUnaryType::domain Rule, class Input = attr::InImg>
struct PromoteUnaryOutput {
    template <class Level>
    static processor::OutputInitializerPtr make(const Level& level) {
        return processor::promoteUnary(level.template attribute<attr::OutImg>(), level.template attribute<Input>(),
                                       Rule);
    }
};

// ---- rules ----------------------------------------------------------------------------------

/// All images of the operation (inputs and outputs) have the same size.
struct SizeRule {
    template <class Level>
    static processor::RulePtr make(const Level& level) {
        return level.sizeRuleOverImages();
    }
};

}  // namespace vimra::imaproc::arithm
