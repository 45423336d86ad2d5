// A client of the fake player service, which runs in this process or in another.
#pragma once

#include <gtest/gtest.h>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "tests/player_client/fake_player.h"
#include "tests/support/child_process.h"
#include "tests/support/log_recorder.h"
#include "tests/support/scratch_dir.h"

enum class where { here, elsewhere };
std::ostream& operator<<(std::ostream& stream, where place);

class client_test : public testing::Test {
  protected:
    client_test();
    ~client_test() override;

    void start_service(where place, bool empty_players = false);
    void stop_service() { process_.reset(); }
    child_process& service() { return *process_; }

    // Opens the handle and forgets what that put into the journal and the log.
    void* open();

    // The service's account of the calls since the last look.
    std::vector<std::string> journal();

    const scratch_dir folder_;
    log_recorder log_;
    void* handle_ = nullptr;

  private:
    std::unique_ptr<child_process> process_;
    size_t lines_read_ = 0;
};

// The same test in one process and across two.
class client_everywhere_test : public client_test, public testing::WithParamInterface<where> {
  protected:
    client_everywhere_test() { start_service(GetParam()); }
};

std::string place_name(const testing::TestParamInfo<where>& info);
