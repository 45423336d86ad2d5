// zuavplayerd as a process: how it starts, how it ends, and clients of other processes.
#include <condition_variable>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <mutex>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>
#include <utils/String16.h>

#include "player_service/options.h"
#include "tests/player_service/encoded_stream.h"
#include "tests/player_service/service_fixture.h"
#include "tests/player_service/wav_contents.h"
#include "tests/support/child_process.h"
#include "tests/support/test_audio.h"

namespace {

using namespace android;
using words = std::vector<std::string>;

constexpr auto kLimit = std::chrono::seconds(60);

// Counts what it is told of the number of players.
class player_count : public BnZuAvplayerObserver {
  public:
    void onMessage(int, void* data, uint32_t, int) override {
        const std::lock_guard<std::mutex> guard(mutex_);
        std::memcpy(&players_, data, sizeof players_);
        changed_.notify_all();
    }
    bool await(uint32_t players) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, kLimit, [&] { return players_ == players; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    uint32_t players_ = 0xFFFFFFFF;
};

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
        setenv("CORVEX_BINDER_WAIT_MS", "0", 1);
        ProcessState::self()->startThreadPool();
    }

    static words with(const words& more) {
        words all = {"--exit-with-parent", "--device", "out.wav"};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }
    static sp<IZuAvPlayer> connect() {
        const auto service = interface_cast<IZuAvPlayerService>(
            defaultServiceManager()->checkService(String16(kZuAvPlayerServiceName)));
        return service == nullptr ? nullptr : service->getPlayer();
    }

    // Runs it to its end: its exit code, and what it printed.
    struct ended {
        int code;
        std::string out;
        std::string err;
    };
    static ended run(const words& arguments) {
        words all = arguments;
        all.insert(all.begin(), CORVEX_ZUAVPLAYERD);
        std::vector<char*> argv;
        for (std::string& word : all) {
            argv.push_back(word.data());
        }
        argv.push_back(nullptr);
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC;
        posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "printed.out", flags, 0600);
        posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "printed.err", flags, 0600);
        pid_t pid = -1;
        EXPECT_EQ(posix_spawn(&pid, argv[0], &files, nullptr, argv.data(), environ), 0);
        posix_spawn_file_actions_destroy(&files);
        int status = -1;
        EXPECT_EQ(waitpid(pid, &status, 0), pid);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contents("printed.out"),
                contents("printed.err")};
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
        const int status = daemon.wait();
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
        EXPECT_EQ(client.get_buf(player, 4), DEAD_OBJECT);
        EXPECT_EQ(connect(), nullptr);
    }
}

TEST_F(Daemon, PlaysWhatAnotherProcessSends) {
    child_process daemon(CORVEX_ZUAVPLAYERD, with({"--pace", "free", "--timeline", "sync.csv"}));
    const test_client client(connect());
    const std::vector<encoded_frame> frames = encode(codec::eac3, {6, 48000}, 30);
    const uint32_t player = client.create_running(ZU_ADEC_AC3, 6, 48000);
    client.feed(player, bytes_of(frames));
    ASSERT_EQ(client.stop_at_end(player), 0);
    EXPECT_TRUE(wav_contents("out.wav").samples == samples_of(frames));
    EXPECT_NE(contents("sync.csv"), "") << "its first line is there";
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
    const int status = daemon.wait();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << status;
}

TEST_F(Daemon, RefusesToStartBesideAnotherAndReplacesAKilledOne) {
    child_process first(CORVEX_ZUAVPLAYERD, with({}));
    const ended second = run(with({}));
    EXPECT_EQ(second.code, 1);
    EXPECT_EQ(second.out, "");
    EXPECT_NE(second.err.find("another service answers in"), std::string::npos) << second.err;
    EXPECT_NE(connect(), nullptr);
    first.end();
    const child_process third(CORVEX_ZUAVPLAYERD, with({}));
    EXPECT_NE(connect(), nullptr);
}

TEST_F(Daemon, FreesWhatAKilledClientHad) {
    child_process daemon(CORVEX_ZUAVPLAYERD, with({"--pace", "free"}));
    const sp<IZuAvPlayer> watcher = connect();
    ASSERT_NE(watcher, nullptr);
    const sp<player_count> count = new player_count;
    ASSERT_EQ(watcher->RM_init(), 0);
    ASSERT_EQ(watcher->RM_RegisterCallback(nullptr, count, 0), 0);
    for (int i = 0; i < 3; ++i) {
        child_process client(CORVEX_SERVICE_CLIENT, {});
        EXPECT_TRUE(count->await(1));
        client.end();
        EXPECT_TRUE(count->await(0));
    }
    // The first one's file is continued, so it was given back.
    daemon.send(SIGTERM);
    daemon.wait();
    EXPECT_EQ(contents("out-2.wav"), "");
}

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
        EXPECT_EQ(player->RM_RegisterCallback(nullptr, new player_count, 0), 0);
    }
}

TEST_F(Daemon, LeavesAReadableFileWhenItIsKilled) {
    child_process daemon(CORVEX_ZUAVPLAYERD, with({"--pace", "free"}));
    const test_client client(connect());
    const uint32_t player = client.create_running(ZU_ADEC_PCM, 2, 48000);
    client.feed(player, std::vector<int16_t>(2 * 48000, 9));
    while (client.info(player).frames < 20000) {
        usleep(1000);
    }
    daemon.end();
    const wav_contents played("out.wav");
    ASSERT_GE(played.frames(), 20000U);
    EXPECT_EQ(std::count(played.samples.begin(), played.samples.end(), 9),
              static_cast<ptrdiff_t>(played.samples.size()));
}

TEST_F(Daemon, ExitsWithItsParent) {
    const std::string command =
        std::string(CORVEX_ZUAVPLAYERD) + " --exit-with-parent --device none & echo $! >pid; wait";
    // The shell passes the daemon's first line on.
    child_process shell("/bin/sh", {"-c", command});
    const sp<IBinder> service =
        defaultServiceManager()->checkService(String16(kZuAvPlayerServiceName));
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
        {{"--device", "wav:"}, 2, "names no file"},
        {{"--device", "nosuchpcm"}, 1, "nosuchpcm"},
        {{"--device", "none", "--timeline", "no/such/folder/t.csv"}, 1, "t.csv"},
        {{"--device", "none", "--socket-dir", "shared"}, 1, "shared"},
        {{"--device", "none", "--socket-dir", "no/such/folder"}, 1, "no/such/folder"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.says);
        const ended got = run(row.arguments);
        EXPECT_EQ(got.code, row.code);
        EXPECT_EQ(got.out, "");
        const size_t own = got.err.find("zuavplayerd: ");
        ASSERT_NE(own, std::string::npos) << got.err;
        const std::string line = got.err.substr(own);
        EXPECT_NE(line.find(row.says), std::string::npos) << line;
        EXPECT_NE(line.find("; "), std::string::npos) << line;
        EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1) << line;
    }
    player_service::daemon_options options;
    player_service::choose_output("auto", options, "no/cards/here");
    EXPECT_EQ(options.target.what, player_service::output_target::kind::nowhere);
    const ended help = run({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_NE(help.out.find("--timeline"), std::string::npos);
}

}  // namespace
