// A client's video windows. There is no picture here: they are kept, so that clients can rely on
// handles and on the order of things.
#include "player_service/client.h"

namespace player_service {

using namespace android;

namespace {

constexpr uint32_t kMaxWindowBytes = 256;

}  // namespace

int32_t client::VO_Init(int) {
    const std::lock_guard<std::mutex> guard(mutex_);
    if (retired_) {
        return zu_status(ZU_ERR_NO_RESOURCE);
    }
    ++video_inits_;
    return 0;
}

int32_t client::VO_DeInit() {
    const std::lock_guard<std::mutex> guard(mutex_);
    if (video_inits_ == 0 || (video_inits_ == 1 && !windows_.is_empty())) {
        return zu_status(ZU_ERR_INVALID_STATE);
    }
    --video_inits_;
    return 0;
}

int32_t client::VO_CreateWindow(const void* attributes, uint32_t* handle, uint32_t length) {
    if (attributes == nullptr || handle == nullptr || length == 0 || length > kMaxWindowBytes) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    const auto* bytes = static_cast<const uint8_t*>(attributes);
    const auto made = std::make_shared<window>();
    made->attributes.assign(bytes, bytes + length);
    const std::lock_guard<std::mutex> guard(mutex_);
    if (video_inits_ == 0) {
        return zu_status(ZU_ERR_INVALID_STATE);
    }
    const uint32_t given = windows_.add(made);
    if (given == 0) {
        return zu_status(ZU_ERR_NO_RESOURCE);
    }
    context_->resource_counts.count(handle_kind::window, 1);
    *handle = given;
    return 0;
}

int32_t client::VO_AttachWindow(uint32_t handle, uint32_t source) {
    const std::lock_guard<std::mutex> guard(mutex_);
    const std::shared_ptr<window> viewer = windows_.find(handle);
    if (viewer == nullptr || players_.find(source) == nullptr) {
        return zu_status(ZU_ERR_INVALID_HANDLE);
    }
    if (viewer->player != 0) {
        return zu_status(ZU_ERR_INVALID_STATE);
    }
    viewer->player = source;
    return 0;
}

int32_t client::VO_DetachWindow(uint32_t handle, uint32_t source) {
    const std::lock_guard<std::mutex> guard(mutex_);
    const std::shared_ptr<window> viewer = windows_.find(handle);
    if (viewer == nullptr || players_.find(source) == nullptr) {
        return zu_status(ZU_ERR_INVALID_HANDLE);
    }
    if (viewer->player != source) {
        return zu_status(ZU_ERR_INVALID_STATE);
    }
    viewer->player = 0;
    return 0;
}

int32_t client::VO_SetWindowEnable(uint32_t handle, bool enable) {
    const std::lock_guard<std::mutex> guard(mutex_);
    const std::shared_ptr<window> found = windows_.find(handle);
    if (found == nullptr) {
        return zu_status(ZU_ERR_INVALID_HANDLE);
    }
    found->enabled = enable;
    return 0;
}

int32_t client::VO_SetRotation(uint32_t handle, uint32_t rotation) {
    const std::lock_guard<std::mutex> guard(mutex_);
    const std::shared_ptr<window> found = windows_.find(handle);
    if (found == nullptr) {
        return zu_status(ZU_ERR_INVALID_HANDLE);
    }
    if (rotation >= 360 || rotation % 90 != 0) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    found->rotation_degrees = rotation;
    return 0;
}

int32_t client::VO_DestroyWindow(uint32_t handle) {
    const std::lock_guard<std::mutex> guard(mutex_);
    if (windows_.remove(handle) == nullptr) {
        return zu_status(ZU_ERR_INVALID_HANDLE);
    }
    context_->resource_counts.count(handle_kind::window, -1);
    return 0;
}

}  // namespace player_service
