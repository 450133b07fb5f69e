// Memory the host lends to plug-ins: plain blocks (memory suite) and image
// memory (image effect suite). Both are tracked, so that a free of something
// the host did not hand out is answered with kOfxStatErrBadHandle.
#pragma once

#include <cstddef>

#include "ofxImageEffect.h"

namespace ofxhost::memory {

OfxStatus allocate(std::size_t bytes, void** out);
OfxStatus release(void* block);
// Blocks handed out and not yet freed (both kinds), for leak checks.
std::size_t liveBlocks();

OfxStatus imageAllocate(std::size_t bytes, OfxImageMemoryHandle* out);
OfxStatus imageFree(OfxImageMemoryHandle h);
OfxStatus imageLock(OfxImageMemoryHandle h, void** out);
OfxStatus imageUnlock(OfxImageMemoryHandle h);

}  // namespace ofxhost::memory
