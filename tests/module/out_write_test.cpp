#include <cerrno>
#include <limits>

#include "pcm/hpo.h"
#include "tests/support/module_fixture.h"

namespace {

class OutWrite : public module_test {
  protected:
    ssize_t write(struct audio_stream_out* stream, const std::string& data) {
        return stream->write(stream, data.data(), data.size());
    }
};

}  // namespace

TEST_F(OutWrite, OpensTheCardOnceUntilStandby) {
    struct audio_stream_out* const stream = open_stream();
    const std::string data = audio(3 * period_bytes);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(write(stream, data.substr(static_cast<size_t>(i) * period_bytes, period_bytes)),
                  static_cast<ssize_t>(period_bytes));
    }
    ASSERT_EQ(tinyalsa().opens.size(), 1U);
    EXPECT_EQ(tinyalsa().opens[0].card, 0U);
    EXPECT_EQ(tinyalsa().opens[0].device, 0U);
    EXPECT_EQ(tinyalsa().opens[0].flags, 8U);
    EXPECT_EQ(tinyalsa().opens[0].config.period_size, 480U);
    EXPECT_EQ(std::string(tinyalsa().played.begin(), tinyalsa().played.end()), data);

    EXPECT_EQ(stream->common.standby(&stream->common), 0);
    EXPECT_EQ(tinyalsa().open_handles, 0);
    log.clear();
    EXPECT_EQ(stream->common.standby(&stream->common), 0);
    EXPECT_TRUE(log.lines().empty());  // nothing left to close

    write(stream, data);
    EXPECT_EQ(tinyalsa().opens.size(), 2U);
    EXPECT_EQ(to_hal_stream_out(stream)->hpo->frames_written, 2 * 3 * 480U);
    close_stream(stream);
}

TEST_F(OutWrite, SleepsForAsLongAsRefusedDataWouldHavePlayed) {
    const struct {
        const char* name;
        uint32_t rate, mask, format;
        size_t bytes;
        std::vector<uint64_t> sleeps_us;
    } rows[] = {
        {"one period", 0, 0, 0, 1920, {10000}},
        {"a part of a frame counts", 44100, 0x3, 1, 1923, {10901}},
        {"compressed", 48000, 0x3, AUDIO_FORMAT_AC3, 8192, {170666}},
        {"IEC 61937", 48000, 0x3, AUDIO_FORMAT_IEC61937, 1920, {10000}},
        {"beyond 32 bits on the way",
         48000,
         0x3,
         1,
         1920000000,
         {4000000000, 4000000000, 2000000000}},
        {"nothing", 48000, 0x3, 1, 0, {}},
    };
    tinyalsa().not_ready = "no such card";
    std::string data(4, '\0');
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        struct audio_stream_out* const stream = open_stream(0, row.rate, row.mask, row.format);
        faults().sleeps_us.clear();
        log.clear();
        // A refused write never reads the data, so it need not be there in full.
        EXPECT_EQ(stream->write(stream, data.data(), row.bytes), static_cast<ssize_t>(row.bytes));
        EXPECT_EQ(faults().sleeps_us, row.sleeps_us);
        EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal_hpo", "pcm_open() failed: no such card"),
                  1);
        EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "hpo_open failed fffffff4"), 1);
        EXPECT_EQ(log.count(ANDROID_LOG_DEBUG, "audio_hal",
                            "out_write: usecase 0 write failed  sleeping for buffer duration"),
                  1);
        EXPECT_TRUE(standby_of(stream));
        close_stream(stream);
    }
    EXPECT_TRUE(tinyalsa().played.empty());
    EXPECT_EQ(tinyalsa().open_handles, 0);
}

TEST_F(OutWrite, DescribesARefusedWriteByTheStreamsOwnGetters) {
    tinyalsa().not_ready = "no such card";
    struct audio_stream_out* const stream = open_stream();
    log.clear();
    write(stream, audio(period_bytes));
    std::vector<log_line> lines = log.lines();
    lines.erase(lines.begin(), lines.begin() + 2);  // the back end's own
    EXPECT_EQ(lines, (std::vector<log_line>{
                         {ANDROID_LOG_ERROR, "audio_hal", "hpo_open failed fffffff4"},
                         {ANDROID_LOG_DEBUG, "audio_hal",
                          "out_write: usecase 0 write failed  sleeping for buffer duration"},
                         {ANDROID_LOG_DEBUG, "audio_hal", "out_get_format: 1"},
                         {ANDROID_LOG_DEBUG, "audio_hal", "out_get_channels: 3"},
                         {ANDROID_LOG_VERBOSE, "audio_hal", "out_get_sample_rate: 48000"}}));
    close_stream(stream);
}

TEST_F(OutWrite, SleepsOnAfterASignal) {
    tinyalsa().not_ready = "no such card";
    struct audio_stream_out* const stream = open_stream();
    faults().usleep_result = -1;
    faults().in_usleep = [] { faults().clock_us += 249'999; };
    const std::string data(4, '\0');  // refused data is never read
    EXPECT_EQ(stream->write(stream, data.data(), 192000000), 192000000);
    // The second sleep is for what the clock says is left of the first.
    EXPECT_EQ(faults().sleeps_us, (std::vector<uint64_t>{1'000'000'000, 999'750'000}));
    close_stream(stream);
}

TEST_F(OutWrite, TriesToOpenAgainAtTheNextWrite) {
    tinyalsa().no_handle = true;
    struct audio_stream_out* const stream = open_stream();
    write(stream, audio(period_bytes));
    EXPECT_EQ(
        log.count(ANDROID_LOG_ERROR, "audio_hal_hpo", "pcm_open() failed: Cannot allocate memory"),
        1);
    tinyalsa().no_handle = false;
    write(stream, audio(period_bytes, 2));
    EXPECT_EQ(tinyalsa().opens.size(), 2U);
    EXPECT_FALSE(standby_of(stream));
    EXPECT_EQ(tinyalsa().played.size(), period_bytes);
    close_stream(stream);
}

TEST_F(OutWrite, RefusedDataWithoutADurationIsAnError) {
    tinyalsa().not_ready = "no";
    struct audio_stream_out* const no_channels = open_stream(0, 48000, 0xC0000003, 1);
    EXPECT_EQ(write(no_channels, audio(64)), -EINVAL);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "out_write: Invalid stream size"), 1);
    close_stream(no_channels);

    struct audio_stream_out* const no_rate = open_stream();
    no_rate->common.set_sample_rate(&no_rate->common, 0);
    EXPECT_EQ(write(no_rate, audio(64)), -EINVAL);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "out_write: Invalid sample rate"), 1);
    close_stream(no_rate);
    EXPECT_TRUE(faults().sleeps_us.empty());
}

TEST_F(OutWrite, ReportsDataThatTheCardRefusesAsWrittenButDoesNotCountIt) {
    struct audio_stream_out* const stream = open_stream();
    tinyalsa().write_result = -5;
    EXPECT_EQ(write(stream, audio(period_bytes)), static_cast<ssize_t>(period_bytes));
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal_hpo", "hpo_write:1920 byte written failed"),
              1);
    EXPECT_EQ(to_hal_stream_out(stream)->hpo->frames_written, 0U);
    EXPECT_TRUE(faults().sleeps_us.empty());
    close_stream(stream);
}

TEST_F(OutWrite, RefusesBadArguments) {
    struct audio_stream_out* const stream = open_stream();
    EXPECT_EQ(stream->write(nullptr, "x", 1), 0);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "stream is invalide"), 1);
    EXPECT_EQ(stream->write(stream, nullptr, 4), -EINVAL);
    EXPECT_TRUE(tinyalsa().opens.empty());
    EXPECT_EQ(stream->write(stream, nullptr, 0), 0);
    EXPECT_EQ(stream->write(stream, "x", static_cast<size_t>(std::numeric_limits<int>::max()) + 1),
              -EINVAL);
    close_stream(stream);
}

TEST_F(OutWrite, HoldsTheLocksThatItShould) {
    struct audio_stream_out* const stream = open_stream();
    hal_stream_out* const out = to_hal_stream_out(stream);
    std::vector<std::string> seen;
    const auto look = [&](const char* where) {
        return [&seen, out, where] {
            seen.push_back(std::string(where) + (is_held(out->lock) ? " stream" : "") +
                           (is_held(out->dev->lock) ? " device" : ""));
        };
    };
    tinyalsa().in_open = look("open:");
    tinyalsa().in_write = look("write:");
    tinyalsa().in_close = look("close:");
    tinyalsa().in_htimestamp = look("position:");
    faults().in_usleep = look("sleep:");
    write(stream, audio(period_bytes));
    write(stream, audio(period_bytes));
    uint32_t frames = 0;
    stream->get_render_position(stream, &frames);
    stream->common.standby(&stream->common);
    tinyalsa().no_handle = true;
    write(stream, audio(period_bytes));
    EXPECT_EQ(seen, (std::vector<std::string>{"open: stream device", "write: stream",
                                              "write: stream", "position:", "close: stream",
                                              "open: stream device", "sleep:"}));
    close_stream(stream);
}

TEST_F(OutWrite, LogsMutexFailuresAndGoesOn) {
    struct audio_stream_out* const stream = open_stream();
    log.clear();
    faults().failing_mutexes = {&to_hal_stream_out(stream)->lock.native,
                                &to_hal_device(dev)->lock.native};
    EXPECT_EQ(write(stream, audio(period_bytes)), static_cast<ssize_t>(period_bytes));
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "out_write: mutex lock fail"), 2);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "out_write: mutex unlock fail"), 2);
    EXPECT_EQ(tinyalsa().played.size(), period_bytes);
    stream->common.standby(&stream->common);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "out_standby: mutex lock fail"), 1);
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "out_standby: mutex unlock fail"), 1);
    EXPECT_EQ(tinyalsa().open_handles, 0);
    reset_faults();
    close_stream(stream);
}

TEST_F(OutWrite, AnInvalidUsecaseIsLoggedByEveryOperation) {
    struct audio_stream_out* const stream = open_stream();
    hal_stream_out* const out = to_hal_stream_out(stream);
    for (const uint32_t invalid : {2U, 5U, 1U}) {
        out->usecase = static_cast<out_usecase>(invalid);
        log.clear();
        EXPECT_EQ(stream->get_latency(stream), 0xFFFFFFFF);
        EXPECT_EQ(stream->common.get_buffer_size(&stream->common), 0U);
        EXPECT_EQ(log.lines().back().text, "out_get_buffer_size: 0");
    }
    log.clear();
    EXPECT_EQ(write(stream, audio(period_bytes)), static_cast<ssize_t>(period_bytes));
    EXPECT_EQ(faults().sleeps_us, (std::vector<uint64_t>{10000}));
    EXPECT_EQ(stream->common.get_buffer_size(&stream->common), 0U);
    EXPECT_EQ(stream->get_latency(stream), 0xFFFFFFFF);
    uint32_t frames = 99;
    EXPECT_EQ(stream->get_render_position(stream, &frames), -1);
    EXPECT_EQ(frames, 0U);
    uint64_t frames64 = 99;
    struct timespec time = {};
    EXPECT_EQ(stream->get_presentation_position(stream, &frames64, &time), 0);
    EXPECT_EQ(frames64, 0U);
    standby_of(stream) = false;
    EXPECT_EQ(stream->common.standby(&stream->common), 0);
    EXPECT_TRUE(standby_of(stream));
    for (const char* name :
         {"out_write", "out_get_buffer_size", "out_get_latency", "out_get_render_position",
          "out_get_presentation_position", "do_out_standby"}) {
        EXPECT_EQ(
            log.count(ANDROID_LOG_ERROR, "audio_hal", std::string(name) + ":Invalid usecase 1"), 1)
            << name;
    }
    close_stream(stream);
}
