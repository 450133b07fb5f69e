#include "cli/Terminal.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ostream>

namespace ofxcli {

bool stderrIsTerminal() { return ::isatty(STDERR_FILENO) == 1; }

namespace {

// An output buffer over a file descriptor.
class FdBuffer : public std::streambuf {
public:
    explicit FdBuffer(int fd) : fd_(fd) { setp(buffer_, buffer_ + sizeof buffer_); }
    ~FdBuffer() override { sync(); }

protected:
    int_type overflow(int_type c) override {
        if (sync() != 0) return traits_type::eof();
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            *pptr() = traits_type::to_char_type(c);
            pbump(1);
        }
        return traits_type::not_eof(c);
    }
    int sync() override {
        const char* p = pbase();
        while (p < pptr()) {
            const ssize_t n = ::write(fd_, p, std::size_t(pptr() - p));
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return -1;
            p += n;
        }
        setp(buffer_, buffer_ + sizeof buffer_);
        return 0;
    }

private:
    int fd_;
    char buffer_[4096];
};

}  // namespace

CleanStdout::CleanStdout() {
    std::fflush(stdout);
    saved_ = ::dup(STDOUT_FILENO);
    if (saved_ >= 0 && ::dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        ::close(saved_);
        saved_ = -1;
    }
    buffer_ = std::make_unique<FdBuffer>(saved_ >= 0 ? saved_ : STDOUT_FILENO);
    out_ = std::make_unique<std::ostream>(buffer_.get());
}

CleanStdout::~CleanStdout() {
    out_->flush();
    out_.reset();
    buffer_.reset();
    // What plug-ins left in stdio's buffer belongs to stderr too.
    std::fflush(stdout);
    if (saved_ >= 0) {
        ::dup2(saved_, STDOUT_FILENO);
        ::close(saved_);
    }
}

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
