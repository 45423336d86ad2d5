// A service in this process that drops the sound or writes it to out.wav, as fast as it can, and
// one client with a shared block of 8192 bytes.
#pragma once

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

#include <binder/MemoryBase.h>
#include <binder/MemoryHeapBase.h>

#include "player_service/service.h"
#include "tests/support/scratch_dir.h"

constexpr uint32_t kBlockBytes = 8192;
constexpr uint32_t kAllOnes = 0xFFFFFFFF;

inline int32_t code(uint32_t error) {
    return android::zu_status(error);
}

// A client of a service, with its block. Calls by name: client->Create(...).
class test_client {
  public:
    explicit test_client(const android::sp<android::IZuAvPlayer>& player) : player_(player) {
        EXPECT_EQ(player_->SYS_Init(), 0);
        EXPECT_EQ(player_->Init(), 0);
        EXPECT_EQ(player_->SetShareMemory(memory_), 0);
    }
    android::IZuAvPlayer* operator->() const { return player_.get(); }
    void leave() { player_.clear(); }

    uint32_t create_player() const {
        android::zu_player_config config;
        uint32_t player = 0;
        EXPECT_EQ(player_->GetDefaultConfig(&config, android::ZU_CONFIG_PLAYER, sizeof config), 0);
        EXPECT_EQ(player_->Create(&config, &player, sizeof config), 0);
        return player;
    }
    // Needs SndInit.
    uint32_t create_track() const {
        android::zu_track_attr attributes;
        uint32_t track = 0;
        EXPECT_EQ(
            player_->GetTrackDefAttr(android::ZU_TRACK_MASTER, &attributes, sizeof attributes), 0);
        EXPECT_EQ(player_->CreateTrack(android::ZU_SND_0, &attributes, &track, sizeof attributes),
                  0);
        return track;
    }
    int32_t get_buf(uint32_t player, uint32_t bytes) const {
        return player_->GetBuf(player, android::ZU_BUF_AUD, bytes, 0);
    }
    int32_t put_buf(uint32_t player, uint32_t bytes, uint32_t pts_ms = android::ZU_PTS_NONE) const {
        return player_->PutBufEx(player, android::ZU_BUF_AUD, bytes, pts_ms);
    }
    // One chunk without waiting for room: what GetBuf or PutBufEx answers.
    int32_t send(uint32_t player, const void* bytes, uint32_t count,
                 uint32_t pts_ms = android::ZU_PTS_NONE) const {
        if (const int32_t error = get_buf(player, count); error != 0) {
            return error;
        }
        std::memcpy(memory_->pointer(), bytes, count);
        return put_buf(player, count, pts_ms);
    }
    int32_t send(uint32_t player, uint32_t count) const {
        return send(player, std::vector<uint8_t>(count).data(), count);
    }
    // All of it in chunks of 1024, waiting for room as a client does.
    template <typename T>
    void feed(uint32_t player, const std::vector<T>& data) const {
        const auto* bytes = reinterpret_cast<const uint8_t*>(data.data());
        const size_t size = data.size() * sizeof(T);
        for (size_t at = 0; at < size; at += 1024) {
            const auto count = static_cast<uint32_t>(std::min<size_t>(1024, size - at));
            int32_t answer = send(player, bytes + at, count);
            while (answer == code(android::ZU_ERR_BUF_FULL)) {
                usleep(100);
                answer = send(player, bytes + at, count);
            }
            ASSERT_EQ(answer, 0);
        }
    }
    // Opened, with a track, in this format, started and resumed.
    uint32_t create_running(uint32_t type, uint16_t channels, uint32_t rate_hz) const {
        const uint32_t player = create_player();
        EXPECT_EQ(player_->SndInit(android::ZU_SND_0), 0);
        EXPECT_EQ(player_->ChnOpen(player, android::ZU_CHN_AUD, nullptr, 0), 0);
        EXPECT_EQ(player_->AttachSnd(create_track(), player), 0);
        EXPECT_EQ(player_->SetAdecAttr(player, type, channels, rate_hz, 0), 0);
        EXPECT_EQ(player_->Start(player, android::ZU_CHN_AUD, nullptr, 0), 0);
        EXPECT_EQ(player_->Resume(player, nullptr, 0), 0);
        return player;
    }
    // Stops once all has been played.
    int32_t stop_at_end(uint32_t player) const {
        const android::zu_stop_option option = {0, 1};
        return player_->Stop(player, android::ZU_CHN_AUD, &option, sizeof option);
    }
    android::zu_stream_info info(uint32_t player) const {
        android::zu_stream_info info;
        std::memset(&info, 0xA5, sizeof info);
        EXPECT_EQ(player_->GetStreamInfo(player, &info, sizeof info), 0);
        return info;
    }

  private:
    const android::sp<android::IMemory> memory_ =
        new android::MemoryBase(new android::MemoryHeapBase(kBlockBytes), 0, kBlockBytes);
    android::sp<android::IZuAvPlayer> player_;
};

class service_test : public testing::Test {
  protected:
    explicit service_test(const player_service::output_target& target = {}, bool real_pace = false)
        : context_(std::make_shared<player_service::service_context>(target, real_pace)) {}

    const scratch_dir folder_;
    const std::shared_ptr<player_service::service_context> context_;
    const android::sp<player_service::service> service_ = new player_service::service(context_);
    test_client client_{service_->getPlayer()};
};
