// The multithread suite: a pool of real threads, indexes and counts as
// published, nesting, and mutexes.
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "HostTestSupport.h"
#include "ofxhost/Context.h"
#include "ofxhost/Suites.h"
#include "ofxhost/ThreadPool.h"

using namespace ofxhost;

namespace {

struct Seen {
    std::mutex mutex;
    std::vector<unsigned> indexes;
    std::set<std::thread::id> threads;
    std::vector<unsigned> counts;
    std::atomic<int> mismatches{0};
};

void record(unsigned index, unsigned count, void* arg) {
    auto* seen = static_cast<Seen*>(arg);
    const OfxMultiThreadSuiteV1* mt = suites::multiThread();
    unsigned reported = 999;
    mt->multiThreadIndex(&reported);
    if (reported != index || !mt->multiThreadIsSpawnedThread()) ++seen->mismatches;
    std::lock_guard lock(seen->mutex);
    seen->indexes.push_back(index);
    seen->counts.push_back(count);
    seen->threads.insert(std::this_thread::get_id());
}

class MultiThreadSuiteTest : public ::testing::Test {
protected:
    std::shared_ptr<Host> host = hosttest::quietHost(4u);
    CallScope scope{CallContext{host.get(), nullptr, nullptr}};
    const OfxMultiThreadSuiteV1* mt = suites::multiThread();
};

TEST_F(MultiThreadSuiteTest, RunsEachIndexOnItsOwnWorkerCappedByThePool) {
    unsigned n = 0;
    ASSERT_EQ(mt->multiThreadNumCPUs(&n), kOfxStatOK);
    EXPECT_EQ(n, 4u);
    // 0 means every thread; more than the pool is capped, and each call
    // receives the number actually launched.
    for (unsigned asked : {4u, 0u, 100u}) {
        Seen seen;
        ASSERT_EQ(mt->multiThread(record, asked, &seen), kOfxStatOK);
        std::sort(seen.indexes.begin(), seen.indexes.end());
        EXPECT_EQ(seen.indexes, (std::vector<unsigned>{0, 1, 2, 3})) << asked;
        EXPECT_EQ(seen.counts, (std::vector<unsigned>{4, 4, 4, 4})) << asked;
        EXPECT_EQ(seen.threads.size(), 4u) << asked;
        EXPECT_EQ(seen.threads.count(std::this_thread::get_id()), 0u);
        EXPECT_EQ(seen.mismatches, 0);
    }
}

TEST_F(MultiThreadSuiteTest, CallerIsNotASpawnedThread) {
    unsigned index = 7;
    EXPECT_EQ(mt->multiThreadIndex(&index), kOfxStatOK);
    EXPECT_EQ(index, 0u);
    EXPECT_EQ(mt->multiThreadIsSpawnedThread(), 0);
    EXPECT_EQ(mt->multiThread(nullptr, 2, nullptr), kOfxStatErrValue);
    EXPECT_EQ(mt->multiThreadNumCPUs(nullptr), kOfxStatErrValue);
}

void nested(unsigned index, unsigned, void* arg) {
    auto* seen = static_cast<Seen*>(arg);
    // A nested run happens on this worker, as index 0 of 1.
    Seen inner;
    suites::multiThread()->multiThread(record, 4, &inner);
    std::lock_guard lock(seen->mutex);
    seen->indexes.push_back(index);
    if (inner.indexes != std::vector<unsigned>{0} || inner.counts != std::vector<unsigned>{1} ||
        inner.threads.count(std::this_thread::get_id()) != 1)
        ++seen->mismatches;
    unsigned after = 99;
    suites::multiThread()->multiThreadIndex(&after);
    if (after != index) ++seen->mismatches;
}

TEST_F(MultiThreadSuiteTest, NestedRunsInlineAndRestoresTheIndex) {
    Seen seen;
    ASSERT_EQ(mt->multiThread(nested, 3, &seen), kOfxStatOK);
    EXPECT_EQ(seen.indexes.size(), 3u);
    EXPECT_EQ(seen.mismatches, 0);
}

TEST_F(MultiThreadSuiteTest, ConcurrentRunsFromSeveralCallers) {
    std::vector<std::thread> callers;
    std::atomic<int> wrong{0};
    for (int c = 0; c < 3; ++c)
        callers.emplace_back([&] {
            CallScope s(CallContext{host.get(), nullptr, nullptr});
            for (int k = 0; k < 50; ++k) {
                Seen seen;
                if (mt->multiThread(record, 2, &seen) != kOfxStatOK || seen.indexes.size() != 2 || seen.mismatches != 0)
                    ++wrong;
            }
        });
    for (auto& t : callers) t.join();
    EXPECT_EQ(wrong, 0);
}

TEST(HostMutex, RecursiveOwnedAndValidated) {
    const OfxMultiThreadSuiteV1* mt = suites::multiThread();
    OfxMutexHandle m = nullptr;
    ASSERT_EQ(mt->mutexCreate(&m, 1), kOfxStatOK);
    // Created locked once by this thread; it may lock again (recursive).
    EXPECT_EQ(mt->mutexTryLock(m), kOfxStatOK);
    OfxStatus other = kOfxStatOK, otherUnlock = kOfxStatOK;
    std::thread([&] {
        other = mt->mutexTryLock(m);
        otherUnlock = mt->mutexUnLock(m);
    }).join();
    EXPECT_EQ(other, kOfxStatFailed);
    EXPECT_EQ(otherUnlock, kOfxStatErrValue);
    EXPECT_EQ(mt->mutexUnLock(m), kOfxStatOK);
    EXPECT_EQ(mt->mutexUnLock(m), kOfxStatOK);
    EXPECT_EQ(mt->mutexUnLock(m), kOfxStatErrValue);
    std::thread([&] {
        other = mt->mutexTryLock(m);
        mt->mutexUnLock(m);
    }).join();
    EXPECT_EQ(other, kOfxStatOK);
    EXPECT_EQ(mt->mutexDestroy(m), kOfxStatOK);
    EXPECT_EQ(mt->mutexLock(m), kOfxStatErrBadHandle);
    EXPECT_EQ(mt->mutexDestroy(m), kOfxStatErrBadHandle);
    EXPECT_EQ(mt->mutexCreate(&m, -1), kOfxStatErrValue);
}

TEST(HostMutex, ExcludesAcrossPoolThreads) {
    auto host = hosttest::quietHost(4u);
    CallScope scope(CallContext{host.get(), nullptr, nullptr});
    const OfxMultiThreadSuiteV1* mt = suites::multiThread();
    struct Shared {
        OfxMutexHandle m;
        long counter = 0;
    } shared;
    ASSERT_EQ(mt->mutexCreate(&shared.m, 0), kOfxStatOK);
    auto body = [](unsigned, unsigned, void* arg) {
        auto* s = static_cast<Shared*>(arg);
        for (int k = 0; k < 10000; ++k) {
            suites::multiThread()->mutexLock(s->m);
            s->counter = s->counter + 1;
            suites::multiThread()->mutexUnLock(s->m);
        }
    };
    ASSERT_EQ(mt->multiThread(body, 4, &shared), kOfxStatOK);
    EXPECT_EQ(shared.counter, 40000);
    mt->mutexDestroy(shared.m);
}

TEST(ThreadPool, RunOfNothingAndIndexesOffThePool) {
    ThreadPool pool(2);
    EXPECT_EQ(pool.run([](unsigned, unsigned) {}, 0), 0u);
    EXPECT_FALSE(ThreadPool::onWorker());
    EXPECT_EQ(ThreadPool::currentIndex(), 0u);
    std::atomic<unsigned> sum{0};
    EXPECT_EQ(pool.run([&](unsigned i, unsigned) { sum += i + 1; }, 2), 2u);
    EXPECT_EQ(sum, 3u);
}

}  // namespace
