#include "HostTestSupport.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <sstream>

#include "cli/Cli.h"

namespace hosttest {

std::shared_ptr<ofxhost::Host> quietHost(ofxhost::HostConfig config) {
    config.printMessages = false;
    if (config.threads == 0) config.threads = 4;
    return std::make_shared<ofxhost::Host>(std::move(config));
}

std::shared_ptr<ofxhost::Host> quietHost(unsigned threads) {
    ofxhost::HostConfig config;
    config.threads = threads;
    return quietHost(std::move(config));
}

std::shared_ptr<ofxhost::Plugin> loadTestPlugin(const std::shared_ptr<ofxhost::Host>& host, const std::string& id,
                                                const std::string& bundle) {
    auto opened = ofxhost::Bundle::open(bundle, host.get());
    const int index = opened->indexOf(id);
    if (index < 0) throw std::runtime_error(bundle + " lacks " + id);
    return ofxhost::Plugin::load(host, opened, index);
}

CliRun runOfxrender(std::vector<std::string> args, const std::string& bundle) {
    args.push_back("--bundle");
    args.push_back(bundle);
    std::ostringstream out, err;
    const int status = ofxcli::runCli(args, out, err);
    return {status, out.str(), err.str()};
}

void expectOneLineError(const CliRun& r, const std::string& what, const std::string& why) {
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err.rfind("ofxrender ERROR: " + what + ": " + why, 0), 0u) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
}

ofxhost::ImageBuffer solidFloat(int width, int height, ofxhost::PixelOrder order, float value) {
    ofxhost::ImageBuffer img(width, height, ofxhost::Depth::Float, order);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < 4; ++c) img.setFloat(x, y, c, value);
    return img;
}

ofxhost::Param& ParamSetTest::define(const char* type, const char* name) {
    ofxhost::Param* p = nullptr;
    EXPECT_EQ(set.define(type, name, &p), kOfxStatOK) << name;
    return *p;
}

TempDir::TempDir() {
    static std::atomic<int> serial{0};
    path_ = std::filesystem::temp_directory_path() /
            ("ofxhost-test-" + std::to_string(::getpid()) + "-" + std::to_string(serial++));
    std::filesystem::create_directories(path_);
}

TempDir::~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

std::vector<std::string> TempDir::entries() const {
    std::vector<std::string> out;
    for (const auto& e : std::filesystem::directory_iterator(path_)) out.push_back(e.path().filename().string());
    std::sort(out.begin(), out.end());
    return out;
}

}  // namespace hosttest
