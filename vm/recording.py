"""Whether a recording holds a sound, bit for bit, wherever it begins."""
import struct

SAMPLE_BYTES = 2
# So much of a sound is looked for where it is not whole, to say what is wrong.
PIECE_FRAMES = 64


def read(path):
    """The 16-bit samples of a WAV file, or of a file without a header."""
    data = path.read_bytes()
    if not data.startswith(b"RIFF"):
        return data
    at = 12
    while at + 8 <= len(data):
        name, size = struct.unpack_from("<4sI", data, at)
        if name == b"data":
            return data[at + 8:at + 8 + size]
        at += 8 + size + size % 2
    return b""


def trim(samples, frame_bytes):
    """Without the silent frames at both ends."""
    start = (len(samples) - len(samples.lstrip(b"\0"))) // frame_bytes * frame_bytes
    end = -(-len(samples.rstrip(b"\0")) // frame_bytes) * frame_bytes
    return samples[start:end]


def find(recording, sound, start, frame_bytes):
    """The first place, in bytes and of a frame, from start on; -1 where there is none."""
    at = recording.find(sound, start)
    while at >= 0 and at % frame_bytes != 0:
        at = recording.find(sound, at + 1)
    return at


def common_frames(one, other, frame_bytes):
    """How many frames both begin with."""
    low, high = 0, min(len(one), len(other)) // frame_bytes
    while low < high:
        middle = (low + high + 1) // 2
        if one[:middle * frame_bytes] == other[:middle * frame_bytes]:
            low = middle
        else:
            high = middle - 1
    return low


def describe_difference(recording, sound, start, frame_bytes):
    """Where a sound that is not whole in the recording breaks off, and how it goes on."""
    piece = PIECE_FRAMES * frame_bytes
    total = len(sound) // frame_bytes
    at = find(recording, sound[:piece], start, frame_bytes)
    if at < 0:
        return f"the first {min(PIECE_FRAMES, total)} of its {total} frames are not there together"
    same = common_frames(recording[at:], sound, frame_bytes)
    text = f"of its {total} frames the first {same} came"
    rest, heard = sound[same * frame_bytes:], recording[at + same * frame_bytes:]
    later = find(heard, rest[:piece], 0, frame_bytes)
    if later >= 0:
        return text + f", then {later // frame_bytes} frames that are not its own, then the next"
    heard_again = trim(heard, frame_bytes)
    gap = heard.find(heard_again) // frame_bytes if heard_again else 0
    skipped = find(rest, heard_again[:piece], 0, frame_bytes) if heard_again else -1
    if skipped >= 0:
        silence = f" then {gap} of silence," if gap else ""
        return text + f",{silence} and then {skipped // frame_bytes} were lost"
    return text + (", then others" if heard_again else ", then silence to the end")


def fault(recording, sounds, channels):
    """Why the recording is not these sounds in their order and else silence; "" where it is."""
    frame_bytes = channels * SAMPLE_BYTES
    at = 0
    for number, whole in enumerate(sounds, 1):
        sound = trim(whole, frame_bytes)
        if not sound:
            return f"sound {number} is itself only silence"
        found = find(recording, sound, at, frame_bytes)
        if found < 0:
            return f"sound {number}: " + describe_difference(recording, sound, at, frame_bytes)
        if recording[at:found].strip(b"\0"):
            return f"in front of sound {number} there is something else"
        at = found + len(sound)
    return "behind the last sound there is something else" if recording[at:].strip(b"\0") else ""
