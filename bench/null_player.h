// A player service that takes everything and does nothing; a test may look at what it was handed.
#pragma once

#include <cstdint>
#include <string>

#include <binder/IMemory.h>
#include <zuavplayer/IZuAvPlayerService.h>

class null_player : public android::BnZuAvPlayer {
  public:
    using memory = android::sp<android::IMemory>;
    using observer = android::sp<android::IZuAvplayerObserver>;
    using word = uint32_t;

    explicit null_player(std::string** kept) : kept_(kept) {}

    int32_t GetBuf(word, int, word, word) override { return 0; }
    int32_t PutBufEx(word, int, word bytes, word) override {
        taken_bytes_ += bytes;
        if (*kept_ != nullptr) {
            (*kept_)->append(bytes_, bytes);
        }
        return 0;
    }
    int32_t SetShareMemory(const memory& block) override {
        block_ = block;
        bytes_ = block != nullptr ? static_cast<const char*>(block->pointer()) : nullptr;
        return 0;
    }
    // How many bytes the player was handed, and what the last of them would be in one chunk.
    int32_t GetAudioPlaytime(word, word* bytes, word* last) override {
        *bytes = taken_bytes_;
        *last = static_cast<uint8_t>(bytes_[taken_bytes_ - 1]);
        return 0;
    }
    int32_t GetAdecOutFrameInfo(word, word* first, word*) override {
        *first = decoded_frames;
        return 0;
    }
    static constexpr word decoded_frames = 4711;

    int32_t Create(const void*, word* player, word) override { return *player = 1, 0; }
    int32_t CreateTrack(word, const void*, word* track, word) override { return *track = 1, 0; }

    int32_t SYS_Init() override { return 0; }
    int32_t Init() override { return 0; }
    int32_t DeInit() override { return 0; }
    int32_t RegisterAcodecLib(const char*) override { return 0; }
    int32_t FoundSupportDecoder(word, word*) override { return 0; }
    int32_t GetDefaultConfig(void*, int, word) override { return 0; }
    int32_t Destroy(word) override { return 0; }
    int32_t RegisterEvent64(word, int, const observer&) override { return 0; }
    int32_t GetAttr(word, int, void*, word) override { return 0; }
    int32_t SetAttr(word, int, const void*, word) override { return 0; }
    int32_t SetAdecOutBufSize(word, word) override { return 0; }
    int32_t ChnOpen(word, int, const void*, word) override { return 0; }
    int32_t ChnClose(word, int) override { return 0; }
    int32_t Start(word, int, const void*, word) override { return 0; }
    int32_t Stop(word, int, const void*, word) override { return 0; }
    int32_t Pause(word, const void*, word) override { return 0; }
    int32_t Resume(word, const void*, word) override { return 0; }
    int32_t GetStreamInfo(word, void*, word) override { return 0; }
    int32_t SetTunnelMode(word, int, bool) override { return 0; }
    int32_t SetHDRInfo(word, const void*, word, bool, word) override { return 0; }
    int32_t GetHDRInfo(word, void*, word) override { return 0; }
    int32_t SetAdecAttr(word, word, uint16_t, word, int) override { return 0; }
    int32_t SetSndLatency(word, word) override { return 0; }
    int32_t SndInit(word) override { return 0; }
    int32_t SndDeInit(word) override { return 0; }
    int32_t GetTrackDefAttr(word, void*, word) override { return 0; }
    int32_t DestroyTrack(word) override { return 0; }
    int32_t GetDelayMs(word, word*) override { return 0; }
    int32_t AttachSnd(word, word) override { return 0; }
    int32_t DetachSnd(word, word) override { return 0; }
    int32_t VO_Init(int) override { return 0; }
    int32_t VO_DeInit() override { return 0; }
    int32_t VO_CreateWindow(const void*, word*, word) override { return 0; }
    int32_t VO_AttachWindow(word, word) override { return 0; }
    int32_t VO_SetWindowEnable(word, bool) override { return 0; }
    int32_t VO_DetachWindow(word, word) override { return 0; }
    int32_t VO_DestroyWindow(word) override { return 0; }
    int32_t FlushStream(word, const void*, word) override { return 0; }
    int32_t VO_SetRotation(word, word) override { return 0; }
    int32_t SndGetMsFeature(word) override { return 0; }
    int32_t RM_init() override { return 0; }
    int32_t RM_Deinit() override { return 0; }
    int32_t RM_RegisterCallback(void*, const observer&, word) override { return 0; }
    int32_t RM_UnRegisterCallback(void*) override { return 0; }
    int32_t CheckCloseState(word, word*) override { return 0; }

  private:
    std::string** const kept_;
    memory block_;
    const char* bytes_ = nullptr;
    word taken_bytes_ = 0;
};

// Offers such players from this process, under the name under which the module looks for one. What
// they are handed is appended to *kept while that is not null.
void offer_null_players(std::string** kept);
// The same without keeping anything.
void offer_null_players();
