#include "tools/media/wav_writer.h"

#include <sndfile.h>

#include "host/program_error.h"

void wav_writer::closer::operator()(sf_private_tag* file) const {
    sf_close(file);
}

wav_writer::wav_writer(const std::string& path, uint32_t rate_hz, unsigned channels)
    : path_(path), rate_hz_(rate_hz), channels_(channels) {}

void wav_writer::open() {
    SF_INFO info{};
    info.samplerate = static_cast<int>(rate_hz_);
    info.channels = static_cast<int>(channels_);
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    file_.reset(sf_open(path_.c_str(), SFM_WRITE, &info));
    if (file_ == nullptr) {
        throw program_error("cannot write '" + path_ + "': " + sf_strerror(nullptr) +
                            "; name a file in another folder");
    }
    // So that even a kill leaves a file that players take.
    sf_command(file_.get(), SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
}

wav_writer::~wav_writer() = default;

void wav_writer::append(const int16_t* samples, size_t frames) {
    if (file_ == nullptr) {
        open();
    }
    const auto count = static_cast<sf_count_t>(frames);
    if (sf_writef_short(file_.get(), samples, count) != count) {
        throw program_error(
            "cannot write all of '" + path_ + "': " + sf_strerror(file_.get()) +
            "; what came before is in the file, so free some room and record again");
    }
}
