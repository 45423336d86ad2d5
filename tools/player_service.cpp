#include "tools/player_service.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <unistd.h>

#include "tools/service_connection.h"
#include "tools/tool_error.h"

namespace fs = std::filesystem;

namespace {

constexpr char service_name[] = "zuavplayerd";

// Where the socket and the service's output are. Short, because it ends up in a socket's address.
fs::path make_private_folder() {
    std::error_code error;
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    const fs::path parent = runtime != nullptr && *runtime == '/'
                                ? fs::path(runtime)
                                : fs::absolute(fs::temp_directory_path(error), error);
    std::string path = (parent.lexically_normal() / "corvex-hal-XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) {
        throw tool_error("cannot make a folder in '" + parent.string() +
                         "': " + std::strerror(errno) + "; set TMPDIR to one that can be written");
    }
    return path;
}

std::string find_program() {
    std::error_code error;
    const fs::path self = fs::read_symlink("/proc/self/exe", error);
    const fs::path beside = self.parent_path() / service_name;
    if (!error && access(beside.c_str(), X_OK) == 0) {
        return beside.string();
    }
    const char* path = std::getenv("PATH");
    std::string folders = path != nullptr ? path : "";
    for (size_t begin = 0; begin < folders.size();) {
        const size_t end = std::min(folders.find(':', begin), folders.size());
        const fs::path candidate = fs::path(folders.substr(begin, end - begin)) / service_name;
        if (end > begin && access(candidate.c_str(), X_OK) == 0) {
            return candidate.string();
        }
        begin = end + 1;
    }
    throw tool_error("there is no " + std::string(service_name) + " beside " + self.string() +
                     " or in PATH; build it, name its file with --service, or start a player "
                     "service first");
}

void set_folder(const std::optional<std::string>& folder) {
    if (folder) {
        setenv(service_folder_variable, folder->c_str(), 1);
    } else {
        unsetenv(service_folder_variable);
    }
}

}  // namespace

player_service::player_service(const service_request& request) {
    if (request.own) {
        try {
            start(request);
        } catch (...) {
            stop();
            throw;
        }
    } else if (!player_service_answers()) {
        throw tool_error(
            "no player service answers: none runs, or it is stopped or busy (-v tells which); "
            "start "
            "one, or leave '--service running' out");
    }
    serve_callbacks();
}

player_service::~player_service() {
    stop();
}

void player_service::start(const service_request& request) {
    const std::string program = request.program.empty() ? find_program() : request.program;
    folder_ = make_private_folder();
    const fs::path sockets = folder_ / "services";
    std::error_code error;
    if (!fs::create_directory(sockets, error)) {
        throw tool_error("cannot make a folder in '" + folder_.string() + "': " + error.message() +
                         "; set TMPDIR to one that can be written");
    }
    fs::permissions(sockets, fs::perms::owner_all, error);
    std::vector<std::string> arguments = {"--socket-dir", sockets.string()};
    arguments.insert(arguments.end(), request.arguments.begin(), request.arguments.end());
    process_ =
        std::make_unique<service_process>(program, arguments, folder_ / "output",
                                          request.log.empty() ? folder_ / "log" : request.log);
    const char* found = std::getenv(service_folder_variable);
    if (found != nullptr) {
        found_folder_ = found;
    }
    set_folder(sockets.string());
}

std::string player_service::text() const {
    return is_own()
               ? "a player service of its own (process " + std::to_string(process_->pid()) + ")"
               : "the player service that runs already";
}

std::string player_service::ended() {
    return is_own() ? process_->ended() : "";
}

std::string player_service::stop() {
    std::string fault;
    if (process_ != nullptr) {
        fault = process_->stop();
        process_.reset();
        set_folder(found_folder_);
    }
    if (!folder_.empty()) {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
        folder_.clear();
    }
    return fault;
}
