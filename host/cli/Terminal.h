// The per-frame progress line of a render on a terminal: frame, percent,
// frames per second and time left, redrawn in place. Silent when stderr is
// not a terminal, so logs and pipes stay clean.
#pragma once

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <memory>
#include <streambuf>

namespace ofxcli {

bool stderrIsTerminal();

// Keeps what plug-ins print off ofxrender's standard output, so that `list
// --json` and `describe --json` stay machine-readable whatever a bundle
// printf()s while it loads or describes: while one lives, descriptor 1 is a
// copy of descriptor 2 (the plug-ins' writes to stdout reach stderr), and
// out() writes to the original standard output through a saved descriptor.
// The destructor flushes both and puts descriptor 1 back.
class CleanStdout {
public:
    CleanStdout();
    ~CleanStdout();
    CleanStdout(const CleanStdout&) = delete;
    CleanStdout& operator=(const CleanStdout&) = delete;

    // ofxrender's own output. When the descriptors cannot be duplicated it
    // writes to descriptor 1 as it is.
    std::ostream& out() { return *out_; }

private:
    int saved_ = -1;
    std::unique_ptr<std::streambuf> buffer_;
    std::unique_ptr<std::ostream> out_;
};

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
