#include "player_client/event_observer.h"

#include <string.h>

#include "diag/log.h"
#include "diag/relaxed.h"

namespace {

constexpr const char* log_tag = "ZUAVPLAYER_ADP";

}  // namespace

namespace android {

AVObserver::~AVObserver() = default;

void AVObserver::setNotifyFunc(int handle, void* client, void* func,
                               ZuAVPLAYER_EVENT_SOURCE_E source) {
    switch (source) {
        case ZuAVPLAYER_EVENT_SOURCE_AVPLAY:
            store_relaxed(mAvplayHandle, handle);
            store_relaxed(mAvplayNotify, reinterpret_cast<avplay_notify>(func));
            break;
        case ZuAVPLAYER_EVENT_SOURCE_RM:
            // What is replaced, not what is set: a first registration finds neither.
            if (load_relaxed(mRmNotify) == nullptr) {
                HAL_LOGE("mRmNotify is NULL");
            }
            if (load_relaxed(mRmClient) == nullptr) {
                HAL_LOGE("mRmClient is NULL");
            }
            store_relaxed(mRmClient, client);
            store_relaxed(mRmNotify, reinterpret_cast<rm_notify>(func));
            break;
    }
}

void AVObserver::onMessage(int msg, void* data, uint32_t len, int source) {
    switch (source) {
        case ZuAVPLAYER_EVENT_SOURCE_AVPLAY:
            if (const avplay_notify notify = load_relaxed(mAvplayNotify); notify != nullptr) {
                notify(load_relaxed(mAvplayHandle), msg, data);
            }
            break;
        case ZuAVPLAYER_EVENT_SOURCE_RM:
            if (const rm_notify notify = load_relaxed(mRmNotify); notify != nullptr) {
                int32_t word = 0;
                if (data == nullptr || len < sizeof word) {
                    HAL_LOGW("%s: RM message 0x%x has %u bytes of data, needs %zu: dropped",
                             __func__, static_cast<unsigned>(msg),
                             static_cast<unsigned>(data == nullptr ? 0 : len), sizeof word);
                    break;
                }
                memcpy(&word, data, sizeof word);
                notify(load_relaxed(mRmClient), msg, word);
            }
            break;
        default:
            break;
    }
}

}  // namespace android
