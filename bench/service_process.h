// A player service in a process of its own.
#pragma once

#include <functional>
#include <optional>

#include "bench/resources.h"

// It is there from the constructor on. Make it while this process has one thread.
class service_process {
  public:
    // `offer` registers the service.
    explicit service_process(const std::function<void()>& offer);

  private:
    std::optional<child> process_;
};
