#include "ofxhost/Sequence.h"

#include <cerrno>
#include <cstdlib>
#include <regex>

#include "ofxhost/Status.h"

namespace ofxhost {

std::vector<long> FrameRange::frames() const {
    std::vector<long> out;
    for (long f = first; f <= last; f += step) out.push_back(f);
    return out;
}

FrameRange parseFrameRange(const std::string& text) {
    static const std::regex form(R"(^\s*(-?\d+)(?:\s*-\s*(-?\d+)(?:\s*x\s*(\d+))?)?\s*$)");
    std::smatch m;
    if (!std::regex_match(text, m, form))
        throw Error("--frames", "\"" + text + "\" is not a frame range (like 1-10 or 1-10x2)");
    auto number = [&](const std::string& s) {
        errno = 0;
        const long v = std::strtol(s.c_str(), nullptr, 10);
        if (errno == ERANGE || v > 100000000L || v < -100000000L)
            throw Error("--frames", "frame " + s + " is out of range");
        return v;
    };
    FrameRange r;
    r.first = number(m[1].str());
    r.last = m[2].matched ? number(m[2].str()) : r.first;
    r.step = m[3].matched ? number(m[3].str()) : 1;
    if (r.step < 1) throw Error("--frames", "the step of \"" + text + "\" must be at least 1");
    if (r.last < r.first) throw Error("--frames", "\"" + text + "\" ends before it starts");
    return r;
}

bool hasFramePattern(const std::string& name) {
    return name.find('#') != std::string::npos || name.find('@') != std::string::npos;
}

std::string expandFramePattern(const std::string& name, long frame) {
    std::string out;
    for (std::size_t i = 0; i < name.size();) {
        const char c = name[i];
        if (c != '#' && c != '@') {
            out += c;
            ++i;
            continue;
        }
        std::size_t run = 0;
        while (i + run < name.size() && name[i + run] == c) ++run;
        const std::size_t width = c == '#' ? run * 4 : run;
        std::string digits = std::to_string(frame < 0 ? -frame : frame);
        if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
        out += (frame < 0 ? "-" : "") + digits;
        i += run;
    }
    return out;
}

}  // namespace ofxhost
