"""The cases of ./dev vm: what runs in the guest, and what has to come of it.

A script is bash, with the functions of vm/card.sh, in a folder of its own; $in has the files of
vm/inputs.py. Each `try` leaves a status, in the order in which the commands end. What is converted or
decoded is compared with what the same programs make of it without a card, in the same guest, because
the C library and FFmpeg choose their code by the processor."""
import dataclasses


@dataclasses.dataclass(frozen=True)
class Sound:
    """A recording holds these sounds, each bit for bit and in this order, and else only silence."""
    recording: str
    sounds: tuple[str, ...]
    channels: int = 2


@dataclasses.dataclass(frozen=True)
class Same:
    """Two recordings have the same samples, and these are not all silence."""
    recording: str
    other: str


@dataclasses.dataclass(frozen=True)
class Case:
    name: str
    what: str
    script: str
    statuses: tuple[int, ...] = (0,)
    says: tuple[str, ...] = ()  # regular expressions that the log holds
    heard: tuple[Sound | Same, ...] = ()


def play(name, what, arguments, sound, channels=2):
    """What is played to the card is what is played to a WAV file, or, without `sound`, to that."""
    script = f"""
        hear {channels}
        try corvex-hal play {arguments} --device card
        heard
    """
    if sound:
        return Case(name, what, script, heard=(Sound("heard.raw", (sound,), channels),))
    script += f"try corvex-hal play {arguments} --device wav.wav"
    return Case(name, what, script, (0, 0), heard=(Sound("heard.raw", ("wav.wav",), channels),))


def record(name, what, options):
    """The stream is what the module makes of the same card frames out of a WAV file."""
    return Case(name, what, f"""
        try corvex-hal --prop persist.audiohal.file.record=true record card.wav --device card \\
            --seconds 3 {options} &
        feed $in/quiet_end.wav
        wait
        cp /mnt/hal_audio.record card.raw
        sun_file card.raw >card.au
        try corvex-hal record file.wav --device wav:$PWD/card.au --seconds 3 {options}
    """, (0, 0), heard=(Sound("card.raw", ("in/quiet_end.wav",)), Same("card.wav", "file.wav")))


def direct(name, what, command, file, channels=2):
    """What the player service plays to the card is what it plays to a WAV file."""
    return Case(name, what, f"""
        hear {channels}
        try corvex-hal {command} $in/{file} --device hw:0,0 --service-log service.log
        heard
        try corvex-hal {command} $in/{file} --device wav.wav
    """, (0, 0), heard=(Sound("heard.raw", ("wav.wav",), channels),))


STEREO = "in/stereo.wav"
NOT_OPENED = r"^corvex-hal: the module could not open the card: .*another stream or program is using it"

CASES = [
    play("play", "48 kHz stereo", "$in/stereo.wav", STEREO),
    play("play-short", "fewer frames than start the card", "$in/short.wav", "in/short.wav"),
    play("play-mono-file", "a mono file", "$in/mono.wav", None),
    play("play-44100", "a file of 44.1 kHz", "$in/stereo_44100.wav", None),
    play("play-one-channel", "a mono stream", "$in/mono.wav --channels 1", "in/mono.wav", 1),
    Case("play-standby", "a standby between two sounds of a stream", """
        hear
        try vm_hal_steps write $in/quiet_end.raw standby-out tell waits await go write $in/quiet_end.raw &
        player=$!
        await waits
        closed pcm0p
        touch go
        wait $player
        heard
    """, says=("^wrote 38400 frames, presented 3[78][0-9]{3}$", "^wrote 38400 frames, presented 7[56][0-9]{3}$"),
         heard=(Sound("heard.raw", ("in/quiet_end.wav", "in/quiet_end.wav")),)),

    Case("record", "48 kHz stereo", """
        try corvex-hal record card.wav --device card --seconds 3 &
        feed $in/quiet_end.wav
        wait
    """, heard=(Sound("card.wav", ("in/quiet_end.wav",)),)),
    record("record-mono", "folded to mono", "--channels 1"),
    record("record-44100", "resampled to 44.1 kHz", "--rate 44100"),
    record("record-telephone", "resampled to 16 kHz and folded to mono", "--rate 16000 --channels 1"),
    Case("record-standby", "a standby between two reads of a stream", """
        try vm_hal_steps read 2000 card.raw standby-in tell waits await go read 2000 card.raw &
        feed $in/quiet_end.wav
        await waits
        closed pcm0c
        touch go
        feed $in/quiet_end.wav
        wait
    """, heard=(Sound("card.raw", ("in/quiet_end.wav", "in/quiet_end.wav")),)),

    Case("loop", "played and recorded at once by one process", """
        try corvex-hal --prop persist.audiohal.file.pcm=true --prop persist.audiohal.file.record=true \\
            loop --playback card --capture hw:0,1
        cp /mnt/hal_audio.pcm played.raw
        cp /mnt/hal_audio.record recorded.raw
    """, says=("^match +(99|100) %",), heard=(Sound("recorded.raw", ("played.raw",)),)),
    Case("duplex", "played by one process and recorded by another", """
        try corvex-hal record card.wav --device hw:0,1 --seconds 4 &
        running pcm1c
        try corvex-hal play $in/stereo.wav --device card
        wait
    """, (0, 0), heard=(Sound("card.wav", (STEREO,)),)),

    direct("tunnel-pcm", "16-bit PCM, to its last frame", "tunnel", "stereo.wav"),
    direct("tunnel-ac3", "AC-3, to its last frame", "tunnel", "stereo.ac3"),
    direct("tunnel-eac3", "E-AC-3 of six channels, to its last frame", "tunnel", "six.mkv", 6),
    direct("passthrough-ac3", "AC-3 without headers", "passthrough", "stereo.ac3"),

    Case("busy-play", "another program plays", """
        hold aplay pcm0p /dev/zero
        try corvex-hal play $in/stereo.wav --device card
        release
        hear
        try corvex-hal play $in/stereo.wav --device card
        heard
    """, (1, 0), (NOT_OPENED,), (Sound("heard.raw", (STEREO,)),)),
    Case("busy-record", "another program records", """
        hold arecord pcm0c /dev/null
        try corvex-hal record card.wav --device card --seconds 1
        release
        try corvex-hal record card.wav --device card --seconds 3 &
        feed $in/quiet_end.wav
        wait
    """, (1, 0), (NOT_OPENED,), (Sound("card.wav", ("in/quiet_end.wav",)),)),
    Case("busy-tunnel", "another program plays, and a player service wants to", """
        hold aplay pcm0p /dev/zero
        try corvex-hal tunnel $in/stereo.wav --device hw:0,0 --service-log service.log
        release
        cat service.log
        hear
        try corvex-hal tunnel $in/stereo.wav --device hw:0,0
        heard
    """, (1, 0), ("^corvex-hal: ", "does not play 2 channels at 48000 Hz: Device or resource busy"),
         (Sound("heard.raw", (STEREO,)),)),

    Case("unplug-play", "the card is unplugged while it plays, and plugged in again", """
        try corvex-hal play $in/long.wav --device card &
        running pcm0p
        sleep 0.3
        unplug
        wait
        try corvex-hal play $in/stereo.wav --device card
        replug
        hear
        try corvex-hal play $in/stereo.wav --device card
        heard
    """, (1, 1, 0), ("^corvex-hal: the card stopped taking data: ",
                     "^corvex-hal: no sound card 0 with a playback device 0"), (Sound("heard.raw", (STEREO,)),)),
    Case("unplug-record", "the card is unplugged while it records, and plugged in again", """
        try corvex-hal record card.wav --device card --seconds 10 &
        running pcm0c
        sleep 0.3
        unplug
        wait
        try corvex-hal record card.wav --device card --seconds 1
        replug
        try corvex-hal record card.wav --device card --seconds 3 &
        feed $in/quiet_end.wav
        wait
    """, (1, 1, 0), ("^corvex-hal: the card stopped giving data: ",
                     "^corvex-hal: no sound card 0 with a capture device 0"),
         (Sound("card.wav", ("in/quiet_end.wav",)),)),
    Case("unplug-tunnel", "the card is unplugged while a player service plays", """
        try corvex-hal tunnel $in/long.wav --device hw:0,0 --service-log service.log &
        running pcm0p
        sleep 0.3
        unplug
        wait
        replug
        cat service.log
        hear
        try corvex-hal tunnel $in/stereo.wav --device hw:0,0
        heard
    """, (1, 0), ("^corvex-hal: ", "the sound card has failed: No such device"), (Sound("heard.raw", (STEREO,)),)),
    Case("replug-stream", "a stream that has lost its card has it again behind a standby", """
        try vm_hal_steps write $in/quiet_end.raw tell plays await unplugged write $in/quiet_end.raw \\
            standby-out write $in/short.raw tell lost await plugged write $in/quiet_end.raw &
        player=$!
        await plays
        unplug &
        wait_until test ! -e /proc/asound/card0
        touch unplugged
        await lost
        replug
        hear
        touch plugged
        wait $player
        heard
    """, says=("^wrote 38400 frames, presented ",), heard=(Sound("heard.raw", ("in/quiet_end.wav",)),)),
]
