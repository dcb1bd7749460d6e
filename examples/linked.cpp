// A service that is linked to the library: records the radio of the sample stream to a file.
#include <MoxPvr.h>
#include <TvDesktop.h>

#include <cstdio>
#include <cstring>
#include <future>
#include <string>

namespace {

// Sends one request to the recorder: a byte record as hexadecimal text.
bool Send(std::string text) {
    unsigned int replySize = 0;
    const unsigned int result = mox_pvr_control_recording(
        static_cast<unsigned int>(text.size()), reinterpret_cast<unsigned char *>(text.data()),
        replySize, nullptr);
    if (result != 0)
        std::fprintf(stderr, "request %.8s was answered with %u\n", text.c_str(), result);
    return result == 0;
}

// Command 3: the path in a field of 256 bytes; the timeshift and segment flags after it are 0.
std::string SetSinkProperty(const std::string &path) {
    unsigned char record[268] = {3};
    std::strncpy(reinterpret_cast<char *>(record + 4), path.c_str(), 255);
    char text[2 * sizeof(record) + 1];
    unsigned int length = 0;
    build_buf_to_string(record, sizeof(record), text, &length);
    return text;
}

// @return whether everything was recorded
bool Record(const char *path, std::future<bool> endOfSource) {
    if (!Send("010000000700000002000000000000000000000000000000") ||  // SetHandle: 7, service 2
        !Send(SetSinkProperty(path)) ||
        !Send("0200000001020000ffffffff01020000") ||  // SetDemuxProperty: audio 0x201, no video
        !Send("0c000000020000000000000001100000") ||  // UpdateSi: PAT and PMT
        !Send("13000000") ||                          // PreStart
        !Send("06000000"))                            // Start
        return false;
    const bool isWhole = endOfSource.get();
    const bool isStopped = Send("09000000");          // Stop
    return Send("0e000000") && isStopped && isWhole;  // ClearDemuxInfo
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s TRANSPORT-STREAM RECORDING\n", argv[0]);
        return 2;
    }
    tvdesktop::SetLogMinimumPriority(17);  // no log

    // Detail code 102: the source has ended. 151 to 153: the recording failed.
    std::promise<bool> ended;
    const int subscription = tvdesktop::Subscribe([&ended](const tvdesktop::Event &event) {
        const int detail = event.number == 31 ? event.record[1] : 0;
        if (detail == 102 || (detail >= 151 && detail <= 153))
            ended.set_value(detail == 102);
    });

    // On a TV the recorder comes from the TV; 0 is for as fast as the disk allows.
    void *recorder = tvdesktop::CreateRecorder({argv[1], 0});
    const bool recorded =
        mox_pvr_set_recorder_handle(recorder) == 0 && Record(argv[2], ended.get_future());

    tvdesktop::DestroyRecorder(recorder);
    tvdesktop::Unsubscribe(subscription);
    return recorded ? 0 : 1;
}
