// Underruns and overruns: found, counted and told of in the log.
//
// A stream with a huge stop_threshold never stops: the card goes on past what it was given, or over
// what has not been read yet, and only its position tells.
#pragma once

struct pcm;

namespace tinyalsa {

// Ahead of a transfer: counts one if the card has overtaken the stream since the last transfer.
void look_for_xrun(pcm& handle);

// Counts one that a transfer ran into, unless it is one that look_for_xrun() has found.
void note_xrun(pcm& handle);

// Ahead of the handle's end: logs what the limit of one line a second has kept back.
void tell_rest_of_xruns(const pcm& handle);

}  // namespace tinyalsa
