#include "verbs/Services.h"

#include <iomanip>
#include <sstream>

#include "service/Input.h"
#include "text/TimeText.h"

namespace tool {

namespace {

const char *KindText(tvdesktop::StreamKind kind) {
    switch (kind) {
        case tvdesktop::StreamKind::Video:
            return "video";
        case tvdesktop::StreamKind::Audio:
            return "audio";
        case tvdesktop::StreamKind::AudioDescription:
            return "audio description";
        case tvdesktop::StreamKind::Other:
            break;
    }
    return "other";
}

std::string StreamText(const tvdesktop::ElementaryStream &stream) {
    std::ostringstream text;
    text << "    " << std::left << std::setw(18) << KindText(stream.kind) << std::setw(8)
         << PidText(stream.pid) << std::setw(16) << stream.codec << stream.language;
    return text.str();
}

std::string ServiceText(const tvdesktop::Service &service) {
    return "Service " + std::to_string(service.id) +
           (service.name.empty() ? "" : "  " + service.name) +
           (service.provider.empty() ? "" : "  (" + service.provider + ")");
}

}  // namespace

void RunServices(const std::string &input, const Console &console) {
    for (const tvdesktop::Service &service : ServicesOf(input)) {
        console.terminal.Line(ServiceText(service), Style::Title);
        console.terminal.Line("    PMT " + PidText(service.pmtPid) + ", PCR " +
                              PidText(service.pcrPid));
        for (const tvdesktop::ElementaryStream &stream : service.streams)
            console.terminal.Line(StreamText(stream));
    }
}

}  // namespace tool
