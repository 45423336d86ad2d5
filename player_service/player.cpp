#include "player_service/player.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "player_service/log.h"
#include "player_service/playback/playback.h"

namespace player_service {

using namespace android;
using std::chrono::milliseconds;

namespace {

// How long a stop that plays to the end may take at most, and where the client sets no limit. The
// input room at the lowest rates is longer; a client waits three seconds for an answer.
constexpr uint32_t kMaxDrainMs = 2500;

constexpr decoder_config kDefaultDecoder = {ZU_ADEC_PCM, {2, 48000}};

}  // namespace

player::player(const std::shared_ptr<service_context>& context,
               const std::shared_ptr<event_queue>& queue)
    : context_(context),
      observers_(std::make_shared<player_observers>(queue)),
      decoder_(kDefaultDecoder) {}

player::~player() {
    retire();
}

void player::retire() {
    const std::lock_guard<std::mutex> guard(mutex_);
    retired_ = true;
    drop_run();
    state_ = player_state::closed;
}

// From here to drop_run(): with mutex_ held.

int32_t player::check(player_action action, player_state& next) const {
    if (retired_) {
        return zu_status(ZU_ERR_INVALID_HANDLE);
    }
    const std::optional<player_state> found = next_state(state_, action);
    if (!found) {
        return zu_status(ZU_ERR_INVALID_STATE);
    }
    next = *found;
    return 0;
}

// The one place that changes the state.
void player::enter(player_state next) {
    const bool told = state_word(next) != state_word(state_);
    state_ = next;
    if (run_ != nullptr) {
        run_->set_playing(next == player_state::running);
    }
    if (told) {
        observers_->tell(ZU_EVENT_STATE, state_word(next));
    }
}

int32_t player::check_channel(int channel) const {
    if (retired_) {
        return zu_status(ZU_ERR_INVALID_HANDLE);
    }
    if (channel == ZU_CHN_AUD) {
        return 0;
    }
    return zu_status(channel == ZU_CHN_VID ? ZU_ERR_NOT_SUPPORTED : ZU_ERR_INVALID_ARGUMENT);
}

int32_t player::make_run() {
    std::unique_ptr<sound_decoder> decoder = make_decoder(decoder_);
    if (decoder == nullptr) {
        LOGE("player 0x%08x: there is no decoder for type 0x%08x", handle_, decoder_.type);
        return zu_status(ZU_ERR_NO_RESOURCE);
    }
    playback_setup setup;
    setup.player = handle_;
    setup.output = &context_->output;
    setup.timeline_csv = context_->timeline_csv.get();
    setup.keeps_timeline = attributes_.sync.sync_reference == 1 && attributes_.sync.sync_start == 1;
    setup.on_error = [observers = observers_](uint32_t code) {
        observers->tell(ZU_EVENT_ERROR, code);
    };
    try {
        run_ = std::make_shared<stream_run>(attributes_.stream_mode.audio_buffer_bytes,
                                            std::make_unique<playback>(setup, std::move(decoder)),
                                            [observers = observers_](uint32_t held_bytes) {
                                                observers->tell(ZU_EVENT_BUFFER_LOW, held_bytes);
                                            });
    } catch (const std::system_error& error) {
        LOGE("player 0x%08x: there is no thread for it: %s", handle_, error.what());
        return zu_status(ZU_ERR_NO_RESOURCE);
    }
    run_->set_audible(audible_);
    return 0;
}

void player::drop_run() {
    if (run_ == nullptr) {
        return;
    }
    const uint32_t dropped_bytes = run_->drop();
    last_status_ = run_->status();
    run_.reset();
    if (dropped_bytes > 0) {
        observers_->tell(ZU_EVENT_FLUSHED, dropped_bytes);
    }
}

int32_t player::act(player_action action) {
    const std::lock_guard<std::mutex> guard(mutex_);
    player_state next = state_;
    const int32_t error = check(action, next);
    if (error == 0) {
        enter(next);
    }
    return error;
}

int32_t player::open_channel(int channel) {
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        if (const int32_t error = check_channel(channel); error != 0) {
            return error;
        }
    }
    return act(player_action::open);
}

int32_t player::close_channel(int channel) {
    const std::lock_guard<std::mutex> guard(mutex_);
    player_state next = state_;
    int32_t error = check_channel(channel);
    error = error != 0 ? error : check(player_action::close, next);
    if (error == 0) {
        drop_run();
        enter(next);
    }
    return error;
}

int32_t player::start(int channel) {
    const std::lock_guard<std::mutex> guard(mutex_);
    player_state next = state_;
    int32_t error = check_channel(channel);
    error = error != 0 ? error : check(player_action::start, next);
    error = error != 0 ? error : make_run();
    if (error == 0) {
        enter(next);
    }
    return error;
}

int32_t player::stop(int channel, const zu_stop_option* option) {
    std::unique_lock<std::mutex> lock(mutex_);
    player_state next = state_;
    int32_t error = check_channel(channel);
    error = error != 0 ? error : check(player_action::stop, next);
    if (error != 0) {
        return error;
    }
    if (option != nullptr && option->mode != 0 && state_ == player_state::running) {
        const std::shared_ptr<stream_run> run = run_;
        const uint32_t wanted_ms = option->timeout_ms == 0 ? kMaxDrainMs : option->timeout_ms;
        lock.unlock();
        run->drain(milliseconds(std::min(wanted_ms, kMaxDrainMs)));
        lock.lock();
        if (run != run_) {
            return 0;  // Stopped by another thread meanwhile.
        }
    }
    drop_run();
    enter(player_state::stopped);
    return 0;
}

int32_t player::pause() {
    return act(player_action::pause);
}

int32_t player::resume() {
    return act(player_action::resume);
}

int32_t player::flush() {
    const std::lock_guard<std::mutex> guard(mutex_);
    player_state next = state_;
    if (const int32_t error = check(player_action::flush, next); error != 0) {
        return error;
    }
    if (run_ == nullptr) {
        return 0;
    }
    drop_run();
    const int32_t error = make_run();
    enter(error == 0 ? next : player_state::stopped);
    return error;
}

int32_t player::reserve(uint32_t bytes) {
    const std::lock_guard<std::mutex> guard(mutex_);
    if (retired_) {
        return zu_status(ZU_ERR_INVALID_HANDLE);
    }
    if (state_ == player_state::closed) {
        return zu_status(ZU_ERR_INVALID_STATE);
    }
    if (bytes > attributes_.stream_mode.audio_buffer_bytes) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);  // Never would there be room.
    }
    if (run_ == nullptr) {
        return zu_status(ZU_ERR_BUF_NOT_READY);
    }
    switch (run_->reserve(bytes)) {
        case stream_run::answer::done:
            return 0;
        case stream_run::answer::full:
            return zu_status(ZU_ERR_BUF_FULL);
        default:
            return zu_status(ZU_ERR_BUF_NOT_READY);
    }
}

int32_t player::put(const uint8_t* bytes, uint32_t count, uint32_t pts_ms) {
    const std::lock_guard<std::mutex> guard(mutex_);
    if (retired_) {
        return zu_status(ZU_ERR_INVALID_HANDLE);
    }
    if (run_ == nullptr) {
        return zu_status(ZU_ERR_INVALID_STATE);
    }
    switch (run_->put(bytes, count, pts_ms)) {
        case stream_run::answer::done:
            return 0;
        case stream_run::answer::refused:
            return zu_status(ZU_ERR_INVALID_ARGUMENT);
        default:
            return zu_status(ZU_ERR_INVALID_STATE);
    }
}

void player::set_audible(bool audible) {
    const std::lock_guard<std::mutex> guard(mutex_);
    audible_ = audible;
    if (run_ != nullptr) {
        run_->set_audible(audible);
    }
}

}  // namespace player_service
