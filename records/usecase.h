// What a stream is used for, which decides its back end.
#pragma once

#include <stdint.h>

enum out_usecase : uint32_t {
    USECASE_PRIMARY_PCM = 0,      // sound card
    USECASE_DIRECT_HWSYNC = 3,    // player service, each frame behind an AV-sync header
    USECASE_DIRECT_PASSTHRU = 4,  // player service
};

// Of every input stream.
constexpr int32_t USECASE_CAPTURE = 6;

constexpr bool is_direct(out_usecase usecase) {
    return usecase == USECASE_DIRECT_HWSYNC || usecase == USECASE_DIRECT_PASSTHRU;
}
