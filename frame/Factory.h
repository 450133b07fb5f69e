// Effect factories: one object per effect, made by a static registration in
// the effect's own file and kept for the life of the module.
#pragma once

#include <string>

#include "Core.h"
#include "ofxCore.h"
#include "ofxImageEffect.h"

namespace OFX {

class ImageEffectDescriptor;
class ImageEffect;

class PluginFactory {
public:
    virtual ~PluginFactory() = default;
    virtual void load() {}
    virtual void unload() {}
    virtual void describe(ImageEffectDescriptor& desc) = 0;
    virtual void describeInContext(ImageEffectDescriptor& desc, ContextEnum context) = 0;
    virtual ImageEffect* createInstance(OfxImageEffectHandle handle, ContextEnum context) = 0;
    virtual const std::string& getID() const = 0;
    // The identifier with the version digits appended: the registry's key.
    virtual const std::string& getUID() const = 0;
    virtual unsigned int getMajorVersion() const = 0;
    virtual unsigned int getMinorVersion() const = 0;
    virtual OfxPluginEntryPoint* getMainEntry() const = 0;
};

namespace Private {
OfxStatus mainEntry(const char* action, const void* handle, OfxPropertySetHandle inArgs, OfxPropertySetHandle outArgs,
                    const char* plugname);
// Enters a factory into the module's array; called by static registrations.
void registerFactory(PluginFactory* factory);
}  // namespace Private

// One instance per factory class: the entry thunk that tells the dispatcher
// which effect the host is talking to.
template <class Factory>
class FactoryMainEntryHelper : public PluginFactory {
protected:
    // Note: a function-local static rather than a static member, whose
    // initialisation in a template is unordered and could wipe the UID that
    // the factory's own static registration has already written.
    static std::string& uid() {
        static std::string value;
        return value;
    }
    static OfxStatus mainEntryThunk(const char* action, const void* handle, OfxPropertySetHandle inArgs,
                                    OfxPropertySetHandle outArgs) {
        return Private::mainEntry(action, handle, inArgs, outArgs, uid().c_str());
    }
};

template <class Factory>
class PluginFactoryHelper : public FactoryMainEntryHelper<Factory> {
public:
    PluginFactoryHelper(std::string id, unsigned int major, unsigned int minor)
        : id_(std::move(id)), major_(major), minor_(minor) {
        // "talvo.effects:invert" at 1.0 has the key "talvo.effects:invert10".
        this->uid() = id_ + std::to_string(major_) + std::to_string(minor_);
    }

    const std::string& getID() const override { return id_; }
    const std::string& getUID() const override { return this->uid(); }
    unsigned int getMajorVersion() const override { return major_; }
    unsigned int getMinorVersion() const override { return minor_; }
    OfxPluginEntryPoint* getMainEntry() const override { return &FactoryMainEntryHelper<Factory>::mainEntryThunk; }

private:
    std::string id_;
    unsigned int major_;
    unsigned int minor_;
};

// Placed once at file scope in each effect's source. The factory lives as
// long as the module: it is made when the module is loaded and goes with it,
// so that loading, unloading and reloading the module leaves nothing behind.
template <class Factory>
struct FactoryRegistration {
    FactoryRegistration() { Private::registerFactory(&factory); }
    // Mutable: registrations are const objects, the factory is not.
    mutable Factory factory;
};

}  // namespace OFX
