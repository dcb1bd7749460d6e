#include "verbs/Console.h"

#include "service/PvrService.h"
#include "text/RequestSummary.h"

namespace tool {

void ShowRequests(PvrService &pvr, const Console &console) {
    if (!console.showRequests)
        return;
    // A request that is repeated at once, as progress is asked for, is shown the first time only.
    pvr.ObserveRequests([&terminal = console.terminal, last = std::string()](
                            const Request &request, const Reply &reply) mutable {
        if (request.text == last)
            return;
        last = request.text;
        const char *side = request.side == Side::Recorder ? "recorder " : "playback ";
        terminal.Line("request " + (side + std::to_string(request.command)) + " " +
                      RequestSummary(request));
        terminal.Line("        " + request.text, Style::Faint);
        terminal.Line("reply   result " + std::to_string(reply.result) + "  " + reply.text);
    });
}

}  // namespace tool
