#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <filesystem>

#include "ofxhost/ImageIO.h"
#include "ofxhost/Status.h"

namespace fs = std::filesystem;

namespace ofxhost {

PendingImage::PendingImage(const std::string& target, const ImageBuffer& image) : target_(target) {
    static std::atomic<unsigned> serial{0};
    const fs::path t(target);
    // Hidden, unique, and with the target's extension, which names the format.
    const std::string name = "." + t.stem().string() + ".ofxrender-" + std::to_string(::getpid()) + "-" +
                             std::to_string(serial++) + t.extension().string();
    temp_ = (t.parent_path() / name).string();
    try {
        writeImageFile(temp_, target_, image);
    } catch (...) {
        std::error_code ec;
        fs::remove(temp_, ec);
        throw;
    }
}

PendingImage::PendingImage(PendingImage&& o) noexcept : target_(std::move(o.target_)), temp_(std::move(o.temp_)) {
    o.temp_.clear();
}

PendingImage::~PendingImage() {
    if (!temp_.empty()) {
        std::error_code ec;
        fs::remove(temp_, ec);
    }
}

void PendingImage::commit() {
    std::error_code ec;
    fs::rename(temp_, target_, ec);
    if (ec) throw Error(target_, "cannot move the finished file into place: " + ec.message());
    temp_.clear();
}

void writeImage(const std::string& path, const ImageBuffer& image) { PendingImage(path, image).commit(); }

Depth depthForExtension(const std::string& path) {
    const auto dot = path.rfind('.');
    std::string ext = dot == std::string::npos ? "" : path.substr(dot + 1);
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    return (ext == "exr" || ext == "hdr") ? Depth::Float : Depth::Byte;
}

}  // namespace ofxhost
