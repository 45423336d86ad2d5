// A process's and a thread's part: who serves calls, and for whom.

#include <atomic>
#include <unistd.h>

#include <binder/IPCThreadState.h>
#include <binder/ProcessState.h>

#include "executor.h"
#include "log.h"
#include "process_calls.h"

namespace corvex_binder {

namespace {

std::atomic<bool> wants_calls{false};

}  // namespace

void want_calls() {
    wants_calls = true;
}

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
    corvex_binder::want_calls();
}

IPCThreadState::IPCThreadState() : mCallingPid(getpid()), mCallingUid(getuid()) {}

IPCThreadState* IPCThreadState::self() {
    static thread_local IPCThreadState state;
    return &state;
}

pid_t IPCThreadState::getCallingPid() const {
    return mCallingPid;
}

uid_t IPCThreadState::getCallingUid() const {
    return mCallingUid;
}

int64_t IPCThreadState::clearCallingIdentity() {
    const auto token = static_cast<int64_t>(static_cast<uint64_t>(mCallingUid) << 32 |
                                            static_cast<uint32_t>(mCallingPid));
    mCallingPid = getpid();
    mCallingUid = getuid();
    return token;
}

void IPCThreadState::restoreCallingIdentity(int64_t token) {
    mCallingUid = static_cast<uid_t>(static_cast<uint64_t>(token) >> 32);
    mCallingPid = static_cast<pid_t>(token);
}

void IPCThreadState::flushCommands() {}

void IPCThreadState::joinThreadPool(bool /*isMain*/) {
    corvex_binder::want_calls();
    corvex_binder::executor::get().join();
}

}  // namespace android
