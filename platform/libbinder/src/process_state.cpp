// A process's and a thread's part: who serves calls, and for whom.

#include <atomic>
#include <unistd.h>
#include <utility>

#include <binder/IPCThreadState.h>
#include <binder/ProcessState.h>

#include "executor.h"
#include "log.h"
#include "served_channels.h"

namespace android {

namespace {

std::atomic<bool> wants_calls{false};

// Whose call this thread serves.
thread_local corvex_binder::peer* caller = nullptr;

}  // namespace

namespace corvex_binder {

status_t serve_call(peer& from, IBinder& object, const call_message& call, const Parcel& data,
                    Parcel* reply) {
    static std::atomic<bool> has_warned{false};
    if (!wants_calls.load(std::memory_order_relaxed) && !has_warned.exchange(true)) {
        BINDER_LOG(WARN,
                   "a call has come to a process that has not asked for any, and is served: "
                   "call ProcessState::self()->startThreadPool()");
    }
    peer* const outer = std::exchange(caller, &from);
    const status_t status = object.transact(call.code, data, reply, call.flags);
    caller = outer;
    return status;
}

complaints* caller_complaints() {
    return caller != nullptr ? &caller->lines : nullptr;
}

}  // namespace corvex_binder

sp<ProcessState> ProcessState::self() {
    static const auto* process = new sp<ProcessState>(new ProcessState);
    return *process;
}

void ProcessState::startThreadPool() {
    wants_calls = true;
}

IPCThreadState* IPCThreadState::self() {
    static auto* any = new IPCThreadState;
    return any;
}

pid_t IPCThreadState::getCallingPid() const {
    return caller != nullptr ? caller->identity.pid : getpid();
}

uid_t IPCThreadState::getCallingUid() const {
    return caller != nullptr ? caller->identity.uid : getuid();
}

void IPCThreadState::joinThreadPool() {
    wants_calls = true;
    corvex_binder::executor::get().join();
}

}  // namespace android
