#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

#include "Log.h"

namespace {

std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

class LogTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = std::filesystem::temp_directory_path() / ("ondu1-log-" + std::to_string(::getpid()));
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override {
        OFX::Log::close();
        ::unsetenv(OFX::Log::kEnvironmentVariable);
        std::filesystem::remove_all(dir_);
    }
    std::filesystem::path dir_;
};

TEST_F(LogTest, ClosedByDefaultAndSilent) {
    ::unsetenv(OFX::Log::kEnvironmentVariable);
    EXPECT_FALSE(OFX::Log::open());
    OFX::Log::print("nothing %d", 1);
    EXPECT_FALSE(OFX::Log::isOpen());
}

TEST_F(LogTest, IndentsAndMarksWarningsAndErrorsOnlyWhenTheConditionHolds) {
    const auto file = dir_ / "frame.log";
    ::setenv(OFX::Log::kEnvironmentVariable, file.c_str(), 1);
    ASSERT_TRUE(OFX::Log::open());
    OFX::Log::print("START %s", "x");
    OFX::Log::indent();
    OFX::Log::warning(true, "w%d", 1);
    OFX::Log::warning(false, "hidden");
    OFX::Log::error(true, "e%s", "2");
    OFX::Log::outdent();
    OFX::Log::print("STOP\n");
    EXPECT_EQ(readFile(file), "START x\n    WARNING : w1\n    ERROR : e2\nSTOP\n\n");
}

TEST_F(LogTest, ADirectoryGetsAFileNamedAfterTheProcess) {
    ::setenv(OFX::Log::kEnvironmentVariable, dir_.c_str(), 1);
    ASSERT_TRUE(OFX::Log::open());
    OFX::Log::print("hello");
    const auto file = dir_ / ("ofxLog_" + std::to_string(::getpid()) + ".txt");
    EXPECT_EQ(readFile(file), "hello\n");
}

TEST_F(LogTest, AnUnwritablePlaceLeavesTheLogClosed) {
    ::setenv(OFX::Log::kEnvironmentVariable, (dir_ / "missing" / "x.log").c_str(), 1);
    EXPECT_FALSE(OFX::Log::open());
    OFX::Log::error(true, "ignored");
}

}  // namespace
