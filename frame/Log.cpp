#include "Log.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace OFX::Log {
namespace {

FILE* gStream = nullptr;
std::string gFileName;
// The nesting of the actions a thread is in: hosts call actions on several
// threads at once, and each thread's lines are indented by its own depth.
thread_local int gIndent = 0;

// One whole line at a time, so that the lines of concurrent actions never
// mix within a line.
void write(const char* prefix, const char* format, va_list args) {
    ::flockfile(gStream);
    for (int i = 0; i < gIndent; ++i) std::fputs("    ", gStream);
    if (prefix) std::fputs(prefix, gStream);
    std::vfprintf(gStream, format, args);
    std::fputc('\n', gStream);
    std::fflush(gStream);
    ::funlockfile(gStream);
}

}  // namespace

bool open() {
    if (gStream) return true;
    const char* where = std::getenv(kEnvironmentVariable);
    if (!where || !*where) return false;
    std::string name = where;
    struct stat st {};
    if (::stat(where, &st) == 0 && S_ISDIR(st.st_mode)) {
        name += "/";
        name += kDefaultBaseName;
        name += std::to_string(static_cast<long>(::getpid()));
        name += ".txt";
    }
    gStream = std::fopen(name.c_str(), "a");
    if (gStream) gFileName = name;
    return gStream != nullptr;
}

void close() {
    if (gStream) std::fclose(gStream);
    gStream = nullptr;
    gFileName.clear();
    gIndent = 0;
}

bool isOpen() { return gStream != nullptr; }

namespace {

// The stream goes with the module, so that unloading it leaves no file open.
struct CloseWithTheModule {
    ~CloseWithTheModule() { close(); }
} gCloseWithTheModule;

}  // namespace

void print(const char* format, ...) {
    if (!gStream) return;
    va_list args;
    va_start(args, format);
    write(nullptr, format, args);
    va_end(args);
}

void warning(bool condition, const char* format, ...) {
    if (!gStream || !condition) return;
    va_list args;
    va_start(args, format);
    write("WARNING : ", format, args);
    va_end(args);
}

void error(bool condition, const char* format, ...) {
    if (!gStream || !condition) return;
    va_list args;
    va_start(args, format);
    write("ERROR : ", format, args);
    va_end(args);
}

void indent() { ++gIndent; }
void outdent() { --gIndent; }

}  // namespace OFX::Log
