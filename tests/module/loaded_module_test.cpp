// The built module, loaded by its descriptor as the audio server loads it, over the real platform
// libraries of this repository, with a WAV file for a sound card.

#include <dlfcn.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <stdlib.h>
#include <string>

#include <cutils/property_overrides.h>
#include <hardware/audio.h>
#include <hardware/hardware.h>
#include <hardware/module_file.h>

#include "tests/support/log_recorder.h"
#include "tests/support/scratch_dir.h"
#include "tests/support/test_audio.h"

namespace {

// The samples of a plain 44-byte-header WAV file.
std::string wav_samples(const std::string& path) {
    const std::string all = contents(path);
    const size_t data = all.find("data");
    return data == std::string::npos ? "no data chunk" : all.substr(data + 8);
}

class LoadedModule : public ::testing::Test {
  protected:
    LoadedModule() {
        setenv("CORVEX_PROPERTY_FILE", scratch.file("properties").c_str(), 1);
        unsetenv("CORVEX_WAV_PACE");
        // No player service is there, and none is waited for.
        setenv("CORVEX_BINDER_DIR", scratch.file("binder").c_str(), 1);
        setenv("CORVEX_BINDER_WAIT_MS", "0", 1);
    }
    ~LoadedModule() override {
        if (device != nullptr) {
            audio_hw_device_close(device);
        }
        property_clear_overrides();
    }

    void open(const struct hw_module_t* module) {
        ASSERT_EQ(audio_hw_device_open(module, &device), 0);
        ASSERT_EQ(device->init_check(device), 0);
    }
    struct audio_stream_out* open_stream() {
        struct audio_config config = {};
        struct audio_stream_out* stream = nullptr;
        EXPECT_EQ(device->open_output_stream(device, 1, AUDIO_DEVICE_OUT_SPEAKER,
                                             AUDIO_OUTPUT_FLAG_PRIMARY, &config, &stream, nullptr),
                  0);
        return stream;
    }

    scratch_dir scratch;
    log_recorder log;
    struct audio_hw_device* device = nullptr;
};

}  // namespace

TEST_F(LoadedModule, PlaysBitForBitIntoTheSinkAndTheCaptureFile) {
    const struct hw_module_t* module = nullptr;
    ASSERT_EQ(hw_load_module_file(CORVEX_TEST_MODULE_FILE, AUDIO_HARDWARE_MODULE_ID, &module), 0)
        << hw_module_error();
    setenv("CORVEX_ALSA_PLAYBACK", ("wav:" + scratch.file("sink.wav")).c_str(), 1);
    property_override("persist.audiohal.file.pcm", "true");
    open(module);
    struct audio_stream_out* const stream = open_stream();
    const size_t piece = stream->common.get_buffer_size(&stream->common);
    ASSERT_EQ(piece, 1920U);

    const std::string data = audio(101 * piece + 400);
    for (size_t at = 0; at < data.size(); at += piece) {
        const size_t bytes = std::min(piece, data.size() - at);
        ASSERT_EQ(stream->write(stream, data.data() + at, bytes), static_cast<ssize_t>(bytes));
    }
    uint64_t frames = 0;
    struct timespec time = {};
    EXPECT_EQ(stream->get_presentation_position(stream, &frames, &time), 0);
    EXPECT_EQ(frames, data.size() / 4);
    EXPECT_EQ(stream->common.standby(&stream->common), 0);
    EXPECT_EQ(wav_samples("sink.wav"), data);
    EXPECT_EQ(contents("hal_audio.pcm"), data);

    // After a standby the position goes on, and so does the sink.
    EXPECT_EQ(stream->write(stream, data.data(), piece), static_cast<ssize_t>(piece));
    EXPECT_EQ(stream->get_presentation_position(stream, &frames, &time), 0);
    EXPECT_EQ(frames, (data.size() + piece) / 4);
    device->close_output_stream(device, stream);
    EXPECT_EQ(wav_samples("sink.wav"), data + data.substr(0, piece));
    EXPECT_EQ(contents("hal_audio.pcm"), data.substr(0, piece));
}

TEST_F(LoadedModule, IsFoundByItsClassAndKeepsItsCaptureFilesInMnt) {
    setenv("CORVEX_MODULE_PATH", std::filesystem::path(CORVEX_MODULE_FILE).parent_path().c_str(),
           1);
    const struct hw_module_t* module = nullptr;
    ASSERT_EQ(hw_get_module_by_class("audio", "primary", &module), 0) << hw_module_error();
    EXPECT_STREQ(module->name, "Zu audio HAL");
    setenv("CORVEX_ALSA_PLAYBACK", "null", 1);
    open(module);
    struct audio_stream_out* const stream = open_stream();
    stream->write(stream, "1234", 4);
    EXPECT_EQ(
        log.count(ANDROID_LOG_DEBUG, "audio_hal_hpo", "hpo_open: disable save /mnt/hal_audio.pcm"),
        1);
    device->close_output_stream(device, stream);
}
