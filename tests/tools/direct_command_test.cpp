// corvex-hal tunnel, passthrough and sync against the fake module and a fake player service: what
// reaches the stream is what the file holds, with its times, and nothing goes wrong unnoticed.

#include <filesystem>
#include <gtest/gtest.h>
#include <numeric>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "tests/support/scratch_dir.h"
#include "tests/tools/audio_samples.h"
#include "tests/tools/encoded_sound.h"
#include "tests/tools/subprocess.h"

namespace {

namespace fs = std::filesystem;

struct framed {
    uint64_t pts_us;
    std::string payload;
};

uint64_t big_endian(const std::string& text, size_t at, size_t size) {
    uint64_t value = 0;
    for (size_t i = 0; i < size; ++i) {
        value = value << 8 | static_cast<uint8_t>(text.at(at + i));
    }
    return value;
}

// What a player would get of such a stream; a fault ends it early.
std::vector<framed> unframe(const std::string& stream, char version, size_t offset) {
    std::vector<framed> frames;
    const std::string magic{'\x55', '\x55', '\0', version};
    for (size_t at = 0; at < stream.size();) {
        const bool fits = stream.size() - at >= offset;
        EXPECT_TRUE(fits && stream.compare(at, 4, magic) == 0) << "at " << at;
        const size_t size =
            fits ? static_cast<size_t>(big_endian(stream, at + 4, 4)) : stream.size();
        if (!fits || size > stream.size() - at - offset) {
            ADD_FAILURE() << "cut frame at " << at;
            break;
        }
        frames.push_back({big_endian(stream, at + 8, 8) / 1000, stream.substr(at + offset, size)});
        at += offset + size;
    }
    return frames;
}

std::string join(const std::vector<framed>& frames) {
    std::string all;
    for (const framed& frame : frames) {
        all += frame.payload;
    }
    return all;
}

std::string pcm_bytes(const std::vector<int16_t>& samples) {
    return {reinterpret_cast<const char*>(samples.data()), samples.size() * 2};
}

struct direct_command : testing::Test {
    finished run(const std::string& name, const words& options, const words& variables = {}) {
        std::remove("calls");
        std::remove("pcm");
        std::remove("service_calls");
        words arguments = {name};
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.insert(arguments.end(), {"--service", FAKE_SERVICE_FILE});
        finished result = run_with_fake(variables, arguments);
        calls = read_bytes("calls");
        written = read_bytes("pcm");
        service_calls = read_bytes("service_calls");
        for (const fs::directory_entry& entry : fs::directory_iterator(".")) {
            EXPECT_NE(entry.path().filename().string().rfind("corvex-hal-", 0), 0U)
                << "a private folder was left behind";
        }
        return result;
    }

    // It failed with one error line that says this; the summary may come before.
    void expect_failure(const finished& result, const std::string& says) const {
        EXPECT_EQ(result.exit_code, 1) << result.out;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        EXPECT_TRUE(has(result.err, says)) << result.err;
        EXPECT_TRUE(has(result.err, "; ")) << result.err;
        EXPECT_TRUE(has(calls, "close_device\n")) << "failure must close what was opened";
        EXPECT_TRUE(has(service_calls, "stopped\n")) << "and stop what was started";
    }

    scratch_dir dir;
    std::string calls;
    std::string written;
    std::string service_calls;
};

TEST_F(direct_command, CompressedSoundIsSentAsItIsWithItsTimes) {
    constexpr int packets = 40;
    const struct {
        codec which;
        unsigned channels;
        words options;
        char version;
        size_t offset;
        const char* opened;
    } rows[] = {
        {codec::ac3, 2, {}, 2, 20, "48000 3 150994944 2 65"},
        {codec::eac3, 6, {"--cut", "random:3"}, 2, 48, "48000 63 167772160 2 65"},
        {codec::ac3,
         6,
         {"--cut", "1,2,19,700", "--data-offset", "23"},
         2,
         23,
         "48000 63 150994944 2 65"},
        {codec::eac3, 2, {"--header-version", "1", "--cut", "17"}, 1, 16, "48000 3 167772160 2 65"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.opened);
        const std::vector<std::string> sent = packets_of(row.which, row.channels, packets);
        const std::string all = std::accumulate(sent.begin(), sent.end(), std::string());
        write_bytes("in.media", all);
        words options = row.options;
        options.insert(options.end(), {"in.media", "-d", "none"});
        const words position = {"FAKE_position=" + std::to_string(packets * 1536)};
        const finished result = run("tunnel", options, position);
        EXPECT_EQ(result.exit_code, 0) << result.err << result.out;
        EXPECT_EQ(result.err, "");
        EXPECT_TRUE(has(calls, row.opened)) << calls;
        const std::vector<framed> got = unframe(written, row.version, row.offset);
        ASSERT_EQ(got.size(), sent.size());
        for (size_t i = 0; i < got.size(); ++i) {
            EXPECT_EQ(got[i].payload, sent[i]) << "packet " << i;
            EXPECT_EQ(got[i].pts_us, i * 32000) << "packet " << i;
        }
        EXPECT_TRUE(has(result.out, "sent       40 packets, 61440 frames")) << result.out;
        EXPECT_TRUE(has(result.out, "decoded    61440 frames")) << result.out;

        run("passthrough", {"in.media", "-d", "none", "--cut", "random:5"}, position);
        EXPECT_EQ(written, all);
    }
}

TEST_F(direct_command, ContainersGiveTheirPacketsAndTimes) {
    const std::vector<std::string> sent = packets_of(codec::ac3, 2, 500);
    for (const char* file : {"in.mkv", "in.mp4"}) {
        SCOPED_TRACE(file);
        mux(file, codec::ac3, 2, sent, 256);
        const finished all = run("tunnel", {file, "-d", "none"}, {"FAKE_position=768000"});
        EXPECT_EQ(all.exit_code, 0) << all.err;
        const auto frames = unframe(written, 2, 20);
        ASSERT_EQ(frames.size(), sent.size());
        EXPECT_EQ(frames[499].payload, sent[499]);
        for (size_t i = 0; i < frames.size(); ++i) {
            EXPECT_NEAR(static_cast<double>(frames[i].pts_us), static_cast<double>(i) * 32000, 1000)
                << "what begins below 0 is lifted to 0";
        }

        // 10 s of the file are within its packet 312, whatever the container has an index for.
        run("tunnel", {file, "-d", "none", "--seek-at", "0:10", "--pace", "free"},
            {"FAKE_position=288768"});
        EXPECT_FALSE(has(calls, "flush")) << "nothing was written that a player could drop";
        const auto rest = unframe(written, 2, 20);
        ASSERT_EQ(rest.size(), 500U - 312U);
        EXPECT_EQ(rest[0].payload, sent[312]);
    }
}

TEST_F(direct_command, OtherSoundIsDecodedToSixteenBits) {
    const struct {
        int rate_hz;
        int channels;
        size_t frames;
        int format = wav16;
    } rows[] = {{44100, 2, 5000},
                {48000, 6, 2049},
                {48000, 8, 1},
                {8000, 1, 1024},
                {48000, 2, 3000, SF_FORMAT_FLAC | SF_FORMAT_PCM_16}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.channels) + " x " + std::to_string(row.frames));
        const auto samples = noise(row.frames * static_cast<size_t>(row.channels));
        write_file("in.media", row.format, row.rate_hz, row.channels, samples);
        const words position = {"FAKE_position=" + std::to_string(row.frames)};
        EXPECT_EQ(run("passthrough", {"in.media", "-d", "none"}, position).exit_code, 0);
        EXPECT_EQ(written, pcm_bytes(samples));

        const finished result =
            run("tunnel", {"in.media", "-d", "none", "--cut", "random:1"}, position);
        EXPECT_EQ(result.exit_code, 0) << result.err;
        const auto got = unframe(written, 2, row.channels >= 6 ? 48 : 20);
        EXPECT_EQ(join(got), pcm_bytes(samples));
        const size_t frame_bytes = static_cast<size_t>(row.channels) * 2;
        size_t frames = 0;
        for (const framed& frame : got) {
            EXPECT_EQ(frame.pts_us, frames * 1'000'000 / static_cast<size_t>(row.rate_hz));
            EXPECT_TRUE(frame.payload.size() >= 1024 * frame_bytes || got.size() == 1)
                << "a short last frame would not be found";
            frames += frame.payload.size() / frame_bytes;
        }
    }
    write_bytes("in.ac3", packets_of(codec::ac3, 2, 1)[0]);
    run("passthrough", {"in.ac3", "-d", "none", "--decode"});
    EXPECT_TRUE(has(calls, "open_output_stream 48000 3 1 2 1")) << calls;
    EXPECT_EQ(written.size(), 1536U * 4);
}

TEST_F(direct_command, EventsHappenInPlace) {
    const auto samples = noise(2 * 48000);
    write_file("in.wav", wav16, 48000, 2, samples);
    const finished paused =
        run("passthrough", {"in.wav", "-d", "none", "--pause-at", "0.5:0.01", "--pause-at", "5"});
    EXPECT_EQ(paused.exit_code, 0) << paused.err;
    EXPECT_EQ(written, pcm_bytes(samples));
    EXPECT_TRUE(has(calls, "\npause\nresume\nwrite")) << calls;
    EXPECT_TRUE(has(paused.out, "paused after 0:00.512 sent")) << paused.out;
    EXPECT_TRUE(has(paused.out, "--pause-at 5 did not happen")) << paused.out;

    // After 25 blocks it goes back to 0.2 s, where a packet begins somewhere near.
    const finished jumped =
        run("tunnel", {"in.wav", "-d", "none", "--seek-at", "0.53:0.2", "--cut", "130"},
            {"FAKE_position=38912"});
    const size_t flush = calls.find("pause\nflush\nwrite");
    ASSERT_NE(flush, calls.npos) << calls << jumped.err;
    const size_t first = calls.find("write 130\n");
    const size_t before = (flush - first) / std::string("write 130\n").size() * 130;
    EXPECT_EQ(before, 25 * (20 + 4096) / 130 * 130) << "what was not written yet is dropped";
    const auto got = unframe(written.substr(before), 2, 20);
    ASSERT_FALSE(got.empty());
    const uint64_t landed = got[0].pts_us * 48 / 1000;
    EXPECT_LE(landed, 9600U);
    EXPECT_GT(landed + 4096, 9600U);
    EXPECT_EQ(join(got), pcm_bytes(samples).substr(static_cast<size_t>(landed) * 4));
}

TEST_F(direct_command, TheOwnServiceIsToldWhereToPlayAndStopped) {
    write_file("in.wav", wav16, 48000, 2, noise(2 * 4800));
    const finished result =
        run("passthrough", {"in.wav", "-d", "out.wav", "--timeline", "times.csv"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    const std::string folder = read_bytes("service_folder");
    const std::string out = fs::absolute("out.wav").lexically_normal().string();
    EXPECT_EQ(service_calls, "--socket-dir\n" + folder + "\n--device\nwav:" + out +
                                 "\n--pace\nfree\n--timeline\ntimes.csv\nstopped\n");
    EXPECT_EQ(folder.front(), '/') << "where the module looks must not depend on its folder";
    run("sync", {});
    EXPECT_EQ(service_calls.substr(service_calls.find('\n', 14)), "\nstopped\n");
}

TEST_F(direct_command, SyncPrintsTheAnsweredId) {
    EXPECT_TRUE(has(run("sync", {}).out, "hw_av_sync 5 (0x00000005)"));
    EXPECT_TRUE(has(run("sync", {}, {"FAKE_sync=a=1;hw_av_sync=-2147483648;b"}).out,
                    "hw_av_sync 2147483648 (0x80000000)"));
    for (const char* reply :
         {"hw_av_sync=", "xhw_av_sync=5", "hw_av_sync=4294967296", "hw_av_sync=5x"}) {
        SCOPED_TRACE(reply);
        const finished result = run("sync", {}, {std::string("FAKE_sync=") + reply});
        expect_failure(result, "AV-sync source");
    }
}

TEST_F(direct_command, SoundThatDoesNotGetThroughIsAFailure) {
    write_file("in.wav", wav16, 48000, 2, noise(2 * 48000));
    write_bytes("old.wav", "from an earlier run");
    const struct {
        words variables;
        const char* says;
        words options = {};
        const char* command = "passthrough";
    } rows[] = {
        {{"FAKE_open_stream=-12", "FAKE_open_log=initAvplayer failed(0xffffffed)"},
         "-12 (Cannot allocate memory), initAvplayer failed"},
        {{"FAKE_log=call ZUAVPLAYER_Start failed 0x1 hdo_open failed 1"},
         "could not set the player up"},
        {{"FAKE_log=ZUAVPLAYER_GetBuf failed (0x80140003)"}, "takes no more data"},
        {{"FAKE_log=ZUAVPLAYER_GetBuf failed (0xffffffe0)"}, "the player service has gone"},
        {{"FAKE_log=Call ZUAVPLAYER_PutBufEx failed (0x5)"}, "did not take the data"},
        {{"FAKE_write=half"}, "write answered 1024 for 2048"},
        {{"FAKE_write=fail"}, "-5 (Input/output error)"},
        {{"FAKE_position=47999"}, "decoded 47999 of the 48000"},
        {{"FAKE_position=48001"}, "more than the 48000"},
        {{"FAKE_render=47999"}, "render position says 47999"},
        {{"FAKE_service=mute"}, "did not write", {"-d", "old.wav"}},
        {{"FAKE_flush=-22"}, "flush answered -22", {"--flush-at", "0.5"}},
        {{"FAKE_buffer=0"}, "buffers of 0 bytes"},
        {{"FAKE_rate=44100"}, "another kind"},
        {{"FAKE_bare=1"}, "another kind"},
        {{"FAKE_bare=1"}, "no AV-sync source", {}, "tunnel"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.variables));
        words options = {"in.wav", "--pace", "free", "--cut", "2048"};
        options.insert(options.end(), row.options.begin(), row.options.end());
        expect_failure(run(row.command, options, row.variables), row.says);
    }
}

TEST_F(direct_command, AServiceThatFailsIsNamed) {
    write_file("in.wav", wav16, 48000, 2, noise(2 * 4800));
    const struct {
        const char* behaviour;
        const char* says;
    } rows[] = {{"refuse", "no sound today"}, {"die", "status 7"}, {"end", "status 3"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.behaviour);
        const finished result = run("passthrough", {"in.wav", "-d", "none"},
                                    {std::string("FAKE_service=") + row.behaviour});
        EXPECT_EQ(result.exit_code, 1);
        EXPECT_TRUE(has(result.err, row.says)) << result.err;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    }
    expect_error(run_with_fake({}, {"sync", "--service", "./absent"}), 1, "absent");
}

// Nobody accepts at the second one's socket.
TEST_F(direct_command, ServiceThatIsAbsentAndOneThatIsBusyAreToldApart) {
    const words running = {"-v", "sync", "--service", "running"};
    expect_error(run_with_fake({}, running), 1, "no player service answers: none runs, or");
    fs::create_directory("services");
    fs::permissions("services", fs::perms::owner_all);
    const int busy = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    const sockaddr_un here = {AF_UNIX, "services/zuavplayer"};
    ASSERT_EQ(bind(busy, reinterpret_cast<const sockaddr*>(&here), sizeof here), 0);
    ASSERT_EQ(listen(busy, 8), 0);
    const finished result =
        run_with_fake({"CORVEX_BINDER_DIR=services", "CORVEX_BINDER_CALL_TIMEOUT_MS=50"}, running);
    close(busy);
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_TRUE(has(result.err, "the service 'zuavplayer' is there and does not answer; "));
    EXPECT_TRUE(has(result.err, "no player service answers: none runs, or it is stopped or busy"));
}

TEST_F(direct_command, ASignalEndsInOrder) {
    write_file("in.wav", wav16, 48000, 2, noise(2 * 48000));
    const finished result =
        run("passthrough", {"in.wav", "-d", "none", "--cut", "2048"}, {"FAKE_signals=1"});
    EXPECT_EQ(result.exit_code, 130) << result.err;
    EXPECT_TRUE(has(result.out, "interrupted in.wav")) << result.out;
    EXPECT_TRUE(has(calls, "write 2048\nwrite 2048\nwrite 2048\nstandby\n")) << calls;
    EXPECT_TRUE(has(calls, "close_output_stream\nclose_device\n")) << calls;
    EXPECT_TRUE(has(service_calls, "stopped")) << service_calls;
}

TEST(DirectCommandLine, ErrorsAreOneLineAndStartNothing) {
    const scratch_dir dir;
    write_file("in.wav", wav16, 48000, 2, noise(2 * 48000));
    write_file("nine.wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_16, 48000, 9, noise(90));
    write_file("fast.wav", wav16, 192001, 1, noise(90));
    write_bytes("text.mkv", "these are no packets, whatever the name says\n");
    const struct {
        int exit_code;
        words arguments;
        const char* says;
    } rows[] = {
        {2, {"tunnel"}, "FILE"},
        {2, {"tunnel", "in.wav", "--cut", "0"}, "--cut '0'"},
        {2, {"tunnel", "in.wav", "--header-version", "3"}, "--header-version"},
        {2, {"tunnel", "in.wav", "--data-offset", "19"}, "--data-offset 19"},
        {2, {"tunnel", "in.wav", "--data-offset", "20", "--header-version", "1"}, "version 2"},
        {2, {"passthrough", "in.wav", "--header-version", "1"}, "header-version"},
        {2, {"tunnel", "in.wav", "--pause-at", "soon"}, "--pause-at 'soon'"},
        {2, {"tunnel", "in.wav", "--seek-at", "0:1"}, "is 1 s long"},
        {2, {"tunnel", "in.wav", "--pace", "fast"}, "--pace"},
        {2, {"tunnel", "in.wav", "--service", "running", "--pace", "free"}, "--service running"},
        {2, {"tunnel", "in.wav", "--service", ""}, "--service is empty"},
        {2, {"sync", "in.wav"}, "in.wav"},
        {1, {"tunnel", "absent.wav"}, "no file 'absent.wav'"},
        {1, {"tunnel", "http://host/file.ac3"}, "no file 'http"},
        {1, {"tunnel", "text.mkv"}, "'text.mkv' as media"},
        {1, {"tunnel", "nine.wav"}, "9 channels"},
        {1, {"tunnel", "fast.wav"}, "192001 Hz"},
        {1, {"tunnel", "in.wav", "-d", "in.wav"}, "is the file to be played"},
        {1, {"tunnel", "in.wav", "-d", "none", "--service-log", "no/log"}, "no/log"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        words arguments = row.arguments;
        if (!has(testing::PrintToString(arguments), "--service\"")) {
            arguments.insert(arguments.end(), {"--service", FAKE_SERVICE_FILE});
        }
        expect_error(run_with_fake({}, arguments), row.exit_code, row.says);
        EXPECT_FALSE(fs::exists("service_calls"));
        EXPECT_FALSE(fs::exists("calls"));
    }
}

}  // namespace
