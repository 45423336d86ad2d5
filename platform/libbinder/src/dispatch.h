// From what has arrived on the loop's thread to the pool's threads, which serve it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <binder/IBinder.h>
#include <binder/Parcel.h>

#include "parcel_object.h"

namespace corvex_binder {

class connection;

struct incoming_call {
    std::shared_ptr<connection> from;
    uint64_t call = 0;  // 0: one-way
    uint64_t cost = 0;
    bool is_lookup = false;  // of a service: served by every process
    android::sp<android::IBinder> target;
    uint32_t code = 0;
    uint32_t flags = 0;
    std::unique_ptr<android::Parcel> data;
};

// Serves it, and answers. One-way calls of one object are served one after the other, in the order
// in which they came, whoever has sent them.
void dispatch(std::unique_ptr<incoming_call>&& call);

// Drops references where other people's destructors may run.
void let_go(android::sp<android::IBinder>&& object);
void let_go(std::vector<parcel_object>&& objects);
void let_go(std::unique_ptr<android::Parcel>&& parcel);

}  // namespace corvex_binder
