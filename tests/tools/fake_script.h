// How the fake module behaves, from the environment:
//
//   FAKE_HAL_SCRIPT   settings "key=value" joined by ';'
//   FAKE_HAL_CALLS    file that gets a line for each call worth checking
//   FAKE_HAL_PCM      file that gets the bytes written
//
//   open_device, open_stream   status that the open answers
//   open_log                   text of an error line that opening the device logs
//   rate, mask, format         what the stream answers instead of what was asked
//   buffer                     buffer size in bytes, instead of 480 frames
//   write                      half: takes half of each piece; zero; fail: answers -EIO
//   position                   all: everything written (also when left out); zero; fail: refuses;
//                              card: a card that starts at 240 frames, plays 50 of them between
//                              two looks, and answers 0 once it has run dry; stall: stops at half
//   log, log_at                text of an error line, and the number of the write that logs it
//   bare                       1: all operations that may be absent are absent
//   gate                       two inherited descriptors "E,G": each write sends a byte to E and
//                              waits for one, or for the end, from G
#pragma once

#include <cstdint>
#include <string>

// The setting, or `otherwise` when the script does not have it.
std::string scripted(const std::string& key, const std::string& otherwise);
int64_t scripted_number(const std::string& key, int64_t otherwise);

void record_call(const std::string& line);
void record_pcm(const void* data, size_t bytes);
void pass_gate();
