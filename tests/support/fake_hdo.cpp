#include "tests/support/fake_hdo.h"

#include "direct/hdo.h"
#include "records/device.h"

namespace {

fake_hdo fake;

void record(const std::string& call) {
    fake.calls.push_back(call);
    if (fake.in_call) {
        fake.in_call();
    }
}

}  // namespace

fake_hdo& direct_output() {
    return fake;
}

void reset_direct_output() {
    fake = {};
}

extern "C" {

int32_t __wrap_hdo_init(struct hal_device* device) {
    record("init");
    device->hdo_supported = fake.init_result == 0;
    return fake.init_result;
}
void __wrap_hdo_deinit() {
    record("deinit");
}
int32_t __wrap_hdo_create(struct avplay_session** slot) {
    record("create");
    if (fake.create_result == 0) {
        *slot = new avplay_session{};
        ++fake.records;
    }
    return fake.create_result;
}
int32_t __wrap_hdo_open(struct avplay_session* hdo) {
    record("open usecase " + std::to_string(hdo->usecase));
    return fake.open_result;
}
int32_t __wrap_hdo_write(struct avplay_session*, const void*, size_t bytes) {
    record("write " + std::to_string(bytes));
    return static_cast<int32_t>(bytes);
}
int32_t __wrap_hdo_get_buffer_size(struct avplay_session*) {
    return 1024;
}
int32_t __wrap_hdo_get_latency(struct avplay_session*) {
    return 341;
}
int32_t __wrap_hdo_get_tstamp(struct avplay_session*, uint64_t* frames) {
    *frames = fake.position;
    return 0;
}
int32_t __wrap_hdo_pause(struct avplay_session*) {
    record("pause");
    return fake.control_result;
}
int32_t __wrap_hdo_resume(struct avplay_session*) {
    record("resume");
    return fake.control_result;
}
int32_t __wrap_hdo_flush(struct avplay_session*) {
    record("flush");
    return fake.control_result;
}
int32_t __wrap_hdo_drain(struct avplay_session*, bool early_notify) {
    record(early_notify ? "drain early" : "drain all");
    return fake.control_result;
}
int32_t __wrap_hdo_close(struct avplay_session*) {
    record("close");
    return fake.close_result;
}
void __wrap_hdo_destroy(struct avplay_session* hdo) {
    record("destroy");
    --fake.records;
    delete hdo;
}
int32_t __wrap_hdo_create_hwsync_source(uint32_t* id) {
    record("create source");
    if (fake.hwsync_result == 0) {
        *id = fake.hwsync_id;
    }
    return fake.hwsync_result;
}
int32_t __wrap_hdo_destroy_hwsync_source(uint32_t id) {
    record("destroy source " + std::to_string(id));
    return fake.hwsync_result;
}

}  // extern "C"
