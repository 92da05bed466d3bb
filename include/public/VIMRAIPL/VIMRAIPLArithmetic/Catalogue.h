#pragma once

// The library's operations as data, for fronts that drive them by name (the
// Python module, the command-line tool, scripting bindings). Every level-1
// class registers its entry here when the library is loaded, described from
// its operation's declaration: a new operation appears in every front without
// code of its own there.
//
//   const auto* op = catalogue::findOperation("multiply-add");
//   auto p = op->prepare({image, 2.0, 0.5});        // created, initialised, arguments set
//   processor::executeSyncRun(p);
//   image::ImagePtr result = op->outputsOf(*p)[0];

#include <vimra/image/BufferType.h>
#include <vimra/image/BaseImage.h>
#include <vimra/processor/Attribute.h>
#include <vimra/processor/Processor.h>

#include <boost/shared_ptr.hpp>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vimra::imaproc::arithm::catalogue {

/// What an argument takes.
enum class eArgumentKind {
    eImage,       ///< an input image
    eNumber,      ///< a scalar (double or float attribute)
    eRange,       ///< a processor::Range (Min, Max)
    eBufferType,  ///< an image buffer type
    eText,        ///< text (a formula, a policy name)
    eOther,       ///< a value a front cannot give; only its default applies
};

/// The value of one argument. std::monostate leaves an optional argument unset.
using ArgumentValue = std::variant<std::monostate, image::ConstImagePtr, double, processor::Range,
                                   image::eImageBufferType::domain, std::string>;

struct ArgumentInfo {
    std::string attribute;      ///< the attribute's name: "InFactor"
    std::string name;           ///< snake case, without In/Out/Opt: "factor", "img1", "blend_multiplier"
    eArgumentKind kind = eArgumentKind::eOther;
    bool optional = false;
    double defaultValue = 0.0;  ///< what an unset optional number reads as
};

namespace detail {
struct Binding;
struct OutputBinding;
}  // namespace detail

struct OutputInfo {
    std::string attribute;  ///< "OutImg", "OutRhoImg"
    std::string name;       ///< "img", "rho_img"
    std::string typeRule;   ///< one line: how a created output's buffer type is chosen ("" when not known)

    /// The buffer type a created output gets for these input buffer types (one per
    /// image argument, in argument order; unset optional images may be left out at
    /// the end), or nothing where the type does not follow from the inputs' types.
    std::optional<image::eImageBufferType::domain> resultType(
        const std::vector<image::eImageBufferType::domain>& inputTypes) const;

    std::shared_ptr<const detail::OutputBinding> binding;
};

struct OperationInfo {
    std::string entryName;           ///< the entry function: "multiplyAddScalarImg"
    std::vector<std::string> words;  ///< the front name's words: {"multiply", "add"}
    std::string className;           ///< the level-1 class: "vimra::imaproc::arithm::MultiplyAddScalarImgLvl1"
    std::string toolTip;             ///< the level-1 class's tool tip
    std::vector<ArgumentInfo> arguments;  ///< in entry-function order
    std::vector<OutputInfo> outputs;

    std::string snakeName() const;  ///< "multiply_add"
    std::string kebabName() const;  ///< "multiply-add"

    /// A new level-1 processor, initialised with rules on, with `args` set in
    /// argument order (fewer than all leaves the rest unset) and, when given,
    /// every output (then values the operation takes from its outputs are derived).
    /// Throws processor::VIMRABaseProcessingException naming the argument when a
    /// value is missing, null or of the wrong kind.
    boost::shared_ptr<processor::BaseAsyncProcessor> prepare(
        const std::vector<ArgumentValue>& args, const std::vector<image::ImagePtr>& outputs = {}) const;

    /// The output images of a processor made by prepare(), in output order.
    std::vector<image::ImagePtr> outputsOf(const processor::BaseProcessor& processor) const;

    std::shared_ptr<const detail::Binding> binding;
};

/// Every registered operation, ordered by front name.
const std::vector<OperationInfo>& operations();

/// The operation with this entry name ("addScalarImg"), snake name ("add_scalar")
/// or kebab name ("add-scalar"); null when there is none.
const OperationInfo* findOperation(std::string_view name);

/// Adds an operation; called by the level-1 classes' registration.
void registerOperation(OperationInfo info);

/// Words of a camel-case identifier, lower case: "L2Norm2Img" -> {"l2", "norm2", "img"}.
std::vector<std::string> splitWords(std::string_view camelCase);

}  // namespace vimra::imaproc::arithm::catalogue
