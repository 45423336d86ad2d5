// The private folder in which services have their sockets, one of the service's name each.
//
// The folder is opened once for each use and everything is done relative to it, so that nothing
// can be put in its place between a check and what relies on it, and its path may be long.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

#include <utils/Errors.h>
#include <utils/String16.h>

#include "unique_fd.h"

namespace corvex_binder {

// The folder, after its owner and mode have been checked. Not valid, with the status, where there
// is none (NAME_NOT_FOUND, or made first with `create`) or it is not private; the latter is
// logged, unless `quiet`.
unique_fd open_socket_directory(bool create, bool quiet, android::status_t* status);

// The file name of a service's socket; empty where the name is empty or too long.
std::string socket_name(const android::String16& service);
// The service of a file name that socket_name() has made; empty for others.
std::string service_name(const std::string& socket_name);

// Which file a socket is, as long as it lives.
struct socket_identity {
    dev_t device = 0;
    ino_t inode = 0;
};
bool operator==(const socket_identity& a, const socket_identity& b);

// A listening socket of this name, in place of one that may be there.
unique_fd listen_at(int directory, const std::string& name, socket_identity* identity,
                    android::status_t* status);
// The socket that has the name now; false where there is none.
bool identify(int directory, const std::string& name, socket_identity* identity);

// A socket connected to who listens there, within the time, whose credentials have been checked.
// Not valid where nobody does.
unique_fd connect_to(int directory, const std::string& name, int timeout_ms);

// The file names in the folder that may be services' sockets.
std::vector<std::string> list_sockets(int directory);

// Whether the other end's process is ours, or root's. A listener's own end accepts no others;
// towards a service, root takes anybody.
struct peer_identity {
    pid_t pid = -1;
    uid_t uid = 0;
};
bool identify_peer(int socket, peer_identity* peer);
bool may_connect(const peer_identity& peer);

}  // namespace corvex_binder
