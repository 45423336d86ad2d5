// A process that offers probes under the names it is given, until it is killed.

#include <cstdio>

#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>

#include "tests/platform/binder_probe.h"
#include "tests/support/child_process.h"

int main(int argc, char** argv) {
    die_with_parent();
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
