// A player service that only comes and goes: it writes its arguments, one a line, to the file
// "service_calls", makes the file that follows "wav:" in one, says that it is ready, and waits for
// SIGTERM, which it notes there. FAKE_service:
//
//   refuse   an error line and status 1, never ready
//   die      status 7 as soon as it is ready
//   end      status 3 when it is asked to end
//   mute     makes no file

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

int main(int argc, char** argv) {
    const char* scripted = std::getenv("FAKE_service");
    const std::string behaviour = scripted == nullptr ? "" : scripted;
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTERM);
    sigprocmask(SIG_BLOCK, &stop, nullptr);
    std::ofstream calls("service_calls");
    for (int i = 1; i < argc; ++i) {
        calls << argv[i] << "\n";
        if (const std::string word = argv[i]; word.rfind("wav:", 0) == 0 && behaviour != "mute") {
            std::ofstream(word.substr(4)) << "sound";
        }
    }
    calls.flush();
    if (behaviour == "refuse") {
        std::fputs("first a warning\nzuavplayerd: no sound today; buy a card\n", stderr);
        return 1;
    }
    std::puts("zuavplayerd: ready in its folder");
    std::fflush(stdout);
    if (behaviour == "die") {
        return 7;
    }
    int signal = 0;
    sigwait(&stop, &signal);
    calls << "stopped\n";
    return behaviour == "end" ? 3 : 0;
}
