// A player service that does nothing but keep a journal of its calls: a line a call in a file, with
// every argument, so that a test reads the same account whether the service ran in its own process
// or in another.
//
// The operation with transaction code n answers status_of(n). Out structures are filled with
// out_byte(0), out_byte(1)... and out words with first_out and second_out. A few arguments ask for
// more: see `enum ask`.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

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

// Gives out fake players, all with one journal; an empty name is for none, and nothing is done on
// request.
class fake_player_service : public android::BnZuAvPlayerService {
  public:
    explicit fake_player_service(std::string journal, bool empty_players = false)
        : journal_(std::move(journal)), empty_players_(empty_players) {}
    android::sp<android::IZuAvPlayer> getPlayer() override;

  private:
    const std::string journal_;
    const bool empty_players_;
};
