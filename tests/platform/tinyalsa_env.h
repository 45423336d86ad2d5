// What the tests of the tinyalsa library share: the environment, a configuration, a handle's end.
#pragma once

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include <tinyalsa/asoundlib.h>

// Sets a variable for a while; then it is what it was.
class scoped_env {
  public:
    scoped_env(const char* name, const std::string& value) : name_(name) {
        const char* before = getenv(name);
        before_ = before != nullptr ? before : "";
        setenv(name, value.c_str(), 1);
    }
    ~scoped_env() { setenv(name_, before_.c_str(), 1); }  // an empty value counts as unset
    scoped_env(const scoped_env&) = delete;
    scoped_env& operator=(const scoped_env&) = delete;

  private:
    const char* name_;
    std::string before_;
};

struct pcm_closer {
    void operator()(pcm* handle) const { pcm_close(handle); }
};
using pcm_ptr = std::unique_ptr<pcm, pcm_closer>;

constexpr pcm_config kStereo = {2, 48000, 480, 2, PCM_FORMAT_S16_LE, 0, 0, 0, 0, 0};

inline pcm_ptr open_pcm(unsigned flags, const pcm_config& config = kStereo) {
    return pcm_ptr(pcm_open(0, 0, flags, &config));
}

// The handle is not ready, and its one line of error text holds each of the words.
inline void expect_refused(const pcm_ptr& handle, std::initializer_list<const char*> words) {
    EXPECT_EQ(pcm_is_ready(handle.get()), 0);
    EXPECT_EQ(pcm_write(handle.get(), "abcd", 4), -EBADFD);
    const std::string text = pcm_get_error(handle.get());
    for (const char* word : words) {
        EXPECT_NE(text.find(word), std::string::npos) << "\"" << word << "\" in: " << text;
    }
    EXPECT_EQ(text.find('\n'), std::string::npos) << text;
}
