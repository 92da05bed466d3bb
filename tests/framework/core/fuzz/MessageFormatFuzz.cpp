// Fuzz entry point of message texts and their formatting.
//
// Input: a message text, then its arguments, separated by 0xFF bytes. The text
// is installed the way an application installs a translation (add); a text the
// manager refuses must hold something other than %s and %%, and an accepted one
// is formatted with the arguments. The result is checked against a plain
// expansion written here: %s takes the next argument (NUL bytes shown as \0),
// %% is a percent sign, and a count mismatch gives the fallback text.
#include "framework/core/fuzz/FuzzSupport.h"

#include <vimra/core/BaseException.h>
#include <vimra/core/LogMessageFormater.h>
#include <vimra/core/MessageManager.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

// Only %s and %% are placeholders, and a text holds no NUL byte.
bool isPlainText(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\0') return false;
        if (text[i] != '%') continue;
        if (i + 1 == text.size() || (text[i + 1] != 's' && text[i + 1] != '%')) return false;
        ++i;
    }
    return true;
}

// The expansion of a plain text, or nothing when the argument count differs.
std::optional<std::string> expand(std::string_view text, const std::vector<std::string>& args) {
    std::string out;
    std::size_t next = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            out += text[i];
            continue;
        }
        ++i;
        if (text[i] == '%') {
            out += '%';
            continue;
        }
        if (next == args.size()) return std::nullopt;
        for (char c : args[next++]) {
            if (c == '\0')
                out += "\\0";
            else
                out += c;
        }
    }
    if (next != args.size()) return std::nullopt;
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vimra::test::silenceFrameworkLogging();
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    std::vector<std::string> parts;
    for (std::size_t start = 0;;) {
        const std::size_t end = input.find('\xFF', start);
        parts.emplace_back(input.substr(start, end - start));
        if (end == std::string_view::npos) break;
        start = end + 1;
    }
    const std::string text = parts.front();
    const std::vector<std::string> args(parts.begin() + 1, parts.end());

    vimra::core::MessageManager& manager = vimra::core::MessageManager::getInstance("FuzzMessages");
    bool accepted = true;
    try {
        manager.add("fuzz::eMessage", 0, text);
    } catch (const vimra::core::BaseException&) {
        accepted = false;
    }
    if (accepted != isPlainText(text)) __builtin_trap();
    if (!accepted) return 0;

    vimra::core::LogMessageFormater formater;
    formater.setMsgId(manager, "fuzz::eMessage", 0);
    for (const std::string& arg : args) formater % arg;
    const std::string result = formater.str();
    const std::optional<std::string> expected = expand(text, args);
    if (result != expected.value_or(vimra::core::s_messageFailureText)) __builtin_trap();
    return 0;
}
