// A WAV file that is captured from: its frames, then silence.
//
// The file may grow meanwhile, so that one stream can capture what another one plays; what has come
// since follows the silence, and nothing is left out. The process remembers how far each file was
// read, by what it is rather than by its name, so that a stream that is closed and opened again
// goes on where it was; a file that has changed in between is started over. One thread at a time
// uses a source; different sources are independent.
#pragma once

#include <memory>
#include <stdint.h>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "wav_header.h"

struct sf_private_tag;

namespace tinyalsa {

class wav_source {
  public:
    // Takes any sample format that libsndfile reads, but only the layout's own rate and channel
    // count. Returns 0 or a negative errno with a reason.
    static int open(const std::string& path, const wav_layout& layout,
                    std::unique_ptr<wav_source>& source, std::string& reason);

    ~wav_source();
    wav_source(const wav_source&) = delete;
    wav_source& operator=(const wav_source&) = delete;

    // Fills all frames, in the layout's sample size.
    void read(void* frames, uint64_t frame_count);

  private:
    wav_source(int fd, const wav_layout& layout) : fd_(fd), layout_(layout) {}
    int claim(std::string& reason);
    int open_at_position(std::string& reason);
    uint64_t read_some(char* bytes, uint64_t frame_count);
    bool has_changed() const;
    void remember() const;

    struct closer {
        void operator()(sf_private_tag* file) const;
    };

    const int fd_;
    const wav_layout layout_;
    std::unique_ptr<sf_private_tag, closer> file_;
    struct stat status_ = {};  // of the file when it was opened last
    uint64_t position_frames_ = 0;
    std::vector<double> block_;  // frames on their way
};

}  // namespace tinyalsa
