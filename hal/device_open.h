// The life of the device: one record per process, shared by all openers and released by the last.
//
// Open and close run under a process-wide lock, so that concurrent openers get one record.
#pragma once

#include <hardware/audio.h>
#include <hardware/hardware.h>

// Opens the device "audio_hw_if" and stores it through device_out; the caller borrows it until it
// closes it. 0, -EINVAL for another name or a null pointer, -ENOMEM.
int adev_open(const struct hw_module_t* module, const char* name, struct hw_device_t** device_out);

// Closes once for each open; the last close releases the record. 0, or -EINVAL when the last close
// names no device (nothing is released then).
int adev_close(struct hw_device_t* device);

// 0 while the device is open, else -ENODEV. Takes no lock and does not look at the device.
int adev_init_check(const struct audio_hw_device* device);
