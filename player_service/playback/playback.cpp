#include "player_service/playback/playback.h"

#include <algorithm>
#include <cinttypes>
#include <utility>

#include <zuavplayer/player_types.h>

#include "player_service/log.h"

namespace player_service {

using std::chrono::steady_clock;

namespace {

// Before the output runs dry: what is held is decoded, and then silence follows it. The second is
// so close because silence would be a gap if more came just in time.
constexpr std::chrono::milliseconds kDecodeAhead(20);
constexpr std::chrono::milliseconds kSilenceAhead(8);
// No chunk is late earlier; nor as long as nothing has begun to play.
constexpr std::chrono::milliseconds kLeastPatience(10);
constexpr std::chrono::milliseconds kPatienceAtStart(100);

constexpr std::chrono::seconds kUnderrunLogEvery(1);

// Sound goes out in pieces of at most this part of a second, so that pause and stop act at once.
constexpr uint32_t kPiecesPerSecond = 100;

uint64_t to_us(uint64_t frames, uint32_t rate_hz) {
    return rate_hz == 0 ? 0 : frames / rate_hz * 1000000 + frames % rate_hz * 1000000 / rate_hz;
}

size_t to_frames(std::chrono::nanoseconds time, uint32_t rate_hz) {
    return static_cast<size_t>(time.count() * int64_t{rate_hz} / 1000000000);
}

}  // namespace

playback::playback(const playback_setup& setup, std::unique_ptr<sound_decoder> decoder)
    : setup_(setup), decoder_(std::move(decoder)) {}

playback::~playback() {
    if (status_.timestamps > 0) {
        LOGI(
            "player 0x%08x: %u timestamps, drift %.3f ms at the end, %u gaps, %u overlaps, "
            "%u reordered",
            setup_.player, status_.timestamps, static_cast<double>(status_.drift_us) / 1000,
            status_.gaps, status_.overlaps, status_.reordered);
    }
    if (status_.underruns > 0) {
        LOGW("player 0x%08x: underruns in all: %u", setup_.player, status_.underruns);
    }
    if (status_.damaged_units > 0) {
        LOGW("player 0x%08x: %u of %u units were damaged", setup_.player, status_.damaged_units,
             status_.units);
    }
}

void playback::consume(const stream_chunk& chunk, playback_gate& gate) {
    shortage_ = shortage::none;
    decoder_->decode(chunk.bytes.data(), chunk.bytes.size(), chunk.pts_ms,
                     [&](const decoded_sound& sound) { return play(sound, gate); });
}

void playback::finish(playback_gate& gate) {
    if (!decoder_->finish([&](const decoded_sound& sound) { return play(sound, gate); }) ||
        sink_ == nullptr) {
        return;
    }
    size_t silence = to_frames(sink_->tail(), sink_format_.rate_hz);
    while (silence > 0 && gate.may_play()) {
        const size_t taken = write_silence(silence);
        if (taken == 0) {
            gate.wait(sink_->until_room());
        }
        silence -= taken;
    }
    sink_->end();
    while (gate.may_play()) {
        const std::chrono::nanoseconds left = sink_->delay() - sink_->tail();
        if (left <= left.zero()) {
            return;
        }
        gate.wait(left);
    }
}

std::optional<std::chrono::nanoseconds> playback::patience() const {
    using std::chrono::nanoseconds;
    const bool has_begun = sink_ != nullptr && !sink_->waits_for_more();
    switch (shortage_) {
        case shortage::none:
            return has_begun ? std::max<nanoseconds>(sink_->delay() - kDecodeAhead, kLeastPatience)
                             : kPatienceAtStart;
        case shortage::held_played:
            if (sink_ == nullptr || sink_->tail() == nanoseconds(0)) {
                return std::nullopt;
            }
            return has_begun ? std::max<nanoseconds>(sink_->delay() - kSilenceAhead, nanoseconds(0))
                             : nanoseconds(0);
        case shortage::silence_follows:
            break;
    }
    return std::nullopt;
}

void playback::starve(playback_gate& gate) {
    if (shortage_ == shortage::none) {
        shortage_ = shortage::held_played;
        decoder_->decode_held([&](const decoded_sound& sound) { return play(sound, gate); });
        return;
    }
    shortage_ = shortage::silence_follows;
    write_silence(to_frames(sink_->tail(), sink_format_.rate_hz));
    sink_->end();
}

// As much as there is room for. Answers how many frames that was; all of them where the sink has
// failed, since nothing is lost then.
size_t playback::write_silence(size_t frames) {
    const std::vector<int16_t> silence(frames * sink_format_.channels);
    const long taken = sink_->write(silence.data(), frames);
    silence_played_ = true;
    return taken < 0 ? frames : static_cast<size_t>(taken);
}

// The output has stopped, or has played silence, ahead of what was just written. That is as it
// should be behind a pause.
void playback::note_underrun(const playback_gate& gate) {
    const bool ran_dry = sink_->take_underrun();
    const bool has_gap = std::exchange(silence_played_, false) || ran_dry;
    const uint32_t pauses = gate.pauses();
    const bool was_paused = std::exchange(pauses_seen_, pauses) != pauses;
    if (!has_gap || was_paused) {
        return;
    }
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        ++status_.underruns;
    }
    const steady_clock::time_point now = steady_clock::now();
    if (now - underrun_logged_at_ >= kUnderrunLogEvery) {
        underrun_logged_at_ = now;
        LOGW("player 0x%08x: the card ran out of sound; underruns so far: %u", setup_.player,
             status_.underruns);
    }
}

playback_status playback::status() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    playback_status status = status_;
    status.delay = std::max<std::chrono::nanoseconds>(heard_at_ - steady_clock::now(),
                                                      std::chrono::nanoseconds(0));
    return status;
}

// Counts the unit. False for one that cannot be played.
bool playback::note_unit(const decoded_sound& sound) {
    // What a damaged header says about the format is not to be believed.
    const bool is_playable = sound.frames > 0 && (!sound.damaged || status_.format.channels == 0 ||
                                                  sound.format == status_.format);
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        ++status_.units;
        status_.damaged_units += sound.damaged ? 1 : 0;
        if (is_playable) {
            status_.format = sound.format;
        }
    }
    if (sound.damaged && !in_damage_) {
        setup_.on_error(android::ZU_ERR_BAD_STREAM);
    }
    in_damage_ = sound.damaged;
    return is_playable;
}

void playback::note_pts(const decoded_sound& sound) {
    if (sound.pts_ms == android::ZU_PTS_NONE) {
        return;
    }
    timeline_entry entry;
    if (setup_.keeps_timeline) {
        entry =
            timeline_.add(sound.pts_ms, status_.frames, sound.format.rate_hz, status_.played_us);
        if (setup_.timeline_csv != nullptr) {
            setup_.timeline_csv->add(setup_.player, entry);
        }
    }
    const std::lock_guard<std::mutex> guard(mutex_);
    status_.pts_ms = sound.pts_ms;
    status_.has_pts = true;
    if (setup_.keeps_timeline) {
        ++status_.timestamps;
        status_.gaps += entry.what == timeline_entry::kind::gap ? 1 : 0;
        status_.overlaps += entry.what == timeline_entry::kind::overlap ? 1 : 0;
        status_.reordered += entry.what == timeline_entry::kind::reordered ? 1 : 0;
        status_.drift_us = entry.drift_us;
    }
}

void playback::replace_failed_sink(const std::string& reason) {
    sink_failed_ = true;
    LOGE("player 0x%08x: %s; its sound is dropped until it is started again", setup_.player,
         reason.c_str());
    setup_.output->note_lost_sound();
    setup_.on_error(android::ZU_ERR_NO_RESOURCE);
    sink_ = setup_.output->open_silent(sink_format_);
}

void playback::prepare_sink(const audio_format& format, bool audible) {
    if (sink_ != nullptr && sink_format_ == format && sink_audible_ == audible) {
        return;
    }
    if (sink_format_ != format) {
        before_format_us_ += to_us(format_frames_, sink_format_.rate_hz);
        format_frames_ = 0;
    }
    sink_.reset();  // Gives its card or file back first.
    sink_format_ = format;
    sink_audible_ = audible;
    if (!audible || sink_failed_) {
        sink_ = setup_.output->open_silent(format);
        return;
    }
    std::string reason;
    sink_ = setup_.output->open(format, reason);
    if (sink_ == nullptr) {
        replace_failed_sink(reason);
    }
}

bool playback::play(const decoded_sound& sound, playback_gate& gate) {
    if (!note_unit(sound)) {
        return gate.may_play();
    }
    if (!gate.may_play()) {
        return false;
    }
    prepare_sink(sound.format, gate.is_audible());
    note_pts(sound);
    return write(sound, gate);
}

bool playback::write(const decoded_sound& sound, playback_gate& gate) {
    const size_t piece = std::max<size_t>(1, sound.format.rate_hz / kPiecesPerSecond);
    size_t done = 0;
    while (done < sound.frames) {
        if (!gate.may_play()) {
            return false;
        }
        const long taken = sink_->write(sound.samples + done * sound.format.channels,
                                        std::min(piece, sound.frames - done));
        if (taken < 0) {
            replace_failed_sink("the output takes no more sound");
        } else if (taken == 0) {
            gate.wait(sink_->until_room());
        } else {
            note_underrun(gate);
            const auto frames = static_cast<size_t>(taken);
            done += frames;
            format_frames_ += frames;
            const auto heard_at = steady_clock::now() + sink_->delay();
            const std::lock_guard<std::mutex> guard(mutex_);
            status_.frames += frames;
            status_.played_us = before_format_us_ + to_us(format_frames_, sound.format.rate_hz);
            heard_at_ = std::chrono::time_point_cast<steady_clock::duration>(heard_at);
        }
    }
    return true;
}

}  // namespace player_service
