// What a client's handles stand for.
//
// A handle is a kind and a serial number that the whole process counts, so it is never 0 or all
// ones, positive as a signed word, of no use for another kind or to another client, and not given
// again before 268 million others. Not for several threads at once.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>

namespace player_service {

enum class handle_kind : uint32_t { player = 1, track = 2, window = 3 };

// The process's serial numbers, counted from `next_serial`.
inline std::atomic<uint32_t> next_serial{1};

template <typename T>
class handle_table {
  public:
    handle_table(handle_kind kind, size_t most) : kind_(kind), most_(most) {}

    // 0 when there are as many as there may be.
    uint32_t add(std::shared_ptr<T> thing) {
        if (things_.size() >= most_) {
            return 0;
        }
        uint32_t handle = 0;
        do {
            const uint32_t serial = next_serial.fetch_add(1) & kSerialMask;
            handle = serial == 0 ? 0 : static_cast<uint32_t>(kind_) << kSerialBits | serial;
        } while (handle == 0 || things_.count(handle) != 0);
        things_.emplace(handle, std::move(thing));
        return handle;
    }

    // Null for a handle that stands for nothing here.
    std::shared_ptr<T> find(uint32_t handle) const {
        const auto found = things_.find(handle);
        return found == things_.end() ? nullptr : found->second;
    }

    std::shared_ptr<T> remove(uint32_t handle) {
        auto node = things_.extract(handle);
        return node.empty() ? nullptr : std::move(node.mapped());
    }

    bool is_empty() const { return things_.empty(); }
    const std::map<uint32_t, std::shared_ptr<T>>& all() const { return things_; }
    std::map<uint32_t, std::shared_ptr<T>> take_all() { return std::exchange(things_, {}); }

  private:
    static constexpr unsigned kSerialBits = 28;
    static constexpr uint32_t kSerialMask = (1U << kSerialBits) - 1;

    const handle_kind kind_;
    const size_t most_;
    std::map<uint32_t, std::shared_ptr<T>> things_;
};

}  // namespace player_service
