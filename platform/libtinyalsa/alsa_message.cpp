#include "alsa_message.h"

#include <cstdio>

// alsa-lib 1.2.8 declares snd_lib_error_set_local() behind the end of its own extern "C".
extern "C" {
#include <alsa/asoundlib.h>
}

namespace tinyalsa {

namespace {

// alsa-lib's own handler is per thread as well, but takes no argument to find the scope by.
thread_local alsa_message_scope* current_scope = nullptr;

}  // namespace

alsa_message_scope::alsa_message_scope()
    : outer_scope_(current_scope), outer_handler_(snd_lib_error_set_local(keep)) {
    current_scope = this;
}

alsa_message_scope::~alsa_message_scope() {
    snd_lib_error_set_local(outer_handler_);
    current_scope = outer_scope_;
}

void alsa_message_scope::keep(const char*, int, const char*, int, const char* format,
                              va_list args) {
    if (current_scope != nullptr) {
        std::vsnprintf(current_scope->text_, sizeof current_scope->text_, format, args);
    }
}

}  // namespace tinyalsa
