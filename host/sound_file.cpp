#include "host/sound_file.h"

#include <sndfile.h>

void sound_file_closer::operator()(sf_private_tag* file) const {
    sf_close(file);
}

std::unique_ptr<wav_writer> wav_writer::create(const std::string& path, uint32_t rate_hz,
                                               unsigned channels, std::string& reason) {
    SF_INFO info{};
    info.samplerate = static_cast<int>(rate_hz);
    info.channels = static_cast<int>(channels);
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    sound_file_handle file(sf_open(path.c_str(), SFM_WRITE, &info));
    if (file == nullptr) {
        reason = sf_strerror(nullptr);
        return nullptr;
    }
    sf_command(file.get(), SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
    return std::unique_ptr<wav_writer>(new wav_writer(std::move(file), channels * sizeof(int16_t)));
}

bool wav_writer::append(const int16_t* samples, size_t frames) {
    const uint64_t bytes = uint64_t{frames} * frame_bytes_;
    is_full_ = bytes_ + bytes > max_bytes;
    if (is_full_) {
        return false;
    }
    bytes_ += bytes;
    const auto count = static_cast<sf_count_t>(frames);
    return sf_writef_short(file_.get(), samples, count) == count;
}

std::string wav_writer::error() const {
    return is_full_ ? "a WAV file holds no more" : sf_strerror(file_.get());
}
