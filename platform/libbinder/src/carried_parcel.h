// Parcels as they travel: out of one into a message, and out of a message into one.
#pragma once

#include <memory>
#include <vector>

#include <binder/Parcel.h>

#include "message.h"
#include "object_table.h"
#include "peer.h"

namespace android::corvex_binder {

// Whether a parcel keeps to what may travel, with a line in the log where not.
bool may_travel(const Parcel& parcel);

// A parcel that is about to be sent. Borrows it. Unless `is_sent` is set, its objects count as not
// sent.
class outgoing_parcel {
  public:
    outgoing_parcel(const Parcel& parcel, connection& ours, object_table& objects);
    ~outgoing_parcel();
    outgoing_parcel(const outgoing_parcel&) = delete;
    outgoing_parcel& operator=(const outgoing_parcel&) = delete;

    // Why it cannot be sent, with a line in the log; 0 when it can.
    status_t status() const { return status_; }
    parcel_header header() const {
        return {static_cast<uint32_t>(parcel_.dataSize()), static_cast<uint32_t>(table_.size())};
    }
    // This message, with the parcel.
    outgoing_message behind(outgoing_message fixed) const;

    bool is_sent = false;

  private:
    status_t name_objects();

    const Parcel& parcel_;
    connection& ours_;
    object_table& objects_;
    status_t status_;
    std::vector<wire_object> table_;  // both are empty for plain data, and then need no heap
    std::vector<int> descriptors_;
};

// Fills a parcel from a message. Its objects count as received whatever comes out, and are in
// `parcel`, which the loop's thread has to drop later; descriptors stay in the message unless it is
// NO_ERROR. BAD_VALUE where the bytes do not hold together, FAILED_TRANSACTION where this process
// lacks room, DEAD_OBJECT at the end of the connection.
status_t take_parcel(const std::shared_ptr<connection>& from, object_table& objects,
                     const wire_parcel& wire, received_message& message, Parcel* parcel);

// Says why something from another process is refused: a status of take_parcel(), or NAME_NOT_FOUND
// where it is for an object that this process does not have (any more).
void note_refusal(peer& other, const char* what, status_t status);

}  // namespace android::corvex_binder
