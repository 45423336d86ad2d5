// An object that does what a test asks of it, here or in another process.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <binder/Binder.h>
#include <binder/Parcel.h>
#include <utils/String16.h>

// What a probe does; arguments -> answer.
enum probe_code : uint32_t {
    kEcho = android::IBinder::FIRST_CALL_TRANSACTION,  // int32, string -> the same
    kFail,                                             // int32 status -> that status
    kCaller,                                           // -> pid, uid
    kKeep,                                             // object ->; keeps it
    kDrop,                                             // ->; lets go of it
    kKept,                                             // -> the object that it keeps
    kAskKept,     // -> what kEcho of the object that it keeps answers
    kIsMe,        // object -> whether it is the probe itself
    kMakeObject,  // -> a new probe
    kObjects,     // -> how many probes there are in the process
    kNest,        // depth, object -> calls kNest of that with (depth - 1, itself): depth reached
    kLookUp,      // name -> that service
    kBlock,       // ->; not before kUnblock
    kUnblock,     // ->
    kNote,        // int32 ->; remembers it
    kNotes,       // -> what it has remembered; whether two were being remembered at once
    kExit,        // the process exits as a program does
    kWatch,       // object ->; links to its death
    kDeaths,      // -> how many of those were told
    kFillHeap,    // memory, byte -> how many bytes; fills it
    kMakeMemory,  // size, flags -> a memory of a new heap, filled with 0x5a
    kForgeHeap,   // heap_forgery -> something that claims to be a memory
    kOpenFiles,   // -> how many descriptors the process has, how many threads
    kReplyBytes,  // size -> so many bytes
    kStarve,      // shortage ->
};

enum heap_forgery : int32_t {
    kRegularFile,
    kUnsealedMemfd,
    kShortMemfd,
    kOutsideHeap,
    kNoDescriptor
};

enum shortage : int32_t { kNoShortage, kNoThreads, kNoDescriptors };

// Counts the deaths it is told.
class death_counter : public android::IBinder::DeathRecipient {
  public:
    int count();
    // Whether it comes to so many, sooner or later.
    bool reaches(int count);
    void binderDied(const android::wp<android::IBinder>& who) override;

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int count_ = 0;
};

class probe : public android::BBinder {
  public:
    probe();
    static int alive();

    // The integers of kNote so far.
    std::vector<int32_t> notes();

  protected:
    ~probe() override;
    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override;

  private:
    android::status_t serve_objects(uint32_t code, const android::Parcel& data,
                                    android::Parcel* reply);
    android::status_t serve_memory(uint32_t code, const android::Parcel& data,
                                   android::Parcel* reply);
    android::sp<android::IBinder> kept();
    void exchange_kept(android::sp<android::IBinder> object);

    std::mutex mutex_;
    std::condition_variable changed_;
    android::sp<android::IBinder> kept_;
    const android::sp<death_counter> deaths_ = new death_counter;
    std::vector<int32_t> notes_;
    bool unblocked_ = false;
    int noting_ = 0;
    bool noted_at_once_ = false;
};

// Entries of a folder below /proc/self.
int count_entries(const char* folder);

// One call to a probe: its status, and the answer to read.
struct answer {
    android::status_t status = android::UNKNOWN_ERROR;
    std::unique_ptr<android::Parcel> parcel = std::make_unique<android::Parcel>();

    int32_t number() const { return parcel->readInt32(); }
    android::sp<android::IBinder> object() const { return parcel->readStrongBinder(); }
};

inline void write_one(android::Parcel& to, int32_t value) {
    to.writeInt32(value);
}
inline void write_one(android::Parcel& to, const android::sp<android::IBinder>& value) {
    to.writeStrongBinder(value);
}
inline void write_one(android::Parcel& to, const char* value) {
    to.writeString16(android::String16(value));
}

template <typename... Arguments>
answer ask(const android::sp<android::IBinder>& target, uint32_t code,
           const Arguments&... arguments) {
    answer given;
    android::Parcel data;
    (write_one(data, arguments), ...);
    given.status = target->transact(code, data, given.parcel.get());
    return given;
}

template <typename... Arguments>
android::status_t tell(const android::sp<android::IBinder>& target, uint32_t code,
                       const Arguments&... arguments) {
    android::Parcel data;
    (write_one(data, arguments), ...);
    return target->transact(code, data, nullptr, android::IBinder::FLAG_ONEWAY);
}
