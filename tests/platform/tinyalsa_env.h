// What the tests of the tinyalsa library share: the environment, a configuration, a handle's end.
#pragma once

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include <tinyalsa/asoundlib.h>

// Sets a variable for one test.
class scoped_env {
  public:
    scoped_env(const char* name, const std::string& value) : name_(name) {
        setenv(name, value.c_str(), 1);
    }
    ~scoped_env() { unsetenv(name_); }
    scoped_env(const scoped_env&) = delete;
    scoped_env& operator=(const scoped_env&) = delete;

  private:
    const char* name_;
};

struct pcm_closer {
    void operator()(pcm* handle) const { pcm_close(handle); }
};
using pcm_ptr = std::unique_ptr<pcm, pcm_closer>;

inline pcm_config stereo_config() {
    pcm_config config = {};
    config.channels = 2;
    config.rate = 48000;
    config.period_size = 480;
    config.period_count = 2;
    config.format = PCM_FORMAT_S16_LE;
    return config;
}

inline pcm_ptr open_pcm(unsigned flags, const pcm_config& config) {
    return pcm_ptr(pcm_open(0, 0, flags, &config));
}

// The error text holds each of the words.
inline void expect_error(const pcm_ptr& handle, std::initializer_list<const char*> words) {
    const std::string text = pcm_get_error(handle.get());
    for (const char* word : words) {
        EXPECT_NE(text.find(word), std::string::npos) << "\"" << word << "\" in: " << text;
    }
    EXPECT_EQ(text.find('\n'), std::string::npos) << text;
}
