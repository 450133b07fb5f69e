#include "ofxhost/Status.h"

namespace ofxhost {

std::string statusName(OfxStatus status) {
    static const char* const names[] = {
        "kOfxStatOK",
        "kOfxStatFailed",
        "kOfxStatErrFatal",
        "kOfxStatErrUnknown",
        "kOfxStatErrMissingHostFeature",
        "kOfxStatErrUnsupported",
        "kOfxStatErrExists",
        "kOfxStatErrFormat",
        "kOfxStatErrMemory",
        "kOfxStatErrBadHandle",
        "kOfxStatErrBadIndex",
        "kOfxStatErrValue",
        "kOfxStatReplyYes",
        "kOfxStatReplyNo",
        "kOfxStatReplyDefault",
        "kOfxStatErrImageFormat",
    };
    if (status >= 0 && status < static_cast<OfxStatus>(std::size(names))) return names[status];
    // The image and GPU statuses of the image effect API sit apart from the core ones.
    switch (status) {
        case 1000: return "kOfxStatErrImageFormat";
        case 1001: return "kOfxStatGPUOutOfMemory";
        case 1002: return "kOfxStatGPURenderFailed";
        default: break;
    }
    return "status " + std::to_string(status);
}

Error::Error(std::string what, std::string why, OfxStatus status)
    : std::runtime_error(what + ": " + why), what_(std::move(what)), why_(std::move(why)), status_(status) {}

void throwIfFailed(OfxStatus status, const std::string& what, const std::string& action) {
    if (!statusPasses(status)) throw Error(what, action + " returned " + statusName(status), status);
}

}  // namespace ofxhost
