// Shared pieces of the host tests: the test bundle, a host per test, and
// temporary directories that clean up after themselves.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "ofxhost/Bundle.h"
#include "ofxhost/Host.h"
#include "ofxhost/Plugin.h"

namespace hosttest {

inline const std::string kBundle = HOST_TEST_BUNDLE;

// A quiet host (messages kept, not printed) with a few threads.
std::shared_ptr<ofxhost::Host> quietHost(ofxhost::HostConfig config = {});
std::shared_ptr<ofxhost::Host> quietHost(unsigned threads);
// Loads a plug-in of the test bundle by identifier.
std::shared_ptr<ofxhost::Plugin> loadTestPlugin(const std::shared_ptr<ofxhost::Host>& host, const std::string& id);

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
