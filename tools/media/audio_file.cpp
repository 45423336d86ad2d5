#include "tools/media/audio_file.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <map>
#include <sndfile.h>

#include "host/program_error.h"
#include "tools/media/input_file.h"

namespace {

// Beyond these a header is more likely damaged than true, and the resampler's tables explode.
constexpr int min_rate_hz = 2000;
constexpr int max_rate_hz = 768000;

const std::map<int, speaker> speakers_by_map_value = {
    {SF_CHANNEL_MAP_LEFT, speaker::front_left},
    {SF_CHANNEL_MAP_FRONT_LEFT, speaker::front_left},
    {SF_CHANNEL_MAP_RIGHT, speaker::front_right},
    {SF_CHANNEL_MAP_FRONT_RIGHT, speaker::front_right},
    {SF_CHANNEL_MAP_MONO, speaker::front_center},
    {SF_CHANNEL_MAP_CENTER, speaker::front_center},
    {SF_CHANNEL_MAP_FRONT_CENTER, speaker::front_center},
    {SF_CHANNEL_MAP_LFE, speaker::lfe},
    {SF_CHANNEL_MAP_REAR_LEFT, speaker::back_left},
    {SF_CHANNEL_MAP_REAR_RIGHT, speaker::back_right},
    {SF_CHANNEL_MAP_REAR_CENTER, speaker::back_center},
    {SF_CHANNEL_MAP_SIDE_LEFT, speaker::side_left},
    {SF_CHANNEL_MAP_SIDE_RIGHT, speaker::side_right},
};

speaker_layout layout_of(SNDFILE* file, int channels) {
    speaker_layout customary = customary_layout(static_cast<unsigned>(channels));
    std::array<int, max_channels> map{};
    if (sf_command(file, SFC_GET_CHANNEL_MAP_INFO, map.data(),
                   static_cast<int>(static_cast<size_t>(channels) * sizeof(int))) != SF_TRUE) {
        return customary;
    }
    speaker_layout layout;
    for (int i = 0; i < channels; ++i) {
        const auto found = speakers_by_map_value.find(map[static_cast<size_t>(i)]);
        if (found == speakers_by_map_value.end()) {
            return customary;
        }
        layout.push_back(found->second);
    }
    return layout;
}

std::string format_text(int format) {
    std::string text;
    for (const int part : {format & SF_FORMAT_TYPEMASK, format & SF_FORMAT_SUBMASK}) {
        SF_FORMAT_INFO info{};
        info.format = part;
        if (sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof(info)) == 0 &&
            info.name != nullptr) {
            text += (text.empty() ? "" : ", ") + std::string(info.name);
        }
    }
    return text;
}

}  // namespace

audio_file::audio_file(const std::string& path) : path_(path) {
    require_readable_file(path);
    SF_INFO info{};
    errno = 0;
    file_.reset(sf_open(path.c_str(), SFM_READ, &info));
    if (file_ == nullptr) {
        const int system_error = errno;
        if (sf_error(nullptr) == SF_ERR_SYSTEM && system_error != 0) {
            throw program_error("cannot open '" + path + "': " + std::strerror(system_error) +
                                "; check its rights");
        }
        throw program_error("cannot read '" + path + "' as audio: " + sf_strerror(nullptr) +
                            "; give a WAV, FLAC, Ogg or other file that libsndfile reads");
    }
    if (info.channels < 1 || info.channels > static_cast<int>(max_channels)) {
        throw program_error("'" + path + "' has " + std::to_string(info.channels) +
                            " channels; mix it down to at most " + std::to_string(max_channels));
    }
    if (info.samplerate < min_rate_hz || info.samplerate > max_rate_hz) {
        throw program_error("'" + path + "' claims a rate of " + std::to_string(info.samplerate) +
                            " Hz; it should be " + std::to_string(min_rate_hz) + " to " +
                            std::to_string(max_rate_hz) + ", so the header may be damaged");
    }
    if (info.frames <= 0) {
        throw program_error("'" + path + "' holds no audio frames; name a file that holds audio");
    }
    rate_hz_ = static_cast<uint32_t>(info.samplerate);
    frames_ = static_cast<uint64_t>(info.frames);
    layout_ = layout_of(file_.get(), info.channels);
    format_name_ = format_text(info.format);
}

size_t audio_file::read(float* samples, size_t frames) {
    const sf_count_t got = sf_readf_float(file_.get(), samples, static_cast<sf_count_t>(frames));
    if (got <= 0 && sf_error(file_.get()) != SF_ERR_NO_ERROR) {
        throw program_error("'" + path_ + "' is damaged: " + sf_strerror(file_.get()) +
                            "; what came before was played");
    }
    return got > 0 ? static_cast<size_t>(got) : 0;
}
