#include "Service.h"
#include "Verbs.h"

namespace tool {

void ShowRequests(PvrService &service, const Console &console) {
    if (!console.showRequests)
        return;
    service.ObserveRequests(
        [&terminal = console.terminal](const Request &request, const Reply &reply) {
            const char *side = request.target == Target::Recorder ? "recorder " : "playback ";
            terminal.Line(std::string("request ") + side + std::to_string(request.command) + " " +
                              CommandName(request.target, request.command) + "  " +
                              HexText(request.record),
                          Style::Faint);
            const std::string record = HexText(reply.record);
            terminal.Line("reply   result " + std::to_string(reply.result) +
                              (record.empty() ? "" : "  " + record),
                          Style::Faint);
        });
}

}  // namespace tool
