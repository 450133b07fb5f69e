// The processor base of every effect's pixel code: the render window's rows
// are split over the host's threads, and each thread works on its own band.
#pragma once

#include "ImageEffect.h"
#include "ofxCore.h"

namespace OFX {
namespace MultiThread {

class Processor {
public:
    virtual ~Processor() = default;
    virtual void multiThreadFunction(unsigned int threadIndex, unsigned int threadMax) = 0;
    // Runs multiThreadFunction on nCPUs threads of the host's pool (0 asks
    // the host how many it has). Without a suite everything runs here.
    virtual void multiThread(unsigned int nCPUs = 0);

private:
    static void staticEntry(unsigned int threadIndex, unsigned int threadMax, void* arg);
};

// A mutex of the host's; with no multithread suite it is a no-op.
class Mutex {
public:
    explicit Mutex(int lockCount = 0);
    ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock();
    void unlock();
    bool tryLock();

private:
    OfxMutexHandle handle_ = nullptr;
};

class AutoMutex {
public:
    explicit AutoMutex(Mutex& mutex) : mutex_(mutex) { mutex_.lock(); }
    ~AutoMutex() { mutex_.unlock(); }
    AutoMutex(const AutoMutex&) = delete;
    AutoMutex& operator=(const AutoMutex&) = delete;

private:
    Mutex& mutex_;
};

}  // namespace MultiThread

class ImageProcessor : public MultiThread::Processor {
public:
    explicit ImageProcessor(ImageEffect& effect) : effect(effect) {}

    void setDstImg(Image* image) { dstImg = image; }
    void setRenderWindow(const OfxRectI& window) { renderWindow = window; }
    // For work that cannot be split by rows (a blur reads whole columns):
    // process() then calls multiThreadProcessImages once, on the calling
    // thread, with the whole render window. The work may still use threads
    // of its own, and abort() stays the effect's to poll.
    void setWholeWindow(bool whole) { wholeWindow = whole; }

    virtual void preProcess() {}
    // The band's work; returns 1 when it stopped for the host's abort, a
    // negative status when a primitive failed. The split drops it.
    virtual int multiThreadProcessImages(OfxRectI procWindow) = 0;
    virtual void postProcess() {}
    virtual void process();

    void multiThreadFunction(unsigned int threadIndex, unsigned int threadMax) override;

protected:
    ImageEffect& effect;
    Image* dstImg = nullptr;
    OfxRectI renderWindow{0, 0, 0, 0};
    bool wholeWindow = false;
};

}  // namespace OFX
