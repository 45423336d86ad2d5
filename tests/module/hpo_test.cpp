#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <cutils/property_overrides.h>

#include "diag/capture_file.h"
#include "pcm/hpo.h"
#include "tests/support/module_fixture.h"

namespace {

constexpr const char* pcm_switch = "persist.audiohal.file.pcm";

class Hpo : public module_test {
  protected:
    struct hpo* back_end(struct audio_stream_out* stream) {
        return to_hal_stream_out(stream)->hpo;
    }
    void write(struct audio_stream_out* stream, const std::string& data) {
        EXPECT_EQ(stream->write(stream, data.data(), data.size()),
                  static_cast<ssize_t>(data.size()));
    }
    void standby(struct audio_stream_out* stream) { stream->common.standby(&stream->common); }
};

}  // namespace

TEST_F(Hpo, SizesAndLatencyFollowConfigurationAndFormat) {
    struct audio_stream_out* const stream = open_stream();
    const struct {
        uint32_t format;
        size_t buffer_bytes;
    } rows[] = {
        {AUDIO_FORMAT_PCM_16_BIT, 1920},
        {AUDIO_FORMAT_PCM_8_BIT, 960},
        {AUDIO_FORMAT_PCM_32_BIT, 3840},
        {AUDIO_FORMAT_PCM_8_24_BIT, 3840},
        {AUDIO_FORMAT_PCM_FLOAT, 3840},
        {AUDIO_FORMAT_PCM_24_BIT_PACKED, 2880},
        {AUDIO_FORMAT_IEC61937, 1920},
        {AUDIO_FORMAT_AC3, 0},
        {0x7, 0},
    };
    for (const auto& row : rows) {
        stream->common.set_format(&stream->common, static_cast<audio_format_t>(row.format));
        log.clear();
        EXPECT_EQ(stream->common.get_buffer_size(&stream->common), row.buffer_bytes) << row.format;
        EXPECT_EQ(log.lines(),
                  (std::vector<log_line>{
                      {ANDROID_LOG_DEBUG, "audio_hal_hpo",
                       "hpo_get_buffer_size:buffersize=" + std::to_string(row.buffer_bytes) + " "},
                      {ANDROID_LOG_DEBUG, "audio_hal",
                       "out_get_buffer_size: " + std::to_string(row.buffer_bytes)}}));
    }
    log.clear();
    EXPECT_EQ(stream->get_latency(stream), 20U);
    EXPECT_EQ(log.lines(), (std::vector<log_line>{{ANDROID_LOG_DEBUG, "audio_hal_hpo",
                                                   "hpo_get_latency:latency=20"}}));
    to_hal_stream_out(stream)->config.rate = 44100;
    EXPECT_EQ(stream->get_latency(stream), 21U);
    to_hal_stream_out(stream)->config.rate = 0;
    EXPECT_EQ(stream->get_latency(stream), 0U);
    close_stream(stream);
}

TEST_F(Hpo, CountsWholeFramesOfWhatTheCardTook) {
    struct audio_stream_out* const stream = open_stream();
    write(stream, audio(period_bytes));
    EXPECT_EQ(back_end(stream)->frames_written, 480U);
    write(stream, audio(7));
    EXPECT_EQ(back_end(stream)->frames_written, 481U);
    close_stream(stream);
}

TEST_F(Hpo, AStreamWithoutChannelsPlaysButCountsNothing) {
    property_override(pcm_switch, "true");
    struct audio_stream_out* const stream = open_stream(0, 48000, 0xC0000003, 1);
    write(stream, audio(64));
    EXPECT_EQ(tinyalsa().played.size(), 64U);
    EXPECT_EQ(back_end(stream)->frames_written, 0U);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal_hpo", "hpo_write:64 byte written failed"), 1);
    EXPECT_EQ(stream->common.get_buffer_size(&stream->common), 0U);
    close_stream(stream);
    EXPECT_EQ(contents("hal_audio.pcm"), "");
}

TEST_F(Hpo, SaysWhatItOpensAndCloses) {
    struct audio_stream_out* const stream = open_stream();
    log.clear();
    write(stream, audio(period_bytes));
    standby(stream);
    EXPECT_EQ(log.lines(),
              (std::vector<log_line>{
                  {ANDROID_LOG_DEBUG, "audio_hal_hpo", "hpo_open:device(hw:0:0) flags(0x8) \n"},
                  {ANDROID_LOG_DEBUG, "audio_hal_hpo", "hpo_open: persist.audiohal.file.pcm is "},
                  {ANDROID_LOG_DEBUG, "audio_hal_hpo", "hpo_open: disable save ./hal_audio.pcm"},
                  {ANDROID_LOG_DEBUG, "audio_hal_hpo", "hpo_close:device(hw:0:0)\n"}}));
    close_stream(stream);
}

TEST_F(Hpo, AWriteWhileClosedIsLoggedAndTaken) {
    struct audio_stream_out* const stream = open_stream();
    EXPECT_EQ(hpo_write(back_end(stream), "1234", 4), 4);
    EXPECT_EQ(
        log.count(ANDROID_LOG_ERROR, "audio_hal_hpo", "hpo_write: failed pcm should not be NULL "),
        1);
    EXPECT_EQ(tinyalsa().writes, 0);
    close_stream(stream);
}

TEST_F(Hpo, CapturesWhatWasPlayedSinceTheLatestWake) {
    property_override(pcm_switch, "true");
    struct audio_stream_out* const stream = open_stream();
    const std::string data = audio(3 * period_bytes);
    write(stream, data.substr(0, period_bytes));
    write(stream, data.substr(period_bytes));
    standby(stream);
    EXPECT_EQ(contents("hal_audio.pcm"), data);
    EXPECT_EQ(log.count(ANDROID_LOG_DEBUG, "audio_hal_hpo",
                        "hpo_open: persist.audiohal.file.pcm is true"),
              1);
    EXPECT_EQ(
        log.count(ANDROID_LOG_DEBUG, "audio_hal_hpo", "hpo_open: enable save ./hal_audio.pcm"), 1);

    const std::string next = audio(period_bytes, 2);
    write(stream, next);
    tinyalsa().write_result = -1;  // what the card refuses is not captured
    write(stream, audio(period_bytes, 3));
    tinyalsa().write_result = 0;
    close_stream(stream);  // closes the file as well
    EXPECT_EQ(contents("hal_audio.pcm"), next);
}

TEST_F(Hpo, TheCaptureSwitchTakesEffectAtTheNextWake) {
    struct audio_stream_out* const stream = open_stream();
    write(stream, audio(period_bytes));
    property_override(pcm_switch, "true");
    write(stream, audio(period_bytes));
    EXPECT_FALSE(std::filesystem::exists("hal_audio.pcm"));
    standby(stream);
    write(stream, audio(period_bytes, 2));
    standby(stream);
    property_override(pcm_switch, "True");
    write(stream, audio(period_bytes, 3));
    close_stream(stream);
    EXPECT_EQ(contents("hal_audio.pcm"), audio(period_bytes, 2));
}

TEST_F(Hpo, AnOpenCaptureFileStaysOrGoesAsTheSwitchSays) {
    property_override(pcm_switch, "true");
    struct audio_stream_out* const stream = open_stream();
    write(stream, audio(period_bytes));
    FILE* const file = back_end(stream)->capture_file;
    ASSERT_NE(file, nullptr);
    char value[PROPERTY_VALUE_MAX];
    update_capture_file(&back_end(stream)->capture_file, pcm_capture, value, {"tag", "op"});
    EXPECT_EQ(back_end(stream)->capture_file, file);
    EXPECT_EQ(log.count_containing("enable save"), 1);
    property_override(pcm_switch, "");
    update_capture_file(&back_end(stream)->capture_file, pcm_capture, value, {"tag", "op"});
    EXPECT_EQ(back_end(stream)->capture_file, nullptr);
    EXPECT_EQ(contents("hal_audio.pcm"), audio(period_bytes));
    close_stream(stream);
}

TEST_F(Hpo, CloseEndsTheCardFirstAndDestroyTheFileFirst) {
    property_override(pcm_switch, "true");
    for (const bool destroy : {false, true}) {
        struct audio_stream_out* const stream = open_stream();
        write(stream, audio(period_bytes));
        bool asked = false;
        tinyalsa().in_close = [&] {
            asked = true;
            EXPECT_EQ(contents("hal_audio.pcm").size(), destroy ? period_bytes : 0U);
        };
        log.clear();
        if (destroy) {
            char line[64];
            snprintf(line, sizeof(line), "hpo_destroy: hpo(%p)",
                     static_cast<void*>(back_end(stream)));
            close_stream(stream);
            EXPECT_EQ(log.lines()[1], (log_line{ANDROID_LOG_DEBUG, "audio_hal_hpo", line}));
        } else {
            standby(stream);
        }
        EXPECT_TRUE(asked);
        tinyalsa().in_close = nullptr;
        if (!destroy) {
            close_stream(stream);
        }
    }
}

TEST_F(Hpo, ACardThatDoesNotOpenLeavesTheCaptureFileAlone) {
    std::ofstream("hal_audio.pcm") << "earlier";
    property_override(pcm_switch, "true");
    tinyalsa().not_ready = "no such card";
    struct audio_stream_out* const stream = open_stream();
    write(stream, audio(period_bytes));
    close_stream(stream);
    EXPECT_EQ(contents("hal_audio.pcm"), "earlier");
}

TEST_F(Hpo, PlaysOnWithoutACaptureFile) {
    std::filesystem::create_directory("hal_audio.pcm");  // cannot be opened for writing
    property_override(pcm_switch, "true");
    struct audio_stream_out* const stream = open_stream();
    write(stream, audio(period_bytes));
    EXPECT_EQ(log.count(ANDROID_LOG_DEBUG, "audio_hal_hpo",
                        "hpo_open: ./hal_audio.pcm can not be created!"),
              1);
    EXPECT_EQ(tinyalsa().played.size(), period_bytes);
    standby(stream);

    std::filesystem::remove("hal_audio.pcm");
    std::filesystem::create_symlink("/dev/full", "hal_audio.pcm");
    const std::string data =
        audio(1 << 16);  // beyond the file's buffer, so that it must be written
    write(stream, data);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal_hpo",
                        "hpo_write: not save all data! expect=65536 actual=0"),
              1);
    EXPECT_EQ(back_end(stream)->frames_written, 480U + (1U << 16) / 4);
    close_stream(stream);
}
