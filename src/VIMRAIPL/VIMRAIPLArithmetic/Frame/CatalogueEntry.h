#pragma once

// How a level-1 class becomes a catalogue entry: everything read off its
// operation's declaration (arguments in entry-function order, value defaults,
// outputs and their initialisers), with typed setters and getters so that a
// front can drive the class without knowing it.

#include <VIMRAIPL/VIMRAIPLArithmetic/Catalogue.h>
#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/EntryFunctions.h>

#include <vimra/image/Border.h>

#include <functional>
#include <limits>
#include <type_traits>

namespace vimra::imaproc::arithm::catalogue {
namespace detail {

using NameOf = std::function<std::string(std::string_view attribute)>;
using TypeLookup = std::function<std::optional<image::eImageBufferType::domain>(std::string_view attribute)>;

struct Binding {
    boost::shared_ptr<processor::BaseAsyncProcessor> (*create)() = nullptr;
    std::string (*toolTip)() = nullptr;
    void (*deriveValues)(processor::BaseProcessor&) = nullptr;
    std::vector<void (*)(processor::BaseProcessor&, const ArgumentValue&)> setArgument;
    std::vector<void (*)(processor::BaseProcessor&, const image::ImagePtr&)> setOutput;
    std::vector<image::ImagePtr (*)(const processor::BaseProcessor&)> getOutput;
};

struct OutputBinding {
    std::optional<image::eImageBufferType::domain> (*resultType)(const TypeLookup&) = nullptr;
    std::vector<std::string> imageAttributes;  // the operation's image arguments, in order
};

/// "InOptBlendMultiplier" -> "blend_multiplier", "OutRhoImg" -> "rho_img".
std::string argumentName(std::string_view attribute);
/// Front words of an operation name: "MultiplyAddScalarImg" -> {"multiply", "add", "scalar"}.
std::vector<std::string> operationWords(std::string_view name);
std::string lowerFirst(std::string_view name);

/// A border policy by name: "constant" (or "constant:VALUE"), "nearest", "mirror",
/// "mirror-edge", "periodic". Throws naming the accepted names.
image::BorderPolicy borderPolicyFromText(const char* attribute, std::string_view text);

[[noreturn]] void throwArgumentKind(const char* attribute, eArgumentKind wanted);
[[noreturn]] void throwArgumentRange(const char* attribute, double value);
[[noreturn]] void throwArgumentMissing(const char* attribute);

template <class A>
constexpr eArgumentKind kindOf() {
    using V = typename A::value_type;
    if constexpr (std::is_same_v<V, image::ConstImagePtr>) return eArgumentKind::eImage;
    else if constexpr (std::is_same_v<V, processor::Range>) return eArgumentKind::eRange;
    else if constexpr (std::is_same_v<V, image::eImageBufferType::domain>) return eArgumentKind::eBufferType;
    else if constexpr (std::is_same_v<V, image::BorderPolicy>) return eArgumentKind::eText;
    else if constexpr (std::is_arithmetic_v<V>) return eArgumentKind::eNumber;
    else if constexpr (std::is_constructible_v<V, std::string>) return eArgumentKind::eText;
    else return eArgumentKind::eOther;
}

/// A number converted to the attribute's own type, refusing what it cannot hold
/// (a float attribute takes any double up to float's largest finite value, and
/// infinities and NaN as they are).
template <class V>
V numberAs(const char* attribute, double d) {
    if constexpr (std::is_floating_point_v<V>) {
        if (std::isfinite(d) && std::fabs(d) > static_cast<double>(std::numeric_limits<V>::max()))
            throwArgumentRange(attribute, d);
        return static_cast<V>(d);
    } else {
        if (!(d >= static_cast<double>(std::numeric_limits<V>::lowest()) &&
              d <= static_cast<double>(std::numeric_limits<V>::max())) ||
            d != std::trunc(d))
            throwArgumentRange(attribute, d);
        return static_cast<V>(d);
    }
}

template <class A>
void setArgument(processor::BaseProcessor& p, const ArgumentValue& value) {
    using V = typename A::value_type;
    constexpr eArgumentKind kind = kindOf<A>();
    if (std::holds_alternative<std::monostate>(value)) {
        if (A{}.isMandatory()) throwArgumentMissing(A::s_name);
        return;
    }
    if constexpr (kind == eArgumentKind::eImage) {
        const auto* image = std::get_if<image::ConstImagePtr>(&value);
        if (!image) throwArgumentKind(A::s_name, kind);
        if (!*image) {
            if (A{}.isMandatory()) throwArgumentMissing(A::s_name);
            return;
        }
        p.set<A>(*image);
    } else if constexpr (kind == eArgumentKind::eNumber) {
        const auto* d = std::get_if<double>(&value);
        if (!d) throwArgumentKind(A::s_name, kind);
        p.set<A>(numberAs<V>(A::s_name, *d));
    } else if constexpr (kind == eArgumentKind::eRange) {
        const auto* r = std::get_if<processor::Range>(&value);
        if (!r) throwArgumentKind(A::s_name, kind);
        p.set<A>(*r);
    } else if constexpr (kind == eArgumentKind::eBufferType) {
        const auto* t = std::get_if<image::eImageBufferType::domain>(&value);
        if (!t || !image::isValidBufferType(*t)) throwArgumentKind(A::s_name, kind);
        p.set<A>(*t);
    } else if constexpr (kind == eArgumentKind::eText) {
        const auto* s = std::get_if<std::string>(&value);
        if (!s) throwArgumentKind(A::s_name, kind);
        if constexpr (std::is_same_v<V, image::BorderPolicy>) {
            p.set<A>(borderPolicyFromText(A::s_name, *s));
        } else {
            p.set<A>(V(*s));
        }
    } else {
        throwArgumentKind(A::s_name, kind);
    }
}

/// The declared default of a value (0 for values declared without one).
template <class C>
constexpr double declaredDefault() {
    if constexpr (requires { C::s_default; }) {
        return C::s_default;
    } else {
        return 0.0;
    }
}
template <class A, class... C>
double defaultOf(TypeList<C...>) {
    double d = 0.0;
    ((std::is_same_v<typename C::Lvl1, A> ? (d = declaredDefault<C>(), 0) : 0), ...);
    return d;
}

template <class Init>
std::string typeRuleOf(const NameOf& nameOf) {
    if constexpr (requires { Init::describe(nameOf); }) {
        return Init::describe(nameOf);
    } else {
        return {};
    }
}
template <class Init>
auto resultTypeOf() -> std::optional<image::eImageBufferType::domain> (*)(const TypeLookup&) {
    if constexpr (requires(const TypeLookup& lookup) { Init::resultType(lookup); }) {
        return [](const TypeLookup& lookup) { return Init::resultType(lookup); };
    } else {
        return nullptr;
    }
}

template <class Lvl1, class... A>
void describeArguments(OperationInfo& info, Binding& binding, TypeList<A...>) {
    using Values = typename OperationTraits<typename Lvl1::Operation>::Values;
    (info.arguments.push_back(ArgumentInfo{A::s_name, argumentName(A::s_name), kindOf<A>(), !A{}.isMandatory(),
                                           defaultOf<A>(Values{})}),
     ...);
    (binding.setArgument.push_back(&setArgument<A>), ...);
}

template <class Lvl1, class... C>
void describeOutputs(OperationInfo& info, Binding& binding, TypeList<C...>) {
    std::vector<std::string> images;
    for (const ArgumentInfo& a : info.arguments)
        if (a.kind == eArgumentKind::eImage) images.push_back(a.attribute);
    const NameOf nameOf = [](std::string_view attribute) { return argumentName(attribute); };
    auto output = [&](const char* attribute, std::string typeRule, auto resultType) {
        auto out = std::make_shared<OutputBinding>();
        out->resultType = resultType;
        out->imageAttributes = images;
        info.outputs.push_back(OutputInfo{attribute, argumentName(attribute), std::move(typeRule), std::move(out)});
    };
    (output(C::Lvl1::s_name, typeRuleOf<typename C::Initializer>(nameOf), resultTypeOf<typename C::Initializer>()),
     ...);
    (binding.setOutput.push_back(
         [](processor::BaseProcessor& p, const image::ImagePtr& image) { p.set<typename C::Lvl1>(image); }),
     ...);
    (binding.getOutput.push_back(
         [](const processor::BaseProcessor& p) { return p.getStorage<typename C::Lvl1>(); }),
     ...);
}

/// The catalogue entry of a level-1 class.
template <class Lvl1>
OperationInfo describe() {
    using Op = typename Lvl1::Operation;
    OperationInfo info;
    auto binding = std::make_shared<Binding>();
    info.entryName = lowerFirst(Op::s_name);
    info.words = operationWords(Op::s_name);
    info.className = Lvl1::getTypeName();
    binding->create = [] {
        auto p = boost::make_shared<Lvl1>();
        p->init(processor::eRulePolicy::eRulesOn);
        return boost::shared_ptr<processor::BaseAsyncProcessor>(p);
    };
    binding->toolTip = [] { return Lvl1::getToolTipStr(); };
    if constexpr (requires(Lvl1& p) { Op::deriveValues(p); })
        binding->deriveValues = [](processor::BaseProcessor& p) { Op::deriveValues(static_cast<Lvl1&>(p)); };
    describeArguments<Lvl1>(info, *binding, entry::detail::ArgumentAttrs<Lvl1>{});
    describeOutputs<Lvl1>(info, *binding, typename OperationTraits<Op>::Outputs{});
    info.binding = std::move(binding);
    return info;
}

}  // namespace detail
}  // namespace vimra::imaproc::arithm::catalogue
