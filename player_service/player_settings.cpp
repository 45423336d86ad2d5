// What clients set and read of a player besides its stream.

#include <algorithm>
#include <cstring>
#include <limits>

#include "player_service/player.h"

namespace player_service {

using namespace android;

namespace {

constexpr uint32_t kMaxDecoderFrames = 64;

}  // namespace

int32_t player::get_attr(int id, void* record, uint32_t length) const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return get_attribute(attributes_, id, record, length);
}

int32_t player::set_attr(int id, const void* record, uint32_t length) {
    const std::lock_guard<std::mutex> guard(mutex_);
    const int32_t error = set_attribute(attributes_, id, record, length);
    if (error == 0 && run_ != nullptr) {
        run_->set_room(attributes_.stream_mode.audio_buffer_bytes);
    }
    return error;
}

int32_t player::set_decoder(const decoder_config& config) {
    if (!is_decoder_type(config.type)) {
        return zu_status(ZU_ERR_NOT_SUPPORTED);
    }
    if (!is_decodable(config)) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    const std::lock_guard<std::mutex> guard(mutex_);
    if (run_ != nullptr) {
        return zu_status(ZU_ERR_INVALID_STATE);
    }
    decoder_ = config;
    return 0;
}

int32_t player::set_decoder_frames(uint32_t frames) {
    if (frames == 0 || frames > kMaxDecoderFrames) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    const std::lock_guard<std::mutex> guard(mutex_);
    decoder_frames_ = frames;
    return 0;
}

playback_status player::status() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return run_ != nullptr ? run_->status() : last_status_;
}

zu_stream_info player::info() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    const playback_status status = run_ != nullptr ? run_->status() : last_status_;
    zu_stream_info info = {};
    info.decoder_type = decoder_.type;
    info.channels = status.format.channels;
    info.rate_hz = status.format.rate_hz;
    info.bytes_held = run_ != nullptr ? run_->held_bytes() : 0;
    info.frames = static_cast<uint32_t>(status.frames);
    info.units = status.units;
    info.damaged_units = status.damaged_units;
    info.timestamps = status.timestamps;
    info.gaps = status.gaps;
    info.overlaps = status.overlaps;
    info.reordered = status.reordered;
    info.drift_us = static_cast<int32_t>(std::clamp<int64_t>(
        status.drift_us, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
    return info;
}

bool player::is_channel_closed() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return state_ == player_state::closed;
}

int32_t player::set_tunnel(int value, bool enable) {
    const std::lock_guard<std::mutex> guard(mutex_);
    tunnel_ = value;
    tunnel_on_ = enable;
    return 0;
}

int32_t player::set_hdr(const void* info, uint32_t length) {
    if (info == nullptr || length == 0 || length > kMaxHdrBytes) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    const auto* bytes = static_cast<const uint8_t*>(info);
    const std::lock_guard<std::mutex> guard(mutex_);
    hdr_.assign(bytes, bytes + length);
    return 0;
}

int32_t player::get_hdr(void* info, uint32_t length) const {
    const std::lock_guard<std::mutex> guard(mutex_);
    if (hdr_.empty()) {
        return zu_status(ZU_ERR_INVALID_STATE);
    }
    if (info == nullptr || length < hdr_.size()) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    std::memcpy(info, hdr_.data(), hdr_.size());
    return 0;
}

}  // namespace player_service
