// One run of a stream, from start to stop: input room, and a thread that feeds the consumer.
//
// Any thread may call; nothing here waits for sound except drain(). The callback runs on the run's
// own thread without a lock.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "player_service/playback/stream_buffer.h"
#include "player_service/playback/stream_consumer.h"

namespace player_service {

class stream_run : private playback_gate {
  public:
    enum class answer { done, full, ending, refused };

    // Begins paused. `on_low` is told, while playing, that the bytes held have fallen below a
    // quarter of the room after having been above half of it.
    stream_run(uint32_t room_bytes, std::unique_ptr<stream_consumer> consumer,
               std::function<void(uint32_t held_bytes)> on_low);
    ~stream_run() override;
    stream_run(const stream_run&) = delete;
    stream_run& operator=(const stream_run&) = delete;

    // full: no room yet; ending: drain() has begun.
    answer reserve(uint32_t bytes);
    // Copies the chunk. refused: more than was reserved.
    answer put(const uint8_t* bytes, uint32_t count, uint32_t pts_ms);

    void set_room(uint32_t bytes);
    void set_playing(bool playing);
    void set_audible(bool audible);

    // Takes no more data and waits until all that is held has been heard. Ends early, with false,
    // when the limit has passed or the run is paused or dropped.
    bool drain(std::chrono::milliseconds limit);

    // Ends the run and answers how many bytes were never decoded. The consumer is gone afterwards.
    uint32_t drop();

    uint32_t held_bytes() const;
    playback_status status() const;

  private:
    void work();
    bool may_play() override;
    void wait(std::chrono::nanoseconds time) override;
    bool is_audible() const override;
    uint32_t pauses() const override;
    bool has_work() const;
    void await_work(std::unique_lock<std::mutex>& lock);

    const std::function<void(uint32_t)> on_low_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;

    // All guarded by mutex_.
    stream_buffer buffer_;
    bool playing_ = false;
    uint32_t pauses_ = 0;
    bool audible_ = false;
    bool ending_ = false;
    bool ended_ = false;
    bool dropped_ = false;
    bool low_armed_ = false;
    std::unique_ptr<stream_consumer> consumer_;  // used by the thread without the lock
    playback_status last_status_;                // once the consumer is gone

    std::mutex join_mutex_;  // one of several callers of drop() joins; taken before mutex_
    std::thread thread_;
};

}  // namespace player_service
