// What alsa-lib has to say about a failing call, kept off standard error.
//
// alsa-lib prints a line for each layer that a failing open passes through. A scope takes these
// lines on the thread that made it, for as long as it lives, and keeps the last one.
#pragma once

#include <stdarg.h>

namespace tinyalsa {

class alsa_message_scope {
  public:
    alsa_message_scope();
    ~alsa_message_scope();
    alsa_message_scope(const alsa_message_scope&) = delete;
    alsa_message_scope& operator=(const alsa_message_scope&) = delete;

    // The latest message, "" when there was none. Good while the scope lives.
    const char* latest() const { return text_; }

  private:
    [[gnu::format(printf, 5, 0)]] static void keep(const char* file, int line, const char* function,
                                                   int error, const char* format, va_list args);

    char text_[160] = "";
    alsa_message_scope* outer_scope_;
    decltype(&keep) outer_handler_;
};

}  // namespace tinyalsa
