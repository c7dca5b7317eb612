// SPDX-License-Identifier: MIT
// support.cpp - what the tests share.

#include "support.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <unistd.h>

namespace {

constexpr uint32_t kGuard = 0xC0FFEE11;

// The files of this run; they are removed when it ends.
struct Folder {
    const std::string path = testing::TempDir() + "ezossl_tests_" + std::to_string(getpid());
    Folder() { std::filesystem::create_directories(path); }
    ~Folder() { std::filesystem::remove_all(path); }
};

} // namespace

std::string printed_by(const std::function<void()> &work)
{
    FILE *const file = std::tmpfile();
    std::fflush(stdout);
    const int before = dup(STDOUT_FILENO);
    dup2(fileno(file), STDOUT_FILENO);
    work();
    std::fflush(stdout);
    dup2(before, STDOUT_FILENO);
    close(before);
    std::string text(static_cast<size_t>(lseek(fileno(file), 0, SEEK_END)), '\0');
    std::rewind(file);
    text.resize(std::fread(text.data(), 1, text.size(), file));
    std::fclose(file);
    return text;
}

Environment::Environment(const char *name, const std::optional<std::string> &value) : name_(name)
{
    if (const char *const old = std::getenv(name))
        before_ = old;
    value ? setenv(name, value->c_str(), 1) : unsetenv(name);
}

Environment::~Environment()
{
    before_ ? setenv(name_.c_str(), before_->c_str(), 1) : unsetenv(name_.c_str());
}

std::string write_file(const std::string &name, const std::string &contents)
{
    static const Folder folder;
    std::string path = folder.path + "/" + name;
    std::ofstream(path, std::ios::binary) << contents;
    return path;
}

std::string read_file(const std::string &path)
{
    std::ostringstream contents;
    contents << std::ifstream(path, std::ios::binary).rdbuf();
    return contents.str();
}

SslInit an_init(int32_t rate, float spacing_cm, int32_t bf_mode)
{
    return {128, rate, spacing_cm, bf_mode, 2};
}

Instance::Instance(Stage stage, const SslInit &init, const SslConfig &config, const char *level)
    : memory_(new char[8 + 4 + kBufferBytes + 4]),
      handle_(reinterpret_cast<SslHandle *>(memory_ + 12))
{
    // new aligns to 8 at least, so memory_ + 12 is 4 modulo 8; the guards lie on both sides of the
    // buffer.
    std::memset(memory_, 0x5A, 8 + 4 + kBufferBytes + 4);
    std::memcpy(memory_ + 8, &kGuard, 4);
    std::memcpy(memory_ + 12 + kBufferBytes, &kGuard, 4);
    const Environment quiet(
        "DML_PATH", write_file("level.json", std::string("{\"debug_level\":") + level + "}"));
    printed_by([&] {
        if (stage >= kInitialised && EzoSsl_Init(handle_, &init) != handle_)
            ADD_FAILURE() << "Init";
        if (stage >= kConfigured && EzoSsl_Config(handle_, &config) != 0)
            ADD_FAILURE() << "Config";
        if (stage >= kShaped && EzoSsl_Set_Shape(handle_, 0) != 0)
            ADD_FAILURE() << "Set_Shape";
        if (stage >= kReady && EzoSsl_Cal_Params(handle_) != 0)
            ADD_FAILURE() << "Cal_Params";
        if (stage >= kRunning)
            run_all(handle_, delayed_noise(1, 0, 1, 1000));
    });
}

Instance::~Instance()
{
    EXPECT_EQ(std::memcmp(memory_ + 8, &kGuard, 4), 0) << "written before the buffer";
    EXPECT_EQ(std::memcmp(memory_ + 12 + kBufferBytes, &kGuard, 4), 0)
        << "written behind the buffer";
    delete[] memory_;
}

std::vector<char> Instance::bytes() const
{
    const char *const first = reinterpret_cast<const char *>(handle_);
    return {first, first + kBufferBytes};
}

std::vector<int16_t> delayed_noise(uint32_t seed, int32_t delay, uint32_t frames, int32_t level)
{
    const auto noise = [=](int32_t n) {
        uint32_t hash = (static_cast<uint32_t>(n) + seed * 7919u) * 2654435761u;
        hash = (hash ^ (hash >> 15)) * 2246822519u;
        hash ^= hash >> 13;
        return static_cast<int16_t>((static_cast<int32_t>(hash % 2001u) - 1000) * level / 1000);
    };
    std::vector<int16_t> samples;
    for (int32_t n = 0; n < static_cast<int32_t>(frames) * 128; ++n) {
        samples.push_back(noise(n - delay));
        samples.push_back(noise(n));
    }
    return samples;
}

std::vector<int32_t> run_all(SslHandle *handle, const std::vector<int16_t> &samples)
{
    std::vector<int32_t> delays(samples.size() / 256);
    for (size_t frame = 0; frame < delays.size(); ++frame)
        EXPECT_EQ(EzoSsl_Run(handle, &samples[frame * 256], &delays[frame]), 0);
    return delays;
}
