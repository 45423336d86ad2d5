// The WAV file that stands for a card, through libsndfile.
//
// A WAV file has one format, so the next player with other channels or another rate, or one that
// plays at the same time, gets a file of its own: out.wav, out-2.wav, out-3.wav. One that comes
// later with a format that a file has already continues that file. Headers are right after every
// write, so a service that is killed leaves files that can be read.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "host/sound_file.h"
#include "player_service/playback/audio_format.h"

namespace player_service {

class wav_files;

// The right to append to one file. The files outlive it.
class wav_lease {
  public:
    ~wav_lease();
    wav_lease(const wav_lease&) = delete;
    wav_lease& operator=(const wav_lease&) = delete;

    // False when not all frames could be stored: the disk or the format is full.
    bool write(const int16_t* samples, size_t frames);

  private:
    friend class wav_files;
    wav_lease(wav_files& files, size_t index) : files_(files), index_(index) {}

    wav_files& files_;
    const size_t index_;
};

class wav_files {
  public:
    explicit wav_files(std::string path) : path_(std::move(path)) {}

    // Any thread. Null with a reason when no file can be had.
    std::unique_ptr<wav_lease> lease(const audio_format& format, std::string& reason);

  private:
    friend class wav_lease;
    struct entry {
        audio_format format;
        std::unique_ptr<wav_writer> file;
        bool in_use = false;
    };

    std::string numbered_path(size_t number) const;

    const std::string path_;
    std::mutex mutex_;
    // Guarded by mutex_; what an entry holds is its lease's while it is in use.
    std::vector<std::unique_ptr<entry>> entries_;
};

}  // namespace player_service
