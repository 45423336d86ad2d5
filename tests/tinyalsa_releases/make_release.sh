#!/usr/bin/env bash
# make_release.sh RELEASE PREFIX [COMPILER]: installs a tinyalsa with the declarations of that release
# in PREFIX: headers only, or with COMPILER (a C++ compiler) a shared library and its tinyalsa.pc too.
# The library plays nothing: it takes what it is given. RELEASE is android9, 1.0.2, 1.1.1 or 2.0.0.
set -euo pipefail
release=$1 prefix=$2 compiler=${3:-}
here=$(cd "$(dirname "$0")" && pwd)

config_const="const " handle_const="const " threshold="unsigned int"
silence_size="" avail_min="" deprecated=""
case $release in
  android9)
    config_const="" handle_const=""
    silence_size="unsigned int silence_size;" avail_min="int avail_min;"
    ;;
  1.0.2) handle_const="" ;;
  1.1.1) ;;
  2.0.0)
    threshold="unsigned long"
    silence_size="unsigned long silence_size;" avail_min="unsigned long avail_min;"
    deprecated="__attribute__((deprecated))"
    ;;
  *)
    echo "make_release.sh: no release '$release': give android9, 1.0.2, 1.1.1 or 2.0.0" >&2
    exit 2
    ;;
esac

headers=$prefix/include/tinyalsa
mkdir -p "$headers"
declarations=$headers/asoundlib.h
if [[ $release != android9 ]]; then
  declarations=$headers/pcm.h
  echo '#include "pcm.h"' >"$headers/asoundlib.h"
fi
cat >"$declarations" <<END
#ifndef TINYALSA_RELEASE_H
#define TINYALSA_RELEASE_H
#include <sys/time.h>
#include <stddef.h>
#ifdef __cplusplus
extern "C" {
#endif
#define PCM_OUT 0x00000000
#define PCM_IN 0x10000000
#define PCM_MONOTONIC 0x00000008
enum pcm_format { PCM_FORMAT_INVALID = -1, PCM_FORMAT_S16_LE = 0, PCM_FORMAT_S32_LE };
struct pcm_config {
    unsigned int channels;
    unsigned int rate;
    unsigned int period_size;
    unsigned int period_count;
    enum pcm_format format;
    $threshold start_threshold;
    $threshold stop_threshold;
    $threshold silence_threshold;
    $silence_size
    $avail_min
};
struct pcm;
struct pcm *pcm_open(unsigned int card, unsigned int device, unsigned int flags,
                     ${config_const}struct pcm_config *config);
int pcm_close(struct pcm *pcm);
int pcm_is_ready(${handle_const}struct pcm *pcm);
const char *pcm_get_error(${handle_const}struct pcm *pcm);
unsigned int pcm_frames_to_bytes(${handle_const}struct pcm *pcm, unsigned int frames);
int pcm_get_htimestamp(struct pcm *pcm, unsigned int *avail, struct timespec *tstamp);
int pcm_write(struct pcm *pcm, const void *data, unsigned int count) $deprecated;
int pcm_read(struct pcm *pcm, void *data, unsigned int count) $deprecated;
#ifdef __cplusplus
}
#endif
#endif
END
[[ -n $compiler ]] || exit 0

mkdir -p "$prefix/lib/pkgconfig"
"$compiler" -std=gnu++17 -shared -fPIC -Wl,-soname,libtinyalsa.so -I"$prefix/include" -I"$here/../.." \
  "$here/library.cpp" -o "$prefix/lib/libtinyalsa.so"
cat >"$prefix/lib/pkgconfig/tinyalsa.pc" <<END
prefix=$prefix
libdir=\${prefix}/lib
includedir=\${prefix}/include
Name: tinyalsa
Description: stands for an installed release
Version: ${release/android9/0.9}
Libs: -L\${libdir} -ltinyalsa
Cflags: -I\${includedir}
END
