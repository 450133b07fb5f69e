// The frame's diagnostic log: one process-wide stream, closed unless the
// environment asks for it, with indentation that follows the action nesting.
#pragma once

namespace OFX::Log {

// Name of the environment variable that switches the log on. It names either
// a file, or an existing directory in which "ofxLog_<pid>.txt" is created.
inline constexpr const char* kEnvironmentVariable = "ONDU1_LOG";
inline constexpr const char* kDefaultBaseName = "ofxLog_";

// Opens the stream from the environment if it is not open yet. Returns
// whether a stream is open afterwards. Never throws.
bool open();
// Closes the stream and forgets its name.
void close();
bool isOpen();

void print(const char* format, ...) __attribute__((format(printf, 1, 2)));
void warning(bool condition, const char* format, ...) __attribute__((format(printf, 2, 3)));
void error(bool condition, const char* format, ...) __attribute__((format(printf, 2, 3)));
void indent();
void outdent();

}  // namespace OFX::Log
