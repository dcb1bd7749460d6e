#include "FakePlatform.h"

#include <cstdint>
#include <cstring>

namespace {

constexpr int kFailure = 77;

thread_local TvChannelInfo t_lentRecord;

void ReplaceAll(std::string &text, const std::string &what, const std::string &with) {
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
}

}  // namespace

FakePlatform &Fake() {
    static FakePlatform platform;
    return platform;
}

PlatformListener &Listener() {
    return Fake();
}

void FakePlatform::Reset() {
    results.clear();
    channels.clear();
    during.clear();
    now = {};
    failing = 0;
    failed.clear();
    hasEventManager = hasUserDataManager = true;
    position = duration = 0;
    timeshiftDuration = 0;
    callback = nullptr;
    m_journal.clear();
    m_names.clear();
    Name(kRecorder, "recorder");
    Name(kPlayer, "player");
    Name(kStream, "stream");
}

void FakePlatform::Name(const void *object, const std::string &name) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_names[Format("%p", object)] = name;
    m_names[Format("0x%x", static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(object)))] =
        name;
}

void FakePlatform::Note(const std::string &entry) {
    std::memset(&t_lentRecord, 0x5A, sizeof t_lentRecord);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_journal.push_back(entry);
}

void FakePlatform::Log(int priority, const std::string &file, const char *function,
                       const std::string &message) {
    std::string shown = message;
    ReplaceAll(shown, "\n", "\\n");
    Note(Format("log %d %s(%s): ", priority, function, file.substr(0, file.find('.')).c_str()) +
         shown);
}

int FakePlatform::Answer(const char *call, int usual) {
    std::unique_lock<std::mutex> lock(m_mutex);
    if (const auto event = during.extract(call)) {
        lock.unlock();
        event.mapped()();
        lock.lock();
    }
    if (failing > 0 && --failing == 0) {
        failed = call;
        return usual == 0 ? kFailure : 0;
    }
    const auto result = results.find(call);
    return result == results.end() ? usual : result->second;
}

TvChannelInfo *FakePlatform::ChannelAt(int time) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    auto next = channels.upper_bound(time);
    if (next == channels.begin())
        return nullptr;
    t_lentRecord = (--next)->second;
    return &t_lentRecord;
}

std::chrono::steady_clock::time_point FakePlatform::Now() {
    Fake().Answer("clock", 0);
    return Fake().now;
}

std::string FakePlatform::Take(const std::string &firstLetters) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::string text;
    for (const std::string &entry : m_journal) {
        const char kind = entry[0] == 'T' ? 't' : entry[0];  // calls of classes and of functions
        if (kind == 'B' || firstLetters.find(kind) != std::string::npos)
            text += entry + '\n';
    }
    m_journal.clear();
    for (const auto &[address, name] : m_names)
        ReplaceAll(text, address, name);
    return text;
}
