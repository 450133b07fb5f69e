#include "ofxhost/ThreadPool.h"

#include <algorithm>

namespace ofxhost {

namespace {

thread_local bool tlOnWorker = false;
thread_local unsigned tlIndex = 0;

// Sets the calling thread's index for the length of one task.
class IndexScope {
public:
    explicit IndexScope(unsigned index) : savedIndex_(tlIndex), savedWorker_(tlOnWorker) {
        tlIndex = index;
        tlOnWorker = true;
    }
    ~IndexScope() {
        tlIndex = savedIndex_;
        tlOnWorker = savedWorker_;
    }
    IndexScope(const IndexScope&) = delete;
    IndexScope& operator=(const IndexScope&) = delete;

private:
    unsigned savedIndex_;
    bool savedWorker_;
};

}  // namespace

struct ThreadPool::Job {
    const Task* fn;
    unsigned count;
    unsigned remaining;
    std::mutex mutex;
    std::condition_variable done;
    // Workers that already took an index of this job (guarded by the pool's
    // mutex): each index goes to a different worker, so that the indexes of
    // one run really run side by side.
    std::vector<std::thread::id> takers;
};

unsigned hardwareThreads() { return std::max(1u, std::thread::hardware_concurrency()); }

ThreadPool::ThreadPool(unsigned threads) {
    threads = std::max(1u, threads);
    workers_.reserve(threads);
    for (unsigned i = 0; i < threads; ++i) workers_.emplace_back([this] { workerLoop(); });
}

ThreadPool::~ThreadPool() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    for (auto& t : workers_) t.join();
}

unsigned ThreadPool::currentIndex() { return tlOnWorker ? tlIndex : 0; }

bool ThreadPool::onWorker() { return tlOnWorker; }

unsigned ThreadPool::run(const Task& fn, unsigned n) {
    if (n == 0) return 0;
    if (tlOnWorker) {
        IndexScope scope(0);
        fn(0, 1);
        return 1;
    }
    n = std::min(n, size());
    Job job{&fn, n, n, {}, {}, {}};
    {
        std::lock_guard lock(mutex_);
        for (unsigned i = 0; i < n; ++i) queue_.emplace_back(&job, i);
    }
    if (n == 1)
        wake_.notify_one();
    else
        wake_.notify_all();
    std::unique_lock lock(job.mutex);
    job.done.wait(lock, [&] { return job.remaining == 0; });
    return n;
}

void ThreadPool::workerLoop() {
    const auto self = std::this_thread::get_id();
    for (;;) {
        std::pair<Job*, unsigned> item;
        {
            std::unique_lock lock(mutex_);
            auto next = queue_.end();
            wake_.wait(lock, [&] {
                next = std::find_if(queue_.begin(), queue_.end(), [&](const auto& q) {
                    const auto& t = q.first->takers;
                    return std::find(t.begin(), t.end(), self) == t.end();
                });
                return next != queue_.end() || (stopping_ && queue_.empty());
            });
            if (next == queue_.end()) return;
            item = *next;
            queue_.erase(next);
            item.first->takers.push_back(self);
        }
        Job& job = *item.first;
        {
            IndexScope scope(item.second);
            (*job.fn)(item.second, job.count);
        }
        std::lock_guard lock(job.mutex);
        if (--job.remaining == 0) job.done.notify_all();
    }
}

}  // namespace ofxhost
