#include <cerrno>
#include <ctime>

#include "diag/debug_switches.h"
#include "pcm/hpo.h"
#include "tests/support/module_fixture.h"

namespace {

class OutPosition : public module_test {
  protected:
    uint64_t position(struct audio_stream_out* stream) {
        uint64_t frames = 99;
        struct timespec time = {};
        EXPECT_EQ(stream->get_presentation_position(stream, &frames, &time), 0);
        return frames;
    }
};

}  // namespace

TEST_F(OutPosition, IsWhatWasWrittenLessWhatIsQueued) {
    const struct {
        const char* name;
        int periods;
        unsigned avail;
        int htimestamp_result;
        uint64_t expected;
        bool known;
    } rows[] = {
        {"all queued", 1, 480, 0, 0, true},
        {"one played", 2, 480, 0, 480, true},
        {"all played", 2, 960, 0, 960, true},
        {"ran dry", 2, 961, 0, 0, false},
        {"more queued than written", 1, 0, 0, 0, false},
        {"no timestamp", 2, 960, -1, 0, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        struct audio_stream_out* const stream = open_stream();
        for (int i = 0; i < row.periods; ++i) {
            stream->write(stream, audio(period_bytes).data(), period_bytes);
        }
        tinyalsa().avail = row.avail;
        tinyalsa().htimestamp_result = row.htimestamp_result;
        EXPECT_EQ(position(stream), row.expected);
        uint32_t low = 99;
        EXPECT_EQ(stream->get_render_position(stream, &low), 0);
        EXPECT_EQ(low, row.expected);
        // What is not known is not stored.
        uint64_t stored = 99;
        EXPECT_EQ(hpo_get_tstamp(to_hal_stream_out(stream)->hpo, &stored), 0);
        EXPECT_EQ(stored, row.known ? row.expected : 99);
        tinyalsa().htimestamp_result = 0;
        close_stream(stream);
    }
}

TEST_F(OutPosition, KeepsRisingAcrossStandby) {
    struct audio_stream_out* const stream = open_stream();
    EXPECT_EQ(position(stream), 0U);  // never written
    tinyalsa().avail = 960;
    stream->write(stream, audio(period_bytes).data(), period_bytes);
    EXPECT_EQ(position(stream), 480U);
    stream->common.standby(&stream->common);
    EXPECT_EQ(position(stream), 0U);  // not known while the card is closed
    stream->write(stream, audio(period_bytes).data(), period_bytes);
    EXPECT_EQ(position(stream), 960U);
    close_stream(stream);
}

TEST_F(OutPosition, RenderPositionIsTheLow32Bits) {
    struct audio_stream_out* const stream = open_stream();
    stream->write(stream, audio(period_bytes).data(), period_bytes);
    to_hal_stream_out(stream)->hpo->frames_written = 0x1'0000'0003;
    tinyalsa().avail = 960;
    uint32_t low = 0;
    EXPECT_EQ(stream->get_render_position(stream, &low), 0);
    EXPECT_EQ(low, 3U);
    EXPECT_EQ(position(stream), 0x1'0000'0003U);
    close_stream(stream);
}

TEST_F(OutPosition, IsStampedWithTheTimeOfTheQuery) {
    struct audio_stream_out* const stream = open_stream();
    struct timespec stamp = {};
    uint64_t frames = 0;
    faults().clock_us = 71'000'002;
    EXPECT_EQ(stream->get_presentation_position(stream, &frames, &stamp), 0);
    EXPECT_EQ(stamp.tv_sec, 71);
    EXPECT_EQ(stamp.tv_nsec, 2000);

    faults().clock_gettime_result = -1;
    gbEnablePts = 1;
    frames = 99;
    EXPECT_EQ(stream->get_presentation_position(stream, &frames, &stamp), -1);
    EXPECT_EQ(frames, 0U);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "clock_gettime failed ffffffff"), 1);
    EXPECT_EQ(log.count_containing(" dsp_frames(0) ret(0xffffffff)"), 1);
    reset_faults();
    close_stream(stream);
}

TEST_F(OutPosition, IsLoggedWhileThePtsSwitchIsOn) {
    struct audio_stream_out* const stream = open_stream();
    position(stream);
    EXPECT_EQ(log.count_containing("dsp_frames("), 0);
    gbEnablePts = 1;
    position(stream);
    char line[128];
    snprintf(line, sizeof(line), "out_get_presentation_position out(%p) dsp_frames(0) ret(0x0)",
             static_cast<void*>(stream));
    EXPECT_EQ(log.count(ANDROID_LOG_DEBUG, "audio_hal", line), 1);
    close_stream(stream);
}

TEST_F(OutPosition, HasNoNextWriteTimestamp) {
    struct audio_stream_out* const stream = open_stream();
    int64_t timestamp = 4711;
    EXPECT_EQ(stream->get_next_write_timestamp(stream, &timestamp), 0);
    EXPECT_EQ(timestamp, 4711);
    EXPECT_EQ(stream->get_next_write_timestamp(stream, nullptr), -1);
    EXPECT_EQ(stream->get_next_write_timestamp(nullptr, &timestamp), -1);
    close_stream(stream);
}
