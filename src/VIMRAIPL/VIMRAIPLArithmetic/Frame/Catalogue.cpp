#include "CatalogueEntry.h"

#include <vimra/processor/ProcessingException.h>

#include <algorithm>
#include <cstdlib>
#include <cctype>
#include <deque>
#include <mutex>

namespace vimra::imaproc::arithm::catalogue {

namespace {

const char* kindName(eArgumentKind kind) {
    switch (kind) {
        case eArgumentKind::eImage: return "an image";
        case eArgumentKind::eNumber: return "a number";
        case eArgumentKind::eRange: return "a range (min, max)";
        case eArgumentKind::eBufferType: return "a buffer type";
        case eArgumentKind::eText: return "text";
        case eArgumentKind::eOther: break;
    }
    return "a value no front can give";
}

[[noreturn]] void throwArgument(const std::string& message) {
    throw processor::VIMRABaseProcessingException(message, "vimra::imaproc::arithm::catalogue");
}

std::string joined(const std::vector<std::string>& words, char separator) {
    std::string s;
    for (const std::string& w : words) {
        if (!s.empty()) s += separator;
        s += w;
    }
    return s;
}

/// Registered entries, and the ordered lists handed out. A list handed out is
/// never freed or changed, so references to it stay valid when a library
/// loaded later registers more operations (a new list is built then).
struct Registry {
    std::mutex mutex;
    std::vector<OperationInfo> registered;
    std::deque<std::vector<OperationInfo>> published;
    bool dirty = true;

    static Registry& instance() {
        static Registry registry;
        return registry;
    }

    const std::vector<OperationInfo>& current() {
        std::lock_guard<std::mutex> lock(mutex);
        if (dirty || published.empty()) {
            published.push_back(build());
            dirty = false;
        }
        return published.back();
    }

private:
    std::vector<OperationInfo> build() const {
        std::vector<OperationInfo> ops = registered;
        // "scalar" is dropped from a front name where that leaves it unique:
        // multiplyAddScalarImg is multiply_add, but addScalarImg stays add_scalar
        // beside addImgImg.
        for (OperationInfo& op : ops) {
            auto scalar = std::find(op.words.begin(), op.words.end(), "scalar");
            if (scalar == op.words.end()) continue;
            std::vector<std::string> shorter = op.words;
            shorter.erase(shorter.begin() + (scalar - op.words.begin()));
            const bool taken = std::any_of(registered.begin(), registered.end(),
                                           [&](const OperationInfo& other) { return other.words == shorter; });
            if (!taken && !shorter.empty()) op.words = std::move(shorter);
        }
        for (OperationInfo& op : ops)
            if (op.binding && op.binding->toolTip) op.toolTip = op.binding->toolTip();
        std::sort(ops.begin(), ops.end(),
                  [](const OperationInfo& a, const OperationInfo& b) { return a.snakeName() < b.snakeName(); });
        return ops;
    }
};

}  // namespace

namespace detail {

std::vector<std::string> splitCamel(std::string_view s) {
    std::vector<std::string> words;
    for (char c : s) {
        const auto u = static_cast<unsigned char>(c);
        if (std::isupper(u) || words.empty()) words.emplace_back();
        words.back() += static_cast<char>(std::tolower(u));
    }
    return words;
}

std::string argumentName(std::string_view attribute) {
    for (std::string_view prefix : {"InOpt", "In", "Out"}) {
        if (attribute.size() > prefix.size() && attribute.starts_with(prefix) &&
            std::isupper(static_cast<unsigned char>(attribute[prefix.size()]))) {
            attribute.remove_prefix(prefix.size());
            break;
        }
    }
    return joined(splitCamel(attribute), '_');
}

std::vector<std::string> operationWords(std::string_view name) {
    std::vector<std::string> words = splitCamel(name);
    while (words.size() > 1 && words.back() == "img") words.pop_back();
    return words;
}

std::string lowerFirst(std::string_view name) {
    std::string s(name);
    if (!s.empty()) s[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(s[0])));
    return s;
}

image::BorderPolicy borderPolicyFromText(const char* attribute, std::string_view text) {
    if (text == "nearest") return image::BorderPolicy::nearest();
    if (text == "mirror") return image::BorderPolicy::mirror();
    if (text == "mirror-edge" || text == "mirror_edge") return image::BorderPolicy::mirrorEdge();
    if (text == "periodic") return image::BorderPolicy::periodic();
    if (text == "constant") return image::BorderPolicy::constant();
    if (text.starts_with("constant:")) {
        const std::string value(text.substr(9));
        char* end = nullptr;
        const double v = std::strtod(value.c_str(), &end);
        if (!value.empty() && end == value.c_str() + value.size()) return image::BorderPolicy::constant(v);
    }
    throwArgument("argument '" + argumentName(attribute) + "' (" + attribute + ") takes a border policy: "
                  "constant, constant:VALUE, nearest, mirror, mirror-edge or periodic, not '" + std::string(text) + "'");
}

void throwArgumentKind(const char* attribute, eArgumentKind wanted) {
    throwArgument("argument '" + argumentName(attribute) + "' (" + attribute + ") takes " + kindName(wanted));
}

void throwArgumentRange(const char* attribute, double value) {
    throwArgument("argument '" + argumentName(attribute) + "' (" + attribute + ") cannot hold " +
                  std::to_string(value));
}

void throwArgumentMissing(const char* attribute) {
    throwArgument("argument '" + argumentName(attribute) + "' (" + attribute + ") is required");
}

}  // namespace detail

std::vector<std::string> splitWords(std::string_view camelCase) { return detail::splitCamel(camelCase); }

std::string OperationInfo::snakeName() const { return joined(words, '_'); }
std::string OperationInfo::kebabName() const { return joined(words, '-'); }

boost::shared_ptr<processor::BaseAsyncProcessor> OperationInfo::prepare(
    const std::vector<ArgumentValue>& args, const std::vector<image::ImagePtr>& outs) const {
    if (args.size() > arguments.size())
        throwArgument(entryName + " takes " + std::to_string(arguments.size()) + " arguments, not " +
                      std::to_string(args.size()));
    if (!outs.empty() && outs.size() != outputs.size())
        throwArgument(entryName + " takes all " + std::to_string(outputs.size()) + " outputs or none, not " +
                      std::to_string(outs.size()));
    auto processor = binding->create();
    try {
        for (std::size_t i = 0; i < arguments.size(); ++i)
            binding->setArgument[i](*processor, i < args.size() ? args[i] : ArgumentValue{});
        for (std::size_t i = 0; i < outs.size(); ++i) {
            if (!outs[i]) throwArgument("output '" + outputs[i].name + "' (" + outputs[i].attribute + ") is null");
            binding->setOutput[i](*processor, outs[i]);
        }
    } catch (const processor::VIMRABaseProcessingException& e) {
        throwArgument(entryName + ": " + e.what());
    }
    if (!outs.empty() && binding->deriveValues) binding->deriveValues(*processor);
    return processor;
}

std::vector<image::ImagePtr> OperationInfo::outputsOf(const processor::BaseProcessor& processor) const {
    std::vector<image::ImagePtr> images;
    images.reserve(outputs.size());
    for (auto get : binding->getOutput) images.push_back(get(processor));
    return images;
}

std::optional<image::eImageBufferType::domain> OutputInfo::resultType(
    const std::vector<image::eImageBufferType::domain>& inputTypes) const {
    if (!binding || !binding->resultType) return std::nullopt;
    const auto& images = binding->imageAttributes;
    return binding->resultType([&](std::string_view attribute) -> std::optional<image::eImageBufferType::domain> {
        auto it = std::find(images.begin(), images.end(), attribute);
        const auto index = static_cast<std::size_t>(it - images.begin());
        if (it == images.end() || index >= inputTypes.size()) return std::nullopt;
        return inputTypes[index];
    });
}

const std::vector<OperationInfo>& operations() { return Registry::instance().current(); }

const OperationInfo* findOperation(std::string_view name) {
    for (const OperationInfo& op : operations())
        if (op.entryName == name || op.snakeName() == name || op.kebabName() == name) return &op;
    return nullptr;
}

void registerOperation(OperationInfo info) {
    Registry& registry = Registry::instance();
    std::lock_guard<std::mutex> lock(registry.mutex);
    registry.registered.push_back(std::move(info));
    registry.dirty = true;
}

}  // namespace vimra::imaproc::arithm::catalogue
