// Direct streams of a whole module over a player service that is a fake.
#pragma once

#include <string>
#include <vector>

#include "direct/avplay_session.h"
#include "direct/data_feed.h"
#include "tests/support/fake_player_functions.h"
#include "tests/support/module_fixture.h"

constexpr unsigned passthru_flags = AUDIO_OUTPUT_FLAG_DIRECT;
constexpr unsigned tunnel_flags = AUDIO_OUTPUT_FLAG_DIRECT | AUDIO_OUTPUT_FLAG_HW_AV_SYNC;

using lines = std::vector<std::string>;

class direct_test : public module_test {
  protected:
    direct_test() { reset_player_service(); }
    ~direct_test() override {
        while (opens > 0) {
            close_device(dev);
        }
        EXPECT_EQ(player_service().live_handles, 0);
        EXPECT_EQ(player_service().uses_after_close, 0);
        EXPECT_EQ(player_service().unroomed_chunks, 0);
    }

    // A stream in standby. For a tunnel the AV-sync source has been asked for. The account of the
    // player service begins behind this.
    struct audio_stream_out* open_direct(unsigned flags, uint32_t mask = AUDIO_CHANNEL_OUT_STEREO,
                                         uint32_t format = AUDIO_FORMAT_AC3) {
        open_device();
        if (flags == tunnel_flags) {
            free(dev->get_parameters(dev, "hw_av_sync"));
        }
        struct audio_stream_out* const stream = open_stream(flags, 48000, mask, format);
        EXPECT_EQ(last_result, 0);
        take_calls();
        log.clear();
        return stream;
    }
    // The same, awake and running without having been given anything.
    struct audio_stream_out* open_running(unsigned flags,
                                          uint32_t mask = AUDIO_CHANNEL_OUT_STEREO) {
        struct audio_stream_out* const stream = open_direct(flags, mask);
        EXPECT_EQ(stream->write(stream, "", 0), 0);
        EXPECT_EQ(data_write(session_of(stream), nullptr, 0, PTS_NONE), 0);
        take_calls();
        log.clear();
        return stream;
    }
    static struct avplay_session* session_of(struct audio_stream_out* stream) {
        return to_hal_stream_out(stream)->hdo;
    }
    static void write(struct audio_stream_out* stream, const std::string& data) {
        EXPECT_EQ(stream->write(stream, data.data(), data.size()),
                  static_cast<ssize_t>(data.size()));
    }
    static int standby(struct audio_stream_out* stream) {
        return stream->common.standby(&stream->common);
    }
    // The texts of a tag's lines at a priority.
    lines logged(int priority, const std::string& tag) const {
        lines texts;
        for (const log_line& line : log.lines()) {
            if (line.priority == priority && line.tag == tag) {
                texts.push_back(line.text);
            }
        }
        return texts;
    }
};

// A header of a tunnel stream. Version 2 has its data offset and is padded up to it.
inline std::string avsync_header(int version, uint32_t frame_size, uint64_t pts_ns,
                                 uint32_t data_offset = 20) {
    std::string bytes = {0x55, 0x55, 0x00, static_cast<char>(version)};
    const auto append = [&bytes](uint64_t value, int count) {
        for (int shift = 8 * (count - 1); shift >= 0; shift -= 8) {
            bytes.push_back(static_cast<char>(value >> shift));
        }
    };
    append(frame_size, 4);
    append(pts_ns, 8);
    if (version == 2) {
        append(data_offset, 4);
        bytes.resize(data_offset > 20 ? data_offset : 20, '\x2D');
    }
    return bytes;
}

inline std::string avsync_frame(int version, const std::string& payload, uint64_t pts_ms,
                                uint32_t data_offset = 20) {
    return avsync_header(version, static_cast<uint32_t>(payload.size()), pts_ms * 1'000'000,
                         data_offset) +
           payload;
}
