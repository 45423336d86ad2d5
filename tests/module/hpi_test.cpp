#include <filesystem>
#include <fstream>

#include <cutils/property_overrides.h>

#include "pcm/hpi.h"
#include "tests/support/module_fixture.h"

namespace {

constexpr const char* record_switch = "persist.audiohal.file.record";
constexpr size_t capture_bytes = 2048;  // 512 frames, stereo, 16-bit

class Hpi : public module_test {
  protected:
    std::string read(struct audio_stream_in* stream, size_t bytes) {
        std::string data(bytes, 'x');
        EXPECT_EQ(stream->read(stream, data.data(), bytes), static_cast<ssize_t>(bytes));
        return data;
    }
    void standby(struct audio_stream_in* stream) { stream->common.standby(&stream->common); }
};

}  // namespace

TEST_F(Hpi, SaysWhatItOpensAndCloses) {
    struct audio_stream_in* const stream = open_input();
    struct hpi* const hpi = to_hal_stream_in(stream)->hpi;
    log.clear();
    EXPECT_EQ(hpi_open(hpi), 0);
    EXPECT_EQ(hpi_close(hpi), 0);
    EXPECT_EQ(hpi_close(hpi), 0);  // nothing left to close
    const auto line = [](const char* text) {
        return log_line{ANDROID_LOG_DEBUG, "audio_hal_hpi", text};
    };
    EXPECT_EQ(log.lines(),
              (std::vector<log_line>{
                  line("pcm_open card:device(hw:0:0)\n"),
                  line("config channels:2 rate:48000 period_size=512 period_count=4 format=0"),
                  line("hpi_open: persist.audiohal.file.record is "),
                  line("hpi_open: disable save ./hal_audio.record"),
                  line("hpi_close:device(hw:0:0)\n"), line("hpi_close:device(hw:0:0)\n")}));
    close_input(stream);
}

TEST_F(Hpi, AReadWhileClosedOrFailingIsLoggedAndAnsweredInFull) {
    struct audio_stream_in* const stream = open_input();
    struct hpi* const hpi = to_hal_stream_in(stream)->hpi;
    std::string data(64, 'x');
    EXPECT_EQ(hpi_read(hpi, data.data(), data.size()), 64);
    EXPECT_EQ(data, std::string(64, 'x'));
    EXPECT_EQ(
        log.count(ANDROID_LOG_ERROR, "audio_hal_hpi", "hpi_read: failed pcm should not be NULL "),
        1);
    tinyalsa().failing_from = 1;
    property_override(record_switch, "true");
    read(stream, 64);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal_hpi",
                        "hpi_read:64 byte written failed, ret(0xfffffffb)"),
              1);
    close_input(stream);
    EXPECT_EQ(contents("hal_audio.record"), "");
}

TEST_F(Hpi, CapturesWhatWasRecordedSinceTheLatestWakeWithAndWithoutAResampler) {
    for (const uint32_t rate : {48000U, 16000U}) {
        reset_tinyalsa();
        tinyalsa().sound = audio(8 * capture_bytes, rate);
        property_override(record_switch, "true");
        struct audio_stream_in* const stream = open_input(rate);
        read(stream, capture_bytes);
        standby(stream);
        const size_t before = tinyalsa().sound_taken;
        EXPECT_EQ(contents("hal_audio.record"), tinyalsa().sound.substr(0, before));
        read(stream, 600);
        property_override(record_switch, "false");
        read(stream, 600);  // the switch waits for the next wake
        close_input(stream);
        EXPECT_EQ(contents("hal_audio.record"),
                  tinyalsa().sound.substr(before, tinyalsa().sound_taken - before));
        EXPECT_GT(tinyalsa().sound_taken, before);
    }
}

TEST_F(Hpi, CloseEndsTheCardFirstAndDestroyTheFileFirst) {
    property_override(record_switch, "true");
    tinyalsa().sound = audio(2 * capture_bytes);
    for (const bool destroy : {false, true}) {
        struct audio_stream_in* const stream = open_input();
        struct hpi* const hpi = to_hal_stream_in(stream)->hpi;
        read(stream, capture_bytes);
        int asked = 0;
        tinyalsa().in_close = [&] {
            ++asked;
            EXPECT_EQ(contents("hal_audio.record").size(), destroy ? capture_bytes : 0U);
        };
        if (destroy) {
            hpi_destroy(hpi);
            ASSERT_EQ(hpi_create(&to_hal_stream_in(stream)->hpi), 0);
            standby_of(stream) = true;
        } else {
            standby(stream);
        }
        EXPECT_EQ(asked, 1);
        tinyalsa().in_close = nullptr;
        close_input(stream);
    }
}

TEST_F(Hpi, RecordsOnWithoutACaptureFile) {
    std::filesystem::create_directory("hal_audio.record");  // cannot be opened for writing
    property_override(record_switch, "true");
    tinyalsa().sound = audio(1 << 18);
    struct audio_stream_in* const stream = open_input();
    EXPECT_EQ(read(stream, capture_bytes), tinyalsa().sound.substr(0, capture_bytes));
    EXPECT_EQ(log.count(ANDROID_LOG_DEBUG, "audio_hal_hpi",
                        "hpi_open: ./hal_audio.record can not be created!"),
              1);
    standby(stream);
    std::filesystem::remove("hal_audio.record");
    std::filesystem::create_symlink("/dev/full", "hal_audio.record");
    const size_t before = tinyalsa().sound_taken;
    EXPECT_EQ(read(stream, 1 << 16), tinyalsa().sound.substr(before, 1 << 16));
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal_hpi",
                        "hpi_read: not save all data! expect=65536 actual=0"),
              1);
    close_input(stream);
}
