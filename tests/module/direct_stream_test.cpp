#include "tests/support/module_fixture.h"

namespace {

constexpr unsigned passthru = AUDIO_OUTPUT_FLAG_DIRECT;
constexpr unsigned hwsync = AUDIO_OUTPUT_FLAG_DIRECT | AUDIO_OUTPUT_FLAG_HW_AV_SYNC;

class DirectStream : public module_test {
  protected:
    std::vector<std::string> calls_of(const std::function<void()>& body) {
        direct_output().calls.clear();
        log.clear();
        body();
        return direct_output().calls;
    }
};

using names = std::vector<std::string>;

}  // namespace

TEST_F(DirectStream, OpensWritesAndClosesThePlayer) {
    struct audio_stream_out* const stream = open_stream(hwsync, 48000, 3, AUDIO_FORMAT_AC3);
    EXPECT_EQ(stream->common.get_buffer_size(&stream->common), 1024U);
    EXPECT_EQ(stream->get_latency(stream), 341U);
    EXPECT_EQ(calls_of([&] {
                  EXPECT_EQ(stream->write(stream, "abcd", 4), 4);
                  EXPECT_EQ(stream->write(stream, "abc", 3), 3);
                  stream->common.standby(&stream->common);
                  stream->common.standby(&stream->common);
              }),
              (names{"open usecase 3", "write 4", "write 3", "close"}));
    close_stream(stream);
}

TEST_F(DirectStream, AFailedOpenSleepsAndAFailedCloseStaysAwake) {
    struct audio_stream_out* const stream = open_stream(passthru, 48000, 3, AUDIO_FORMAT_AC3);
    direct_output().open_result = static_cast<int32_t>(0x80140004U);
    EXPECT_EQ(calls_of([&] { EXPECT_EQ(stream->write(stream, "abcd", 4), 4); }),
              (names{"open usecase 4"}));
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "hdo_open failed 80140004"), 1);
    EXPECT_EQ(log.count("out_write: usecase 4 write failed  sleeping for buffer duration"), 1);
    EXPECT_EQ(faults().sleeps_us, (std::vector<uint64_t>{83}));

    direct_output().open_result = 0;
    stream->write(stream, "abcd", 4);
    direct_output().close_result = -1;
    EXPECT_EQ(calls_of([&] {
                  EXPECT_EQ(stream->common.standby(&stream->common), 0);
                  direct_output().close_result = 0;
                  EXPECT_EQ(stream->common.standby(&stream->common), 0);
              }),
              (names{"close", "close"}));
    EXPECT_EQ(log.count(ANDROID_LOG_ERROR, "audio_hal", "hdo_close failed (0xffffffff)"), 1);
    close_stream(stream);
}

TEST_F(DirectStream, ControlsRunUnderTheStreamsLockAndReportTheBackEndsResult) {
    struct audio_stream_out* const stream = open_stream(hwsync);
    direct_output().control_result = 0x1234;
    const struct {
        const char* name;
        std::function<int()> call;
        const char* lines;  // with the stream as OUT
    } rows[] = {
        {"pause", [&] { return stream->pause(stream); },
         "out_pause out(OUT) in \n | out_pause out(OUT) return (0x1234)"},
        {"resume", [&] { return stream->resume(stream); }, "out_resume out(OUT) ret(0x1234)"},
        {"flush", [&] { return stream->flush(stream); },
         "out_flush out(OUT) in \n | out_flush out(OUT) ret(0x1234)"},
        {"drain all", [&] { return stream->drain(stream, AUDIO_DRAIN_ALL); },
         "out_drain out(OUT) type(0) ret(0x1234)"},
        {"drain early", [&] { return stream->drain(stream, AUDIO_DRAIN_EARLY_NOTIFY); },
         "out_drain out(OUT) type(1) ret(0x1234)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        int result = 0;
        direct_output().in_call = [&] { EXPECT_TRUE(is_held(to_hal_stream_out(stream)->lock)); };
        EXPECT_EQ(calls_of([&] { result = row.call(); }), names{row.name});
        direct_output().in_call = nullptr;
        EXPECT_EQ(result, 0x1234);
        for (const log_line& line : log.lines()) {
            EXPECT_EQ(line, (log_line{ANDROID_LOG_DEBUG, "audio_hal", line.text}));
        }
        EXPECT_EQ(joined(log.texts({{stream, "OUT"}})), row.lines);
        log.clear();
        faults().failing_mutexes = {&to_hal_stream_out(stream)->lock.native};
        row.call();
        reset_faults();
        EXPECT_EQ(log.count_containing(": mutex lock fail"), 1);
        EXPECT_EQ(log.count_containing(": mutex unlock fail"), 1);
    }
    close_stream(stream);
}

TEST_F(DirectStream, DrainOfPassthroughDoesNotReachThePlayer) {
    struct audio_stream_out* const stream = open_stream(passthru);
    direct_output().control_result = 7;
    EXPECT_EQ(calls_of([&] { EXPECT_EQ(stream->drain(stream, AUDIO_DRAIN_ALL), 0); }), names{});
    EXPECT_EQ(log.texts({{stream, "OUT"}}), names{"out_drain out(OUT) type(0) ret(0x0)"});
    close_stream(stream);
}

TEST_F(DirectStream, PositionIsThePlayers) {
    struct audio_stream_out* const stream = open_stream(hwsync);
    direct_output().position = 0x1'2345'6789;
    uint32_t low = 0;
    uint64_t frames = 0;
    struct timespec time = {};
    EXPECT_EQ(stream->get_render_position(stream, &low), 0);
    EXPECT_EQ(low, 0x23456789U);
    EXPECT_EQ(stream->get_presentation_position(stream, &frames, &time), 0);
    EXPECT_EQ(frames, 0x1'2345'6789U);
    close_stream(stream);
}

TEST_F(DirectStream, TakesACallbackThatNeverFires) {
    struct audio_stream_out* const stream = open_stream(passthru);
    EXPECT_EQ(stream->set_callback(
                  stream,
                  [](stream_callback_event_t, void*, void*) {
                      ADD_FAILURE() << "an event of a stream that has none";
                      return 0;
                  },
                  this),
              0);
    stream->write(stream, "abcd", 4);
    stream->drain(stream, AUDIO_DRAIN_ALL);
    close_stream(stream);
}
