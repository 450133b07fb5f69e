// What the calling thread is doing for the host: which host and plug-in the
// current action belongs to, and which render (if any). Suites whose C
// signatures carry no handle (multithread, memory, message with a null
// handle) find their host here. The multithread suite copies the context to
// its workers, so image fetches from worker threads find their render.
#pragma once

namespace ofxhost {

class Host;
class Plugin;
struct RenderContext;

struct CallContext {
    Host* host = nullptr;
    Plugin* plugin = nullptr;
    const RenderContext* render = nullptr;
};

CallContext& callContext();

// Sets the thread's context for one scope and restores the previous one.
class CallScope {
public:
    explicit CallScope(const CallContext& c) : saved_(callContext()) { callContext() = c; }
    ~CallScope() { callContext() = saved_; }
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;

private:
    CallContext saved_;
};

// The host of the calling thread's action, else the most recently made live host.
Host* currentHost();

}  // namespace ofxhost
