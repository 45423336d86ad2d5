#include "player_service/player_state.h"

namespace player_service {

namespace {

using state = player_state;
constexpr std::optional<state> none;

// What stays as it is when it is asked for again is no mistake of the client's: tear-down attempts
// every step.
// clang-format off
constexpr std::optional<state> kEdges[kPlayerStates][kPlayerActions] = {
    //             open            close          start         stop            pause          resume          flush
    /* closed  */ {state::stopped, none,          none,         none,           none,          none,           none},
    /* stopped */ {none,           state::closed, state::ready, state::stopped, none,          none,           state::stopped},
    /* ready   */ {none,           state::closed, none,         state::stopped, state::paused, state::running, state::ready},
    /* running */ {none,           state::closed, none,         state::stopped, state::paused, state::running, state::running},
    /* paused  */ {none,           state::closed, none,         state::stopped, state::paused, state::running, state::paused},
};
// clang-format on

}  // namespace

std::optional<player_state> next_state(player_state from, player_action action) {
    return kEdges[static_cast<size_t>(from)][static_cast<size_t>(action)];
}

uint32_t state_word(player_state state) {
    switch (state) {
        case player_state::running:
            return 1;
        case player_state::paused:
            return 2;
        default:
            return 0;
    }
}

}  // namespace player_service
