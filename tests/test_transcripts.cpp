// SPDX-License-Identifier: MIT
// test_transcripts.cpp - plays transcripts/*.txt: calls of the interface with the code and the
// whole text that each must give, and fields of the instance set and seen between them.
//
//   begin STAGE [rate=HZ] [cm=CM] [bf=MODE] [level=N]   a new instance, as far as the stage
//   CALL ARGUMENTS => CODE                              a number, or a name of EzoSsl.h; of Init
//                                                       0 for the handle, or NULL
//   | text                                              then, line by line, what it prints:
//                                                       nothing if there is no such line
//   from STATES FIELD CALL ARGUMENTS => CODE            the call from many states of the order,
//                                                       all with the same answer. STATES has the
//                                                       digits that each of the steps init,
//                                                       config, shape, params and run may have.
//                                                       The call sets FIELD to 0 and changes
//                                                       nothing else; with `none` it changes
//                                                       nothing, with `any` perhaps anything
//   set FIELD VALUE                                     an element is FIELD.INDEX
//   see FIELD VALUE...                                  whole numbers exactly, others to
//                                                       6 digits
//   votes BIN COUNT SUM                                 replaces all votes, at a high level
//   env NAME [VALUE]                                    sets a variable of the environment
//   mkdir PATH, link TO PATH, write PATH TEXT           in an empty directory of its own
//   holds PATH MICROPHONE FIRST LAST                    the file has exactly these frames
//   flush                                               flushes every open stream
//
// Frames are numbers: places in a stream of noise. In paths and texts, /{N} is N slashes.

#include "debug_msglevel.h"
#include "support.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <sstream>
#include <tuple>

namespace {

using Words = std::vector<std::string>;

struct Field {
    size_t offset;
    bool is_float;
};
#define FIELD(member)                                                                              \
    {                                                                                              \
#member,                                                                                   \
        {                                                                                          \
            offsetof(SslHandle, member),                                                           \
                std::is_same_v<                                                                    \
                    float, std::remove_all_extents_t<decltype(std::declval<SslHandle>().member)>>  \
        }                                                                                          \
    }
const std::map<std::string, Field> kFields = {
    FIELD(point_number),
    FIELD(mic_num),
    FIELD(magic),
    FIELD(sample_rate),
    FIELD(mic_distance),
    FIELD(gate_amplitude),
    FIELD(direction_frame_num_before),
    FIELD(bf_mode),
    FIELD(lag_table),
    FIELD(fft.fft_inited),
    FIELD(fft.fft_size),
    FIELD(relative_array_pos_pinv),
    FIELD(array_geometry),
    FIELD(msg_level),
    FIELD(mode),
    FIELD(sound_speed),
    FIELD(noise_gate_db),
    FIELD(gate_amplitude),
    FIELD(direction_frame_num),
    FIELD(temperature),
    FIELD(voting_changed),
    FIELD(vote_gate),
    FIELD(vote_count),
    FIELD(vote_delay_sum),
    FIELD(winning_bin),
    FIELD(range_state),
    FIELD(pair_valid),
    FIELD(path_limit),
    FIELD(path_limit_tolerant),
    FIELD(energy_sum),
    FIELD(max_delay_sample),
    FIELD(dump_mode),
    FIELD(frame_energy),
    FIELD(direction_delay_table),
    FIELD(mic_pos),
    FIELD(relative_array_pos),
    FIELD(digital_gain_db),
    FIELD(digital_gain_factor),
    FIELD(order.init_state),
    FIELD(order.config_state),
    FIELD(order.shape_state),
    FIELD(order.param_state),
    FIELD(order.run_state),
    FIELD(order.direction_state),
    FIELD(order.mapping_state),
};

// The codes, whose values never change.
const std::map<std::string, int64_t> kCodes = {{"NULL", 1}, // of Init and Reset
                                               {"EZOSSL_DUMP_FILE", -1},
                                               {"EZOSSL_NOT_INITIALISED", 0x10000101},
                                               {"EZOSSL_CONFIG_NULL", 0x10000102},
                                               {"EZOSSL_BAD_HANDLE", 0x10000103},
                                               {"EZOSSL_BAD_POINT_NUMBER", 0x10000105},
                                               {"EZOSSL_BAD_BF_MODE", 0x10000106},
                                               {"EZOSSL_DELAY_TOO_LARGE", 0x10000107},
                                               {"EZOSSL_STEP_OWED", 0x10000108},
                                               {"EZOSSL_WRONG_PHASE", 0x10000109},
                                               {"EZOSSL_BAD_MIC_NUM", 0x10000110},
                                               {"EZOSSL_BAD_GEOMETRY", 0x10000111},
                                               {"EZOSSL_NOT_LINEAR", 0x10000112},
                                               {"EZOSSL_TOO_QUIET", 0x10000113},
                                               {"EZOSSL_UNDECIDED", 0x10000114},
                                               {"EZOSSL_BAD_MODE", 0x10000115},
                                               {"EZOSSL_NO_SUCH_MODE", 0x10000116},
                                               {"EZOSSL_DATA_NULL", 0x10000118},
                                               {"EZOSSL_BAD_GAIN", 0x10000119}};

const std::vector<int16_t> kStream = delayed_noise(3, 0, 12, 8000);

// The instance of a transcript, what its calls write, and the environment that it has set.
struct Stage {
    std::vector<std::unique_ptr<Environment>> environment;
    std::optional<Instance> instance;
    SslConfig config = {};
    int32_t delay = 0, angle = 0;
    uint16_t major = 0, minor = 0;
    Frame frame = {};

    SslHandle *handle(const std::string &word) { return word == "ssl" ? instance->get() : nullptr; }

    void begin(const Words &words)
    {
        const std::map<std::string, Instance::Stage> stages = {
            {"buffer", Instance::kBuffer},         {"initialised", Instance::kInitialised},
            {"configured", Instance::kConfigured}, {"shaped", Instance::kShaped},
            {"ready", Instance::kReady},           {"running", Instance::kRunning}};
        std::map<std::string, std::string> options = {
            {"rate", "16000"}, {"cm", "5"}, {"bf", "0"}, {"level", "1"}};
        for (size_t i = 2; i < words.size(); ++i)
            options.at(words[i].substr(0, words[i].find('='))) =
                words[i].substr(words[i].find('=') + 1);
        instance.emplace(
            stages.at(words.at(1)),
            an_init(std::stoi(options["rate"]), std::stof(options["cm"]), std::stoi(options["bf"])),
            SslConfig{25, -80, 32}, options["level"].c_str());
    }

    int64_t call(const Words &w)
    {
        const std::string &name = w.at(0);
        const auto number = [&](size_t i) { return static_cast<int32_t>(std::stoll(w.at(i))); };
        SslHandle *const ssl = w.size() > 1 ? handle(w[1]) : nullptr;
        const bool no_data = w.size() > 2 && w[2] == "null";
        if (name == "GetBufferSize")
            return EzoSsl_GetBufferSize();
        if (name == "Init" || name == "Reset") {
            SslInit init = {};
            if (w.size() > 3)
                init = {number(2), number(3), 5, number(4), number(5)};
            const SslInit *const pointer = w.size() > 3 ? &init : nullptr;
            char *const odd = reinterpret_cast<char *>(instance->get()) + 2;
            return (name == "Reset" ? EzoSsl_Reset(ssl, pointer)
                    : w[1] == "odd" ? EzoSsl_Init(odd, pointer)
                                    : EzoSsl_Init(ssl, pointer)) == nullptr;
        }
        if (name == "Free")
            return EzoSsl_Free(ssl);
        if (name == "Config") {
            if (!no_data)
                config = {number(2), number(3), number(4)};
            return EzoSsl_Config(ssl, no_data ? nullptr : &config);
        }
        if (name == "Get_Config")
            return EzoSsl_Get_Config(ssl, no_data ? nullptr : &config);
        if (name == "SetMode")
            return EzoSsl_SetMode(ssl, number(2), number(3), number(4));
        if (name == "ApplyDigitalGain") {
            frame.fill(static_cast<int16_t>(no_data ? 0 : number(2)));
            return EzoSsl_ApplyDigitalGain(ssl, no_data ? nullptr : frame.data(), number(3));
        }
        if (name == "GetAPIVersion")
            return EzoSsl_GetAPIVersion(ssl ? &major : nullptr, ssl ? &minor : nullptr);
        if (name == "Set_Shape")
            return EzoSsl_Set_Shape(ssl, number(2));
        if (name == "Set_ArbitraryShape") {
            const float positions[] = {0, 0, 5, 0};
            return EzoSsl_Set_ArbitraryShape(ssl, no_data ? nullptr : positions);
        }
        if (name == "Cal_Params")
            return EzoSsl_Cal_Params(ssl);
        // The branches that no call of the interface reaches. The code is the number of pairs whose
        // microphones have the same position.
        if (name == "Cal_ArbitraryGeometry") {
            // After the last microphone comes the position of the first, which must not count.
            const float positions[] = {std::stof(w.at(2)), std::stof(w.at(3)), std::stof(w.at(4)),
                                       std::stof(w.at(5)), std::stof(w.at(2)), std::stof(w.at(3))};
            Ssl_Cal_ArbitraryGeometry(ssl, positions);
            return ssl_coincident_microphones(positions);
        }
        if (name == "Cal_Geometry")
            return Ssl_Cal_Geometry(ssl), 0;
        if (name == "Cal_Intrinsic")
            return Ssl_Cal_Intrinsic(ssl), 0;
        if (name == "Run") {
            const Frame silence = {};
            const int16_t *const samples = no_data             ? nullptr
                                           : w[2] == "silence" ? silence.data()
                                                               : &kStream[256 * number(2)];
            return EzoSsl_Run(ssl, samples, w[3] == "null" ? nullptr : &delay);
        }
        if (name == "Get_Direction")
            return EzoSsl_Get_Direction(ssl, no_data ? nullptr : &angle);
        if (name == "Reset_Mapping")
            return EzoSsl_Reset_Mapping(ssl);
        if (name == "read_message_level")
            return read_message_level();
        throw std::invalid_argument("no such call: " + name);
    }

    // A field of the instance, or what a call wrote.
    double see(const std::string &name)
    {
        const std::map<std::string, double> written = {
            {"angle", angle},
            {"delay", delay},
            {"major", major},
            {"minor", minor},
            {"sample", frame[0]},
            {"last_sample", frame[255]},
            {"read.temperature", config.temperature},
            {"read.noise_gate_db", config.noise_gate_db},
            {"read.direction_frame_num", config.direction_frame_num}};
        if (const auto found = written.find(name); found != written.end())
            return found->second;
        bool is_float;
        const char *const place = find(name, is_float);
        float real;
        int32_t whole;
        std::memcpy(&real, place, 4);
        std::memcpy(&whole, place, 4);
        return is_float ? double{real} : double(whole);
    }

    void set(const std::string &name, double value)
    {
        bool is_float;
        char *const place = find(name, is_float);
        const float real = float(value);
        const int32_t whole = int32_t(value);
        std::memcpy(place, is_float ? static_cast<const void *>(&real) : &whole, 4);
    }

    char *find(const std::string &name, bool &is_float)
    {
        const size_t dot = name.find_last_of('.');
        const bool element = dot != std::string::npos && std::isdigit(name[dot + 1]) != 0;
        const Field &field = kFields.at(element ? name.substr(0, dot) : name);
        is_float = field.is_float;
        const size_t index = element ? std::stoul(name.substr(dot + 1)) : 0;
        return reinterpret_cast<char *>(instance->get()) + field.offset + 4 * index;
    }
};

// What a frame dump of these frames holds: 16-bit samples, the low byte first.
std::string dump_of(size_t mic, size_t first, size_t last)
{
    std::string bytes;
    for (size_t n = first * 128; n < last * 128; ++n) {
        const auto sample = static_cast<uint16_t>(kStream[2 * n + mic]);
        bytes += {static_cast<char>(sample & 0xff), static_cast<char>(sample >> 8)};
    }
    return bytes;
}

std::string expanded(std::string text)
{
    for (size_t at; (at = text.find("/{")) != std::string::npos;)
        text.replace(at, text.find('}', at) + 1 - at,
                     std::string(std::stoul(text.substr(at + 2)), '/'));
    const std::pair<const char *, const char *> escapes[] = {
        {"\\t", "\t"}, {"\\r", "\r"}, {"\\n", "\n"}};
    for (const auto &[escape, plain] : escapes)
        for (size_t at; (at = text.find(escape)) != std::string::npos;)
            text.replace(at, 2, plain);
    return text;
}

class Transcript : public testing::TestWithParam<const char *>
{
};

// Executes a line that is not a call. False if it is one.
bool play_direction(Stage &stage, const Words &w, const std::string &what)
{
    if (w[0] == "begin")
        stage.begin(w);
    else if (w[0] == "set")
        stage.set(w.at(1), std::stod(w.at(2)));
    else if (w[0] == "see") {
        for (size_t i = 2; i < w.size(); ++i) {
            const double value = std::stod(w[i]);
            const bool is_whole = value == std::trunc(value);
            const std::string field = w.size() == 3 ? w[1] : w[1] + "." + std::to_string(i - 2);
            EXPECT_NEAR(stage.see(field), value, is_whole ? 0 : std::fabs(value) * 1e-6) << what;
        }
    } else if (w[0] == "votes") {
        ssl_reset_voting(stage.instance->get());
        stage.set("energy_sum", 1e4);
        stage.set("vote_count." + w.at(1), std::stod(w.at(2)));
        stage.set("vote_delay_sum." + w.at(1), std::stod(w.at(3)));
    } else if (w[0] == "env")
        stage.environment.push_back(std::make_unique<Environment>(
            w.at(1).c_str(), w.size() > 2 ? std::optional(w[2]) : std::nullopt));
    else if (w[0] == "mkdir")
        std::filesystem::create_directories(w.at(1));
    else if (w[0] == "link")
        std::filesystem::create_symlink(w.at(1), w.at(2));
    else if (w[0] == "write")
        std::ofstream(w.at(1)) << what.substr(what.find(w[1]) + w[1].size() + 1);
    else if (w[0] == "flush")
        std::fflush(nullptr);
    else if (w[0] == "holds")
        EXPECT_EQ(read_file(w.at(1)),
                  dump_of(std::stoul(w.at(2)), std::stoul(w.at(3)), std::stoul(w.at(4))))
            << what;
    else
        return false;
    return true;
}

using Answer = std::pair<int64_t, std::string>; // code, text

Answer answer_to(Stage &stage, const Words &call)
{
    int64_t code = 0;
    const std::string text = printed_by([&] { code = stage.call(call); });
    return {code, text};
}

// The answer to the call of a line with `from`, which must be the same in every state.
Answer answer_from_states(Stage &stage, const Words &w, const std::string &what)
{
    auto *const ssl = reinterpret_cast<char *>(stage.instance->get());
    auto &order = stage.instance->get()->order;
    const std::vector<char> before = stage.instance->bytes();
    std::optional<Answer> first;
    for (int state = 0; state < 3 * 3 * 3 * 3 * 3; ++state) {
        int32_t steps[5];
        bool is_meant = true;
        for (int i = 0, rest = state; i < 5; ++i, rest /= 3) {
            steps[i] = rest % 3;
            const auto digit = static_cast<char>('0' + steps[i]);
            is_meant &= w.at(1 + static_cast<size_t>(i)).find(digit) != std::string::npos;
        }
        if (!is_meant)
            continue;
        std::copy(before.begin(), before.end(), ssl);
        std::memcpy(&order, steps, sizeof steps);
        if (w.at(6) != "any" && w[6] != "none")
            stage.set(w[6], 0);
        const std::vector<char> after = stage.instance->bytes();
        std::memcpy(&order, steps, sizeof steps);
        const Answer answer = answer_to(stage, {w.begin() + 7, w.end()});
        EXPECT_EQ(answer, first.value_or(answer)) << what << ", state " << state;
        first = answer;
        EXPECT_TRUE(w[6] == "any" || stage.instance->bytes() == after) << what << " " << state;
    }
    std::copy(before.begin(), before.end(), ssl);
    return first.value();
}

TEST_P(Transcript, Holds)
{
    const std::filesystem::path before = std::filesystem::current_path();
    const std::filesystem::path directory = write_file(GetParam(), "");
    std::filesystem::remove_all(directory);
    std::filesystem::create_directory(directory);
    std::filesystem::current_path(directory);

    std::ifstream file(std::string(EZOSSL_TRANSCRIPTS "/") + GetParam() + ".txt");
    ASSERT_TRUE(file.is_open());
    Stage stage;
    std::string line, expected, printed, what = "the beginning";
    for (int number = 1, more = 1; more != 0; ++number) {
        more = std::getline(file, line) ? 1 : 0;
        if (more != 0 && line.rfind("| ", 0) == 0) {
            expected += expanded(line.substr(2));
            continue;
        }
        std::istringstream split(more != 0 ? expanded(line.substr(0, line.find('#'))) : "");
        const Words words{std::istream_iterator<std::string>(split), {}};
        if (more != 0 && words.empty())
            continue;
        EXPECT_EQ(printed, expected) << what;
        printed.clear();
        expected.clear();
        what = std::string(GetParam()) + ".txt, line " + std::to_string(number) + ": " + line;
        if (more == 0 || play_direction(stage, words, what))
            continue;
        ASSERT_EQ(words.at(words.size() - 2), "=>") << what;
        const Words call(words.begin(), words.end() - 2);
        int64_t code;
        std::tie(code, printed) =
            call[0] == "from" ? answer_from_states(stage, call, what) : answer_to(stage, call);
        const auto named = kCodes.find(words.back());
        EXPECT_EQ(code, named != kCodes.end() ? named->second : std::stoll(words.back())) << what;
    }
    while (!stage.environment.empty()) // the last set, the first put back
        stage.environment.pop_back();
    std::filesystem::current_path(before);
}

INSTANTIATE_TEST_SUITE_P(Files, Transcript,
                         testing::Values("config", "direction", "dump", "geometry", "lifecycle",
                                         "messages", "order"),
                         [](const auto &each) { return std::string(each.param); });

} // namespace
