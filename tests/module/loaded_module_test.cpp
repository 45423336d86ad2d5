// The built module, found and opened as the audio server does it. What it plays and records is
// heard in the tests of corvex-hal.

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

#include <hardware/audio.h>
#include <hardware/hardware.h>
#include <hardware/module_file.h>

#include "tests/support/log_recorder.h"
#include "tests/support/scratch_dir.h"

TEST(LoadedModule, IsFoundByItsClassAndKeepsItsCaptureFilesInTheirFolder) {
    const scratch_dir scratch;
    const log_recorder log;
    setenv("CORVEX_PROPERTY_FILE", scratch.file("properties").c_str(), 1);
    setenv("CORVEX_MODULE_PATH",
           std::filesystem::path(CORVEX_WAV_MODULE_FILE).parent_path().c_str(), 1);
    setenv("CORVEX_ALSA_PLAYBACK", "null", 1);
    // No player service is there, and none is waited for.
    setenv("CORVEX_BINDER_DIR", scratch.file("binder").c_str(), 1);
    setenv("CORVEX_BINDER_WAIT_MS", "0", 1);
    const struct hw_module_t* module = nullptr;
    ASSERT_EQ(hw_get_module_by_class("audio", "primary", &module), 0) << hw_module_error();
    EXPECT_STREQ(module->name, "Zu audio HAL");
    struct audio_hw_device* device = nullptr;
    ASSERT_EQ(audio_hw_device_open(module, &device), 0);
    EXPECT_EQ(log.count_containing("hdo_init failed(0x"), 1);
    struct audio_config config = {};
    struct audio_stream_out* stream = nullptr;
    ASSERT_EQ(device->open_output_stream(device, 1, AUDIO_DEVICE_OUT_SPEAKER,
                                         AUDIO_OUTPUT_FLAG_PRIMARY, &config, &stream, nullptr),
              0);
    EXPECT_EQ(stream->write(stream, "1234", 4), 4);
    EXPECT_EQ(log.count(ANDROID_LOG_DEBUG, "audio_hal_hpo",
                        "hpo_open: disable save " CORVEX_CAPTURE_DIR "/hal_audio.pcm"),
              1);
    device->close_output_stream(device, stream);
    EXPECT_EQ(audio_hw_device_close(device), 0);
}
