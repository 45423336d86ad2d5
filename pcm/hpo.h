// PCM playback back end: plays 16-bit PCM on sound card 0, PCM device 0, through tinyalsa.
//
// Owned by its output stream: created with it, opened by the first write after standby, closed at
// standby, destroyed with it. It has no lock of its own. open, write and close run under the
// stream's lock (open under the device's lock as well); buffer size, latency and position may be
// asked from any thread at any time between create and destroy, and never wait for the others.
//
// Results are 0 or a negative errno value unless stated; a null record gives -EINVAL.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <type_traits>

#include "diag/relaxed.h"

struct hal_stream_out;
struct pcm;

struct hpo {
    uint32_t card;
    uint32_t pcm_device;
    // Frames that the card accepted since creation. Closing does not reset it, so that positions
    // keep rising across standby. Position queries load it without a lock.
    relaxed_uint64 frames_written;
    struct pcm* pcm;  // null while closed; other threads reach it through borrowed_pcm only
    struct hal_stream_out* out;
    FILE* capture_file;
    uint32_t pcm_borrowers;  // threads that may be using `pcm` without the stream's lock
};

static_assert(std::is_trivial_v<hpo>);

extern "C" {

// Creates a closed back end in the slot. -ENOMEM leaves the slot as it was. The caller then sets
// the record's `out`.
int32_t hpo_create(struct hpo** slot);

// Opens the card with the stream's configuration. -ENOMEM when that fails.
int32_t hpo_open(struct hpo* hpo);

// Plays `bytes` bytes (at most INT32_MAX); blocks until the card has taken them. Always answers
// `bytes`: what the card refuses is logged and not counted.
int32_t hpo_write(struct hpo* hpo, const void* buffer, size_t bytes);

// The card's whole buffer, in milliseconds.
int32_t hpo_get_latency(struct hpo* hpo);

// One period in the stream's own format, in bytes.
int32_t hpo_get_buffer_size(struct hpo* hpo);

// Stores the frames presented so far; stores nothing while that cannot be known. Always 0.
int32_t hpo_get_tstamp(struct hpo* hpo, uint64_t* frames);

// Closes the card and the capture file.
int32_t hpo_close(struct hpo* hpo);

// Closes what is open and frees the record.
void hpo_destroy(struct hpo* hpo);

}  // extern "C"
