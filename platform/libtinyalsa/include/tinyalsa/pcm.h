/*
 * PCM playback and capture on sound cards: open, move frames, ask the position, close.
 *
 * A handle owns one stream of one device. One thread at a time may move frames through it; any
 * other thread may meanwhile call pcm_get_htimestamp() and the functions that only ask for sizes.
 * Nothing else may run beside pcm_close(). pcm_get_error() belongs to the thread that saw the
 * failure. Functions that return int answer 0 (or a count) on success and a negative errno else.
 *
 * The device is hw:CARD,DEVICE. The environment can put another target in its place, looked up at
 * every open; an empty value counts as unset:
 *
 *   CORVEX_ALSA_PLAYBACK, CORVEX_ALSA_CAPTURE
 *       Any PCM name that alsa-lib knows ("default", "null", "hw:Loopback,0"), or "wav:PATH": a
 *       WAV file. PATH is taken as it stands, up to the end of the value, so blanks, commas, quotes
 *       and backslashes need no care. Playback: the first open in a process starts the file over,
 *       later ones with the same channels, rate and format continue it, and others fail. After
 *       every write the file is complete, its header included. Capture: the file's frames, then
 *       silence; the file must have the rate and channels that are asked for. The first open in a
 *       process starts at its beginning, later ones go on where the last close left it.
 *   CORVEX_WAV_PACE
 *       "free" (default): a WAV file takes and gives frames as fast as they are moved, and it can
 *       always move a whole buffer. "real": transfers block and the position moves as with a card.
 */
#ifndef TINYALSA_PCM_H
#define TINYALSA_PCM_H

#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* The names of the first two, playback first. No other tinyalsa has this, which tells it apart. */
extern const char* const pcm_target_variables[2];

/* Flags of pcm_open(). */
#define PCM_OUT 0x00000000
#define PCM_IN 0x10000000
#define PCM_MMAP 0x00000001  /* move frames through the mapped buffer */
#define PCM_NOIRQ 0x00000002 /* accepted without effect: blocking transfers need the interrupts */
#define PCM_NORESTART 0x00000004 /* report an underrun, overrun or suspend instead of going on */
#define PCM_MONOTONIC 0x00000008 /* timestamps of CLOCK_MONOTONIC, not of the wall clock */
#define PCM_NONBLOCK 0x00000010  /* transfers answer -EAGAIN where they would wait */

enum pcm_format {
    PCM_FORMAT_S16_LE = 0,
    PCM_FORMAT_S32_LE = 1,
    PCM_FORMAT_S8 = 2,
    PCM_FORMAT_S24_LE = 3,  /* the low 24 of 32 bits */
    PCM_FORMAT_S24_3LE = 4, /* 24 bits in 3 bytes */
};

/*
 * Sizes and thresholds are in frames. channels, rate, format and period_count are exact;
 * period_size is the least that will do and the driver may raise it. A zero threshold asks for its
 * default, which follows the buffer that the driver really gave.
 */
struct pcm_config {
    unsigned int channels;
    unsigned int rate; /* Hz */
    unsigned int period_size;
    unsigned int period_count;
    enum pcm_format format;
    unsigned long start_threshold;   /* 0: half the buffer (playback), 1 (capture) */
    unsigned long stop_threshold;    /* 0: the buffer (playback), ten buffers (capture); a huge
                                        value: never stop */
    unsigned long silence_threshold; /* 0: no silence is played ahead of an underrun */
    unsigned long silence_size;
    unsigned long avail_min; /* 0: one period */
};

struct pcm;
struct timespec; /* strict C modes of time.h leave it out */

/*
 * Opens and sets up a device. The configuration is borrowed for the call. Always gives a handle, to
 * be given back with pcm_close(); ask pcm_is_ready() whether the device opened. A device that is in
 * use fails at once. Null only when memory is short.
 */
struct pcm* pcm_open(unsigned int card, unsigned int device, unsigned int flags,
                     const struct pcm_config* config);

/* Drops what is still queued and frees the handle, ready or not. -EINVAL for null. */
int pcm_close(struct pcm* pcm);

/* 1 when the device opened and is set up. */
int pcm_is_ready(const struct pcm* pcm);

/*
 * Why the open or the latest transfer failed, in one line; "" when nothing has. Owned by the handle
 * and good until the next call that fails. Never null, not even for a null handle.
 */
const char* pcm_get_error(const struct pcm* pcm);

/*
 * Moves all whole frames of the buffer (borrowed for the call), starting the stream by itself and
 * blocking as needed; bytes of a partial frame at the end are left alone. Returns 0 when all frames
 * moved. After an underrun, overrun or suspend the stream is prepared and goes on, unless
 * PCM_NORESTART. -EBADFD: not ready. -EINVAL: null data or the other direction. Under PCM_NONBLOCK
 * -EAGAIN may come after some frames moved; pcm_writei() and pcm_readi() say how many.
 */
int pcm_write(struct pcm* pcm, const void* data, unsigned int count_bytes);
int pcm_read(struct pcm* pcm, void* data, unsigned int count_bytes);

/* The same in frames; returns the frames moved, fewer than asked only under PCM_NONBLOCK. */
int pcm_writei(struct pcm* pcm, const void* data, unsigned int frame_count);
int pcm_readi(struct pcm* pcm, void* data, unsigned int frame_count);

/*
 * Stores how many frames can be written or read now, and when that was so. After an underrun the
 * count can exceed the buffer. Nothing is stored on failure. -EBADFD: not ready, or stopped.
 */
int pcm_get_htimestamp(struct pcm* pcm, unsigned int* avail_frames, struct timespec* timestamp);

/* Makes a stopped stream ready for frames; starts it early; stops it and drops what is queued. */
int pcm_prepare(struct pcm* pcm);
int pcm_start(struct pcm* pcm);
int pcm_stop(struct pcm* pcm);

/*
 * The configuration in force: what was asked for until the device is ready, then with the period
 * size and thresholds as set. Null for a null handle. Owned by the handle.
 */
const struct pcm_config* pcm_get_config(const struct pcm* pcm);

/* Frames that the device holds; 0 while not ready and for a null handle. */
unsigned int pcm_get_buffer_size(const struct pcm* pcm);

/* 0 for a null handle or an impossible request; a product beyond unsigned int is clipped. */
unsigned int pcm_frames_to_bytes(const struct pcm* pcm, unsigned int frame_count);
unsigned int pcm_bytes_to_frames(const struct pcm* pcm, unsigned int byte_count);

/*
 * Underruns (PCM_OUT) or overruns (PCM_IN) of all streams of this process since it started: how
 * often a card went on past what it was given, or over what was not read yet, also where a huge
 * stop_threshold hides it. Each stream logs its count, once a second at most. Silence at the pace
 * of WAV files is none. Any thread. No other tinyalsa has this.
 */
unsigned long pcm_xruns(unsigned int flags);

/* The bits that a sample takes in memory; 0 for a value that is no format. */
unsigned int pcm_format_to_bits(enum pcm_format format);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
