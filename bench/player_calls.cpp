// Calls to a player service in another process, beside bare round trips to another process over a
// SOCK_SEQPACKET socket.
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <sys/socket.h>
#include <unistd.h>

#include <binder/IServiceManager.h>
#include <zuavplayer/player_types.h>

#include "bench/loaded_module.h"
#include "bench/null_player.h"
#include "bench/resources.h"
#include "bench/service_process.h"
#include "bench/subject.h"
#include "player_service/service.h"

namespace {

// A request with the interface's name and four words, and a reply with its status.
constexpr size_t request_bytes = 128;
constexpr size_t reply_bytes = 32;

// The far end of the bare round trips.
void echo(int socket) {
    char bytes[request_bytes];
    while (recv(socket, bytes, sizeof(bytes), 0) == static_cast<ssize_t>(request_bytes)) {
        if (send(socket, bytes, reply_bytes, 0) != static_cast<ssize_t>(reply_bytes)) {
            return;
        }
    }
}

// A service and an echo in processes of their own, made before this one has threads.
class other_processes {
  public:
    explicit other_processes(const std::function<void()>& offer) {
        if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets_) != 0) {
            give_up("player calls: no sockets");
        }
        echo_.emplace([this] { echo(sockets_[1]); });
        service_.emplace(offer);
        close(sockets_[1]);
    }
    ~other_processes() { close(sockets_[0]); }
    other_processes(const other_processes&) = delete;
    other_processes& operator=(const other_processes&) = delete;

    void round_trips(uint32_t times) const {
        char bytes[request_bytes] = {};
        for (uint32_t i = 0; i < times; ++i) {
            if (send(sockets_[0], bytes, sizeof(bytes), 0) != static_cast<ssize_t>(request_bytes) ||
                recv(sockets_[0], bytes, sizeof(bytes), 0) != static_cast<ssize_t>(reply_bytes)) {
                give_up("player calls: a bare round trip failed");
            }
        }
    }

  private:
    int sockets_[2] = {};
    std::optional<child> echo_;
    std::optional<service_process> service_;
};

// A chunk goes to the service by two calls of the module's flat functions.
class chunk_subject final : public subject {
  public:
    chunk_subject() {
        uint32_t made = 0;
        if (exported<int32_t(void**)>("ZUAVPLAYER_Open")(&player_) != 0 ||
            exported<int32_t(void*)>("ZUAVPLAYER_Init")(player_) != 0 ||
            exported<int32_t(void*, const void*, uint32_t*, uint64_t)>("ZUAVPLAYER_Create")(
                player_, "attr", &made, 4) != 0) {
            give_up("chunk: no player");
        }
        block_ = exported<void*(void*)>("ZUAVPLAYER_GetCblk")(player_);
        std::memset(data_, 0x5A, sizeof(data_));
        ours(1);
        uint32_t taken = 0;
        uint32_t last = 0;
        const auto ask =
            exported<int32_t(void*, uint32_t, uint32_t*, uint32_t*)>("ZUAVPLAYER_GetAudioPlaytime");
        if (ask(player_, 1, &taken, &last) != 0 || taken != sizeof(data_) || last != 0x5A) {
            give_up("chunk: the player did not get what was sent");
        }
    }
    ~chunk_subject() override { exported<int32_t(void*)>("ZUAVPLAYER_Close")(player_); }

    void ours(uint32_t times) override {
        for (uint32_t i = 0; i < times; ++i) {
            if (get_buf_(player_, 1, 1, sizeof(data_), 0) != 0) {
                give_up("chunk: GetBuf failed");
            }
            std::memcpy(block_, data_, sizeof(data_));
            if (put_buf_(player_, 1, 1, sizeof(data_), 0) != 0) {
                give_up("chunk: PutBufEx failed");
            }
        }
    }
    void reference(uint32_t times) override { others_.round_trips(2 * times); }

  private:
    using call = int32_t(void* handle, uint32_t player, int buffer, uint32_t bytes, uint32_t value);

    const other_processes others_{[] { offer_null_players(); }};
    call* const get_buf_ = exported<call>("ZUAVPLAYER_GetBuf");
    call* const put_buf_ = exported<call>("ZUAVPLAYER_PutBufEx");
    void* player_ = nullptr;
    void* block_ = nullptr;
    char data_[1024];
};

// The position of a direct stream is one call.
class position_subject final : public subject {
  public:
    position_subject() {
        stream_ = module_.open_output(AUDIO_OUTPUT_FLAG_DIRECT);
        stream_->write(stream_, "data", 4);
    }
    ~position_subject() override { module_.close(stream_); }

    void ours(uint32_t times) override {
        for (uint32_t i = 0; i < times; ++i) {
            uint64_t frames = 0;
            timespec time = {};
            if (stream_->get_presentation_position(stream_, &frames, &time) != 0 ||
                frames != null_player::decoded_frames) {
                give_up("position: it is not what the player says");
            }
        }
    }
    void reference(uint32_t times) override { others_.round_trips(times); }

  private:
    const other_processes others_{[] { offer_null_players(); }};
    const loaded_module module_;
    audio_stream_out* stream_ = nullptr;
};

void offer_reference_service() {
    using player_service::output_target;
    // Plays nowhere, as fast as it can.
    const auto context = std::make_shared<player_service::service_context>(
        output_target{output_target::kind::nowhere, ""}, false);
    if (android::defaultServiceManager()->addService(
            android::String16(android::kZuAvPlayerServiceName),
            new player_service::service(context)) != 0) {
        give_up("service chunk: the service cannot be registered");
    }
}

// A chunk that a direct stream writes and the reference player service takes and plays.
class service_chunk_subject final : public subject {
  public:
    service_chunk_subject() {
        stream_ = module_.open_output(AUDIO_OUTPUT_FLAG_DIRECT);
        constexpr uint32_t chunks = 100;
        ours(chunks);
        uint64_t frames = 0;
        timespec time = {};
        for (int i = 0; i < 1000 && frames < chunks * frames_each; ++i) {
            usleep(10'000);
            stream_->get_presentation_position(stream_, &frames, &time);
        }
        if (frames != chunks * frames_each) {
            give_up("service chunk: %llu frames were played",
                    static_cast<unsigned long long>(frames));
        }
    }
    ~service_chunk_subject() override { module_.close(stream_); }

    void ours(uint32_t times) override {
        for (uint32_t i = 0; i < times; ++i) {
            stream_->write(stream_, data_, sizeof(data_));
        }
    }
    void reference(uint32_t times) override { others_.round_trips(2 * times); }

  private:
    static constexpr uint64_t frames_each = 256;

    const other_processes others_{offer_reference_service};
    const loaded_module module_;
    audio_stream_out* stream_ = nullptr;
    const char data_[frames_each * 2 * sizeof(int16_t)] = {};
};

}  // namespace

std::unique_ptr<subject> make_chunk() {
    return std::make_unique<chunk_subject>();
}
std::unique_ptr<subject> make_service_chunk() {
    return std::make_unique<service_chunk_subject>();
}
std::unique_ptr<subject> make_position() {
    return std::make_unique<position_subject>();
}
