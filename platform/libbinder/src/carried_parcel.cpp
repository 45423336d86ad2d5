#include "carried_parcel.h"

#include <algorithm>

#include "connection.h"
#include "log.h"
#include "parcel_object.h"

namespace corvex_binder {

using android::Parcel;
using android::status_t;

bool may_travel(const Parcel& parcel) {
    const auto& objects = parcel_access::objects(parcel);
    if (parcel.dataSize() <= kMaxParcelBytes && objects.empty()) {
        return true;
    }
    const auto descriptors = std::count_if(objects.begin(), objects.end(), [](const auto& object) {
        return object.type == kDescriptorType;
    });
    if (parcel.dataSize() <= kMaxParcelBytes && objects.size() <= kMaxObjects &&
        static_cast<size_t>(descriptors) <= kMaxDescriptors) {
        return true;
    }
    complain(complaint::parcel_refused,
             "a parcel of %zu bytes and %zu objects is not sent: at most %zu bytes, %zu objects "
             "and %zu descriptors travel at once",
             parcel.dataSize(), objects.size(), kMaxParcelBytes, kMaxObjects, kMaxDescriptors);
    return false;
}

outgoing_parcel::outgoing_parcel(const Parcel& parcel, connection& ours, object_table& objects)
    : parcel_(parcel), ours_(ours), objects_(objects), status_(parcel.errorCheck()) {
    if (status_ == android::NO_ERROR && !may_travel(parcel)) {
        status_ = android::FAILED_TRANSACTION;
    }
    if (status_ == android::NO_ERROR && parcel.objectsCount() > 0) {
        status_ = name_objects(ours);
    }
}

status_t outgoing_parcel::name_objects(connection& ours) {
    for (const parcel_object& object : parcel_access::objects(parcel_)) {
        const auto at = static_cast<uint32_t>(object.offset);
        wire_object named = {at, kDescriptor, 0};
        if (object.type == kDescriptorType) {
            descriptors_.push_back(object.fd);
        } else if (const status_t status = objects_.name(ours, object.binder, at, &named);
                   status != android::NO_ERROR) {
            complain(ours.other().lines, complaint::parcel_refused,
                     "a parcel to process %d is not sent: %s", ours.other().identity.pid,
                     status == android::INVALID_OPERATION
                         ? "it holds an object of a third process, which must give it itself"
                         : "that has too many of our objects");
            return status;
        }
        table_.push_back(named);
    }
    return android::NO_ERROR;
}

outgoing_parcel::~outgoing_parcel() {
    if (is_sent_) {
        return;
    }
    for (const wire_object& named : table_) {
        // The parcel holds them, so none goes here.
        objects_.take_back(named);
    }
    if (!table_.empty()) {
        ours_.close_if_idle();
    }
}

parcel_header outgoing_parcel::header() const {
    return {static_cast<uint32_t>(parcel_.dataSize()), static_cast<uint32_t>(table_.size())};
}

iovec outgoing_parcel::table_part() const {
    return {const_cast<wire_object*>(table_.data()), table_.size() * sizeof(wire_object)};
}

iovec outgoing_parcel::data_part() const {
    return {const_cast<uint8_t*>(parcel_.data()), parcel_.dataSize()};
}

int outgoing_parcel::send(int socket, const void* fixed, size_t fixed_bytes, int flags) const {
    const iovec parts[] = {{const_cast<void*>(fixed), fixed_bytes}, table_part(), data_part()};
    return send_message(socket, parts, std::size(parts), descriptors_.data(), descriptors_.size(),
                        flags);
}

status_t take_parcel(const std::shared_ptr<connection>& from, object_table& objects,
                     const parcel_header& header, const uint8_t* bytes, size_t size,
                     received_message& message, Parcel* parcel) {
    wire_parcel wire;
    if (!decode_parcel(header, bytes, size, &wire)) {
        return android::BAD_VALUE;
    }
    status_t status = parcel->setData(wire.data, wire.data_bytes);
    if (wire.objects == 0 && message.descriptors.empty() && !message.lost_descriptors) {
        return status;
    }
    if (wire.descriptors != message.descriptors.size()) {
        status = message.lost_descriptors ? android::FAILED_TRANSACTION : android::BAD_VALUE;
    }
    std::vector<parcel_object> taken;
    size_t next_descriptor = 0;
    for (size_t i = 0; i < wire.objects; ++i) {
        const wire_object named = wire.object(i);
        parcel_object object;
        object.offset = named.offset;
        if (named.kind == kDescriptor) {
            object.type = kDescriptorType;
            if (next_descriptor < message.descriptors.size()) {
                object.owned = std::move(message.descriptors[next_descriptor++]);
                object.fd = object.owned.get();
            }
        } else if (named.kind == kReceiversObject) {
            object.binder = objects.find(named.object);
        } else if (named.object != 0) {
            object.binder = objects.receive(from, named.object);
        }
        if (object.type == kBinderType && object.binder == nullptr) {
            status = objects.has_ended() ? android::DEAD_OBJECT : android::BAD_VALUE;
            continue;
        }
        taken.push_back(std::move(object));
    }
    parcel_access::set_objects(*parcel, std::move(taken));
    return status;
}

void note_refusal(peer& other, const char* what, status_t status) {
    if (status != android::DEAD_OBJECT) {
        complain(other.lines, complaint::bad_parcel, "a %s of process %d is refused: %s", what,
                 other.identity.pid,
                 status == android::BAD_VALUE        ? "it is malformed"
                 : status == android::NAME_NOT_FOUND ? "it is for an object that is not there"
                                                     : "there is no room for what comes with it");
    }
}

}  // namespace corvex_binder
