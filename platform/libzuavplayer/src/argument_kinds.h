// How each kind of argument of a player operation travels. One description serves both sides: the
// proxy writes a request and reads the reply, the stub reads the request and writes the reply.
//
// A kind has
//   Type       the argument in the C++ signature
//   Held       what the stub keeps of it while the operation runs
//   write      proxy: the argument into the request
//   read       stub: the request into what is held; false where the bytes are not such an argument
//   argument   stub: what is held, as the argument
//   write_out  stub: the result into the reply (out kinds)
//   read_out   proxy: the result from the reply (out kinds)
// A block's length is another argument of the same call: kLength is that argument's place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>  // for binder/Parcel.h, which does not always include it
#include <memory>
#include <new>

#include <binder/IMemory.h>
#include <binder/Parcel.h>
#include <zuavplayer/IZuAvPlayer.h>

namespace android::zuavplayer {

constexpr int kNoLength = -1;

// Kinds without a result share these.
struct Input {
    static constexpr int kLength = kNoLength;
    template <typename Held>
    static void write_out(Parcel*, const Held&) {}
    template <typename Type>
    static bool read_out(const Parcel&, const Type&, uint32_t) {
        return true;
    }
};

// Plain values, each as one 32-bit word; a narrower type must hold what arrives.
template <typename T>
struct Value : Input {
    using Type = T;
    using Held = T;
    static void write(Parcel* request, T value, uint32_t) {
        request->writeInt32(static_cast<int32_t>(value));
    }
    static bool read(const Parcel& request, T* held) {
        int32_t word = 0;
        if (request.readInt32(&word) != NO_ERROR) {
            return false;
        }
        *held = static_cast<T>(word);
        return static_cast<int32_t>(*held) == word;
    }
    static T argument(T held) { return held; }
};
using Word = Value<uint32_t>;
using Half = Value<uint16_t>;
using Int = Value<int32_t>;
using Flag = Value<bool>;

// The caller's context: a number to the service.
struct Cookie : Input {
    using Type = void*;
    using Held = uint64_t;
    static void write(Parcel* request, void* cookie, uint32_t) {
        request->writeUint64(reinterpret_cast<uintptr_t>(cookie));
    }
    static bool read(const Parcel& request, uint64_t* held) {
        return request.readUint64(held) == NO_ERROR &&
               static_cast<uintptr_t>(*held) == *held;  // a 64-bit client of a 32-bit service
    }
    static void* argument(uint64_t held) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): nobody follows it here
        return reinterpret_cast<void*>(static_cast<uintptr_t>(held));
    }
};

// A block of bytes in a request or a reply; its bytes are aligned for any record.
class Block {
  public:
    Block() = default;
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;

    // The next block of `parcel`: its size or -1 for a null pointer, then its bytes.
    bool read(const Parcel& parcel) {
        int32_t size = 0;
        if (parcel.readInt32(&size) != NO_ERROR || size < -1) {
            return false;
        }
        if (size == -1) {
            return true;
        }
        if (static_cast<uint32_t>(size) > kZuAvPlayerMaxBlockBytes) {
            return false;
        }
        size_ = static_cast<uint32_t>(size);
        bytes_ = inside_;
        if (size_ > sizeof inside_) {
            outside_.reset(new (std::nothrow) std::byte[size_]);
            bytes_ = outside_.get();
        }
        return bytes_ != nullptr && parcel.read(bytes_, size_) == NO_ERROR;
    }
    static void write(Parcel* parcel, const void* bytes, uint32_t size) {
        if (bytes == nullptr) {
            parcel->writeInt32(-1);
        } else if (size > kZuAvPlayerMaxBlockBytes) {
            parcel->setError(BAD_VALUE);
        } else {
            parcel->writeInt32(static_cast<int32_t>(size));
            parcel->write(bytes, size);
        }
    }
    void* bytes() const { return bytes_; }
    uint32_t size() const { return size_; }

  private:
    // Most records fit in here and need no heap.
    alignas(std::max_align_t) std::byte inside_[64];
    std::unique_ptr<std::byte[]> outside_;
    std::byte* bytes_ = nullptr;
    uint32_t size_ = 0;
};

// A structure that the service reads. Length is the place of its byte count.
template <int Length>
struct In : Input {
    using Type = const void*;
    using Held = Block;
    static constexpr int kLength = Length;
    static void write(Parcel* request, const void* bytes, uint32_t size) {
        Block::write(request, bytes, size);
    }
    static bool read(const Parcel& request, Block* held) { return held->read(request); }
    static const void* argument(const Block& held) { return held.bytes(); }
};

// A structure that the service fills. It goes over with what it holds, so that bytes which the
// service leaves alone come back as they were.
template <int Length>
struct Out {
    using Type = void*;
    using Held = Block;
    static constexpr int kLength = Length;
    static void write(Parcel* request, void* bytes, uint32_t size) {
        Block::write(request, bytes, size);
    }
    static bool read(const Parcel& request, Block* held) { return held->read(request); }
    static void* argument(const Block& held) { return held.bytes(); }
    static void write_out(Parcel* reply, const Block& held) {
        Block::write(reply, held.bytes(), held.size());
    }
    static bool read_out(const Parcel& reply, void* bytes, uint32_t size) {
        Block block;
        if (!block.read(reply) || (block.bytes() == nullptr) != (bytes == nullptr)) {
            return false;
        }
        if (bytes == nullptr) {
            return true;
        }
        if (block.size() != size) {
            return false;
        }
        std::memcpy(bytes, block.bytes(), size);
        return true;
    }
};

// A text, or null.
struct Text : Input {
    using Type = const char*;
    using Held = Block;
    static void write(Parcel* request, const char* text, uint32_t) {
        // A text longer than a block can be is refused there.
        const size_t size = text == nullptr ? 0 : strnlen(text, kZuAvPlayerMaxBlockBytes) + 1;
        Block::write(request, text, static_cast<uint32_t>(size));
    }
    static bool read(const Parcel& request, Block* held) {
        if (!held->read(request)) {
            return false;
        }
        return held->bytes() == nullptr ||
               (held->size() > 0 && strnlen(argument(*held), held->size()) == held->size() - 1);
    }
    static const char* argument(const Block& held) {
        return static_cast<const char*>(held.bytes());
    }
};

// One word that the service fills, or null.
struct OutWord {
    using Type = uint32_t*;
    using Held = Block;
    static constexpr int kLength = kNoLength;
    static void write(Parcel* request, uint32_t* word, uint32_t) {
        Block::write(request, word, sizeof *word);
    }
    static bool read(const Parcel& request, Block* held) {
        return held->read(request) &&
               (held->bytes() == nullptr || held->size() == sizeof(uint32_t));
    }
    static uint32_t* argument(const Block& held) { return static_cast<uint32_t*>(held.bytes()); }
    static void write_out(Parcel* reply, const Block& held) {
        Block::write(reply, held.bytes(), held.size());
    }
    static bool read_out(const Parcel& reply, uint32_t* word, uint32_t) {
        return Out<0>::read_out(reply, word, sizeof *word);
    }
};

// A strong reference to an object of interface I, which may be empty.
template <typename I>
struct Object : Input {
    using Type = const sp<I>&;
    using Held = sp<I>;
    static void write(Parcel* request, const sp<I>& object, uint32_t) {
        request->writeStrongBinder(IInterface::asBinder(object));
    }
    static bool read(const Parcel& request, sp<I>* held) {
        sp<IBinder> binder;
        if (request.readNullableStrongBinder(&binder) != NO_ERROR) {
            return false;
        }
        *held = interface_cast<I>(binder);
        return true;
    }
    static const sp<I>& argument(const sp<I>& held) { return held; }
};

}  // namespace android::zuavplayer
