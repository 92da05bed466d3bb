#include "Interrupt.h"

#include "TiffIo.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <cstring>
#include <thread>

namespace vimra::cli {

namespace {

sigset_t interruptSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGHUP);
    return set;
}

}  // namespace

void installInterruptHandling() {
    const sigset_t set = interruptSignals();
    if (pthread_sigmask(SIG_BLOCK, &set, nullptr) != 0) return;
    std::thread([set] {
        int sig = 0;
        if (sigwait(&set, &sig) != 0) return;
        abandonAllWriters();
        static const char msg[] = "\nvimra-arith: interrupted; no output written\n";
        (void)!::write(2, msg, sizeof msg - 1);
        ::_exit(128 + sig);
    }).detach();
}

}  // namespace vimra::cli
