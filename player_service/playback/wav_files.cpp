#include "player_service/playback/wav_files.h"

#include <algorithm>
#include <filesystem>

#include "player_service/log.h"

namespace player_service {

namespace {

constexpr size_t kMaxFiles = 100;

}  // namespace

std::string wav_files::numbered_path(size_t number) const {
    if (number == 1) {
        return path_;
    }
    std::filesystem::path path(path_);
    const std::string extension = path.extension().string();
    path.replace_filename(path.stem().string() + "-" + std::to_string(number) + extension);
    return path.string();
}

std::unique_ptr<wav_lease> wav_files::lease(const audio_format& format, std::string& reason) {
    const std::lock_guard<std::mutex> guard(mutex_);
    for (size_t index = 0; index < entries_.size(); ++index) {
        entry& known = *entries_[index];
        if (!known.in_use && known.format == format &&
            known.file->bytes() < wav_writer::max_bytes / 2) {
            known.in_use = true;
            return std::unique_ptr<wav_lease>(new wav_lease(*this, index));
        }
    }
    if (entries_.size() >= kMaxFiles) {
        reason = "there are " + std::to_string(kMaxFiles) + " WAV files already";
        return nullptr;
    }
    const std::string path = numbered_path(entries_.size() + 1);
    auto made = std::make_unique<entry>();
    made->format = format;
    std::string error;
    made->file = wav_writer::create(path, format.rate_hz, format.channels, error);
    if (made->file == nullptr) {
        reason = "'" + path + "' cannot be written: " + error;
        return nullptr;
    }
    made->in_use = true;
    entries_.push_back(std::move(made));
    LOGI("playing %u channels at %u Hz to '%s'", format.channels, format.rate_hz, path.c_str());
    return std::unique_ptr<wav_lease>(new wav_lease(*this, entries_.size() - 1));
}

wav_lease::~wav_lease() {
    const std::lock_guard<std::mutex> guard(files_.mutex_);
    files_.entries_[index_]->in_use = false;
}

bool wav_lease::write(const int16_t* samples, size_t frames) {
    wav_files::entry* entry = nullptr;
    {
        const std::lock_guard<std::mutex> guard(files_.mutex_);
        entry = files_.entries_[index_].get();
    }
    return entry->file->append(samples, frames);
}

}  // namespace player_service
