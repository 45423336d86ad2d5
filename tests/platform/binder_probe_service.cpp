// A process that offers probes under the names it is given, until it is killed; with --use before a
// name it does all it can with that service instead, with --watched it only gives it an object that
// is watched.

#include <cstdio>

#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>

#include "tests/platform/binder_probe.h"
#include "tests/support/child_process.h"

namespace {

[[noreturn]] void use(const android::sp<android::IBinder>& service) {
    for (;;) {
        const android::sp<android::IBinder> mine = new probe;
        ask(service, kNest, 4, mine);
        ask(service, kKeep, mine);
        tell(service, kNote, 1);
        const answer made = ask(service, kMakeMemory, 8192, 0);
    }
}

}  // namespace

int main(int argc, char** argv) {
    die_with_parent();
    if (argc == 3 && std::string(argv[1]).rfind("--", 0) == 0) {
        const auto service =
            android::defaultServiceManager()->getService(android::String16(argv[2]));
        if (service == nullptr) {
            return 1;
        }
        const bool is_watched = std::string(argv[1]) == "--watched";
        const android::sp<android::IBinder> mine = new probe;
        android::sp<android::IBinder> theirs;
        if (is_watched) {
            theirs = ask(service, kMakeObject).object();
            ask(service, kKeep, mine);
            ask(service, kWatch, mine);
            tell(theirs, kNote, 1);
            while (ask(theirs, kNotes).number() != 1) {
            }
        }
        std::puts("ready");
        std::fflush(stdout);
        if (is_watched) {
            android::IPCThreadState::self()->joinThreadPool();
        }
        use(service);
    }
    for (int i = 1; i < argc; ++i) {
        if (android::defaultServiceManager()->addService(android::String16(argv[i]), new probe) !=
            android::NO_ERROR) {
            return 1;
        }
    }
    android::ProcessState::self()->startThreadPool();
    std::puts("ready");
    std::fflush(stdout);
    android::IPCThreadState::self()->joinThreadPool();
}
