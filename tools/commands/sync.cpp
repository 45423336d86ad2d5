// corvex-hal sync: what the device answers to the "hw_av_sync" query.

#include <cinttypes>
#include <cstdio>

#include "host/program_error.h"
#include "tools/commands/command.h"
#include "tools/commands/service_options.h"
#include "tools/module/av_sync.h"
#include "tools/service/player_service.h"
#include "tools/terminal/interrupt.h"
#include "tools/terminal/log_lines.h"

namespace {

class sync_command : public command {
  public:
    void declare(CLI::App& app) override { service_.declare(app, false); }

    int run(const global_options& options, log_lines& log) override {
        // What was started is stopped again, whatever ends the run.
        const interrupt_guard interrupt;
        const player_service service(service_.make_plan("").request);
        const hal_module module(options.module_path);
        const hal_device device(module, absent_player_service::wait);
        const uint32_t id = query_av_sync(device, log);
        const uint32_t again = query_av_sync(device, log);
        if (again != id) {
            throw program_error("the device answers another AV-sync source each time, " +
                                std::to_string(id) + " and " + std::to_string(again) +
                                "; see the module's log with -v");
        }
        std::printf("hw_av_sync %" PRIu32 " (0x%08" PRIx32 "), from %s\n", id, id,
                    service.text().c_str());
        return interrupt.requested() ? exit_interrupted : exit_success;
    }

  private:
    service_options service_;
};

}  // namespace

std::unique_ptr<command> make_sync() {
    return std::make_unique<sync_command>();
}
