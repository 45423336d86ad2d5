#include "tests/player_client/flat_cases.h"

#include <ostream>
#include <tuple>
#include <type_traits>

#include "player_client/player_functions.h"

namespace {

// Nobody follows it, on either side.
// NOLINTNEXTLINE(performance-no-int-to-ptr)
void* const the_client = reinterpret_cast<void*>(uintptr_t{0x1234});

template <typename Function>
void* as_pointer(Function* function) {
    return reinterpret_cast<void*>(function);
}

// An argument that must be given.
template <typename T>
struct need {
    T value;
};
template <typename T>
need(T) -> need<T>;

// What a function gets for such an argument, and for any other.
template <typename Parameter, typename Member>
Parameter passed(flat_arguments& with, int& /*place*/, Member flat_arguments::*member) {
    if constexpr (std::is_array_v<Member>) {
        return with.*member;
    } else {
        return &(with.*member);
    }
}
template <typename Parameter, typename T>
Parameter passed(flat_arguments& /*with*/, int& /*place*/, T value) {
    return static_cast<Parameter>(value);
}
template <typename Parameter, typename T>
Parameter passed(flat_arguments& with, int& place, need<T> argument) {
    const bool is_given = (with.given >> place++ & 1U) != 0;
    return is_given ? passed<Parameter>(with, place, argument.value) : Parameter{};
}

using block_member = decltype(&flat_arguments::block);
template <typename T>
constexpr bool is_block = std::is_same_v<T, block_member> || std::is_same_v<T, need<block_member>>;
template <typename T>
constexpr bool is_needed = false;
template <typename T>
constexpr bool is_needed<need<T>> = true;

// A function and its arguments behind the handle, and the line that its call becomes in the
// journal. Whatever its signature lets the service write comes back.
template <typename... Parameters, typename... Arguments>
flat_case row(int place, const char* name, int32_t (*function)(void*, Parameters...),
              const std::string& journal, Arguments... arguments) {
    const auto call = [=](void* handle, flat_arguments& with) {
        [[maybe_unused]] int next = 0;  // braces, because their elements are evaluated in order
        std::tuple<Parameters...> all{passed<Parameters>(with, next, arguments)...};
        return std::apply([&](auto... each) { return function(handle, each...); }, all);
    };
    const int words = (std::is_same_v<Parameters, uint32_t*> + ... + 0);
    const bool block = ((std::is_same_v<Parameters, void*> && is_block<Arguments>) || ...);
    return {std::string("ZUAVPLAYER_") + name,
            journal.substr(0, journal.find(' ')),
            place,
            (is_needed<Arguments> + ... + 0),
            -1,
            call,
            journal,
            block        ? results::block
            : words == 2 ? results::two_words
            : words == 1 ? results::one_word
                         : results::none};
}

flat_case answers_0(flat_case row) {
    row.invalid = 0;
    return row;
}

}  // namespace

int32_t ignore_player_event(int32_t /*handle*/, int32_t /*msg*/, void* /*data*/) {
    return 0;
}
int32_t ignore_rm_event(void* /*client*/, int32_t /*msg*/, int32_t /*value*/) {
    return 0;
}

std::ostream& operator<<(std::ostream& stream, const flat_case& row) {
    return stream << row.function;
}

const std::vector<flat_case>& flat_cases() {
    constexpr uint64_t long_length = flat_arguments::long_length;
    static const std::vector<flat_case> cases = {
        row(1, "SYS_Init", ZUAVPLAYER_SYS_Init, "SYS_Init"),
        row(2, "Init", ZUAVPLAYER_Init, "Init"),
        row(3, "DeInit", ZUAVPLAYER_DeInit, "DeInit"),
        row(4, "RegisterAcodecLib", ZUAVPLAYER_RegisterAcodecLib, "RegisterAcodecLib decoder.so",
            need{"decoder.so"}),
        row(5, "FoundSupportDecoder", ZUAVPLAYER_FoundSupportDecoder,
            "FoundSupportDecoder 2147483649 given", 0x80000001U, need{&flat_arguments::first}),
        row(6, "GetDefaultConfig", ZUAVPLAYER_GetDefaultConfig,
            "GetDefaultConfig <010203040506> -12 6", need{&flat_arguments::block}, -12,
            long_length),
        row(7, "Create", ZUAVPLAYER_Create, "Create <010203040506> given 6",
            need{&flat_arguments::block}, need{&flat_arguments::first}, long_length),
        row(8, "Destroy", ZUAVPLAYER_Destroy, "Destroy 2147483649", need{0x80000001U}),
        row(9, "RegisterEvent64", ZUAVPLAYER_RegisterEvent64,
            "RegisterEvent64 2147483649 -12 given", need{0x80000001U}, -12,
            need{as_pointer(ignore_player_event)}),
        row(10, "GetAttr", ZUAVPLAYER_GetAttr, "GetAttr 2147483649 -12 <010203040506> 6",
            need{0x80000001U}, -12, need{&flat_arguments::block}, long_length),
        row(11, "SetAttr", ZUAVPLAYER_SetAttr, "SetAttr 2147483649 -12 <010203040506> 6",
            need{0x80000001U}, -12, need{&flat_arguments::block}, long_length),
        row(12, "GetAdecOutFrameInfo", ZUAVPLAYER_GetAdecOutFrameInfo,
            "GetAdecOutFrameInfo 2147483649 given given", need{0x80000001U},
            need{&flat_arguments::first}, need{&flat_arguments::second}),
        row(13, "SetAdecOutBufSize", ZUAVPLAYER_SetAdecOutBufSize,
            "SetAdecOutBufSize 2147483649 2147483650", need{0x80000001U}, 0x80000002U),
        row(14, "ChnOpen", ZUAVPLAYER_ChnOpen, "ChnOpen 2147483649 -12 <010203040506> 6",
            need{0x80000001U}, -12, &flat_arguments::block, long_length),
        row(15, "ChnClose", ZUAVPLAYER_ChnClose, "ChnClose 2147483649 -12", need{0x80000001U}, -12),
        row(16, "GetBuf", ZUAVPLAYER_GetBuf, "GetBuf 2147483649 -12 2147483651 2147483652",
            need{0x80000001U}, -12, 0x80000003U, 0x80000004U),
        row(17, "PutBufEx", ZUAVPLAYER_PutBufEx, "PutBufEx 2147483649 -12 4 2147483652 null",
            need{0x80000001U}, -12, 4, 0x80000004U),
        row(18, "Start", ZUAVPLAYER_Start, "Start 2147483649 -12 <010203040506> 6",
            need{0x80000001U}, -12, &flat_arguments::block, long_length),
        row(19, "Stop", ZUAVPLAYER_Stop, "Stop 2147483649 -12 <010203040506> 6", need{0x80000001U},
            -12, &flat_arguments::block, long_length),
        row(20, "Pause", ZUAVPLAYER_Pause, "Pause 2147483649 <010203040506> 6", need{0x80000001U},
            &flat_arguments::block, long_length),
        row(21, "Resume", ZUAVPLAYER_Resume, "Resume 2147483649 <010203040506> 6",
            need{0x80000001U}, &flat_arguments::block, long_length),
        row(22, "GetStreamInfo", ZUAVPLAYER_GetStreamInfo,
            "GetStreamInfo 2147483649 <010203040506> 6", need{0x80000001U},
            need{&flat_arguments::block}, long_length),
        row(23, "SetTunnelMode", ZUAVPLAYER_SetTunnelMode, "SetTunnelMode 2147483649 -12 true",
            need{0x80000001U}, -12, 2),
        row(24, "SetHDRInfo", ZUAVPLAYER_SetHDRInfo,
            "SetHDRInfo 2147483649 <010203040506> 6 true 2147483653", need{0x80000001U},
            need{&flat_arguments::block}, long_length, 2, 0x80000005U),
        row(25, "GetHDRInfo", ZUAVPLAYER_GetHDRInfo, "GetHDRInfo 2147483649 <010203040506> 6",
            need{0x80000001U}, need{&flat_arguments::block}, long_length),
        row(45, "FlushStream", ZUAVPLAYER_FlushStream, "FlushStream 2147483649 <010203040506> 6",
            need{0x80000001U}, need{&flat_arguments::block}, long_length),
        row(26, "SetAdecAttr", ZUAVPLAYER_SetAdecAttr,
            "SetAdecAttr 2147483649 2147483650 65523 2147483652 -15", need{0x80000001U},
            0x80000002U, 65523, 0x80000004U, -15),
        row(35, "DetachSnd", ZUAVPLAYER_DetachSnd, "DetachSnd 2147483649 2147483650",
            need{0x80000001U}, need{0x80000002U}),
        row(34, "AttachSnd", ZUAVPLAYER_AttachSnd, "AttachSnd 2147483649 2147483650",
            need{0x80000001U}, need{0x80000002U}),
        row(32, "DestroyTrack", ZUAVPLAYER_DestroyTrack, "DestroyTrack 2147483649",
            need{0x80000001U}),
        row(31, "CreateTrack", ZUAVPLAYER_CreateTrack,
            "CreateTrack 2147483649 <010203040506> given 6", 0x80000001U,
            need{&flat_arguments::block}, need{&flat_arguments::first}, long_length),
        row(30, "GetTrackDefAttr", ZUAVPLAYER_GetTrackDefAttr,
            "GetTrackDefAttr 2147483649 <010203040506> 6", 0x80000001U,
            need{&flat_arguments::block}, long_length),
        row(27, "SetSndLatency", ZUAVPLAYER_SetSndLatency, "SetSndLatency 2147483649 2147483650",
            0x80000001U, 0x80000002U),
        row(33, "GetTrackDelayMs", ZUAVPLAYER_GetTrackDelayMs, "GetDelayMs 2147483649 given",
            need{0x80000001U}, need{&flat_arguments::first}),
        row(28, "SndInit", ZUAVPLAYER_SndInit, "SndInit 2147483649", 0x80000001U),
        row(29, "SndDeInit", ZUAVPLAYER_SndDeInit, "SndDeInit 2147483649", 0x80000001U),
        row(36, "VO_Init", ZUAVPLAYER_VO_Init, "VO_Init -11", -11),
        row(37, "VO_DeInit", ZUAVPLAYER_VO_DeInit, "VO_DeInit"),
        row(38, "VO_CreateWindow", ZUAVPLAYER_VO_CreateWindow,
            "VO_CreateWindow <010203040506> given 6", need{&flat_arguments::block},
            need{&flat_arguments::first}, long_length),
        row(39, "VO_AttachWindow", ZUAVPLAYER_VO_AttachWindow,
            "VO_AttachWindow 2147483649 2147483650", need{0x80000001U}, need{0x80000002U}),
        row(40, "VO_SetWindowEnable", ZUAVPLAYER_VO_SetWindowEnable,
            "VO_SetWindowEnable 2147483649 true", need{0x80000001U}, 2),
        row(41, "VO_DetachWindow", ZUAVPLAYER_VO_DetachWindow,
            "VO_DetachWindow 2147483649 2147483650", need{0x80000001U}, need{0x80000002U}),
        row(42, "VO_DestroyWindow", ZUAVPLAYER_VO_DestroyWindow, "VO_DestroyWindow 2147483649",
            need{0x80000001U}),
        row(46, "VO_SetRotation", ZUAVPLAYER_VO_SetRotation, "VO_SetRotation 2147483649 2147483650",
            need{0x80000001U}, 0x80000002U),
        row(47, "GetAudioPlaytime", ZUAVPLAYER_GetAudioPlaytime,
            "GetAudioPlaytime 2147483649 given given", 0x80000001U, need{&flat_arguments::first},
            need{&flat_arguments::second}),
        answers_0(row(48, "SndGetMsFeature", ZUAVPLAYER_SndGetMsFeature,
                      "SndGetMsFeature 2147483649", 0x80000001U)),
        answers_0(row(49, "RM_Init", ZUAVPLAYER_RM_Init, "RM_init")),
        answers_0(row(50, "RM_Deinit", ZUAVPLAYER_RM_Deinit, "RM_Deinit")),
        answers_0(row(51, "RM_RegisterCallback", ZUAVPLAYER_RM_RegisterCallback,
                      "RM_RegisterCallback 4660 given 2147483651", need{the_client},
                      need{as_pointer(ignore_rm_event)}, 0x80000003U)),
        answers_0(row(52, "RM_UnRegisterCallback", ZUAVPLAYER_RM_UnRegisterCallback,
                      "RM_UnRegisterCallback 4660", need{the_client},
                      need{as_pointer(ignore_rm_event)})),
        row(53, "CheckCloseState", ZUAVPLAYER_CheckCloseState, "CheckCloseState 2147483649 given",
            need{0x80000001U}, need{&flat_arguments::first}),
    };
    return cases;
}
