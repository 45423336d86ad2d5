// What a service does with a process that does not keep to the protocol, or takes more than is its.

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/platform/binder_fixture.h"
#include "tests/platform/binder_raw_client.h"

namespace {

bytes objects(const std::vector<wire_object>& list, size_t data_bytes) {
    bytes all;
    for (const wire_object& object : list) {
        all = join(all, object);
    }
    all.resize(all.size() + data_bytes);
    return all;
}

// A call of the service with such a parcel.
bytes call(parcel_header header, const bytes& parcel, uint64_t target = kServiceObject,
           uint32_t code = kUnblock) {
    return join(call_message{kCall, code, 1, target, 0, 0, header}, parcel);
}

bytes oneway(uint32_t code, parcel_header header = {0, 0}, const bytes& parcel = {}) {
    return join(call_message{kOnewayCall, code, 0, kServiceObject, 1, 0, header}, parcel);
}

// The object in a reply; 0 where there is none.
uint64_t object_of(const bytes& reply) {
    wire_object made = {};
    if (reply.size() >= sizeof(reply_message) + sizeof made) {
        memcpy(&made, reply.data() + sizeof(reply_message), sizeof made);
    }
    return made.object;
}

int32_t status_of(const bytes& reply) {
    reply_message fixed = {};
    return reply.size() >= sizeof fixed && (memcpy(&fixed, reply.data(), sizeof fixed), true) &&
                   fixed.type == kReply
               ? fixed.status
               : 1;
}

}  // namespace

TEST_F(BinderRemoteTest, ConnectionThatBreaksTheProtocolIsClosedAndOthersGoOn) {
    const struct {
        const char* name;
        bool greets;
        bytes message;
    } kRows[] = {
        {"no hello", false, oneway(kNote)},
        {"another magic", false, hello("CorvexC\n")},
        {"another version", false, hello(kWireMagic, 1)},
        {"short hello", false, join(uint32_t{kHello})},
        {"second hello", true, hello()},
        {"less than a type", true, {1, 0}},
        {"unknown type 0", true, join(plain_message{0, 0})},
        {"unknown type 9", true, join(plain_message{9, 0})},
        {"longer than any message", true, bytes(kMaxMessageBytes + 1, 2)},
        {"call on the control socket", true, call({0, 0}, {})},
        {"short call", true, join(plain_message{kOnewayCall, 0})},
        {"one-way call with a number", true,
         join(call_message{kOnewayCall, 1, 5, kServiceObject, 1, 0, {0, 0}})},
        {"one-way call that is none", true,
         join(call_message{kOnewayCall, 1, 0, kServiceObject, 0, 0, {0, 0}})},
        {"short release", true, join(plain_message{kRelease, 0})},
        {"release of what was not sent", true, join(release_message{kRelease, 0, 7, 1, 0})},
        {"release of the service", true, join(release_message{kRelease, 0, kServiceObject, 1, 0})},
        {"short one-way done", true, join(plain_message{kOnewayDone, 0})},
        {"thanks for nothing", true, join(oneway_done_message{kOnewayDone, 0, 1})},
        {"channel without a descriptor", true, join(plain_message{kChannel, 0})},
        {"channel that says more", true, join(release_message{kChannel, 0, 0, 0, 0})},
    };
    const int files = ask(probe_, kOpenFiles).number();
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        raw_socket client(folder() + "/probe");
        if (row.greets) {
            client = raw_socket::greeted(folder() + "/probe");
        }
        make_room_for_messages(client.fd());
        ASSERT_TRUE(client.send(row.message));
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
        {"less data than said", call({8, 0}, objects({}, 4)), 0},
        {"more data than said", call({0, 0}, objects({}, 4)), 0},
        {"more objects than said", call({0, 0}, objects({first}, 0)), 0},
        {"objects whose bytes wrap", call({16, 0x10000000}, objects({first}, 0)), 0},
        {"object behind the end", call({24, 1}, objects({{4, kSendersObject, 1}}, 24)), 0},
        {"object far behind", call({24, 1}, objects({{UINT32_MAX, kSendersObject, 1}}, 24)), 0},
        {"objects that overlap", call({64, 2}, objects({first, {20, kSendersObject, 2}}, 64)), 0},
        {"objects out of order", call({64, 2}, objects({{24, kSendersObject, 2}, first}, 64)), 0},
        {"object of no kind", call({24, 1}, objects({{0, 0, 1}}, 24)), 0},
        {"object of an unknown kind", call({24, 1}, objects({{0, 4, 1}}, 24)), 0},
        {"object that we have not sent", call({24, 1}, objects({{0, kReceiversObject, 7}}, 24)), 0},
        {"no object", call({24, 1}, objects({{0, kSendersObject, 0}}, 24)), 0},
        {"descriptor that is not there", call({24, 1}, objects({{0, kDescriptor, 0}}, 24)), 0},
        {"descriptor that is not used", call({24, 0}, objects({}, 24)), 1},
        {"call of an object that we have not sent", call({0, 0}, {}, 77), 0},
        {"call of that with objects", call({24, 1}, objects({first}, 24), 77), 0},
    };
    const int files = ask(probe_, kOpenFiles).number();
    {
        raw_socket client = raw_socket::greeted(folder() + "/probe");
        raw_socket channel = client.make_channel();
        for (const auto& row : kRows) {
            SCOPED_TRACE(row.name);
            const std::vector<int> given(static_cast<size_t>(row.descriptors), STDERR_FILENO);
            ASSERT_TRUE(channel.send(row.call, given));
            EXPECT_EQ(status_of(channel.receive()), android::BAD_VALUE);
        }
        ASSERT_TRUE(channel.send(call({0, 0}, {})));
        EXPECT_EQ(status_of(channel.receive()), android::NO_ERROR);
        // What is no call at all ends the connection.
        ASSERT_TRUE(channel.send(join(reply_message{kReply, 0, 1, {0, 0}})));
        EXPECT_TRUE(client.is_closed());
    }
    EXPECT_TRUE(eventually([&] { return ask(probe_, kOpenFiles).number() == files; }));
}

// Messages of several sockets overtake each other.
TEST_F(BinderRemoteTest, ReleaseKeepsTheObjectForMessagesThatItHasOvertaken) {
    const int before = ask(probe_, kObjects).number();
    raw_socket client = raw_socket::greeted(folder() + "/probe");
    raw_socket channel = client.make_channel();
    channel.send(call({0, 0}, {}, kServiceObject, kMakeObject));
    const uint64_t made = object_of(channel.receive());
    // It says that two messages name the object; none of them has come.
    client.send(join(release_message{kRelease, 0, made, 1, 2}));
    client.send(oneway(kUnblock));
    EXPECT_EQ(client.receive().size(), sizeof(oneway_done_message)) << "it has not been read yet";
    channel.send(call({0, 0}, {}, made));
    EXPECT_EQ(status_of(channel.receive()), android::NO_ERROR);
    channel.send(call({24, 1}, objects({{0, kReceiversObject, made}}, 24)));
    EXPECT_EQ(status_of(channel.receive()), android::NO_ERROR);
    EXPECT_TRUE(eventually([&] { return ask(probe_, kObjects).number() == before; }));
    channel.send(call({0, 0}, {}, made));
    EXPECT_EQ(status_of(channel.receive()), android::BAD_VALUE);
}

// Closing what it has passed may take long, and it may not be what it is said to be.
TEST_F(BinderRemoteTest, DescriptorsThatBlockOrAreNoChannelHoldUpNobody) {
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in here = {};
    here.sin_family = AF_INET;
    here.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof here;
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&here), size), 0);
    ASSERT_EQ(listen(listener, 8), 0);
    getsockname(listener, reinterpret_cast<sockaddr*>(&here), &size);
    const int files = ask(probe_, kOpenFiles).number();
    raw_socket client = raw_socket::greeted(folder() + "/probe");
    // So that it closes last: only that waits.
    service_.pause();
    for (int i = 0; i < 4; ++i) {
        unique_fd ours;
        unique_fd theirs;
        ASSERT_TRUE(make_socket_pair(&ours, &theirs));
        const unique_fd lingering(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        ASSERT_EQ(connect(lingering.get(), reinterpret_cast<sockaddr*>(&here), size), 0);
        // Nobody takes what waits in it.
        const bytes much(4 << 20);
        EXPECT_GT(::send(lingering.get(), much.data(), much.size(), MSG_DONTWAIT), 0);
        const linger patience = {1, 40};
        setsockopt(lingering.get(), SOL_SOCKET, SO_LINGER, &patience, sizeof patience);
        // What closes it can be told not to wait, but not what closes a socket that it waits in.
        const bool is_hidden = i >= 2;
        raw_socket(std::move(ours)).send({0}, {lingering.get()});
        EXPECT_TRUE(client.send(oneway(kNote), {is_hidden ? theirs.get() : lingering.get()}));
    }
    const auto start = std::chrono::steady_clock::now();
    service_.send(SIGCONT);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(client.receive().size(), sizeof(oneway_done_message));
    }
    // One of those that are hidden is being closed, the other waits for that.
    EXPECT_TRUE(eventually([&] { return ask(probe_, kOpenFiles).number() <= files + 2; }));
    const child_process another(probe_service, {"--watched", "probe"});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
    EXPECT_TRUE(client.send(join(plain_message{kChannel, 0}), {listener}));
    EXPECT_TRUE(client.is_closed());
    close(listener);
}

// This process has all the calls waiting, one-way calls blocked and connections made that it may.
TEST_F(BinderRemoteTest, ProcessThatTakesAllItCanLeavesEnoughForOthers) {
    raw_socket client = raw_socket::greeted(folder() + "/probe");
    raw_socket channel = client.make_channel();
    for (int i = 0; i < 70; ++i) {
        channel.send(call({0, 0}, {}, kServiceObject, kMakeObject));
        const uint64_t made = object_of(channel.receive());
        client.send(join(call_message{kOnewayCall, kBlock, 0, made, 1, 0, {0, 0}}));
    }
    std::vector<raw_socket> kept;
    for (int i = 0; i < 80; ++i) {
        kept.push_back(client.make_channel());
        kept.back().send(call({0, 0}, {}, kServiceObject, kBlock));
    }
    const bytes refusal = kept.back().receive();
    EXPECT_EQ(refusal, join(plain_message{kRefused, 0}));
    for (int i = 0; i < 20; ++i) {
        kept.emplace_back(folder() + "/probe");
        kept.back().send(hello());
    }
    hello_message answer = {};
    const bytes said = kept.back().receive();
    ASSERT_EQ(said.size(), sizeof answer);
    memcpy(&answer, said.data(), sizeof answer);
    EXPECT_EQ(answer.status, android::FAILED_TRANSACTION);
    const child_process another(probe_service, {"--watched", "probe"});
}

// This process sends what it may not, as fast as it can: a few lines say so, and the service goes
// on.
TEST_F(BinderTest, FloodsFillNeitherTheLogNorTheProcess) {
    ASSERT_EQ(add("mine", new probe), android::NO_ERROR);
    const int files = count_entries("fd");
    for (int i = 0; i < 300; ++i) {
        raw_socket client(folder() + "/mine");
        client.send(hello());
        for (int j = 0; j < 20; ++j) {
            client.send(oneway(kNote, {24, 1}, objects({{0, kReceiversObject, 7}}, 24)));
            client.send(oneway(kNote), std::vector<int>(60, STDERR_FILENO));
        }
        client.send(join(plain_message{9, 0}));
        client.is_closed();
    }
    EXPECT_TRUE(eventually([&] { return count_entries("fd") <= files; }));
    EXPECT_GE(log_.lines().size(), 2U);
    EXPECT_LE(log_.lines().size(), 16U);
    EXPECT_TRUE(eventually([&] {
        return log_.count_containing("does not keep to the protocol (100 times so far)") == 1;
    }));
    const child_process client(probe_service, {"--watched", "mine"});
}

// In one line, which it does not need where it has logged the last one.
TEST_F(BinderTest, NumberOfLinesThatWereLeftOutComesOnceTheProcessHasGone) {
    ASSERT_EQ(add("mine", new probe), android::NO_ERROR);
    for (const int malformed : {10, 25}) {
        const pid_t child = fork();
        if (child == 0) {
            raw_socket client = raw_socket::greeted(folder() + "/mine");
            raw_socket channel = client.make_channel();
            for (int i = 0; i < malformed; ++i) {
                channel.send(call({8, 0}, {}));
                channel.receive();
            }
            _exit(0);
        }
        ASSERT_EQ(waitpid(child, nullptr, 0), child);
    }
    EXPECT_TRUE(eventually([&] {
        return log_.count_containing("is refused: it is malformed (25 times in all)") == 1;
    }));
    EXPECT_EQ(log_.lines().size(), 5U);
}

TEST_F(BinderTest, ProcessWithoutThreadsOrDescriptorsRefusesCallsAtOnce) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizers' own memory does not fit the limits";
#endif
    for (const int what : {kNoThreads, kNoDescriptors}) {
        SCOPED_TRACE(what);
        const child_process service(probe_service, {"probe"});
        const auto object = find("probe");
        ASSERT_EQ(ask(object, kStarve, what).status, android::NO_ERROR);
        // Its one channel is in use, sooner or later by this.
        std::thread blocked([&] {
            while (ask(object, kBlock).status == android::FAILED_TRANSACTION) {
            }
        });
        EXPECT_TRUE(eventually(
            [&] { return ask(object, kEcho, 1, "").status == android::FAILED_TRANSACTION; }));
        EXPECT_GE(log_.count_containing("refuses a call"), 1);
        tell(object, kStarve, kNoShortage);
        tell(object, kUnblock);
        blocked.join();
        EXPECT_EQ(ask(object, kEcho, 1, "").number(), 1);
        log_.clear();
    }
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
        raw_socket client(folder() + "/private");
        client.send(hello());
        EXPECT_TRUE(client.receive().empty());
    });
    other.join();
    EXPECT_TRUE(
        eventually([&] { return log_.count_containing("of user 12345 is not let in") == 1; }));
    chmod("services", 0700);
    await("private");
}
