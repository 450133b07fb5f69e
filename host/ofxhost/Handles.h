// Every object that the host hands to a plug-in as an opaque handle registers
// itself here for as long as it lives. A handle coming back from a plug-in is
// looked up before it is used, so a stale, garbage or wrongly typed handle is
// answered with kOfxStatErrBadHandle instead of being dereferenced.
#pragma once

#include <cstdint>

namespace ofxhost {

enum class HandleKind : std::uint32_t {
    PropertySet = 0x50524f50,  // "PROP"
    ParamSet = 0x50534554,     // "PSET"
    Param = 0x5041524d,        // "PARM"
    Clip = 0x434c4950,         // "CLIP"
    Effect = 0x45464658,       // "EFFX"
    ImageMemory = 0x494d454d,  // "IMEM"
    Mutex = 0x4d555458,        // "MUTX"
};

namespace handles {
void add(const void* object, HandleKind kind);
void remove(const void* object);
bool check(const void* object, HandleKind kind);
}  // namespace handles

// Base of every handle-bearing object; the handle is the address of this base.
// The magic word makes a wrong kind visible in a debugger; the registry is
// what decides.
template <HandleKind K>
class Handled {
public:
    static constexpr HandleKind kind = K;

    Handled() { handles::add(this, K); }
    Handled(const Handled&) : Handled() {}
    Handled& operator=(const Handled&) { return *this; }
    ~Handled() { handles::remove(this); }

    void* rawHandle() const { return const_cast<Handled*>(this); }

    // The object behind a handle, or null when the handle is not a live object
    // of this kind.
    template <class T>
    static T* fromRaw(const void* handle) {
        if (!handle || !handles::check(handle, K)) return nullptr;
        return static_cast<T*>(static_cast<Handled*>(const_cast<void*>(handle)));
    }

private:
    std::uint32_t magic_ = static_cast<std::uint32_t>(K);
};

}  // namespace ofxhost
