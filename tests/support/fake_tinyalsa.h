// A tinyalsa that records what it is asked and fails on demand, linked in place of the library.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <tinyalsa/asoundlib.h>

struct fake_tinyalsa {
    // Knobs.
    bool no_handle = false;          // pcm_open gives null
    std::string not_ready;           // pcm_open gives a handle that is not ready, with this text
    int write_result = 0;            // of pcm_write
    int htimestamp_result = 0;       // of pcm_get_htimestamp
    int failing_from = 0;            // the first pcm_read, counted from 1, that gives -EIO
    int failing_until = 0;           // the first one that works again; 0 for none
    bool read_nothing = false;       // pcm_frames_to_bytes answers 0
    std::string sound;               // what pcm_read hands out, then silence
    std::atomic<unsigned> avail{0};  // frames that pcm_get_htimestamp reports
    std::function<void()> in_open;   // runs inside pcm_open
    std::function<void()> in_write;  // runs inside pcm_write
    std::function<void()> in_read;   // runs inside pcm_read
    std::function<void()> in_htimestamp;  // runs inside pcm_get_htimestamp
    std::function<void()> in_close;       // runs inside pcm_close

    // Records.
    struct open_call {
        unsigned card;
        unsigned device;
        unsigned flags;
        struct pcm_config config;
    };
    std::vector<open_call> opens;
    std::vector<unsigned char> played;  // what pcm_write got, also when it then fails
    int writes = 0;
    std::vector<unsigned> reads;  // what pcm_read was asked for, in bytes
    size_t sound_taken = 0;
    std::atomic<int> open_handles{0};
    std::atomic<int> uses_after_close{0};
};

// The one that all calls of the process reach; fresh after reset.
fake_tinyalsa& tinyalsa();
void reset_tinyalsa();
