// What a service does with a socket that does not keep to the protocol.

#include <cstring>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/libbinder/src/wire.h"
#include "tests/platform/binder_fixture.h"

using namespace corvex_binder;

namespace {

using bytes = std::vector<uint8_t>;

template <typename... Parts>
bytes join(const Parts&... parts) {
    bytes all;
    const auto add = [&all](const auto& part) {
        if constexpr (std::is_same_v<std::decay_t<decltype(part)>, bytes>) {
            all.insert(all.end(), part.begin(), part.end());
        } else {
            const auto* from = reinterpret_cast<const uint8_t*>(&part);
            all.insert(all.end(), from, from + sizeof part);
        }
    };
    (add(parts), ...);
    return all;
}

template <typename... Parts>
bytes frame(uint16_t type, uint16_t descriptors, const Parts&... parts) {
    const bytes payload = join(parts...);
    return join(frame_header{static_cast<uint32_t>(payload.size()), type, descriptors}, payload);
}

bytes hello(const char* magic = kWireMagic, uint32_t version = kWireVersion) {
    hello_payload payload = {};
    memcpy(payload.magic, magic, sizeof payload.magic);
    payload.version = version;
    memcpy(payload.process, "a process of its", sizeof payload.process);
    return frame(kHelloFrame, 0, payload);
}

bytes objects(const std::vector<wire_object>& list, uint32_t data_bytes) {
    bytes all = join(parcel_header{data_bytes, static_cast<uint32_t>(list.size())});
    for (const wire_object& object : list) {
        all = join(all, object);
    }
    all.resize(all.size() + data_bytes);
    return all;
}

// A call to the registry with such a parcel.
bytes call(const bytes& parcel, uint16_t descriptors = 0, uint64_t target = 0) {
    return frame(kCallFrame, descriptors, call_payload{1, target, 2, 0}, parcel);
}

class raw_client {
  public:
    explicit raw_client(const std::string& path)
        : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(connect(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }

    // False where the other end has closed.
    bool send(const bytes& what, int descriptors = 0) {
        iovec part = {const_cast<uint8_t*>(what.data()), what.size()};
        msghdr message = {};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        alignas(cmsghdr) char control[CMSG_SPACE(250 * sizeof(int))] = {};
        if (descriptors > 0) {
            const size_t size = static_cast<size_t>(descriptors) * sizeof(int);
            message.msg_control = control;
            message.msg_controllen = CMSG_SPACE(size);
            cmsghdr* header = CMSG_FIRSTHDR(&message);
            header->cmsg_level = SOL_SOCKET;
            header->cmsg_type = SCM_RIGHTS;
            header->cmsg_len = CMSG_LEN(size);
            const std::vector<int> numbers(static_cast<size_t>(descriptors), STDERR_FILENO);
            memcpy(CMSG_DATA(header), numbers.data(), size);
        }
        return sendmsg(socket_.get(), &message, MSG_NOSIGNAL) == static_cast<ssize_t>(what.size());
    }

    // The next frame's payload; empty where the other end has closed instead.
    bytes receive(uint16_t* type = nullptr) {
        frame_header header = {};
        if (!read_all(&header, sizeof header)) {
            return {};
        }
        if (type != nullptr) {
            *type = header.type;
        }
        bytes payload(header.payload_bytes);
        return read_all(payload.data(), payload.size()) ? payload : bytes();
    }
    bool is_closed() {
        while (!receive().empty()) {
        }
        return true;
    }
    void hang_up() { socket_.reset(); }

  private:
    bool read_all(void* to, size_t size) {
        for (size_t got = 0; got < size;) {
            pollfd readable = {socket_.get(), POLLIN, 0};
            EXPECT_EQ(poll(&readable, 1, 60000), 1) << "neither closed nor answered";
            const ssize_t more =
                recv(socket_.get(), static_cast<char*>(to) + got, size - got, MSG_DONTWAIT);
            if (more <= 0) {
                return false;
            }
            got += static_cast<size_t>(more);
        }
        return true;
    }

    unique_fd socket_;
};

}  // namespace

TEST_F(BinderRemoteTest, ConnectionThatBreaksTheProtocolIsClosedAndOthersGoOn) {
    const bytes empty = objects({}, 0);
    const struct {
        const char* name;
        bytes first;
        bytes second;
    } kRows[] = {
        {"no hello", call(empty), {}},
        {"another magic", hello("CorvexC\n"), {}},
        {"another version", hello(kWireMagic, 2), {}},
        {"short hello", frame(kHelloFrame, 0, uint64_t{1}), {}},
        {"second hello", hello(), hello()},
        {"frame of 4 GiB", hello(), join(frame_header{UINT32_MAX, kCallFrame, 0})},
        {"frame of one byte too many", hello(),
         join(frame_header{kMaxPayloadBytes + 1, kCallFrame, 0})},
        {"unknown type 0", hello(), frame(0, 0, empty)},
        {"unknown type 7", hello(), frame(7, 0, empty)},
        {"descriptors that are not there", hello(), call(empty, 3)},
        {"more descriptors than may be", hello(), call(empty, 65)},
        {"short call", hello(), frame(kCallFrame, 0, uint64_t{1})},
        {"one-way call with a number", hello(),
         frame(kCallFrame, 0, call_payload{5, 0, 2, 1}, empty)},
        {"call without a number", hello(), frame(kCallFrame, 0, call_payload{0, 0, 2, 0}, empty)},
        {"short reply", hello(), frame(kReplyFrame, 0, uint64_t{1})},
        {"reply of a status that is none", hello(), frame(kReplyFrame, 0, reply_payload{1, 1, 0})},
        {"release of what was not sent", hello(), frame(kReleaseFrame, 0, release_payload{1, 1})},
        {"short release", hello(), frame(kReleaseFrame, 0, uint64_t{1})},
        {"thanks for nothing", hello(), frame(kOnewayDoneFrame, 0, oneway_done_payload{1})},
        {"short death", hello(), frame(kObjectDiedFrame, 0, uint32_t{1})},
    };
    const int files = ask(probe_, kOpenFiles).number();
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        raw_client client(folder() + "/probe");
        client.send(join(row.first, row.second));
        EXPECT_TRUE(client.is_closed());
        EXPECT_EQ(ask(probe_, kEcho, 1, "").number(), 1);
    }
    EXPECT_TRUE(eventually([&] { return ask(probe_, kOpenFiles).number() == files; }));
}

TEST_F(BinderRemoteTest, ParcelThatDoesNotHoldTogetherIsBadValueAndTheConnectionGoesOn) {
    const wire_object first = {0, kSendersObject, 1};
    const struct {
        const char* name;
        bytes call;
        int descriptors;
    } kRows[] = {
        {"no parcel", frame(kCallFrame, 0, call_payload{1, 0, 2, 0}), 0},
        {"less data than said", call(join(parcel_header{8, 0}, uint32_t{0})), 0},
        {"more data than said", call(join(parcel_header{0, 0}, uint32_t{0})), 0},
        {"more objects than said", call(join(parcel_header{0, 0}, first)), 0},
        {"objects whose bytes wrap", call(join(parcel_header{16, 0x10000000}, first)), 0},
        {"object behind the end", call(objects({{4, kSendersObject, 1}}, 24)), 0},
        {"object far behind the end", call(objects({{UINT32_MAX, kSendersObject, 1}}, 24)), 0},
        {"objects that overlap", call(objects({first, {20, kSendersObject, 2}}, 64)), 0},
        {"objects out of order", call(objects({{24, kSendersObject, 2}, first}, 64)), 0},
        {"object of no kind", call(objects({{0, 0, 1}}, 24)), 0},
        {"object of an unknown kind", call(objects({{0, 4, 1}}, 24)), 0},
        {"object that we have not sent", call(objects({{0, kReceiversObject, 77}}, 24)), 0},
        {"the registry as an object", call(objects({{0, kSendersObject, 0}}, 24)), 0},
        {"descriptor that is not there", call(objects({{0, kDescriptor, 0}}, 24)), 0},
        {"descriptor that is not used", call(objects({}, 24), 1), 1},
        {"call of an object that we have not sent", call(objects({}, 0), 0, 77), 0},
        {"call of that with objects", call(objects({first}, 24), 0, 77), 0},
        {"no name", call(objects({}, 0)), 0},
    };
    const int files = ask(probe_, kOpenFiles).number();
    {
        raw_client client(folder() + "/probe");
        client.send(hello());
        EXPECT_EQ(client.receive().size(), sizeof(hello_payload));
        for (const auto& row : kRows) {
            SCOPED_TRACE(row.name);
            ASSERT_TRUE(client.send(row.call, row.descriptors));
            uint16_t type = 0;
            bytes answer = client.receive(&type);
            // Among what it gives back of the objects that it was sent.
            while (!answer.empty() && type != kReplyFrame) {
                answer = client.receive(&type);
            }
            reply_payload reply = {};
            ASSERT_GE(answer.size(), sizeof reply);
            memcpy(&reply, answer.data(), sizeof reply);
            EXPECT_EQ(reply.status, android::BAD_VALUE);
        }
    }
    EXPECT_TRUE(eventually([&] { return ask(probe_, kOpenFiles).number() == files; }));
}

TEST_F(BinderRemoteTest, MoreReleasesThanThereWereReferencesEndTheConnection) {
    raw_client client(folder() + "/probe");
    const bytes named = join(parcel_header{16, 0}, int32_t{5}, u"probe");
    client.send(join(hello(), call(named)));
    EXPECT_EQ(client.receive().size(), sizeof(hello_payload));
    EXPECT_GT(client.receive().size(), sizeof(reply_payload) + sizeof(wire_object));
    client.send(frame(kReleaseFrame, 0, release_payload{1, 2}));
    EXPECT_TRUE(client.is_closed());
    EXPECT_EQ(ask(probe_, kEcho, 1, "").number(), 1);
}

TEST_F(BinderRemoteTest, FloodsAndHalvesOfFramesLeaveNothingBehind) {
    const int files = ask(probe_, kOpenFiles).number();
    for (const int flood : {1, 64, 200}) {
        raw_client client(folder() + "/probe");
        client.send(hello());
        EXPECT_FALSE(client.receive().empty());
        // Descriptors with every byte of a frame that never ends.
        const bytes header = join(frame_header{1000, kCallFrame, 1});
        for (int i = 0; i < 200 && client.send({header[static_cast<size_t>(i) % 8]}, flood); ++i) {
        }
        EXPECT_TRUE(client.is_closed());
    }
    raw_client stray(folder() + "/probe");
    stray.send(hello(), 1);
    EXPECT_TRUE(stray.is_closed());
    stray.hang_up();
    const bytes whole = join(hello(), call(objects({{0, kDescriptor, 0}}, 24), 1));
    for (size_t length = 1; length < whole.size(); ++length) {
        raw_client client(folder() + "/probe");
        client.send(bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(length)));
    }
    EXPECT_EQ(ask(probe_, kEcho, 1, "").number(), 1);
    EXPECT_TRUE(eventually([&] { return ask(probe_, kOpenFiles).number() == files; }));
}

TEST_F(BinderTest, OtherUsersAreNotLetIn) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can be another user";
    }
    ASSERT_EQ(add("private", new probe), android::NO_ERROR);
    // As if the folder's own protection had failed: this one thread is another user.
    for (const char* path : {".", "services", "services/private"}) {
        ASSERT_EQ(chmod(path, 0777), 0);
    }
    std::thread other([this] {
        ASSERT_EQ(syscall(SYS_setresuid, 12345, 12345, 12345), 0);
        raw_client client(folder() + "/private");
        client.send(hello());
        EXPECT_TRUE(client.receive().empty());
    });
    other.join();
    EXPECT_EQ(log_.count_containing("of user 12345 is not let in"), 1);
    chmod("services", 0700);
    await("private");
}
