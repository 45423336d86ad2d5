// Threads against each other; the thread sanitizer build makes these tests what they are.

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "pcm/hpo.h"
#include "tests/support/module_fixture.h"

namespace {

class Concurrency : public module_test {};

}  // namespace

TEST_F(Concurrency, AllOpenersGetOneDeviceAndTheLastCloseReleasesIt) {
    constexpr int threads = 8;
    constexpr int rounds = 100;
    std::atomic<int> failures{0};
    std::vector<std::thread> openers;
    for (int i = 0; i < threads; ++i) {
        openers.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                struct hw_device_t* first = nullptr;
                struct hw_device_t* second = nullptr;
                const auto open = HAL_MODULE_INFO_SYM.methods->open;
                failures += open(&HAL_MODULE_INFO_SYM, "audio_hw_if", &first) != 0;
                failures += open(&HAL_MODULE_INFO_SYM, "audio_hw_if", &second) != 0;
                failures += first != second;
                auto* const device = reinterpret_cast<struct audio_hw_device*>(first);
                failures += device->init_check(device) != 0;
                failures += device->common.close(first) != 0;
                failures += second->close(second) != 0;
            }
        });
    }
    for (std::thread& each : openers) {
        each.join();
    }
    EXPECT_EQ(failures, 0);
    // Every device that was brought up was taken down, and none is left.
    int up = 0;
    for (const std::string& call : direct_output().calls) {
        up += call == "init" ? 1 : -1;
        EXPECT_TRUE(up == 0 || up == 1);
    }
    EXPECT_EQ(up, 0);
    EXPECT_EQ(open_device()->init_check(dev), 0);
}

TEST_F(Concurrency, PositionsRaceWritesAndStandbyAndNeverTouchAClosedHandle) {
    struct audio_stream_out* const stream = open_stream();
    tinyalsa().avail = 960;
    std::atomic<bool> done{false};
    std::vector<std::thread> askers;
    for (int i = 0; i < 3; ++i) {
        askers.emplace_back([&] {
            struct audio_stream* const common = &stream->common;
            while (!done) {
                uint64_t frames = 0;
                uint32_t low = 0;
                struct timespec time = {};
                stream->get_presentation_position(stream, &frames, &time);
                stream->get_render_position(stream, &low);
                stream->get_latency(stream);
                common->get_buffer_size(common);
                common->set_sample_rate(common, 44100);
                common->set_format(common, AUDIO_FORMAT_PCM_16_BIT);
                common->get_format(common);
                dev->set_master_volume(dev, 0.5F);
                dev->set_mic_mute(dev, true);
            }
        });
    }
    const std::string data = audio(period_bytes);
    for (int round = 0; round < 300; ++round) {
        stream->write(stream, data.data(), data.size());
        stream->common.standby(&stream->common);
    }
    done = true;
    for (std::thread& each : askers) {
        each.join();
    }
    EXPECT_EQ(tinyalsa().opens.size(), 300U);
    EXPECT_EQ(tinyalsa().uses_after_close, 0);
    EXPECT_EQ(to_hal_stream_out(stream)->hpo->pcm_borrowers, 0U);
    close_stream(stream);
}

TEST_F(Concurrency, ClosingWaitsForAPositionQueryThatIsInsideTheLibrary) {
    struct audio_stream_out* const stream = open_stream();
    stream->write(stream, audio(period_bytes).data(), period_bytes);
    std::mutex mutex;
    std::condition_variable changed;
    bool inside = false;
    bool leave = false;
    tinyalsa().in_htimestamp = [&] {
        std::unique_lock<std::mutex> lock(mutex);
        inside = true;
        changed.notify_all();
        changed.wait(lock, [&] { return leave; });
    };
    std::thread asker([&] {
        uint64_t frames = 0;
        struct timespec time = {};
        stream->get_presentation_position(stream, &frames, &time);
    });
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [&] { return inside; });
    }
    std::atomic<bool> closed{false};
    std::thread closer([&] {
        stream->common.standby(&stream->common);
        closed = true;
    });
    // The closer has withdrawn the handle once a new query finds none; it must still be waiting.
    while (__atomic_load_n(&to_hal_stream_out(stream)->hpo->pcm, __ATOMIC_SEQ_CST) != nullptr) {
        std::this_thread::yield();
    }
    EXPECT_EQ(tinyalsa().open_handles, 1);
    EXPECT_FALSE(closed);
    {
        const std::lock_guard<std::mutex> lock(mutex);
        leave = true;
        changed.notify_all();
    }
    asker.join();
    closer.join();
    EXPECT_EQ(tinyalsa().open_handles, 0);
    EXPECT_EQ(tinyalsa().uses_after_close, 0);
    tinyalsa().in_htimestamp = nullptr;
    close_stream(stream);
}

TEST_F(Concurrency, StreamsOpenTheirCardsOneAfterTheOther) {
    std::atomic<int> opening{0};
    std::atomic<int> most{0};
    tinyalsa().in_open = [&] {
        most = std::max(most.load(), ++opening);
        std::this_thread::yield();
        --opening;
    };
    open_device();
    std::vector<std::thread> players;
    for (int i = 0; i < 4; ++i) {
        struct audio_stream_out* const stream = open_stream();
        players.emplace_back([this, stream] {
            const std::string data = audio(period_bytes);
            for (int round = 0; round < 100; ++round) {
                stream->write(stream, data.data(), data.size());
                stream->common.standby(&stream->common);
            }
            close_stream(stream);
        });
    }
    for (std::thread& each : players) {
        each.join();
    }
    EXPECT_EQ(most, 1);
    EXPECT_EQ(tinyalsa().opens.size(), 400U);
}

TEST_F(Concurrency, ALockGoesToThoseWhoWaitInTheOrderInWhichTheyCame) {
    struct fair_lock lock = {};
    const auto line_end = [&lock] {
        pthread_mutex_lock(&lock.line_guard);
        const void* const last = lock.first != nullptr ? lock.last : nullptr;
        pthread_mutex_unlock(&lock.line_guard);
        return last;
    };
    std::string order;  // guarded by the lock
    std::vector<std::thread> waiting;
    const auto let_wait = [&](const std::function<void()>& work) {
        const void* const before = line_end();
        waiting.emplace_back(work);
        while (line_end() == before) {
            std::this_thread::yield();
        }
    };
    const auto take = [&](char name) {
        return [&, name] {
            take_lock(lock);
            order += name;
            give_back(lock);
        };
    };
    take_lock(lock);
    let_wait(take('a'));
    let_wait(take('b'));
    EXPECT_FALSE(take_within(lock, 1000)) << "the last in the line gives up";
    let_wait([&] {
        if (take_within(lock, 60'000'000)) {
            order += 'c';
            give_back(lock);
        }
    });
    EXPECT_FALSE(try_take(lock));
    give_back(lock);
    take('d')();  // at once, and still behind all of them
    for (std::thread& each : waiting) {
        each.join();
    }
    EXPECT_EQ(order, "abcd");
    EXPECT_FALSE(is_wanted(lock));
}

TEST_F(Concurrency, StandbyComesBetweenTwoWritesOfAThreadThatDoesNothingElse) {
    struct audio_stream_out* const stream = open_stream();
    const std::string data = audio(period_bytes);
    constexpr size_t writes = 20;
    std::thread control;
    tinyalsa().in_open = [&] {
        if (control.joinable()) {
            control.join();  // it has closed the card
        }
        control = std::thread([&] { stream->common.standby(&stream->common); });
        while (!is_wanted(to_hal_stream_out(stream)->lock.turn)) {
            std::this_thread::yield();
        }
    };
    for (size_t i = 0; i < writes; ++i) {
        stream->write(stream, data.data(), data.size());
    }
    control.join();
    EXPECT_EQ(tinyalsa().opens.size(), writes);
    tinyalsa().in_open = nullptr;
    close_stream(stream);
}

TEST_F(Concurrency, ReadsRaceStandbyParametersAndOtherStreamsAndLoseNoFrame) {
    open_device();
    for (const uint32_t rate : {48000U, 44100U}) {
        reset_tinyalsa();
        tinyalsa().sound = audio(1 << 22);
        struct audio_stream_in* const stream = open_input(rate, AUDIO_CHANNEL_IN_MONO);
        struct audio_stream* const common = &stream->common;
        std::atomic<bool> done{false};
        std::vector<std::thread> others;
        others.emplace_back([&] {
            while (!done) {
                common->standby(common);
                std::this_thread::yield();
            }
        });
        others.emplace_back([&] {
            while (!done) {
                common->set_parameters(common, "routing=4");
                common->set_sample_rate(common, rate);
                common->set_format(common, AUDIO_FORMAT_PCM_16_BIT);
                common->get_buffer_size(common);
                stream->set_gain(stream, 1);
            }
        });
        others.emplace_back([&] {
            while (!done) {
                struct audio_config config = {};
                config.sample_rate = 48000;
                config.channel_mask = AUDIO_CHANNEL_IN_STEREO;
                config.format = AUDIO_FORMAT_PCM_16_BIT;
                struct audio_stream_in* other = nullptr;
                dev->open_input_stream(dev, 2, AUDIO_DEVICE_IN_BUILTIN_MIC, &config, &other,
                                       AUDIO_INPUT_FLAG_NONE, nullptr, AUDIO_SOURCE_MIC);
                other->read(other, &config, 0);  // opens the card and takes nothing
                dev->close_input_stream(dev, other);
            }
        });
        size_t taken = 0;
        char buffer[1024];
        for (int round = 0; round < 300; ++round) {
            taken += static_cast<size_t>(stream->read(stream, buffer, sizeof(buffer)));
        }
        done = true;
        for (std::thread& each : others) {
            each.join();
        }
        if (rate == 48000) {
            EXPECT_EQ(tinyalsa().sound_taken, taken * 2);
        }
        EXPECT_EQ(tinyalsa().uses_after_close, 0);
        close_input(stream);
        EXPECT_EQ(tinyalsa().open_handles, 0);
    }
}
