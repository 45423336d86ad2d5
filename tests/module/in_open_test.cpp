// Opening and closing input streams: what is accepted, what they own, in which order it comes and
// goes.

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "hal/in_pcm_config.h"
#include "pcm/hpi.h"
#include "tests/support/module_fixture.h"

namespace {

constexpr uint32_t mono = AUDIO_CHANNEL_IN_MONO;
constexpr uint32_t stereo = AUDIO_CHANNEL_IN_STEREO;

class InOpen : public module_test {
  protected:
    const struct pcm_config config_before_ = pcm_config_ai_low_latency;
    ~InOpen() override { pcm_config_ai_low_latency = config_before_; }
};

}  // namespace

TEST_F(InOpen, TakesEveryRateInOneOrTwoChannelsAndConvertsWhereItMust) {
    for (const uint32_t rate :
         {8000U, 11025U, 12000U, 16000U, 22050U, 24000U, 32000U, 44100U, 48000U}) {
        for (const uint32_t mask :
             {mono, stereo, uint32_t{AUDIO_CHANNEL_IN_FRONT_BACK}, uint32_t{0x4},
              uint32_t{AUDIO_CHANNEL_INDEX_MASK_1}, uint32_t{AUDIO_CHANNEL_INDEX_MASK_2}}) {
            SCOPED_TRACE(testing::Message() << rate << " " << std::hex << mask);
            struct audio_stream_in* const stream = open_input(rate, mask);
            ASSERT_EQ(last_result, 0);
            const hal_stream_in* const in = to_hal_stream_in(stream);
            EXPECT_EQ(in->resampler != nullptr, rate != 48000);
            EXPECT_EQ(in->buffer_hal != nullptr,
                      mask == mono || mask == AUDIO_CHANNEL_INDEX_MASK_1);
            EXPECT_EQ(in->rsc_workbuffer, nullptr);
            EXPECT_EQ(in->usecase, 6);
            EXPECT_EQ(in->dev, to_hal_device(dev));
            EXPECT_EQ(in->hpi->in, in);
            EXPECT_TRUE(standby_of(stream));
            const bool two = mask == stereo || mask == AUDIO_CHANNEL_IN_FRONT_BACK ||
                             mask == AUDIO_CHANNEL_INDEX_MASK_2;
            EXPECT_EQ(stream->common.get_buffer_size(&stream->common), two ? 2048U : 1024U);
            EXPECT_EQ(stream->common.get_sample_rate(&stream->common), rate);
            EXPECT_EQ(stream->common.get_channels(&stream->common), mask);
            EXPECT_EQ(stream->common.get_format(&stream->common), AUDIO_FORMAT_PCM_16_BIT);
            close_input(stream);
        }
    }
    EXPECT_TRUE(tinyalsa().opens.empty());
}

TEST_F(InOpen, RefusesOtherConfigurationsWithTheFirstFaultOnly) {
    const struct {
        uint32_t rate, mask, format;
        const char* message;
    } rows[] = {
        {48000, stereo, 0, ""},
        {0, 0x1C, AUDIO_FORMAT_PCM_FLOAT, ""},
        {48000, 0x1C, 1, "Invalid channel: 3"},
        {0, 0, 1, "Invalid channel: 0"},
        {48000, 0x3, 1, "Invalid channel: 0"},  // output positions
        {48000, 0xC000000C, 1, "Invalid channel: 0"},
        {0, stereo, 1, "Invalid sample_rate: 0"},
        {47999, stereo, 1, "Invalid sample_rate: 47999"},
        {96000, mono, 1, "Invalid sample_rate: 96000"},
    };
    open_device();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.message);
        log.clear();
        reset_faults();
        EXPECT_EQ(open_input(row.rate, row.mask, row.format), nullptr);
        EXPECT_EQ(last_result, -EINVAL);
        std::vector<log_line> expected = {log.lines().front()};
        if (row.message[0] != '\0') {
            expected.push_back({ANDROID_LOG_ERROR, "audio_hal", row.message});
        }
        EXPECT_EQ(log.lines(), expected);
        EXPECT_EQ(faults().allocations, 0);
    }
}

TEST_F(InOpen, InstallsTheOperations) {
    struct audio_stream_in* const stream = open_input();
    EXPECT_EQ(slots_of(*stream), "111111110011111111110000");
    close_input(stream);
}

TEST_F(InOpen, CopiesTheConfigurationAsItThenStands) {
    EXPECT_EQ(pcm_config_ai_low_latency.channels, 2U);
    EXPECT_EQ(pcm_config_ai_low_latency.rate, 48000U);
    EXPECT_EQ(pcm_config_ai_low_latency.period_size, 512U);
    EXPECT_EQ(pcm_config_ai_low_latency.period_count, 4U);
    EXPECT_EQ(pcm_config_ai_low_latency.start_threshold, 0U);
    struct audio_stream_in* const early = open_input(44100);
    pcm_config_ai_low_latency.rate = 44100;
    pcm_config_ai_low_latency.period_size = 100;
    pcm_config_ai_low_latency.period_count = 3;
    struct audio_stream_in* const late = open_input(44100);
    EXPECT_EQ(to_hal_stream_in(early)->config.rate, 48000U);
    EXPECT_EQ(to_hal_stream_in(late)->config.period_count, 3U);
    EXPECT_EQ(to_hal_stream_in(late)->config.period_size, 512U);
    EXPECT_EQ(to_hal_stream_in(late)->resampler, nullptr);
    close_input(early);
    close_input(late);
}

TEST_F(InOpen, AttachesTheVoiceInputLastAndDetachesItFirst) {
    open_device();
    setenv("CORVEX_NANO_REFUSE_OPEN", "-19", 1);
    log.clear();
    struct audio_stream_in* const stream = open_input(44100, mono);
    unsetenv("CORVEX_NANO_REFUSE_OPEN");
    const std::map<const void*, std::string> names = {{stream, "IN"},
                                                      {to_hal_stream_in(stream)->hpi, "HPI"}};
    EXPECT_EQ(last_result, 0);
    const std::string entered =
        "adev_open_input_stream: enter: devices(0x80000004) sample_rate(44100) "
        "channel_mask(0x10) flags(0x1) audioformat(0x1) source(0x1)";
    EXPECT_EQ(
        log.texts(names),
        (std::vector<std::string>{
            entered, "adev_open_input_stream return: sample_rate: 44100, channels: 10, format: 1",
            "create_resampler user_rate:44100 hal_rate:48000",
            "nano_input_open:config.channel_mask:16, config.sample_rate:16000",
            "nano_input_open stream IN rate 16000 mask 0x10 format 0x1 frames 0: -19",
            "custom_open: nano_input_open : -19"}));
    char buffer[64];
    EXPECT_EQ(stream->read(stream, buffer, sizeof(buffer)), 64);
    log.clear();
    close_input(stream);
    EXPECT_EQ(log.texts(names),
              (std::vector<std::string>{"adev_close_input_stream in(IN)", "custom_close nano_close",
                                        "nano_close stream IN", "hpi_close:device(hw:0:0)\n",
                                        "hpi_destroy: hpi(HPI)",
                                        "adev_close_input_stream release_resampler\n"}));

    log.clear();
    struct audio_stream_in* const idle = open_input();
    EXPECT_EQ(log.count(ANDROID_LOG_DEBUG, "audio_hal", "no resampler needed"), 1);
    EXPECT_EQ(
        log.count(ANDROID_LOG_DEBUG, "audio_hal_custom", "custom_open: nano_input_open success"),
        1);
    close_input(idle);
    EXPECT_EQ(log.count_containing("has standby before"), 1);
    EXPECT_EQ(log.count_containing("release_resampler"), 0);
}

TEST_F(InOpen, FailsAtEachAllocationAndLeavesNothing) {
    open_device();
    const struct {
        int result;
        const char* tag;
        std::string message;
    } rows[] = {
        {-ENOMEM, "audio_hal",
         "adev_open_input_stream: malloc size(" + std::to_string(sizeof(hal_stream_in)) +
             ") failed"},
        {-ENOMEM, "audio_hal_hpi",
         "hpi_create: malloc size(" + std::to_string(sizeof(struct hpi)) + ") failed"},
        {-1, "audio_hal", "malloc in->buffer_hal failed \n"},
    };
    int failing = 0;
    for (const auto& row : rows) {
        reset_faults();
        faults().failing_allocation = ++failing;
        log.clear();
        EXPECT_EQ(open_input(44100, mono), nullptr);
        EXPECT_EQ(last_result, row.result);
        EXPECT_EQ(log.count(ANDROID_LOG_ERROR, row.tag, row.message), 1) << row.message;
        EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal",
                            "adev_open_input_stream: hpi_create failed (0xfffffff4)"),
                  failing == 2 ? 1 : 0);
        EXPECT_EQ(log.count_containing("hpi_destroy"), failing == 3 ? 1 : 0);
        EXPECT_EQ(log.count_containing("nano"), 0);
    }
    reset_faults();
    faults().failing_allocation = failing + 1;
    struct audio_stream_in* const stream = open_input(44100, mono);
    ASSERT_NE(stream, nullptr);

    // The next one is the work buffer.
    char buffer[64];
    EXPECT_EQ(stream->read(stream, buffer, sizeof(buffer)), 64);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "rsc_workbuffer malloc failed"), 1);
    close_input(stream);
}

TEST_F(InOpen, ACardThatCannotBeResampledFailsTheOpen) {
    pcm_config_ai_low_latency.rate = 0;
    EXPECT_EQ(open_input(44100, mono), nullptr);
    EXPECT_EQ(last_result, -1);
    std::vector<log_line> lines = log.lines();
    ASSERT_GE(lines.size(), 3U);
    lines.erase(lines.begin(), lines.end() - 3);
    EXPECT_EQ(lines[0],
              (log_line{ANDROID_LOG_ERROR, "audio_hal", "create_resampler failed ret(-19)"}));
    EXPECT_EQ(lines[1].text.rfind("hpi_destroy", 0), 0U);
    EXPECT_EQ(lines[2],
              (log_line{ANDROID_LOG_ERROR, "audio_hal", "create_input_resampler error : -19"}));
}

TEST_F(InOpen, AFailingFillIsLoggedAndTheStreamWorks) {
    open_device();
    faults().memset_s_result = 22;
    struct audio_stream_in* const stream = open_input(48000, mono);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(
        log.count(ANDROID_LOG_ERROR, "audio_hal", "adev_open_input_stream: memset_s in failed"), 1);
    EXPECT_EQ(
        log.count(ANDROID_LOG_ERROR, "audio_hal_hpi", "hpi_create: memset_s hpi failed, ret(0x16)"),
        1);
    char buffer[64];
    EXPECT_EQ(stream->read(stream, buffer, sizeof(buffer)), 64);
    EXPECT_EQ(
        log.count(ANDROID_LOG_ERROR, "audio_hal_hpi", "hpi_open: memset_s value failed, ret(0x16)"),
        1);
    close_input(stream);
}
