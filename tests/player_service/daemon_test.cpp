// zuavplayerd as a process: how it starts, how it ends, and clients of other processes.
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <mutex>
#include <sys/stat.h>

#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>
#include <utils/String16.h>

#include "player_service/options.h"
#include "tests/player_service/service_fixture.h"
#include "tests/player_service/wav_contents.h"
#include "tests/support/child_process.h"
#include "tests/support/encoded_stream.h"
#include "tests/support/test_audio.h"

namespace {

using namespace android;

constexpr auto kLimit = std::chrono::seconds(60);

class death_notice : public IBinder::DeathRecipient {
  public:
    void binderDied(const wp<IBinder>&) override {
        const std::lock_guard<std::mutex> guard(mutex_);
        died_ = true;
        changed_.notify_all();
    }
    bool await() {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, kLimit, [this] { return died_; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool died_ = false;
};

class Daemon : public testing::Test {
  protected:
    Daemon() {
        setenv("CORVEX_BINDER_DIR", folder_.file("services").c_str(), 1);
        setenv("CORVEX_BINDER_CALL_TIMEOUT_MS", "60000", 1);
        ProcessState::self()->startThreadPool();
    }

    static words with(const words& more) {
        words all = {"--exit-with-parent", "--device", "out.wav"};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }
    static sp<IBinder> find(const char* wait_ms) {
        setenv("CORVEX_BINDER_WAIT_MS", wait_ms, 1);
        return defaultServiceManager()->getService(String16(kZuAvPlayerServiceName));
    }
    // To a daemon that is known to be there, however slow it is to answer.
    static sp<IZuAvPlayer> connect() {
        const auto service = interface_cast<IZuAvPlayerService>(find("60000"));
        return service == nullptr ? nullptr : service->getPlayer();
    }

    const scratch_dir folder_;
};

TEST_F(Daemon, StopsInOrderOnSignalsAndCanBeStartedAgain) {
    for (const int number : {SIGTERM, SIGINT}) {
        SCOPED_TRACE(number);
        child_process daemon(CORVEX_ZUAVPLAYERD, with({}));
        const test_client client(connect());
        const uint32_t player = client.create_running(ZU_ADEC_PCM, 2, 48000);
        ASSERT_EQ(client.send(player, 1024), 0);
        daemon.send(number);
        EXPECT_EQ(daemon.wait().exit_code, 0);
        EXPECT_EQ(client.get_buf(player, 4), DEAD_OBJECT);
        EXPECT_EQ(find("0"), nullptr);
    }
}

TEST_F(Daemon, EndsWithAnErrorWhenSoundWasLost) {
    child_process daemon(CORVEX_ZUAVPLAYERD, with({"--pace", "free"}));
    std::filesystem::remove("out.wav");
    std::filesystem::create_directory("out.wav");  // nothing can be written there any more
    const test_client client(connect());
    const uint32_t player = client.create_running(ZU_ADEC_AC3, 2, 48000);
    client.feed(player, bytes_of(encode(codec::ac3, {2, 48000}, 5)));
    ASSERT_EQ(client.stop_at_end(player), 0);
    daemon.send(SIGTERM);
    EXPECT_EQ(daemon.wait().exit_code, 1);
}

TEST_F(Daemon, RefusesToStartBesideAnotherAndReplacesAKilledOne) {
    child_process first(CORVEX_ZUAVPLAYERD, with({}));
    const finished second = run_to_end(CORVEX_ZUAVPLAYERD, with({}));
    EXPECT_EQ(second.exit_code, 1);
    EXPECT_EQ(second.out, "");
    EXPECT_NE(second.err.find("another service answers in"), std::string::npos) << second.err;
    EXPECT_NE(connect(), nullptr);
    first.end();
    const child_process third(CORVEX_ZUAVPLAYERD, with({}));
    EXPECT_NE(connect(), nullptr);
}

class deaf_observer : public android::BnZuAvplayerObserver {
  public:
    void onMessage(int, void*, uint32_t, int) override {}
};

// More of them than the service takes at once.
TEST_F(Daemon, EndsAClientWithItsLastReferenceWhateverThatRegisters) {
    const child_process daemon(CORVEX_ZUAVPLAYERD, with({"--pace", "free"}));
    for (int i = 0; i < 70; ++i) {
        const sp<IZuAvPlayer> player = connect();
        ASSERT_NE(player, nullptr) << i;
        ASSERT_EQ(player->Init(), 0);
        ASSERT_EQ(player->RM_init(), 0);
        zu_player_config config = {};
        uint32_t handle = 0;
        ASSERT_EQ(player->Create(&config, &handle, sizeof config), 0);
        const auto itself = interface_cast<IZuAvplayerObserver>(IInterface::asBinder(player));
        EXPECT_EQ(player->RegisterEvent64(handle, ZU_EVENT_STATE, itself),
                  code(ZU_ERR_INVALID_ARGUMENT));
        EXPECT_EQ(player->RM_RegisterCallback(nullptr, itself, 0), code(ZU_ERR_INVALID_ARGUMENT));
        EXPECT_EQ(player->RM_RegisterCallback(nullptr, new deaf_observer, 0), 0);
    }
}

TEST_F(Daemon, ExitsWithItsParent) {
    const std::string command =
        std::string(CORVEX_ZUAVPLAYERD) + " --exit-with-parent --device none & echo $! >pid; wait";
    // The shell passes the daemon's first line on.
    child_process shell("/bin/sh", {"-c", command});
    const sp<IBinder> service = find("60000");
    ASSERT_NE(service, nullptr);
    const sp<death_notice> notice = new death_notice;
    ASSERT_EQ(service->linkToDeath(notice), NO_ERROR);
    shell.end();
    if (!notice->await()) {
        ADD_FAILURE() << "it lives on";
        kill(std::stoi(contents("pid")), SIGKILL);
    }
}

TEST_F(Daemon, RefusesWhatCannotWorkWithOneClearLine) {
    ASSERT_EQ(mkdir("shared", 0777), 0);
    ASSERT_EQ(chmod("shared", 0777), 0);
    std::filesystem::create_symlink("gone.wav", "link.wav");
    const struct {
        words arguments;
        int code;
        std::string says;
    } rows[] = {
        {{"--pace", "fast"}, 2, "--pace"},
        {{"--unknown"}, 2, "--unknown"},
        {{"more"}, 2, "more"},
        {{"--device", ""}, 2, "--device"},
        {{"--device", "none", "--socket-dir", ""}, 2, "--socket-dir"},
        {{"--device", "no/such/folder/out.wav"}, 1, "cannot be written"},
        {{"--device", "link.wav"}, 1, "link.wav' cannot be written"},
        {{"--device", "wav:"}, 2, "names no file"},
        {{"--device", "nosuchpcm"}, 1, "nosuchpcm"},
        {{"--device", "none", "--timeline", "no/such/folder/t.csv"}, 1, "t.csv"},
        {{"--device", "none", "--socket-dir", "shared"}, 1, "shared"},
        {{"--device", "none", "--socket-dir", "no/such/folder"}, 1, "no/such/folder"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.says);
        const finished got = run_to_end(CORVEX_ZUAVPLAYERD, row.arguments);
        EXPECT_EQ(got.exit_code, row.code);
        EXPECT_EQ(got.out, "");
        const size_t own = got.err.find("zuavplayerd: ");
        ASSERT_NE(own, std::string::npos) << got.err;
        const std::string line = got.err.substr(own);
        EXPECT_NE(line.find(row.says), std::string::npos) << line;
        EXPECT_NE(line.find("; "), std::string::npos) << line;
        EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1) << line;
    }
    EXPECT_TRUE(std::filesystem::is_symlink("link.wav")) << "trying leaves all as it was";
    player_service::daemon_options options;
    player_service::choose_output("auto", options, "no/cards/here");
    EXPECT_EQ(options.target.what, player_service::output_target::kind::nowhere);
    const finished help = run_to_end(CORVEX_ZUAVPLAYERD, {"--help"});
    EXPECT_EQ(help.exit_code, 0);
    EXPECT_NE(help.out.find("--timeline"), std::string::npos);
}

}  // namespace
