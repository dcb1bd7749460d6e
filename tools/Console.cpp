#include "RequestText.h"
#include "Service.h"
#include "Verbs.h"

namespace tool {

void ShowRequests(PvrService &service, const Console &console) {
    if (!console.showRequests)
        return;
    service.ObserveRequests(
        [&terminal = console.terminal](const Request &request, const Reply &reply) {
            const char *side = request.target == Target::Recorder ? "recorder " : "playback ";
            terminal.Line("request " + (side + std::to_string(request.command)) + " " +
                          RequestText(request));
            terminal.Line("        " + HexText(request.record), Style::Faint);
            terminal.Line("reply   result " + std::to_string(reply.result) + "  " +
                          HexText(reply.record));
        });
}

}  // namespace tool
