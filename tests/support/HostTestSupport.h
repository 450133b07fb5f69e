// Shared pieces of the host tests: the test bundle, a host per test, and
// temporary directories that clean up after themselves.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "ofxhost/Bundle.h"
#include "ofxhost/Host.h"
#include "ofxhost/Image.h"
#include "ofxhost/Param.h"
#include "ofxhost/Plugin.h"

namespace hosttest {

inline const std::string kBundle = HOST_TEST_BUNDLE;

// A quiet host (messages kept, not printed) with a few threads.
std::shared_ptr<ofxhost::Host> quietHost(ofxhost::HostConfig config = {});
std::shared_ptr<ofxhost::Host> quietHost(unsigned threads);
// Loads a plug-in of the test bundle by identifier.
std::shared_ptr<ofxhost::Plugin> loadTestPlugin(const std::shared_ptr<ofxhost::Host>& host, const std::string& id);
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
