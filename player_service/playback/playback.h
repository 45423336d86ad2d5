// A stream on its way from bytes to sound: decoder, timeline, sink.
//
// Damaged units are counted and concealed where the decoder can; a sink that fails is replaced by
// one that drops the sound, so that the client goes on. Either is reported once for each streak.
#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include "player_service/playback/sound_decoder.h"
#include "player_service/playback/sound_output.h"
#include "player_service/playback/stream_consumer.h"
#include "player_service/playback/timeline.h"

namespace player_service {

struct playback_setup {
    uint32_t player = 0;                          // the handle, for the log and the timeline
    sound_output* output = nullptr;               // outlives the playback
    timeline_file* timeline_csv = nullptr;        // the same; may be null
    bool keeps_timeline = false;                  // the sync attribute is on
    std::function<void(uint32_t code)> on_error;  // ZU_ERR_*; on the playing thread
};

class playback : public stream_consumer {
  public:
    playback(const playback_setup& setup, std::unique_ptr<sound_decoder> decoder);
    ~playback() override;

    void consume(const stream_chunk& chunk, playback_gate& gate) override;
    std::optional<std::chrono::nanoseconds> patience() const override;
    void starve(playback_gate& gate) override;
    void finish(playback_gate& gate) override;
    playback_status status() const override;

  private:
    bool play(const decoded_sound& sound, playback_gate& gate);
    bool note_unit(const decoded_sound& sound);
    void note_pts(const decoded_sound& sound);
    void prepare_sink(const audio_format& format, bool audible);
    void replace_failed_sink(const std::string& reason);
    bool write(const decoded_sound& sound, playback_gate& gate);
    size_t write_silence(size_t frames);
    void note_underrun(const playback_gate& gate);

    // What has been done since the last chunk because the next one is late.
    enum class shortage { none, held_played, silence_follows };

    const playback_setup setup_;
    const std::unique_ptr<sound_decoder> decoder_;
    timeline timeline_;
    std::unique_ptr<audio_sink> sink_;
    audio_format sink_format_;
    bool sink_audible_ = false;
    bool in_damage_ = false;
    bool sink_failed_ = false;
    shortage shortage_ = shortage::none;
    bool silence_played_ = false;  // between the last sound and the next
    uint32_t pauses_seen_ = 0;
    std::chrono::steady_clock::time_point underrun_logged_at_{};
    uint64_t format_frames_ = 0;  // played since the format last changed
    uint64_t before_format_us_ = 0;

    mutable std::mutex mutex_;
    // Guarded by mutex_; only the playing thread changes them.
    playback_status status_;
    std::chrono::steady_clock::time_point heard_at_{};
};

}  // namespace player_service
