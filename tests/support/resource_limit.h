// A limit of the process while the object lives.
#pragma once

#include <signal.h>
#include <sys/resource.h>

class resource_limit {
  public:
    resource_limit(__rlimit_resource resource, rlim_t most) : resource_(resource) {
        getrlimit(resource_, &before_);
        const rlimit now = {most, before_.rlim_max};
        setrlimit(resource_, &now);
    }
    ~resource_limit() {
        setrlimit(resource_, &before_);
        signal(SIGXFSZ, handler_);
    }
    resource_limit(const resource_limit&) = delete;
    resource_limit& operator=(const resource_limit&) = delete;

  private:
    const __rlimit_resource resource_;
    rlimit before_{};
    // A write beyond RLIMIT_FSIZE then answers EFBIG.
    const sighandler_t handler_ = signal(SIGXFSZ, SIG_IGN);
};
