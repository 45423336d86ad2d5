#include "tests/player_client/client_fixture.h"

#include <fstream>
#include <stdlib.h>

#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>

#include "player_client/player_functions.h"

client_test::client_test() {
    setenv("CORVEX_BINDER_DIR", folder_.file("binder").c_str(), 1);
    setenv("CORVEX_BINDER_WAIT_MS", "0", 1);
    setenv("CORVEX_BINDER_CALL_TIMEOUT_MS", "60000", 1);
    android::ProcessState::self()->startThreadPool();
}

client_test::~client_test() {
    if (handle_ != nullptr) {
        ZUAVPLAYER_Close(handle_);
    }
}

void client_test::start_service(where place, bool empty_players) {
    const std::string journal = folder_.file("journal");
    setenv("CORVEX_BINDER_WAIT_MS", "60000", 1);  // there is one now, however slow
    if (place == where::elsewhere) {
        std::vector<std::string> arguments = {journal};
        if (empty_players) {
            arguments.emplace_back("empty");
        }
        process_ = std::make_unique<child_process>(CORVEX_FAKE_PLAYER_SERVICE, arguments);
    } else {
        ASSERT_EQ(
            android::defaultServiceManager()->addService(
                android::String16("zuavplayer"), new fake_player_service(journal, empty_players)),
            android::NO_ERROR);
    }
}

void* client_test::open() {
    EXPECT_EQ(ZUAVPLAYER_Open(&handle_), 0);
    journal();
    log_.clear();
    return handle_;
}

std::vector<std::string> client_test::journal() {
    std::ifstream file(folder_.file("journal"));
    std::vector<std::string> lines;
    std::string line;
    for (size_t number = 0; std::getline(file, line); ++number) {
        if (number >= lines_read_) {
            lines.push_back(line);
        }
    }
    lines_read_ += lines.size();
    return lines;
}

std::ostream& operator<<(std::ostream& stream, where place) {
    return stream << (place == where::here ? "in one process" : "across processes");
}

std::string place_name(const testing::TestParamInfo<where>& info) {
    return info.param == where::here ? "InOneProcess" : "AcrossProcesses";
}
