// Built with the thread sanitizer only, which does not see how libutils, built without it, counts
// references: it would report every destructor that runs on another thread than the object's last
// use. Here each count down says what the atomic behind it does.

#include <dlfcn.h>

#include <utils/RefBase.h>

extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);

namespace android {

__attribute__((visibility("default"))) void RefBase::decStrong(const void* id) const {
    using count_down = void (*)(const RefBase*, const void*);
    static const auto real =
        reinterpret_cast<count_down>(dlsym(RTLD_NEXT, "_ZNK7android7RefBase9decStrongEPKv"));
    void* counter = getWeakRefs();
    __tsan_release(counter);
    __tsan_acquire(counter);
    real(this, id);
}

}  // namespace android
