// The other processes that we are connected to. Between two processes one connection is enough,
// whoever made it and however many services are used, so that an object of the other process is
// the same however it was found.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "unique_fd.h"
#include "wire.h"

namespace corvex_binder {

class connection;

// What a process calls itself for as long as it lives.
using process_name = std::array<uint8_t, sizeof(hello_payload::process)>;
const process_name& own_name();

outgoing_frame make_hello();
// False where it is none of ours.
bool read_hello(const uint8_t* payload, size_t size, process_name* name);

// A connection to whoever offers the service at this name, in use once more (begin_use), new only
// where there is none yet; `is_self` where that is this process. Null where there is nobody, or
// nobody who answers within the time.
std::shared_ptr<connection> connect_peer(int directory, const std::string& name, int timeout_ms,
                                         bool* is_self);

void add_peer(const process_name& name, const std::shared_ptr<connection>& peer);
void remove_peer(const process_name& name, const connection* peer);

}  // namespace corvex_binder
