#include "player_service/daemon.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sys/prctl.h>
#include <unistd.h>

#include <android/log.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>
#include <utils/String16.h>
#include <zuavplayer/player_types.h>

#include "host/environment.h"
#include "host/program_error.h"
#include "player_service/log.h"
#include "player_service/service.h"

namespace player_service {

using namespace android;

namespace {

constexpr char kFolderVariable[] = "CORVEX_BINDER_DIR";

sigset_t stop_signals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&set, number);
    }
    return set;
}

// All threads inherit the mask, so that only sigwait() takes these signals.
void block_signals() {
    const sigset_t set = stop_signals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

void follow_parent(pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) {
        throw program_error("the process that started it has ended already; start it again");
    }
}

// What stands for the folder in messages.
std::string set_folder(const std::string& socket_dir) {
    if (!socket_dir.empty()) {
        setenv(kFolderVariable, std::filesystem::absolute(socket_dir).c_str(), 1);
    }
    const std::string folder = environment_value(kFolderVariable);
    return folder.empty() ? "the user's default folder" : "'" + folder + "'";
}

std::unique_ptr<timeline_file> open_timeline(const std::string& path) {
    if (path.empty()) {
        return nullptr;
    }
    std::string reason;
    std::unique_ptr<timeline_file> file = timeline_file::create(path, reason);
    if (file == nullptr) {
        throw program_error("the timeline '" + path + "' cannot be written: " + reason +
                            "; name a file in another folder");
    }
    return file;
}

void offer(const sp<service>& offered, const std::string& folder) {
    const sp<IServiceManager> manager = defaultServiceManager();
    const String16 name(kZuAvPlayerServiceName);
    if (const sp<IBinder> other = manager->checkService(name);
        other != nullptr && other->pingBinder() == NO_ERROR) {
        throw program_error("another service answers in " + folder +
                            "; stop it, or give this one a folder of its own with --socket-dir");
    }
    ProcessState::self()->startThreadPool();
    const status_t status = manager->addService(name, offered);
    if (status != NO_ERROR) {
        throw program_error("clients could not find it in " + folder + ": " +
                            std::strerror(-status) +
                            "; give it a folder that is yours alone with --socket-dir");
    }
}

void tell_ready(const daemon_options& options, const std::string& folder) {
    std::printf("ready in %s, playing to %s%s\n", folder.c_str(), options.target_text.c_str(),
                options.target.what == output_target::kind::alsa ? ""
                : options.real_pace                              ? " in real time"
                                                                 : " as fast as it can");
    if (std::fflush(stdout) != 0) {
        throw program_error(std::string("standard output takes no line: ") + std::strerror(errno) +
                            "; check where it goes");
    }
}

}  // namespace

void run_daemon(const daemon_options& options) {
    const pid_t parent = getppid();
    block_signals();
    __android_log_set_minimum_priority(options.verbose ? ANDROID_LOG_VERBOSE : ANDROID_LOG_INFO);
    if (options.exit_with_parent) {
        follow_parent(parent);
    }
    const std::string folder = set_folder(options.socket_dir);
    const auto context = std::make_shared<service_context>(options.target, options.real_pace,
                                                           open_timeline(options.timeline_path));
    const sp<service> offered = new service(context);
    offer(offered, folder);
    tell_ready(options, folder);

    const sigset_t set = stop_signals();
    int number = 0;
    while (sigwait(&set, &number) != 0) {
    }
    LOGD("stopping on signal %d", number);
    // A second one kills, should anything hang.
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    offered->retire();
    if (context->output.has_lost_sound()) {
        throw program_error(
            "the output did not take all of the sound; see the lines above, and give it room or "
            "choose another --device");
    }
}

}  // namespace player_service
