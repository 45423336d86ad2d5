#include <cerrno>
#include <cfloat>
#include <climits>
#include <cstring>

#include "tests/support/module_fixture.h"

namespace {

class DeviceControls : public module_test {
  protected:
    void SetUp() override {
        open_device();
        log.clear();
    }
    std::string get(const char* keys) {
        char* const text = dev->get_parameters(dev, keys);
        const std::string result = text;
        free(text);
        return result;
    }
    std::string pointer() {
        char text[32];
        snprintf(text, sizeof(text), "%p", static_cast<void*>(dev));
        return text;
    }
};

}  // namespace

TEST_F(DeviceControls, KeepAndReportVolumeAndMutes) {
    float volume = -1.0F;
    bool muted = true;
    EXPECT_EQ(dev->get_master_volume(dev, &volume), 0);
    EXPECT_EQ(volume, 1.0F);
    EXPECT_EQ(dev->set_master_volume(dev, 0.5F), 0);
    EXPECT_EQ(dev->get_master_volume(dev, &volume), 0);
    EXPECT_EQ(volume, 0.5F);
    EXPECT_EQ(dev->get_master_mute(dev, &muted), 0);
    EXPECT_FALSE(muted);
    EXPECT_EQ(dev->set_master_mute(dev, true), 0);
    EXPECT_EQ(dev->get_master_mute(dev, &muted), 0);
    EXPECT_TRUE(muted);
    muted = true;
    EXPECT_EQ(dev->get_mic_mute(dev, &muted), 0);
    EXPECT_FALSE(muted);
    EXPECT_EQ(dev->set_mic_mute(dev, true), 0);
    EXPECT_EQ(dev->get_mic_mute(dev, &muted), 0);
    EXPECT_TRUE(muted);

    const std::string p = pointer();
    const std::vector<std::string> expected = {
        "adev_get_master_volume: adev(" + p + ") volume(1.000000)",
        "adev_set_master_volume: adev(" + p + ") volume(0.500000)",
        "adev_get_master_volume: adev(" + p + ") volume(0.500000)",
        "adev_get_master_mute: adev(" + p + ") muted(0)",
        "adev_set_master_mute: adev(" + p + ") muted(1)",
        "adev_get_master_mute: adev(" + p + ") muted(1)",
        "adev_get_mic_mute: adev(0x" + p + ") state(0)",
        "adev_set_mic_mute: adev(0x" + p + ") state(1)",
        "adev_get_mic_mute: adev(0x" + p + ") state(1)",
    };
    std::vector<std::string> texts;
    for (const log_line& line : log.lines()) {
        EXPECT_EQ(line.priority, ANDROID_LOG_DEBUG);
        EXPECT_EQ(line.tag, "audio_hal");
        texts.push_back(line.text);
    }
    EXPECT_EQ(texts, expected);
}

TEST_F(DeviceControls, AcceptWhatTheyDoNotApply) {
    EXPECT_EQ(dev->set_voice_volume(dev, 0.25F), 0);
    EXPECT_EQ(dev->set_mode(dev, AUDIO_MODE_IN_CALL), 0);
    EXPECT_EQ(dev->set_parameters(dev, "routing=2;;=="), 0);
    EXPECT_EQ(dev->dump(dev, -1), 0);
    EXPECT_EQ(
        log.count(ANDROID_LOG_DEBUG, "audio_hal", "adev_set_mode: adev(" + pointer() + ") mode(2)"),
        1);
    EXPECT_EQ(
        log.count(ANDROID_LOG_DEBUG, "audio_hal", "adev_set_parameters: kvpairs: routing=2;;=="),
        1);
}

TEST_F(DeviceControls, OneInputBufferSizeForEveryConfiguration) {
    struct audio_config config = {};
    config.sample_rate = 8000;
    config.channel_mask = AUDIO_CHANNEL_IN_MONO;
    EXPECT_EQ(dev->get_input_buffer_size(dev, &config), 4096U);
    EXPECT_EQ(dev->get_input_buffer_size(dev, nullptr), 4096U);
    EXPECT_EQ(log.count(ANDROID_LOG_DEBUG, "audio_hal",
                        "adev_get_input_buffer_size: adev(0x" + pointer() + ") size(4096)"),
              2);
}

TEST_F(DeviceControls, DescribeOneMicrophoneWhereThereIsRoom) {
    struct audio_microphone_characteristic_t mics[2];
    memset(mics, 0x5A, sizeof(mics));
    const auto untouched = mics[0];

    size_t count = 0;
    EXPECT_EQ(dev->get_microphones(dev, mics, &count), 0);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(memcmp(&mics[0], &untouched, sizeof(untouched)), 0);

    count = 2;
    EXPECT_EQ(dev->get_microphones(dev, mics, &count), 0);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(memcmp(&mics[1], &untouched, sizeof(untouched)), 0);
    EXPECT_NE(memchr(mics[0].device_id, 0, sizeof(mics[0].device_id)), nullptr);
    EXPECT_NE(memchr(mics[0].address, 0, sizeof(mics[0].address)), nullptr);
    EXPECT_STRNE(mics[0].device_id, "");
    EXPECT_EQ(mics[0].device, AUDIO_DEVICE_IN_BUILTIN_MIC);
    EXPECT_EQ(mics[0].channel_mapping[0], AUDIO_MICROPHONE_CHANNEL_MAPPING_DIRECT);
    EXPECT_EQ(mics[0].channel_mapping[1], AUDIO_MICROPHONE_CHANNEL_MAPPING_UNUSED);
    EXPECT_EQ(mics[0].group, -1);
    EXPECT_EQ(mics[0].sensitivity, -FLT_MAX);
    EXPECT_EQ(mics[0].geometric_location.z, -FLT_MAX);
    EXPECT_EQ(mics[0].num_frequency_responses, 0U);

    count = 9;
    EXPECT_EQ(dev->get_microphones(dev, nullptr, &count), 0);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(dev->get_microphones(dev, mics, nullptr), -1);
}

TEST_F(DeviceControls, ObtainTheAvSyncSourceOnce) {
    direct_output().hwsync_result = 9;
    EXPECT_EQ(get("hw_av_sync"), "");
    EXPECT_EQ(log.lines(),
              (std::vector<log_line>{
                  {ANDROID_LOG_DEBUG, "audio_hal", "adev_get_parameters keys:hw_av_sync"},
                  {ANDROID_LOG_ERROR, "audio_hal", "hdo_create_hwsync_source failed\n"},
                  {ANDROID_LOG_ERROR, "audio_hal", "adev_obtain_hwsync_source failed"},
                  {ANDROID_LOG_DEBUG, "audio_hal", "adev_get_parameters: returns "}}));
    direct_output().hwsync_result = 0;
    direct_output().hwsync_id = 4711;
    EXPECT_EQ(get("hw_av_sync"), "hw_av_sync=4711");
    log.clear();
    EXPECT_EQ(get("x;hw_av_sync=1"), "hw_av_sync=4711");
    EXPECT_TRUE(log.has(ANDROID_LOG_DEBUG, "audio_hal",
                        "Hw sync source(0x1267) already obtained, reuse it\n"));
    EXPECT_EQ(direct_output().calls,
              (std::vector<std::string>{"init", "create source", "create source"}));
    EXPECT_EQ(get("sup_channels"), "");
    to_hal_device(dev)->hw_sync_id = 0x80000001;
    EXPECT_EQ(get("hw_av_sync"), "hw_av_sync=-2147483647");  // a signed number in the text
    to_hal_device(dev)->hw_sync_id = 4711;
}
