// PCM capture back end: records 16-bit PCM from sound card 0, PCM device 0, through tinyalsa.
//
// Owned by its input stream: created with it, opened by the first read after standby, closed at
// standby, destroyed with it. It has no lock of its own: open, read and close run under the
// stream's lock (open under the device's lock as well). It counts no frames.
//
// Results are 0 or a negative errno value unless stated; a null record gives -EINVAL.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <type_traits>

struct hal_stream_in;
struct pcm;

struct hpi {
    uint32_t card;
    uint32_t pcm_device;
    struct pcm* pcm;  // null while closed; the resampler's provider reads from it as well
    struct hal_stream_in* in;
    FILE* capture_file;
};

static_assert(std::is_trivial_v<hpi>);

extern "C" {

// Creates a closed back end in the slot. -ENOMEM leaves the slot as it was. The caller then sets
// the record's `in`.
int32_t hpi_create(struct hpi** slot);

// Opens the card with the stream's configuration. -ENOMEM when that fails.
int32_t hpi_open(struct hpi* hpi);

// Records `bytes` bytes (at most INT32_MAX); blocks until the card has given them. Always answers
// `bytes`: a card that is closed or fails is logged, and the buffer holds what tinyalsa left there.
int32_t hpi_read(struct hpi* hpi, void* buffer, size_t bytes);

// Closes the card and the capture file.
int32_t hpi_close(struct hpi* hpi);

// Closes what is open and frees the record.
void hpi_destroy(struct hpi* hpi);

}  // extern "C"
