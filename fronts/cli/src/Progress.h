#pragma once

// A percentage on stderr, rewritten in place; only when asked for or when
// stderr is a terminal, so that logs and pipes stay clean.

#include <unistd.h>

#include <cstdio>
#include <string>

namespace vimra::cli {

class Progress {
  public:
    Progress(std::string what, bool forced) : m_what(std::move(what)), m_on(forced || ::isatty(2) == 1) {}
    ~Progress() { done(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void update(double fraction) {
        if (!m_on) return;
        const int percent = static_cast<int>(fraction * 100.0);
        if (percent == m_percent) return;
        m_percent = percent;
        std::fprintf(stderr, "\rvimra-arith: %s %3d%%", m_what.c_str(), percent);
        std::fflush(stderr);
    }
    void done() {
        if (m_on && m_percent >= 0) std::fputc('\n', stderr);
        m_percent = -1;
    }

  private:
    std::string m_what;
    bool m_on;
    int m_percent = -1;
};

}  // namespace vimra::cli
