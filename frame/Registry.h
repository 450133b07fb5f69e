// The module's registry: the factories in their fixed order, the plug-in
// records handed to the host, and the descriptors made for each effect.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "Core.h"
#include "Factory.h"

namespace OFX {

class ImageEffectDescriptor;

namespace Private {

// The identifiers of the bundle's effects, in the order the host sees them.
extern const char* const kEffectOrder[];
extern const int kEffectCount;

// The factory registered under a UID, or null.
PluginFactory* findFactory(const std::string& uid);
// Stores a descriptor of an effect, replacing one of the same context.
ImageEffectDescriptor* storeDescriptor(const std::string& uid, ContextEnum context,
                                       std::unique_ptr<ImageEffectDescriptor> descriptor);
void releaseDescriptors(const std::string& uid);

}  // namespace Private
}  // namespace OFX
