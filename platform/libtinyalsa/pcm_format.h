// What each sample format is called and how much memory it takes.
#pragma once

struct pcm_config;

namespace tinyalsa {

struct sample_format {
    const char* name;
    unsigned bytes;  // of one sample in memory
    bool fits_wav;   // the same bytes are valid samples of a WAV file
};

// How many formats there are; their values are 0 to kFormatCount - 1.
constexpr int kFormatCount = 5;

// Null for a value that is no format.
const sample_format* find_format(int format);

// The format member as a number. A caller in C can store any value there, which must not be read
// as an enumerator before it has been checked.
int format_value(const pcm_config& config);

}  // namespace tinyalsa
