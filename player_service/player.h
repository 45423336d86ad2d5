// One player of a client: its attributes, its audio channel and the stream that runs through it.
//
// Any thread. All functions answer 0 or a status of the service. One lock a player; none is held
// while stop() waits for the sound to end, nor ever while an observer is told.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include <zuavplayer/player_types.h>

#include "player_service/attributes.h"
#include "player_service/playback/sound_decoder.h"
#include "player_service/playback/stream_run.h"
#include "player_service/player_observers.h"
#include "player_service/player_state.h"
#include "player_service/service_context.h"

namespace player_service {

class player {
  public:
    static constexpr uint32_t kMaxHdrBytes = 4096;

    player(const std::shared_ptr<service_context>& context,
           const std::shared_ptr<event_queue>& queue);
    ~player();
    player(const player&) = delete;
    player& operator=(const player&) = delete;

    // Before any other use.
    void set_handle(uint32_t handle) { handle_ = handle; }
    // Ends everything; later calls answer ZU_ERR_INVALID_HANDLE.
    void retire();

    player_observers& observers() { return *observers_; }

    int32_t get_attr(int id, void* record, uint32_t length) const;
    int32_t set_attr(int id, const void* record, uint32_t length);
    int32_t set_decoder(const decoder_config& config);
    int32_t set_decoder_frames(uint32_t frames);

    int32_t open_channel(int channel);
    int32_t close_channel(int channel);
    int32_t start(int channel);
    // Null: at once. Else what is held is played to its end first, for so long at most; 0 leaves
    // that to the service.
    int32_t stop(int channel, const android::zu_stop_option* option);
    int32_t pause();
    int32_t resume();
    int32_t flush();

    int32_t reserve(uint32_t bytes);
    int32_t put(const uint8_t* bytes, uint32_t count, uint32_t pts_ms);

    // Whether a track carries the sound away.
    void set_audible(bool audible);

    playback_status status() const;
    android::zu_stream_info info() const;
    bool is_channel_closed() const;

    int32_t set_tunnel(int value, bool enable);
    int32_t set_hdr(const void* info, uint32_t length);
    int32_t get_hdr(void* info, uint32_t length) const;

  private:
    int32_t check(player_action action, player_state& next) const;
    int32_t act(player_action action);
    void enter(player_state next);
    int32_t check_channel(int channel) const;
    int32_t make_run();
    void drop_run();

    const std::shared_ptr<service_context> context_;
    const std::shared_ptr<player_observers> observers_;  // the run's thread has them too
    uint32_t handle_ = 0;

    mutable std::mutex mutex_;
    // All guarded by mutex_.
    bool retired_ = false;
    player_state state_ = player_state::closed;
    player_attributes attributes_;
    decoder_config decoder_;
    uint32_t decoder_frames_ = 0;
    bool audible_ = false;
    std::shared_ptr<stream_run> run_;  // from start to stop
    playback_status last_status_;      // of the run before
    int tunnel_ = 0;
    bool tunnel_on_ = false;
    std::vector<uint8_t> hdr_;
};

}  // namespace player_service
