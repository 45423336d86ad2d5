#include "tests/player_client/fake_player.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <unistd.h>

#include <binder/IMemory.h>

namespace {

std::atomic<int> live_players{0};

// How an argument stands in the journal.
struct bytes {
    bytes(const void* where, uint32_t count) : start(where), size(count) {}
    const void* start;
    uint32_t size;
};

std::string shown(bool flag) {
    return flag ? "true" : "false";
}
std::string shown(const std::string& text) {
    return text;
}
template <typename Number>
std::string shown(Number number) {
    return std::to_string(number);
}
std::string shown(const bytes& block) {
    if (block.start == nullptr) {
        return "null";
    }
    std::string hex = "<";
    char digits[3];
    for (uint32_t i = 0; i < block.size; ++i) {
        std::snprintf(digits, sizeof digits, "%02x", static_cast<const uint8_t*>(block.start)[i]);
        hex += digits;
    }
    return hex + ">";
}

std::string given(const void* pointer) {
    return pointer != nullptr ? "given" : "null";
}
std::string text(const char* words) {
    return words != nullptr ? words : "null";
}
std::string pointer(const void* client) {
    return std::to_string(reinterpret_cast<uintptr_t>(client));
}

void fill(void* block, uint32_t length) {
    for (uint32_t i = 0; block != nullptr && i < length; ++i) {
        static_cast<uint8_t*>(block)[i] = out_byte(i);
    }
}
void set(uint32_t* word, uint32_t value) {
    if (word != nullptr) {
        *word = value;
    }
}

class fake_player : public android::BnZuAvPlayer {
  public:
    explicit fake_player(std::string journal) : journal_(std::move(journal)) { ++live_players; }
    ~fake_player() override { --live_players; }

    int32_t SYS_Init() override { return record(1, __func__); }
    int32_t Init() override { return record(2, __func__); }
    int32_t DeInit() override { return record(3, __func__); }
    int32_t RegisterAcodecLib(const char* library) override {
        return record(4, __func__, text(library));
    }
    int32_t FoundSupportDecoder(uint32_t value, uint32_t* result) override {
        const int32_t status = record(5, __func__, value, given(result));
        set(result, first_out);
        return status;
    }
    int32_t GetDefaultConfig(void* config, int type, uint32_t length) override {
        const int32_t status = record(6, __func__, bytes(config, length), type, length);
        fill(config, length);
        return status;
    }
    int32_t Create(const void* attributes, uint32_t* player, uint32_t length) override {
        const int32_t status =
            record(7, __func__, bytes(attributes, length), given(player), length);
        set(player, first_out);
        return status;
    }
    int32_t Destroy(uint32_t player) override { return record(8, __func__, player); }
    int32_t RegisterEvent64(uint32_t player, int event,
                            const android::sp<android::IZuAvplayerObserver>& observer) override {
        {
            const std::lock_guard<std::mutex> hold(lock_);
            event_observer_ = observer;
        }
        return record(9, __func__, player, event, given(observer.get()));
    }
    int32_t GetAttr(uint32_t player, int id, void* attribute, uint32_t length) override {
        const int32_t status = record(10, __func__, player, id, bytes(attribute, length), length);
        fill(attribute, length);
        return status;
    }
    int32_t SetAttr(uint32_t player, int id, const void* attribute, uint32_t length) override {
        return record(11, __func__, player, id, bytes(attribute, length), length);
    }
    int32_t GetAdecOutFrameInfo(uint32_t player, uint32_t* first, uint32_t* second) override {
        const int32_t status = record(12, __func__, player, given(first), given(second));
        set(first, first_out);
        set(second, second_out);
        return status;
    }
    int32_t SetAdecOutBufSize(uint32_t player, uint32_t size) override {
        return record(13, __func__, player, size);
    }
    int32_t ChnOpen(uint32_t player, int channel, const void* parameters,
                    uint32_t length) override {
        return record(14, __func__, player, channel, bytes(parameters, length), length);
    }
    int32_t ChnClose(uint32_t player, int channel) override {
        return record(15, __func__, player, channel);
    }
    int32_t GetBuf(uint32_t player, int buffer, uint32_t requested_bytes, uint32_t value) override {
        return record(16, __func__, player, buffer, requested_bytes, value);
    }
    int32_t PutBufEx(uint32_t player, int buffer, uint32_t valid_bytes, uint32_t pts_ms) override {
        // The chunk itself is in the shared block.
        const void* const chunk = block_ != nullptr ? block_->pointer() : nullptr;
        return record(17, __func__, player, buffer, valid_bytes, pts_ms, bytes(chunk, valid_bytes));
    }
    int32_t Start(uint32_t player, int channel, const void* option, uint32_t length) override {
        return record(18, __func__, player, channel, bytes(option, length), length);
    }
    int32_t Stop(uint32_t player, int channel, const void* option, uint32_t length) override {
        return record(19, __func__, player, channel, bytes(option, length), length);
    }
    int32_t Pause(uint32_t player, const void* option, uint32_t length) override {
        return record(20, __func__, player, bytes(option, length), length);
    }
    int32_t Resume(uint32_t player, const void* option, uint32_t length) override {
        return record(21, __func__, player, bytes(option, length), length);
    }
    int32_t GetStreamInfo(uint32_t player, void* info, uint32_t length) override {
        const int32_t status = record(22, __func__, player, bytes(info, length), length);
        fill(info, length);
        return status;
    }
    int32_t SetTunnelMode(uint32_t player, int value, bool enable) override {
        const int32_t status = record(23, __func__, player, value, enable);
        return journal_.empty() ? status : do_what_is_asked(status, value);
    }
    int32_t SetHDRInfo(uint32_t player, const void* info, uint32_t length, bool flag,
                       uint32_t value) override {
        return record(24, __func__, player, bytes(info, length), length, flag, value);
    }
    int32_t GetHDRInfo(uint32_t player, void* info, uint32_t length) override {
        const int32_t status = record(25, __func__, player, bytes(info, length), length);
        fill(info, length);
        return status;
    }
    int32_t SetAdecAttr(uint32_t player, uint32_t u32AdecType, uint16_t nChannels,
                        uint32_t nSamplesPerSec, int s32BitSample) override {
        return record(26, __func__, player, u32AdecType, nChannels, nSamplesPerSec, s32BitSample);
    }
    int32_t SetSndLatency(uint32_t sound, uint32_t latency) override {
        return record(27, __func__, sound, latency);
    }
    int32_t SndInit(uint32_t sound) override { return record(28, __func__, sound); }
    int32_t SndDeInit(uint32_t sound) override { return record(29, __func__, sound); }
    int32_t GetTrackDefAttr(uint32_t type, void* attributes, uint32_t length) override {
        const int32_t status = record(30, __func__, type, bytes(attributes, length), length);
        fill(attributes, length);
        return status;
    }
    int32_t CreateTrack(uint32_t sound, const void* attributes, uint32_t* track,
                        uint32_t length) override {
        const int32_t status =
            record(31, __func__, sound, bytes(attributes, length), given(track), length);
        set(track, first_out);
        return status;
    }
    int32_t DestroyTrack(uint32_t track) override { return record(32, __func__, track); }
    int32_t GetDelayMs(uint32_t track, uint32_t* delay_ms) override {
        const int32_t status = record(33, __func__, track, given(delay_ms));
        set(delay_ms, first_out);
        return status;
    }
    int32_t AttachSnd(uint32_t track, uint32_t source) override {
        return record(34, __func__, track, source);
    }
    int32_t DetachSnd(uint32_t track, uint32_t source) override {
        return record(35, __func__, track, source);
    }
    int32_t VO_Init(int value) override { return record(36, __func__, value); }
    int32_t VO_DeInit() override { return record(37, __func__); }
    int32_t VO_CreateWindow(const void* attributes, uint32_t* window, uint32_t length) override {
        const int32_t status =
            record(38, __func__, bytes(attributes, length), given(window), length);
        set(window, first_out);
        return status;
    }
    int32_t VO_AttachWindow(uint32_t window, uint32_t source) override {
        return record(39, __func__, window, source);
    }
    int32_t VO_SetWindowEnable(uint32_t window, bool enable) override {
        return record(40, __func__, window, enable);
    }
    int32_t VO_DetachWindow(uint32_t window, uint32_t source) override {
        return record(41, __func__, window, source);
    }
    int32_t VO_DestroyWindow(uint32_t window) override { return record(42, __func__, window); }
    int32_t SetShareMemory(const android::sp<android::IMemory>& block) override {
        {
            const std::lock_guard<std::mutex> hold(lock_);
            block_ = block;
        }
        return record(44, __func__, given(block.get()));
    }
    int32_t FlushStream(uint32_t player, const void* option, uint32_t length) override {
        return record(45, __func__, player, bytes(option, length), length);
    }
    int32_t VO_SetRotation(uint32_t window, uint32_t rotation) override {
        return record(46, __func__, window, rotation);
    }
    int32_t GetAudioPlaytime(uint32_t player, uint32_t* first, uint32_t* second) override {
        const int32_t status = record(47, __func__, player, given(first), given(second));
        set(first, first_out);
        set(second, second_out);
        return status;
    }
    int32_t SndGetMsFeature(uint32_t value) override { return record(48, __func__, value); }
    int32_t RM_init() override { return record(49, __func__); }
    int32_t RM_Deinit() override { return record(50, __func__); }
    int32_t RM_RegisterCallback(void* client,
                                const android::sp<android::IZuAvplayerObserver>& observer,
                                uint32_t value) override {
        {
            const std::lock_guard<std::mutex> hold(lock_);
            rm_observer_ = observer;
        }
        return record(51, __func__, pointer(client), given(observer.get()), value);
    }
    int32_t RM_UnRegisterCallback(void* client) override {
        return record(52, __func__, pointer(client));
    }
    int32_t CheckCloseState(uint32_t value, uint32_t* state) override {
        const int32_t status = record(53, __func__, value, given(state));
        set(state, first_out);
        return status;
    }

  private:
    // Writes the call and its arguments into the journal; answers the operation's status.
    template <typename... Arguments>
    int32_t record(int place, const char* name, const Arguments&... arguments) {
        if (!journal_.empty()) {
            std::string line = name;
            ((line += ' ', line += shown(arguments)), ...);
            const std::lock_guard<std::mutex> hold(lock_);
            std::ofstream(journal_, std::ios::app) << line << '\n';
        }
        return status_of(place);
    }
    int32_t do_what_is_asked(int32_t status, int value) {
        android::sp<android::IZuAvplayerObserver> for_events;
        android::sp<android::IZuAvplayerObserver> for_rm;
        {
            const std::lock_guard<std::mutex> hold(lock_);
            for_events = event_observer_;
            for_rm = rm_observer_;
        }
        switch (value) {
            case ask_player_event: {
                char words[] = "event";
                android::send_event(for_events, 7, words, sizeof words, 0);
                break;
            }
            case ask_large_event: {
                std::string data(android::kZuAvPlayerMaxBlockBytes + 1, 'x');
                android::send_event(for_events, 7, data.data(), static_cast<uint32_t>(data.size()),
                                    0);
                break;
            }
            case ask_rm_event: {
                uint32_t word = 0x12345678;
                android::send_event(for_rm, 8, &word, sizeof word, 1);
                break;
            }
            case ask_stamp_block:
                std::memset(block_->pointer(), 0x5A, block_->size());
                break;
            case ask_hang:
                for (;;) {
                    pause();
                }
            case ask_exit:
                _exit(0);
            case ask_live_players:
                return live_players;
            default:
                break;
        }
        return status;
    }

    const std::string journal_;
    std::mutex lock_;
    android::sp<android::IZuAvplayerObserver> event_observer_;
    android::sp<android::IZuAvplayerObserver> rm_observer_;
    android::sp<android::IMemory> block_;
};

}  // namespace

android::sp<android::IZuAvPlayer> fake_player_service::getPlayer() {
    return empty_players_ ? nullptr : new fake_player(journal_);
}
