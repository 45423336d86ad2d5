#include "tools/commands/command.h"

const std::vector<command_entry>& command_table() {
    static const std::vector<command_entry> table = {
        {"play", "Play an audio file through the primary output",
         "The stream is 16-bit at 48000 Hz. A file that already is 48000 Hz, 16-bit and of the\n"
         "stream's channels passes bit for bit; anything else is converted. More channels are\n"
         "folded with the centre and the surrounds at -3 dB and the LFE left out, scaled so\n"
         "that nothing clips. A WAV sink holds exactly the frames of the file.\n\n"
         "Ctrl-C or SIGTERM ends playing in order, with status 130; a second one kills.\n\n"
         "Examples:\n"
         "  corvex-hal play song.flac\n"
         "  corvex-hal play song.flac --device out.wav\n"
         "  corvex-hal play movie.wav --channels 6 --device plughw:1\n"
         "  corvex-hal play song.flac -v --prop persist.audiohal.log.all=1\n",
         make_play},
        {"record", "Record the primary input into a WAV file",
         "The card runs at 48000 Hz in stereo; other rates and one channel are converted by the\n"
         "module. The rates are 8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100 and 48000.\n"
         "Without --seconds Ctrl-C or SIGTERM ends recording, with status 0; with it the status\n"
         "is then 130. What was recorded is in the file either way; a second signal kills.\n\n"
         "Examples:\n"
         "  corvex-hal record voice.wav --rate 16000 --channels 1 --seconds 5\n"
         "  corvex-hal record take.wav --device plughw:1\n"
         "  corvex-hal record again.wav --device song.wav --rate 44100 --seconds 3\n",
         make_record},
        {"loop", "Record while playing and tell the round-trip delay",
         "A short sweep is played at -12 dB and looked for in what is recorded meanwhile. The\n"
         "output has to reach the input: through a cable, through the air, through a loopback\n"
         "card, or through one WAV file, which shows the module's own share.\n\n"
         "Examples:\n"
         "  corvex-hal loop\n"
         "  corvex-hal loop --playback hw:Loopback,0 --capture hw:Loopback,1\n"
         "  corvex-hal loop --playback loop.wav --capture loop.wav\n",
         make_loop},
        {"tunnel", "Play a media file through a tunnel output",
         "Every frame goes behind a header with its time, in writes of any size. AC-3 and E-AC-3\n"
         "are sent as they are, anything else is decoded to 16-bit PCM first. A player service\n"
         "decodes and plays it: the one that runs, or one started for the run.\n\n"
         "The summary compares the frames sent with those that the player decoded and the stream\n"
         "reports; status 1 when they differ. Ctrl-C or SIGTERM ends in order, with status 130.\n\n"
         "Examples:\n"
         "  corvex-hal tunnel movie.mkv\n"
         "  corvex-hal tunnel movie.mkv --device out.wav --cut random:7 --timeline times.csv\n"
         "  corvex-hal tunnel song.flac --header-version 1 --pause-at 2:0.5 --seek-at 4:10\n",
         make_tunnel},
        {"passthrough", "Play a media file through a passthrough output",
         "The same without headers and times: see 'corvex-hal tunnel --help'.\n\n"
         "Examples:\n"
         "  corvex-hal passthrough movie.mkv\n"
         "  corvex-hal passthrough song.ac3 --device out.wav --cut 1,7,4096\n",
         make_passthrough},
        {"sync", "Ask the device for its hardware AV-sync source",
         "A player service has to run, or is started for the query.\n\n"
         "Example:\n"
         "  corvex-hal sync\n",
         make_sync},
        {"info", "Show the module, its device and what its streams accept",
         "Streams are opened and closed again; nothing is played.\n\n"
         "Examples:\n"
         "  corvex-hal info\n"
         "  corvex-hal info --module lib/corvex/hw/audio.primary.corvex.so\n",
         make_info},
        {"getprop", "Print one property or all of them",
         "A property that is not set prints as an empty line.\n", make_getprop},
        {"setprop", "Set a property in the property file",
         "Modules that run now see the change. The file is $CORVEX_PROPERTY_FILE, else\n"
         "corvex/properties in $XDG_CONFIG_HOME or ~/.config. A value that begins with '-'\n"
         "goes behind '--'.\n\n"
         "Example:\n"
         "  corvex-hal setprop persist.audiohal.file.pcm true\n",
         make_setprop},
    };
    return table;
}
