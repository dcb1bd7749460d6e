#include "recorder/RecorderProperties.h"

#include <tv_recorder.h>

namespace tvdesktop {

namespace {

bool AddPid(RecorderPropertyList &list, int id, int pid) {
    const StreamSelection::PidProperty property{id, pid};
    list.pids.push_back(property);
    return StreamSelection::IsValid(property);
}

bool Ignore(RecorderPropertyList & /*list*/, int /*id*/, int /*value*/) {
    return true;
}

bool SetTimeshift(RecorderPropertyList &list, int /*id*/, int isTimeshift) {
    list.isTimeshift = isTimeshift != 0;
    return true;
}

bool SetFileName(RecorderPropertyList &list, int /*id*/, const char *name) {
    list.fileName = name;
    return true;
}

bool AddChannel(RecorderPropertyList &list, int /*id*/, const TvChannelInfo *info) {
    list.channels.push_back(*info);
    return true;
}

bool SetSwap(RecorderPropertyList &list, int /*id*/, const TvRecorderSwap *swap) {
    const bool hasName = swap->fileName != nullptr && *swap->fileName != '\0';
    list.swapTo = hasName ? swap->fileName : "";
    return hasName;
}

const PropertyRule<RecorderPropertyList> kRules[] = {
    {TV_RECORDER_PROPERTY_AUDIO_PID, AddPid},
    {TV_RECORDER_PROPERTY_VIDEO_PID, AddPid},
    {TV_RECORDER_PROPERTY_REMOVE_PID, AddPid},
    {TV_RECORDER_PROPERTY_PCR_PID, AddPid},
    {TV_RECORDER_PROPERTY_ANALOGUE_34, Ignore},
    {TV_RECORDER_PROPERTY_AD_PID, AddPid},
    {TV_RECORDER_PROPERTY_ADD_PID, AddPid},
    {TV_RECORDER_PROPERTY_ANALOGUE_52, Ignore},
    {TV_RECORDER_PROPERTY_IS_TIMESHIFT, SetTimeshift},
    {TV_RECORDER_PROPERTY_SWAP_TS_TO_RECORD, SetSwap},
    {TV_RECORDER_PROPERTY_FILE_NAME, SetFileName},
    {TV_RECORDER_PROPERTY_CHANNEL_INFO, AddChannel},
    {TV_RECORDER_PROPERTY_IS_SEGMENT_RECORD, Ignore},
};

}  // namespace

bool ReadRecorderProperties(PropertyArguments &arguments, RecorderPropertyList &list) {
    return arguments.ReadInto(list, kRules);
}

}  // namespace tvdesktop
