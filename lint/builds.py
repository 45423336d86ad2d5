#!/usr/bin/env python3
"""The Android.bp files and CMake build the same: sources, libraries, options of compiler and linker,
exported symbols and places; and both build all the sources that are on disk.

CMake is asked, through its file API, what it makes of a build with clang, which is Soong's compiler.
What differs on purpose stands in DIFFERENCES with its reason; a row that nothing needs is an error."""
import fnmatch
import json
import os
import pathlib
import shlex
import subprocess
import sys

import blueprint

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build/lint/builds"

# Android.bp's folder, its one module, CMake's target that compiles and the one that links, the
# folders of the sources.
LIBRARIES = [(".", "audio.primary.corvex", "corvex_module_objects", "audio_primary_corvex",
              ["diag", "direct", "hal", "pcm", "player_client", "records"])]
LIBRARIES += [(f"platform/lib{name}", f"lib{name}", f"corvex_{name}", f"corvex_{name}", [f"platform/lib{name}"])
              for name in ("annexk", "nano", "zuavplayer")]

# What Soong of Android 9 knows of a cc_library_shared; lists hold each item once.
TEXTS = ["name", "relative_install_path", "cpp_std", "version_script"]
LISTS = ["srcs", "cflags", "ldflags", "shared_libs", "header_libs", "local_include_dirs", "export_include_dirs"]
PATHS = ["srcs", "version_script", "local_include_dirs", "export_include_dirs"]

# Who has it, where, what, and why the other does well without. A "*" stands for any text.
DIFFERENCES = [
    ("CMake", "cflags", "-fPIC", "Soong compiles every shared library so"),
    ("CMake", "cflags", "-Wno-c++20-designator", "Android 9's clang has no such name; without -Wpedantic none warns"),
    ("CMake", "cflags", "-D_FILE_OFFSET_BITS=64", "a tree's own libraries, which share off_t with the module, are built "
     "without it"),
    ("CMake", "cflags", "-D*_EXPORTS", "CMake adds it; no source looks at it"),
    ("CMake", "ldflags", "-Wl,--no-undefined", "Soong links every shared library so"),
    ("CMake", "ldflags", "-Wl,-rpath,*", "a device's libraries are where its linker looks"),
    ("Soong", "cflags", "--system-header-prefix=*", "CMake takes all but our own libraries' headers with -isystem"),
    ("Soong", "cflags", "-Wno-deprecated-declarations", "our own libtinyalsa marks nothing deprecated"),
    ("Soong", "cflags", "-DDO_NOT_CHECK_MANUAL_BINDER_INTERFACES", "our own libbinder checks no names"),
]

faults = []


class Cmake:
    """What CMake makes of the project."""

    def __init__(self):
        query = BUILD / ".cmake/api/v1/query/codemodel-v2"
        query.parent.mkdir(parents=True, exist_ok=True)
        query.touch()
        # Afresh, because a cache would keep defaults that have changed.
        options = ["CMAKE_CXX_COMPILER=clang++", "CMAKE_BUILD_TYPE=None", "CORVEX_TINYALSA=own"]
        options += [f"CORVEX_BUILD_{part}=OFF" for part in ("TESTS", "TOOLS", "SERVICE")]
        command = ["cmake", "--fresh", "-S", ROOT, "-B", BUILD, "-G", "Ninja", *(f"-D{option}" for option in options)]
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        if done.returncode != 0:
            sys.exit(f"{done.stdout}\nlint/builds.py: CMake cannot configure {BUILD}, for the reason above")
        self.reply = BUILD / ".cmake/api/v1/reply"
        # Names sort by age: the last index is that of this configuration.
        index = json.loads(max(self.reply.glob("index-*.json")).read_text())
        model = self.read(index["reply"]["codemodel-v2"]["jsonFile"])
        self.targets = {target["name"]: target["jsonFile"] for target in model["configurations"][0]["targets"]}

    def read(self, name):
        return json.loads((self.reply / name).read_text())

    def library(self, folder, compiles, links):
        """The library as Android.bp would have it; each item with the place that CMake has it from."""
        if compiles not in self.targets or links not in self.targets:
            sys.exit(f"lint/builds.py: CMake has no target {compiles} or {links}: bring LIBRARIES up to date")
        compiled, linked = self.read(self.targets[compiles]), self.read(self.targets[links])
        found = {key: {} for key in LISTS}

        def place(item, target=compiled):
            graph = target["backtraceGraph"]
            node = graph["nodes"][item.get("backtrace", target["backtrace"])]
            # Our helper only passes on what its caller lists.
            while graph["files"][node["file"]] == "cmake/PlatformLibrary.cmake" and "parent" in node:
                node = graph["nodes"][node["parent"]]
            return f"{graph['files'][node['file']]}:{node.get('line', 1)}"

        for source in compiled["sources"]:
            if "compileGroupIndex" in source:
                found["srcs"][source["path"]] = place(source)
        group, *others = compiled["compileGroups"]
        if others:
            faults.append(f"{place({})}: {compiles}: some sources have options of their own, which Android.bp cannot "
                          "say: give all of them the same")
        for item in group["compileCommandFragments"]:
            for option in shlex.split(item["fragment"]):
                if option.startswith("-std="):
                    found["cpp_std"] = option.removeprefix("-std=")
                else:
                    found["cflags"][option] = place(item)
        for item in group.get("defines", []):
            found["cflags"]["-D" + item["define"]] = place(item)

        for item in linked["link"]["commandFragments"]:
            where = place(item, linked)
            for word in shlex.split(item["fragment"]):
                if word.startswith("-Wl,--version-script="):
                    found["version_script"] = str(pathlib.Path(word.partition("=")[2]).relative_to(ROOT))
                elif word.startswith("-l"):
                    found["shared_libs"]["lib" + word[2:]] = where
                elif word.startswith("-"):
                    found["ldflags"][word] = where
                else:
                    found["shared_libs"][pathlib.Path(word).name.partition(".so")[0]] = where

        for item in group["includes"]:
            path = pathlib.Path(item["path"])
            if not path.is_relative_to(ROOT):
                continue  # of a Debian package, whose library is linked
            path = path.relative_to(ROOT)
            if path.parent.name in found["shared_libs"]:
                continue  # a linked library exports it
            if path == pathlib.Path("platform/libhardware/include"):
                found["header_libs"]["libhardware_headers"] = place(item)
            else:
                own = path == pathlib.Path(folder) / "include"
                found["export_include_dirs" if own else "local_include_dirs"][str(path)] = place(item)

        artifact = pathlib.Path(linked["artifacts"][0]["path"])
        found["name"] = artifact.stem
        if artifact.parent.name == "hw":
            found["relative_install_path"] = "hw"
        return found, place({})


def read_soong(file, name):
    """The properties of the file's one module, its paths from the root; None where that is not to be had."""
    modules = blueprint.read_modules(file)
    if [(kind, properties.get("name")) for kind, properties in modules] != [("cc_library_shared", name)]:
        faults.append(f"{file}: should hold one module, the cc_library_shared \"{name}\"")
        return None
    properties = modules[0][1]
    if properties.pop("vendor", False) is not True:
        faults.append(f"{file}: lacks \"vendor: true\": it would go into the system's partition")
    for key, value in list(properties.items()):
        if key not in TEXTS + LISTS:
            faults.append(f"{file}: {key}: Soong of Android 9 may not know this property")
        elif key in TEXTS and not isinstance(value, str):
            faults.append(f"{file}: {key}: should be a string")
        elif key in LISTS and not (isinstance(value, list) and all(isinstance(item, str) for item in value)):
            faults.append(f"{file}: {key}: should be a list of strings")
        else:
            if key in LISTS and len(set(value)) != len(value):
                faults.append(f"{file}: {key}: names something twice")
            if key in PATHS:
                rooted = [str((file.parent / item)) for item in ([value] if key in TEXTS else value)]
                properties[key] = rooted if key in LISTS else rooted[0]
            continue
        del properties[key]
    return properties


def excused(who, key, item, used):
    for row in DIFFERENCES:
        if row[:2] == (who, key) and fnmatch.fnmatchcase(item, row[2]):
            used.add(row)
            return True
    return False


def compare(file, soong, cmake, target_place, used):
    for key in TEXTS:
        if soong.get(key) != cmake.get(key):
            faults.append(f"{file}: {key}: is {soong.get(key)!r}, and CMake's is {cmake.get(key)!r} ({target_place}): "
                          "change one of the two")
    for key in LISTS:
        listed = soong.get(key, [])
        for item, where in cmake[key].items():
            if item not in listed and not excused("CMake", key, item, used):
                faults.append(f"{file}: {key}: lacks \"{item}\", which CMake has from {where}: add it here or take it "
                              "out there")
        for item in listed:
            if item not in cmake[key] and not excused("Soong", key, item, used):
                faults.append(f"{file}: {key}: has \"{item}\", which CMake lacks: take it out here, or add it where "
                              f"{target_place} has its like")


def main():
    used = set()
    cmake = Cmake()
    for folder, name, compiles, links, rooms in LIBRARIES:
        file = pathlib.Path(folder) / "Android.bp"
        built, target_place = cmake.library(folder, compiles, links)
        on_disk = {str(path) for room in rooms for path in pathlib.Path(room).rglob("*.cpp")}
        for source in sorted(on_disk - built["srcs"].keys()):
            faults.append(f"{source}: not built by CMake: add it where {target_place} has its like, and to {file}")
        soong = read_soong(file, name)
        if soong is not None:
            compare(file, soong, built, target_place, used)
    for file in sorted(pathlib.Path(".").rglob("Android.bp")):
        if not any(file == pathlib.Path(row[0]) / "Android.bp" for row in LIBRARIES) and file.parts[0] != "build":
            faults.append(f"{file}: compared with nothing: add it to LIBRARIES in lint/builds.py")
    for row in DIFFERENCES:
        if row not in used:
            faults.append(f"lint/builds.py: DIFFERENCES: nothing needs {row[:3]} any more: take the row out")


if __name__ == "__main__":
    os.chdir(ROOT)
    try:
        main()
    except (blueprint.SyntaxFault, FileNotFoundError) as fault:
        faults.append(str(fault))
    print("\n".join(faults), end="\n" if faults else "")
    sys.exit(1 if faults else 0)
