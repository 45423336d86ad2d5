// A direct output back end that records its calls, linked in place of the module's own.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct fake_hdo {
    // Knobs: what the calls answer.
    int32_t init_result = 0;
    int32_t create_result = 0;
    int32_t open_result = 0;
    int32_t close_result = 0;
    int32_t control_result = 0;  // pause, resume, flush, drain
    uint64_t position = 0;
    int32_t hwsync_result = 0;
    uint32_t hwsync_id = 0;
    std::function<void()> in_call;  // runs inside each of the calls below

    // Names of the calls in their order, with the argument that matters: "drain early".
    std::vector<std::string> calls;
    int records = 0;  // created and not destroyed
};

fake_hdo& direct_output();
void reset_direct_output();
