// A WAV file that grows at its end and is complete after every append.
//
// The file is locked while it is open: a second writer, in this process or another, finds it busy.
// The process remembers the files that it has started, by what they are rather than by their
// names, so that a stream that is closed and opened again goes on where it was. One thread at a
// time uses a file; different files are independent.
#pragma once

#include <memory>
#include <stdint.h>
#include <string>
#include <sys/stat.h>

#include "wav_header.h"

namespace tinyalsa {

class wav_file {
  public:
    // Continues the file when this process started it with the same layout and nobody has changed
    // its size since, and starts it over otherwise; another layout fails and leaves the file as it
    // is. Returns 0 or a negative errno with a reason.
    static int open(const std::string& path, const wav_layout& layout,
                    std::unique_ptr<wav_file>& file, std::string& reason);

    ~wav_file();
    wav_file(const wav_file&) = delete;
    wav_file& operator=(const wav_file&) = delete;

    // Appends all frames and returns 0, or a negative errno: -EFBIG with nothing appended when the
    // format's 4 GiB are full, else with the whole frames appended that there was room for.
    int append(const void* frames, uint64_t frame_count);

  private:
    wav_file(int fd, const wav_layout& layout);
    int claim(std::string& reason);
    int start_over();
    int write_at(uint64_t offset_bytes, const void* bytes, uint64_t count, uint64_t& written_bytes);
    int finish();
    uint64_t end_bytes() const;
    void remember() const;

    const int fd_;
    const wav_layout layout_;
    bool regular_ = false;  // A device file has no size and is never continued.
    bool claimed_ = false;
    dev_t device_ = 0;
    ino_t inode_ = 0;
    uint32_t data_bytes_ = 0;
};

}  // namespace tinyalsa
