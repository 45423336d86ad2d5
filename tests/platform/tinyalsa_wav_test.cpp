// Playing into a WAV file: what is in it, when, over several opens, and when it cannot grow; and
// the real alsa-lib, as far as it goes on a machine without a sound card.

#include <atomic>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <thread>

#include "tests/support/resource_limit.h"
#include "tests/support/scratch_dir.h"
#include "tinyalsa_env.h"

namespace {

constexpr pcm_config kOdd = {1, 44100, 480, 2, PCM_FORMAT_S24_3LE, 0, 0, 0, 0, 0};

std::string noise(size_t bytes) {
    std::string data(bytes, '\0');
    for (size_t i = 0; i < bytes; ++i) {
        data[i] = static_cast<char>(i * i % 251);
    }
    return data;
}

int write_all(const pcm_ptr& handle, const std::string& data) {
    return pcm_write(handle.get(), data.data(), static_cast<unsigned>(data.size()));
}

std::string read_file(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// Everything that the file must hold.
std::string wav_of(const std::string& samples, const pcm_config& config = kStereo) {
    const unsigned bits = pcm_format_to_bits(config.format), frame = config.channels * bits / 8;
    const bool plain = config.channels <= 2 && bits <= 16;
    const auto data_bytes = static_cast<unsigned>(samples.size());
    const unsigned padded = data_bytes + data_bytes % 2;
    std::string file;
    const auto add = [&file](const char* tag,
                             std::initializer_list<std::pair<unsigned, int>> fields) {
        file += tag;
        for (const auto& [value, bytes] : fields) {
            for (int i = 0; i < bytes; ++i) {
                file += static_cast<char>(value >> (8 * i));
            }
        }
    };
    add("RIFF", {{(plain ? 36 : 60) + padded, 4}});
    add("WAVEfmt ", {{plain ? 16 : 40, 4},
                     {plain ? 1 : 0xFFFE, 2},
                     {config.channels, 2},
                     {config.rate, 4},
                     {config.rate * frame, 4},
                     {frame, 2},
                     {bits, 2}});
    if (!plain) {
        add("",
            {{22, 2}, {bits, 2}, {0, 4}, {1, 4}, {0x100000, 4}, {0xAA000080, 4}, {0x719B3800, 4}});
    }
    add("data", {{data_bytes, 4}});
    return file + samples + std::string(padded - data_bytes, '\0');
}

class TinyalsaWav : public testing::Test {
  protected:
    // Opens, writes and closes, as a stream does between two standbys.
    void play(const std::string& path, const std::string& data,
              const pcm_config& config = kStereo) {
        const scoped_env target("CORVEX_ALSA_PLAYBACK", "wav:" + path);
        const pcm_ptr handle = open_pcm(PCM_OUT, config);
        EXPECT_EQ(write_all(handle, data), 0) << pcm_get_error(handle.get());
    }

    scratch_dir scratch_;
    const scoped_env target_{"CORVEX_ALSA_PLAYBACK", "wav:a.wav"};
};

TEST_F(TinyalsaWav, HoldsExactlyWhatWasWrittenAfterEveryWriteAndOpen) {
    const pcm_config rows[] = {
        kStereo,
        kOdd,
        {6, 48000, 480, 2, PCM_FORMAT_S16_LE, 0, 0, 0, 0, 0},
        {2, 192000, 480, 2, PCM_FORMAT_S32_LE, 0, 0, 0, 0, 0},
    };
    for (const pcm_config& config : rows) {
        std::string all;
        std::filesystem::remove("a.wav");
        for (const unsigned reopened : {0u, 1u}) {
            const pcm_ptr handle = open_pcm(PCM_OUT, config);
            ASSERT_EQ(pcm_is_ready(handle.get()), 1) << pcm_get_error(handle.get());
            for (const unsigned frames : {0u, 1u, 5000u, 3u + reopened}) {
                const std::string data = noise(pcm_frames_to_bytes(handle.get(), frames));
                ASSERT_EQ(write_all(handle, data), 0);
                all += data;
                EXPECT_TRUE(read_file("a.wav") == wav_of(all, config))
                    << config.channels << " " << all.size();
            }
        }
    }
}

TEST_F(TinyalsaWav, ReopeningContinuesTheFileUnderAnyNameButStartsAnotherOver) {
    play("a.wav", "abcd");
    std::filesystem::create_symlink("a.wav", "link.wav");
    play("link.wav", "efgh");
    EXPECT_EQ(read_file("a.wav"), wav_of("abcdefgh"));
    std::ofstream("a.wav", std::ios::app) << "x";
    play("a.wav", "ijkl");
    EXPECT_EQ(read_file("a.wav"), wav_of("ijkl"));
    std::ofstream("old.wav") << std::string(5000, 'o');
    play("old.wav", "abcd");
    EXPECT_EQ(read_file("old.wav"), wav_of("abcd"));
}

TEST_F(TinyalsaWav, ReopeningWithAnotherLayoutFailsAndLeavesTheFileAlone) {
    play("a.wav", "abcd");
    for (const pcm_config& config : {pcm_config{1, 48000, 480, 2, {}, 0, 0, 0, 0, 0},
                                     {2, 44100, 480, 2, {}, 0, 0, 0, 0, 0},
                                     {2, 48000, 480, 2, PCM_FORMAT_S32_LE, 0, 0, 0, 0, 0}}) {
        expect_refused(open_pcm(PCM_OUT, config),
                       {"a.wav", "another rate, format or channel count"});
        EXPECT_EQ(read_file("a.wav"), wav_of("abcd"));
    }
    play("a.wav", "efgh", {2, 48000, 1024, 4, {}, 0, 0, 0, 0, 0});  // not part of what is in it
    EXPECT_EQ(read_file("a.wav"), wav_of("abcdefgh"));
}

TEST_F(TinyalsaWav, PathsAreTakenAsTheyStand) {
    for (const char* name : {"with blank,'\"\\.wav", "-dash", "{type null}", "a:b", "line\nend",
                             "wav:", "%s%n$HOME", "\xC3\xA4\xFF", " "}) {
        play(name, "abcd");
        EXPECT_EQ(read_file(name), wav_of("abcd")) << name;
    }
}

TEST_F(TinyalsaWav, OpensThatCannotWorkSayWhyAndTouchNoFile) {
    std::filesystem::create_directory("folder");
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    const struct {
        std::string target;
        const char* pace;
        unsigned channels;
        pcm_format format;
        std::initializer_list<const char*> words;
    } rows[] = {
        {"wav:", "", 2, PCM_FORMAT_S16_LE, {"path", "missing"}},
        {"wav:no/a.wav", "", 2, PCM_FORMAT_S16_LE, {"no/a.wav", "No such file"}},
        {"wav:folder", "", 2, PCM_FORMAT_S16_LE, {"folder", "Is a directory"}},
        {"wav:fifo", "", 2, PCM_FORMAT_S16_LE, {"cannot open fifo"}},
        {"wav:/dev/full", "", 2, PCM_FORMAT_S16_LE, {"/dev/full", "No space left"}},
        {"wav:a.wav", "", 2, PCM_FORMAT_S8, {"S16_LE, S24_3LE or S32_LE", "not S8"}},
        {"wav:a.wav", "", 40000, PCM_FORMAT_S16_LE, {"too large"}},
        {"wav:a.wav", "fast", 2, PCM_FORMAT_S16_LE, {"CORVEX_WAV_PACE", "fast", "real or free"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.target);
        const scoped_env target("CORVEX_ALSA_PLAYBACK", row.target);
        const scoped_env pace("CORVEX_WAV_PACE", row.pace);
        const pcm_ptr handle =
            open_pcm(PCM_OUT, {row.channels, 48000, 480, 2, row.format, 0, 0, 0, 0, 0});
        expect_refused(handle, row.words);
        expect_refused(handle, {"CORVEX_ALSA_PLAYBACK", "48000 Hz"});
        EXPECT_FALSE(std::filesystem::exists("a.wav"));
    }
}

TEST_F(TinyalsaWav, ASecondWriterFindsTheFileBusyAndAStopEndsThePosition) {
    const pcm_ptr first = open_pcm(PCM_OUT | PCM_MONOTONIC);
    EXPECT_EQ(write_all(first, "abcd"), 0);
    expect_refused(open_pcm(PCM_OUT), {"a.wav", "another stream is writing"});
    EXPECT_EQ(write_all(first, "efgh"), 0);
    EXPECT_EQ(read_file("a.wav"), wav_of("abcdefgh"));
    unsigned avail = 0;
    timespec stamp = {}, now = {};
    EXPECT_EQ(pcm_get_htimestamp(first.get(), &avail, &stamp), 0);
    EXPECT_EQ(avail, 960u) << "at a free pace all has been played";
    clock_gettime(CLOCK_MONOTONIC, &now);
    EXPECT_LE(stamp.tv_sec, now.tv_sec);
    EXPECT_EQ(pcm_stop(first.get()), 0);
    EXPECT_EQ(pcm_get_htimestamp(first.get(), &avail, &stamp), -EBADFD);
    EXPECT_EQ(pcm_start(first.get()), -EBADFD);
    EXPECT_EQ(write_all(first, "ijkl"), 0);
    EXPECT_EQ(pcm_get_htimestamp(first.get(), &avail, &stamp), 0);
}

TEST_F(TinyalsaWav, AFullDiskKeepsTheWholeFramesAndAValidFile) {
    const pcm_ptr handle = open_pcm(PCM_OUT, kOdd);
    {
        const resource_limit full(RLIMIT_FSIZE, 68 + 8);  // two frames and two bytes
        EXPECT_LT(write_all(handle, "abcdefghi"), 0);
    }
    EXPECT_NE(std::string(pcm_get_error(handle.get())).find("no more fits"), std::string::npos);
    EXPECT_EQ(read_file("a.wav"), wav_of("abcdef", kOdd));
    EXPECT_EQ(write_all(handle, "ghi"), 0) << "goes on when there is room again";
    EXPECT_EQ(read_file("a.wav"), wav_of("abcdefghi", kOdd));
}

TEST_F(TinyalsaWav, FourGibibytesAreTheEnd) {
    const scoped_env target("CORVEX_ALSA_PLAYBACK", "wav:/dev/null");
    const pcm_ptr handle = open_pcm(PCM_OUT);
    const std::string block(16 << 20, '\0');
    for (int i = 1; i < 256; ++i) {
        ASSERT_EQ(write_all(handle, block), 0) << i;
    }
    EXPECT_EQ(write_all(handle, block), -EFBIG);
}

TEST_F(TinyalsaWav, PositionsMayBeAskedForWhileAPacedWriteWaits) {
    const scoped_env pace("CORVEX_WAV_PACE", "real");
    const pcm_ptr handle = open_pcm(PCM_OUT);
    const std::string data = noise(960 * 4 * 8);
    std::atomic<bool> seen_queued{false};
    std::string written;
    std::thread writer([&] {
        do {
            EXPECT_EQ(write_all(handle, data), 0);
            written += data;
        } while (!seen_queued);
    });
    while (!seen_queued) {
        unsigned avail = UINT_MAX;
        timespec stamp = {};
        EXPECT_EQ(pcm_get_htimestamp(handle.get(), &avail, &stamp), 0);
        EXPECT_LE(avail, 960u);
        seen_queued = avail < 960;
        std::this_thread::yield();
    }
    writer.join();
    EXPECT_TRUE(read_file("a.wav") == wav_of(written));
}

TEST(TinyalsaNullPcm, PlaysAndCapturesThroughTheNullDevice) {
    const scoped_env playback("CORVEX_ALSA_PLAYBACK", "null");
    const scoped_env capture("CORVEX_ALSA_CAPTURE", "null");
    const pcm_ptr out = open_pcm(PCM_OUT), in = open_pcm(PCM_IN | PCM_MONOTONIC);
    std::string data(20000, 'x');
    EXPECT_EQ(write_all(out, data), 0) << pcm_get_error(out.get());
    EXPECT_EQ(pcm_read(in.get(), data.data(), 20000), 0) << pcm_get_error(in.get());
    unsigned avail = 0;
    timespec stamp = {};
    EXPECT_EQ(pcm_get_htimestamp(out.get(), &avail, &stamp), 0);
    EXPECT_EQ(pcm_stop(out.get()), 0);
    EXPECT_EQ(pcm_get_htimestamp(out.get(), &avail, &stamp), -EBADFD);
    EXPECT_EQ(pcm_prepare(out.get()), 0);
}

TEST(TinyalsaNullPcm, FailingOpensKeepStandardErrorClean) {
    testing::internal::CaptureStderr();
    const pcm_ptr card(pcm_open(31, 7, PCM_OUT, &kStereo));
    const scoped_env playback("CORVEX_ALSA_PLAYBACK", "no_such_pcm_anywhere");
    const pcm_ptr named = open_pcm(PCM_OUT);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    expect_refused(card, {"hw:31,7 (card 31, device 7)", "No such", "aplay -l"});
    expect_refused(named, {"Unknown PCM no_such_pcm_anywhere", "CORVEX_ALSA_PLAYBACK"});
}

}  // namespace
