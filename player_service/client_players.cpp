// A client's players: each operation finds the player, checks what is the client's own, and hands
// over.
#include <algorithm>
#include <cstring>
#include <limits>

#include "player_service/client.h"

namespace player_service {

using namespace android;

namespace {

// 16-bit samples, as the clients' own PCM formats count (0), or in bits.
bool is_16_bit(int value) {
    return value == 0 || value == 16;
}

uint32_t low_word(uint64_t value) {
    return static_cast<uint32_t>(value);
}

}  // namespace

std::shared_ptr<player> client::find_player(uint32_t handle) const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return players_.find(handle);
}

template <typename Action>
int32_t client::with_player(uint32_t handle, Action action) const {
    const std::shared_ptr<player> found = find_player(handle);
    return found == nullptr ? zu_status(ZU_ERR_INVALID_HANDLE) : action(*found);
}

int32_t client::GetDefaultConfig(void* config, int type, uint32_t length) {
    return get_default_config(type, config, length);
}

int32_t client::Create(const void* attributes, uint32_t* handle, uint32_t length) {
    if (handle == nullptr) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    if (const int32_t error = check_config(attributes, length); error != 0) {
        return error;
    }
    const auto made = std::make_shared<player>(context_, queue_);
    const std::lock_guard<std::mutex> guard(mutex_);
    if (!initialised_) {
        return zu_status(ZU_ERR_INVALID_STATE);
    }
    const uint32_t given = players_.add(made);
    if (given == 0) {
        return zu_status(ZU_ERR_NO_RESOURCE);
    }
    made->set_handle(given);
    context_->resource_counts.count(handle_kind::player, 1);
    *handle = given;
    return 0;
}

int32_t client::Destroy(uint32_t handle) {
    std::shared_ptr<player> gone;
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        gone = players_.remove(handle);
        if (gone == nullptr) {
            return zu_status(ZU_ERR_INVALID_HANDLE);
        }
        for (const auto& [known, carrier] : tracks_.all()) {
            carrier->player = carrier->player == handle ? 0 : carrier->player;
        }
        for (const auto& [known, viewer] : windows_.all()) {
            viewer->player = viewer->player == handle ? 0 : viewer->player;
        }
    }
    gone->retire();
    context_->resource_counts.count(handle_kind::player, -1);
    return 0;
}

int32_t client::RegisterEvent64(uint32_t handle, int event,
                                const sp<IZuAvplayerObserver>& observer) {
    if (observer != nullptr && !is_callers_own(observer)) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    return with_player(handle, [&](player& found) {
        const int32_t error = found.observers().set(event, observer);
        if (error == 0 && observer != nullptr) {
            watch(observer);
        }
        return error;
    });
}

int32_t client::GetAttr(uint32_t handle, int id, void* attribute, uint32_t length) {
    return with_player(handle,
                       [&](const player& found) { return found.get_attr(id, attribute, length); });
}

int32_t client::SetAttr(uint32_t handle, int id, const void* attribute, uint32_t length) {
    return with_player(handle,
                       [&](player& found) { return found.set_attr(id, attribute, length); });
}

int32_t client::GetAdecOutFrameInfo(uint32_t handle, uint32_t* first, uint32_t* second) {
    if (first == nullptr || second == nullptr) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    return with_player(handle, [&](const player& found) {
        const playback_status status = found.status();
        *first = low_word(status.frames);
        *second = status.units;
        return 0;
    });
}

int32_t client::SetAdecOutBufSize(uint32_t handle, uint32_t size) {
    return with_player(handle, [&](player& found) { return found.set_decoder_frames(size); });
}

int32_t client::SetAdecAttr(uint32_t handle, uint32_t u32AdecType, uint16_t nChannels,
                            uint32_t nSamplesPerSec, int s32BitSample) {
    if (!is_16_bit(s32BitSample)) {
        return zu_status(ZU_ERR_NOT_SUPPORTED);
    }
    return with_player(handle, [&](player& found) {
        return found.set_decoder({u32AdecType, {nChannels, nSamplesPerSec}});
    });
}

int32_t client::ChnOpen(uint32_t handle, int channel, const void*, uint32_t) {
    return with_player(handle, [&](player& found) { return found.open_channel(channel); });
}

int32_t client::ChnClose(uint32_t handle, int channel) {
    return with_player(handle, [&](player& found) { return found.close_channel(channel); });
}

int32_t client::GetBuf(uint32_t handle, int buffer, uint32_t requested_bytes, uint32_t) {
    return with_player(handle, [&](player& found) {
        if (buffer != ZU_BUF_AUD || requested_bytes == 0) {
            return zu_status(ZU_ERR_INVALID_ARGUMENT);
        }
        const size_t block_bytes = current_block().size_bytes();
        if (block_bytes == 0) {
            return zu_status(ZU_ERR_NO_BLOCK);
        }
        if (requested_bytes > block_bytes) {
            return zu_status(ZU_ERR_INVALID_ARGUMENT);
        }
        return found.reserve(requested_bytes);
    });
}

int32_t client::PutBufEx(uint32_t handle, int buffer, uint32_t valid_bytes, uint32_t pts_ms) {
    return with_player(handle, [&](player& found) {
        if (buffer != ZU_BUF_AUD || valid_bytes > kMaxAudioBufferBytes) {
            return zu_status(ZU_ERR_INVALID_ARGUMENT);
        }
        const shared_block block = current_block();
        // It may be another one than at GetBuf.
        if (block.size_bytes() < valid_bytes) {
            return zu_status(ZU_ERR_NO_BLOCK);
        }
        return found.put(block.bytes(), valid_bytes, pts_ms);
    });
}

int32_t client::Start(uint32_t handle, int channel, const void*, uint32_t) {
    return with_player(handle, [&](player& found) { return found.start(channel); });
}

int32_t client::Stop(uint32_t handle, int channel, const void* option, uint32_t length) {
    zu_stop_option given = {};
    if (option != nullptr) {
        if (length != sizeof given) {
            return zu_status(ZU_ERR_INVALID_ARGUMENT);
        }
        std::memcpy(&given, option, sizeof given);
    }
    return with_player(handle, [&](player& found) {
        return found.stop(channel, option == nullptr ? nullptr : &given);
    });
}

int32_t client::Pause(uint32_t handle, const void*, uint32_t) {
    return with_player(handle, [](player& found) { return found.pause(); });
}

int32_t client::Resume(uint32_t handle, const void*, uint32_t) {
    return with_player(handle, [](player& found) { return found.resume(); });
}

int32_t client::FlushStream(uint32_t handle, const void*, uint32_t) {
    return with_player(handle, [](player& found) { return found.flush(); });
}

int32_t client::GetStreamInfo(uint32_t handle, void* info, uint32_t length) {
    if (info == nullptr || length != sizeof(zu_stream_info)) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    return with_player(handle, [&](const player& found) {
        const zu_stream_info now = found.info();
        std::memcpy(info, &now, sizeof now);
        return 0;
    });
}

int32_t client::GetAudioPlaytime(uint32_t handle, uint32_t* first, uint32_t* second) {
    if (first == nullptr || second == nullptr) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    return with_player(handle, [&](const player& found) {
        const playback_status status = found.status();
        const auto delay_us = static_cast<uint64_t>(
            std::chrono::duration_cast<std::chrono::microseconds>(status.delay).count());
        *first = low_word((status.played_us - std::min(status.played_us, delay_us)) / 1000);
        *second = status.has_pts ? status.pts_ms : ZU_PTS_NONE;
        return 0;
    });
}

int32_t client::CheckCloseState(uint32_t value, uint32_t* state) {
    if (state == nullptr) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    const std::shared_ptr<player> found = find_player(value);
    *state = found == nullptr || found->is_channel_closed() ? 1 : 0;
    return 0;
}

int32_t client::SetTunnelMode(uint32_t handle, int value, bool enable) {
    return with_player(handle, [&](player& found) { return found.set_tunnel(value, enable); });
}

int32_t client::SetHDRInfo(uint32_t handle, const void* info, uint32_t length, bool, uint32_t) {
    return with_player(handle, [&](player& found) { return found.set_hdr(info, length); });
}

int32_t client::GetHDRInfo(uint32_t handle, void* info, uint32_t length) {
    return with_player(handle, [&](const player& found) { return found.get_hdr(info, length); });
}

}  // namespace player_service
