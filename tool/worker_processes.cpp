// A worker asks to be killed with its parent. Where systems have no such thing, and for a parent that died
// before it could ask, it looks between two steps whether its parent is still there.
#include "tool/worker_processes.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <thread>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace tool {
namespace {

constexpr std::chrono::milliseconds betweenWatches{200};

// With SIGCHLD ignored, as a caller may leave it, the end of a process couldn't be waited for.
class ChildrenCanBeAwaited {
public:
    ChildrenCanBeAwaited() {
        struct sigaction usual {};
        usual.sa_handler = SIG_DFL;
        sigaction(SIGCHLD, &usual, &before_);
    }
    ~ChildrenCanBeAwaited() { sigaction(SIGCHLD, &before_, nullptr); }
    ChildrenCanBeAwaited(const ChildrenCanBeAwaited&) = delete;
    ChildrenCanBeAwaited& operator=(const ChildrenCanBeAwaited&) = delete;

private:
    struct sigaction before_ {};
};

[[noreturn]] void work(pid_t parent, const std::function<bool()>& step) {
#ifdef __linux__
    prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
    while (getppid() == parent && step()) {
    }
    _exit(0);
}

// Only the workers are asked for: a caller can leave children of its own to this process.
bool hasEnded(pid_t worker, int options) {
    const pid_t ended = waitpid(worker, nullptr, options);
    return ended == worker || (ended < 0 && errno != EINTR);
}

} // namespace

void runWorkers(int count, const std::function<bool()>& step, const std::function<void()>& watch) {
    const ChildrenCanBeAwaited awaited;
    std::fflush(nullptr); // or each process would write what is still to be written
    const pid_t parent = getpid();
    std::vector<pid_t> workers;
    for (int i = 0; i < count; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            work(parent, step);
        }
        if (child > 0) {
            workers.push_back(child);
        }
    }
    if (workers.empty()) {
        throw std::runtime_error("no process could be started for the sweep");
    }
    while (!workers.empty()) {
        if (!watch) {
            if (hasEnded(workers.back(), 0)) {
                workers.pop_back();
            }
            continue;
        }
        std::erase_if(workers, [](pid_t worker) { return hasEnded(worker, WNOHANG); });
        watch();
        std::this_thread::sleep_for(betweenWatches);
    }
}

} // namespace tool
