// The threads leave word when they are done; the one that started them waits for that, and looks up between.
#include "tool/worker_threads.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <vector>

namespace tool {
namespace {

constexpr std::chrono::milliseconds betweenWatches{200};

class Workers {
public:
    explicit Workers(const std::function<bool()>& step) : step_(step) {}

    void start(int count) {
        try {
            for (int i = 0; i < count; ++i) {
                threads_.emplace_back([this] { work(); });
            }
        } catch (const std::system_error&) {
            // What the system doesn't give, the others do.
            if (threads_.empty()) {
                throw std::runtime_error("no thread could be started for the sweep");
            }
        }
    }

    void await(const std::function<void()>& watch) {
        std::unique_lock<std::mutex> hold(mutex_);
        const auto allDone = [this] { return done_ == threads_.size(); };
        while (!wake_.wait_for(hold, betweenWatches, allDone)) {
            if (watch) {
                watch();
            }
        }
        hold.unlock();
        for (std::thread& thread : threads_) {
            thread.join();
        }
        if (thrown_) {
            std::rethrow_exception(thrown_);
        }
    }

private:
    void work() {
        std::exception_ptr thrown;
        try {
            while (!stopped() && step_()) {
            }
        } catch (...) {
            thrown = std::current_exception();
        }
        const std::lock_guard<std::mutex> hold(mutex_);
        if (thrown && !thrown_) {
            thrown_ = thrown;
        }
        ++done_;
        wake_.notify_one();
    }

    bool stopped() {
        const std::lock_guard<std::mutex> hold(mutex_);
        return thrown_ != nullptr;
    }

    const std::function<bool()>& step_;
    std::vector<std::thread> threads_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::size_t done_ = 0;
    std::exception_ptr thrown_;
};

} // namespace

void runWorkers(int count, const std::function<bool()>& step, const std::function<void()>& watch) {
    Workers workers(step);
    workers.start(count);
    workers.await(watch);
}

void SharedThreads::forEach(std::size_t count, const std::function<void(std::size_t)>& work) {
    int taken = 0;
    for (int idle = idle_; idle > 0 && count > 1;) {
        const int wanted = static_cast<int>(std::min<std::size_t>(count - 1, static_cast<std::size_t>(idle)));
        if (idle_.compare_exchange_weak(idle, idle - wanted)) {
            taken = wanted;
            break;
        }
    }
    std::atomic<std::size_t> next{0};
    const auto step = [&] {
        const std::size_t k = next++;
        if (k < count) {
            work(k);
        }
        return k < count;
    };
    try {
        if (taken > 0) {
            runWorkers(taken + 1, step, nullptr);
        }
        while (step()) {
        }
    } catch (...) {
        idle_ += taken;
        throw;
    }
    idle_ += taken;
}

} // namespace tool
