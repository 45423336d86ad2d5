// One operation of the player interface, described once for its proxy and its stub.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>  // for binder/Parcel.h, which does not always include it
#include <tuple>
#include <type_traits>
#include <utility>

#include <binder/IBinder.h>
#include <binder/Parcel.h>

#include "argument_kinds.h"

namespace android::zuavplayer {

// The operation Method with transaction code Code; Kinds are its arguments, in order.
template <uint32_t Code, auto Method, typename... Kinds>
struct Operation {
    static constexpr uint32_t kCode = Code;
    static constexpr auto kMethod = Method;
    static_assert(
        std::is_invocable_r_v<int32_t, decltype(Method), IZuAvPlayer*, typename Kinds::Type...>,
        "the kinds do not describe the method's arguments");

    // The proxy's side: sends the request, waits, and brings status and results back.
    static int32_t call(IBinder* remote, typename Kinds::Type... arguments) {
        const std::tuple<typename Kinds::Type...> all(arguments...);
        Parcel request;
        Parcel reply;
        request.writeInterfaceToken(IZuAvPlayer::descriptor);
        for_each_argument([&](auto place) {
            kind_at<place>::write(&request, std::get<place>(all), length_of<place>(all));
        });
        if (const status_t error = request.errorCheck(); error != NO_ERROR) {
            return error;
        }
        const status_t sent = remote->transact(Code, request, &reply);
        if (sent != NO_ERROR) {
            return sent;
        }
        int32_t result = 0;
        bool complete = reply.readInt32(&result) == NO_ERROR;
        for_each_argument([&](auto place) {
            complete = complete &&
                       kind_at<place>::read_out(reply, std::get<place>(all), length_of<place>(all));
        });
        return complete ? result : BAD_VALUE;
    }

    // The stub's side: checks the request, calls the operation and writes the reply.
    static status_t serve(IZuAvPlayer* player, const Parcel& request, Parcel* reply) {
        std::tuple<typename Kinds::Held...> held;
        bool complete = true;
        for_each_argument([&](auto place) {
            complete = complete && kind_at<place>::read(request, &std::get<place>(held));
        });
        for_each_argument([&](auto place) { complete = complete && fits<place>(held); });
        if (!complete || request.dataAvail() != 0) {
            return BAD_VALUE;
        }
        const int32_t result = std::apply(
            [player](auto&... value) { return (player->*Method)(Kinds::argument(value)...); },
            held);
        reply->writeInt32(result);
        for_each_argument(
            [&](auto place) { kind_at<place>::write_out(reply, std::get<place>(held)); });
        return reply->errorCheck();
    }

  private:
    template <size_t Place>
    using kind_at = std::tuple_element_t<Place, std::tuple<Kinds...>>;

    template <typename Visit>
    static void for_each_argument(Visit visit) {
        for_each_place(visit, std::index_sequence_for<Kinds...>{});
    }
    template <typename Visit, size_t... Places>
    static void for_each_place([[maybe_unused]] Visit visit, std::index_sequence<Places...>) {
        (visit(std::integral_constant<size_t, Places>{}), ...);
    }

    // The length argument of the block at Place, or 0 where it has none.
    template <size_t Place, typename Arguments>
    static uint32_t length_of(const Arguments& all) {
        if constexpr (kind_at<Place>::kLength == kNoLength) {
            return 0;
        } else {
            return std::get<static_cast<size_t>(kind_at<Place>::kLength)>(all);
        }
    }

    // A block that is there has as many bytes as its length argument says.
    template <size_t Place, typename Held>
    static bool fits(const Held& held) {
        if constexpr (kind_at<Place>::kLength == kNoLength) {
            return true;
        } else {
            const Block& block = std::get<Place>(held);
            return block.bytes() == nullptr || block.size() == length_of<Place>(held);
        }
    }
};

// The operation of a list that describes Method.
template <auto Method, typename First, typename... Rest>
struct Find {
    using Type = typename Find<Method, Rest...>::Type;
};
template <auto Method, uint32_t Code, typename... Kinds, typename... Rest>
struct Find<Method, Operation<Code, Method, Kinds...>, Rest...> {
    using Type = Operation<Code, Method, Kinds...>;
};

template <typename... Operations>
struct OperationList {
    template <auto Method>
    using Of = typename Find<Method, Operations...>::Type;

    using Server = status_t (*)(IZuAvPlayer* player, const Parcel& request, Parcel* reply);

    // What serves `code`, or null where the list has no such operation.
    static Server server(uint32_t code) {
        Server found = nullptr;
        ((Operations::kCode == code ? void(found = &Operations::serve) : void()), ...);
        return found;
    }
};

}  // namespace android::zuavplayer
