#include "wire.h"

#include <algorithm>
#include <cstring>

#include "parcel_object.h"

namespace corvex_binder {

static_assert(sizeof(frame_header) == 8 && sizeof(hello_payload) == 32);
static_assert(sizeof(call_payload) == 24 && sizeof(reply_payload) == 16);
static_assert(sizeof(parcel_header) == 8 && sizeof(wire_object) == 16);

bool decode_fixed(const uint8_t* bytes, size_t size, void* fixed, size_t fixed_size) {
    if (size < fixed_size) {
        return false;
    }
    memcpy(fixed, bytes, fixed_size);
    return true;
}

bool decode_parcel(const uint8_t* bytes, size_t size, size_t descriptors, wire_parcel* parcel) {
    parcel_header header = {};
    if (!decode_fixed(bytes, size, &header, sizeof header) ||
        header.data_bytes > kMaxFrameParcelBytes || header.objects > kMaxFrameObjects) {
        return false;
    }
    const size_t table_bytes = header.objects * sizeof(wire_object);
    if (size - sizeof header != table_bytes + header.data_bytes) {
        return false;
    }
    parcel->objects.resize(header.objects);
    if (table_bytes > 0) {
        memcpy(parcel->objects.data(), bytes + sizeof header, table_bytes);
    }
    parcel->data = bytes + sizeof header + table_bytes;
    parcel->data_bytes = header.data_bytes;
    size_t free_from = 0;
    for (const wire_object& object : parcel->objects) {
        if (object.offset < free_from || object.offset > header.data_bytes ||
            header.data_bytes - object.offset < sizeof(flat_object)) {
            return false;
        }
        free_from = object.offset + sizeof(flat_object);
        if (object.kind == kDescriptor) {
            if (descriptors == 0) {
                return false;
            }
            --descriptors;
        } else if (object.kind != kSendersObject && object.kind != kReceiversObject) {
            return false;
        }
    }
    return descriptors == 0;
}

namespace {

void append(std::vector<uint8_t>& bytes, const void* what, size_t size) {
    if (size > 0) {
        const size_t at = bytes.size();
        bytes.resize(at + size);
        memcpy(bytes.data() + at, what, size);
    }
}

// Writes into the header what the frame has become.
void complete_header(outgoing_frame& frame) {
    frame_header header = {};
    memcpy(&header, frame.bytes.data(), sizeof header);
    header.payload_bytes = static_cast<uint32_t>(frame.bytes.size() - sizeof header);
    header.descriptors = static_cast<uint16_t>(frame.descriptors.size());
    memcpy(frame.bytes.data(), &header, sizeof header);
}

}  // namespace

outgoing_frame begin_frame(frame_type type, const void* fixed, size_t fixed_size) {
    outgoing_frame frame;
    const frame_header header = {0, type, 0};
    append(frame.bytes, &header, sizeof header);
    append(frame.bytes, fixed, fixed_size);
    complete_header(frame);
    return frame;
}

bool fits_frame(const android::Parcel& parcel) {
    const auto& objects = parcel_access::objects(parcel);
    const auto descriptors = std::count_if(objects.begin(), objects.end(), [](const auto& object) {
        return object.type == kDescriptorType;
    });
    return parcel.dataSize() <= kMaxFrameParcelBytes && objects.size() <= kMaxFrameObjects &&
           static_cast<size_t>(descriptors) <= kMaxFrameDescriptors;
}

bool duplicate_descriptors(const android::Parcel& parcel, std::vector<unique_fd>* descriptors) {
    for (const parcel_object& object : parcel_access::objects(parcel)) {
        if (object.type == kDescriptorType) {
            descriptors->push_back(unique_fd::duplicate(object.fd));
            if (!descriptors->back().valid()) {
                return false;
            }
        }
    }
    return true;
}

void append_parcel(const android::Parcel& parcel, const std::vector<wire_object>& objects,
                   std::vector<unique_fd>&& descriptors, outgoing_frame& frame) {
    parcel_header header = {};
    header.data_bytes = static_cast<uint32_t>(parcel.dataSize());
    header.objects = static_cast<uint32_t>(objects.size());
    frame.bytes.reserve(frame.bytes.size() + sizeof header + objects.size() * sizeof(wire_object) +
                        header.data_bytes);
    append(frame.bytes, &header, sizeof header);
    append(frame.bytes, objects.data(), objects.size() * sizeof(wire_object));
    append(frame.bytes, parcel.data(), header.data_bytes);
    frame.descriptors = std::move(descriptors);
    complete_header(frame);
}

}  // namespace corvex_binder
