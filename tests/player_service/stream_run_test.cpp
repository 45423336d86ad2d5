// Input room, and the thread between it and the consumer.
#include <future>
#include <gtest/gtest.h>

#include <zuavplayer/player_types.h>

#include "player_service/playback/stream_run.h"

namespace player_service {
namespace {

using answer = stream_run::answer;
using namespace std::chrono_literals;

constexpr auto kLimit = 30s;
// Beyond the time that a test may take.
constexpr auto kForEver = 24h;

// Keeps what it gets. Each chunk waits until the test lets it go, then in the gate for `wait`, and
// then as playback does before each piece.
class keeper : public stream_consumer {
  public:
    struct kept {
        std::mutex mutex;
        std::condition_variable changed;
        std::vector<uint8_t> bytes;
        std::chrono::nanoseconds wait{0};
        bool let_go = true;
        bool is_waiting = false;
        bool finished = false;
        int starved = 0;

        template <typename Condition>
        bool await(Condition condition, std::chrono::nanoseconds limit = kLimit) {
            std::unique_lock<std::mutex> lock(mutex);
            return changed.wait_for(lock, limit, condition);
        }
        template <typename Change>
        void set(Change change) {
            const std::lock_guard<std::mutex> guard(mutex);
            change();
            changed.notify_all();
        }
        bool await_bytes(size_t count) {
            return await([&] { return bytes.size() >= count; });
        }
    };

    explicit keeper(std::shared_ptr<kept> to) : to_(std::move(to)) {}

    void consume(const stream_chunk& chunk, playback_gate& gate) override {
        std::unique_lock<std::mutex> lock(to_->mutex);
        to_->is_waiting = true;
        to_->changed.notify_all();
        to_->changed.wait_for(lock, kLimit, [&] { return to_->let_go; });
        const std::chrono::nanoseconds wait = to_->wait;
        lock.unlock();
        gate.wait(wait);
        if (!gate.may_play()) {
            return;
        }
        lock.lock();
        to_->bytes.insert(to_->bytes.end(), chunk.bytes.begin(), chunk.bytes.end());
        to_->changed.notify_all();
    }
    std::optional<std::chrono::nanoseconds> patience() const override { return 1ms; }
    void starve(playback_gate&) override {
        to_->set([&] { ++to_->starved; });
    }
    void finish(playback_gate&) override {
        const std::lock_guard<std::mutex> guard(to_->mutex);
        to_->finished = true;
        to_->changed.notify_all();
    }
    playback_status status() const override { return {}; }

  private:
    const std::shared_ptr<kept> to_;
};

class StreamRun : public testing::Test {
  protected:
    answer put(size_t bytes) {
        const std::vector<uint8_t> chunk(bytes, next_++);
        return run_.put(chunk.data(), static_cast<uint32_t>(bytes), android::ZU_PTS_NONE);
    }
    answer send(uint32_t bytes) {
        const answer reserved = run_.reserve(bytes);
        return reserved == answer::done ? put(bytes) : reserved;
    }

    const std::shared_ptr<keeper::kept> kept_ = std::make_shared<keeper::kept>();
    std::mutex mutex_;
    std::vector<uint32_t> lows_;
    uint8_t next_ = 0;
    stream_run run_{1000, std::make_unique<keeper>(kept_), [this](uint32_t held_bytes) {
                        const std::lock_guard<std::mutex> guard(mutex_);
                        lows_.push_back(held_bytes);
                    }};
};

TEST_F(StreamRun, HoldsTheConsumerWhilePausedInTheMiddleOfAChunk) {
    kept_->let_go = false;
    run_.set_playing(true);
    ASSERT_EQ(send(5), answer::done);
    ASSERT_TRUE(kept_->await([&] { return kept_->is_waiting; }));
    run_.set_playing(false);
    kept_->set([&] { kept_->let_go = true; });
    ASSERT_EQ(send(5), answer::done);
    EXPECT_EQ(run_.held_bytes(), 5U);
    EXPECT_FALSE(kept_->await([&] { return !kept_->bytes.empty(); }, 50ms));
    run_.set_playing(true);
    EXPECT_TRUE(kept_->await_bytes(10));
}

TEST_F(StreamRun, DropEndsAWaitingConsumerAndTellsWhatWasLost) {
    kept_->wait = 1h;
    run_.set_playing(true);
    ASSERT_EQ(send(5), answer::done);
    ASSERT_TRUE(kept_->await([&] { return kept_->is_waiting; }));
    ASSERT_EQ(send(7), answer::done);
    EXPECT_EQ(run_.drop(), 7U);
    EXPECT_TRUE(kept_->bytes.empty());
    EXPECT_EQ(run_.reserve(1), answer::ending);
    EXPECT_EQ(run_.drop(), 7U) << "a second drop changes nothing";
}

TEST_F(StreamRun, DrainEndsEarlyWhenItsTimeIsUpAndWhenDropped) {
    kept_->wait = 1h;
    ASSERT_EQ(send(5), answer::done);
    EXPECT_FALSE(run_.drain(kForEver)) << "not playing";
    run_.set_playing(true);
    EXPECT_FALSE(run_.drain(1ms));
    auto draining = std::async(std::launch::async, [&] { return run_.drain(kForEver); });
    run_.drop();
    EXPECT_FALSE(draining.get());
}

TEST_F(StreamRun, DrainEndsEarlyWhenPaused) {
    kept_->wait = 1h;
    ASSERT_EQ(send(5), answer::done);
    run_.set_playing(true);
    auto draining = std::async(std::launch::async, [&] { return run_.drain(kForEver); });
    run_.set_playing(false);
    EXPECT_FALSE(draining.get());
}

TEST_F(StreamRun, StarvesTheConsumerWhileItPlaysAndNothingIsThere) {
    ASSERT_EQ(send(5), answer::done);
    EXPECT_FALSE(kept_->await([&] { return kept_->starved > 0; }, 30ms)) << "not playing";
    run_.set_playing(true);
    ASSERT_TRUE(kept_->await([&] { return kept_->starved > 0; }));
    EXPECT_EQ(kept_->bytes.size(), 5U) << "what there was came first";
    run_.set_playing(false);
    int before = 0;
    kept_->set([&] { before = kept_->starved + 1; });  // one may be under way
    EXPECT_FALSE(kept_->await([&] { return kept_->starved > before; }, 30ms));
}

TEST_F(StreamRun, TellsOnceThatLittleIsLeft) {
    for (int i = 0; i < 6; ++i) {
        ASSERT_EQ(send(100), answer::done);
    }
    run_.set_playing(true);
    ASSERT_TRUE(kept_->await_bytes(600));
    ASSERT_EQ(send(100), answer::done);  // above no half, so it does not count as a fall
    ASSERT_TRUE(kept_->await_bytes(700));
    run_.drop();
    const std::lock_guard<std::mutex> guard(mutex_);
    EXPECT_EQ(lows_, (std::vector<uint32_t>{200}));
}

}  // namespace
}  // namespace player_service
