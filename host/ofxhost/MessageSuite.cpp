#include <cstdarg>
#include <cstdio>
#include <string>

#include "ofxhost/Context.h"
#include "ofxhost/Effect.h"
#include "ofxhost/Host.h"
#include "ofxhost/Plugin.h"
#include "ofxhost/SuiteGuard.h"
#include "ofxhost/Suites.h"

// Messages go to the host (printed with the plug-in's identifier, and kept
// for tests). There is nobody to answer a question: the answer is no.
namespace ofxhost::suites {

namespace {

std::string format(const char* fmt, va_list ap) {
    if (!fmt) return "";
    va_list copy;
    va_copy(copy, ap);
    const int n = std::vsnprintf(nullptr, 0, fmt, copy);
    va_end(copy);
    if (n <= 0) return "";
    std::string out(std::size_t(n) + 1, '\0');
    std::vsnprintf(out.data(), out.size(), fmt, ap);
    out.resize(std::size_t(n));
    return out;
}

OfxStatus post(void* handle, const char* type, const char* id, const char* fmt, va_list ap, bool persistent) {
    Host* host = nullptr;
    Message m;
    if (EffectObject* e = EffectObject::fromHandle(static_cast<const void*>(handle))) {
        host = &e->plugin().host();
        m.pluginId = e->plugin().id();
    } else if (handle) {
        return kOfxStatErrBadHandle;
    } else if (Plugin* p = callContext().plugin) {
        host = &p->host();
        m.pluginId = p->id();
    }
    if (!host) host = currentHost();
    if (!host) return kOfxStatFailed;
    m.type = type ? type : "";
    m.id = id ? id : "";
    m.text = format(fmt, ap);
    m.persistent = persistent;
    const bool question = m.type == kOfxMessageQuestion;
    host->postMessage(std::move(m));
    return question ? kOfxStatReplyNo : kOfxStatOK;
}

OfxStatus message(void* handle, const char* type, const char* id, const char* fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    const OfxStatus s = guarded([&] { return post(handle, type, id, fmt, ap, false); });
    va_end(ap);
    return s;
}

OfxStatus setPersistentMessage(void* handle, const char* type, const char* id, const char* fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    const OfxStatus s = guarded([&] { return post(handle, type, id, fmt, ap, true); });
    va_end(ap);
    return s;
}

OfxStatus clearPersistentMessage(void* handle) {
    return EffectObject::fromHandle(static_cast<const void*>(handle)) ? kOfxStatOK : kOfxStatErrBadHandle;
}

}  // namespace

const OfxMessageSuiteV1* messageV1() {
    static const OfxMessageSuiteV1 suite{message};
    return &suite;
}

const OfxMessageSuiteV2* messageV2() {
    static const OfxMessageSuiteV2 suite{message, setPersistentMessage, clearPersistentMessage};
    return &suite;
}

}  // namespace ofxhost::suites
