// The command line of ofxrender, parsed into one record. Options may come
// before or after the command and the plug-in; "--name value" and
// "--name=value" are the same. A malformed or misplaced option throws
// Error("<option>", "<why>").
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ofxhost/Image.h"
#include "ofxhost/Instance.h"
#include "ofxhost/Sequence.h"

namespace ofxcli {

struct CliOptions {
    std::string command;  // list, describe, render, bench, list-devices; "" with --help or --version
    std::string plugin;
    bool help = false;
    bool version = false;
    bool json = false;
    std::vector<std::string> bundles;
    std::string context;
    std::vector<std::string> inputs;  // "[CLIP=]FILE"
    std::string output;
    std::vector<std::string> sets;  // "NAME=VALUE[@TIME]"
    std::vector<std::string> presses;
    std::string uplift;
    std::optional<ofxhost::Depth> depth;
    ofxhost::PixelOrder order = ofxhost::PixelOrder::RGBA;
    std::optional<std::pair<int, int>> size;
    std::optional<ofxhost::FrameRange> frames;
    std::optional<double> time;
    unsigned threads = 0;
    double renderScale = 1.0;
    ofxhost::Quality quality = ofxhost::Quality::Best;
    std::string hostName;
    std::optional<std::pair<int, int>> hostVersion;
    std::string logFile;
    int repeat = 10;
    ofxhost::Layout layout;
    // --poison: outputs filled with a poison value before each render.
    bool poison = false;
    // --opencl[=PLATFORM:DEVICE]: the device selection ("" for the first).
    std::optional<std::string> openCL;
};

CliOptions parseCommandLine(const std::vector<std::string>& args);

// "1920x1080" -> {1920, 1080}; throws Error(option, why).
std::pair<int, int> parseSize(const std::string& option, const std::string& text);

// The text of --help.
std::string helpText();

}  // namespace ofxcli
