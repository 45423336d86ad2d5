// A player service that does nothing but keep a journal of its calls: a line a call in a file, with
// every argument, so that a test reads the same account whether the service ran in its own process
// or in another.
//
// The operation with transaction code n answers status_of(n). Out structures are filled with
// out_byte(0), out_byte(1)... and out words with first_out and second_out. A few arguments ask for
// more: see `enum ask`.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <utility>

#include <binder/IMemory.h>
#include <zuavplayer/IZuAvPlayerService.h>

constexpr int32_t status_of(int place) {
    return 0x4000 + place;
}
constexpr uint32_t first_out = 0x11111111;
constexpr uint32_t second_out = 0x22222222;
constexpr uint8_t out_byte(size_t place) {
    return static_cast<uint8_t>(0xA0 + place);
}

// The value of SetTunnelMode.
enum ask : int {
    ask_nothing = 0,
    ask_player_event,  // message 7 with the text "event" to the observer of RegisterEvent64
    ask_large_event,   // the same with more data than an event may have
    ask_rm_event,      // message 8 with the word 0x12345678 to the observer of RM_RegisterCallback
    ask_stamp_block,   // fills the shared block with 0x5A
    ask_hang,          // never comes back
    ask_exit,          // the service dies here
    ask_live_players,  // answers how many players there are
};

class fake_player : public android::BnZuAvPlayer {
  public:
    // An empty name: no journal.
    explicit fake_player(std::string journal);
    ~fake_player() override;

    int32_t SYS_Init() override;
    int32_t Init() override;
    int32_t DeInit() override;
    int32_t RegisterAcodecLib(const char* library) override;
    int32_t FoundSupportDecoder(uint32_t value, uint32_t* result) override;
    int32_t GetDefaultConfig(void* config, int type, uint32_t length) override;
    int32_t Create(const void* attributes, uint32_t* player, uint32_t length) override;
    int32_t Destroy(uint32_t player) override;
    int32_t RegisterEvent64(uint32_t player, int event,
                            const android::sp<android::IZuAvplayerObserver>& observer) override;
    int32_t GetAttr(uint32_t player, int id, void* attribute, uint32_t length) override;
    int32_t SetAttr(uint32_t player, int id, const void* attribute, uint32_t length) override;
    int32_t GetAdecOutFrameInfo(uint32_t player, uint32_t* first, uint32_t* second) override;
    int32_t SetAdecOutBufSize(uint32_t player, uint32_t size) override;
    int32_t ChnOpen(uint32_t player, int channel, const void* parameters, uint32_t length) override;
    int32_t ChnClose(uint32_t player, int channel) override;
    int32_t GetBuf(uint32_t player, int buffer, uint32_t requested_bytes, uint32_t value) override;
    int32_t PutBufEx(uint32_t player, int buffer, uint32_t valid_bytes, uint32_t pts_ms) override;
    int32_t Start(uint32_t player, int channel, const void* option, uint32_t length) override;
    int32_t Stop(uint32_t player, int channel, const void* option, uint32_t length) override;
    int32_t Pause(uint32_t player, const void* option, uint32_t length) override;
    int32_t Resume(uint32_t player, const void* option, uint32_t length) override;
    int32_t GetStreamInfo(uint32_t player, void* info, uint32_t length) override;
    int32_t SetTunnelMode(uint32_t player, int value, bool enable) override;
    int32_t SetHDRInfo(uint32_t player, const void* info, uint32_t length, bool flag,
                       uint32_t value) override;
    int32_t GetHDRInfo(uint32_t player, void* info, uint32_t length) override;
    int32_t SetAdecAttr(uint32_t player, uint32_t u32AdecType, uint16_t nChannels,
                        uint32_t nSamplesPerSec, int s32BitSample) override;
    int32_t SetSndLatency(uint32_t sound, uint32_t latency) override;
    int32_t SndInit(uint32_t sound) override;
    int32_t SndDeInit(uint32_t sound) override;
    int32_t GetTrackDefAttr(uint32_t type, void* attributes, uint32_t length) override;
    int32_t CreateTrack(uint32_t sound, const void* attributes, uint32_t* track,
                        uint32_t length) override;
    int32_t DestroyTrack(uint32_t track) override;
    int32_t GetDelayMs(uint32_t track, uint32_t* delay_ms) override;
    int32_t AttachSnd(uint32_t track, uint32_t source) override;
    int32_t DetachSnd(uint32_t track, uint32_t source) override;
    int32_t VO_Init(int value) override;
    int32_t VO_DeInit() override;
    int32_t VO_CreateWindow(const void* attributes, uint32_t* window, uint32_t length) override;
    int32_t VO_AttachWindow(uint32_t window, uint32_t source) override;
    int32_t VO_SetWindowEnable(uint32_t window, bool enable) override;
    int32_t VO_DetachWindow(uint32_t window, uint32_t source) override;
    int32_t VO_DestroyWindow(uint32_t window) override;
    int32_t SetShareMemory(const android::sp<android::IMemory>& block) override;
    int32_t FlushStream(uint32_t player, const void* option, uint32_t length) override;
    int32_t VO_SetRotation(uint32_t window, uint32_t rotation) override;
    int32_t GetAudioPlaytime(uint32_t player, uint32_t* first, uint32_t* second) override;
    int32_t SndGetMsFeature(uint32_t value) override;
    int32_t RM_init() override;
    int32_t RM_Deinit() override;
    int32_t RM_RegisterCallback(void* client,
                                const android::sp<android::IZuAvplayerObserver>& observer,
                                uint32_t value) override;
    int32_t RM_UnRegisterCallback(void* client) override;
    int32_t CheckCloseState(uint32_t value, uint32_t* state) override;

  private:
    // Writes the call and its arguments into the journal; answers the operation's status.
    template <typename... Arguments>
    int32_t record(int place, const char* name, const Arguments&... arguments);
    void write_journal(const std::string& line);
    int32_t do_what_is_asked(int32_t status, int value);

    const std::string journal_;
    std::mutex lock_;
    android::sp<android::IZuAvplayerObserver> event_observer_;
    android::sp<android::IZuAvplayerObserver> rm_observer_;
    android::sp<android::IMemory> block_;
};

// Gives out fake players, all with one journal.
class fake_player_service : public android::BnZuAvPlayerService {
  public:
    explicit fake_player_service(std::string journal, bool empty_players = false)
        : journal_(std::move(journal)), empty_players_(empty_players) {}
    android::sp<android::IZuAvPlayer> getPlayer() override;

  private:
    const std::string journal_;
    const bool empty_players_;
};
