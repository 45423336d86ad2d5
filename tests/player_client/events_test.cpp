#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

#include "player_client/event_observer.h"
#include "player_client/player_functions.h"
#include "tests/player_client/client_fixture.h"
#include "tests/player_client/flat_cases.h"

namespace {

constexpr const char* log_tag = "ZUAVPLAYER_ADP";

// What the callbacks got, in order.
class inbox {
  public:
    void put(const std::string& event) {
        const std::lock_guard<std::mutex> hold(lock_);
        events_.push_back(event);
        arrived_.notify_all();
    }
    // The next event; "nothing" where none comes.
    std::string next() {
        std::unique_lock<std::mutex> hold(lock_);
        if (!arrived_.wait_for(hold, std::chrono::seconds(30),
                               [this] { return !events_.empty(); })) {
            return "nothing";
        }
        std::string event = events_.front();
        events_.pop_front();
        return event;
    }
    bool empty() {
        const std::lock_guard<std::mutex> hold(lock_);
        return events_.empty();
    }

  private:
    std::mutex lock_;
    std::condition_variable arrived_;
    std::deque<std::string> events_;
};

inbox events;

int32_t first_callback(int32_t handle, int32_t msg, void* data) {
    events.put("first " + std::to_string(handle) + " " + std::to_string(msg) + " " +
               static_cast<const char*>(data));
    return -1;  // ignored
}
int32_t second_callback(int32_t handle, int32_t msg, void* /*data*/) {
    events.put("second " + std::to_string(handle) + " " + std::to_string(msg));
    return -1;
}
int32_t rm_callback(void* client, int32_t msg, int32_t value) {
    events.put("rm " + std::string(static_cast<const char*>(client)) + " " + std::to_string(msg) +
               " " + std::to_string(value));
    return -1;
}
int32_t other_rm_callback(void* /*client*/, int32_t msg, int32_t /*value*/) {
    events.put("other rm " + std::to_string(msg));
    return -1;
}

template <typename Function>
void* as_pointer(Function* function) {
    return reinterpret_cast<void*>(function);
}

char client_name[] = "me";
char other_name[] = "other";

class Events : public client_everywhere_test {
  protected:
    Events() { open(); }
    void ask_for(ask what) { ZUAVPLAYER_SetTunnelMode(handle_, 1, what, 0); }
};

INSTANTIATE_TEST_SUITE_P(, Events, testing::Values(where::here, where::elsewhere), place_name);

TEST_P(Events, OfPlayersReachTheirCallbackWithTheHandleAndTheData) {
    EXPECT_EQ(ZUAVPLAYER_RegisterEvent64(handle_, 41, 3, as_pointer(first_callback)), status_of(9));
    EXPECT_EQ(journal(), std::vector<std::string>{"RegisterEvent64 41 3 given"});
    ask_for(ask_player_event);
    EXPECT_EQ(events.next(), "first 41 7 event");
}

TEST_P(Events, ThatAreTooLargeAreToldInTheLogAndNotDelivered) {
    ZUAVPLAYER_RegisterEvent64(handle_, 41, 3, as_pointer(second_callback));
    const android::sp<android::IZuAvplayerObserver> observer = new android::AVObserver;
    std::vector<char> data(android::kZuAvPlayerMaxBlockBytes + 1);
    android::send_event(observer, 7, data.data(), static_cast<uint32_t>(data.size()), 0);
    EXPECT_EQ(log_.count_containing("event 7 with 261121 bytes of data is not delivered"), 1);
    ask_for(ask_large_event);
    ask_for(ask_player_event);
    EXPECT_EQ(events.next(), "second 41 7");
    EXPECT_TRUE(events.empty());
}

TEST_P(Events, OfAllPlayersGoToTheSecondCallbackOnceThereIsOne) {
    ZUAVPLAYER_RegisterEvent64(handle_, 41, 3, as_pointer(first_callback));
    ZUAVPLAYER_RegisterEvent64(handle_, 42, 4, as_pointer(second_callback));
    ask_for(ask_player_event);
    EXPECT_EQ(events.next(), "second 42 7");
}

TEST_P(Events, OfTheResourceManagerCarryTheClientAndTheWord) {
    EXPECT_EQ(ZUAVPLAYER_RM_RegisterCallback(handle_, client_name, as_pointer(rm_callback), 6),
              status_of(51));
    // A first registration replaces nothing, and says so.
    EXPECT_EQ(log_.lines(),
              (std::vector<log_line>{{ANDROID_LOG_ERROR, log_tag, "mRmNotify is NULL"},
                                     {ANDROID_LOG_ERROR, log_tag, "mRmClient is NULL"}}));
    ask_for(ask_rm_event);
    EXPECT_EQ(events.next(), "rm me 8 305419896");

    log_.clear();
    ZUAVPLAYER_RM_RegisterCallback(handle_, other_name, as_pointer(other_rm_callback), 6);
    EXPECT_EQ(log_.lines(), std::vector<log_line>{});
    ask_for(ask_rm_event);
    EXPECT_EQ(events.next(), "other rm 8");
}

TEST_P(Events, OfTheResourceManagerEndWithTheRegistration) {
    ZUAVPLAYER_RegisterEvent64(handle_, 41, 3, as_pointer(second_callback));
    ZUAVPLAYER_RM_RegisterCallback(handle_, client_name, as_pointer(rm_callback), 6);
    log_.clear();
    journal();
    EXPECT_EQ(ZUAVPLAYER_RM_UnRegisterCallback(handle_, client_name, as_pointer(rm_callback)),
              status_of(52));
    EXPECT_EQ(log_.lines(), std::vector<log_line>{});
    EXPECT_EQ(journal(),
              std::vector<std::string>{"RM_UnRegisterCallback " +
                                       std::to_string(reinterpret_cast<uintptr_t>(client_name))});
    // The service does not care and sends on; events of one sender keep their order.
    ask_for(ask_rm_event);
    ask_for(ask_player_event);
    EXPECT_EQ(events.next(), "second 41 7");
    EXPECT_TRUE(events.empty());
}

TEST_P(Events, NeedAnObserverBeforeTheyCanBeUnregistered) {
    EXPECT_EQ(ZUAVPLAYER_RM_UnRegisterCallback(handle_, client_name, as_pointer(rm_callback)), -19);
    EXPECT_EQ(log_.lines(),
              (std::vector<log_line>{{ANDROID_LOG_WARN, log_tag,
                                      "RM_UnRegisterCallback observer has not been inited"}}));
    EXPECT_EQ(journal(), std::vector<std::string>{});
}

// What an observer is handed, in one place: any source, any length.
TEST(AVObserver, HandsOnOnlyWhatItsSourceHasACallbackFor) {
    log_recorder log;
    const android::sp<android::AVObserver> observer = new android::AVObserver;
    int32_t words[2] = {5, 6};
    const auto send_all = [&] {
        for (const int source : {-1, 0, 1, 2}) {
            observer->onMessage(9, words, sizeof words, source);
        }
    };
    send_all();
    EXPECT_TRUE(events.empty());

    observer->setNotifyFunc(0, client_name, as_pointer(rm_callback),
                            static_cast<android::ZuAVPLAYER_EVENT_SOURCE_E>(2));
    send_all();
    EXPECT_TRUE(events.empty());

    observer->setNotifyFunc(0, client_name, as_pointer(rm_callback),
                            android::ZuAVPLAYER_EVENT_SOURCE_RM);
    send_all();
    EXPECT_EQ(events.next(), "rm me 9 5");
    EXPECT_TRUE(events.empty());

    observer->setNotifyFunc(3, client_name, as_pointer(second_callback),
                            android::ZuAVPLAYER_EVENT_SOURCE_AVPLAY);
    send_all();
    EXPECT_EQ(events.next(), "second 3 9");
    EXPECT_EQ(events.next(), "rm me 9 5");
    EXPECT_TRUE(events.empty());

    log.clear();
    observer->onMessage(9, words, 3, 1);
    observer->onMessage(9, nullptr, 4, 1);
    EXPECT_TRUE(events.empty());
    EXPECT_EQ(log.count_containing("RM message 0x9"), 2);
    observer->onMessage(9, words, 4, 1);
    EXPECT_EQ(events.next(), "rm me 9 5");
}

}  // namespace
