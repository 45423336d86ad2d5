// zuavplayerd: the reference media player service. Start reading at service.h and client.h.

#include "host/program.h"
#include "host/program_error.h"
#include "player_service/daemon.h"
#include "player_service/options.h"

namespace {

int run(int argc, char** argv) {
    if (const auto options = player_service::parse_options(argc, argv)) {
        player_service::run_daemon(*options);
    }
    return exit_success;
}

}  // namespace

int main(int argc, char** argv) {
    return run_program("zuavplayerd", "close other programs", run, argc, argv);
}
