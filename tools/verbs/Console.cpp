#include "verbs/Console.h"
#include "service/PvrService.h"
#include "text/RequestSummary.h"

namespace tool {

void ShowRequests(PvrService &service, const Console &console) {
    if (!console.showRequests)
        return;
    // A request that is repeated at once, as progress is asked for, is shown the first time only.
    service.ObserveRequests([&terminal = console.terminal, last = std::vector<std::uint8_t>()](
                                const Request &request, const Reply &reply) mutable {
        if (request.record == last)
            return;
        last = request.record;
        const char *side = request.target == Target::Recorder ? "recorder " : "playback ";
        terminal.Line("request " + (side + std::to_string(request.command)) + " " +
                      RequestText(request));
        terminal.Line("        " + HexText(request.record), Style::Faint);
        terminal.Line("reply   result " + std::to_string(reply.result) + "  " +
                      HexText(reply.record));
    });
}

}  // namespace tool
