// The instance's progress bar, behind the progress suite.
#include "ofxhost/Instance.h"

#include "ofxhost/Host.h"
#include "ofxhost/Status.h"

namespace ofxhost {

void Instance::watchProgress(ProgressWatcher watcher) {
    std::lock_guard lock(mutex_);
    progressWatcher_ = std::move(watcher);
}

bool Instance::progressOpen() const {
    std::lock_guard lock(mutex_);
    return progressOpen_;
}

OfxStatus Instance::progressStart(const std::string& label) {
    ProgressWatcher watcher;
    {
        std::lock_guard lock(mutex_);
        if (progressOpen_) return kOfxStatFailed;
        progressOpen_ = true;
        watcher = progressWatcher_;
    }
    if (watcher) watcher({ProgressEvent::Kind::Start, label, 0.0});
    return kOfxStatOK;
}

OfxStatus Instance::progressUpdate(double progress) {
    ProgressWatcher watcher;
    {
        std::lock_guard lock(mutex_);
        if (!progressOpen_) return kOfxStatFailed;
        watcher = progressWatcher_;
    }
    const bool goOn = !watcher || watcher({ProgressEvent::Kind::Update, {}, progress});
    return goOn && !abort_ ? kOfxStatOK : kOfxStatReplyNo;
}

OfxStatus Instance::progressEnd() {
    ProgressWatcher watcher;
    {
        std::lock_guard lock(mutex_);
        if (!progressOpen_) return kOfxStatFailed;
        progressOpen_ = false;
        watcher = progressWatcher_;
    }
    if (watcher) watcher({ProgressEvent::Kind::End, {}, 0.0});
    return kOfxStatOK;
}

}  // namespace ofxhost
