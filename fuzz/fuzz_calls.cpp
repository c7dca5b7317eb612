// SPDX-License-Identifier: MIT
// fuzz_calls.cpp - sequences of calls with hostile arguments, a hostile environment and damaged
// words in the instance, which lies between inaccessible pages.
//
// Inputs are text as far as possible, so that people can write them: a letter is a call, and the
// bytes after it are its arguments (see play). "icspfd" makes an instance, configures it, places
// the microphones, runs a block and asks for its direction.

#include "SslCore.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

unsigned long long calls = 0;

// Ends the program if an input has broken a promise.
void require(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "fuzz_calls: %s\n", what);
    std::abort();
}

struct Input {
    const uint8_t *next, *end;

    bool empty() const { return next == end; }
    uint8_t byte() { return empty() ? 0 : *next++; }

    // A digit stands for a number that is likely to matter; any other byte and the three after it
    // are the number.
    int32_t number()
    {
        constexpr int32_t kTelling[] = {0, 1, 2, 32, 128, 16000, -1, 48000, INT_MIN, INT_MAX};
        const uint8_t first = byte();
        if (first >= '0' && first <= '9')
            return kTelling[first - '0'];
        uint32_t value = first;
        for (uint32_t place = 8; place < 32; place += 8)
            value |= uint32_t{byte()} << place;
        return static_cast<int32_t>(value);
    }

    float real()
    {
        const int32_t bits = number();
        float value = static_cast<float>(bits);
        if (bits < -100000 || bits > 100000) // any float, infinities and NaN too
            std::memcpy(&value, &bits, sizeof value);
        return value;
    }
};

// The words that an input may set: all but addresses and those that only the core itself writes.
struct Words {
    size_t offset, count;
};
#define WORDS(member)                                                                              \
    {                                                                                              \
        offsetof(SslHandle, member), sizeof(SslHandle::member) / 4                                 \
    }
constexpr Words kWords[] = {
    {0, offsetof(SslHandle, mic_pos) / 4},
    WORDS(mic_pos),
    WORDS(relative_array_pos),
    WORDS(array_geometry),
    WORDS(energy_sum),
    WORDS(sound_speed),
    WORDS(max_delay_sample),
    WORDS(direction_delay_table),
    WORDS(order),
    WORDS(msg_level),
    WORDS(voting_changed),
    WORDS(dump_mode),
    WORDS(vote_count),
    WORDS(vote_delay_sum),
    WORDS(vote_gate),
    WORDS(mode),
    WORDS(digital_gain_db),
    WORDS(digital_gain_factor),
};
#undef WORDS

struct Stage {
    char *buffer;
    bool initialised; // since the buffer was last filled by this program
    int16_t frame[EZOSSL_FRAME_LENGTH * EZOSSL_MIC_COUNT];
    uint32_t noise;
};

SslHandle *instance(const Stage &stage)
{
    return reinterpret_cast<SslHandle *>(stage.buffer);
}

// In some orders of calls the library leaves streams open, so descriptors would run out.
void close_streams(const Stage &stage)
{
    if (!stage.initialised)
        return;
    for (uint32_t mic = 0; mic < kMicCount; ++mic) {
        FILE *const stream = instance(stage)->dump_files.stream[mic];
        if (stream != nullptr)
            std::fclose(stream);
        instance(stage)->dump_files.stream[mic] = nullptr;
    }
}

void set_up(Stage &stage, const SslInit &init, bool reset)
{
    close_streams(stage);
    SslHandle *const handle =
        reset ? EzoSsl_Reset(instance(stage), &init) : EzoSsl_Init(stage.buffer, &init);
    require(handle == nullptr || handle == instance(stage), "the handle is the buffer's address");
    stage.initialised = true; // or zeroed, which is equally valid
}

void run(Stage &stage, uint8_t delay, uint8_t level)
{
    for (uint32_t n = 0; n < EZOSSL_FRAME_LENGTH; ++n) {
        stage.noise = stage.noise * 1664525u + 1013904223u;
        const auto sample = static_cast<int16_t>(stage.noise >> (16 + level % 16));
        stage.frame[2 * n] = sample;
        stage.frame[2 * ((n + delay) % EZOSSL_FRAME_LENGTH) + 1] = sample;
    }
    int32_t lag = 12345;
    const int32_t code = EzoSsl_Run(instance(stage), stage.frame, &lag);
    require(code == EZOSSL_OK || lag == 12345, "a refused Run writes no delay");
    ++calls;
}

void get_direction(const Stage &stage)
{
    int32_t angle = 12345;
    const int32_t code = EzoSsl_Get_Direction(instance(stage), &angle);
    require(code == EZOSSL_OK ? angle >= -90 && angle <= 270 : angle == EZOSSL_NO_DIRECTION,
            "an angle, or none");
}

// Calls with NULL arguments.
void call_with_null(const Stage &stage, uint8_t which)
{
    SslHandle *const ssl = which % 2 == 0 ? nullptr : instance(stage);
    const int32_t codes[] = {
        EzoSsl_Config(ssl, nullptr),
        EzoSsl_Get_Config(ssl, nullptr),
        EzoSsl_ApplyDigitalGain(ssl, nullptr, 0),
        EzoSsl_Set_ArbitraryShape(ssl, nullptr),
        EzoSsl_Run(ssl, nullptr, nullptr),
        EzoSsl_Get_Direction(ssl, nullptr),
        EzoSsl_GetAPIVersion(nullptr, nullptr) + EZOSSL_DATA_NULL,
    };
    for (const int32_t code : codes)
        require(code == EZOSSL_BAD_HANDLE || code == EZOSSL_CONFIG_NULL || code == EZOSSL_DATA_NULL,
                "NULL is refused");
    require(EzoSsl_Init(stage.buffer, nullptr) == nullptr, "NULL makes no instance");
    calls += sizeof codes / sizeof codes[0];
}

void set_environment(uint8_t name, uint8_t value)
{
    constexpr const char *kNames[] = {"AUDIO_SSL_DUMP", "AUDIO_DUMP_PATH", "DML_PATH"};
    static const std::string kLong(4000, '/');
    const char *const kValues[] = {nullptr, "0",    "1", "2",     "-1",       "999999999999", "",
                                   ".",     "none", "/", "level", "a/%s%n/b", kLong.c_str()};
    const char *const chosen = kValues[value % (sizeof kValues / sizeof kValues[0])];
    if (chosen != nullptr)
        setenv(kNames[name % 3], chosen, 1);
    else
        unsetenv(kNames[name % 3]);
}

void set_word(const Stage &stage, uint8_t group, uint8_t index, int32_t value)
{
    const Words &words = kWords[group % (sizeof kWords / sizeof kWords[0])];
    if (stage.initialised)
        std::memcpy(stage.buffer + words.offset + 4 * (index % words.count), &value, sizeof value);
}

void play(Stage &stage, Input &in)
{
    SslHandle *const ssl = instance(stage);
    constexpr int32_t kRates[] = {8000, 16000, 32000, 48000};
    ++calls;
    switch (in.byte()) {
    case 'i':   // rate, spacing in millimetres
    case 'j': { // ... in bf_mode 1
        const int32_t bf_mode = in.next[-1] == 'j' ? 1 : 0;
        const int32_t rate = kRates[in.byte() % 4];
        return set_up(stage, {128, rate, static_cast<float>(in.byte()) / 10.0f, bf_mode, 2}, false);
    }
    case 'I':
    case 'J': {
        const bool reset = in.next[-1] == 'J';
        const int32_t points = in.number(), rate = in.number();
        const float spacing = in.real();
        const int32_t bf_mode = in.number();
        return set_up(stage, {points, rate, spacing, bf_mode, in.number()}, reset);
    }
    case 'c':
    case 'C': {
        const bool usual = in.next[-1] == 'c';
        SslConfig config = {20, -60, 32};
        if (!usual)
            config = {in.number(), in.number(), in.number()};
        EzoSsl_Config(ssl, &config);
        return;
    }
    case 'G': {
        SslConfig config;
        EzoSsl_Get_Config(ssl, &config);
        return;
    }
    case 's':
        EzoSsl_Set_Shape(ssl, 0);
        EzoSsl_Cal_Params(ssl);
        ++calls;
        return;
    case 'S':
        EzoSsl_Set_Shape(ssl, static_cast<uint32_t>(in.number()));
        return;
    case 'A': {
        const float positions[] = {in.real(), in.real(), in.real(), in.real()};
        EzoSsl_Set_ArbitraryShape(ssl, positions);
        return;
    }
    case 'p':
        EzoSsl_Cal_Params(ssl);
        return;
    case 'r':   // delay, level
    case 'f': { // a block of them
        const int frames = in.next[-1] == 'f' ? 32 : 1;
        const uint8_t delay = in.byte(), level = in.byte();
        for (int frame = 0; frame < frames; ++frame)
            run(stage, delay, level);
        return;
    }
    case 'R': { // exactly these samples
        const size_t bytes = std::min(sizeof stage.frame, static_cast<size_t>(in.end - in.next));
        std::memcpy(stage.frame, in.next, bytes);
        in.next += bytes;
        int32_t lag;
        EzoSsl_Run(ssl, stage.frame, &lag);
        return;
    }
    case 'd':
        return get_direction(stage);
    case 'm':
        EzoSsl_Reset_Mapping(ssl);
        return;
    case 'M': {
        const auto mode = static_cast<uint32_t>(in.number());
        const auto distance = static_cast<uint32_t>(in.number());
        EzoSsl_SetMode(ssl, mode, distance, static_cast<uint32_t>(in.number()));
        return;
    }
    case 'g':
        EzoSsl_ApplyDigitalGain(ssl, stage.frame, in.number());
        return;
    case 'F':
        if (stage.initialised)
            EzoSsl_Free(ssl);
        return;
    case 'b':
        require(EzoSsl_GetBufferSize() == EZOSSL_BUFFER_BYTES, "the size of a buffer");
        return;
    case 'n':
        return call_with_null(stage, in.byte());
    case 'e': {
        const uint8_t name = in.byte();
        return set_environment(name, in.byte());
    }
    case 'w': {
        const uint8_t group = in.byte(), index = in.byte();
        return set_word(stage, group, index, in.number());
    }
    default: // not a call
        --calls;
    }
}

// Memory between two inaccessible pages, with the buffer at its end.
char *buffer_before_guard_page()
{
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t room = (EZOSSL_BUFFER_BYTES + page - 1) / page * page;
    void *const all = mmap(nullptr, room + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    require(all != MAP_FAILED, "mmap");
    char *const first = static_cast<char *>(all) + page;
    require(mprotect(first, room, PROT_READ | PROT_WRITE) == 0, "mprotect");
    return first + room - EZOSSL_BUFFER_BYTES;
}

// Files go to a folder of this process; messages of the library are discarded.
char *prepare()
{
    static char folder[] = "/tmp/fuzz_calls.XXXXXX";
    require(mkdtemp(folder) != nullptr && chdir(folder) == 0, "a folder to work in");
    FILE *const level = std::fopen("level", "w");
    require(level != nullptr && std::fputs("{\"debug_level\":15}", level) >= 0 &&
                std::fclose(level) == 0 && std::freopen("/dev/null", "w", stdout) != nullptr,
            "files");
    std::atexit([] {
        std::fprintf(stderr, "%llu calls of the interface\n", calls);
        for (const char *name : {"level", "Audio_SSL_input_data0.pcm", "Audio_SSL_input_data1.pcm",
                                 static_cast<const char *>(folder)})
            std::remove(name);
    });
    return buffer_before_guard_page();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static char *const buffer = prepare();
    for (uint8_t name = 0; name < 3; ++name)
        set_environment(name, 0);
    std::srand(1);
    std::memset(buffer, 0x5A, EZOSSL_BUFFER_BYTES);
    Stage stage = {buffer, false, {}, 1};
    Input in = {data, data + size};
    while (!in.empty())
        play(stage, in);
    close_streams(stage);
    return 0;
}
