// The base of every interface, and what ties an interface to its proxy and its stub.
//
//   class IThing : public IInterface { public: DECLARE_META_INTERFACE(Thing); virtual ... = 0; };
//   class BpThing : public BpInterface<IThing> { ... remote()->transact(...) ... };
//   IMPLEMENT_META_INTERFACE(Thing, "corvex.IThing")
//   class BnThing : public BnInterface<IThing> { status_t onTransact(...) override; };
#pragma once

#include <binder/Binder.h>

namespace android {

class BINDER_EXPORT IInterface : public virtual RefBase {
  public:
    // The object behind an interface; null for null.
    static sp<IBinder> asBinder(const IInterface* iface) {
        return iface != nullptr ? const_cast<IInterface*>(iface)->onAsBinder() : nullptr;
    }
    static sp<IBinder> asBinder(const sp<IInterface>& iface) { return asBinder(iface.get()); }

  protected:
    virtual IBinder* onAsBinder() = 0;
};

// The interface of an object: the object itself where it is local, else a new proxy; null for null.
template <typename INTERFACE>
inline sp<INTERFACE> interface_cast(const sp<IBinder>& obj) {
    return INTERFACE::asInterface(obj);
}

template <typename INTERFACE>
class BINDER_EXPORT BnInterface : public INTERFACE, public BBinder {
  public:
    sp<IInterface> queryLocalInterface(const String16& _descriptor) override {
        if (_descriptor == INTERFACE::descriptor) {
            return this;
        }
        return nullptr;
    }
    const String16& getInterfaceDescriptor() const override {
        return INTERFACE::getInterfaceDescriptor();
    }

  protected:
    IBinder* onAsBinder() override { return this; }
};

template <typename INTERFACE>
class BINDER_EXPORT BpInterface : public INTERFACE {
  public:
    explicit BpInterface(const sp<IBinder>& remote) : mRemote(remote) {}

  protected:
    IBinder* remote() const { return mRemote.get(); }
    IBinder* onAsBinder() override { return remote(); }

  private:
    const sp<IBinder> mRemote;
};

}  // namespace android

#define DECLARE_META_INTERFACE(INTERFACE)                                                         \
    static const ::android::String16& descriptor;                                                 \
    static ::android::sp<I##INTERFACE> asInterface(const ::android::sp<::android::IBinder>& obj); \
    virtual const ::android::String16& getInterfaceDescriptor() const;                            \
    I##INTERFACE();                                                                               \
    virtual ~I##INTERFACE();

#define IMPLEMENT_META_INTERFACE(INTERFACE, NAME)                                            \
    /* Never destroyed: the pool's threads may still serve calls while the process exits. */ \
    const ::android::String16& I##INTERFACE::descriptor = *new ::android::String16(NAME);    \
    const ::android::String16& I##INTERFACE::getInterfaceDescriptor() const {                \
        return I##INTERFACE::descriptor;                                                     \
    }                                                                                        \
    ::android::sp<I##INTERFACE> I##INTERFACE::asInterface(                                   \
        const ::android::sp<::android::IBinder>& obj) {                                      \
        ::android::sp<I##INTERFACE> intr;                                                    \
        if (obj != nullptr) {                                                                \
            intr = static_cast<I##INTERFACE*>(                                               \
                obj->queryLocalInterface(I##INTERFACE::descriptor).get());                   \
            if (intr == nullptr) {                                                           \
                intr = new Bp##INTERFACE(obj);                                               \
            }                                                                                \
        }                                                                                    \
        return intr;                                                                         \
    }                                                                                        \
    I##INTERFACE::I##INTERFACE() {}                                                          \
    I##INTERFACE::~I##INTERFACE() {}

// First thing in an onTransact: refuses a call that was not meant for this interface.
#define CHECK_INTERFACE(interface, data, reply)  \
    do {                                         \
        if (!(data).checkInterface(this)) {      \
            return ::android::PERMISSION_DENIED; \
        }                                        \
    } while (false)
