// How fast a WAV stream moves frames, and how far it is: as they come, or at the pace of a card.
//
// One thread moves frames; others may ask how far it is meanwhile. No lock is held while it waits.
#pragma once

#include <mutex>
#include <stdint.h>

#include "wav_pace.h"

struct pcm;

namespace tinyalsa {

class wav_flow {
  public:
    // Of a handle whose configuration and buffer are set.
    wav_flow(const pcm& handle, bool real_pace);

    // How many of the frames may move now. Waits under the real pace until some may; 0 only when
    // the handle must not block.
    unsigned long wait(const pcm& handle, unsigned long frames);

    // Takes note that frames moved, as many as wait() allowed.
    void moved(unsigned long frames);

    // Frames that can move without waiting: all of the buffer at a free pace.
    uint32_t ready_frames();

    // A capture stream starts with an empty buffer, that is, with nothing that may move.
    void start_empty() { moved(buffer_frames_); }

    void drop();

  private:
    const bool real_pace_;
    const uint32_t buffer_frames_;
    const uint32_t period_frames_;
    std::mutex lock_;
    wav_pace pace_;
};

}  // namespace tinyalsa
