#!/usr/bin/env bash
# releases.sh [SOURCE...]: the module's sources, or those given, compile against what other releases of the platform declare, with
# g++, clang++ and, for 32-bit Arm, a cross compiler. Nothing but syntax and warnings is checked.
#
# The other releases' headers are ours with the differences that matter written into copies of them,
# in build/lint/releases, and tinyalsa's are those of tests/tinyalsa_releases.
set -euo pipefail
cd "$(dirname "$0")/.."
out=$PWD/build/lint/releases
rm -rf "$out"
mkdir -p "$out"

# change ROW HEADER PERL: edits the row's copy of platform/HEADER. An edit that changes nothing has lost
# its place and is an error.
change() {
  local header=$out/$1/${2#*/include/} before
  mkdir -p "$(dirname "$header")"
  [[ -e $header ]] || cp "platform/$2" "$header"
  before=$(<"$header")
  perl -0pi -e "$3" "$header"
  if [[ $(<"$header") == "$before" ]]; then
    echo "lint/releases.sh: no longer applies to platform/$2: $3"
    exit 1
  fi
}
audio=libhardware/include/hardware/audio.h

# add_member ROW TABLE MEMBER...: operations at the end of a table.
add_member() {
  local row=$1 table=$2 member
  shift 2
  for member in "$@"; do
    change "$row" $audio "s/(?=\n\};\ntypedef struct $table ${table}_t;)/\n    int (*$member)(struct $table*, int);/"
  done
}

# What is the same in all of them: the resampler's header leaves stddef.h out.
for row in android9 android10 android11; do
  change $row libaudioutils/include/audio_utils/resampler.h 's/#include <stddef\.h>\n/#include <sys\/time.h>\n/'
done
for row in android10 android11; do
  add_member $row audio_stream_in set_microphone_direction set_microphone_field_dimension
done
# In the signed form it is in the others: the sources have to suit both.
change android10 libhardware/include/system/audio.h 's/audio_microphone_group_t group;/unsigned int group;/'
add_member android11 audio_stream_out set_event_callback
add_member android11 audio_hw_device add_device_effect remove_device_effect
change android11 $audio 's/(?<=CURRENT )AUDIO_DEVICE_API_VERSION_3_0/HARDWARE_DEVICE_API_VERSION(3, 1)/'
change android11 libbinder/include/binder/IMemory.h \
  's/void\* pointer\(\) const;/void* unsecurePointer() const;\n  private: void* pointer() const; public:/'

# A tree hands its headers on with -I, and they are not written for our warnings: a function that each
# header of a library gets here would stop the build, were it not for --system-header-prefix in Android.bp.
cp -r "$out/android9" "$out/tree"
cp -rn platform/lib{audioutils,binder,cutils,hardware}/include/. "$out/tree"
mkdir "$out/vendor"
cp -r platform/lib{annexk,nano,zuavplayer}/include/. "$out/vendor"
tests/tinyalsa_releases/make_release.sh android9 "$out/tree-tinyalsa"
cp -rLn "$out/tree-tinyalsa/include/." /usr/include/android/{android,cutils,log,utils} "$out/tree"
number=0
while IFS= read -r header; do
  number=$((number + 1))
  cat >>"$header" <<END
#if defined(__cplusplus) && !defined(LOOSE_$number)
#define LOOSE_$number
inline unsigned loose_$number(long value) { return (unsigned)value; }
#endif
END
done < <(find "$out/tree" "$out/vendor" -name '*.h')

# options_of FOLDER FILE: what Android.bp has for its compiler, as a file of options.
options_of() {
  python3 -B - "$1/Android.bp" >"$2" <<'END'
import pathlib, shlex, sys
sys.path.insert(0, "lint")
import blueprint
[(_, module)] = blueprint.read_modules(pathlib.Path(sys.argv[1]))
print(*(shlex.quote(option) for option in ["-std=" + module["cpp_std"], *module["cflags"]]), sep="\n")
END
}
for folder in . platform/lib{annexk,nano,zuavplayer}; do
  options_of "$folder" "$out/${folder##*/}.options"
done

for release in android9 1.0.2 1.1.1 2.0.0; do
  tests/tinyalsa_releases/make_release.sh $release "$out/tinyalsa-$release"
done

# The warnings that CMake gives each compiler.
warnings_of() {
  cat >"$out/warnings.cmake" <<'END'
function(add_library)
endfunction()
function(target_compile_options)
endfunction()
include(cmake/Warnings.cmake)
string(REPLACE ";" " " CORVEX_WARNINGS "${CORVEX_WARNINGS}")
message("${CORVEX_WARNINGS}")
END
  cmake -DCMAKE_CXX_COMPILER_ID="$1" -P "$out/warnings.cmake" 2>&1
}
gnu_warnings=$(warnings_of GNU)
clang_warnings=$(warnings_of Clang)
# Where CMake allows calls that a 2.x calls deprecated.
deprecated_callers=$(sed -nE 's/^set\(CORVEX_DEPRECATED_CALLERS (.*)\)/ \1 /p' cmake/TinyAlsa.cmake)

platform=""
for folder in platform/*/include; do
  [[ $folder == platform/libtinyalsa/* ]] || platform+=" -I$folder"
done

# compile_in_tree SOURCE: as Android.bp would have it compiled.
compile_in_tree() {
  local module=. path=(-I. "-I$out/vendor")
  if [[ $1 == platform/* ]]; then
    module=${1%/src/*} path=("-I${1%/src/*}/include")
  fi
  if ! clang++ -fsyntax-only "@$out/${module##*/}.options" "${path[@]}" "-I$out/tree" "$1"; then
    echo "$1 does not compile with the options of $module/Android.bp: where the fault is in a library's header," \
      "a --system-header-prefix is missing there"
    return 1
  fi
}

# compile COMPILER ROW TINYALSA SOURCE
compile() {
  if [[ $2 == tree ]]; then
    compile_in_tree "$4"
    return
  fi
  local flags warnings=$gnu_warnings
  [[ $1 != clang++ ]] || warnings=$clang_warnings
  read -ra flags <<<"-std=gnu++17 -fsyntax-only -fno-exceptions -fno-rtti $warnings -I. $platform_flags"
  flags+=('-DCORVEX_CAPTURE_DIR="/mnt"' -isystem "$out/tinyalsa-$3/include" -isystem /usr/include/android)
  [[ $3 != 2* || $deprecated_callers != *" $4 "* ]] || flags+=(-Wno-deprecated-declarations)
  if ! "$1" "-I$out/$2" "${flags[@]}" "$4"; then
    echo "$4 does not compile with $1, the headers of $2 and tinyalsa $3"
    return 1
  fi
}
export -f compile compile_in_tree
export out gnu_warnings clang_warnings deprecated_callers platform_flags=$platform

sources=("$@")
if [[ $# -eq 0 ]]; then
  # With those libraries that a tree without a vendor's own builds from here.
  mapfile -t sources < <(git ls-files --cached --others --exclude-standard -- 'diag/*.cpp' \
    'direct/*.cpp' 'hal/*.cpp' 'pcm/*.cpp' 'player_client/*.cpp' 'records/*.cpp' \
    'platform/libannexk/*.cpp' 'platform/libnano/*.cpp' 'platform/libzuavplayer/*.cpp')
fi

status=0
for source in "${sources[@]}"; do
  for compiler in g++ clang++; do
    echo "$compiler android10 2.0.0 $source"
    echo "$compiler android11 android9 $source"
  done
  echo "g++ android9 android9 $source"
  echo "clang++ tree android9 $source"
  echo "arm-linux-gnueabihf-g++ android9 android9 $source"
done | xargs -P "$(nproc)" -L 1 bash -c 'compile "$@"' compile || status=1

# A 1.x is no tinyalsa for the module: should it ever compile, the docs and cmake/InstalledTinyAlsa.cmake
# are wrong.
for release in 1.0.2 1.1.1; do
  if compile g++ android9 $release hal/out_pcm_config.cpp >/dev/null 2>"$out/refusal" ||
    ! grep -q avail_min "$out/refusal"; then
    echo "hal/out_pcm_config.cpp is not refused for want of avail_min with tinyalsa $release"
    status=1
  fi
done
exit $status
