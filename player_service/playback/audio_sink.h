// One stretch of sound in one format on its way to a card, a file or nowhere. Used by one thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "player_service/playback/audio_format.h"

namespace player_service {

class audio_sink {
  public:
    virtual ~audio_sink() = default;

    // Takes some of the frames and answers how many: 0 while there is no room, and negative when
    // the sink has failed for good. Never waits.
    virtual long write(const int16_t* samples, size_t frames) = 0;
    // How long to wait before the next try, when there was no room.
    virtual std::chrono::nanoseconds until_room() const = 0;
    // How much silence has to follow the last sound for all of it to be heard.
    virtual std::chrono::nanoseconds tail() const = 0;
    // Whether it has sound that it does not play until there is more of it.
    virtual bool waits_for_more() const = 0;
    // Nothing more comes for now: what waits for more plays.
    virtual void end() = 0;
    // Whether the sound has stopped for want of more since the last call.
    virtual bool take_underrun() = 0;
    // Until all that was written has been heard.
    virtual std::chrono::nanoseconds delay() const = 0;
};

}  // namespace player_service
