// An alsa-lib without devices: one imaginary card that keeps what reaches it and fails on demand.
// It has 1 to 2 channels, 8000 to 192000 Hz, and 2 to 32 periods of 64 to 4096 frames by 16.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <vector>

extern "C" {
#include <alsa/asoundlib.h>
}

struct fake_alsa {
    std::vector<snd_pcm_format_t> formats = {SND_PCM_FORMAT_S16_LE, SND_PCM_FORMAT_S32_LE};

    // Faults.
    std::map<std::string, int> failures;  // by function
    int failing_call = 0;                 // the n-th call that can fail fails with -EIO; 0: none
    std::deque<long> results;             // of the next transfers; then all frames move
    bool repeat_last_result = false;
    std::string message;  // sent to the error handler by a failing open

    // What happened.
    std::map<std::string, int> calls;
    int fallible_calls = 0;
    int live = 0;  // streams and parameter sets not given back
    std::string name;
    bool opened_blocking = false, blocking = false;
    snd_pcm_stream_t direction = SND_PCM_STREAM_PLAYBACK;
    snd_pcm_state_t state = SND_PCM_STATE_OPEN;
    std::map<std::string, unsigned long> asked, set;  // parameters, the second ones in force
    std::string moved;                                // capture gives bytes that count up
    snd_local_error_handler_t error_handler = nullptr;

    // The answer of snd_pcm_status().
    snd_pcm_uframes_t avail = 0;
    timespec stamp = {};
};

extern fake_alsa fake;
