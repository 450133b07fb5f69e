#include "ofxhost/Memory.h"

#include <cstdlib>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "ofxhost/Handles.h"
#include "ofxhost/SuiteGuard.h"
#include "ofxhost/Suites.h"

namespace ofxhost::memory {

namespace {

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};

class ImageMemory : public Handled<HandleKind::ImageMemory> {
public:
    explicit ImageMemory(std::size_t bytes) : block_(std::aligned_alloc(64, (bytes + 63) / 64 * 64 + 64)) {
        if (!block_) throw std::bad_alloc();
    }
    void* data() const { return block_.get(); }
    int locks = 0;

private:
    std::unique_ptr<void, FreeDeleter> block_;
};

struct Blocks {
    std::mutex mutex;
    std::unordered_map<void*, std::unique_ptr<void, FreeDeleter>> plain;
    std::unordered_map<const void*, std::unique_ptr<ImageMemory>> images;
};

Blocks& blocks() {
    static Blocks* b = new Blocks;
    return *b;
}

// Far beyond any frame; a request above it is a plug-in bug, not a frame.
constexpr std::size_t kMaxBytes = std::size_t(1) << 40;

}  // namespace

OfxStatus allocate(std::size_t bytes, void** out) {
    if (!out) return kOfxStatErrValue;
    *out = nullptr;
    if (bytes > kMaxBytes) return kOfxStatErrMemory;
    void* p = std::aligned_alloc(64, (bytes + 63) / 64 * 64 + 64);
    if (!p) return kOfxStatErrMemory;
    Blocks& b = blocks();
    std::lock_guard lock(b.mutex);
    b.plain.emplace(p, std::unique_ptr<void, FreeDeleter>(p));
    *out = p;
    return kOfxStatOK;
}

OfxStatus release(void* block) {
    Blocks& b = blocks();
    std::lock_guard lock(b.mutex);
    return b.plain.erase(block) ? kOfxStatOK : kOfxStatErrBadHandle;
}

std::size_t liveBlocks() {
    Blocks& b = blocks();
    std::lock_guard lock(b.mutex);
    return b.plain.size() + b.images.size();
}

OfxStatus imageAllocate(std::size_t bytes, OfxImageMemoryHandle* out) {
    if (!out) return kOfxStatErrValue;
    *out = nullptr;
    if (bytes > kMaxBytes) return kOfxStatErrMemory;
    auto m = std::make_unique<ImageMemory>(bytes);
    Blocks& b = blocks();
    std::lock_guard lock(b.mutex);
    *out = static_cast<OfxImageMemoryHandle>(m->rawHandle());
    b.images.emplace(m->rawHandle(), std::move(m));
    return kOfxStatOK;
}

OfxStatus imageFree(OfxImageMemoryHandle h) {
    Blocks& b = blocks();
    std::lock_guard lock(b.mutex);
    return b.images.erase(h) ? kOfxStatOK : kOfxStatErrBadHandle;
}

OfxStatus imageLock(OfxImageMemoryHandle h, void** out) {
    Blocks& b = blocks();
    std::lock_guard lock(b.mutex);
    auto it = b.images.find(h);
    if (it == b.images.end()) return kOfxStatErrBadHandle;
    if (!out) return kOfxStatErrValue;
    ++it->second->locks;
    *out = it->second->data();
    return kOfxStatOK;
}

OfxStatus imageUnlock(OfxImageMemoryHandle h) {
    Blocks& b = blocks();
    std::lock_guard lock(b.mutex);
    auto it = b.images.find(h);
    if (it == b.images.end()) return kOfxStatErrBadHandle;
    if (it->second->locks > 0) --it->second->locks;
    return kOfxStatOK;
}

}  // namespace ofxhost::memory

namespace ofxhost::suites {

namespace {

OfxStatus memoryAlloc(void*, size_t bytes, void** out) {
    return guarded([&] { return memory::allocate(bytes, out); });
}

OfxStatus memoryFree(void* block) {
    return guarded([&] { return memory::release(block); });
}

}  // namespace

const OfxMemorySuiteV1* memory() {
    static const OfxMemorySuiteV1 suite{memoryAlloc, memoryFree};
    return &suite;
}

}  // namespace ofxhost::suites
