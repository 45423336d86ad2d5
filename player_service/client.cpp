// A client's life: what it sets up first, and what goes with it.
#include "player_service/client.h"

#include <cstring>
#include <unistd.h>

#include <binder/IPCThreadState.h>

#include "player_service/log.h"

namespace player_service {

using namespace android;

namespace {

// The decoder libraries that a client of this system names, and what stands for them here.
constexpr struct {
    const char* name;
    bool is_here;
} kLibraries[] = {
    {"libZU.AUDIO.DOLBYPLUS.decode.so", true},
    {"libZU.AUDIO.BLURAYLPCM.decode.so", false},
    {"libZU.AUDIO.FFMPEG_ADEC.decode.so", true},
    {"libZU.AUDIO.PCM.decode.so", true},
};

}  // namespace

bool is_callers_own(const sp<IZuAvplayerObserver>& observer) {
    const bool is_here = IInterface::asBinder(observer)->localBinder() != nullptr;
    return is_here == (IPCThreadState::self()->getCallingPid() == getpid());
}

// Tells the client when the process of one of its observers has gone.
class client::observer_watch : public IBinder::DeathRecipient {
  public:
    explicit observer_watch(client* owner) : owner_(owner) {}

    // The owner is going.
    void disown() {
        const std::lock_guard<std::mutex> guard(mutex_);
        owner_ = nullptr;
    }
    void binderDied(const wp<IBinder>& who) override {
        const std::lock_guard<std::mutex> guard(mutex_);
        if (owner_ != nullptr) {
            owner_->forget_observer(who.unsafe_get());
        }
    }

  private:
    std::mutex mutex_;
    client* owner_;  // guarded by mutex_
};

client::client(const std::shared_ptr<service_context>& context)
    : context_(context), queue_(std::make_shared<event_queue>()), watch_(new observer_watch(this)) {
    context_->resource_counts.count_client(1);
}

client::~client() {
    watch_->disown();
    release_all();
    context_->resource_counts.count_client(-1);
}

void client::retire() {
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        retired_ = true;
    }
    release_all();
}

// Players end without the lock: an operation of another thread may be waiting for one.
void client::release_all() {
    resources& counts = context_->resource_counts;
    counts.ignore_all(this);
    decltype(players_.take_all()) players;
    shared_block block;
    size_t tracks = 0;
    size_t windows = 0;
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        initialised_ = false;
        sound_inits_ = video_inits_ = resource_inits_ = 0;
        listeners_ = 0;
        players = players_.take_all();
        tracks = tracks_.take_all().size();
        windows = windows_.take_all().size();
        std::swap(block, block_);
    }
    for (const auto& [handle, gone] : players) {
        gone->retire();
        counts.count(handle_kind::player, -1);
    }
    counts.count(handle_kind::track, -static_cast<int>(tracks));
    counts.count(handle_kind::window, -static_cast<int>(windows));
}

// Once an observer, however often it is registered.
void client::watch(const sp<IZuAvplayerObserver>& observer) {
    const sp<IBinder> binder = IInterface::asBinder(observer);
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        std::vector<wp<IBinder>> alive;
        bool is_known = false;
        for (const wp<IBinder>& known : watched_) {
            if (const sp<IBinder> held = known.promote(); held != nullptr) {
                alive.push_back(known);
                is_known = is_known || held == binder;
            }
        }
        watched_ = std::move(alive);
        if (is_known) {
            return;
        }
        watched_.push_back(binder);
    }
    // An observer of this process cannot be watched, and need not be.
    binder->linkToDeath(watch_);
}

void client::forget_observer(const IBinder* binder) {
    context_->resource_counts.ignore_all(this, binder);
    std::vector<std::shared_ptr<player>> players;
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        for (const auto& [handle, known] : players_.all()) {
            players.push_back(known);
        }
    }
    for (const auto& known : players) {
        known->observers().forget(binder);
    }
}

shared_block client::current_block() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return block_;
}

int32_t client::SYS_Init() {
    return 0;
}

int32_t client::Init() {
    const std::lock_guard<std::mutex> guard(mutex_);
    if (retired_) {
        return zu_status(ZU_ERR_NO_RESOURCE);
    }
    initialised_ = true;
    return 0;
}

int32_t client::DeInit() {
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        if (!initialised_) {
            return zu_status(ZU_ERR_INVALID_STATE);
        }
    }
    release_all();
    return 0;
}

int32_t client::RegisterAcodecLib(const char* library) {
    if (library == nullptr || *library == '\0') {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    for (const auto& known : kLibraries) {
        if (std::strcmp(known.name, library) == 0 && known.is_here) {
            return 0;
        }
    }
    return zu_status(ZU_ERR_NOT_SUPPORTED);
}

int32_t client::FoundSupportDecoder(uint32_t value, uint32_t* result) {
    if (result == nullptr) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    *result = is_decoder_type(value) ? 1 : 0;
    return 0;
}

int32_t client::SetShareMemory(const sp<IMemory>& block) {
    // Maps it without the lock: that may take a call to the client.
    shared_block mapped(block);
    if (block != nullptr && mapped.size_bytes() == 0) {
        if (!has_told_of_block_.exchange(true)) {
            LOGW("a client's shared block cannot be mapped");
        }
        return zu_status(ZU_ERR_NO_BLOCK);
    }
    const std::lock_guard<std::mutex> guard(mutex_);
    std::swap(block_, mapped);  // the old one goes after the lock
    return 0;
}

int32_t client::RM_init() {
    const std::lock_guard<std::mutex> guard(mutex_);
    if (retired_) {
        return zu_status(ZU_ERR_NO_RESOURCE);
    }
    ++resource_inits_;
    return 0;
}

int32_t client::RM_Deinit() {
    const std::lock_guard<std::mutex> guard(mutex_);
    if (resource_inits_ == 0) {
        return zu_status(ZU_ERR_INVALID_STATE);
    }
    if (--resource_inits_ == 0) {
        listeners_ = 0;
        context_->resource_counts.ignore_all(this);
    }
    return 0;
}

int32_t client::RM_RegisterCallback(void* cookie, const sp<IZuAvplayerObserver>& observer,
                                    uint32_t) {
    if (observer == nullptr || !is_callers_own(observer)) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        if (resource_inits_ == 0) {
            return zu_status(ZU_ERR_INVALID_STATE);
        }
    }
    watch(observer);
    const std::lock_guard<std::mutex> guard(mutex_);
    resources& counts = context_->resource_counts;
    if (counts.ignore(this, cookie)) {
        --listeners_;
    }
    if (listeners_ >= kMostListeners) {
        return zu_status(ZU_ERR_NO_RESOURCE);
    }
    ++listeners_;
    counts.listen(this, cookie, queue_, observer);
    return 0;
}

int32_t client::RM_UnRegisterCallback(void* cookie) {
    const std::lock_guard<std::mutex> guard(mutex_);
    if (!context_->resource_counts.ignore(this, cookie)) {
        return zu_status(ZU_ERR_INVALID_ARGUMENT);
    }
    --listeners_;
    return 0;
}

}  // namespace player_service
