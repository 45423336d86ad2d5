// Parcels as they travel: out of one into a message, and out of a message into one.
#pragma once

#include <memory>
#include <sys/uio.h>
#include <vector>

#include <binder/Parcel.h>

#include "message.h"
#include "object_table.h"
#include "peer.h"

namespace corvex_binder {

// Whether a parcel keeps to what may travel, with a line in the log where not.
bool may_travel(const android::Parcel& parcel);

// A parcel that is about to be sent. Borrows it. Unless sent() is called, its objects count as not
// sent.
class outgoing_parcel {
  public:
    outgoing_parcel(const android::Parcel& parcel, connection& ours, object_table& objects);
    ~outgoing_parcel();
    outgoing_parcel(const outgoing_parcel&) = delete;
    outgoing_parcel& operator=(const outgoing_parcel&) = delete;

    // Why it cannot be sent, with a line in the log; 0 when it can.
    android::status_t status() const { return status_; }
    parcel_header header() const;
    // Sends it behind the fixed part of a message: 0 or an error of errno.
    int send(int socket, const void* fixed, size_t fixed_bytes, int flags) const;
    void sent() { is_sent_ = true; }
    bool is_sent() const { return is_sent_; }

    const int* descriptors() const { return descriptors_.data(); }
    size_t descriptor_count() const { return descriptors_.size(); }
    // The parts of the message behind the fixed one.
    iovec table_part() const;
    iovec data_part() const;

  private:
    android::status_t name_objects(connection& ours);

    const android::Parcel& parcel_;
    connection& ours_;
    object_table& objects_;
    android::status_t status_;
    bool is_sent_ = false;
    std::vector<wire_object> table_;  // both are empty for plain data, and then need no heap
    std::vector<int> descriptors_;
};

// Fills a parcel from a message. Its objects count as received whatever comes out: BAD_VALUE where
// the bytes do not hold together, FAILED_TRANSACTION where this process has no room for its
// descriptors, DEAD_OBJECT at the end of the connection. What was received is in `parcel` even
// then: on the loop's thread, drop it later.
android::status_t take_parcel(const std::shared_ptr<connection>& from, object_table& objects,
                              const parcel_header& header, const uint8_t* bytes, size_t size,
                              received_message& message, android::Parcel* parcel);

// Says why something from another process is refused: a status of take_parcel(), or NAME_NOT_FOUND
// where it is for an object that this process does not have (any more).
void note_refusal(peer& other, const char* what, android::status_t status);

}  // namespace corvex_binder
