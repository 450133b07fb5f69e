#include "ofxhost/Handles.h"

#include <mutex>
#include <shared_mutex>
#include <unordered_map>

namespace ofxhost::handles {

namespace {

struct Registry {
    std::shared_mutex mutex;
    std::unordered_map<const void*, HandleKind> live;
};

// Never destroyed: handle-bearing objects may die during static destruction.
Registry& registry() {
    static Registry* r = new Registry;
    return *r;
}

}  // namespace

void add(const void* object, HandleKind kind) {
    Registry& r = registry();
    std::unique_lock lock(r.mutex);
    r.live[object] = kind;
}

void remove(const void* object) {
    Registry& r = registry();
    std::unique_lock lock(r.mutex);
    r.live.erase(object);
}

bool check(const void* object, HandleKind kind) {
    Registry& r = registry();
    std::shared_lock lock(r.mutex);
    auto it = r.live.find(object);
    return it != r.live.end() && it->second == kind;
}

}  // namespace ofxhost::handles
