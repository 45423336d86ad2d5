// What all clients of the service share. Outlives them.
#pragma once

#include <memory>

#include "player_service/playback/sound_output.h"
#include "player_service/playback/timeline.h"
#include "player_service/resources.h"

namespace player_service {

struct service_context {
    service_context(const output_target& target, bool real_pace,
                    std::unique_ptr<timeline_file> csv = nullptr)
        : output(target, real_pace), timeline_csv(std::move(csv)) {}

    sound_output output;
    const std::unique_ptr<timeline_file> timeline_csv;  // may be null
    resources resource_counts;
};

}  // namespace player_service
