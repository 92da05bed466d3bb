#pragma once

// Ctrl-C (and SIGTERM, SIGHUP) while the tool runs: the temporary output files
// are removed and the process ends with 128 + the signal's number (130 for
// Ctrl-C). The signals are taken by a thread of their own through sigwait, so
// nothing beyond async-signal-safe code runs in a handler.

namespace vimra::cli {

/// Blocks the signals in the calling thread (and so in every thread it starts
/// later) and starts the thread that waits for them. Call first thing in main().
void installInterruptHandling();

}  // namespace vimra::cli
