// A thin typed view of an OFX property set. Every access goes to the host;
// failures are logged, and when asked for, turned into the frame's
// exceptions.
#pragma once

#include <string>
#include <vector>

#include "ofxCore.h"

namespace OFX {

class PropertySet {
public:
    // Whether a property the host does not know throws PropertyUnknownToHost.
    static bool throwOnUnsupported;
    // Above 0 every successful access is logged too.
    static int logLevel;

    explicit PropertySet(OfxPropertySetHandle handle = nullptr) : handle_(handle) {}
    virtual ~PropertySet() = default;

    OfxPropertySetHandle propSetHandle() const { return handle_; }
    void propSetHandle(OfxPropertySetHandle handle) { handle_ = handle; }

    int propGetDimension(const char* name, bool throwOnFailure = true) const;
    void propReset(const char* name);

    void propSetPointer(const char* name, void* value, int index = 0, bool throwOnFailure = true);
    void propSetString(const char* name, const std::string& value, int index = 0, bool throwOnFailure = true);
    void propSetDouble(const char* name, double value, int index = 0, bool throwOnFailure = true);
    void propSetInt(const char* name, int value, int index = 0, bool throwOnFailure = true);
    void propSetDoubleN(const char* name, const double* values, int count, bool throwOnFailure = true);

    void* propGetPointer(const char* name, int index = 0, bool throwOnFailure = true) const;
    std::string propGetString(const char* name, int index = 0, bool throwOnFailure = true) const;
    double propGetDouble(const char* name, int index = 0, bool throwOnFailure = true) const;
    int propGetInt(const char* name, int index = 0, bool throwOnFailure = true) const;
    // All values of a string property.
    std::vector<std::string> propGetString(const char* name, bool throwOnFailure) const;

private:
    OfxPropertySetHandle handle_;
};

}  // namespace OFX
