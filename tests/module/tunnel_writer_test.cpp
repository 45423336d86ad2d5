#include <algorithm>
#include <cerrno>
#include <numeric>
#include <random>

#include <cutils/property_overrides.h>

#include "diag/debug_switches.h"
#include "direct/data_feed.h"
#include "direct/tunnel_writer.h"
#include "tests/support/direct_fixture.h"

namespace {

using chunk = fake_player_functions::chunk;
using chunks = std::vector<chunk>;

class TunnelWriter : public direct_test {
  protected:
    void expect_carried(uint32_t tmp_len, uint32_t raw_data_left) {
        EXPECT_EQ(session_of(stream)->tmp_len, tmp_len);
        EXPECT_EQ(session_of(stream)->raw_data_left, raw_data_left);
    }
    // In one write each.
    void write_all(const std::vector<std::string>& pieces) {
        for (const std::string& piece : pieces) {
            write(stream, piece);
        }
    }
    void TearDown() override {
        if (stream != nullptr) {
            close_stream(stream);
        }
    }
    struct audio_stream_out* stream = nullptr;
};

struct frame {
    std::string payload;
    uint64_t pts_ms;
};

// What a player knows of a stream: its bytes, and which time came with the byte at which place.
struct heard {
    std::string payload;
    std::vector<std::pair<size_t, uint32_t>> times;
    bool operator==(const heard& other) const {
        return payload == other.payload && times == other.times;
    }
};

heard hear(const chunks& sent) {
    heard result;
    for (const chunk& each : sent) {
        if (each.pts != PTS_NONE) {
            result.times.emplace_back(result.payload.size(), each.pts);
        }
        result.payload += each.bytes;
    }
    return result;
}

// A stream of frames of both versions, and what a player should know of it.
struct tunnel_stream {
    std::string bytes;
    heard expected;
    std::string pts_lines;
};

tunnel_stream make_stream(std::mt19937& random, bool surround) {
    const uint32_t sizes[] = {0, 1, 3, 15, 31, 32, 33, 47, 100, 1023, 1024, 1025, 3000};
    const uint32_t offsets[] = {20, 21, 28, 47, 48};
    tunnel_stream stream;
    uint64_t last_pts = 0;
    const size_t frames = 1 + random() % 12;
    for (size_t i = 0; i < frames; ++i) {
        // The end of the stream is a frame that no header search mistakes for a short input.
        const uint32_t size = i + 1 == frames ? 64 : sizes[random() % std::size(sizes)];
        const uint64_t pts = random() % 5 == 0 ? random() % 100 : last_pts + random() % 50;
        const std::string payload = audio(size, static_cast<uint32_t>(random()));
        const int version = static_cast<int>(1 + random() % 2);
        stream.bytes += avsync_frame(version, payload, pts,
                                     surround && random() % 2 == 0 ? 48 : offsets[random() % 5]);
        if (size > 0) {
            stream.expected.times.emplace_back(stream.expected.payload.size(),
                                               static_cast<uint32_t>(pts));
        }
        stream.expected.payload += payload;
        char line[128];
        snprintf(line, sizeof(line), "%10llu %10u %10llu \n", static_cast<unsigned long long>(pts),
                 size, static_cast<unsigned long long>(pts > last_pts ? pts - last_pts : 0));
        stream.pts_lines += line;
        last_pts = pts;
    }
    return stream;
}

std::vector<std::string> cut(const std::string& bytes, size_t most, std::mt19937* random) {
    std::vector<std::string> pieces;
    for (size_t at = 0; at < bytes.size();) {
        const size_t size = random != nullptr ? 1 + (*random)() % most : most;
        pieces.push_back(bytes.substr(at, size));
        at += size;
    }
    return pieces;
}

}  // namespace

TEST_F(TunnelWriter, AStreamSoundsTheSameHoweverItIsCut) {
    property_override("persist.audiohal.file.es", "true");
    property_override("persist.audiohal.file.pts", "true");
    const uint32_t masks[] = {AUDIO_CHANNEL_OUT_MONO, AUDIO_CHANNEL_OUT_STEREO,
                              AUDIO_CHANNEL_OUT_QUAD, AUDIO_CHANNEL_OUT_5POINT1,
                              AUDIO_CHANNEL_OUT_7POINT1};
    for (uint32_t seed = 1; seed <= 40; ++seed) {
        std::mt19937 random(seed);
        const uint32_t mask = masks[seed % std::size(masks)];
        const tunnel_stream made = make_stream(random, mask == AUDIO_CHANNEL_OUT_5POINT1);
        const size_t whole = made.bytes.size();
        for (const size_t most : {whole, size_t{1}, size_t{2}, size_t{7}, size_t{16}, size_t{17},
                                  size_t{19}, size_t{20}, size_t{48}, size_t{1024}, size_t{0}}) {
            SCOPED_TRACE("seed " + std::to_string(seed) + " cuts " + std::to_string(most));
            stream = open_running(tunnel_flags, mask);
            write_all(cut(made.bytes, most == 0 ? 1500 : most, most == 0 ? &random : nullptr));
            const heard got = hear(take_chunks());
            ASSERT_EQ(got.payload, made.expected.payload);
            ASSERT_EQ(got.times, made.expected.times);
            expect_carried(0, 0);
            close_stream(stream);
            stream = nullptr;
            ASSERT_EQ(contents("hal_audio.es"), made.expected.payload);
            ASSERT_EQ(contents("hal_audio.pts"), made.pts_lines);
            close_device(dev);
            reset_player_service();
        }
    }
}

TEST_F(TunnelWriter, CarriesOverWhatAWriteCutsOff) {
    const std::string payload = audio(100);
    const std::string whole = avsync_frame(1, payload, 7);
    const std::string second = avsync_header(2, 100, 9'000'000, 30) + payload;
    const std::string none(100, 'x');
    const std::string far = avsync_header(2, 1, 1, 49);
    const struct {
        const char* name;
        uint32_t mask;
        std::string bytes;
        std::vector<size_t> pieces;  // what is written of them
        const char* sent;            // the time and the size of each chunk
        uint32_t tmp_len, raw_data_left;
    } rows[] = {
        {"one frame", 3, whole, {116}, "7:100", 0, 0},
        {"half a payload", 3, whole, {66}, "7:50", 0, 50},
        {"and part of the rest", 3, whole, {66, 20}, "7:50 -:20", 0, 30},
        {"and all of it, then a header", 3, whole + whole, {66, 166}, "7:50 -:50 7:100", 0, 0},
        {"ten bytes of a header", 3, whole, {10}, "", 10, 0},
        {"and the others", 3, whole, {10, 106}, "7:100", 0, 0},
        {"no header", 3, none, {100}, "", 16, 0},
        {"no header, six channels", AUDIO_CHANNEL_OUT_5POINT1, none, {100}, "", 48, 0},
        {"no header, eight channels", AUDIO_CHANNEL_OUT_7POINT1, none, {100}, "", 48, 0},
        {"nothing behind the header", 3, whole, {16}, "", 16, 0},
        {"version 2, 17 bytes", 3, second, {17}, "", 17, 0},
        {"version 2, 29 of 30 bytes", 3, second, {29}, "", 29, 0},
        {"version 2, and the others", 3, second, {17, 12, 101}, "9:100", 0, 0},
        {"version 2, its time waits", 3, second, {30, 40, 60}, "9:40 -:60", 0, 0},
        {"version 2, offset beyond what is held", 3, far, {40}, "", 16, 0},
        {"nothing", 3, whole, {0}, "", 0, 0},
        {"nothing behind held bytes", 3, whole, {10, 0, 106}, "7:100", 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        reset_player_service();
        stream = open_running(tunnel_flags, row.mask);
        size_t at = 0;
        for (const size_t size : row.pieces) {
            write(stream, row.bytes.substr(at, size));
            at += size;
        }
        const chunks sent = take_chunks();
        std::string shown;
        for (const chunk& each : sent) {
            shown += (shown.empty() ? "" : " ") +
                     (each.pts == PTS_NONE ? "-" : std::to_string(each.pts)) + ":" +
                     std::to_string(each.bytes.size());
        }
        EXPECT_EQ(shown, row.sent);
        const std::string got = payload_of(sent);
        EXPECT_EQ(got, (payload + payload).substr(0, got.size()));
        expect_carried(row.tmp_len, row.raw_data_left);
        close_stream(stream);
        close_device(dev);
    }
    stream = nullptr;
}

TEST_F(TunnelWriter, ALargeWriteBehindHeldBytesLosesNothing) {
    stream = open_running(tunnel_flags);
    std::string bytes;
    std::string payload;
    for (uint32_t i = 0; i < 60; ++i) {
        payload += audio(3000, i);
        bytes += avsync_frame(1, audio(3000, i), i);
    }
    for (const size_t first : {size_t{10}, size_t{1}, size_t{16}}) {
        // Just what fits behind the held bytes, one byte more, and all.
        for (const size_t rest : {sizeof(avplay_session::tmp_buf) - first,
                                  sizeof(avplay_session::tmp_buf) - first + 1, bytes.size()}) {
            write(stream, bytes.substr(0, first));
            expect_carried(static_cast<uint32_t>(first), 0);
            write(stream, bytes.substr(first, rest));
            if (first + rest < bytes.size()) {
                write(stream, bytes.substr(first + rest));
            }
            EXPECT_EQ(payload_of(take_chunks()), payload);
            expect_carried(0, 0);
        }
    }
}

TEST_F(TunnelWriter, LargestSizesAndEmptyHeadersEnd) {
    stream = open_running(tunnel_flags);
    // A frame of 4 GB less a byte is a debt that later writes pay.
    write(stream, avsync_header(1, 0xFFFFFFFF, 0) + "abc");
    expect_carried(0, 0xFFFFFFFC);
    write(stream, "defg");
    expect_carried(0, 0xFFFFFFF8);
    EXPECT_EQ(payload_of(take_chunks()), "abcdefg");
    stream->flush(stream);
    // Neither header nor frame: skipped, as often as it comes, and what is behind is found.
    std::string nothing = avsync_header(2, 0, 0, 20);
    nothing[19] = 0;
    std::string many;
    for (int i = 0; i < 1000; ++i) {
        many += nothing;
    }
    write(stream, many + avsync_frame(2, "found", 3));
    EXPECT_EQ(take_chunks(), (chunks{{0x71, 3, "found"}}));
    stream->flush(stream);
    write(stream, avsync_header(1, 0, 0) + avsync_header(1, 0, 0) + avsync_frame(1, "x", 4));
    EXPECT_EQ(take_chunks(), (chunks{{0x71, 4, "x"}}));
    expect_carried(0, 0);
    // An offset within the header is taken at its word, and ends too.
    std::string inside = avsync_header(2, 4, 8'000'000, 20);
    inside[19] = 16;
    write(stream, inside + "1234");
    EXPECT_EQ(take_chunks()[0].bytes, std::string("\0\0\0\x10", 4));
}

TEST_F(TunnelWriter, WritesALineForEachHeader) {
    property_override("persist.audiohal.file.pts", "true");
    stream = open_running(tunnel_flags);
    write_all({avsync_frame(1, "abc", 100) + avsync_frame(1, "de", 1'234'567'890'123),
               avsync_header(1, 70, 50'000'000) + "f"});
    standby(stream);
    write(stream, avsync_frame(1, "abc", 60));  // the previous time is forgotten
    close_stream(stream);
    stream = nullptr;
    EXPECT_EQ(contents("hal_audio.pts"),
              "       100          3        100 \n"
              "1234567890123          2 1234567890023 \n"
              "        50         70          0 \n"
              "        60          3         60 \n");
}

TEST_F(TunnelWriter, FailuresAreLoggedAndTheBookkeepingGoesOn) {
    stream = open_running(tunnel_flags);
    player_service().results["GetBuf"] = -32;
    EXPECT_EQ(stream->write(stream, avsync_header(1, 4, 0).append("ab").data(), 18), 18);
    expect_carried(0, 2);
    write(stream, "cd" + avsync_frame(1, "efgh", 2));
    expect_carried(0, 0);
    EXPECT_EQ(logged(ANDROID_LOG_ERROR, "audio_hal_avplay"),
              (lines{"ZUAVPLAYER_GetBuf failed (0xffffffe0)",
                     "tunnel_write_framedata:avplay_write1 failed 0xffffffff",
                     "ZUAVPLAYER_GetBuf failed (0xffffffe0)",
                     "tunnel_write_rawdata:avplay_write0 failed (0xffffffff)",
                     "ZUAVPLAYER_GetBuf failed (0xffffffe0)",
                     "tunnel_write_framedata:avplay_write1 failed 0xffffffff"}));
    EXPECT_EQ(logged(ANDROID_LOG_ERROR, "audio_hal_hdo"), lines{});
    player_service().results.clear();
}

TEST_F(TunnelWriter, OneWriteWaitsOnceForAPlayerWithoutRoomOrAnswer) {
    stream = open_running(tunnel_flags);
    std::string frames;
    for (int i = 0; i < 50; ++i) {
        frames += avsync_frame(1, "abc", 1);
    }
    player_service().results["GetBuf"] = static_cast<int32_t>(0x80140004);
    for (const size_t sleeps : {100U, 200U}) {  // the next write waits again
        log.clear();
        player_service().room_requests = 0;
        write(stream, frames);
        EXPECT_EQ(player_service().room_requests, 101 + 49);  // each frame gets its chance
        EXPECT_EQ(faults().sleeps_us.size(), sleeps);
        EXPECT_EQ(log.count_containing("ZUAVPLAYER_GetBuf failed"), 1);
        expect_carried(0, 0);
    }
    for (const char* const silent : {"GetBuf", "PutBufEx"}) {
        for (int i = 0; i < 2; ++i) {  // the next write asks again
            player_service().results = {{silent, -ETIMEDOUT}};
            player_service().room_requests = 0;
            write(stream, frames);
            EXPECT_EQ(player_service().room_requests, 1) << silent;
        }
        player_service().results.clear();
        take_chunks();
        write(stream, frames);
        EXPECT_EQ(take_chunks().size(), 50U);
    }
}

TEST_F(TunnelWriter, PassthroughGoesAsItComes) {
    stream = open_running(passthru_flags);
    const std::string bytes = avsync_frame(1, "abc", 7);
    write(stream, bytes);
    EXPECT_EQ(take_chunks(), (chunks{{0x71, PTS_NONE, bytes}}));
    expect_carried(0, 0);
    EXPECT_EQ(hal_avplay_write(nullptr, nullptr, 0), -1);
    EXPECT_EQ(hal_avplay_write(session_of(stream), nullptr, 1), -1);
}

TEST_F(TunnelWriter, ShowsItsStepsWhilePtsLoggingIsOn) {
    stream = open_running(tunnel_flags);
    gbEnablePts = 1;
    const auto said = [this](const std::string& bytes) {
        log.clear();
        write(stream, bytes);
        lines own;
        for (const std::string& text : logged(ANDROID_LOG_DEBUG, "audio_hal_avplay")) {
            if (text.rfind("krx_", 0) != 0) {
                own.push_back(text);
            }
        }
        return own;
    };
    const std::string found = "tunnel_write_framedata:find_header success ";
    const std::string none =
        "tunnel_write_framedata:find_header failed framesize:0 framepts:0 dataoffset:0";
    const std::string whole = avsync_frame(1, "0123456789", 1000);
    EXPECT_EQ(said(whole.substr(0, 4)), (lines{none}));
    EXPECT_EQ(said(whole.substr(4, 16)),
              (lines{"tunnel_write:New data to TmpBuf: last(4)+new(16) RawDataLeftSize:0",
                     found + "framesize:10 framepts:1000 dataoffset:16"}));
    EXPECT_EQ(said("45"), (lines{"tunnel_write_rawdata:TotalBytes: 2 not enough for DebtSize:6 "}));
    EXPECT_EQ(said("6789" + avsync_frame(2, "ab", 1)),
              (lines{"tunnel_write_rawdata:TotalBytes:26 enough for RawDataLeftSize:4 ",
                     found + "framesize:2 framepts:1 dataoffset:20",
                     found + "u32DataOffset:20 but still something wrong happend",
                     "tunnel_write_framedata:RawDataLength 2 enough to write 0x2", none}));
    gbEnablePts = 0;
    EXPECT_EQ(said(avsync_frame(2, "ab", 1)),
              (lines{found + "u32DataOffset:20 but still something wrong happend"}));
}
