#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagecache.h>
#include <OpenImageIO/imageio.h>

#include <filesystem>
#include <vector>

#include "ofxhost/ImageIO.h"
#include "ofxhost/Status.h"

namespace fs = std::filesystem;

namespace ofxhost {

namespace {

// Formats whose stored values the host passes through untouched.
bool rawFormat(const std::string& format) { return format == "tiff" || format == "openexr"; }

// Reads go through OpenImageIO's shared image cache, which must not hand a
// file rewritten under the same name back from memory.
class ForgetAfterUse {
public:
    explicit ForgetAfterUse(std::string path) : path_(std::move(path)) {}
    ~ForgetAfterUse() { OIIO::ImageCache::create(true)->invalidate(OIIO::ustring(path_)); }
    ForgetAfterUse(const ForgetAfterUse&) = delete;
    ForgetAfterUse& operator=(const ForgetAfterUse&) = delete;

private:
    std::string path_;
};

OIIO::ImageBuf openFile(const std::string& path) {
    std::error_code ec;
    if (!fs::exists(path, ec)) throw Error(path, "no such file");
    OIIO::ImageBuf probe(path);
    const std::string format = probe.file_format_name();
    if (format.empty() || !probe.initialized()) throw Error(path, "cannot read it: " + probe.geterror());
    if (!rawFormat(format)) return probe;
    // Keep alpha as stored: no premultiplication of files that say they hold
    // straight alpha, so that values round-trip bit for bit.
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    return OIIO::ImageBuf(path, 0, 0, nullptr, &config);
}

template <class T>
void fillFromFile(ImageBuffer& img, const std::vector<T>& file, int nch, T opaque) {
    const int w = img.width(), h = img.height();
    for (int fy = 0; fy < h; ++fy) {
        const int y = h - 1 - fy;  // files are top row first
        T* row = reinterpret_cast<T*>(img.row(y));
        const T* src = file.data() + std::size_t(fy) * w * nch;
        for (int x = 0; x < w; ++x, src += nch) {
            T rgba[4];
            if (nch == 1 || nch == 2) {
                rgba[0] = rgba[1] = rgba[2] = src[0];
                rgba[3] = nch == 2 ? src[1] : opaque;
            } else {
                rgba[0] = src[0];
                rgba[1] = src[1];
                rgba[2] = src[2];
                rgba[3] = nch >= 4 ? src[3] : opaque;
            }
            for (int c = 0; c < 4; ++c) row[x * 4 + img.storageIndex(c)] = rgba[c];
        }
    }
}

template <class T>
std::vector<T> toFile(const ImageBuffer& img, int nch) {
    const int w = img.width(), h = img.height();
    std::vector<T> out(std::size_t(w) * h * nch);
    for (int fy = 0; fy < h; ++fy) {
        const T* row = reinterpret_cast<const T*>(img.row(h - 1 - fy));
        T* dst = out.data() + std::size_t(fy) * w * nch;
        for (int x = 0; x < w; ++x, dst += nch)
            for (int c = 0; c < nch; ++c) dst[c] = row[x * 4 + img.storageIndex(c)];
    }
    return out;
}

}  // namespace

bool imageFilesSupported() { return true; }

Depth fileDepth(const std::string& path) {
    ForgetAfterUse forget(path);
    const OIIO::ImageBuf file = openFile(path);
    return file.pixeltype() == OIIO::TypeDesc::UINT8 ? Depth::Byte : Depth::Float;
}

ImageBuffer readImage(const std::string& path, Depth depth, PixelOrder order) {
    ForgetAfterUse forget(path);
    OIIO::ImageBuf file = openFile(path);
    const OIIO::TypeDesc type = depth == Depth::Byte ? OIIO::TypeDesc::UINT8 : OIIO::TypeDesc::FLOAT;
    if (!file.read(0, 0, true, type)) throw Error(path, "cannot read its pixels: " + file.geterror());
    const OIIO::ROI roi = file.roi();
    const int w = roi.width(), h = roi.height(), nch = file.nchannels();
    if (w <= 0 || h <= 0 || nch <= 0) throw Error(path, "holds no pixels");
    const int keep = std::min(nch, 4);
    const OIIO::ROI wanted(roi.xbegin, roi.xend, roi.ybegin, roi.yend, 0, 1, 0, keep);
    ImageBuffer img(w, h, depth, order);
    if (depth == Depth::Byte) {
        std::vector<unsigned char> pixels(std::size_t(w) * h * keep);
        if (!file.get_pixels(wanted, type, pixels.data()))
            throw Error(path, "cannot read its pixels: " + file.geterror());
        fillFromFile<unsigned char>(img, pixels, keep, 255);
    } else {
        std::vector<float> pixels(std::size_t(w) * h * keep);
        if (!file.get_pixels(wanted, type, pixels.data()))
            throw Error(path, "cannot read its pixels: " + file.geterror());
        fillFromFile<float>(img, pixels, keep, 1.0f);
    }
    return img;
}

void checkWritable(const std::string& path) {
    std::error_code ec;
    const fs::path dir = fs::path(path).parent_path();
    if (!dir.empty() && !fs::is_directory(dir, ec)) throw Error(path, "its directory does not exist");
    if (!OIIO::ImageOutput::create(path)) throw Error(path, "no image format for this file name");
}

void writeImageFile(const std::string& file, const std::string& formatName, const ImageBuffer& img) {
    auto out = OIIO::ImageOutput::create(formatName);
    if (!out) throw Error(formatName, "no image format for this file name: " + OIIO::geterror());
    const std::string format = out->format_name();
    const int nch = out->supports("alpha") ? 4 : 3;
    const bool keepFloat = img.depth() == Depth::Float && (rawFormat(format) || format == "hdr");
    const OIIO::TypeDesc type = keepFloat ? OIIO::TypeDesc::FLOAT : OIIO::TypeDesc::UINT8;
    OIIO::ImageSpec header(img.width(), img.height(), nch, type);
    if (nch == 4) header.alpha_channel = 3;
    if (format == "openexr") header.attribute("compression", "zip");
    if (!out->open(file, header)) throw Error(formatName, "cannot write it: " + out->geterror());
    bool ok;
    if (img.depth() == Depth::Byte) {
        const auto data = toFile<unsigned char>(img, nch);
        ok = out->write_image(OIIO::TypeDesc::UINT8, data.data());
    } else {
        const auto data = toFile<float>(img, nch);
        ok = out->write_image(OIIO::TypeDesc::FLOAT, data.data());
    }
    const bool closed = out->close();
    if (!ok || !closed) throw Error(formatName, "cannot write it: " + out->geterror());
}

}  // namespace ofxhost
