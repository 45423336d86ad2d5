// A queue of plain values that needs no memory but when it grows beyond its longest so far. Not for
// several threads at once.
#pragma once

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

namespace player_service {

template <typename T>
class ring {
  public:
    static_assert(std::is_trivially_copyable_v<T>);

    size_t size() const { return size_; }

    // At least one, as for pop().
    void push(const T* values, size_t count) {
        if (count > room_.size() - size_) {
            grow(size_ + count);
        }
        const size_t end = (first_ + size_) % room_.size();
        const size_t before_wrap = std::min(count, room_.size() - end);
        std::copy_n(values, before_wrap, room_.begin() + static_cast<ptrdiff_t>(end));
        std::copy_n(values + before_wrap, count - before_wrap, room_.begin());
        size_ += count;
    }
    // At most size().
    void pop(T* values, size_t count) {
        copy_first(values, count);
        first_ = (first_ + count) % room_.size();
        size_ -= count;
    }

  private:
    void copy_first(T* values, size_t count) const {
        const size_t before_wrap = std::min(count, room_.size() - first_);
        std::copy_n(room_.begin() + static_cast<ptrdiff_t>(first_), before_wrap, values);
        std::copy_n(room_.begin(), count - before_wrap, values + before_wrap);
    }
    void grow(size_t least) {
        std::vector<T> larger(std::max(least, 2 * room_.size()));
        copy_first(larger.data(), size_);
        room_ = std::move(larger);
        first_ = 0;
    }

    std::vector<T> room_;
    size_t first_ = 0;
    size_t size_ = 0;
};

}  // namespace player_service
