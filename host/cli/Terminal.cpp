#include "cli/Terminal.h"

#include <unistd.h>

#include <cstdio>
#include <ostream>

namespace ofxcli {

bool stderrIsTerminal() { return ::isatty(STDERR_FILENO) == 1; }

ProgressLine::ProgressLine(std::ostream& err, bool enabled)
    : err_(err), enabled_(enabled), start_(std::chrono::steady_clock::now()) {}

ProgressLine::~ProgressLine() {
    if (drawn_) err_ << "\n";
}

void ProgressLine::frameDone(std::size_t index, std::size_t count, double time) {
    if (!enabled_) return;
    const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    const double done = double(index + 1);
    const double fps = elapsed > 0 ? done / elapsed : 0.0;
    const double left = fps > 0 ? (double(count) - done) / fps : 0.0;
    const int seconds = int(left + 0.5);
    char line[160];
    std::snprintf(line, sizeof line, "\rframe %g (%zu/%zu, %3d%%)  %.2f fps  %02d:%02d left   ", time, index + 1, count,
                  int(done * 100.0 / double(count) + 0.5), fps, seconds / 60, seconds % 60);
    err_ << line << std::flush;
    drawn_ = true;
}

}  // namespace ofxcli
