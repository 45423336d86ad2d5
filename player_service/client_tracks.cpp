// A client's part of the sound output: its tracks, each of which carries one player.
#include <cstring>

#include "player_service/client.h"

namespace player_service {

using namespace android;

int32_t client::SetSndLatency(uint32_t sound, uint32_t latency) {
    if (sound != ZU_SND_0 || latency < sound_output::kMinLatencyMs ||
        latency > sound_output::kMaxLatencyMs) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    context_->output.set_latency_ms(latency);
    return 0;
}

int32_t client::SndInit(uint32_t sound) {
    if (sound != ZU_SND_0) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    const std::lock_guard<std::mutex> guard(mutex_);
    if (retired_) {
        return zu_status(ZU_ERR_NO_RESOURCE);
    }
    ++sound_inits_;
    return 0;
}

int32_t client::SndDeInit(uint32_t sound) {
    if (sound != ZU_SND_0) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    const std::lock_guard<std::mutex> guard(mutex_);
    if (sound_inits_ == 0 || (sound_inits_ == 1 && !tracks_.is_empty())) {
        return zu_status(ZU_ERR_INVALID_STATE);
    }
    --sound_inits_;
    return 0;
}

int32_t client::SndGetMsFeature(uint32_t) {
    return zu_status(ZU_ERR_NOT_SUPPORTED);
}

int32_t client::GetTrackDefAttr(uint32_t type, void* attributes, uint32_t length) {
    return get_default_track(type, attributes, length);
}

int32_t client::CreateTrack(uint32_t sound, const void* attributes, uint32_t* handle,
                            uint32_t length) {
    if (sound != ZU_SND_0 || handle == nullptr) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    if (const int32_t error = check_track(attributes, length); error != 0) {
        return error;
    }
    const auto made = std::make_shared<track>();
    std::memcpy(&made->attributes, attributes, sizeof made->attributes);
    const std::lock_guard<std::mutex> guard(mutex_);
    if (sound_inits_ == 0) {
        return zu_status(ZU_ERR_INVALID_STATE);
    }
    const uint32_t given = tracks_.add(made);
    if (given == 0) {
        return zu_status(ZU_ERR_NO_RESOURCE);
    }
    context_->resource_counts.count(handle_kind::track, 1);
    *handle = given;
    return 0;
}

int32_t client::DestroyTrack(uint32_t handle) {
    const std::lock_guard<std::mutex> guard(mutex_);
    const std::shared_ptr<track> gone = tracks_.remove(handle);
    if (gone == nullptr) {
        return zu_status(ZU_ERR_INVALID_HANDLE);
    }
    if (const std::shared_ptr<player> carried = players_.find(gone->player)) {
        carried->set_audible(false);
    }
    context_->resource_counts.count(handle_kind::track, -1);
    return 0;
}

int32_t client::GetDelayMs(uint32_t handle, uint32_t* delay_ms) {
    if (delay_ms == nullptr) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    const std::lock_guard<std::mutex> guard(mutex_);
    const std::shared_ptr<track> found = tracks_.find(handle);
    if (found == nullptr) {
        return zu_status(ZU_ERR_INVALID_HANDLE);
    }
    *delay_ms = 0;
    if (const std::shared_ptr<player> carried = players_.find(found->player)) {
        *delay_ms = static_cast<uint32_t>(
            std::chrono::duration_cast<std::chrono::milliseconds>(carried->status().delay).count());
    }
    return 0;
}

int32_t client::AttachSnd(uint32_t handle, uint32_t source) {
    const std::lock_guard<std::mutex> guard(mutex_);
    const std::shared_ptr<track> carrier = tracks_.find(handle);
    const std::shared_ptr<player> carried = players_.find(source);
    if (carrier == nullptr || carried == nullptr) {
        return zu_status(ZU_ERR_INVALID_HANDLE);
    }
    for (const auto& [known, other] : tracks_.all()) {
        if (other->player == source || (other == carrier && other->player != 0)) {
            return zu_status(ZU_ERR_INVALID_STATE);
        }
    }
    carrier->player = source;
    carried->set_audible(true);
    return 0;
}

int32_t client::DetachSnd(uint32_t handle, uint32_t source) {
    const std::lock_guard<std::mutex> guard(mutex_);
    const std::shared_ptr<track> carrier = tracks_.find(handle);
    const std::shared_ptr<player> carried = players_.find(source);
    if (carrier == nullptr || carried == nullptr) {
        return zu_status(ZU_ERR_INVALID_HANDLE);
    }
    if (carrier->player != source) {
        return zu_status(ZU_ERR_INVALID_STATE);
    }
    carrier->player = 0;
    carried->set_audible(false);
    return 0;
}

}  // namespace player_service
