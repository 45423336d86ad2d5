// A player service behind the flat player functions: it keeps an account of the calls, takes the
// chunks, and fails on demand. Linked in place of the player client (fake_player_functions.cmake).
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

struct fake_player_functions {
    // Knobs.
    std::map<std::string, int32_t> results;  // by name without "ZUAVPLAYER_": of each such call
    int failing_call = 0;                    // the n-th call of all, from 1, answers failing_code
    int32_t failing_code = 0;
    bool no_block = false;               // GetCblk gives null
    std::deque<int32_t> room;            // answers of GetBuf, one a call; then results["GetBuf"]
    uint32_t audio_buffer_bytes = 4096;  // what a player's stream-mode attribute says
    uint32_t position = 0;               // frames that it says it decoded
    std::function<void(const std::string& name)> in_call;  // runs inside each call

    // Account. A line a call, with all arguments in hexadecimal and structures as their words:
    // "SetAttr 71 0 10 {a0 a1 a2 5000}", but GetBuf and PutBufEx are in `chunks` alone.
    std::vector<std::string> calls;
    int failures = 0;  // calls that answered anything but 0

    struct chunk {
        uint32_t player;
        uint32_t pts;
        std::string bytes;  // as they were in the shared block
        bool operator==(const chunk& other) const {
            return player == other.player && pts == other.pts && bytes == other.bytes;
        }
    };
    std::vector<chunk> chunks;
    int room_requests = 0;
    int unroomed_chunks = 0;  // handed over without room of their size for them

    int live_handles = 0;      // opened and not closed
    int uses_after_close = 0;  // calls with a handle that is not open
};

// Players are 71, 72..., tracks 91, 92... in the order of their creation since the reset.
fake_player_functions& player_service();
void reset_player_service();

// The account since the last call of this.
std::vector<std::string> take_calls();
std::vector<fake_player_functions::chunk> take_chunks();

// What the chunks hold, put together.
std::string payload_of(const std::vector<fake_player_functions::chunk>& chunks);
