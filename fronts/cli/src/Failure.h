#pragma once

// What the tool reports when it stops early: one line and an exit code chosen by
// who is at fault (the command line, a file, the processing or the user's Ctrl-C).

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace vimra::cli {

enum class eExit : int {
    eSuccess = 0,
    eProcessing = 1,
    eUsage = 2,
    eFile = 3,
    eInterrupted = 130,
};

class Failure : public std::runtime_error {
  public:
    Failure(eExit code, const std::string& what, std::string file = {},
            std::optional<std::uint64_t> page = std::nullopt)
        : std::runtime_error(what), m_code(code), m_file(std::move(file)), m_page(page) {}

    eExit code() const { return m_code; }
    const std::string& file() const { return m_file; }
    std::optional<std::uint64_t> page() const { return m_page; }

    /// "WHAT (FILE, page N)", the parenthesis only where a file is known.
    std::string line() const {
        std::string s = what();
        if (!m_file.empty()) {
            s += " (" + m_file;
            if (m_page) s += ", page " + std::to_string(*m_page + 1);
            s += ")";
        }
        return s;
    }

  private:
    eExit m_code;
    std::string m_file;
    std::optional<std::uint64_t> m_page;
};

[[noreturn]] inline void fileError(const std::string& what, const std::string& file,
                                   std::optional<std::uint64_t> page = std::nullopt) {
    throw Failure(eExit::eFile, what, file, page);
}
[[noreturn]] inline void usageError(const std::string& what) { throw Failure(eExit::eUsage, what); }

}  // namespace vimra::cli
