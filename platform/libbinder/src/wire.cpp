#include "wire.h"

#include <cstring>

#include "parcel_object.h"

namespace corvex_binder {

static_assert(sizeof(hello_message) == 24 && sizeof(call_message) == 40);
static_assert(sizeof(reply_message) == 24 && sizeof(oneway_done_message) == 16);
static_assert(sizeof(release_message) == 32 && sizeof(plain_message) == 8);
static_assert(sizeof(parcel_header) == 8 && sizeof(wire_object) == 16);

wire_object wire_parcel::object(size_t index) const {
    wire_object one = {};
    memcpy(&one, table + index * sizeof one, sizeof one);
    return one;
}

uint32_t message_type_of(const uint8_t* bytes, size_t size) {
    uint32_t type = 0;
    decode_fixed(bytes, size, &type, sizeof type);
    return type;
}

bool decode_fixed(const uint8_t* bytes, size_t size, void* fixed, size_t fixed_size) {
    if (size < fixed_size) {
        return false;
    }
    memcpy(fixed, bytes, fixed_size);
    return true;
}

bool decode_parcel(const parcel_header& header, const uint8_t* bytes, size_t size,
                   wire_parcel* parcel) {
    if (header.data_bytes > kMaxParcelBytes || header.objects > kMaxObjects ||
        size != header.objects * sizeof(wire_object) + header.data_bytes) {
        return false;
    }
    parcel->table = bytes;
    parcel->objects = header.objects;
    parcel->data = bytes + header.objects * sizeof(wire_object);
    parcel->data_bytes = header.data_bytes;
    parcel->descriptors = 0;
    size_t free_from = 0;
    for (size_t i = 0; i < header.objects; ++i) {
        const wire_object object = parcel->object(i);
        if (object.offset < free_from || object.offset > header.data_bytes ||
            header.data_bytes - object.offset < sizeof(flat_object) ||
            object.kind < kSendersObject || object.kind > kDescriptor) {
            return false;
        }
        free_from = object.offset + sizeof(flat_object);
        parcel->descriptors += object.kind == kDescriptor ? 1 : 0;
    }
    return parcel->descriptors <= kMaxDescriptors;
}

}  // namespace corvex_binder
