// OFX status codes as the host reports them to people: by their symbol.
#pragma once

#include <stdexcept>
#include <string>

#include "ofxCore.h"

namespace ofxhost {

// The published symbol of a status ("kOfxStatFailed"), or "status N" for a
// value outside the published table.
std::string statusName(OfxStatus status);

// True for the statuses that mean "the call did what was asked":
// kOfxStatOK and the three replies.
inline bool statusPasses(OfxStatus s) {
    return s == kOfxStatOK || s == kOfxStatReplyYes || s == kOfxStatReplyNo || s == kOfxStatReplyDefault;
}

// A failure of the host library: what went wrong, and the OFX status when a
// plug-in or a suite call gave one (kOfxStatOK when the fault is the host's
// own, for example a malformed command-line value).
class Error : public std::runtime_error {
public:
    Error(std::string what, std::string why, OfxStatus status = kOfxStatOK);

    const std::string& what_part() const noexcept { return what_; }
    const std::string& why() const noexcept { return why_; }
    OfxStatus status() const noexcept { return status_; }

private:
    std::string what_;
    std::string why_;
    OfxStatus status_;
};

// Throws Error(what, "<action> returned <status name>") unless the status passes.
void throwIfFailed(OfxStatus status, const std::string& what, const std::string& action);

}  // namespace ofxhost
