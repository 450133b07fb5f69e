// Shared pieces of the host tests: the test bundle, a host per test, and
// temporary directories that clean up after themselves.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "ofxhost/Bundle.h"
#include "ofxhost/Host.h"
#include "ofxhost/Image.h"
#include "ofxhost/Param.h"
#include "ofxhost/Plugin.h"

namespace hosttest {

inline const std::string kBundle = HOST_TEST_BUNDLE;
// Plug-ins written as other vendors write them: the render sequence and
// tiles, and what they declare.
inline const std::string kRenderCases = RENDER_CASES_BUNDLE;
inline const std::string kForeignCases = FOREIGN_CASES_BUNDLE;

// A quiet host (messages kept, not printed) with a few threads.
std::shared_ptr<ofxhost::Host> quietHost(ofxhost::HostConfig config = {});
std::shared_ptr<ofxhost::Host> quietHost(unsigned threads);
// Loads a plug-in of a test bundle by identifier.
std::shared_ptr<ofxhost::Plugin> loadTestPlugin(const std::shared_ptr<ofxhost::Host>& host, const std::string& id,
                                                const std::string& bundle = kBundle);

// ofxrender run in-process on a bundle: exit status and what it wrote.
struct CliRun {
    int status;
    std::string out;
    std::string err;
};
CliRun runOfxrender(std::vector<std::string> args, const std::string& bundle = kBundle);
// A failure as ofxrender reports one: status 1 and the single line
// "ofxrender ERROR: <what>: <why>...".
void expectOneLineError(const CliRun& r, const std::string& what, const std::string& why = "");
// A float image with every channel of every pixel set to value.
ofxhost::ImageBuffer solidFloat(int width, int height, ofxhost::PixelOrder order, float value);

// A parameter set of its own, reading the time below as the effect's.
class ParamSetTest : public ::testing::Test {
protected:
    ofxhost::Param& define(const char* type, const char* name);
    double time = 0;
    ofxhost::ParamSet set{nullptr, &time};
};

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::filesystem::path& path() const { return path_; }
    std::string file(const std::string& name) const { return (path_ / name).string(); }
    // Names of the entries in the directory, sorted.
    std::vector<std::string> entries() const;

private:
    std::filesystem::path path_;
};

}  // namespace hosttest
