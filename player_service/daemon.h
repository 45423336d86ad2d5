// The service as a process: from the command line's options to the signal that ends it.
#pragma once

#include "player_service/options.h"

namespace player_service {

// Returns after SIGTERM, SIGINT or SIGHUP, when all sound and files are complete. Throws
// program_error where it cannot start. Changes the process's environment and signal mask, so once a
// process, before other threads.
void run_daemon(const daemon_options& options);

}  // namespace player_service
