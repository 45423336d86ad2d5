#include "tests/support/module_fixture.h"

#include <stdlib.h>

#include <cutils/property_overrides.h>

#include "diag/debug_switches.h"

module_test::module_test() {
    setenv("CORVEX_PROPERTY_FILE", scratch.file("properties").c_str(), 1);
    reset_faults();
    reset_tinyalsa();
    reset_direct_output();
}

module_test::~module_test() {
    reset_faults();
    while (opens > 0) {
        close_device(dev);
    }
    property_clear_overrides();
    gbEnableTrace = gbEnablePts = gbEnableDataPath = gbEnableXrunCheck = 0;
    EXPECT_EQ(tinyalsa().open_handles, 0);
    EXPECT_EQ(tinyalsa().uses_after_close, 0);
    EXPECT_EQ(direct_output().records, 0);
}

struct audio_hw_device* module_test::open_device() {
    struct hw_device_t* device = nullptr;
    last_result =
        HAL_MODULE_INFO_SYM.methods->open(&HAL_MODULE_INFO_SYM, AUDIO_HARDWARE_INTERFACE, &device);
    if (last_result != 0) {
        return nullptr;
    }
    ++opens;
    dev = reinterpret_cast<struct audio_hw_device*>(device);
    return dev;
}

void module_test::close_device(struct audio_hw_device* device) {
    --opens;
    last_result = device->common.close(&device->common);
}

struct audio_stream_out* module_test::open_stream(unsigned flags, uint32_t rate, uint32_t mask,
                                                  uint32_t format) {
    if (dev == nullptr) {
        open_device();
    }
    struct audio_config config = {};
    config.sample_rate = rate;
    config.channel_mask = mask;
    config.format = static_cast<audio_format_t>(format);
    auto* stream = reinterpret_cast<struct audio_stream_out*>(this);  // poison
    last_result = dev->open_output_stream(dev, 1, AUDIO_DEVICE_OUT_SPEAKER,
                                          static_cast<audio_output_flags_t>(flags), &config,
                                          &stream, nullptr);
    return stream;
}

void module_test::close_stream(struct audio_stream_out* stream) {
    dev->close_output_stream(dev, stream);
}

struct audio_stream_in* module_test::open_input(uint32_t rate, uint32_t mask, uint32_t format) {
    if (dev == nullptr) {
        open_device();
    }
    struct audio_config config = {};
    config.sample_rate = rate;
    config.channel_mask = mask;
    config.format = static_cast<audio_format_t>(format);
    auto* stream = reinterpret_cast<struct audio_stream_in*>(this);  // poison
    last_result = dev->open_input_stream(dev, 1, AUDIO_DEVICE_IN_BUILTIN_MIC, &config, &stream,
                                         AUDIO_INPUT_FLAG_FAST, nullptr, AUDIO_SOURCE_MIC);
    return stream;
}

void module_test::close_input(struct audio_stream_in* stream) {
    dev->close_input_stream(dev, stream);
}

std::string module_test::get_parameters(const struct audio_stream& stream, const char* keys) {
    char* const text = stream.get_parameters(&stream, keys);
    const std::string result = text != nullptr ? text : "(null)";
    free(text);
    return result;
}

bool is_held(hal_mutex& mutex) {
    if (pthread_mutex_trylock(&mutex.native) != 0) {
        return true;
    }
    pthread_mutex_unlock(&mutex.native);
    return false;
}
