#include "HostTestSupport.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>

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

std::shared_ptr<ofxhost::Plugin> loadTestPlugin(const std::shared_ptr<ofxhost::Host>& host, const std::string& id) {
    auto bundle = ofxhost::Bundle::open(kBundle, host.get());
    const int index = bundle->indexOf(id);
    if (index < 0) throw std::runtime_error("test bundle lacks " + id);
    return ofxhost::Plugin::load(host, bundle, index);
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
