/*
 * Sample-rate conversion of interleaved 16-bit frames, over the Speex resampler.
 *
 * A resampler either pulls its input from a provider, or is fed by its caller. It belongs to one
 * thread at a time. Operations answer 0 or a negative errno.
 */
#ifndef CORVEX_AUDIO_UTILS_RESAMPLER_H
#define CORVEX_AUDIO_UTILS_RESAMPLER_H

#include <stddef.h>
#include <stdint.h>
#include <sys/cdefs.h>

__BEGIN_DECLS
#pragma GCC visibility push(default)

/* Frames that the provider owns. */
struct resampler_buffer {
    union {
        void* raw;
        short* i16;
        int8_t* i8;
    };
    size_t frame_count;
};

/*
 * get_next_buffer is handed the number of frames wanted and stores where at most so many of them
 * are and how many; a null pointer, a count of 0 or a result that is not 0 says that there are none
 * for now. Frames that it has handed out are good until release_buffer gives them back, which
 * follows each successful call.
 */
struct resampler_buffer_provider {
    int (*get_next_buffer)(struct resampler_buffer_provider* provider,
                           struct resampler_buffer* buffer);
    void (*release_buffer)(struct resampler_buffer_provider* provider,
                           struct resampler_buffer* buffer);
};

struct resampler_itfe {
    /* Forgets all input, as if the resampler were new. */
    void (*reset)(struct resampler_itfe* resampler);

    /*
     * Stores up to *out_frames frames and how many there are: fewer only when the provider runs
     * out. Input that was pulled and not used up is kept for the next call. -EINVAL for a null
     * pointer, -ENOSYS without a provider, -ENOMEM (the frames that were produced are stored).
     */
    int (*resample_from_provider)(struct resampler_itfe* resampler, int16_t* out,
                                  size_t* out_frames);

    /*
     * Converts as much of the input as the output has room for, and stores how many frames it took
     * and how many it gave. -EINVAL for a null pointer, -ENOSYS with a provider.
     */
    int (*resample_from_input)(struct resampler_itfe* resampler, int16_t* in, size_t* in_frames,
                               int16_t* out, size_t* out_frames);

    /* How much later a sample comes out than it went in, in nanoseconds. 0 for null. */
    int32_t (*delay_ns)(struct resampler_itfe* resampler);
};

/*
 * Rates are in Hz. Quality is 1 (fastest) to 9 (best); devices use 4. The provider, borrowed for
 * the resampler's life, may be null. -EINVAL for a quality out of range, a null place or a provider
 * without functions; -ENODEV for rates or channels that cannot be resampled; -ENOMEM. A failure
 * stores null.
 */
int create_resampler(uint32_t in_rate, uint32_t out_rate, uint32_t channels, uint32_t quality,
                     struct resampler_buffer_provider* provider, struct resampler_itfe** resampler);

/* Null is allowed. */
void release_resampler(struct resampler_itfe* resampler);

#pragma GCC visibility pop
__END_DECLS

#endif
