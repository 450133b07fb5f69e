// The per-frame progress line of a render on a terminal: frame, percent,
// frames per second and time left, redrawn in place. Silent when stderr is
// not a terminal, so logs and pipes stay clean.
#pragma once

#include <chrono>
#include <cstddef>
#include <iosfwd>

namespace ofxcli {

bool stderrIsTerminal();

class ProgressLine {
public:
    ProgressLine(std::ostream& err, bool enabled);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void frameDone(std::size_t index, std::size_t count, double time);

private:
    std::ostream& err_;
    bool enabled_;
    bool drawn_ = false;
    std::chrono::steady_clock::time_point start_;
};

}  // namespace ofxcli
