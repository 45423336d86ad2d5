// The private folder in which services have their sockets, one of the service's name each. It is
// opened once for each use and everything is done relative to it, so that nothing
// can be put in its place between a check and what relies on it, and its path may be long.
#pragma once

#include <string>
#include <sys/types.h>

#include <android-base/unique_fd.h>
#include <utils/Errors.h>
#include <utils/String16.h>

#include "peer.h"

namespace android::corvex_binder {

using base::unique_fd;

// The folder, after its owner and mode have been checked. Not valid, with the status, where there
// is none (NAME_NOT_FOUND, or made first with `create`) or it is not private; the latter is logged.
unique_fd open_socket_directory(bool create, status_t* status);

// The file name of a service's socket; empty where the name is empty or too long.
std::string socket_name(const String16& service);

// Which file a socket is, as long as it lives.
struct socket_identity {
    dev_t device = 0;
    ino_t inode = 0;
};
bool operator==(const socket_identity& a, const socket_identity& b);

// A listening socket of this name, in place of one that may be there.
unique_fd listen_at(int directory, const std::string& name, socket_identity* identity,
                    status_t* status);
// The socket that has the name now; false where there is none.
bool identify(int directory, const std::string& name, socket_identity* identity);

// A socket connected to who listens there, whose credentials have been checked. NAME_NOT_FOUND
// where nobody does; TIMED_OUT where somebody does and is not free within the time (0: for ever);
// PERMISSION_DENIED, with a line in the log, where that is another user.
status_t connect_to(int directory, const std::string& name, int timeout_ms, unique_fd* connected,
                    peer_identity* peer);

// Whether the other end's process is ours, or root's. A listener's own end accepts no others;
// towards a service, root takes anybody.
bool identify_peer(int socket, peer_identity* peer);
bool may_connect(const peer_identity& peer);

}  // namespace android::corvex_binder
