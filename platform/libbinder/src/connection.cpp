// A connection's life, and what it sends.

#include "connection.h"

#include <cerrno>
#include <cstring>
#include <sys/epoll.h>
#include <sys/socket.h>

#include "dispatch.h"
#include "log.h"
#include "proxy.h"

namespace corvex_binder {

namespace {

constexpr uint32_t kReading = EPOLLIN | EPOLLRDHUP;

// Somebody who takes this little of what he has asked for does not read any more.
constexpr uint64_t kMaxUnsentCost = uint64_t{64} << 20;

}  // namespace

connection::connection(unique_fd&& socket, const peer_identity& peer, const process_name& process)
    : peer_(peer),
      by_us_(true),
      greeted_(true),
      process_(process),
      socket_(std::move(socket)),
      uses_(1) {}

connection::connection(unique_fd&& socket, const peer_identity& peer)
    : peer_(peer), by_us_(false), greeted_(false), socket_(std::move(socket)) {}

connection::~connection() = default;

bool connection::open() {
    io_loop* loop = io_loop::get();
    if (loop == nullptr || !loop->add(shared_from_this(), kReading)) {
        return false;
    }
    if (!greeted_) {
        loop->want_ticks(*this, true);
    }
    return true;
}

bool connection::begin_use() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!is_open()) {
        return false;
    }
    ++uses_;
    return true;
}

void connection::end_use() {
    const std::lock_guard<std::mutex> lock(mutex_);
    --uses_;
    close_if_idle();
}

// Only who has made a connection ends it: the other side may be about to send something over it,
// or may not have sent anything yet.
void connection::close_if_idle() {
    if (by_us_ && is_open() && uses_ == 0 && incoming_calls_ == 0 && oneway_cost_ == 0 &&
        pending_.empty() && exports_.empty() && proxies_.empty() && unsent_.empty()) {
        stop_writing();
    }
}

// What has arrived is still read; the loop then finds the end and finishes.
void connection::stop_writing() {
    closing_ = true;
    unsent_.clear();
    unsent_cost_ = 0;
    shutdown(socket_.get(), SHUT_RDWR);
}

// True when all of it is sent.
bool connection::write_some(outgoing_frame& frame) {
    while (frame.sent < frame.bytes.size()) {
        iovec part = {frame.bytes.data() + frame.sent, frame.bytes.size() - frame.sent};
        msghdr message = {};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        alignas(cmsghdr) char control[CMSG_SPACE(kMaxFrameDescriptors * sizeof(int))] = {};
        if (frame.sent == 0 && !frame.descriptors.empty()) {
            const size_t bytes = frame.descriptors.size() * sizeof(int);
            message.msg_control = control;
            message.msg_controllen = CMSG_SPACE(bytes);
            cmsghdr* header = CMSG_FIRSTHDR(&message);
            header->cmsg_level = SOL_SOCKET;
            header->cmsg_type = SCM_RIGHTS;
            header->cmsg_len = CMSG_LEN(bytes);
            std::vector<int> numbers;
            for (const unique_fd& descriptor : frame.descriptors) {
                numbers.push_back(descriptor.get());
            }
            memcpy(CMSG_DATA(header), numbers.data(), bytes);
        }
        const ssize_t sent = sendmsg(socket_.get(), &message, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0) {
            if (errno == EINTR) {
                continue;
            }
            if (errno != EAGAIN && errno != ENOBUFS && errno != ENOMEM) {
                if (errno != EPIPE && errno != ECONNRESET) {
                    BINDER_LOG(ERROR, "the connection to process %d is given up: %s", peer_.pid,
                               strerror(errno));
                }
                stop_writing();
            }
            return false;
        }
        frame.sent += static_cast<size_t>(sent);
        frame.descriptors.clear();
    }
    return true;
}

// Nothing is ever lost between frames: they go out in the order in which they were enqueued.
void connection::enqueue(outgoing_frame&& frame) {
    if (!is_open() || (unsent_.empty() && write_some(frame)) || !is_open()) {
        return;
    }
    unsent_cost_ += frame.cost();
    unsent_.push_back(std::move(frame));
    if (unsent_.size() == 1) {
        io_loop::get()->set_events(*this, kReading | EPOLLOUT);
    }
    if (unsent_cost_ > kMaxUnsentCost) {
        BINDER_LOG(ERROR, "the connection to process %d is given up: it does not read", peer_.pid);
        stop_writing();
    }
}

void connection::flush() {
    while (!unsent_.empty()) {
        const uint64_t cost = unsent_.front().cost();
        const bool complete = write_some(unsent_.front());
        if (!is_open()) {
            return;
        }
        unsent_cost_ -= cost - (complete ? 0 : unsent_.front().cost());
        if (!complete) {
            return;
        }
        unsent_.pop_front();
    }
    io_loop::get()->set_events(*this, kReading);
    close_if_idle();
}

// Sends a frame with the parcel behind it. Naming its objects and sending them are one step, so
// that a release of one of them cannot come between. Returns what the frame costs.
uint64_t connection::enqueue_with(outgoing_parcel& parcel, outgoing_frame&& frame) {
    if (!is_open()) {
        return 0;  // nobody would ever give back what is named now
    }
    std::vector<wire_object> objects;
    std::vector<uint64_t> dead;
    for (const auto& [offset, binder] : parcel.objects) {
        if (binder == nullptr) {
            objects.push_back({offset, kDescriptor, 0});
            continue;
        }
        const android::BpBinder* proxy = binder->remoteBinder();
        if (proxy != nullptr && proxy_access::state(*proxy).from.get() == this) {
            objects.push_back({offset, kReceiversObject, proxy_access::state(*proxy).object});
            continue;
        }
        bool is_dead = false;
        const uint64_t name = export_object(binder, &is_dead);
        objects.push_back({offset, kSendersObject, name});
        if (is_dead) {
            dead.push_back(name);
        }
    }
    append_parcel(parcel.parcel, objects, std::move(parcel.descriptors), frame);
    const uint64_t cost = frame.cost();
    enqueue(std::move(frame));
    for (const uint64_t name : dead) {
        const object_died_payload died = {name};
        enqueue(begin_frame(kObjectDiedFrame, &died, sizeof died));
    }
    return cost;
}

uint64_t connection::export_object(const android::sp<android::IBinder>& object, bool* is_dead) {
    uint64_t& name = export_names_[object.get()];
    if (name == 0) {
        name = ++last_export_;
        exports_[name].object = object;
        const android::BpBinder* proxy = object->remoteBinder();
        *is_dead = proxy != nullptr && !add_forwarding(*proxy, shared_from_this(), name);
    }
    ++exports_[name].times_sent;
    return name;
}

void connection::send_object_died(uint64_t object) {
    const object_died_payload died = {object};
    const std::lock_guard<std::mutex> lock(mutex_);
    enqueue(begin_frame(kObjectDiedFrame, &died, sizeof died));
}

void connection::release_proxy(const android::BpBinder* proxy) {
    const proxy_state& state = proxy_access::state(*proxy);
    const std::lock_guard<std::mutex> lock(mutex_);
    // The same object may have come again, and have a new proxy.
    const auto found = proxies_.find(state.object);
    if (found != proxies_.end() && found->second.unsafe_get() == proxy) {
        proxies_.erase(found);
    }
    const release_payload release = {state.object, state.received};
    enqueue(begin_frame(kReleaseFrame, &release, sizeof release));
    close_if_idle();
}

void connection::finish(const char* why) {
    if (why != nullptr) {
        BINDER_LOG(ERROR, "the connection to process %d is given up: %s", peer_.pid, why);
    }
    io_loop::get()->remove(*this);
    stop_waiting_for_hello();
    remove_peer(process_, this);
    std::vector<android::sp<android::BpBinder>> proxies;
    std::unordered_map<uint64_t, export_entry> exports;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        closing_ = true;
        socket_.reset();
        unsent_.clear();
        for (const auto& [id, pending] : pending_) {
            pending->done = true;
            pending->done_or_dead.notify_all();
        }
        pending_.clear();
        for (const auto& [object, proxy] : proxies_) {
            android::sp<android::BpBinder> alive = proxy.promote();
            if (alive != nullptr) {
                proxies.push_back(std::move(alive));
            }
        }
        exports.swap(exports_);
        export_names_.clear();
    }
    for (auto& proxy : proxies) {
        bury(std::move(proxy));
    }
    for (auto& [name, entry] : exports) {
        if (const android::BpBinder* proxy = entry.object->remoteBinder()) {
            remove_forwarding(*proxy, this, name);
        }
        let_go(std::move(entry.object));
    }
}

}  // namespace corvex_binder
