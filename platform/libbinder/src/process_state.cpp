// A process's and a thread's part: who serves calls, and for whom.

#include <pthread.h>
#include <unistd.h>

#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>

#include "thread_pool.h"

namespace android {

ProcessState::ProcessState() = default;
ProcessState::~ProcessState() = default;

sp<ProcessState> ProcessState::self() {
    static const auto* process = new sp<ProcessState>(new ProcessState);
    return *process;
}

sp<ProcessState> ProcessState::selfOrNull() {
    return self();
}

sp<IBinder> ProcessState::getContextObject(const sp<IBinder>& /*caller*/) {
    return IInterface::asBinder(defaultServiceManager());
}

void ProcessState::startThreadPool() {
    corvex_binder::thread_pool::get().start();
}

status_t ProcessState::setThreadPoolMaxThreadCount(size_t maxThreads) {
    constexpr size_t kMost = corvex_binder::thread_pool::kMaxThreads - 1;
    // As on a device, the one that starts the pool comes on top.
    corvex_binder::thread_pool::get().limit_running(1 + (maxThreads < kMost ? maxThreads : kMost));
    return NO_ERROR;
}

// The pool's threads have their names from the start.
void ProcessState::giveThreadPoolName() {}

IPCThreadState::IPCThreadState() : mCallingPid(getpid()), mCallingUid(getuid()) {}

IPCThreadState* IPCThreadState::self() {
    static thread_local IPCThreadState state;
    return &state;
}

IPCThreadState* IPCThreadState::selfOrNull() {
    return self();
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

void IPCThreadState::setStrictModePolicy(int32_t policy) {
    mStrictModePolicy = policy;
}

int32_t IPCThreadState::getStrictModePolicy() const {
    return mStrictModePolicy;
}

void IPCThreadState::setLastTransactionBinderFlags(int32_t flags) {
    mLastTransactionBinderFlags = flags;
}

int32_t IPCThreadState::getLastTransactionBinderFlags() const {
    return mLastTransactionBinderFlags;
}

void IPCThreadState::flushCommands() {}

void IPCThreadState::joinThreadPool(bool /*isMain*/) {
    corvex_binder::thread_pool::get().join();
}

}  // namespace android
