#include "carried_parcel.h"

#include <algorithm>

#include "connection.h"
#include "log.h"
#include "parcel_object.h"

namespace android::corvex_binder {

bool may_travel(const Parcel& parcel) {
    const auto& objects = parcel_access::objects(parcel);
    const auto descriptors = std::count_if(objects.begin(), objects.end(), [](const auto& object) {
        return object.type == kDescriptorType;
    });
    if (parcel.dataSize() <= kMaxParcelBytes && objects.size() <= kMaxObjects &&
        static_cast<size_t>(descriptors) <= kMaxDescriptors) {
        return true;
    }
    complain(caller_complaints(),
             "a parcel of %zu bytes and %zu objects is not sent: at most %zu bytes, %zu objects "
             "and %zu descriptors travel at once",
             parcel.dataSize(), objects.size(), kMaxParcelBytes, kMaxObjects, kMaxDescriptors);
    return false;
}

outgoing_parcel::outgoing_parcel(const Parcel& parcel, connection& ours, object_table& objects)
    : parcel_(parcel), ours_(ours), objects_(objects), status_(parcel.errorCheck()) {
    if (status_ == NO_ERROR) {
        status_ = may_travel(parcel) ? name_objects() : status_t{FAILED_TRANSACTION};
    }
}

status_t outgoing_parcel::name_objects() {
    for (const parcel_object& object : parcel_access::objects(parcel_)) {
        const auto at = static_cast<uint32_t>(object.offset);
        wire_object named = {at, kDescriptor, 0};
        if (object.type == kDescriptorType) {
            descriptors_.push_back(object.fd);
        } else if (const status_t status = objects_.name(ours_, object.binder, at, &named);
                   status != NO_ERROR) {
            complain(&ours_.other().lines, "a parcel to process %d is not sent: %s",
                     ours_.other().identity.pid,
                     status == INVALID_OPERATION
                         ? "it holds an object of a third process, which must give it itself"
                         : "that has too many of our objects");
            return status;
        }
        table_.push_back(named);
    }
    return NO_ERROR;
}

outgoing_parcel::~outgoing_parcel() {
    if (is_sent) {
        return;
    }
    for (const wire_object& named : table_) {
        objects_.take_back(named);
    }
    if (!table_.empty()) {
        ours_.close_if_idle();
    }
}

outgoing_message outgoing_parcel::behind(outgoing_message fixed) const {
    fixed.parts[1] = {const_cast<wire_object*>(table_.data()), table_.size() * sizeof(wire_object)};
    fixed.parts[2] = {const_cast<uint8_t*>(parcel_.data()), parcel_.dataSize()};
    fixed.descriptors = descriptors_.data();
    fixed.descriptor_count = descriptors_.size();
    return fixed;
}

status_t take_parcel(const std::shared_ptr<connection>& from, object_table& objects,
                     const wire_parcel& wire, received_message& message, Parcel* parcel) {
    if (!wire.holds) {
        return BAD_VALUE;
    }
    status_t status = parcel->setData(wire.data, wire.data_bytes);
    if (wire.objects == 0 && message.descriptors.empty() && !message.lacks_room) {
        return status;
    }
    if (message.lacks_room || wire.descriptors != message.descriptors.size()) {
        status = message.lacks_room ? FAILED_TRANSACTION : BAD_VALUE;
    }
    std::vector<parcel_object> taken;
    for (size_t i = 0; i < wire.objects; ++i) {
        const wire_object named = wire.object(i);
        parcel_object object;
        object.offset = named.offset;
        if (named.kind == kDescriptor) {
            object.type = kDescriptorType;
        } else if (named.kind == kReceiversObject) {
            object.binder = objects.find(named.object);
        } else if (named.object != 0) {
            object.binder = objects.receive(from, named.object);
        }
        if (object.type == kBinderType && object.binder == nullptr) {
            status = objects.has_ended() ? DEAD_OBJECT : BAD_VALUE;
            continue;
        }
        taken.push_back(std::move(object));
    }
    auto next = message.descriptors.begin();
    for (parcel_object& object : taken) {
        if (status == NO_ERROR && object.type == kDescriptorType) {
            object.owned = std::move(*next++);
            object.fd = object.owned.get();
        }
    }
    message.descriptors.erase(message.descriptors.begin(), next);
    parcel_access::set_objects(*parcel, std::move(taken));
    return status;
}

void note_refusal(peer& other, const char* what, status_t status) {
    if (status != DEAD_OBJECT) {
        complain(&other.lines, "a %s of process %d is refused: %s", what, other.identity.pid,
                 status == BAD_VALUE        ? "it is malformed"
                 : status == NAME_NOT_FOUND ? "it is for an object that is not there"
                                            : "there is no room for what comes with it");
    }
}

}  // namespace android::corvex_binder
