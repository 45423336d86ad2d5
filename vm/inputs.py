"""What the cases play: noise, of which no two pieces are alike, so that a lost or doubled frame shows."""
import array
import pathlib
import random
import subprocess
import wave


def noise(seed, frames, channels):
    """No sample is 0: silence in a recording is none of it."""
    source = random.Random(seed)
    return array.array("h", (source.choice((-1, 1)) * source.randrange(1, 20000) for _ in range(frames * channels)))


def write(path, rate_hz, channels, samples):
    with wave.open(str(path), "wb") as file:
        file.setnchannels(channels)
        file.setsampwidth(2)
        file.setframerate(rate_hz)
        file.writeframes(samples.tobytes())


def encode(path, source, *options):
    subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", "-i", source, *options, path], check=True)


def make(folder: pathlib.Path):
    # aplay may lose the last milliseconds of what it drains, so what it plays ends in silence.
    quiet_end = noise(1, 28800, 2) + array.array("h", bytes(4 * 9600))
    write(folder / "stereo.wav", 48000, 2, noise(2, 38400, 2))
    write(folder / "quiet_end.wav", 48000, 2, quiet_end)
    (folder / "quiet_end.raw").write_bytes(quiet_end.tobytes())
    short = noise(3, 100, 2)
    write(folder / "short.wav", 48000, 2, short)
    (folder / "short.raw").write_bytes(short.tobytes())
    write(folder / "mono.wav", 48000, 1, noise(4, 38400, 1))
    write(folder / "stereo_44100.wav", 44100, 2, noise(5, 35280, 2))
    write(folder / "long.wav", 48000, 2, noise(6, 240000, 2))
    encode(folder / "stereo.ac3", folder / "stereo.wav", "-c:a", "ac3", "-b:a", "192k")
    write(folder / "six.wav", 48000, 6, noise(7, 38400, 6))
    encode(folder / "six.mkv", folder / "six.wav", "-c:a", "eac3", "-b:a", "448k")
