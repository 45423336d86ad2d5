#include "frame_reader.h"

#include <cstring>

namespace corvex_binder {

namespace {

// What a connection keeps for its next frame although it holds nothing.
constexpr size_t kKeptBytes = size_t{64} << 10;

}  // namespace

void frame_reader::feed(const uint8_t* bytes, size_t size, std::vector<unique_fd>&& descriptors) {
    if (taken_ > 0) {
        bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<ptrdiff_t>(taken_));
        taken_ = 0;
        if (bytes_.empty() && bytes_.capacity() > kKeptBytes) {
            bytes_.shrink_to_fit();
        }
    }
    bytes_.insert(bytes_.end(), bytes, bytes + size);
    for (unique_fd& descriptor : descriptors) {
        descriptors_.push_back(std::move(descriptor));
    }
}

frame_reader::result frame_reader::next(incoming_frame* frame) {
    const size_t left = bytes_.size() - taken_;
    const uint8_t* from = bytes_.data() + taken_;
    frame_header header = {};
    if (!decode_fixed(from, left, &header, sizeof header)) {
        // Descriptors come with their frame's first byte.
        const bool stray = descriptors_.size() > (left > 0 ? kMaxFrameDescriptors : 0);
        return stray ? result::broken : result::need_more;
    }
    if (header.payload_bytes > kMaxPayloadBytes || header.descriptors > kMaxFrameDescriptors ||
        header.type < kHelloFrame || header.type > kObjectDiedFrame) {
        return result::broken;
    }
    if (left - sizeof header < header.payload_bytes) {
        return descriptors_.size() > kMaxFrameDescriptors ? result::broken : result::need_more;
    }
    if (descriptors_.size() < header.descriptors) {
        return result::broken;
    }
    frame->type = header.type;
    frame->payload = from + sizeof header;
    frame->payload_bytes = header.payload_bytes;
    frame->descriptors.clear();
    for (size_t i = 0; i < header.descriptors; ++i) {
        frame->descriptors.push_back(std::move(descriptors_.front()));
        descriptors_.pop_front();
    }
    taken_ += sizeof header + header.payload_bytes;
    return result::frame;
}

}  // namespace corvex_binder
