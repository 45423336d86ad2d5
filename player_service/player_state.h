// The states of a player's audio channel, and which action leads where.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace player_service {

enum class player_state : uint8_t {
    closed,   // no audio channel
    stopped,  // open
    ready,    // started: takes data and waits for the first resume
    running,
    paused,
};
constexpr size_t kPlayerStates = 5;

enum class player_action : uint8_t { open, close, start, stop, pause, resume, flush };
constexpr size_t kPlayerActions = 7;

// Empty where the action is refused.
std::optional<player_state> next_state(player_state state, player_action action);

// The word of ZU_EVENT_STATE: 0 stopped, 1 running, 2 paused.
uint32_t state_word(player_state state);

}  // namespace player_service
