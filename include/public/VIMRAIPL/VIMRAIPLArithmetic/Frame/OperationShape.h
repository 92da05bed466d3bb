#pragma once

// The vocabulary of an operation's declaration: how each image and value looks
// at each level, how outputs are created, which rules hold. An operation is one
// struct (see Frame/PixelwiseLevels.h for its members); the level classes derive
// attribute creation, splits, kernel arguments and entry functions from it.

#include <vimra/processor/Attribute.h>
#include <vimra/processor/Promotion.h>
#include <vimra/processor/Dispatcher.h>
#include <vimra/processor/OutputInitializer.h>
#include <vimra/processor/Rule.h>

#include <optional>
#include <string>

namespace vimra::imaproc::arithm {

template <class... T>
struct TypeList {
    static constexpr int size = sizeof...(T);
};

/// One input image through the levels: level-1 image, level-2 sub-image, level-3 strip.
template <class Lvl1Attr, class Lvl2Attr, class Lvl3Attr>
struct ImageChain {
    using Lvl1 = Lvl1Attr;
    using Lvl2 = Lvl2Attr;
    using Lvl3 = Lvl3Attr;
};

/// One output image through the levels, with the initialiser that creates it
/// when the caller gives none.
template <class Lvl1Attr, class Lvl2Attr, class Lvl3Attr, class InitializerT>
struct OutputChain : ImageChain<Lvl1Attr, Lvl2Attr, Lvl3Attr> {
    using Initializer = InitializerT;
};

/// A value handed unchanged to every level. Kernels read it once per strip;
/// an unset optional value reads as `Default`.
template <class Attr, double Default = 0.0>
struct ValueChain {
    using Lvl1 = Attr;
    using Lvl2 = Attr;
    using Lvl3 = Attr;
    static constexpr double s_default = Default;
};

// ---- output initialisers, chosen by the operation ------------------------------------------
// Each also says, for the operation catalogue, how it chooses the type
// (`describe`, given how fronts name attributes) and which type it creates
// for given input types (`resultType`, given a lookup by attribute name).

template <processor::ePromoteBinaryType::domain Rule, bool LargerGeometry = false, class Out = attr::OutImg,
          class In1 = attr::InImg1, class In2 = attr::InImg2>
struct PromoteBinaryOutput {
    template <class Level>
    static processor::OutputInitializerPtr make(const Level& level) {
        return processor::promoteBinary(level.template attribute<Out>(), level.template attribute<In1>(),
                                        level.template attribute<In2>(), Rule, LargerGeometry);
    }
    template <class NameOf>
    static std::string describe(const NameOf& nameOf) {
        return std::string("promoted from ") + nameOf(In1::s_name) + " and " + nameOf(In2::s_name) + " (" +
               processor::promoteBinaryName(Rule) + " table)";
    }
    template <class Lookup>
    static std::optional<image::eImageBufferType::domain> resultType(const Lookup& typeOf) {
        const auto a = typeOf(In1::s_name), b = typeOf(In2::s_name);
        if (!a || !b) return std::nullopt;
        return processor::promoteBinary(Rule, *a, *b);
    }
};

template <processor::ePromoteUnaryType::domain Rule, class Input = attr::InImg, class Out = attr::OutImg>
struct PromoteUnaryOutput {
    template <class Level>
    static processor::OutputInitializerPtr make(const Level& level) {
        return processor::promoteUnary(level.template attribute<Out>(), level.template attribute<Input>(), Rule);
    }
    template <class NameOf>
    static std::string describe(const NameOf& nameOf) {
        return std::string("promoted from ") + nameOf(Input::s_name) + " (" + processor::promoteUnaryName(Rule) +
               " table)";
    }
    template <class Lookup>
    static std::optional<image::eImageBufferType::domain> resultType(const Lookup& typeOf) {
        const auto a = typeOf(Input::s_name);
        if (!a) return std::nullopt;
        return processor::promoteUnary(Rule, *a);
    }
};

/// A copy of the input's description.
template <class Input, class Out = attr::OutImg>
struct DuplicateOutput {
    template <class Level>
    static processor::OutputInitializerPtr make(const Level& level) {
        return processor::duplicateInOut(level.template attribute<Out>(), level.template attribute<Input>(),
                                         processor::eImageInitializerStoragePolicy::eHostMemory);
    }
    template <class NameOf>
    static std::string describe(const NameOf& nameOf) {
        return "the type of " + nameOf(Input::s_name);
    }
    template <class Lookup>
    static std::optional<image::eImageBufferType::domain> resultType(const Lookup& typeOf) {
        return typeOf(Input::s_name);
    }
};

/// The input's geometry with a fixed buffer type.
template <class Input, image::eImageBufferType::domain Type, class Out = attr::OutImg>
struct FixedTypeOutput {
    template <class Level>
    static processor::OutputInitializerPtr make(const Level& level) {
        return processor::duplicateInOut(level.template attribute<Out>(), level.template attribute<Input>(), Type,
                                         processor::eImageInitializerDistributionPolicy::eSingleBuffer);
    }
    template <class NameOf>
    static std::string describe(const NameOf&) {
        return image::bufferTypeName(Type);
    }
    template <class Lookup>
    static std::optional<image::eImageBufferType::domain> resultType(const Lookup&) {
        return Type;
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

/// Same size everywhere, and the inputs share one buffer type.
struct SizeAndInputTypeRule {
    template <class Level>
    static processor::RulePtr make(const Level& level) {
        return processor::andRule(level.sizeRuleOverImages(), level.typeRuleOverInputs());
    }
};

/// No rule.
struct NoRule {
    template <class Level>
    static processor::RulePtr make(const Level&) {
        return {};
    }
};

// ---- the chains most operations use -------------------------------------------------------

namespace shape {

using In1 = ImageChain<attr::InImg1, attr::InSubImg2d1, attr::InYStrip2d1>;
using In2 = ImageChain<attr::InImg2, attr::InSubImg2d2, attr::InYStrip2d2>;
using In3 = ImageChain<attr::InImg3, attr::InSubImg2d3, attr::InYStrip2d3>;
using In = ImageChain<attr::InImg, attr::InSubImg2d, attr::InYStrip2d>;
template <class Initializer>
using Out = OutputChain<attr::OutImg, attr::OutImg, attr::OutYStrip2d, Initializer>;

}  // namespace shape

}  // namespace vimra::imaproc::arithm
