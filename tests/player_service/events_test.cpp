// What observers are told, and that they hold nobody up.
#include <algorithm>
#include <array>
#include <condition_variable>
#include <functional>
#include <future>
#include <mutex>

#include "tests/player_service/service_fixture.h"

namespace player_service {
namespace {

using namespace android;

constexpr auto kLimit = std::chrono::seconds(30);

struct told {
    int source;
    int message;
    uint32_t word;
};
bool operator==(const told& a, const told& b) {
    return a.source == b.source && a.message == b.message && a.word == b.word;
}
std::ostream& operator<<(std::ostream& stream, const told& event) {
    return stream << event.source << ":" << event.message << ":" << event.word;
}

class listener : public BnZuAvplayerObserver {
  public:
    void onMessage(int msg, void* data, uint32_t len, int source) override {
        std::unique_lock<std::mutex> lock(mutex_);
        uint32_t word = 0;
        EXPECT_EQ(len, sizeof word);
        std::memcpy(&word, data, sizeof word);
        events_.push_back({source, msg, word});
        changed_.notify_all();
        changed_.wait_for(lock, kLimit, [this] { return !blocked_; });
        std::function<void()> action;
        action.swap(action_);
        lock.unlock();
        if (action) {
            action();
        }
    }

    // Waits for so many events: all there are then.
    std::vector<told> await(size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        EXPECT_TRUE(changed_.wait_for(lock, kLimit, [&] { return events_.size() >= count; }));
        return events_;
    }
    void block(bool blocked) {
        const std::lock_guard<std::mutex> guard(mutex_);
        blocked_ = blocked;
        changed_.notify_all();
    }
    void do_at_next(std::function<void()> action) {
        const std::lock_guard<std::mutex> guard(mutex_);
        action_ = std::move(action);
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<told> events_;
    bool blocked_ = false;
    std::function<void()> action_;
};

class Events : public service_test {
  protected:
    void listen(uint32_t player, int event) {
        EXPECT_EQ(client_->RegisterEvent64(player, event, listener_), 0);
    }
    static told of_player(int message, uint32_t word) { return {0, message, word}; }
    static told of_resources(uint32_t players) { return {1, ZU_RM_EVENT_PLAYERS, players}; }

    const sp<listener> listener_ = new listener;
};

TEST_F(Events, TellStatesAndDroppedBytesInTheirOrder) {
    const uint32_t player = client_.create_player();
    listen(player, ZU_EVENT_STATE);
    listen(player, ZU_EVENT_FLUSHED);
    ASSERT_EQ(client_->ChnOpen(player, ZU_CHN_AUD, nullptr, 0), 0);
    ASSERT_EQ(client_->Start(player, ZU_CHN_AUD, nullptr, 0), 0);
    ASSERT_EQ(client_.send(player, 100), 0);
    ASSERT_EQ(client_->FlushStream(player, nullptr, 0), 0);
    ASSERT_EQ(client_->Resume(player, nullptr, 0), 0);
    ASSERT_EQ(client_->Resume(player, nullptr, 0), 0);
    ASSERT_EQ(client_->Pause(player, nullptr, 0), 0);
    ASSERT_EQ(client_.send(player, 60), 0);
    ASSERT_EQ(client_->ChnClose(player, ZU_CHN_AUD), 0);
    EXPECT_EQ(listener_->await(5),
              (std::vector<told>{of_player(ZU_EVENT_FLUSHED, 100), of_player(ZU_EVENT_STATE, 1),
                                 of_player(ZU_EVENT_STATE, 2), of_player(ZU_EVENT_FLUSHED, 60),
                                 of_player(ZU_EVENT_STATE, 0)}));
}

TEST_F(Events, TellOfDamageAndOfLittleLeft) {
    const uint32_t player = client_.create_player();
    listen(player, ZU_EVENT_ERROR);
    listen(player, ZU_EVENT_BUFFER_LOW);
    ASSERT_EQ(client_->ChnOpen(player, ZU_CHN_AUD, nullptr, 0), 0);
    ASSERT_EQ(client_->SetAdecAttr(player, ZU_ADEC_AC3, 2, 48000, 0), 0);
    ASSERT_EQ(client_->Start(player, ZU_CHN_AUD, nullptr, 0), 0);
    for (int i = 0; i < 16; ++i) {
        ASSERT_EQ(client_.send(player, 1024), 0);  // no sync word in it
    }
    ASSERT_EQ(client_->Resume(player, nullptr, 0), 0);
    EXPECT_EQ(client_.stop_at_end(player), 0);
    const std::vector<told> events = listener_->await(2);
    EXPECT_EQ(
        std::count(events.begin(), events.end(), of_player(ZU_EVENT_ERROR, ZU_ERR_BAD_STREAM)), 1);
    EXPECT_EQ(std::count(events.begin(), events.end(), of_player(ZU_EVENT_BUFFER_LOW, 3072)), 1);
}

TEST_F(Events, EndWithAnEmptyReferenceAndRefuseUnknownOnes) {
    const uint32_t player = client_.create_player();
    listen(player, ZU_EVENT_STATE);
    EXPECT_EQ(client_->RegisterEvent64(player, ZU_EVENT_STATE, nullptr), 0);
    EXPECT_EQ(client_->RegisterEvent64(player, 0, listener_), code(ZU_ERR_INVALID_ARGUMENT));
    EXPECT_EQ(client_->RegisterEvent64(player, 5, listener_), code(ZU_ERR_INVALID_ARGUMENT));
    ASSERT_EQ(client_->ChnOpen(player, ZU_CHN_AUD, nullptr, 0), 0);
    ASSERT_EQ(client_->Start(player, ZU_CHN_AUD, nullptr, 0), 0);
    ASSERT_EQ(client_->Resume(player, nullptr, 0), 0);
    listen(player, ZU_EVENT_STATE);
    ASSERT_EQ(client_->Pause(player, nullptr, 0), 0);
    EXPECT_EQ(listener_->await(1), (std::vector<told>{of_player(ZU_EVENT_STATE, 2)}));
}

TEST_F(Events, OfASlowClientHoldUpNobodyAndDoNotPileUp) {
    const uint32_t player = client_.create_player();
    listen(player, ZU_EVENT_STATE);
    ASSERT_EQ(client_->ChnOpen(player, ZU_CHN_AUD, nullptr, 0), 0);
    ASSERT_EQ(client_->Start(player, ZU_CHN_AUD, nullptr, 0), 0);
    listener_->block(true);
    ASSERT_EQ(client_->Resume(player, nullptr, 0), 0);
    ASSERT_EQ(listener_->await(1).size(), 1U);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(client_->Pause(player, nullptr, 0), 0);
        ASSERT_EQ(client_->Resume(player, nullptr, 0), 0);
    }
    ASSERT_EQ(client_->Stop(player, ZU_CHN_AUD, nullptr, 0), 0);
    // Another client is told meanwhile.
    const test_client other(service_->getPlayer());
    const sp<listener> others = new listener;
    ASSERT_EQ(other->RM_init(), 0);
    ASSERT_EQ(other->RM_RegisterCallback(nullptr, others, 0), 0);
    EXPECT_EQ(others->await(1), (std::vector<told>{of_resources(1)}));

    listener_->block(false);
    const std::vector<told> events = listener_->await(1 + event_queue::kMostWaiting);
    EXPECT_EQ(events.size(), 1 + event_queue::kMostWaiting);
    EXPECT_EQ(events.back(), of_player(ZU_EVENT_STATE, 0)) << "the latest is kept";
}

TEST_F(Events, OfResourcesTellThePlayersOfAllClients) {
    int first = 0;
    EXPECT_EQ(client_->RM_RegisterCallback(&first, listener_, 0), code(ZU_ERR_INVALID_STATE));
    ASSERT_EQ(client_->RM_init(), 0);
    EXPECT_EQ(client_->RM_RegisterCallback(&first, nullptr, 0), code(ZU_ERR_INVALID_ARGUMENT));
    ASSERT_EQ(client_->RM_RegisterCallback(&first, listener_, 0), 0);
    ASSERT_EQ(listener_->await(1).size(), 1U);
    client_.create_player();
    test_client other(service_->getPlayer());
    other.create_player();
    ASSERT_EQ(listener_->await(3).size(), 3U);
    other.leave();
    EXPECT_EQ(listener_->await(4), (std::vector<told>{of_resources(0), of_resources(1),
                                                      of_resources(2), of_resources(1)}));
    EXPECT_EQ(client_->RM_UnRegisterCallback(&other), code(ZU_ERR_INVALID_ARGUMENT));
    ASSERT_EQ(client_->RM_UnRegisterCallback(&first), 0);
    EXPECT_EQ(client_->RM_UnRegisterCallback(&first), code(ZU_ERR_INVALID_ARGUMENT));
    client_.create_player();
    std::array<int, client::kMostListeners> names;
    for (int& name : names) {
        ASSERT_EQ(client_->RM_RegisterCallback(&name, listener_, 0), 0);
    }
    EXPECT_EQ(client_->RM_RegisterCallback(&other, listener_, 0), code(ZU_ERR_NO_RESOURCE));
    EXPECT_EQ(listener_->await(5)[4], of_resources(2)) << "nothing came while unregistered";
    EXPECT_EQ(client_->RM_Deinit(), 0);
}

TEST_F(Events, ForgetTheirObserversWithTheClient) {
    test_client doomed(service_->getPlayer());
    const uint32_t player = doomed.create_running(ZU_ADEC_PCM, 2, 48000);
    ASSERT_EQ(doomed->RegisterEvent64(player, ZU_EVENT_STATE, listener_), 0);
    ASSERT_EQ(doomed->RM_init(), 0);
    ASSERT_EQ(doomed->RM_RegisterCallback(nullptr, listener_, 0), 0);
    doomed.leave();
    client_.create_player();
    EXPECT_EQ(listener_->getStrongCount(), 1);
}

TEST_F(Events, MayDropTheLastReferenceToTheirClient) {
    auto doomed = std::make_unique<test_client>(service_->getPlayer());
    const uint32_t player = doomed->create_running(ZU_ADEC_PCM, 2, 48000);
    ASSERT_EQ((*doomed)->RegisterEvent64(player, ZU_EVENT_STATE, listener_), 0);
    std::promise<void> returned;
    std::promise<void> gone;
    listener_->do_at_next([&] {
        returned.get_future().wait();
        doomed.reset();
        gone.set_value();
    });
    ASSERT_EQ((*doomed)->Pause(player, nullptr, 0), 0);
    returned.set_value();
    ASSERT_EQ(gone.get_future().wait_for(kLimit), std::future_status::ready);
    EXPECT_EQ(context_->resource_counts.now().clients, 1U);
}

}  // namespace
}  // namespace player_service
