// A process's and a thread's part: who serves calls, and for whom.

#include <atomic>
#include <unistd.h>

#include <binder/IPCThreadState.h>
#include <binder/ProcessState.h>

#include "calling_identity.h"
#include "executor.h"
#include "log.h"

namespace {

std::atomic<bool> wants_calls{false};

}  // namespace

namespace corvex_binder {

void warn_without_pool() {
    static std::atomic<bool> complained{false};
    if (!wants_calls.load(std::memory_order_relaxed) && !complained.exchange(true)) {
        BINDER_LOG(WARN,
                   "a call has come to a process that has not asked for any, and is served: "
                   "call ProcessState::self()->startThreadPool()");
    }
}

}  // namespace corvex_binder

namespace android {

ProcessState::ProcessState() = default;
ProcessState::~ProcessState() = default;

sp<ProcessState> ProcessState::self() {
    static const auto* process = new sp<ProcessState>(new ProcessState);
    return *process;
}

void ProcessState::startThreadPool() {
    wants_calls = true;
}

IPCThreadState::IPCThreadState() : mCallingPid(getpid()), mCallingUid(getuid()) {}

IPCThreadState* IPCThreadState::self() {
    static thread_local IPCThreadState state;
    return &state;
}

void IPCThreadState::joinThreadPool() {
    wants_calls = true;
    corvex_binder::executor::get().join();
}

}  // namespace android
