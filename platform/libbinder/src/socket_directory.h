// The private folder in which services have their sockets, one of the service's name each. It is
// opened once for each use and everything is done relative to it, so that nothing
// can be put in its place between a check and what relies on it, and its path may be long.
#pragma once

#include <string>
#include <sys/socket.h>
#include <sys/types.h>
#include <utility>

#include <android-base/unique_fd.h>
#include <utils/Errors.h>
#include <utils/String16.h>

namespace android::corvex_binder {

using base::unique_fd;

// The folder, after its owner and mode have been checked. Not valid, with the status, where there
// is none (NAME_NOT_FOUND, or made first with `create`) or it is not private; the latter is logged.
unique_fd open_socket_directory(bool create, status_t* status);

// The file name of a service's socket; empty where the name is empty or too long.
std::string socket_name(const String16& service);

// Which file a socket is, as long as it lives.
using socket_identity = std::pair<dev_t, ino_t>;

// A listening socket of this name, in place of one that may be there.
unique_fd listen_at(int directory, const std::string& name, socket_identity* identity,
                    status_t* status);
// The socket that has the name now; false where there is none.
bool identify(int directory, const std::string& name, socket_identity* identity);

// A socket connected to who listens there, whose credentials have been checked. NAME_NOT_FOUND
// where nobody does; TIMED_OUT where somebody does and is not free within the time (0: for ever);
// PERMISSION_DENIED, with a line in the log, where that is another user.
status_t connect_to(int directory, const std::string& name, int timeout_ms, unique_fd* connected,
                    ucred* peer);

// Whether the other end's process is ours, or root's. A listener's own end accepts no others;
// towards a service, root takes anybody.
bool identify_peer(int socket, ucred* peer);
bool may_connect(const ucred& peer);

}  // namespace android::corvex_binder
