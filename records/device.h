// The device record: one per process, owned by the module, borrowed by the framework and by
// streams.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <type_traits>

#include <hardware/audio.h>

#include "diag/lock.h"
#include "records/record_cast.h"

constexpr uint32_t hw_sync_id_none = 0xFFFFFFFF;

struct hal_device {
    struct audio_hw_device device;

    // Stored and loaded without a lock, with load_relaxed() and store_relaxed().
    uint32_t hw_sync_id;  // AV-sync source in the player service, or hw_sync_id_none
    bool mic_mute;
    bool master_mute;
    bool hdo_supported;  // settled while the device is opened
    float master_volume;

    // Serialises the opening of back ends. Taken after a stream's lock, never before it.
    hal_mutex lock;
};

static_assert(std::is_trivial_v<hal_device> && std::is_standard_layout_v<hal_device>);
static_assert(offsetof(hal_device, device) == 0);

// The framework's device pointer, taken back as the record.
inline hal_device* to_hal_device(const struct audio_hw_device* device) {
    return record_at<hal_device>(device);
}

// The same from what it is closed with: `common` is the first member of the platform's device.
inline hal_device* to_hal_device(const struct hw_device_t* common) {
    return record_at<hal_device>(common);
}
