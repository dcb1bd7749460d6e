// The desktop recorder, the log and the events.
#include <dlog.h>
#include <fcntl.h>
#include <gst/gst.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <TIEventManager.h>
#include <tv_recorder.h>
#include <tv_stream.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <thread>

#include "player/Recording.h"
#include "recorder/RecordingSession.h"
#include "recorder/StreamSelection.h"
#include "TemporaryFolder.h"
#include "ts/ChannelLog.h"
#include "TsBuilder.h"
#include "TvDesktop.h"

namespace {

using namespace tvdesktop;
using std::chrono::milliseconds;
namespace fs = std::filesystem;

Bytes Only(const Bytes &data, const std::set<int> &pids) {
    Bytes kept;
    for (std::size_t i = 0; i < data.size(); i += 188) {
        if (pids.count(ts::Pid(&data[i])) != 0)
            kept += Part(data, i, 188);
    }
    return kept;
}

/// The usual stream on PID 0x100: PCRs `stepMs` apart, each before `media` packets without one.
TsBuilder Steps(int count, std::int64_t stepMs, int media = 0) {
    TsBuilder stream;
    for (int i = 0; i < count; ++i)
        stream.Pcr(0x100, i * stepMs * kMs).Media(0x100, media);
    return stream;
}

/// @return bytes that wait in a pipe
int Unread(const FileDescriptor &pipe) {
    int count = 0;
    EXPECT_EQ(::ioctl(pipe.Get(), FIONREAD, &count), 0);
    return count;
}

/// A recorder on files of a directory of its own; keeps what its callback brings.
class RecorderTest : public testing::Test {
  protected:
    struct Message {
        TVCallbackType type;
        int number;  ///< app_type or error code
        int parameter;
    };

    void SetUp() override {
        const auto *test = testing::UnitTest::GetInstance()->current_test_info();
        m_directory = TemporaryFolder() + "recorder-" + test->name() + "/";
        fs::create_directory(m_directory);
    }

    void TearDown() override {
        DestroyRecorder(m_recorder);
        fs::remove_all(m_directory);
    }

    /// @return a path in the directory; an absolute name stays as it is
    std::string Path(const std::string &name) const {
        return (fs::path(m_directory) / name).string();
    }

    void Create(const std::string &source, double speed = 0) {
        DestroyRecorder(m_recorder);
        m_messages.clear();
        m_recorder = CreateRecorder({source, speed});
        ASSERT_EQ(tv_recorder_set_callback(m_recorder, &RecorderTest::OnMessage, this), 0);
    }

    void CreateOn(const TsBuilder &stream, double speed = 0) {
        stream.WriteTo(Path("source.ts"));
        Create(Path("source.ts"), speed);
    }

    FileDescriptor MakePipe(const std::string &name, int flags) {
        fs::remove(Path(name));
        EXPECT_EQ(::mkfifo(Path(name).c_str(), 0600), 0);
        return FileDescriptor(::open(Path(name).c_str(), flags | O_CLOEXEC));
    }

    /// A recorder that reads what the test writes into the returned descriptor.
    FileDescriptor CreateOnPipe() {
        FileDescriptor pipe = MakePipe("pipe", O_RDWR);
        Create(Path("pipe"));
        return pipe;
    }

    static void Feed(const FileDescriptor &pipe, const Bytes &data) {
        ASSERT_TRUE(WriteAll(pipe.Get(), data.data(), data.size()));
    }

    int Sink(const std::string &name, int timeshift = 0) {
        return tv_recorder_set_property(m_recorder, 56, Path(name).c_str(), 53, timeshift, 61, 0,
                                        0);
    }

    /// Starts to record PID 0x100.
    void Record(const std::string &sink, int timeshift = 0) {
        ASSERT_EQ(Sink(sink, timeshift), 0);
        ASSERT_EQ(tv_recorder_set_property(m_recorder, 25, 0x100, 0), 0);
        ASSERT_EQ(tv_recorder_start(m_recorder), 0);
    }

    int Swap(const std::string &name) {
        std::string path = Path(name);
        TvRecorderSwap swap{path.data(), 0, 0};
        return tv_recorder_set_property(m_recorder, 55, &swap, 0);
    }

    /// @return the one recording whose path begins so
    static std::string FileThatBegins(const std::string &path) {
        for (const auto &entry : fs::directory_iterator(fs::path(path).parent_path())) {
            if (entry.path().string().rfind(path, 0) == 0 && entry.path().extension() != ".chan")
                return entry.path().string();
        }
        return path;
    }

    /// @return the parameter of the message
    int WaitFor(TVCallbackType type, int number) {
        std::unique_lock<std::mutex> lock(m_mutex);
        std::vector<Message>::iterator found;
        const bool came = m_arrived.wait_for(lock, std::chrono::seconds(30), [&] {
            found = std::find_if(m_messages.begin(), m_messages.end(), [&](const Message &message) {
                return message.type == type && message.number == number;
            });
            return found != m_messages.end();
        });
        EXPECT_TRUE(came) << "no message " << type << '/' << number;
        return came ? found->parameter : -1;
    }

    int WaitForEnd() { return WaitFor(TV_PLAYER_CALLBACK_PVR_RECORDER_APPLICATION, kRecorderEnd); }
    void WaitForError(int code) { WaitFor(TV_PLAYER_CALLBACK_PVR_RECORDER_ERROR, code); }
    void WaitForFirstPacket() {
        WaitFor(TV_PLAYER_CALLBACK_PVR_RECORDER_APPLICATION, kRecorderFirstPacket);
    }

    static void OnMessage(TVCallbackType type, void *self, void *parameter) {
        auto *test = static_cast<RecorderTest *>(self);
        auto *message = static_cast<GstMessage *>(parameter);
        Message result{type, -1, -1};
        if (type == TV_PLAYER_CALLBACK_PVR_RECORDER_ERROR) {
            GError *error = nullptr;
            gchar *debug = nullptr;
            gst_message_parse_error(message, &error, &debug);
            result.number = debug != nullptr ? error->code : -1;
            g_clear_error(&error);
            g_free(debug);
        } else {
            gst_structure_get_int(gst_message_get_structure(message), "app_type", &result.number);
            gst_structure_get_int(gst_message_get_structure(message), "app_param",
                                  &result.parameter);
        }
        EXPECT_EQ(tv_recorder_stop(test->m_recorder), kRecorderInsideCallback);
        DestroyRecorder(test->m_recorder);  // refused
        if (test->m_whileInCallback)
            std::exchange(test->m_whileInCallback, nullptr)();
        const std::lock_guard<std::mutex> lock(test->m_mutex);
        test->m_messages.push_back(result);
        test->m_arrived.notify_all();
    }

    std::string m_directory;
    void *m_recorder = nullptr;
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::vector<Message> m_messages;
    std::function<void()> m_whileInCallback;  ///< once
};

std::set<int> Kept(const StreamSelection &selection) {
    std::set<int> pids;
    for (int pid = 0; pid < static_cast<int>(ts::kPidCount); ++pid) {
        if (selection.Table()[static_cast<std::size_t>(pid)])
            pids.insert(pid);
    }
    return pids;
}

TEST(StreamSelection, KeepsWhatTheListsOfARecordingProgram) {
    using List = std::vector<StreamSelection::PidProperty>;
    const List video = {{29, 0x101}, {25, 0x101}, {24, 0x102}, {49, 0x103}};
    const List video3d = {{29, 0x301}, {25, 0x301}, {24, 0x302}, {49, 0x303}, {48, 0x304}};
    const List clear = {{28, 0x101}, {28, 0x101}, {28, 0x102}, {28, 0}, {28, 0x1000}};
    struct Case {
        const char *what;
        std::vector<List> lists;
        std::set<int> kept;
        int clock;
    };
    const Case cases[] = {
        {"nothing", {}, {}, -1},
        {"service", {video, {{49, 0}}, {{49, 0x1000}}}, {0, 0x101, 0x102, 0x103, 0x1000}, 0x101},
        {"cleared", {video, {{49, 0}}, {{49, 0x1000}}, clear}, {}, 0x101},
        {"change uncleared", {video, video3d}, {0x301, 0x302, 0x303, 0x304}, 0x301},
        {"to radio", {video, clear, {{24, 0x201}}}, {0x201}, 0x201},
        {"radio with AD, to radio",
         {{{24, 0x201}, {49, 0x203}}, {{24, 0x202}}, {{28, 0x201}, {28, 0x201}}, {{24, 0x205}}},
         {0x205},
         0x205},
        {"background audio keeps AD", {video, {{24, 0x109}}}, {0x101, 0x103, 0x109}, 0x101},
        {"added twice, removed once",
         {video, {{49, 0x103}, {49, 0x55}}, {{28, 0x55}, {28, 0x103}}},
         {0x101, 0x102},
         0x101},
        {"no PCR, no video", {{{29, 0x1FFF}, {25, -1}, {24, 0x102}}}, {0x102}, 0x102},
        {"order within a list", {{{49, 5}, {28, 5}, {49, 6}}}, {6}, -1},
    };
    for (const Case &c : cases) {
        StreamSelection selection;
        for (const List &list : c.lists)
            selection.Apply(list);
        EXPECT_EQ(Kept(selection), c.kept) << c.what;
        EXPECT_EQ(selection.ClockPid() ? *selection.ClockPid() : -1, c.clock) << c.what;
    }
}

TEST_F(RecorderTest, RecordsExactlyTheProgrammedPids) {
    TsBuilder stream;
    for (int i = 0; i < 8000; ++i)  // more than one block
        stream.Pcr(0x100, i * kMs).Media(0x101 + i % 5).Media(0x1FFF);
    CreateOn(stream);
    EXPECT_EQ(tv_recorder_start(m_recorder), kRecorderNoSink);
    ASSERT_EQ(Sink("out.ts"), 0);
    unsigned int durationMs = 0;
    EXPECT_EQ(tv_recorder_get_timeshift_duration(m_recorder, 1, &durationMs), kRecorderRateUnknown);
    ASSERT_EQ(tv_recorder_set_property(m_recorder, 29, 0x100, 25, 0x100, 24, 0x102, 49, 0x104, 0),
              0);
    ASSERT_EQ(tv_recorder_start(m_recorder), 0);
    EXPECT_EQ(WaitForEnd(), 7999);
    EXPECT_EQ(m_messages.front().number, kRecorderFirstPacket);
    const Bytes recorded = ReadFile(Path("out.ts"));
    EXPECT_EQ(recorded, Only(stream.data, {0x100, 0x102, 0x104}));

    long long position = 0;
    long long duration = 0;
    EXPECT_EQ(tv_recorder_get_position(m_recorder, &position, &duration), 0);
    EXPECT_TRUE(position == 7999 && duration == 7999);
    EXPECT_EQ(tv_recorder_get_timeshift_duration(m_recorder, 1024, &durationMs), 0);
    EXPECT_EQ(durationMs, (1U << 20) * 7999ULL / recorded.size());
    EXPECT_EQ(tv_recorder_stop(m_recorder), 0);
    EXPECT_EQ(tv_recorder_stop(m_recorder), kRecorderNotRunning);
}

TEST_F(RecorderTest, RefusesWhatItCannotDo) {
    CreateOn(TsBuilder().Media(0x100, 30));
    TvChannelInfo info{};
    TvRecorderSwap nameless{nullptr, 0, 0};
    EXPECT_EQ(tv_recorder_set_property(m_recorder, 49, 0x100, 999, 1, 0), kRecorderBadProperty);
    EXPECT_EQ(tv_recorder_set_property(m_recorder, 49, 0x2000, 0), kRecorderBadProperty);
    EXPECT_EQ(tv_recorder_set_property(m_recorder, 60, nullptr, 0), kRecorderBadProperty);
    EXPECT_EQ(tv_recorder_set_property(m_recorder, 55, &nameless, 0), kRecorderBadProperty);
    EXPECT_EQ(tv_recorder_set_property(m_recorder, 55, nullptr, 0), kRecorderBadProperty);
    EXPECT_EQ(tv_recorder_set_property(&info, 49, 1, 0), kRecorderNoObject);
    EXPECT_EQ(tv_recorder_start(nullptr), kRecorderNoObject);
    EXPECT_EQ(tv_recorder_pause(m_recorder), kRecorderNotRunning);
    EXPECT_EQ(Swap("swapped.ts"), kRecorderNotRunning);

    ASSERT_EQ(Sink("out.ts"), 0);
    ASSERT_EQ(tv_recorder_start(m_recorder), 0);
    WaitForEnd();
    EXPECT_TRUE(ReadFile(Path("out.ts")).empty()) << "a refused list programs nothing";
    ASSERT_EQ(::unlink(Path("source.ts").c_str()), 0);
    EXPECT_EQ(tv_recorder_start(m_recorder), kRecorderSourceFailed) << "after one that ended";
    EXPECT_EQ(tv_recorder_stop(m_recorder), kRecorderNotRunning);
    Create(Path("."));
    ASSERT_EQ(Sink("out.ts"), 0);
    EXPECT_EQ(tv_recorder_start(m_recorder), kRecorderSourceFailed) << "a folder";
}

TEST_F(RecorderTest, RefusesASinkThatIsTakenAndLeavesItAsItWas) {
    const TsBuilder stream = TsBuilder().Media(0x100, 30);
    stream.WriteTo(Path("in.ts.chan"));
    const FileDescriptor fifo = MakePipe("fifo.ts.chan", O_RDWR);
    fs::create_directory(Path("folder.ts.chan"));
    fs::create_symlink("nowhere", Path("link.ts"));

    const FileDescriptor pipe = CreateOnPipe();
    Record("out.ts");
    Feed(pipe, Packets(stream.data, 0, 20));
    WaitForFirstPacket();
    fs::create_hard_link(Path("out.ts"), Path("hard.ts"));
    fs::create_symlink("out.ts", Path("soft.ts"));

    void *second = CreateRecorder({Path("in.ts.chan"), 0});
    const std::pair<const char *, const char *> sinks[] = {
        {"out.ts", "another recorder"},       {"hard.ts", "another recorder"},
        {"soft.ts", "another recorder"},      {"in.ts.chan", "source of the recording"},
        {"in.ts", "source of the recording"}, {"fifo.ts", "not a regular file"},
        {"folder.ts", "not a regular file"},  {"link.ts", "No such file"},
        {"no/such/place", "No such file"},
    };
    for (const auto &[name, said] : sinks) {
        const bool isThere = fs::exists(Path(name));
        ASSERT_EQ(tv_recorder_set_property(second, 56, Path(name).c_str(), 0), 0);
        EXPECT_EQ(tv_recorder_start(second), kRecorderSinkFailed) << name;
        EXPECT_NE(RecorderFailure(second).find(said), std::string::npos) << RecorderFailure(second);
        EXPECT_EQ(fs::exists(Path(name)), isThere) << name;
    }
    DestroyRecorder(second);
    EXPECT_EQ(tv_recorder_stop(m_recorder), 0);
    EXPECT_EQ(ReadFile(Path("out.ts")), Packets(stream.data, 0, 20));
    EXPECT_EQ(ReadFile(Path("in.ts.chan")), stream.data);
    EXPECT_TRUE(fs::is_fifo(Path("fifo.ts.chan")));
}

TEST_F(RecorderTest, IsNotRefusedByAPlayerThatOnlyAsks) {
    CreateOn(TsBuilder().Pcr(0x100, 0));
    std::ofstream(Path("out.ts")) << "";
    ASSERT_EQ(Sink("out.ts"), 0);
    Recording asked;
    ASSERT_TRUE(asked.Open(Path("out.ts")));
    std::atomic<bool> isOver{false};
    std::thread asking([&] {
        for (int questions = 0; questions < 1000 || !isOver; ++questions)
            asked.IsBeingWritten();
    });
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(tv_recorder_start(m_recorder), 0) << RecorderFailure(m_recorder);
        tv_recorder_stop(m_recorder);
    }
    isOver = true;
    asking.join();
    EXPECT_FALSE(asked.IsBeingWritten());
}

TEST_F(RecorderTest, KeepsTheOpenFileWhateverHappensToItsName) {
    const std::string other = "/dev/shm/" +
                              fs::path(m_directory).parent_path().filename().string() +
                              std::to_string(::getpid());
    const std::string out = Path("out");
    const auto nothing = [] {};
    const auto remove = [&] { fs::remove(out); };
    const auto replace = [&] {
        std::ofstream(Path("new")) << "other";
        fs::rename(Path("new"), out);
    };
    const auto move = [&] { fs::rename(out, Path("moved")); };
    const struct {
        const char *what;
        std::function<void()> act;
        std::string swapTo;  ///< without a swap, the end reports where the recording is
        std::string kept;    ///< begin of the path
        std::string sideFileOf = kept;
        bool isReplaced = false;
    } rows[] = {
        {"swap", nothing, Path("swapped"), Path("swapped")},
        {"removed, swap", remove, Path("swapped"), Path("swapped")},
        {"replaced, swap", replace, Path("swapped"), Path("swapped"), Path("swapped"), true},
        {"moved, swap", move, Path("swapped"), Path("swapped")},
        {"other file system", nothing, other, other},
        {"removed", remove, "", out},
        {"replaced", replace, "", out + '-', out + '-', true},
        {"moved", move, "", Path("moved"), out},
    };
    const Bytes stream = Steps(10, 10, 1).data;
    TvChannelInfo channel{};
    channel.pcrPid = 0x100;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        for (const auto &entry : fs::directory_iterator(m_directory))
            fs::remove(entry.path());
        FileDescriptor pipe = CreateOnPipe();
        ASSERT_EQ(tv_recorder_set_property(m_recorder, 60, &channel, 0), 0);
        Record("out", 1);
        Feed(pipe, Packets(stream, 0, 10));
        WaitForFirstPacket();
        row.act();
        if (!row.swapTo.empty()) {
            ASSERT_EQ(Swap(row.swapTo), 0);
        }
        Feed(pipe, Packets(stream, 10, 20));
        pipe.Close();
        if (row.swapTo.empty())
            WaitForError(kRecorderErrorWrite);
        else
            WaitForEnd();
        EXPECT_EQ(tv_recorder_stop(m_recorder), row.swapTo.empty() ? kRecorderWriteFailed : 0);

        const std::string kept = FileThatBegins(row.kept);
        const std::string said = RecorderFailure(m_recorder);
        EXPECT_EQ(ReadFile(kept), stream) << kept;
        EXPECT_EQ(ts::ReadChannelLog(FileThatBegins(row.sideFileOf)).size(), 1U);
        EXPECT_EQ(ReadFile(out).size() == 5, row.isReplaced) << "whose file is not ours";
        EXPECT_TRUE(row.swapTo.empty() ? said.find(kept) != std::string::npos : said.empty())
            << said;
        fs::remove(other);
        fs::remove(ts::ChannelLogPath(other));
    }
}

TEST_F(RecorderTest, StopsWithEverythingThatWasRead) {
    const Bytes stream = Steps(20, 10).data;
    const Bytes first = Packets(stream, 0, 10);
    const FileDescriptor pipe = CreateOnPipe();
    Record("out.ts");
    Feed(pipe, first);
    WaitForFirstPacket();
    EXPECT_EQ(tv_recorder_stop(m_recorder), 0);
    Feed(pipe, first);
    EXPECT_EQ(ReadFile(Path("out.ts")), first) << "the last packet too, and none after it";
    EXPECT_EQ(tv_recorder_pause(m_recorder), kRecorderNotRunning);
    EXPECT_EQ(m_messages.size(), 1U) << "a stop is no end";

    ASSERT_EQ(tv_recorder_start(m_recorder), 0);  // takes what is still in the pipe
    WaitForFirstPacket();
    ASSERT_EQ(tv_stream_set_property(m_recorder, 1413, 150, 0), 0);
    Feed(pipe, Packets(stream, 10, 20));
    EXPECT_EQ(WaitForEnd(), 150);
}

TEST_F(RecorderTest, ReportsAFailedLastWrite) {
    CreateOn(TsBuilder().Pcr(0x100, 0).Pcr(0x100, kMs).Pcr(0x100, 400 * kMs), 0.01);
    Record("/dev/full");
    for (long long position = 0, duration = 0; position < 1; std::this_thread::yield())
        ASSERT_EQ(tv_recorder_get_position(m_recorder, &position, &duration), 0);
    EXPECT_EQ(tv_recorder_stop(m_recorder), kRecorderWriteFailed);
    WaitForError(kRecorderErrorNoSpace);
    EXPECT_NE(RecorderFailure(m_recorder).find("dev/full: No space left"), std::string::npos);
}

TEST_F(RecorderTest, GivesASlowReaderOneDeadlineAtAStop) {
    const TsBuilder stream = TsBuilder().Media(0x100, 5000);
    const int pauses[] = {0, 20};  // milliseconds of the reader, after each page
    for (const int pause : pauses) {
        const FileDescriptor reader = MakePipe("sink", O_RDONLY | O_NONBLOCK);
        CreateOn(stream);
        Record("sink");
        while (Unread(reader) < 60'000)
            std::this_thread::yield();

        std::atomic<bool> isStopped{false};
        Bytes received;
        std::thread slowly([&] {
            std::uint8_t page[4096];
            bool wasStopped = false;  // before the read, which then finds all there is
            for (ssize_t count = 1; count > 0 || !wasStopped;) {
                wasStopped = isStopped;
                count = ::read(reader.Get(), page, sizeof page);
                received.insert(received.end(), page, page + std::max<ssize_t>(count, 0));
                pollfd wait = {reader.Get(), POLLIN, 0};
                ::poll(pause > 0 && !isStopped ? nullptr : &wait, pause > 0 ? 0 : 1, pause);
            }
        });
        const int result = tv_recorder_stop(m_recorder);
        isStopped = true;
        slowly.join();
        EXPECT_EQ(result, pause == 0 ? kRecorderOk : kRecorderWriteFailed);
        EXPECT_EQ(received == stream.data, pause == 0);
    }
}

TEST_F(RecorderTest, AnswersASwapThatTheEndOvertakes) {
    CreateOn(TsBuilder().Media(0x100, 30));
    std::atomic<pid_t> swapper{0};
    std::thread swap;
    m_whileInCallback = [&] {  // the first packets of a source that is read to its end
        swap = std::thread([&] {
            swapper = ::gettid();
            EXPECT_EQ(Swap("recording"), kRecorderNotRunning);
        });
        // Until it waits for the answer.
        for (std::string status; status.find(") S") == std::string::npos; std::this_thread::yield())
            std::getline(std::ifstream("/proc/self/task/" + std::to_string(swapper) + "/stat"),
                         status);
    };
    Record("buffer", 1);
    WaitForEnd();
    swap.join();
    EXPECT_FALSE(fs::exists(Path("recording")));
}

TEST_F(RecorderTest, TakesNoProcessorTimeAndNoMemoryWhileIdle) {
    const FileDescriptor pipe = CreateOnPipe();
    const TvChannelInfo channel{};
    const std::size_t before = ::mallinfo2().uordblks;
    for (int i = 0; i < 20'000; ++i)
        ASSERT_EQ(tv_recorder_set_property(m_recorder, 60, &channel, 0), 0);
    EXPECT_LT(::mallinfo2().uordblks, before + (1 << 20));

    Record("silent.ts");
    void *silent = std::exchange(m_recorder, nullptr);
    CreateOn(TsBuilder().Pcr(0x100, 0).Pcr(0x100, 400 * kMs).Media(0x100), 1.0);
    const std::clock_t begin = std::clock();
    Record("out.ts");
    WaitForEnd();
    EXPECT_LT(std::clock() - begin, CLOCKS_PER_SEC / 5) << "of 0.4 s that both only waited";
    DestroyRecorder(silent);
}

TEST_F(RecorderTest, ReportsASourceWithoutPacketsAndLeavesNoEmptyRecording) {
    for (const std::size_t junk : {0U, 5000U}) {
        CreateOn(TsBuilder().Junk(junk));
        Record("out.ts");
        WaitForError(kRecorderErrorSource);
        EXPECT_EQ(tv_recorder_stop(m_recorder), kRecorderOk) << junk;
        const std::string failure = RecorderFailure(m_recorder);
        EXPECT_NE(failure.find("not a transport stream"), std::string::npos) << failure;
        EXPECT_FALSE(fs::exists(Path("out.ts"))) << junk;
    }
}

TEST_F(RecorderTest, EndsAtTheSetDurationOrWhenNoPcrCanCountIt) {
    const TsBuilder counted = Steps(50, 100, 3);
    const TsBuilder uncounted = TsBuilder().Media(0x100, 30'000, true);
    constexpr int kError = -1;
    const struct {
        const char *what;
        const TsBuilder &stream;
        int limitMs;
        int endMs;
        std::uint64_t packets;  ///< at an error: fewer
    } rows[] = {
        {"limit", counted, 950, 1000, 10 * 4 + 1},
        {"no PCR", uncounted, 0, 0, 30'000},
        {"limit, no PCR", uncounted, 1000, kError, 30'000},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        CreateOn(row.stream);
        ASSERT_EQ(tv_stream_set_property(m_recorder, 1413, row.limitMs, 0), 0);
        Record("a.srf");
        if (row.endMs == kError)
            WaitForError(kRecorderErrorSource);
        else
            EXPECT_EQ(WaitForEnd(), row.endMs);
        const RecordingReport report = GetRecordingReport(m_recorder);
        EXPECT_EQ(report.packets == row.packets, row.endMs != kError) << report.packets;
        EXPECT_EQ(ReadFile(Path("a.srf")),
                  Packets(row.stream.data, 0, static_cast<std::size_t>(report.packets)));
        EXPECT_EQ(report.units, row.endMs > 0 ? 0U : 1U);
        EXPECT_EQ(report.hasStreamTime, row.endMs > 0);
    }
}

TEST_F(RecorderTest, ChangesServiceAndNameWhilePaused) {
    // Both parts fit into a pipe's atomic write, so the recorder sees each as a whole.
    const Bytes first = Steps(10, 10, 1).Media(0x1FFF).data;
    const Bytes second = TsBuilder()
                             .Pcr(0x200, 900 * kMs)
                             .Media(0x100, 5)
                             .Pcr(0x200, 930 * kMs)
                             .Media(0x102, 3)
                             .data;
    FileDescriptor pipe = CreateOnPipe();
    Record("buffer", 1);
    EXPECT_EQ(tv_recorder_start(m_recorder), kRecorderAlreadyRunning);
    EXPECT_EQ(Sink("other"), kRecorderAlreadyRunning);
    Feed(pipe, first);
    WaitForFirstPacket();

    ASSERT_EQ(tv_recorder_pause(m_recorder), 0);
    EXPECT_EQ(tv_recorder_pause(m_recorder), kRecorderNotRunning);
    TvChannelInfo channel{};
    channel.programNum = 2;
    channel.pcrPid = 0x200;
    EXPECT_EQ(tv_recorder_set_property(m_recorder, 28, 0x100, 0), 0);
    EXPECT_EQ(tv_recorder_set_property(m_recorder, 60, &channel, 0), 0);
    Feed(pipe, second);
    for (int i = 0; i < 20; ++i)  // each answered by the recorder's thread, which must not read on
        ASSERT_EQ(Swap("recording/"), kRecorderWriteFailed);
    std::ofstream(Path("precious")) << "kept";
    EXPECT_EQ(Swap("precious"), kRecorderFileExists);
    ASSERT_EQ(Swap("recording"), 0);
    EXPECT_EQ(Swap("again"), kRecorderNotTimeshift);
    EXPECT_EQ(Unread(pipe), static_cast<int>(second.size()));

    ASSERT_EQ(tv_recorder_resume(m_recorder), 0);
    EXPECT_EQ(tv_recorder_resume(m_recorder), kRecorderNotRunning);
    pipe.Close();
    EXPECT_EQ(WaitForEnd(), 90 + 30);
    const Bytes before = Packets(first, 0, 20);
    EXPECT_EQ(ReadFile(Path("recording")), before + Only(second, {0x200}));
    const auto stretches = ts::ReadChannelLog(Path("recording"));
    ASSERT_EQ(stretches.size(), 1U);
    EXPECT_EQ(stretches[0].offset, before.size());
    EXPECT_EQ(stretches[0].timeMs, 90);
    EXPECT_EQ(stretches[0].info.programNum, 2);
    EXPECT_EQ(ReadFile(Path("precious")).size(), 4U);
    for (const char *gone : {"buffer", "buffer.chan", "again", "precious.chan"})
        EXPECT_FALSE(fs::exists(Path(gone))) << gone;
}

TEST_F(RecorderTest, RecordsOnWithoutALossWhereTheServiceChangesItsStreams) {
    const std::set<int> before = {0, 0x1000, 0x101, 0x102};
    const std::set<int> after = {0, 0x1000, 0x101, 0x112};
    TsBuilder stream;
    stream.Pat({{1, 0x1000}}).Pmt(0x1000, 1, 0x101, {{0x1B, 0x101}, {0x0F, 0x102}});
    stream.Pcr(0x101, 0).Media(0x102, 3).Media(0x112).Pcr(0x101, 100 * kMs);
    stream.Pmt(0x1000, 1, 0x101, {{0x1B, 0x101}, {0x0F, 0x112}}, 0xC3);
    const std::size_t border = stream.data.size() / 188;
    stream.Media(0x112).Pcr(0x101, 110 * kMs).Media(0x102).Media(0x112, 3);
    stream.Pat({{2, 0x1001}}).Pcr(0x101, 120 * kMs).Media(0x112);
    const Bytes &data = stream.data;
    const Bytes unchanged = Only(Packets(data, 0, border), before);
    const Bytes changed = Only(Packets(data, border, data.size() / 188), after);

    Service known;
    known.id = 1;
    known.pmtPid = 0x1000;
    known.pcrPid = 0x101;
    for (const bool isPipe : {false, true}) {  // whose answers come from another thread
        SCOPED_TRACE(isPipe ? "pipe" : "file");
        FileDescriptor pipe;
        if (isPipe)
            pipe = CreateOnPipe();
        else
            CreateOn(stream);
        const auto program = [&](int audio) {
            TvChannelInfo info{};
            info.pcrPid = 0x101;
            for (const int pid : before)
                EXPECT_EQ(tv_recorder_set_property(m_recorder, 28, pid, 0), 0);
            EXPECT_EQ(tv_recorder_set_property(m_recorder, 60, &info, 29, 0x101, 25, 0x101, 24,
                                               audio, 49, 0, 49, 0x1000, 0),
                      0);
        };
        std::vector<ServiceChange> changes;
        std::vector<std::thread> threads;
        const auto follow = [&](const ServiceChange &change) {
            changes.push_back(change);
            if (changes.size() == 2)
                program(change.service.streams.back().pid);
            ContinueRecording(m_recorder);
        };
        SetServiceObserver(m_recorder, known, [&](const ServiceChange &change) {
            EXPECT_EQ(tv_recorder_stop(m_recorder), kRecorderInsideCallback);
            if (isPipe)
                threads.emplace_back(follow, change);
            else
                follow(change);
        });
        ASSERT_EQ(Sink("out.ts"), 0);
        program(0x102);
        ASSERT_EQ(tv_recorder_start(m_recorder), 0);
        if (isPipe) {
            Feed(pipe, data);
            pipe.Close();
        }
        EXPECT_EQ(WaitForEnd(), 120);
        for (std::thread &thread : threads)
            thread.join();
        EXPECT_EQ(ReadFile(Path("out.ts")), unchanged + changed);
        const auto stretches = ts::ReadChannelLog(Path("out.ts"));
        ASSERT_EQ(changes.size(), 3U);
        ASSERT_EQ(stretches.size(), 2U);
        EXPECT_EQ(stretches[1].offset, unchanged.size());
        EXPECT_EQ(stretches[1].timeMs, 100);
        EXPECT_EQ(changes[1].timeMs, 100);
        EXPECT_TRUE(changes[1].isListed && !changes[2].isListed);
    }
}

TEST_F(RecorderTest, StopsAndSwapsWhileItWaitsForAProgram) {
    TsBuilder stream;
    stream.Pmt(0x1000, 1, 0x100, {{0x1B, 0x100}}).Pcr(0x100, 0).Pmt(0x1000, 1, 0x100, {}, 0xC3);
    Service known;
    known.id = 1;
    known.pmtPid = 0x1000;
    CreateOn(stream.Pcr(0x100, 10 * kMs));
    int told = 0;
    SetServiceObserver(m_recorder, known, [&](const ServiceChange &) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_arrived.notify_all();
        if (++told == 2)
            throw std::bad_alloc();  // was not told, so it cannot let the recorder continue
    });
    for (const bool continues : {false, true}) {
        const char *const swapped = continues ? "second" : "first";
        told = 0;
        ASSERT_EQ(tv_recorder_set_property(m_recorder, 49, 0x1000, 0), 0);
        Record("buffer", 1);
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            ASSERT_TRUE(m_arrived.wait_for(lock, std::chrono::seconds(30), [&] { return told; }));
        }
        EXPECT_EQ(Swap(swapped), 0);
        EXPECT_EQ(tv_recorder_pause(m_recorder), 0);
        EXPECT_EQ(tv_recorder_resume(m_recorder), 0);
        if (continues) {
            ContinueRecording(m_recorder);
            WaitForEnd();
        }
        EXPECT_EQ(tv_recorder_stop(m_recorder), 0);
        EXPECT_EQ(told, continues ? 2 : 1);
        EXPECT_EQ(ReadFile(Path(swapped)), stream.data);
    }
}

TEST_F(RecorderTest, WritesIntoAPipeAsLongAsSomebodyReads) {
    FileDescriptor reader = MakePipe("sink", O_RDONLY | O_NONBLOCK);
    const FileDescriptor source = CreateOnPipe();
    Record("sink");
    reader.Close();
    Feed(source, TsBuilder().Media(0x100, 100).data);
    WaitForError(kRecorderErrorWrite);
    EXPECT_EQ(tv_recorder_stop(m_recorder), kRecorderWriteFailed);
    EXPECT_EQ(tv_recorder_start(m_recorder), kRecorderSinkFailed) << "nobody reads";
}

TEST_F(RecorderTest, PacesByThePcrAndLosesNothingAtAStop) {
    TsBuilder stream;
    for (int i = 0; i < 20; ++i)
        stream.Pcr(0x100, i * 100 * kMs).Media(0x101);
    stream.WriteTo(Path("source.ts"));
    StreamSelection selection;
    selection.Apply({{29, 0x100}, {24, 0x101}});
    RecordingSession session(2.0, nullptr);
    ASSERT_EQ(session.Open(Path("source.ts"), Path("out.ts")), kRecorderOk);
    session.Select(selection);

    const RecordingSession::Clock::time_point start{};
    const auto advanceTo = [&](milliseconds now) {
        auto next = session.Advance(start + now);
        while (next == RecordingSession::Next::More)
            next = session.Advance(start + now);
        return next;
    };
    EXPECT_EQ(advanceTo(milliseconds(0)), RecordingSession::Next::AtTime);
    EXPECT_EQ(session.WakeTime() - start, milliseconds(50));
    EXPECT_EQ(session.Size(), 0U) << "not worth a write yet";
    EXPECT_EQ(advanceTo(milliseconds(255)), RecordingSession::Next::AtTime);
    EXPECT_EQ(session.WakeTime() - start, milliseconds(300));
    EXPECT_EQ(session.PositionMs(), 500);
    EXPECT_EQ(session.Size(), 12U * 188) << "half a second is worth one";

    TvChannelInfo info{};
    session.RestartPacing();  // as after a pause
    EXPECT_EQ(advanceTo(milliseconds(10'000)), RecordingSession::Next::AtTime);
    EXPECT_EQ(session.WakeTime() - start, milliseconds(10'050));
    ASSERT_TRUE(session.AddStretch(info));
    EXPECT_EQ(ts::ReadChannelLog(Path("out.ts")).at(0).offset, 14U * 188);
    EXPECT_EQ(advanceTo(milliseconds(10'050)), RecordingSession::Next::AtTime);
    EXPECT_TRUE(session.Finish());
    EXPECT_EQ(ReadFile(Path("out.ts")), Packets(stream.data, 0, 16));

    RecordingSession unpaced(0, nullptr);
    ASSERT_EQ(unpaced.Open(Path("source.ts"), Path("out.ts")), kRecorderOk);
    unpaced.Select(selection);
    EXPECT_EQ(unpaced.Advance(start), RecordingSession::Next::More);
    EXPECT_TRUE(unpaced.Finish());
    EXPECT_EQ(ReadFile(Path("out.ts")), stream.data);
}

TEST(Platform, LogsWholeLinesFromAnyThread) {
    const std::string path = TemporaryFolder() + "platform.log";
    fs::remove(path);
    EXPECT_FALSE(SetLogFile("/no/such/place"));
    ASSERT_TRUE(SetLogFile(path));
    SetLogMinimumPriority(4);
    std::atomic<int> heard{0};
    SetLogListener([&](std::string_view line) { heard += line.back() == '\n' ? 1 : 0; });
    const auto text = [](int line) {
        return std::string(static_cast<std::size_t>(450 + line), 'x') + ' ' + std::to_string(line);
    };
    std::thread threads[4];
    for (std::thread &thread : threads)
        thread = std::thread([&] {
            for (int line = 0; line < 50; ++line) {
                __dlog_print(DLOG_ID_MAIN, 16, "TAG", "%s\n", text(line).c_str());
                __dlog_print(DLOG_ID_MAIN, 2, "TAG", "dropped");
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    SetLogListener(nullptr);
    EXPECT_EQ(__dlog_print(DLOG_ID_MAIN, 2, "TAG", "neither written nor heard"), 0);
    EXPECT_EQ(heard, 2 * 200) << "those that are not written as well";
    SetLogMinimumPriority(0);
    ASSERT_TRUE(SetLogFile(""));

    std::ifstream file(path);
    int count = 0;
    for (std::string line; std::getline(file, line); ++count) {
        const int number = std::stoi(line.substr(line.rfind(' ')));
        EXPECT_EQ(line.substr(std::strlen("2000-01-01 00:00:00.000")), " 16 TAG " + text(number));
    }
    EXPECT_EQ(count, 200);
}

TEST(Platform, LooksForNoPlugInOfGStreamerAndLeavesTheEnvironmentAlone) {
    const char *const variable = "GST_REGISTRY_DISABLE";
    const bool wasSet = std::getenv(variable) != nullptr;
    DestroyRecorder(CreateRecorder({"source.ts", 0}));
    EXPECT_EQ(gst_element_factory_find("fakesink"), nullptr) << "one that comes with GStreamer";
    EXPECT_EQ(std::getenv(variable) != nullptr, wasSet);
}

TEST(Platform, DeliversEventsToWhoeverSubscribed) {
    std::uint8_t record[16] = {1, 2, 3};
    const MOXHandle handle{PROFILE_TYPE_RECORD, 7};
    auto *manager = TIEventManager::Instance();
    EXPECT_EQ(manager->Send(31, record, 0), 0) << "nobody there";

    const int thrower = Subscribe([](const Event &) { throw std::bad_alloc(); });
    EXPECT_EQ(manager->Send(31, record, 0), 0) << "nobody took it";
    std::vector<Event> events;
    int second = 0;
    const int first = Subscribe([&](const Event &event) {
        events.push_back(event);
        Unsubscribe(second);
    });
    second = Subscribe([](const Event &) { FAIL() << "unsubscribed before its turn"; });
    EXPECT_NE(manager->Send(31, &handle, record, 0), 0);
    record[0] = 9;
    EXPECT_NE(manager->Send(32, record, 0), 0);
    Unsubscribe(thrower);
    Unsubscribe(first);
    EXPECT_EQ(manager->Send(33, record, 0), 0);

    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].number, 31);
    EXPECT_TRUE(events[0].handle == handle);
    EXPECT_EQ(events[0].record[0], 1);
    EXPECT_FALSE(events[1].handle.has_value());
}

}  // namespace
