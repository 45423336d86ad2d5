#!/usr/bin/env python3
"""usage: vm/run.py [CASE...]

Boots what vm/kernel.sh has made, runs the cases in it, all or those named, and compares what they left
with what they should: see docs/kernel_devices.md. Exit status: 0 all held, 1 one did not, 2 a name is
unknown."""
import fcntl
import os
import pathlib
import re
import shutil
import subprocess
import sys
import time

import cases
import inputs
import recording
import root

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDER = ROOT / "build/vm"
RUN = FOLDER / "run"
NO_KVM = FOLDER / "no_kvm"

# Boot and first case take a quarter of a minute emulated, a case seconds; a busy host takes longer.
HANG_S = 240
# A guest that KVM really runs is there in a second or two.
KVM_START_S = 15
POLL_S = 0.2
STARTED = "vm: the guest starts"

# Guest time counts executed instructions, one a nanosecond, so a busy host starves no card.
EMULATED = ["-accel", "tcg,thread=single", "-icount", "shift=0,sleep=off", "-cpu", "max"]
KVM = ["-accel", "kvm", "-cpu", "host"]


class Guest:
    """A running virtual machine. Ends with the `with` that it is made for."""

    def __init__(self, accelerator):
        self.console = RUN / "console.log"
        self.console.unlink(missing_ok=True)
        command = ["setpriv", "--pdeathsig", "KILL", "qemu-system-x86_64", *accelerator, "-machine", "q35",
                   "-smp", "1", "-m", "1536", "-nodefaults", "-no-user-config", "-no-reboot", "-display", "none",
                   "-monitor", "none", "-serial", f"file:{self.quote(self.console)}",
                   "-kernel", FOLDER / "vmlinux", "-initrd", RUN / "initramfs",
                   "-append", "console=ttyS0 quiet panic=-1 tsc=reliable hpet=disable"
                   + ("" if accelerator is KVM else " clocksource=tsc"),
                   "-fsdev", f"local,id=share,path={self.quote(RUN)},security_model=none",
                   "-device", "virtio-9p-pci,fsdev=share,mount_tag=share"]
        self.log = RUN / "qemu.log"
        with open(self.log, "wb") as log:
            self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=log, stderr=log)

    @staticmethod
    def quote(path):
        return str(path).replace(",", ",,")

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.process.kill()
        self.process.wait()

    def started(self):
        return self.console.exists() and STARTED in self.console.read_text(errors="replace")

    def ended(self):
        return self.process.poll() is not None


def starts_within(guest, limit_s):
    deadline = time.monotonic() + limit_s
    while time.monotonic() < deadline and not guest.ended():
        if guest.started():
            return True
        time.sleep(POLL_S)
    return False


def choose_accelerator():
    """KVM where a guest really starts with it: /dev/kvm may be there and hardly move."""
    wanted = os.environ.get("CORVEX_VM_ACCEL", "auto")
    if wanted not in ("auto", "kvm", "tcg"):
        sys.exit(f"dev: vm: CORVEX_VM_ACCEL is '{wanted}': use auto, kvm or tcg")
    if wanted == "kvm":
        return KVM
    if wanted == "tcg" or NO_KVM.exists() or not os.access("/dev/kvm", os.R_OK | os.W_OK):
        return EMULATED
    with Guest(KVM) as guest:
        if starts_within(guest, KVM_START_S):
            return KVM
    NO_KVM.touch()
    return EMULATED


def prepare(chosen):
    shutil.rmtree(RUN, ignore_errors=True)
    for name in ("in", "cases", "results"):
        (RUN / name).mkdir(parents=True)
    (RUN / "order").touch()
    inputs.make(RUN / "in")
    shutil.copy(FOLDER / "initramfs", RUN / "initramfs")
    root.add_to(RUN / "initramfs", RUN / "root", ROOT, [ROOT / "vm/guest.sh", ROOT / "vm/card.sh"])
    for case in chosen:
        (RUN / "cases" / case.name).write_text(case.script)


def sound_fault(folder, heard):
    def samples(name):
        return recording.read((RUN if name.startswith("in/") else folder) / name)

    if isinstance(heard, cases.Same):
        one, other = samples(heard.recording), samples(heard.other)
        return "" if one == other and one.strip(b"\0") else f"{heard.recording} and {heard.other} differ"
    text = recording.fault(samples(heard.recording), [samples(name) for name in heard.sounds], heard.channels)
    return text and f"{heard.recording}: {text}"


def find_fault(case):
    """Why the case has not come out as it should; "" where it has."""
    folder = RUN / "results" / case.name
    ended = (folder / "ended").read_text().strip()
    if ended != "0":
        return "it hung and was ended" if ended in ("124", "137") else f"its script ended with {ended}"
    statuses = tuple(int(line) for line in (folder / "statuses").read_text().split())
    if statuses != case.statuses:
        return f"the statuses are {statuses}, not {case.statuses}"
    log = (folder / "log").read_text(errors="replace")
    for pattern in case.says:
        if not re.search(pattern, log, re.MULTILINE):
            return f"nothing says '{pattern}'"
    for heard in case.heard:
        try:
            if text := sound_fault(folder, heard):
                return text
        except FileNotFoundError as missing:
            return f"there is no {pathlib.Path(missing.filename).name}"
    return ""


def report(case, fault):
    """One line, and a second one that says why and where its files are, or else the guest's messages."""
    print(f"{'FAILED' if fault else 'ok':<7}{case.name:<18}{case.what}", flush=True)
    if fault:
        files = RUN / "results" / case.name
        if not files.exists():
            files = RUN / "console.log"
        print(f"       {fault}; see {files.relative_to(ROOT)}", flush=True)
    return not fault


def run(chosen):
    """How many cases did not hold."""
    failed = 0
    left = list(chosen)
    why = "the guest ended here"
    accelerator = choose_accelerator()
    print(f"dev: vm: {len(chosen)} cases, {'with KVM' if accelerator is KVM else 'emulated'}", flush=True)
    (RUN / "order").write_text("".join(f"{case.name}\n" for case in chosen))
    with Guest(accelerator) as guest:
        latest = time.monotonic()
        while left:
            ended = guest.ended()
            if (RUN / "results" / left[0].name).exists():
                case = left.pop(0)
                failed += not report(case, find_fault(case))
                latest = time.monotonic()
            elif ended:
                break
            elif time.monotonic() - latest > HANG_S:
                why = f"the guest hung here: no result for {HANG_S} s, so it was killed"
                break
            else:
                time.sleep(POLL_S)
    for case in left:
        report(case, why)
        why = "not run"
    return failed + len(left)


def choose(names):
    known = {case.name: case for case in cases.CASES}
    for name in names:
        if name not in known:
            print(f"dev: vm: no case '{name}'; there are: {' '.join(known)}", file=sys.stderr)
            sys.exit(2)
    return [known[name] for name in names] if names else cases.CASES


def main():
    chosen = choose(sys.argv[1:])
    with open(FOLDER / "run.lock", "w", encoding="ascii") as lock:
        try:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            sys.exit("dev: vm: another ./dev vm is running here; wait for its end")
        prepare(chosen)
        failed = run(chosen)
    if failed:
        sys.exit(f"dev: vm: {failed} of {len(chosen)} cases failed")
    print(f"dev: vm: all {len(chosen)} cases held")


if __name__ == "__main__":
    main()
