// The module, driven through its descriptor as the audio server drives it, over fakes at its
// borders.
#pragma once

#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include <hardware/audio.h>
#include <hardware/hardware.h>

#include "records/device.h"
#include "records/stream_in.h"
#include "records/stream_out.h"
#include "tests/support/fake_hdo.h"
#include "tests/support/fake_tinyalsa.h"
#include "tests/support/faults.h"
#include "tests/support/log_recorder.h"
#include "tests/support/scratch_dir.h"
#include "tests/support/test_audio.h"

extern "C" struct hw_module_t HAL_MODULE_INFO_SYM;

// Direct output is available unless a test says otherwise before it opens the device.
class module_test : public ::testing::Test {
  protected:
    module_test();
    ~module_test() override;

    // Opens of the device are closed again at the end of the test.
    struct audio_hw_device* open_device();
    void close_device(struct audio_hw_device* device);

    // An open stream or null, with the result in last_result.
    struct audio_stream_out* open_stream(unsigned flags = AUDIO_OUTPUT_FLAG_PRIMARY,
                                         uint32_t rate = 0, uint32_t mask = 0, uint32_t format = 0);
    void close_stream(struct audio_stream_out* stream);

    struct audio_stream_in* open_input(uint32_t rate = 48000,
                                       uint32_t mask = AUDIO_CHANNEL_IN_STEREO,
                                       uint32_t format = AUDIO_FORMAT_PCM_16_BIT);
    void close_input(struct audio_stream_in* stream);

    // Of an output or an input stream.
    std::string get_parameters(const struct audio_stream& stream, const char* keys);
    std::string get_parameters(const struct audio_stream_out* stream, const char* keys) {
        return get_parameters(stream->common, keys);
    }

    scratch_dir scratch;
    log_recorder log;
    struct audio_hw_device* dev = nullptr;
    int last_result = 0;
    int opens = 0;
};

// Every slot of a table of operations, in its order: 1 for an operation, 0 for null.
template <typename Table>
std::string slots_of(const Table& table) {
    void* slots[sizeof(table) / sizeof(void*)];
    memcpy(slots, &table, sizeof(slots));
    std::string present;
    for (const void* each : slots) {
        present += each != nullptr ? '1' : '0';
    }
    return present;
}

// For tests that hold no lock because no other thread is about.
inline bool& standby_of(struct audio_stream_out* stream)
    HAL_THREAD_ANNOTATION(no_thread_safety_analysis) {
    return to_hal_stream_out(stream)->standby;
}

inline bool& standby_of(struct audio_stream_in* stream)
    HAL_THREAD_ANNOTATION(no_thread_safety_analysis) {
    return to_hal_stream_in(stream)->standby;
}

// Whether a mutex is held by anyone, this thread included.
bool is_held(hal_mutex& mutex);

constexpr size_t period_bytes = 1920;  // 480 frames, stereo, 16-bit
