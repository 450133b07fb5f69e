// The keys of an effect's older form, handed over by the keyframe-uplift
// action: what a video editor does when it opens a project saved with the
// older effect. The command line reads them from a small JSON file.
#pragma once

#include <string>
#include <vector>

namespace ofxhost {

struct UpliftKey {
    double time = 0.0;
    std::string interpolation = "OfxTalvoKeyframeInterpolationLinear";
    std::vector<unsigned char> record;  // the key's value in the older form
};

struct UpliftData {
    std::vector<UpliftKey> keys;
    std::vector<unsigned char> state;  // the older effect's static record
};

// {"keys": [{"time": 0, "interpolation": "OfxTalvoKeyframeInterpolationHold",
//            "doubles": [0.5]}, {"time": 10, "hex": "000000000000e03f"}],
//  "state": {"hex": ""}}
// A key's record is "doubles" (each 8 bytes, native order) or "hex" (raw
// bytes); the interpolation defaults to linear; "state" is optional. Throws
// Error naming `what`.
UpliftData parseUplift(const std::string& text, const std::string& what);
UpliftData readUpliftFile(const std::string& path);

}  // namespace ofxhost
