// Decoder, timeline and sink together, and the sinks on their own.
#include <algorithm>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <sndfile.h>

#include <zuavplayer/player_types.h>

#include "player_service/playback/play_clock.h"
#include "player_service/playback/playback.h"
#include "tests/player_service/wav_contents.h"
#include "tests/support/scratch_dir.h"
#include "tests/support/test_audio.h"

namespace player_service {
namespace {

using namespace android;
using namespace std::chrono_literals;

class open_gate : public playback_gate {
  public:
    bool may_play() override { return !dropped; }
    void wait(std::chrono::nanoseconds) override {}
    bool is_audible() const override { return audible; }
    uint32_t pauses() const override { return pause_count; }

    bool dropped = false;
    bool audible = true;
    uint32_t pause_count = 0;
};

// Says what it is told to.
class scripted_decoder : public sound_decoder {
  public:
    explicit scripted_decoder(std::vector<decoded_sound> sounds,
                              std::vector<decoded_sound> held = {})
        : sounds_(std::move(sounds)), held_(std::move(held)) {}
    bool decode(const uint8_t*, size_t, uint32_t, const output& out) override {
        return say(sounds_, out);
    }
    bool decode_held(const output& out) override { return say(held_, out); }
    bool finish(const output&) override { return true; }

  private:
    static bool say(const std::vector<decoded_sound>& sounds, const output& out) {
        return std::all_of(sounds.begin(), sounds.end(), out);
    }

    const std::vector<decoded_sound> sounds_;
    const std::vector<decoded_sound> held_;
};

class Playback : public testing::Test {
  protected:
    static decoded_sound sound(size_t frames, unsigned channels, uint32_t rate_hz,
                               uint32_t pts_ms = ZU_PTS_NONE, bool damaged = false) {
        static const std::vector<int16_t> samples = [] {
            std::vector<int16_t> ramp(100000);
            for (size_t i = 0; i < ramp.size(); ++i) {
                ramp[i] = static_cast<int16_t>(i * 7);
            }
            return ramp;
        }();
        return {samples.data(), frames, {channels, rate_hz}, pts_ms, damaged};
    }

    // Plays them to `target` and answers how that ended.
    playback_status play(const std::vector<decoded_sound>& sounds, const output_target& target,
                         bool keeps_timeline = false) {
        sound_output output(target, false);
        return play(sounds, output, keeps_timeline);
    }
    playback_status play(const std::vector<decoded_sound>& sounds, sound_output& output,
                         bool keeps_timeline = false) {
        playback_setup setup;
        setup.output = &output;
        setup.keeps_timeline = keeps_timeline;
        setup.on_error = [this](uint32_t code) { errors_.push_back(code); };
        playback player(setup, std::make_unique<scripted_decoder>(sounds));
        player.consume({}, gate_);
        player.finish(gate_);
        return player.status();
    }

    const scratch_dir folder_;
    const output_target wav_ = {output_target::kind::wav, "out.wav"};
    open_gate gate_;
    std::vector<uint32_t> errors_;
};

TEST_F(Playback, StartsAnotherFileForAnotherFormatAndContinuesTheFirst) {
    play({sound(10, 2, 48000), sound(20, 6, 48000), sound(30, 2, 48000)}, wav_);
    EXPECT_EQ(wav_contents("out.wav").frames(), 40U);
    EXPECT_EQ(wav_contents("out-2.wav").format, (audio_format{6, 48000}));
    EXPECT_EQ(wav_contents("out-2.wav").frames(), 20U);
}

TEST_F(Playback, CountsDamageAndPlaysNoneOfAnotherFormat) {
    const playback_status status =
        play({sound(10, 2, 48000), sound(10, 1, 32000, ZU_PTS_NONE, true),
              sound(0, 0, 0, ZU_PTS_NONE, true), sound(10, 2, 48000, ZU_PTS_NONE, true),
              sound(10, 2, 48000), sound(0, 0, 0, ZU_PTS_NONE, true)},
             wav_);
    EXPECT_EQ(status.units, 6U);
    EXPECT_EQ(status.damaged_units, 4U);
    EXPECT_EQ(status.frames, 30U);
    EXPECT_EQ(errors_, (std::vector<uint32_t>{ZU_ERR_BAD_STREAM, ZU_ERR_BAD_STREAM}))
        << "once for each streak";
    EXPECT_FALSE(std::filesystem::exists("out-2.wav"));
}

TEST_F(Playback, GoesOnInSilenceWhenTheOutputFails) {
    const playback_status status = play({sound(1000, 2, 48000), sound(1000, 2, 48000)},
                                        {output_target::kind::wav, "no/such/folder/out.wav"});
    EXPECT_EQ(status.frames, 2000U);
    EXPECT_EQ(errors_, (std::vector<uint32_t>{ZU_ERR_NO_RESOURCE}));
}

// A card leaves out the last piece that it has not begun when it runs dry.
const std::string card_silence(size_t{48000} / 20 * 4, '\0');

TEST_F(Playback, PlaysToAnAlsaPcmWithSilenceBehindTheEnd) {
    play({sound(5000, 2, 48000), sound(100, 2, 48000)},
         {output_target::kind::alsa, "file:played.raw,raw"});
    const auto* samples = reinterpret_cast<const char*>(sound(0, 2, 48000).samples);
    EXPECT_TRUE(contents("played.raw") ==
                std::string(samples, 5000 * 4) + std::string(samples, 100 * 4) + card_silence);
    EXPECT_TRUE(errors_.empty());
}

TEST_F(Playback, PlaysWhatIsHeldAndThenSilenceWhenMoreIsLate) {
    sound_output output({output_target::kind::alsa, "file:played.raw,raw"}, false);
    playback_setup setup;
    setup.output = &output;
    auto decoder = std::make_unique<scripted_decoder>(std::vector{sound(100, 2, 48000)},
                                                      std::vector{sound(30, 2, 48000)});
    const std::string samples(reinterpret_cast<const char*>(sound(0, 2, 48000).samples), 400);
    const std::string late = samples + samples.substr(0, 120) + card_silence;
    {
        playback player(setup, std::move(decoder));
        const auto run_dry = [&] {
            EXPECT_TRUE(player.patience());
            player.starve(gate_);
            EXPECT_TRUE(player.patience());
            player.starve(gate_);
            EXPECT_FALSE(player.patience()) << "there is nothing left to do";
        };
        player.consume({}, gate_);
        run_dry();
        EXPECT_EQ(player.status().underruns, 0U) << "that may have been the end";
        player.consume({}, gate_);
        EXPECT_EQ(player.status().underruns, 1U);
        EXPECT_EQ(player.status().frames, 230U) << "silence is no sound of the stream";
        run_dry();
        gate_.pause_count = 1;
        player.consume({}, gate_);
        EXPECT_EQ(player.status().underruns, 1U) << "a pause lets any card run dry";
    }
    EXPECT_TRUE(contents("played.raw") == late + late + samples);
}

TEST_F(Playback, LeavesTheOutputAloneWithoutATrack) {
    gate_.audible = false;
    EXPECT_EQ(play({sound(1000, 2, 48000)}, wav_).frames, 1000U);
    EXPECT_FALSE(std::filesystem::exists("out.wav"));
}

TEST_F(Playback, StopsWhenTheStreamIsDropped) {
    gate_.dropped = true;
    EXPECT_EQ(play({sound(1000, 2, 48000)}, wav_).frames, 0U);
}

TEST_F(Playback, KeepsTimeAcrossRates) {
    const playback_status status =
        play({sound(4800, 2, 48000, 0), sound(4410, 2, 44100, 100), sound(480, 2, 48000, 200)}, {},
             true);
    EXPECT_EQ(status.played_us, 210000U);
    EXPECT_EQ(status.timestamps, 3U);
    EXPECT_EQ(status.gaps + status.overlaps + status.reordered, 0U);
    EXPECT_EQ(status.drift_us, 0);
    EXPECT_EQ(status.pts_ms, 200U);
}

TEST_F(Playback, GivesAPlayerAtTheSameTimeAFileOfItsOwn) {
    wav_files files("out.wav");
    std::string reason;
    const std::vector<int16_t> samples(20, 5);
    auto first = files.lease({2, 48000}, reason);
    auto second = files.lease({2, 48000}, reason);
    ASSERT_TRUE(first != nullptr && second != nullptr) << reason;
    ASSERT_TRUE(first->write(samples.data(), 10));
    ASSERT_TRUE(second->write(samples.data(), 3));
    EXPECT_FALSE(first->write(samples.data(), wav_writer::max_bytes / 4)) << "beyond the header";
    // As somebody finds them when the service is killed now.
    EXPECT_EQ(contents("out.wav").substr(40, 4), std::string("\x28\0\0\0", 4)) << "bytes of data";
    EXPECT_EQ(wav_contents("out.wav").frames(), 10U);
    EXPECT_EQ(wav_contents("out-2.wav").frames(), 3U);
    second.reset();
    first.reset();
    ASSERT_TRUE(files.lease({2, 48000}, reason)->write(samples.data(), 1));
    EXPECT_EQ(wav_contents("out.wav").frames(), 11U);
}

TEST(PlayClock, PacesLikeACardThatStopsWhenItRunsDry) {
    const play_clock::time_point start{};
    play_clock clock(48000, 30ms);
    EXPECT_EQ(clock.room_frames(start + 1s), 1440U);
    clock.add(1440, start + 1s);
    EXPECT_EQ(clock.room_frames(start + 1s), 0U);
    EXPECT_EQ(clock.room_frames(start + 1s + 10ms), 480U);
    EXPECT_EQ(clock.end(), start + 1s + 30ms);
    clock.add(480, start + 1s + 10ms);
    EXPECT_EQ(clock.end(), start + 1s + 40ms);
    // Dry for a second: time does not run on, so there is no catching up.
    clock.add(480, start + 2s);
    EXPECT_EQ(clock.end(), start + 2s + 10ms);
    EXPECT_EQ(play_clock(8000, 1ns).room_frames(start + 1s), 1U)
        << "no buffer is too small for one";
}

TEST(PlayClock, AddsUpNoRounding) {
    play_clock clock(44100, 1s);
    const play_clock::time_point start = play_clock::time_point{} + 1s;
    for (int i = 0; i < 44100; ++i) {
        clock.add(1, start);
    }
    EXPECT_EQ(clock.end(), start + 1s);
}

TEST(Timeline, TellsDriftFromJumps) {
    using kind = timeline_entry::kind;
    const struct {
        const char* name;
        uint32_t pts_ms;
        uint64_t sound_us;
        kind what;
        int64_t drift_us;
    } rows[] = {
        {"the first", 1000, 0, kind::start, 0},
        {"whole milliseconds of 34.83", 1034, 34830, kind::follows, 830},
        {"the sound lags a little", 1072, 69660, kind::follows, -2340},
        {"at the tolerance", 1177, 169660, kind::follows, -7340},
        {"beyond it", 1283, 270659, kind::gap, 0},
        {"goes on from there", 1383, 370659, kind::follows, 0},
        {"behind the sound", 1384, 400659, kind::overlap, 0},
        {"the same again, at once", 1384, 400659, kind::follows, 0},
        {"lower", 1383, 500659, kind::reordered, 0},
        {"far ahead", 2000000000U, 500659, kind::gap, 0},
        {"further", 4000000000U, 500659, kind::gap, 0},
        {"close to where they start over", 4294967290U, 500659, kind::gap, 0},
        {"started over", 94, 600659, kind::follows, 0},
        {"lower than that", 4294967295U, 600659, kind::reordered, 0},
    };
    timeline line;
    uint64_t frame = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const timeline_entry entry = line.add(row.pts_ms, ++frame, 48000, row.sound_us);
        EXPECT_STREQ(to_text(entry.what), to_text(row.what));
        EXPECT_EQ(entry.drift_us, row.drift_us);
        EXPECT_EQ(entry.frame, frame);
    }
}

TEST(Timeline, IsCompleteInItsFileAtAnyTime) {
    const scratch_dir folder;
    std::string reason;
    const auto file = timeline_file::create("sync.csv", reason);
    ASSERT_NE(file, nullptr) << reason;
    file->add(0x10000001, {1000, 0, 48000, 0, timeline_entry::kind::start});
    file->add(0x10000001, {1032, 1536, 48000, -1005, timeline_entry::kind::follows});
    EXPECT_EQ(contents("sync.csv"),
              "player,pts_ms,output_frame,rate_hz,drift_ms,event\n"
              "0x10000001,1000,0,48000,0.000,start\n"
              "0x10000001,1032,1536,48000,-1.005,follows\n");
    EXPECT_EQ(timeline_file::create("no/such/folder/sync.csv", reason), nullptr);
    EXPECT_NE(reason, "");
}

}  // namespace
}  // namespace player_service
