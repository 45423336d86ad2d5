// An alsa-lib without devices: one imaginary card that keeps what reaches it and fails on demand.
#pragma once

#include <alsa/asoundlib.h>
#include <deque>
#include <map>
#include <string>
#include <vector>

struct fake_alsa {
    // What the card can do.
    unsigned channels_min = 1, channels_max = 2;
    unsigned rate_min = 8000, rate_max = 192000;
    std::vector<snd_pcm_format_t> formats = {SND_PCM_FORMAT_S16_LE, SND_PCM_FORMAT_S32_LE};
    unsigned periods_min = 2, periods_max = 32;
    snd_pcm_uframes_t period_min = 64, period_max = 4096, period_step = 16;
    snd_pcm_uframes_t boundary = 1ul << 30;

    // Faults.
    std::map<std::string, int> failures;  // by function
    int failing_call = 0;                 // the n-th call that can fail fails with -EIO; 0: none
    std::deque<long> results;             // of the next transfers; then all frames move
    bool repeat_last_result = false;
    std::string message;  // sent to the error handler by a failing open

    // What happened.
    std::map<std::string, int> calls;
    int fallible_calls = 0;
    int open_streams = 0;
    int live_params = 0;
    std::string name;
    int open_mode = -1;
    bool blocking = false;
    snd_pcm_stream_t direction = SND_PCM_STREAM_PLAYBACK;
    snd_pcm_state_t state = SND_PCM_STATE_OPEN;
    std::map<std::string, unsigned long> software;  // what snd_pcm_sw_params() put in force
    std::vector<char> written;
    unsigned next_read_byte = 0;  // capture gives bytes that count up
    snd_local_error_handler_t error_handler = nullptr;

    // The answer of snd_pcm_status().
    snd_pcm_uframes_t avail = 0;
    timespec stamp = {};

    int enter(const std::string& function);
};

extern fake_alsa fake;
