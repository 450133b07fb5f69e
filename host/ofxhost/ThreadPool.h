// The host's pool of worker threads, behind the multithread suite. Workers are
// started once, when the pool is made, and live as long as it. run(fn, n)
// calls fn(i, n) for i in 0..n-1, each index on its own worker, and returns
// when all have returned. A run requested from one of the pool's own workers
// (a plug-in nesting multiThread) is done inline on that worker, as index 0 of
// 1, since every worker may already be busy with the outer run.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace ofxhost {

class ThreadPool {
public:
    using Task = std::function<void(unsigned index, unsigned count)>;

    explicit ThreadPool(unsigned threads);
    ~ThreadPool();
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    unsigned size() const { return static_cast<unsigned>(workers_.size()); }

    // Runs fn on min(n, size()) workers and returns the count actually used,
    // or 1 when run inline from a worker. n = 0 runs nothing and returns 0.
    unsigned run(const Task& fn, unsigned n);

    // On a thread that is running a task of some pool: its index; else 0.
    static unsigned currentIndex();
    // True on a worker thread of any pool while it runs a task.
    static bool onWorker();

private:
    struct Job;
    void workerLoop();

    std::vector<std::thread> workers_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::pair<Job*, unsigned>> queue_;
    bool stopping_ = false;
};

// The number of cores of this machine, at least 1.
unsigned hardwareThreads();

}  // namespace ofxhost
