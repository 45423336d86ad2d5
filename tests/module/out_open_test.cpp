#include <algorithm>
#include <cerrno>

#include "direct/avplay_session.h"
#include "pcm/hpo.h"
#include "tests/support/module_fixture.h"

namespace {

class OutOpen : public module_test {};

constexpr unsigned direct = AUDIO_OUTPUT_FLAG_DIRECT;
constexpr unsigned hwsync = AUDIO_OUTPUT_FLAG_DIRECT | AUDIO_OUTPUT_FLAG_HW_AV_SYNC;

template <size_t size>
bool is_list_of(const uint32_t (&list)[size], uint32_t first) {
    return list[0] == first &&
           std::all_of(list + 1, list + size, [](uint32_t v) { return v == 0; });
}

}  // namespace

TEST_F(OutOpen, ChoosesUsecaseConfigurationAndDefaults) {
    const struct {
        const char* name;
        unsigned flags;
        uint32_t rate, mask, format;
        out_usecase usecase;
        unsigned channels, config_rate, period_size, period_count, threshold;
    } rows[] = {
        {"all zero", 0, 0, 0, 0, USECASE_PRIMARY_PCM, 2, 48000, 480, 2, 240},
        {"primary 44100", AUDIO_OUTPUT_FLAG_PRIMARY, 44100, 0x3F, 1, USECASE_PRIMARY_PCM, 6, 48000,
         480, 2, 240},
        {"sync without direct", AUDIO_OUTPUT_FLAG_HW_AV_SYNC, 48000, 3, 1, USECASE_PRIMARY_PCM, 2,
         48000, 480, 2, 240},
        {"no channels", 0, 48000, 0xC0000003, 5, USECASE_PRIMARY_PCM, 0, 48000, 480, 2, 240},
        {"passthrough", direct, 44100, 0x3, AUDIO_FORMAT_AC3, USECASE_DIRECT_PASSTHRU, 2, 44100,
         1024, 4, 0},
        {"passthrough, other flags", direct | 0x30, 0, 0x63F, AUDIO_FORMAT_E_AC3,
         USECASE_DIRECT_PASSTHRU, 8, 0, 1024, 4, 0},
        {"tunnel", hwsync, 48000, 0x80000003, 1, USECASE_DIRECT_HWSYNC, 2, 48000, 1024, 4, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        struct audio_stream_out* const stream =
            open_stream(row.flags, row.rate, row.mask, row.format);
        ASSERT_NE(stream, nullptr);
        const hal_stream_out* const out = to_hal_stream_out(stream);
        EXPECT_EQ(out->usecase, row.usecase);
        EXPECT_EQ(out->config.channels, row.channels);
        EXPECT_EQ(out->config.rate, row.config_rate);
        EXPECT_EQ(out->config.period_size, row.period_size);
        EXPECT_EQ(out->config.period_count, row.period_count);
        EXPECT_EQ(out->config.format, PCM_FORMAT_S16_LE);
        EXPECT_EQ(out->config.start_threshold, row.threshold);
        EXPECT_EQ(out->config.stop_threshold, row.threshold != 0 ? 0x7FFFFFFFU : 0U);
        EXPECT_EQ(out->config.silence_threshold, 0U);
        EXPECT_EQ(out->config.silence_size, 0U);
        EXPECT_EQ(out->config.avail_min, row.threshold);

        EXPECT_EQ(out->sample_rate, row.rate != 0 ? row.rate : 48000);
        EXPECT_EQ(out->channel_mask, row.mask != 0 ? row.mask : 0x3U);
        EXPECT_EQ(out->format, row.format != 0 ? row.format : 1U);
        EXPECT_EQ(out->flags, row.flags);
        EXPECT_EQ(out->devices, static_cast<uint32_t>(AUDIO_DEVICE_OUT_SPEAKER));
        EXPECT_EQ(out->dev, to_hal_device(dev));
        EXPECT_TRUE(is_list_of(out->supported_channel_masks, row.mask));
        EXPECT_TRUE(is_list_of(out->supported_formats, row.format));
        EXPECT_TRUE(is_list_of(out->supported_sample_rates, row.rate));

        const bool is_direct_row = row.usecase != USECASE_PRIMARY_PCM;
        EXPECT_EQ(out->hdo != nullptr, is_direct_row);
        EXPECT_EQ(out->hpo != nullptr, !is_direct_row);
        EXPECT_EQ(is_direct_row ? out->hdo->stream : out->hpo->out, out);
        close_stream(stream);
    }
    EXPECT_TRUE(tinyalsa().opens.empty());
}

TEST_F(OutOpen, InstallsTheOperationsOfTheUsecase) {
    for (const unsigned flags : {0U, direct, hwsync}) {
        struct audio_stream_out* const stream = open_stream(flags);
        EXPECT_EQ(slots_of(*stream),
                  flags != 0 ? "111111110011111111111111100000" : "111111110011111111100000100000");
        close_stream(stream);
    }
}

TEST_F(OutOpen, LogsTheRequestAndTheStream) {
    open_device();
    log.clear();
    struct audio_stream_out* const stream = open_stream(AUDIO_OUTPUT_FLAG_PRIMARY, 0);
    char returned[256];
    snprintf(returned, sizeof(returned),
             "adev_open_output_stream: return:out(%p) devices(0x2) sample_rate(0) "
             "channel_mask(0) flags(0x2) audioformat(0x0) usecase(0x0)",
             static_cast<void*>(stream));
    const std::vector<log_line> lines = log.lines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0].text,
              "get_platform_property: LOG DataPath(0) Pts(0) XrunCheck(0) FuncTrace(0)\n");
    EXPECT_EQ(lines[1],
              (log_line{ANDROID_LOG_DEBUG, "audio_hal",
                        "adev_open_output_stream: enter: devices(0x2) sample_rate(0) "
                        "channel_mask(0) flags(0x2) audioformat(0x0) address(NULL VALUE) "}));
    EXPECT_EQ(lines[2], (log_line{ANDROID_LOG_DEBUG, "audio_hal", returned}));

    log.clear();
    char closed[64];
    snprintf(closed, sizeof(closed), "adev_close_output_stream: out(%p)",
             static_cast<void*>(stream));
    close_stream(stream);
    EXPECT_EQ(log.lines()[0], (log_line{ANDROID_LOG_DEBUG, "audio_hal", closed}));

    struct audio_config config = {};
    struct audio_stream_out* second = nullptr;
    dev->open_output_stream(dev, 1, 0, AUDIO_OUTPUT_FLAG_NONE, &config, &second, "bus0");
    EXPECT_EQ(log.count_containing("address(bus0) "), 1);
    close_stream(second);
}

TEST_F(OutOpen, PassesTheDirectBackEndsRefusalOn) {
    direct_output().create_result = -12;
    EXPECT_EQ(open_stream(direct), nullptr);
    EXPECT_EQ(last_result, -12);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal",
                        "adev_open_output_stream: hdo_create failed (0xfffffff4)"),
              1);
}

TEST_F(OutOpen, CloseReleasesAnActiveStreamWithoutStandby) {
    struct audio_stream_out* const pcm = open_stream();
    pcm->write(pcm, audio(period_bytes).data(), period_bytes);
    EXPECT_EQ(tinyalsa().open_handles, 1);
    log.clear();
    close_stream(pcm);
    EXPECT_EQ(tinyalsa().open_handles, 0);
    EXPECT_EQ(log.count_containing("hpo_close"), 0);
    EXPECT_EQ(log.count_containing("hpo_destroy: hpo("), 1);

    struct audio_stream_out* const tunnel = open_stream(hwsync);
    close_stream(tunnel);
    EXPECT_EQ(direct_output().calls, (std::vector<std::string>{"init", "create", "destroy"}));
}
