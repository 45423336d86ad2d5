#include "bench/service_process.h"

#include <unistd.h>

#include <binder/IPCThreadState.h>
#include <binder/ProcessState.h>

#include "bench/subject.h"

namespace {

void serve(const std::function<void()>& offer, int ready) {
    android::ProcessState::self()->startThreadPool();
    offer();
    if (write(ready, "!", 1) == 1) {
        android::IPCThreadState::self()->joinThreadPool();
    }
}

}  // namespace

service_process::service_process(const std::function<void()>& offer) {
    int ready[2];
    if (pipe(ready) != 0) {
        give_up("no pipe to a player service");
    }
    process_.emplace([&] { serve(offer, ready[1]); });
    close(ready[1]);
    char byte = 0;
    if (read(ready[0], &byte, 1) != 1) {
        give_up("the player service did not start");
    }
    close(ready[0]);
}
