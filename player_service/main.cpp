// zuavplayerd: the reference media player service. Start reading at service.h and client.h.

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include "player_service/daemon.h"
#include "player_service/options.h"
#include "player_service/service_error.h"

namespace {

void print_error(std::string line) {
    std::replace(line.begin(), line.end(), '\n', ' ');
    std::fprintf(stderr, "zuavplayerd: %s\n", line.c_str());
}

}  // namespace

int main(int argc, char** argv) {
    using namespace player_service;
    try {
        const auto options = parse_options(argc, argv);
        if (options) {
            run_daemon(*options);
        }
        return exit_success;
    } catch (const service_error& error) {
        print_error(error.what());
        return error.code();
    } catch (const std::bad_alloc&) {
        print_error("out of memory; close other programs");
    } catch (const std::exception& error) {
        print_error(error.what());
    }
    return exit_failure;
}
