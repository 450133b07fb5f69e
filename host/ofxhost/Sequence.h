// Frame ranges and frame-numbered file names, as oiiotool writes them:
//   ranges  "5", "1-10", "1-10x2" (every second frame), negative frames as "-5--1"
//   names   a run of '#' is the frame number zero-padded to four digits per
//           '#'; a run of '@' is padded to one digit per '@'.
#pragma once

#include <string>
#include <vector>

namespace ofxhost {

struct FrameRange {
    long first = 1;
    long last = 1;
    long step = 1;
    std::vector<long> frames() const;
};

// Throws Error("--frames", why) for malformed text, a step below 1, or last
// before first.
FrameRange parseFrameRange(const std::string& text);

bool hasFramePattern(const std::string& name);
std::string expandFramePattern(const std::string& name, long frame);

}  // namespace ofxhost
