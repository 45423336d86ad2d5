"""The guest's root: the host's files that the cases use, at their own paths, as an archive that the
kernel unpacks behind the initramfs.

They lie in memory, and are not read from the host by and by, because guest time runs on while a guest
waits for its host: seconds at each file where that is busy, and any card would run dry."""
import pathlib
import re
import shutil
import subprocess

COMMANDS = ["aplay", "arecord", "bash", "cat", "cp", "env", "grep", "mkdir", "mv", "rm", "sleep", "timeout", "touch"]
OURS = ["corvex-hal", "vm_hal_steps", "zuavplayerd"]
# Links in place of folders, where the loader itself is looked for; and what it and alsa-lib read.
LINKS = ["/bin", "/lib", "/lib64", "/sbin"]
SETTINGS = ["/etc/ld.so.cache", "/etc/asound.conf", "/etc/alsa/conf.d", "/usr/share/alsa/alsa.conf",
            "/usr/share/alsa/alsa.conf.d", "/usr/share/alsa/cards", "/usr/share/alsa/pcm"]


def libraries(programs):
    """What the loader finds for them, by the names that it looks for."""
    said = subprocess.run(["ldd", *programs], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=False)
    return [pathlib.Path(path) for path in re.findall(r"(/\S+) \(0x", said.stdout)]


def with_links(path):
    """The path and, where it is a link, what it leads to, each by its real folder."""
    while True:
        path = path.parent.resolve() / path.name
        yield path
        if not path.is_symlink():
            return
        path = path.parent / path.readlink()


def files(repository, scripts):
    """Relative to /, as cp's --parents of coreutils 9.1 needs them."""
    programs = [pathlib.Path(shutil.which(command)) for command in COMMANDS]
    build = repository / "build/dev"
    programs += [build / "bin" / name for name in OURS] + list((build / "lib/corvex").rglob("*.so*"))
    named = programs + libraries(programs) + list(scripts)
    for setting in map(pathlib.Path, SETTINGS):
        named += setting.rglob("*") if setting.is_dir() else [setting]
    found = {link for path in named for link in with_links(path) if link.is_file() or link.is_symlink()}
    found.update(link for link in map(pathlib.Path, LINKS) if link.is_symlink())
    return sorted(path.relative_to("/") for path in found)


def add_to(archive, stage, repository, scripts):
    """Uses the folder `stage`, which is not there yet, and removes it."""
    (stage / "vm").mkdir(parents=True)
    (stage / "vm/repository").write_text(f"{repository}\n")
    subprocess.run(["cp", "-a", "--parents", *files(repository, scripts), stage], cwd="/", check=True)
    names = subprocess.run(["find", "."], cwd=stage, stdout=subprocess.PIPE, check=True).stdout
    with open(archive, "ab") as out:
        subprocess.run(["cpio", "--quiet", "-o", "-H", "newc"], cwd=stage, input=names, stdout=out, check=True)
    shutil.rmtree(stage)
