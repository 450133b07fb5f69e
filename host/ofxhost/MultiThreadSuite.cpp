#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>

#include "ofxhost/Context.h"
#include "ofxhost/Handles.h"
#include "ofxhost/Host.h"
#include "ofxhost/SuiteGuard.h"
#include "ofxhost/Suites.h"

namespace ofxhost::suites {

namespace {

// A recursive mutex that knows its owner, so that an unlock from a thread
// that does not hold it is refused instead of being undefined behaviour.
class HostMutex : public Handled<HandleKind::Mutex> {
public:
    void lock() {
        std::unique_lock l(m_);
        const auto self = std::this_thread::get_id();
        cv_.wait(l, [&] { return count_ == 0 || owner_ == self; });
        owner_ = self;
        ++count_;
    }
    bool tryLock() {
        std::lock_guard l(m_);
        const auto self = std::this_thread::get_id();
        if (count_ != 0 && owner_ != self) return false;
        owner_ = self;
        ++count_;
        return true;
    }
    bool unlock() {
        std::lock_guard l(m_);
        if (count_ == 0 || owner_ != std::this_thread::get_id()) return false;
        if (--count_ == 0) cv_.notify_one();
        return true;
    }

private:
    std::mutex m_;
    std::condition_variable cv_;
    std::thread::id owner_;
    int count_ = 0;
};

struct Mutexes {
    std::mutex mutex;
    std::unordered_map<const void*, std::unique_ptr<HostMutex>> live;
};

Mutexes& mutexes() {
    static Mutexes* m = new Mutexes;
    return *m;
}

HostMutex* findMutex(OfxMutexHandle h) {
    Mutexes& m = mutexes();
    std::lock_guard lock(m.mutex);
    auto it = m.live.find(h);
    return it == m.live.end() ? nullptr : it->second.get();
}

OfxStatus runThreads(OfxThreadFunctionV1 func, unsigned int nThreads, void* arg) {
    return guarded([&] {
        if (!func) return kOfxStatErrValue;
        Host* host = currentHost();
        if (!host) return kOfxStatFailed;
        ThreadPool& pool = host->threadPool();
        if (nThreads == 0) nThreads = pool.size();
        // Workers run in the caller's context, so that they find its render.
        const CallContext context = callContext();
        pool.run(
            [&](unsigned index, unsigned count) {
                CallScope scope(context);
                func(index, count, arg);
            },
            nThreads);
        return kOfxStatOK;
    });
}

OfxStatus numCPUs(unsigned int* n) {
    if (!n) return kOfxStatErrValue;
    Host* host = currentHost();
    *n = host ? host->threadPool().size() : 1;
    return kOfxStatOK;
}

OfxStatus threadIndex(unsigned int* index) {
    if (!index) return kOfxStatErrValue;
    *index = ThreadPool::currentIndex();
    return kOfxStatOK;
}

int isSpawned() { return ThreadPool::onWorker() ? 1 : 0; }

OfxStatus mutexCreate(OfxMutexHandle* out, int lockCount) {
    return guarded([&] {
        if (!out) return kOfxStatErrValue;
        if (lockCount < 0) return kOfxStatErrValue;
        auto m = std::make_unique<HostMutex>();
        for (int i = 0; i < lockCount; ++i) m->lock();
        Mutexes& all = mutexes();
        std::lock_guard lock(all.mutex);
        *out = static_cast<OfxMutexHandle>(m->rawHandle());
        all.live.emplace(m->rawHandle(), std::move(m));
        return kOfxStatOK;
    });
}

OfxStatus mutexDestroy(const OfxMutexHandle h) {
    return guarded([&] {
        Mutexes& all = mutexes();
        std::lock_guard lock(all.mutex);
        return all.live.erase(h) ? kOfxStatOK : kOfxStatErrBadHandle;
    });
}

OfxStatus mutexLock(const OfxMutexHandle h) {
    return guarded([&] {
        HostMutex* m = findMutex(h);
        if (!m) return kOfxStatErrBadHandle;
        m->lock();
        return kOfxStatOK;
    });
}

OfxStatus mutexUnLock(const OfxMutexHandle h) {
    return guarded([&] {
        HostMutex* m = findMutex(h);
        if (!m) return kOfxStatErrBadHandle;
        return m->unlock() ? kOfxStatOK : kOfxStatErrValue;
    });
}

OfxStatus mutexTryLock(const OfxMutexHandle h) {
    return guarded([&] {
        HostMutex* m = findMutex(h);
        if (!m) return kOfxStatErrBadHandle;
        return m->tryLock() ? kOfxStatOK : kOfxStatFailed;
    });
}

}  // namespace

const OfxMultiThreadSuiteV1* multiThread() {
    static const OfxMultiThreadSuiteV1 suite{runThreads,   numCPUs,   threadIndex, isSpawned,   mutexCreate,
                                             mutexDestroy, mutexLock, mutexUnLock, mutexTryLock};
    return &suite;
}

}  // namespace ofxhost::suites
