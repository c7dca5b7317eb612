// SPDX-License-Identifier: MIT
// test_transcripts.cpp - plays transcripts/*.txt: calls of the interface with the code and the whole
// text that each must give, and fields of the instance set and seen between them.
//
//   begin STAGE [rate=HZ] [cm=CM] [bf=MODE] [level=N]   a new instance, as far as the stage
//   CALL ARGUMENTS => CODE                              then, line by line, what it prints:
//   | text                                              nothing if there is no such line
//   set FIELD VALUE                                     an element is FIELD.INDEX
//   see FIELD VALUE                                     integers exactly, floats to 6 digits
//   votes BIN COUNT SUM                                 empties the votes, casts these, loudly

#include "support.h"

#include <cmath>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sstream>

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

// The instance of a transcript and what its calls write.
struct Stage {
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
        const auto number = [&](size_t i) { return std::stoll(w.at(i)); };
        SslHandle *const ssl = w.size() > 1 ? handle(w[1]) : nullptr;
        const bool no_data = w.size() > 2 && w[2] == "null";
        if (name == "GetBufferSize")
            return EzoSsl_GetBufferSize();
        if (name == "Init" || name == "Reset") {
            SslInit init = {};
            if (w.size() > 3)
                init = {int32_t(number(2)), int32_t(number(3)), 5, int32_t(number(4)),
                        int32_t(number(5))};
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
                config = {int32_t(number(2)), int32_t(number(3)), int32_t(number(4))};
            return EzoSsl_Config(ssl, no_data ? nullptr : &config);
        }
        if (name == "Get_Config")
            return EzoSsl_Get_Config(ssl, no_data ? nullptr : &config);
        if (name == "SetMode")
            return EzoSsl_SetMode(ssl, number(2), number(3), number(4));
        if (name == "ApplyDigitalGain") {
            frame.fill(no_data ? 0 : int16_t(number(2)));
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
        if (name == "Run") {
            const std::vector<int16_t> samples = delayed_noise(1, 0, 1, w[2] == "noise" ? 8000 : 0);
            return EzoSsl_Run(ssl, no_data ? nullptr : samples.data(),
                              w[3] == "null" ? nullptr : &delay);
        }
        if (name == "Get_Direction")
            return EzoSsl_Get_Direction(ssl, no_data ? nullptr : &angle);
        if (name == "Reset_Mapping")
            return EzoSsl_Reset_Mapping(ssl);
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

std::string unescaped(const std::string &text)
{
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i)
        plain += text[i] != '\\' ? text[i] : text[++i] == 't' ? '\t' : text[i] == 'r' ? '\r' : '\n';
    return plain;
}

class Transcript : public testing::TestWithParam<const char *>
{
};

TEST_P(Transcript, Holds)
{
    const Environment level("DML_PATH", "none"); // what a transcript initialises has level 7
    std::ifstream file(std::string(EZOSSL_TRANSCRIPTS "/") + GetParam() + ".txt");
    ASSERT_TRUE(file.is_open());
    Stage stage;
    std::string line, expected, printed, what = "the beginning";
    const auto compare = [&] {
        EXPECT_EQ(printed, expected) << what;
        printed.clear();
        expected.clear();
    };
    for (int number = 1; std::getline(file, line); ++number) {
        if (line.rfind("| ", 0) == 0) {
            expected += unescaped(line.substr(2));
            continue;
        }
        std::istringstream split(line.substr(0, line.find('#')));
        const Words words{std::istream_iterator<std::string>(split), {}};
        if (words.empty())
            continue;
        compare();
        what = std::string(GetParam()) + ".txt, line " + std::to_string(number) + ": " + line;
        if (words[0] == "begin")
            stage.begin(words);
        else if (words[0] == "set")
            stage.set(words.at(1), std::stod(words.at(2)));
        else if (words[0] == "votes") {
            ssl_reset_voting(stage.instance->get());
            stage.set("energy_sum", 1e4);
            stage.set("vote_count." + words.at(1), std::stod(words.at(2)));
            stage.set("vote_delay_sum." + words.at(1), std::stod(words.at(3)));
        } else if (words[0] == "see")
            EXPECT_NEAR(stage.see(words.at(1)), std::stod(words.at(2)),
                        std::fabs(std::stod(words[2])) * 1e-6)
                << what;
        else {
            ASSERT_EQ(words.at(words.size() - 2), "=>") << what;
            int64_t code = 0;
            printed = printed_by([&] { code = stage.call({words.begin(), words.end() - 2}); });
            EXPECT_EQ(code, std::stoll(words.back(), nullptr, 0)) << what;
        }
    }
    compare();
}

INSTANTIATE_TEST_SUITE_P(Files, Transcript,
                         testing::Values("config", "direction", "geometry", "lifecycle", "order"),
                         [](const auto &each) { return std::string(each.param); });

} // namespace
