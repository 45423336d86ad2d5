// What people hang on an object, by an id of theirs. Any thread.
#pragma once

#include <map>
#include <mutex>

#include <binder/IBinder.h>

namespace corvex_binder {

class attached_objects {
  public:
    // Calls the clean-up functions.
    ~attached_objects();

    // An id that is taken keeps what it has, with an error in the log.
    void attach(const void* id, void* object, void* cookie,
                android::IBinder::object_cleanup_func cleanup);
    void* find(const void* id) const;
    void detach(const void* id);

  private:
    struct entry {
        void* object;
        void* cookie;
        android::IBinder::object_cleanup_func cleanup;
    };
    mutable std::mutex mutex_;
    std::map<const void*, entry> entries_;
};

}  // namespace corvex_binder
