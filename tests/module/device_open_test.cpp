#include <cerrno>

#include "tests/support/module_fixture.h"

namespace {

class DeviceOpen : public module_test {
  protected:
    int open_by_name(const char* name, struct hw_device_t** device) {
        return HAL_MODULE_INFO_SYM.methods->open(&HAL_MODULE_INFO_SYM, name, device);
    }
    int check() { return record_of_operations.init_check(nullptr); }

    // Operations outlive the record that they came from.
    struct audio_hw_device record_of_operations = {};

    void SetUp() override {
        record_of_operations = *open_device();
        close_device(dev);
        dev = nullptr;
        direct_output().calls.clear();
        log.clear();
    }
};

}  // namespace

TEST(Descriptor, IdentifiesTheModule) {
    const struct hw_module_t& module = HAL_MODULE_INFO_SYM;
    EXPECT_EQ(module.tag, static_cast<uint32_t>(HARDWARE_MODULE_TAG));
    EXPECT_EQ(module.module_api_version, 0x0001);
    EXPECT_EQ(module.hal_api_version, 0x0100);
    EXPECT_STREQ(module.id, "audio");
    EXPECT_STREQ(module.name, "Zu audio HAL");
    EXPECT_STREQ(module.author, "Corvex");
    EXPECT_EQ(module.dso, nullptr);
    for (const auto word : module.reserved) {
        EXPECT_EQ(word, 0U);
    }
}

TEST_F(DeviceOpen, FillsTheDeviceAndSaysSo) {
    open_device();
    EXPECT_EQ(dev->common.tag, static_cast<uint32_t>(HARDWARE_DEVICE_TAG));
    EXPECT_EQ(dev->common.version, 0x0200U);
    EXPECT_EQ(dev->common.module, &HAL_MODULE_INFO_SYM);
    for (const auto word : dev->common.reserved) {
        EXPECT_EQ(word, 0U);
    }
    EXPECT_EQ(slots_of(*dev).substr(sizeof(dev->common) / sizeof(void*)),
              "01111111111111111110000");
    const hal_device* const record = to_hal_device(dev);
    EXPECT_EQ(record->hw_sync_id, 0xFFFFFFFF);
    EXPECT_FALSE(record->mic_mute);
    EXPECT_FALSE(record->master_mute);
    EXPECT_TRUE(record->hdo_supported);
    EXPECT_EQ(record->master_volume, 1.0F);

    const std::vector<log_line> expected = {
        {ANDROID_LOG_DEBUG, "audio_hal", "adev_open name(audio_hw_if)"},
        {ANDROID_LOG_DEBUG, "audio_hal_custom", "custom_init nano_init"},
    };
    std::vector<log_line> own = log.lines();
    own.resize(2);  // then the voice-input library's own
    EXPECT_EQ(own, expected);
}

TEST_F(DeviceOpen, IsSharedAndReleasedByTheLastClose) {
    struct audio_hw_device* const first = open_device();
    log.clear();
    struct audio_hw_device* const second = open_device();
    EXPECT_EQ(first, second);
    EXPECT_EQ(log.lines(), (std::vector<log_line>{
                               {ANDROID_LOG_DEBUG, "audio_hal", "adev_open name(audio_hw_if)"},
                               {ANDROID_LOG_WARN, "audio_hal",
                                "adev_open() Warning! Audio device already init, don`t repeat."}}));
    first->set_master_volume(first, 0.5F);

    log.clear();
    close_device(first);
    EXPECT_EQ(last_result, 0);
    EXPECT_EQ(
        log.lines(),
        (std::vector<log_line>{{ANDROID_LOG_WARN, "audio_hal",
                                "adev_close() Have other audio client working, don`t release the "
                                "hw resource"}}));
    EXPECT_EQ(check(), 0);
    float volume = 0.0F;
    second->get_master_volume(second, &volume);
    EXPECT_EQ(volume, 0.5F);
    EXPECT_EQ(direct_output().calls, (std::vector<std::string>{"init"}));

    log.clear();
    close_device(second);
    EXPECT_EQ(last_result, 0);
    EXPECT_EQ(log.lines(), (std::vector<log_line>{{ANDROID_LOG_DEBUG, "audio_hal",
                                                   "Hw sync source already giveback "}}));
    EXPECT_EQ(direct_output().calls, (std::vector<std::string>{"init", "deinit"}));
    EXPECT_EQ(check(), -ENODEV);

    open_device();
    dev->get_master_volume(dev, &volume);
    EXPECT_EQ(volume, 1.0F);
}

TEST_F(DeviceOpen, RefusesOtherNamesWithoutCounting) {
    for (const char* name : {"audio", "audio_hw_if2", "audio_hw_i", "", "AUDIO_HW_IF"}) {
        auto* device = reinterpret_cast<struct hw_device_t*>(this);
        log.clear();
        EXPECT_EQ(open_by_name(name, &device), -EINVAL) << name;
        EXPECT_EQ(device, nullptr);
        EXPECT_TRUE(log.has(ANDROID_LOG_ERROR, "audio_hal", "adev_open Invalid name"));
        EXPECT_EQ(check(), -ENODEV);
    }
    EXPECT_NE(open_device(), nullptr);
    EXPECT_EQ(check(), 0);
    struct hw_device_t* device = nullptr;
    EXPECT_EQ(open_by_name("wrong", &device), -EINVAL);
    close_device(dev);
    EXPECT_EQ(check(), -ENODEV);
}

TEST_F(DeviceOpen, GoesOnWithoutDirectOutput) {
    direct_output().init_result = -19;
    open_device();
    EXPECT_EQ(last_result, 0);
    EXPECT_TRUE(log.has(ANDROID_LOG_ERROR, "audio_hal", "hdo_init failed(0xffffffed)"));
    const std::vector<log_line> lines = log.lines();
    ASSERT_GE(lines.size(), 3U);
    EXPECT_EQ(lines[1].text, "hdo_init failed(0xffffffed)");
    EXPECT_EQ(lines[2].text, "custom_init nano_init");

    log.clear();
    EXPECT_EQ(open_stream(AUDIO_OUTPUT_FLAG_DIRECT), nullptr);
    EXPECT_EQ(last_result, -ENOMEM);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "adev_open_output_stream: not support hdo"),
              1);
    struct audio_stream_out* const pcm = open_stream(AUDIO_OUTPUT_FLAG_PRIMARY);
    EXPECT_NE(pcm, nullptr);
    close_stream(pcm);
}

TEST_F(DeviceOpen, BringsUpBothPathsOnceForAllOpeners) {
    // Asked while the open lock is held: the check takes no lock, and nothing is open yet.
    direct_output().in_call = [this] { EXPECT_EQ(check(), -ENODEV); };
    open_device();
    direct_output().in_call = nullptr;
    close_device(dev);
    direct_output().calls.clear();
    log.clear();
    open_device();
    open_device();
    EXPECT_EQ(direct_output().calls, (std::vector<std::string>{"init"}));
    EXPECT_EQ(log.count("custom_init nano_init"), 1);
}

TEST_F(DeviceOpen, ACloseTooManyIsHarmless) {
    EXPECT_EQ(record_of_operations.common.close(nullptr), 0);
    EXPECT_TRUE(log.lines().empty());
    open_device();
    EXPECT_EQ(check(), 0);
}

TEST_F(DeviceOpen, ALastCloseWithoutADeviceReleasesNothing) {
    struct audio_hw_device* const stranded = open_device();
    direct_output().calls.clear();
    log.clear();
    --opens;
    EXPECT_EQ(stranded->common.close(nullptr), -EINVAL);
    EXPECT_EQ(
        log.lines(),
        (std::vector<log_line>{{ANDROID_LOG_DEBUG, "audio_hal", "adev_close adev null point"}}));
    EXPECT_TRUE(direct_output().calls.empty());
    EXPECT_EQ(check(), -ENODEV);

    EXPECT_NE(open_device(), stranded);  // a new record: the old one was not released
    free(to_hal_device(stranded));
}

TEST_F(DeviceOpen, GivesTheAvSyncSourceBackAfterTheConnection) {
    for (const int32_t result : {0, 5}) {
        direct_output().calls.clear();
        direct_output().hwsync_id = 77;
        direct_output().hwsync_result = 0;
        open_device();
        free(dev->get_parameters(dev, "hw_av_sync"));
        direct_output().hwsync_result = result;
        log.clear();
        close_device(dev);
        EXPECT_EQ(last_result, 0);
        EXPECT_EQ(direct_output().calls, (std::vector<std::string>{"init", "create source",
                                                                   "deinit", "destroy source 77"}));
        EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "hal_avplay_destroy_ext failed\n"),
                  result != 0 ? 1 : 0);
        EXPECT_EQ(log.count("Hw sync source already giveback "), 0);
        EXPECT_EQ(check(), -ENODEV);
    }
}

TEST_F(DeviceOpen, WithoutMemoryFailsSilentlyAndLeavesTheLockFree) {
    reset_faults();
    faults().failing_allocation = 1;
    struct hw_device_t* device = nullptr;
    EXPECT_EQ(open_by_name(AUDIO_HARDWARE_INTERFACE, &device), -ENOMEM);
    EXPECT_EQ(log.lines().size(), 1U);  // the entry line
    EXPECT_TRUE(direct_output().calls.empty());
    EXPECT_EQ(check(), -ENODEV);
    reset_faults();
    EXPECT_NE(open_device(), nullptr);
}
