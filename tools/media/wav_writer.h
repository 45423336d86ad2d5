// A WAV file of 16-bit samples that is written from its start on and is whole after each append.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

struct sf_private_tag;

class wav_writer {
  public:
    // Touches nothing yet: the first frames create the file, or take the place of what was in it.
    wav_writer(const std::string& path, uint32_t rate_hz, unsigned channels);
    ~wav_writer();
    wav_writer(const wav_writer&) = delete;
    wav_writer& operator=(const wav_writer&) = delete;

    // Throws program_error when not all frames can be written.
    void append(const int16_t* samples, size_t frames);

  private:
    struct closer {
        void operator()(sf_private_tag* file) const;
    };

    void open();

    std::string path_;
    uint32_t rate_hz_;
    unsigned channels_;
    std::unique_ptr<sf_private_tag, closer> file_;
};
