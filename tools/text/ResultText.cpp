#include "text/ResultText.h"

#include <TvDesktop.h>

namespace tool {

namespace {

struct ResultWords {
    std::uint32_t result;
    const char *words;
};

constexpr ResultWords kRecorderResults[] = {
    {tvdesktop::kRecorderBadProperty, "the recorder does not take these values"},
    {tvdesktop::kRecorderAlreadyRunning, "it runs already"},
    {tvdesktop::kRecorderNotRunning, "it does not run"},
    {tvdesktop::kRecorderNoSink, "there is no file to write to"},
    {tvdesktop::kRecorderSourceFailed, "the source cannot be opened"},
    {tvdesktop::kRecorderSinkFailed, "the recording cannot be opened for writing"},
    {tvdesktop::kRecorderWriteFailed, "not everything could be written"},
    {tvdesktop::kRecorderNotTimeshift, "the sink is not a timeshift buffer in a file"},
    {tvdesktop::kRecorderFileExists, "the file exists"},
};

constexpr ResultWords kPlayerResults[] = {
    {tvdesktop::kPlayerWrongState, "the player is not in the state for it"},
    {tvdesktop::kPlayerNoSource, "the recording cannot be read"},
    {tvdesktop::kPlayerNoStream, "it has no stream time (PCR), or nothing to decode"},
    {tvdesktop::kPlayerNoChannelInfo, "neither the side file nor a PMT describes the recording"},
};

template <std::size_t Count>
const char *WordsIn(const ResultWords (&table)[Count], std::uint32_t result) {
    for (const ResultWords &row : table)
        if (row.result == result)
            return row.words;
    return "the platform refused it";
}

}  // namespace

const char *ResultText(Side side, std::uint32_t result) {
    return side == Side::Recorder ? WordsIn(kRecorderResults, result)
                                  : WordsIn(kPlayerResults, result);
}

}  // namespace tool
