#include "ImageProcessor.h"

#include <algorithm>

namespace OFX {
namespace MultiThread {

void Processor::staticEntry(unsigned int threadIndex, unsigned int threadMax, void* arg) {
    static_cast<Processor*>(arg)->multiThreadFunction(threadIndex, threadMax);
}

void Processor::multiThread(unsigned int nCPUs) {
    const OfxMultiThreadSuiteV1* suite = Private::gThreadSuite;
    if (nCPUs == 0) {
        nCPUs = 1;
        unsigned int n = 0;
        if (suite && suite->multiThreadNumCPUs(&n) == kOfxStatOK && n > 0) nCPUs = n;
    }
    if (nCPUs == 1) {
        multiThreadFunction(0, 1);
        return;
    }
    const OfxStatus stat = suite ? suite->multiThread(&Processor::staticEntry, nCPUs, this) : kOfxStatFailed;
    throwSuiteStatusException(stat);
}

Mutex::Mutex(int lockCount) {
    // With no suite the status ReplyDefault passes the check and the mutex
    // stays a no-op.
    const OfxMultiThreadSuiteV1* suite = Private::gThreadSuite;
    throwSuiteStatusException(suite ? suite->mutexCreate(&handle_, lockCount) : kOfxStatReplyDefault);
}

Mutex::~Mutex() {
    if (handle_ && Private::gThreadSuite) Private::gThreadSuite->mutexDestroy(handle_);
}

void Mutex::lock() {
    if (handle_ && Private::gThreadSuite) throwSuiteStatusException(Private::gThreadSuite->mutexLock(handle_));
}

void Mutex::unlock() {
    if (handle_ && Private::gThreadSuite) Private::gThreadSuite->mutexUnLock(handle_);
}

bool Mutex::tryLock() {
    if (!handle_ || !Private::gThreadSuite) return true;
    return Private::gThreadSuite->mutexTryLock(handle_) == kOfxStatOK;
}

}  // namespace MultiThread

void ImageProcessor::multiThreadFunction(unsigned int threadIndex, unsigned int threadMax) {
    // Unsigned 32-bit arithmetic, as the split has always been computed; the
    // last band takes the remainder (7 rows over 3 threads: 2, 2, 3).
    const unsigned int dy = static_cast<unsigned int>(renderWindow.y2 - renderWindow.y1);
    OfxRectI band = renderWindow;
    band.y1 = static_cast<int>(static_cast<unsigned int>(renderWindow.y1) + dy * threadIndex / threadMax);
    band.y2 =
        static_cast<int>(static_cast<unsigned int>(renderWindow.y1) + std::min(dy * (threadIndex + 1) / threadMax, dy));
    multiThreadProcessImages(band);
}

void ImageProcessor::process() {
    if (!dstImg) return;
    // Deliberately narrow: only a window with no width but some height is
    // skipped; the row workers accept empty bands.
    if (renderWindow.x2 - renderWindow.x1 == 0 && renderWindow.y2 - renderWindow.y1 != 0) return;
    preProcess();
    // One thread is one band: the whole window.
    multiThread(wholeWindow ? 1 : 0);
    postProcess();
}

}  // namespace OFX
