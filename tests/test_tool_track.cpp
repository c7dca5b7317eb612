// SPDX-License-Identifier: MIT
// test_tool_track.cpp - the commands track and live: every kind of input, output and ending.

#include <cctype>
#include <random>
#include <sstream>

#include <cJSON.h>

#include "tool_fixture.h"

namespace {

constexpr int kRecordingHeader = 112; // bytes, with room for a length beyond 4 GiB
constexpr size_t kPairs = 10000;      // two blocks and a rest

// Noise that reaches microphone 0 earlier. At 16 kHz and 8.6 cm, two samples are
// asin(2 x 343 / 16000 / 0.086) = 29.9 degrees.
Samples pair(size_t pairs, size_t lead)
{
    std::mt19937 generator(1);
    Samples samples(2 * pairs);
    for (size_t i = 2 * lead + 1; i < samples.size(); i += 2)
        samples[i - 2 * lead - 1] = samples[i] = generator() % 2 == 0 ? 0.25f : -0.25f;
    return samples;
}

struct Track : Tool {
    Track()
    {
        const Samples two = pair(kPairs, 2);
        Samples four(2 * two.size());
        for (size_t i = 0; i < two.size(); ++i)
            four[2 * i + 1] = two[i]; // on its channels 2 and 4
        constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
        write_audio("two.wav", 16000, 2, two, kWav16);
        write_audio("two.flac", 16000, 2, two, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
        write_audio("two.raw", 16000, 2, two, SF_FORMAT_RAW | SF_FORMAT_PCM_16);
        write_audio("law.wav", 16000, 2, two, SF_FORMAT_WAV | SF_FORMAT_ULAW);
        write_audio("four.wav", 16000, 4, four, SF_FORMAT_WAV | SF_FORMAT_PCM_24);
        write_audio("fast.wav", 48000, 2, pair(3 * kPairs, 6), kWav16);
        write_audio("silent.wav", 16000, 2, Samples(8192), kWav16);
        const std::string wav = contents("two.wav");
        write_audio("whole.ogg", 16000, 2, pair(10 * kPairs, 2), SF_FORMAT_OGG | SF_FORMAT_VORBIS);
        const std::string ogg = contents("whole.ogg");
        std::ofstream("half.ogg") << ogg.substr(0, ogg.size() / 2);
        std::ofstream("cut.wav") << wav.substr(0, 44 + 4 * 5000);
        std::ofstream("stream.wav") << wav.substr(0, 40) << std::string(4, '\0') << wav.substr(44);
        std::ofstream("alsa.conf")
            << "pcm.null { type null }\n"
            << "pcm.mic { type file slave.pcm null file /dev/null format raw infile "
            << fs::absolute("two.raw") << " }\n";
        setenv("ALSA_CONFIG_PATH", fs::absolute("alsa.conf").c_str(), 1);
    }
};

// Converts JSON to the form of CSV.
std::string field_of(const cJSON &item)
{
    const std::string name = item.string != nullptr ? item.string : "";
    if (cJSON_IsNull(&item))
        return name == "level_dbfs" ? "-inf" : "";
    if (cJSON_IsString(&item))
        return item.valuestring;
    std::string text;
    for (const cJSON *part = item.child; part != nullptr; part = part->next)
        text += (text.empty() ? "" : " ") + (cJSON_IsNull(part) ? "x" : field_of(*part));
    if (cJSON_IsArray(&item))
        return text;
    char number[32];
    const int decimals = name[0] == 't' ? 6 : name == "level_dbfs" ? 2 : 0;
    std::snprintf(number, sizeof number, "%.*f", decimals, item.valuedouble);
    return number;
}

TEST_F(Track, FormsHoldTheSameBlocks)
{
    fs::rename("two.wav", "a,\"b.wav");
    run("'a,\"b.wav' -s 8.6 -q -f csv --per-frame --raw-blocks -b 4 --start 0.1 --duration 0.07");
    EXPECT_EQ(contents("out") + contents("err"), // 20 lg 1/4 = -12.04
              "input,t_start,t_end,angle_deg,status,frames_agreeing,frames_used,"
              "frames_total,level_dbfs,"
              "frame_delays\n\"a,\"\"b.wav\",0.100000,0.132000,29,ok,4,4,4,-12.04,-2 -2 -2 -2\n"
              "\"a,\"\"b.wav\",0.132000,0.164000,29,ok,4,4,4,-12.04,-2 -2 -2 -2\n");
    run("'a,\"b.wav' -s 8.6");
    const std::string table = contents("out");
    EXPECT_EQ(table.find('#') - table.find('\n') - 1, table.find("+90") + 8) << table;

    fs::rename("silent.wav", "s\xE9.wav");
    const std::string both = "s\xE9.wav 'a,\"b.wav' -s 8.6 --per-frame -f ";
    run(both + "csv", "rows");
    run(both + "jsonl");
    EXPECT_NE(contents("out").find("\"input\":\"s\xEF\xBF\xBD.wav\""), std::string::npos);
    std::ifstream lines("out"), rows("rows");
    std::string found, header, row;
    std::getline(rows, header);
    for (std::string line; std::getline(lines, line);) {
        cJSON *const json = cJSON_Parse(line.c_str());
        const std::string type = cJSON_GetStringValue(cJSON_GetObjectItem(json, "type"));
        found += type + ' ';
        std::string names = "input", values;
        for (const cJSON *item = json->child->next->next; item != nullptr; item = item->next) {
            names += std::string(",") + item->string;
            values += ',' + field_of(*item);
        }
        if (type == "block" && std::getline(rows, row)) {
            EXPECT_EQ(names, header);
            EXPECT_EQ(values, row.substr(row.find(',', row.find(".wav"))));
        }
        cJSON_Delete(json);
    }
    EXPECT_EQ(found, "start block summary start block block summary ");
    EXPECT_NE(contents("rows").find("-inf,x x x"), std::string::npos);
}

// The samples begin after the header, whatever length it states, and whatever else it holds.
TEST_F(Track, StreamedFilesGiveWhatIntactOnesGive)
{
    for (const int format : {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24}) {
        write_audio("x.wav", 16000, 2, pair(kPairs, 2), SF_FORMAT_WAV | format);
        const std::string intact = contents("x.wav");
        const std::string form = "x.wav -s 8.6 -b 1 -f csv --per-frame";
        ASSERT_EQ(run(form, "expected"), 0);
        const size_t data = intact.find("data");
        for (const std::string &size : {std::string(4, '\0'), std::string(4, '\xff')}) {
            std::ofstream("x.wav")
                << intact.substr(0, data) << "LIST" << '\2' << std::string(3, '\0') << "ab"
                << "data" << size << intact.substr(data + 8);
            EXPECT_EQ(run(form), 0);
            EXPECT_EQ(contents("out"), contents("expected")) << format;
            EXPECT_NE(contents("err").find("10000 samples found"), std::string::npos);
        }
    }
}

TEST_F(Track, TakesEveryInputAndKeepsOnlyWhatIsWhole)
{
    const std::string found = ": 2 blocks, 2 decided (100 %), median +29 deg";
    const std::tuple<int, std::string, std::string, std::string> cases[] = {
        {0, "", "track -c 2,4 four.wav", found},
        {0, "", "track two.raw --raw", found},
        {0, "", "track two.raw --raw --raw-rate 8000", ": 4 blocks, 4 decided (100 %), median +"},
        {0, "", "track two.raw --raw --raw-channels 4 -c 1,2 -b 16", "(100 %), median +14 deg"},
        {0, "", "fast.wav -r 16000", found},
        {0, "", "stream.wav", found},
        {0, "cat stream.wav |", "track -", found},
        {0, "cat two.raw |", "track - --raw", found},
        {0, "cat law.wav |", "track - --swap", "median -29 deg"},
        {0, "", "two.flac --start 0.3 --duration 0.26", ": 1 block, 1 decided"},
        {0, "", "track cut.wav", "the header says 0.625 s, the file has 0.312 s"},
        {0, "", "track half.ogg", "is truncated: its end is missing after 2.6"},
        {0, "", "two.wav -G 40", "samples wrapped around because the gain is too high"},
        {1, "", "two.wav no.wav silent.wav", "no.wav: no such file"},
        {1, "", "track two.wav --raw", "is a WAV file; omit --raw"},
        {2, "", "two.wav -g 1", "'1' is neither auto nor a level of -80 ... 0 dB"},
        {2, "", "two.wav --plot o", "o: is named for two outputs"},
        {130, signal_when("ls o.*.part", "INT"), "whole.ogg --realtime",
         "s; o was not written\nwhole.ogg: "},
        {130, signal_after("head -c 1100000 /dev/zero", "TERM"), "track - --raw --start 100 <sound",
         "interrupted at 1"}, // 16 or 17 s
        {0, "", "live -D mic -d 0.6 --record r.wav", found},
        {0, "", "live -D null -d 0.3", ": 1 block, 0 decided"},
        {0, signal_when("grep quiet o", "TERM"), "live -D null --realtime", ", 0 decided (0 %)"},
        {1, "", "live -D nope", "nope: no such device"},
    };
    for (const auto &[status, before, arguments, message] : cases) {
        EXPECT_EQ(run(arguments + " -s 8.6 -o o", "out", before), status) << before << arguments;
        const std::string said = contents("err");
        EXPECT_NE(said.find(message), std::string::npos) << before << arguments << '\n' << said;
        EXPECT_EQ(fs::remove("o"), status != 130 && said.find(" decided (") != std::string::npos)
            << arguments;
        EXPECT_EQ(contents("out"), "") << arguments;
    }
    run("track whole.ogg -s 8.6");
    EXPECT_EQ(contents("err").find("truncated"), std::string::npos) << contents("err");
    EXPECT_EQ(contents("r.wav").substr(kRecordingHeader), contents("two.raw").substr(0, 4 * 9600));
    for (const auto &file : fs::directory_iterator("."))
        EXPECT_NE(file.path().extension(), ".part") << file;
}

// For loggers: the time of day, and which block has lost sound.
TEST_F(Track, LiveLogsTheTimeAndTheGaps)
{
    std::ofstream("alsa.conf") << "pcm_type.faulty { lib \"" EZOSSL_FAULTY_DEVICE "\" }\n"
                               << "pcm.x { type faulty fault 32 after 5000 }\n";
    const std::string command = "live -D x -s 8.6 -d 1 -o log -f ";
    EXPECT_EQ(run(command + "csv", "out", "TZ=UTC-5:30"), 0) << contents("err");
    std::istringstream lines(contents("log"));
    std::string header, gaps;
    std::getline(lines, header);
    EXPECT_EQ(header.find("input,time,t_start,"), 0u) << header;
    for (std::string line; std::getline(lines, line);) {
        std::string form = line.substr(0, std::string("x,2024-03-15T09:26:53.589").size());
        for (char &sign : form)
            sign = std::isdigit(static_cast<unsigned char>(sign)) != 0 ? '9' : sign;
        EXPECT_EQ(form, "x,9999-99-99T99:99:99.999") << line;
        EXPECT_EQ(line.find("+05:30,"), form.size()) << line;
        EXPECT_GT(line.substr(2, 4), "2023") << line;
        gaps += line.back();
    }
    EXPECT_EQ(gaps, "010"); // 5000 frames are in the second block of 4096
    run(command + "jsonl");
    EXPECT_NE(contents("log").find("\"sound_lost\":1"), std::string::npos);
    EXPECT_NE(contents("log").find("\"overruns\":1,\"suspends\":0"), std::string::npos);
    run(command + "table");
    EXPECT_NE(contents("log").find("+29 deg!"), std::string::npos) << contents("log");
    // A reader that goes away does not harm the recording.
    run("live -D x -s 8.6 -d 9 -f csv --raw-blocks -b 1 --record r.wav", "&1 | true");
    EXPECT_TRUE(fs::exists("r.wav")) << contents("err");
    std::ofstream("alsa.conf") << "pcm.x { type null hint { show on description \"two\" } }\n";
    EXPECT_EQ(run("live -l"), 0);
    EXPECT_EQ(contents("out"), "x\ttwo\n");
    run("two.wav -s 8.6 -f csv"); // files have neither
    EXPECT_EQ(contents("out").find("input,t_start,"), 0u) << contents("out");
}

// A meter of 9 to 25 columns follows the table's 51 columns, and three columns stay free.
TEST_F(Track, TheTableFitsTheTerminalAndHasColoursIfTheyAreWanted)
{
    const struct {
        int columns;
        const char *environment, *options;
        int widest;
        bool has_colours;
    } cases[] = {
        {200, "TERM=xterm", "", 76, true},
        {79, "TERM=xterm", "", 76, true},
        {78, "TERM=xterm", "--no-color", 74, false},
        {63, "TERM=dumb", "", 60, false},
        {62, "TERM=xterm NO_COLOR=1", "", 49, false},
        {20, "TERM=xterm NO_COLOR=", "", 49, true},
    };
    for (const auto &c : cases) {
        std::ofstream("command") << "stty cols " << c.columns << "; unset NO_COLOR; LC_ALL=C "
                                 << c.environment << " '" EZOSSL_TOOL "' two.wav -s 8.6 -q "
                                 << c.options;
        EXPECT_EQ(std::system("script -qec 'sh command' /dev/null >seen"), 0);
        std::string seen = contents("seen");
        EXPECT_EQ(seen.find('\033') != std::string::npos, c.has_colours) << c.columns << seen;
        for (size_t at = 0; (at = seen.find('\033')) != std::string::npos;)
            seen.erase(at, seen.find('m', at) - at + 1);
        std::istringstream lines(seen);
        size_t widest = 0;
        for (std::string line; std::getline(lines, line);)
            widest = std::max(widest, line.find_last_not_of("\r ") + 1);
        EXPECT_EQ(static_cast<int>(widest), c.widest) << c.columns << '\n' << seen;
    }
}

TEST_F(Track, NamesOfFilesCommandNoTerminal)
{
    fs::rename("two.wav", "a\033[31m\xC2\x9B.wav");
    EXPECT_EQ(run("a*.wav -s 8.6"), 0);
    EXPECT_EQ(contents("err").find("a?[31m\xC2?.wav: 2 blocks"), 0u) << contents("err");
    EXPECT_EQ(run("a*.wav b.wav -s 8.6"), 1);
    EXPECT_EQ((contents("out") + contents("err")).find('\033'), std::string::npos);
    EXPECT_EQ(run("b.wav -s '\033[31m'"), 2);
    EXPECT_EQ(contents("err").find('\033'), std::string::npos) << contents("err");
}

// The interrupt comes after the first line, when the tool has one and a half blocks of sound; more
// than two blocks would follow.
TEST_F(Track, LiveFinishesTheBlockThatAnInterruptFallsInto)
{
    std::ofstream("alsa.conf") << "pcm.null { type null }\n"
                               << "pcm.mic { type file slave.pcm null file /dev/null format raw "
                               << "infile " << fs::absolute("sound") << " }\n";
    std::ofstream("feed") << "exec >sound; head -c 26000 two.raw\n"
                          << "until [ \"$(wc -l <out)\" -ge 2 ]; do\n"
                          << "    sleep 0.02; kill -0 $(cat pid) || exit; done\n"
                          << "kill -INT $(cat pid); cat two.raw\n";
    EXPECT_EQ(run("live -D mic -s 8.6 -d 2 --raw-blocks", "out",
                  "mkfifo sound; echo $$ >pid; sh feed 2>/dev/null & exec"),
              0);
    EXPECT_NE(contents("err").find("mic: 2 blocks, 2 decided"), std::string::npos)
        << contents("out") << contents("err");
}

// 16000 samples are three blocks; the devices always have sound from 29 degrees.
TEST_F(Track, LiveOutlivesItsDevicesFaultsOrNamesThem)
{
    const std::string whole = "x: 3 blocks, 3 decided (100 %), median +29 deg, ";
    const std::string part = "x: 1 block, 1 decided (100 %), median +29 deg, ";
    const std::tuple<int, int, std::string, std::string> cases[] = {
        {1, 0, "refuse 16", "x: is in use by another program"},           // EBUSY
        {1, 0, "refuse 13", "x: not permitted; become a member of"},      // EACCES
        {1, 0, "refuse 6", "x: the device is not connected; plug it in"}, // ENXIO
        {1, 0, "channels 1", "x: is mono"},
        {1, 0, "bits 8", "x: has no samples of 16, 24 or 32 bits; put plug before its name"},
        {0, 16000, "", whole},
        {0, 16000, "bits 24", whole},
        {0, 16000, "bits 32", whole},
        {0, 16000, "bits 32", "x: captures S32_LE, of which the upper 16 bits are used"},
        {1, 0, "channels 4", "x: 4 channels; needs 2"},
        {0, 48000, "rate 48000", "x: captures at 48000 Hz, resampled to 16000 Hz"},
        {0, 44100, "rate 44100 slower 22050", "x: captures at 44100 Hz, resampled to 16000 Hz"},
        {0, 16000, "fault 32 after 5000", whole + "1 overrun: sound is missing"}, // EPIPE
        {0, 16000, "fault 86 after 5000", whole + "1 suspend of the machine"},    // ESTRPIPE
        {1, 5120, "fault 19 after 5000", part},                                   // ENODEV
        {1, 5120, "fault 19 after 5000", "x: the device was removed"},
        {1, 5120, "fault 32 after 5000 forever 1", part + "26 overruns"},
        {1, 5120, "fault 32 after 5000 forever 1", "x: delivers no sound"},
    };
    std::string recorded; // without a fault
    for (const auto &[status, frames, fault, message] : cases) {
        std::ofstream("alsa.conf") << "pcm_type.faulty { lib \"" EZOSSL_FAULTY_DEVICE "\" }\n"
                                   << "pcm.x { type faulty " << fault << " }\n";
        EXPECT_EQ(run("live -D x -s 8.6 -d 1 --record r.wav", "out", "timeout -k 1 5"), status)
            << fault;
        EXPECT_NE(contents("err").find(message), std::string::npos) << fault << contents("err");
        EXPECT_EQ(fs::exists("r.wav") ? fs::file_size("r.wav") : 0,
                  frames ? kRecordingHeader + 4 * frames : 0)
            << fault; // what was heard before is kept
        if (fault.find("bits") == 0 && status == 0) {
            EXPECT_TRUE(contents("r.wav") == recorded) << fault;
        }
        recorded = fault.empty() ? contents("r.wav") : recorded;
        fs::remove("r.wav");
    }
}

} // namespace
