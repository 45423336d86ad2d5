#include "player_service/playback/stream_run.h"

#include <utility>

namespace player_service {

stream_run::stream_run(uint32_t room_bytes, std::unique_ptr<stream_consumer> consumer,
                       std::function<void(uint32_t)> on_low)
    : on_low_(std::move(on_low)), buffer_(room_bytes), consumer_(std::move(consumer)) {
    thread_ = std::thread(&stream_run::work, this);
}

stream_run::~stream_run() {
    drop();
}

stream_run::answer stream_run::reserve(uint32_t bytes) {
    const std::lock_guard<std::mutex> guard(mutex_);
    if (ending_) {
        return answer::ending;
    }
    return buffer_.reserve(bytes) ? answer::done : answer::full;
}

stream_run::answer stream_run::put(const uint8_t* bytes, uint32_t count, uint32_t pts_ms) {
    const std::lock_guard<std::mutex> guard(mutex_);
    if (ending_) {
        return answer::ending;
    }
    if (!buffer_.put(bytes, count, pts_ms)) {
        return answer::refused;
    }
    low_armed_ = low_armed_ || buffer_.held_bytes() > buffer_.capacity_bytes() / 2;
    changed_.notify_all();
    return answer::done;
}

void stream_run::set_room(uint32_t bytes) {
    const std::lock_guard<std::mutex> guard(mutex_);
    buffer_.set_capacity(bytes);
}

void stream_run::set_playing(bool playing) {
    const std::lock_guard<std::mutex> guard(mutex_);
    pauses_ += playing_ && !playing ? 1 : 0;
    playing_ = playing;
    changed_.notify_all();
}

void stream_run::set_audible(bool audible) {
    const std::lock_guard<std::mutex> guard(mutex_);
    audible_ = audible;
}

bool stream_run::drain(std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(mutex_);
    ending_ = true;
    changed_.notify_all();
    changed_.wait_for(lock, limit, [this] { return ended_ || dropped_ || !playing_; });
    return ended_;
}

uint32_t stream_run::drop() {
    const std::lock_guard<std::mutex> one_joins(join_mutex_);
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        dropped_ = true;
        ending_ = true;
        changed_.notify_all();
    }
    if (thread_.joinable()) {
        thread_.join();
    }
    const std::lock_guard<std::mutex> guard(mutex_);
    if (consumer_ != nullptr) {
        last_status_ = consumer_->status();
        last_status_.delay = {};
        consumer_.reset();
    }
    return buffer_.held_bytes();
}

uint32_t stream_run::held_bytes() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return buffer_.held_bytes();
}

playback_status stream_run::status() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return consumer_ != nullptr ? consumer_->status() : last_status_;
}

bool stream_run::has_work() const {
    return dropped_ || (playing_ && (buffer_.held_bytes() > 0 || ending_));
}

void stream_run::await_work(std::unique_lock<std::mutex>& lock) {
    while (!has_work()) {
        const auto patience = playing_ ? consumer_->patience() : std::nullopt;
        if (!patience) {
            changed_.wait(lock);
        } else if (changed_.wait_for(lock, *patience) == std::cv_status::timeout && playing_ &&
                   !has_work()) {
            lock.unlock();
            consumer_->starve(*this);
            lock.lock();
        }
    }
}

void stream_run::work() {
    stream_chunk chunk;
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        await_work(lock);
        if (dropped_) {
            return;
        }
        const bool is_end = !buffer_.take(chunk);
        const uint32_t held_bytes = buffer_.held_bytes();
        const bool is_low = low_armed_ && held_bytes < buffer_.capacity_bytes() / 4;
        low_armed_ = low_armed_ && !is_low;
        lock.unlock();
        if (is_low) {
            on_low_(held_bytes);
        }
        if (is_end) {
            consumer_->finish(*this);
        } else {
            consumer_->consume(chunk, *this);
        }
        lock.lock();
        if (is_end && !dropped_) {
            ended_ = true;
            changed_.notify_all();
            return;
        }
    }
}

bool stream_run::may_play() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return dropped_ || playing_; });
    return !dropped_;
}

void stream_run::wait(std::chrono::nanoseconds time) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, time, [this] { return dropped_ || !playing_; });
}

bool stream_run::is_audible() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return audible_;
}

uint32_t stream_run::pauses() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return pauses_;
}

}  // namespace player_service
