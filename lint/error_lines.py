#!/usr/bin/env python3
"""docs/integration.md explains each text that the module logs at error priority, and no other."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
ROOMS = ["diag", "direct", "hal", "pcm", "player_client", "records"]
DOCUMENT = "docs/integration.md"
HEADING = "## Lines at error priority"

CALL = re.compile(r'\b(?:HAL_LOGE\(|__android_log_print\(\s*ANDROID_LOG_(?:ERROR|FATAL),[^,]*,)\s*((?:"(?:[^"\\]|\\.)*"\s*)*)')
LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')


def logged():
    """Each text, without blanks around it, with the place of its first use."""
    texts = {}
    for room in ROOMS:
        for path in sorted((ROOT / room).rglob("*.cpp")):
            source = path.read_text()
            for call in CALL.finditer(source):
                text = "".join(LITERAL.findall(call.group(1))).removesuffix("\\n").strip()
                line = source.count("\n", 0, call.start()) + 1
                texts.setdefault(text, f"{path.relative_to(ROOT)}:{line}")
    return texts


def explained():
    """The texts in the first column of the section's tables, with their lines."""
    texts = {}
    inside = False
    for number, line in enumerate((ROOT / DOCUMENT).read_text().splitlines(), 1):
        if line.startswith("## "):
            inside = line == HEADING
        elif inside and line.startswith("|"):
            for text in re.findall(r"`([^`]+)`", line.split("|")[1]):
                texts.setdefault(text.strip(), []).append(number)
    return texts


def main():
    faults = []
    said, known = logged(), explained()
    for text, where in said.items():
        if not text:
            faults.append(f"{where}: no text follows the priority: give it as a literal, so that it can be looked up")
        elif text not in known:
            faults.append(f"{where}: \"{text}\" is not in {DOCUMENT}, \"{HEADING[3:]}\": say there what it means")
    for text, lines in known.items():
        if text not in said:
            faults.append(f"{DOCUMENT}:{lines[0]}: nothing logs `{text}` at error priority any more")
        elif len(lines) > 1:
            faults.append(f"{DOCUMENT}:{lines[1]}: `{text}` is explained in line {lines[0]} already")
    if not known:
        faults.append(f"{DOCUMENT}: no table below \"{HEADING}\"")
    print("\n".join(faults), end="\n" if faults else "")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
