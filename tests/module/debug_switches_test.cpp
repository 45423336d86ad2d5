#include <cutils/property_overrides.h>

#include "diag/debug_switches.h"
#include "tests/support/module_fixture.h"

namespace {

constexpr const char* all = "persist.audiohal.log.all";
constexpr const char* datapath = "persist.audiohal.log.datapath";
constexpr const char* pts = "persist.audiohal.log.pts";
constexpr const char* xruncheck = "persist.audiohal.log.xruncheck";
constexpr const char* functrace = "persist.audiohal.log.functrace";

struct switches {
    int data_path, pts, xrun_check, trace;
};

class DebugSwitches : public module_test {};

}  // namespace

TEST_F(DebugSwitches, FollowTheProperties) {
    const struct {
        const char* name;
        std::vector<std::pair<const char*, const char*>> properties;
        switches expected;
        const char* line;
    } rows[] = {
        {"nothing set",
         {},
         {0, 0, 0, 0},
         "get_platform_property: LOG DataPath(0) Pts(0) XrunCheck(0) FuncTrace(0)\n"},
        {"all off wins",
         {{all, "2"}, {functrace, "true"}},
         {0, 0, 0, 0},
         "get_platform_property: Disable ALL LOG\n"},
        {"all on wins",
         {{all, "1"}, {pts, "false"}},
         {1, 1, 1, 1},
         "get_platform_property: Enable ALL LOG\n"},
        {"a number with a tail is a number",
         {{all, "1x"}},
         {1, 1, 1, 1},
         "get_platform_property: Enable ALL LOG\n"},
        {"true is no number",
         {{all, "true"}, {datapath, "true"}},
         {1, 0, 0, 0},
         "get_platform_property: LOG DataPath(1) Pts(0) XrunCheck(0) FuncTrace(0)\n"},
        {"each has its own",
         {{pts, "true"}, {functrace, "true"}},
         {0, 1, 0, 1},
         "get_platform_property: LOG DataPath(0) Pts(1) XrunCheck(0) FuncTrace(1)\n"},
        {"only exactly true",
         {{datapath, "True"}, {pts, "1"}, {xruncheck, "true "}, {functrace, "truetrue"}},
         {0, 0, 0, 0},
         "get_platform_property: LOG DataPath(0) Pts(0) XrunCheck(0) FuncTrace(0)\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        property_clear_overrides();
        gbEnableDataPath = gbEnablePts = gbEnableXrunCheck = gbEnableTrace = 7;
        for (const auto& [key, value] : row.properties) {
            ASSERT_EQ(property_override(key, value), 0);
        }
        log.clear();
        EXPECT_EQ(get_platform_property(), 0);
        EXPECT_EQ(gbEnableDataPath, row.expected.data_path);
        EXPECT_EQ(gbEnablePts, row.expected.pts);
        EXPECT_EQ(gbEnableXrunCheck, row.expected.xrun_check);
        EXPECT_EQ(gbEnableTrace, row.expected.trace);
        EXPECT_EQ(log.lines().size(), 1U);
        EXPECT_EQ(log.count(row.line), 1);
        EXPECT_EQ(log.lines()[0].priority, ANDROID_LOG_DEBUG);
    }
}

TEST_F(DebugSwitches, LogWithoutATagOfTheModule) {
    get_platform_property();
    EXPECT_EQ(log.lines()[0].tag.find("audio_hal"), std::string::npos);
}

TEST_F(DebugSwitches, AreOffUntilAnOutputStreamIsOpened) {
    property_override(functrace, "true");
    open_device();
    dev->init_check(dev);
    EXPECT_EQ(log.count_containing(" called"), 0);

    struct audio_stream_out* const stream = open_stream();
    dev->init_check(dev);
    EXPECT_TRUE(log.has(ANDROID_LOG_DEBUG, "audio_hal", " adev_init_check called"));
    close_stream(stream);
}

TEST_F(DebugSwitches, AFailingClearIsLoggedForEachSwitchAndTheReadGoesAhead) {
    property_override(functrace, "true");
    faults().memset_s_result = 34;
    get_platform_property();
    EXPECT_EQ(gbEnableTrace, 1);
    int errors = 0;
    for (const log_line& line : log.lines()) {
        errors += line.priority == ANDROID_LOG_ERROR &&
                  line.text ==
                      "get_platform_property: memset_s value for PROPERTY_DATAPATH failed, "
                      "ret(0x22)";
    }
    EXPECT_EQ(errors, 4);
}

// Every operation of the trace list that exists so far, on a direct stream, which has them all.
TEST_F(DebugSwitches, TraceNamesTheOperations) {
    property_override(functrace, "true");
    struct audio_stream_out* const stream = open_stream(AUDIO_OUTPUT_FLAG_DIRECT);
    struct audio_stream* const common = &stream->common;
    bool flag = false;
    size_t count = 0;
    uint32_t frames = 0;
    uint64_t frames64 = 0;
    int64_t next = 0;
    struct timespec time = {};
    log.clear();

    dev->init_check(dev);
    dev->set_voice_volume(dev, 1.0F);
    dev->set_mode(dev, AUDIO_MODE_NORMAL);
    dev->set_mic_mute(dev, false);
    dev->get_mic_mute(dev, &flag);
    dev->set_parameters(dev, "a=b");
    dev->dump(dev, 1);
    dev->get_microphones(dev, nullptr, &count);
    stream->set_callback(stream, nullptr, nullptr);
    stream->drain(stream, AUDIO_DRAIN_ALL);
    common->standby(common);
    common->dump(common, 1);
    free(common->get_parameters(common, "x"));
    common->add_audio_effect(common, nullptr);
    common->remove_audio_effect(common, nullptr);
    stream->get_render_position(stream, &frames);
    stream->get_presentation_position(stream, &frames64, &time);
    stream->get_next_write_timestamp(stream, &next);
    // These have no trace line.
    float volume = 0;
    common->get_sample_rate(common);
    common->set_sample_rate(common, 48000);
    common->get_channels(common);
    common->get_format(common);
    common->set_format(common, AUDIO_FORMAT_PCM_16_BIT);
    dev->set_master_volume(dev, 1.0F);
    dev->get_master_volume(dev, &volume);
    dev->set_master_mute(dev, false);
    dev->get_master_mute(dev, &flag);
    free(dev->get_parameters(dev, "x"));
    dev->get_input_buffer_size(dev, nullptr);
    close_stream(open_stream());
    common->get_buffer_size(common);
    stream->get_latency(stream);
    stream->set_volume(stream, 1.0F, 1.0F);
    common->set_parameters(common, "x=y");
    stream->write(stream, "data", 4);
    stream->pause(stream);
    stream->resume(stream);
    stream->flush(stream);
    close_stream(stream);
    close_device(dev);

    std::string traced;
    for (const log_line& line : log.lines()) {
        if (line.text.size() > 8 && line.text.rfind(" called") == line.text.size() - 7) {
            EXPECT_EQ(line.priority, ANDROID_LOG_DEBUG);
            EXPECT_EQ(line.tag, "audio_hal");
            traced += line.text.substr(0, line.text.size() - 7);
        }
    }
    EXPECT_EQ(traced,
              " adev_init_check adev_set_voice_volume adev_set_mode adev_set_mic_mute"
              " adev_get_mic_mute adev_set_parameters adev_dump adev_get_microphones"
              " out_set_callback out_drain out_standby out_dump out_get_parameters"
              " out_add_audio_effect out_remove_audio_effect out_get_render_position"
              " out_get_presentation_position out_get_next_write_timestamp adev_close");
}
