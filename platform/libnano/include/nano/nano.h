/*
 * The voice-input library's three calls, without its hardware: each logs what it is given (tag
 * "nano", debug priority). Streams and configurations stay the caller's; nothing is kept. Any
 * thread may call these.
 */
#ifndef CORVEX_NANO_NANO_H
#define CORVEX_NANO_NANO_H

#include <sys/cdefs.h>

struct audio_config;
struct audio_stream_in;

__BEGIN_DECLS
#pragma GCC visibility push(default)

void nano_init(void);

/*
 * Announces a voice input that is being opened. 0, or -EINVAL for a null pointer. The environment
 * variable CORVEX_NANO_REFUSE_OPEN, a negative number, is answered instead where it is set.
 */
int nano_input_open(struct audio_stream_in* stream, const struct audio_config* config);

void nano_close(struct audio_stream_in* stream);

#pragma GCC visibility pop
__END_DECLS

#endif
