// SPDX-License-Identifier: MIT
// support.h - what the tests share: an instance in a guarded buffer, captured output, a changed
// environment, files, noise.

#ifndef EZOSSL_TEST_SUPPORT_H
#define EZOSSL_TEST_SUPPORT_H

#include "SslCore.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

using Frame = std::array<int16_t, 256>;

constexpr uint32_t kBufferBytes = 21936; // as the library promises, counted by hand

// What `work` prints to standard output.
std::string printed_by(const std::function<void()> &work);

// Sets an environment variable (nullopt: removes it) for the life of the object.
class Environment
{
public:
    Environment(const char *name, const std::optional<std::string> &value);
    ~Environment();
    Environment(const Environment &) = delete;

private:
    std::string name_;
    std::optional<std::string> before_;
};

// Writes a file in the tests' own directory; returns its path.
std::string write_file(const std::string &name, const std::string &contents);
std::string read_file(const std::string &path);

SslInit an_init(int32_t rate = 16000, float spacing_cm = 5.0f, int32_t bf_mode = 0);

// An instance on the heap, in a buffer of exactly the promised size that starts at 4 modulo 8,
// between guard words. Its message level is 1, errors only, by default.
class Instance
{
public:
    enum Stage { kBuffer, kInitialised, kConfigured, kShaped, kReady, kRunning };

    explicit Instance(Stage stage = kReady, const SslInit &init = an_init(),
                      const SslConfig &config = {25, -80, 32}, const char *level = "1");
    ~Instance(); // fails the test if a guard word was written
    Instance(const Instance &) = delete;

    SslHandle *operator->() { return handle_; }
    operator SslHandle *() { return handle_; }
    SslHandle *get() const { return handle_; }
    std::vector<char> bytes() const;

private:
    char *memory_;
    SslHandle *handle_;
};

// White noise in both channels; channel 0 hears it `delay` samples later. Every sample depends on
// its place alone, so blocks can be joined.
std::vector<int16_t> delayed_noise(uint32_t seed, int32_t delay, uint32_t frames, int32_t level);

// Runs the frames of interleaved samples; returns the delays.
std::vector<int32_t> run_all(SslHandle *handle, const std::vector<int16_t> &samples);

#endif
