// What input streams are told and asked besides reading.

#include <cerrno>
#include <functional>

#include "diag/debug_switches.h"
#include "tests/support/module_fixture.h"

namespace {

class InParameters : public module_test {};

}  // namespace

TEST_F(InParameters, QueriesAreAnsweredForTheFirstKeyThatHasAnAnswer) {
    const struct {
        uint32_t mask;
        const char* keys;
        const char* answer;
    } rows[] = {
        {AUDIO_CHANNEL_IN_STEREO, "sup_channels", "sup_channels=AUDIO_CHANNEL_IN_STEREO"},
        {AUDIO_CHANNEL_IN_MONO, "sup_formats;sup_channels", "sup_channels=AUDIO_CHANNEL_IN_MONO"},
        {AUDIO_CHANNEL_IN_MONO, "sup_sampling_rates;sup_formats",
         "sup_formats=AUDIO_FORMAT_PCM_16_BIT"},
        {AUDIO_CHANNEL_IN_MONO, "sup_sampling_rates", "sup_sampling_rates=16000"},
        {0x4, "sup_sampling_rates;sup_channels", "sup_channels="},
        {AUDIO_CHANNEL_IN_MONO, "routing", ""},
        {AUDIO_CHANNEL_IN_MONO, "", ""},
    };
    for (const auto& row : rows) {
        struct audio_stream_in* const stream = open_input(16000, row.mask);
        log.clear();
        EXPECT_EQ(get_parameters(stream->common, row.keys), row.answer);
        char entered[128];
        snprintf(entered, sizeof(entered), "in(%p) get_parameters() enter: keys=%s",
                 static_cast<void*>(stream), row.keys);
        EXPECT_EQ(log.lines().front(), (log_line{ANDROID_LOG_VERBOSE, "audio_hal", entered}));
        EXPECT_EQ(log.lines().back(),
                  (log_line{ANDROID_LOG_DEBUG, "audio_hal",
                            std::string("in_get_parameters() exit: returns=") + row.answer}));
        close_input(stream);
    }
}

TEST_F(InParameters, WhatIsSetIsLoggedInOneOrderUnderTheLockAndChangesNothing) {
    struct audio_stream_in* const stream = open_input(16000);
    struct audio_stream* const common = &stream->common;
    log.clear();
    faults().failing_mutexes = {&to_hal_stream_in(stream)->lock.native};
    EXPECT_EQ(common->set_parameters(common,
                                     "sampling_rate=8000;routing=4;x=y;channels=16;input_source=1"),
              0);
    const auto line = [](int priority, const std::string& text) {
        return log_line{priority, "audio_hal", "in_set_parameters: " + text};
    };
    EXPECT_EQ(log.lines(), (std::vector<log_line>{
                               line(ANDROID_LOG_ERROR, "mutex lock fail"),
                               line(ANDROID_LOG_DEBUG, "AUDIO_PARAMETER_STREAM_INPUT_SOURCE=1"),
                               line(ANDROID_LOG_DEBUG, "AUDIO_PARAMETER_STREAM_ROUTING=4"),
                               line(ANDROID_LOG_DEBUG, "AUDIO_PARAMETER_STREAM_CHANNELS=16"),
                               line(ANDROID_LOG_DEBUG, "AUDIO_PARAMETER_STREAM_SAMPLING_RATE=8000"),
                               line(ANDROID_LOG_ERROR, "mutex unlock fail"),
                           }));
    EXPECT_EQ(common->get_sample_rate(common), 16000U);
    reset_faults();
    close_input(stream);
}

TEST_F(InParameters, AttributesAnswerAndTraceWhatTheySay) {
    struct audio_stream_in* const stream = open_input(16000);
    struct audio_stream* const common = &stream->common;
    gbEnableTrace = 1;
    int64_t frames = 0;
    const struct {
        std::function<int64_t()> call;
        int64_t result;
        std::string lines;  // with the stream as IN
    } rows[] = {
        {[&] { return common->get_sample_rate(common); }, 16000, " in_get_sample_rate called"},
        {[&] { return common->set_sample_rate(common, 0); }, 0, "in(IN) set_sample_rate: 0"},
        {[&] { return common->get_channels(common); }, 0xC,
         " in_get_channels called | in_get_channels: in(IN) 0xc"},
        {[&] { return common->set_format(common, AUDIO_FORMAT_PCM_FLOAT); }, 0,
         "in_set_format: in(IN) 0x1"},
        {[&] { return static_cast<int64_t>(common->get_format(common)); }, 5,
         " in_get_format called | in_get_format: in(IN) 0x5"},
        {[&] { return static_cast<int64_t>(common->get_buffer_size(common)); }, 4096,
         " in_get_format called | in_get_format: in(IN) 0x5 |  in_get_channels called | "
         "in_get_channels: in(IN) 0xc | in_get_buffer_size: in(IN) 4096"},
        {[&] { return common->dump(common, 1); }, 0, " in_dump called"},
        {[&] { return common->add_audio_effect(common, nullptr); }, 0,
         " in_add_audio_effect called"},
        {[&] { return common->remove_audio_effect(common, nullptr); }, 0,
         " in_remove_audio_effect called"},
        {[&] { return stream->set_gain(stream, 0.5F); }, 0,
         " in_set_gain called | in_set_gain: in(IN) Gain:0.500000"},
        {[&] { return stream->get_input_frames_lost(stream); }, 0,
         " in_get_input_frames_lost called"},
        {[&] { return stream->get_capture_position(stream, &frames, &frames); }, -ENOSYS, ""},
        {[&] { return stream->start(stream); }, -ENOSYS, " in_start called"},
        {[&] { return stream->stop(stream); }, -ENOSYS, " in_stop called"},
        {[&] { return common->standby(common); }, 0,
         " in_standby called | in(IN) has standby before"},
    };
    for (const auto& row : rows) {
        log.clear();
        EXPECT_EQ(row.call(), row.result);
        EXPECT_EQ(joined(log.texts({{stream, "IN"}})), row.lines);
    }
    close_input(stream);
}
