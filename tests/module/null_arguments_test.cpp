// What a careless framework could pass: each call gives its error and touches nothing.

#include <cerrno>
#include <functional>

#include "pcm/hpi.h"
#include "pcm/hpo.h"
#include "tests/support/module_fixture.h"

namespace {

class NullArguments : public module_test {};

struct null_call {
    const char* name;
    std::function<int64_t()> call;
    int64_t expected;
};

void check_all(const std::vector<null_call>& rows) {
    for (const null_call& row : rows) {
        EXPECT_EQ(row.call(), row.expected) << row.name;
    }
}

}  // namespace

TEST_F(NullArguments, AreRefusedByTheDevice) {
    open_device();
    struct audio_config config = {};
    auto* const poison = reinterpret_cast<struct audio_stream_out*>(this);
    struct audio_stream_out* stream = poison;
    const auto open = [&](struct audio_hw_device* device, struct audio_config* request,
                          struct audio_stream_out** place) {
        return dev->open_output_stream(device, 0, 0, AUDIO_OUTPUT_FLAG_NONE, request, place,
                                       nullptr);
    };
    struct audio_stream_in* input = reinterpret_cast<struct audio_stream_in*>(this);
    const auto open_in = [&](struct audio_hw_device* device, struct audio_config* request,
                             struct audio_stream_in** place) {
        return dev->open_input_stream(device, 0, 0, request, place, AUDIO_INPUT_FLAG_NONE, nullptr,
                                      AUDIO_SOURCE_MIC);
    };
    const auto methods_open = HAL_MODULE_INFO_SYM.methods->open;
    struct hw_device_t* device = nullptr;
    float volume = 0;
    bool flag = false;
    check_all({
        {"open: no place",
         [&] { return methods_open(&HAL_MODULE_INFO_SYM, "audio_hw_if", nullptr); }, -EINVAL},
        {"open: no name", [&] { return methods_open(&HAL_MODULE_INFO_SYM, nullptr, &device); },
         -EINVAL},
        {"stream: no device", [&] { return open(nullptr, &config, &stream); }, -EINVAL},
        {"stream: no configuration", [&] { return open(dev, nullptr, &stream); }, -EINVAL},
        {"stream: no place", [&] { return open(dev, &config, nullptr); }, -EINVAL},
        {"input: no device", [&] { return open_in(nullptr, &config, &input); }, -EINVAL},
        {"input: no configuration", [&] { return open_in(dev, nullptr, &input); }, -EINVAL},
        {"input: no place", [&] { return open_in(dev, &config, nullptr); }, -EINVAL},
        {"voice volume", [&] { return dev->set_voice_volume(nullptr, 1); }, -EINVAL},
        {"master volume", [&] { return dev->set_master_volume(nullptr, 1); }, -EINVAL},
        {"get volume", [&] { return dev->get_master_volume(nullptr, &volume); }, -EINVAL},
        {"get volume: no place", [&] { return dev->get_master_volume(dev, nullptr); }, -EINVAL},
        {"mute", [&] { return dev->set_master_mute(nullptr, true); }, -EINVAL},
        {"get mute", [&] { return dev->get_master_mute(nullptr, &flag); }, -EINVAL},
        {"get mute: no place", [&] { return dev->get_master_mute(dev, nullptr); }, -EINVAL},
        {"mode", [&] { return dev->set_mode(nullptr, AUDIO_MODE_NORMAL); }, -EINVAL},
        {"mic mute", [&] { return dev->set_mic_mute(nullptr, true); }, -EINVAL},
        {"get mic mute", [&] { return dev->get_mic_mute(nullptr, &flag); }, -EINVAL},
        {"get mic mute: no place", [&] { return dev->get_mic_mute(dev, nullptr); }, -EINVAL},
        {"parameters", [&] { return dev->set_parameters(nullptr, "a=b"); }, -EINVAL},
        {"parameters: no text", [&] { return dev->set_parameters(dev, nullptr); }, -EINVAL},
        {"dump", [&] { return dev->dump(nullptr, 1); }, -EINVAL},
        {"buffer size",
         [&] { return static_cast<int64_t>(dev->get_input_buffer_size(nullptr, &config)); }, 0},
        {"microphones: no count", [&] { return dev->get_microphones(dev, nullptr, nullptr); }, -1},
    });
    EXPECT_EQ(stream, nullptr);  // cleared by the refusals that could
    EXPECT_EQ(input, nullptr);
    dev->close_output_stream(dev, nullptr);
    dev->close_input_stream(dev, nullptr);
    for (struct audio_hw_device* each : {dev, static_cast<struct audio_hw_device*>(nullptr)}) {
        char* const text = dev->get_parameters(each, nullptr);
        EXPECT_STREQ(text, "");
        free(text);
    }
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "adev_get_parameters: create param fail"),
              1);
}

TEST_F(NullArguments, AreRefusedByTheStream) {
    struct audio_stream_out* const s = open_stream(AUDIO_OUTPUT_FLAG_DIRECT);
    const struct audio_stream* const c = &s->common;
    uint32_t frames = 0;
    uint64_t frames64 = 0;
    struct timespec time = {};
    check_all({
        {"rate", [&] { return c->get_sample_rate(nullptr); }, 0},
        {"set rate", [&] { return c->set_sample_rate(nullptr, 1); }, -EINVAL},
        {"buffer size", [&] { return static_cast<int64_t>(c->get_buffer_size(nullptr)); }, 0},
        {"channels", [&] { return c->get_channels(nullptr); }, 0},
        {"format", [&] { return static_cast<int64_t>(c->get_format(nullptr)); },
         static_cast<int64_t>(AUDIO_FORMAT_INVALID)},
        {"set format", [&] { return c->set_format(nullptr, AUDIO_FORMAT_PCM_16_BIT); }, -EINVAL},
        {"standby", [&] { return c->standby(nullptr); }, -EINVAL},
        {"dump", [&] { return c->dump(nullptr, 1); }, -EINVAL},
        {"parameters", [&] { return c->set_parameters(nullptr, "a=b"); }, -EINVAL},
        {"parameters: no text", [&] { return c->set_parameters(&s->common, nullptr); }, -1},
        {"effect", [&] { return c->add_audio_effect(nullptr, nullptr); }, -EINVAL},
        {"no effect", [&] { return c->remove_audio_effect(nullptr, nullptr); }, -EINVAL},
        {"latency", [&] { return s->get_latency(nullptr); }, UINT32_MAX},
        {"volume", [&] { return s->set_volume(nullptr, 1, 1); }, -EINVAL},
        {"write", [&] { return s->write(nullptr, "x", 1); }, 0},
        {"write: no data", [&] { return s->write(s, nullptr, 1); }, -EINVAL},
        {"render", [&] { return s->get_render_position(nullptr, &frames); }, -EINVAL},
        {"render: no place", [&] { return s->get_render_position(s, nullptr); }, -EINVAL},
        {"presentation", [&] { return s->get_presentation_position(nullptr, &frames64, &time); },
         -EINVAL},
        {"presentation: no count", [&] { return s->get_presentation_position(s, nullptr, &time); },
         -EINVAL},
        {"presentation: no time",
         [&] { return s->get_presentation_position(s, &frames64, nullptr); }, -EINVAL},
        {"callback", [&] { return s->set_callback(nullptr, nullptr, nullptr); }, -EINVAL},
        {"pause", [&] { return s->pause(nullptr); }, -1},
        {"resume", [&] { return s->resume(nullptr); }, -1},
        {"drain", [&] { return s->drain(nullptr, AUDIO_DRAIN_ALL); }, -EINVAL},
        {"flush", [&] { return s->flush(nullptr); }, -1},
    });
    for (const struct audio_stream* each : {c, static_cast<const struct audio_stream*>(nullptr)}) {
        char* const text = c->get_parameters(each, nullptr);
        EXPECT_STREQ(text, "");
        free(text);
    }
    close_stream(s);
}

TEST_F(NullArguments, AreRefusedByThePlaybackBackEnd) {
    uint64_t frames = 99;
    struct hpo ownerless = {};
    check_all({
        {"create", [] { return hpo_create(nullptr); }, -EINVAL},
        {"open", [] { return hpo_open(nullptr); }, -EINVAL},
        {"write", [] { return hpo_write(nullptr, "x", 1); }, -EINVAL},
        {"latency", [] { return hpo_get_latency(nullptr); }, -EINVAL},
        {"buffer size", [] { return hpo_get_buffer_size(nullptr); }, -EINVAL},
        {"position", [&] { return hpo_get_tstamp(nullptr, &frames); }, 0},
        {"position: no place", [&] { return hpo_get_tstamp(&ownerless, nullptr); }, 0},
        {"open: no stream", [&] { return hpo_open(&ownerless); }, -EINVAL},
        {"latency: no stream", [&] { return hpo_get_latency(&ownerless); }, -EINVAL},
        {"buffer size: no stream", [&] { return hpo_get_buffer_size(&ownerless); }, -EINVAL},
        {"close", [] { return hpo_close(nullptr); }, -EINVAL},
    });
    EXPECT_EQ(frames, 99U);
    hpo_destroy(nullptr);
}

TEST_F(NullArguments, AreRefusedByTheInputStream) {
    struct audio_stream_in* const s = open_input();
    const struct audio_stream* const c = &s->common;
    check_all({
        {"rate", [&] { return c->get_sample_rate(nullptr); }, 0},
        {"set rate", [&] { return c->set_sample_rate(nullptr, 1); }, -EINVAL},
        {"buffer size", [&] { return static_cast<int64_t>(c->get_buffer_size(nullptr)); }, 0},
        {"channels", [&] { return c->get_channels(nullptr); }, 0},
        {"format", [&] { return static_cast<int64_t>(c->get_format(nullptr)); },
         static_cast<int64_t>(AUDIO_FORMAT_INVALID)},
        {"set format", [&] { return c->set_format(nullptr, AUDIO_FORMAT_PCM_16_BIT); }, -EINVAL},
        {"standby", [&] { return c->standby(nullptr); }, -EINVAL},
        {"dump", [&] { return c->dump(nullptr, 1); }, -EINVAL},
        {"parameters", [&] { return c->set_parameters(nullptr, "a=b"); }, -EINVAL},
        {"parameters: no text", [&] { return c->set_parameters(&s->common, nullptr); }, -1},
        {"effect", [&] { return c->add_audio_effect(nullptr, nullptr); }, -EINVAL},
        {"gain", [&] { return s->set_gain(nullptr, 1); }, -EINVAL},
        {"frames lost", [&] { return s->get_input_frames_lost(nullptr); }, 0},
        {"position", [&] { return s->get_capture_position(nullptr, nullptr, nullptr); }, -EINVAL},
        {"start", [&] { return s->start(nullptr); }, -EINVAL},
        {"stop", [&] { return s->stop(nullptr); }, -EINVAL},
    });
    for (const struct audio_stream* each : {c, static_cast<const struct audio_stream*>(nullptr)}) {
        char* const text = c->get_parameters(each, nullptr);
        EXPECT_STREQ(text, "");
        free(text);
    }
    close_input(s);
}

TEST_F(NullArguments, AreRefusedByTheCaptureBackEnd) {
    struct hpi ownerless = {};
    check_all({
        {"create", [] { return hpi_create(nullptr); }, -EINVAL},
        {"open", [] { return hpi_open(nullptr); }, -EINVAL},
        {"open: no stream", [&] { return hpi_open(&ownerless); }, -EINVAL},
        {"read", [&] { return hpi_read(nullptr, &ownerless, 1); }, -EINVAL},
        {"close", [] { return hpi_close(nullptr); }, -EINVAL},
    });
    hpi_destroy(nullptr);
}
