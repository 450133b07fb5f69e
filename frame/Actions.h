// The actions behind the one dispatcher, by concern: the life of a plug-in
// and its instances, rendering and its questions, and the changes and
// requests of an instance. Each action is a function of the call; the
// dispatcher finds it by name. Internal to the frame.
#pragma once

#include <span>
#include <string>

#include "ImageEffect.h"
#include "ofxCore.h"

namespace OFX {
namespace Actions {

// What a handle of an action must be: anything, null, or set.
enum HandleRule { eAny, eNull, eSet };

// One call of an action, as the host made it.
struct Call {
    const char* action;
    const void* handle;
    OfxPropertySetHandle inHandle;
    OfxPropertySetHandle outHandle;
    PropertySet inArgs;
    PropertySet outArgs;
    PluginFactory& factory;
    const std::string& uid;

    // Logs handles that break the rules; a missing one fails as a bad handle.
    void check(HandleRule handleRule, HandleRule inRule, HandleRule outRule) const;
    OfxImageEffectHandle effectHandle() const { return static_cast<OfxImageEffectHandle>(const_cast<void*>(handle)); }
    // The live instance the handle names, or a bad-handle failure.
    ImageEffect& instance() const;
};

using Handler = OfxStatus (*)(Call&);
struct Entry {
    const char* name;
    Handler handler;
};

// Load, unload, describe, describe in context, create and destroy.
std::span<const Entry> lifecycleActions();
// Render, the sequence brackets, identity, the regions, frames needed, clip
// preferences and the time domain.
std::span<const Entry> renderActions();
// Caches, private data, changes, edits, uplift, help, about and OpenGL.
std::span<const Entry> instanceActions();

// The effect object stored in an instance's properties, or null.
ImageEffect* retrieveImageEffect(OfxImageEffectHandle handle);
// The same, or a bad-handle failure for a host that names no live instance.
ImageEffect& instanceOf(const void* handle);

}  // namespace Actions
}  // namespace OFX
