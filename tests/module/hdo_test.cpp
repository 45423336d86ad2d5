#include <cerrno>
#include <filesystem>
#include <fstream>

#include <cutils/property_overrides.h>

#include "direct/hdo.h"
#include "records/record_cast.h"
#include "tests/support/direct_fixture.h"

namespace {

constexpr const char* es_switch = "persist.audiohal.file.es";
constexpr const char* pts_switch = "persist.audiohal.file.pts";

class Hdo : public direct_test {
  protected:
    // What creating a stream says of its capture files.
    lines creation_lines() {
        struct audio_stream_out* const stream = open_direct_logged();
        lines said = logged(ANDROID_LOG_DEBUG, "audio_hal_hdo");
        close_stream(stream);
        return said;
    }
    struct audio_stream_out* open_direct_logged() {
        if (dev == nullptr) {
            open_device();
        }
        log.clear();
        return open_stream(passthru_flags, 48000, AUDIO_CHANNEL_OUT_STEREO, AUDIO_FORMAT_AC3);
    }
};

}  // namespace

TEST_F(Hdo, CaptureFilesOpenWhenTheirSwitchIsExactlyTrue) {
    const struct {
        const char* es;
        const char* pts;
        lines said;
    } rows[] = {
        {"",
         "True",
         {"hdo_create: disable save ./hal_audio.es", "hdo_create: disable save ./hal_audio.pts"}},
        {"true ",
         "true",
         {"hdo_create: disable save ./hal_audio.es", "hdo_create: enable save ./hal_audio.pts"}},
        {"true",
         "1",
         {"hdo_create: enable save ./hal_audio.es", "hdo_create: disable save ./hal_audio.pts"}},
    };
    for (const auto& row : rows) {
        property_override(es_switch, row.es);
        property_override(pts_switch, row.pts);
        for (const char* file : {"hal_audio.es", "hal_audio.pts"}) {
            std::ofstream(file) << "earlier";
        }
        EXPECT_EQ(creation_lines(), row.said);
        EXPECT_EQ(contents("hal_audio.es"), std::string(row.es) == "true" ? "" : "earlier");
        EXPECT_EQ(contents("hal_audio.pts"), std::string(row.pts) == "true" ? "" : "earlier");
    }
    for (const char* file : {"hal_audio.es", "hal_audio.pts"}) {
        std::filesystem::remove(file);
        std::filesystem::create_directory(file);  // cannot be opened for writing
    }
    property_override(pts_switch, "true");
    EXPECT_EQ(creation_lines(), (lines{"hdo_create: ./hal_audio.es can not be created!",
                                       "hdo_create: ./hal_audio.pts can not be created!"}));
}

TEST_F(Hdo, CreationFailsWithoutMemoryAndSurvivesAFailingFill) {
    open_device();
    auto* const before = record_at<struct avplay_session>(this);
    struct avplay_session* slot = before;
    log.clear();
    reset_faults();
    faults().failing_allocation = 1;
    EXPECT_EQ(hdo_create(&slot), -ENOMEM);
    EXPECT_EQ(slot, before);
    EXPECT_EQ(logged(ANDROID_LOG_ERROR, "audio_hal_hdo"),
              (lines{"hdo_create: calloc size(" + std::to_string(sizeof(struct avplay_session)) +
                     ") failed"}));
    reset_faults();
    log.clear();
    faults().memset_s_result = 22;
    EXPECT_EQ(hdo_create(&slot), 0);
    EXPECT_EQ(logged(ANDROID_LOG_ERROR, "audio_hal_hdo"),
              (lines{"hdo_create: memset_s hdo failed",
                     "hdo_create: memset_s value for PROPERTY_FILE_ES failed",
                     "hdo_create: memset_s value for PROPERTY_FILE_PTS failed"}));
    reset_faults();
    EXPECT_EQ(slot->avplay_handle, avplay_handle_none);
    hdo_destroy(slot);
    EXPECT_EQ(hdo_create(nullptr), -1);
}

TEST_F(Hdo, SizesAndLatencyFollowFormatAndConfiguration) {
    struct audio_stream_out* const stream = open_direct(passthru_flags);
    const struct {
        uint32_t format;
        uint32_t bytes;
    } rows[] = {
        {AUDIO_FORMAT_PCM_16_BIT, 4096},
        {AUDIO_FORMAT_PCM_8_BIT, 2048},
        {AUDIO_FORMAT_PCM_32_BIT, 8192},
        {AUDIO_FORMAT_PCM_8_24_BIT, 8192},
        {AUDIO_FORMAT_PCM_24_BIT_PACKED, 6144},
        {AUDIO_FORMAT_PCM_FLOAT, 8192},
        {AUDIO_FORMAT_IEC61937, 4096},
        {0x7, 0},
        {AUDIO_FORMAT_AC3, 1024},
        {AUDIO_FORMAT_E_AC3, 1024},
        {AUDIO_FORMAT_DTS, 1024},
    };
    for (const auto& row : rows) {
        stream->common.set_format(&stream->common, static_cast<audio_format_t>(row.format));
        log.clear();
        EXPECT_EQ(stream->common.get_buffer_size(&stream->common), row.bytes) << row.format;
        char text[128];
        snprintf(text, sizeof(text), "hdo_get_buffer_size: hdo(%p) buffersize=%u period_size:1024",
                 static_cast<void*>(session_of(stream)), row.bytes);
        EXPECT_EQ(logged(ANDROID_LOG_DEBUG, "audio_hal_hdo"), (lines{text}));
    }
    log.clear();
    EXPECT_EQ(stream->get_latency(stream), 341U);
    EXPECT_EQ(logged(ANDROID_LOG_DEBUG, "audio_hal_hdo"), (lines{"hdo_get_latency: latency=341"}));
    to_hal_stream_out(stream)->config.rate = 0;
    EXPECT_EQ(stream->get_latency(stream), 0U);
    close_stream(stream);
}

TEST_F(Hdo, AWriteOfMoreThanItsResultCanSayIsRefused) {
    struct audio_stream_out* const stream = open_running(passthru_flags);
    if (sizeof(size_t) > 4) {
        EXPECT_EQ(hdo_write(session_of(stream), "x", size_t{INT32_MAX} + 1), -EINVAL);
    }
    EXPECT_EQ(take_chunks().size(), 0U);
    close_stream(stream);
}

TEST_F(Hdo, NullArgumentsAreRefused) {
    EXPECT_EQ(hdo_init(nullptr), -1);
    EXPECT_EQ(hdo_open(nullptr), -1);
    EXPECT_EQ(hdo_write(nullptr, "x", 1), -1);
    EXPECT_EQ(hdo_close(nullptr), -1);
    EXPECT_EQ(hdo_get_buffer_size(nullptr), 0);
    EXPECT_EQ(hdo_get_latency(nullptr), 0);
    log.clear();
    hdo_destroy(nullptr);
    EXPECT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(take_calls(), lines{});
}
