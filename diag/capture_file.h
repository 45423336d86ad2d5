// Capture files: raw copies of the audio that a back end moves, switched on by system properties.
//
// A file belongs to the back end that opened it and is used under that back end's stream lock. What
// goes wrong with a file is logged with the back end's tag and operation; it never disturbs audio.
#pragma once

#include <stddef.h>
#include <stdio.h>

#include <cutils/properties.h>

// The folder of all capture files. A build may choose another one.
#ifndef CORVEX_CAPTURE_DIR
#define CORVEX_CAPTURE_DIR "/mnt"
#endif

struct capture_target {
    const char* property;  // the switch
    const char* path;      // created, or emptied, each time the file is opened
};

// What the PCM playback back end hands to the sound card.
constexpr capture_target pcm_capture = {"persist.audiohal.file.pcm",
                                        CORVEX_CAPTURE_DIR "/hal_audio.pcm"};

// What the direct back end hands to the player service: its data, and a line for each frame's
// header.
constexpr capture_target es_capture = {"persist.audiohal.file.es",
                                       CORVEX_CAPTURE_DIR "/hal_audio.es"};
constexpr capture_target pts_capture = {"persist.audiohal.file.pts",
                                        CORVEX_CAPTURE_DIR "/hal_audio.pts"};

// What the sound card hands to the PCM capture back end.
constexpr capture_target record_capture = {"persist.audiohal.file.record",
                                           CORVEX_CAPTURE_DIR "/hal_audio.record"};

// Who logs: a back end's tag and the operation that is running.
struct capture_log {
    const char* tag;
    const char* operation;
};

// The target's file, opened anew where its switch is on; null where that is off or fails.
FILE* open_capture_file(bool enabled, const capture_target& target, const capture_log& log);

// Opens or closes a PCM back end's file as its property now says; `value` is the cleared buffer to
// read it into. A file that is already open stays as it is while the switch is on.
void update_capture_file(FILE** file, const capture_target& target,
                         char (&value)[PROPERTY_VALUE_MAX], const capture_log& log);

// Appends what a PCM back end moved, when it holds a file; a short write is logged.
void append_to_capture_file(FILE* file, const void* data, size_t bytes, const capture_log& log);

// Closes the file if one is open and forgets it.
void close_capture_file(FILE** file);
