#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "cli/Cli.h"
#include "cli/Terminal.h"

int main(int argc, char** argv) {
    std::error_code ec;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", ec);
    const std::string dir = ec ? std::string() : self.parent_path().string();
    const std::vector<std::string> args(argv + 1, argv + argc);
    // Plug-ins that print to stdout must not corrupt what ofxrender writes there.
    ofxcli::CleanStdout stdoutGuard;
    return ofxcli::runCli(args, stdoutGuard.out(), std::cerr, dir);
}
