// The built mox-pvr from its command line to its files, on the sample stream.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <utility>

#include "desktop/TsBuilder.h"
#include "Failure.h"
#include "system/WriterLock.h"
#include "TemporaryFolder.h"
#include "verbs/OutputFile.h"
#include "verbs/PacketFile.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

struct Outcome {
    int exitCode = -1;
    std::string output;  ///< standard output and error together
};

using Packet = std::array<std::uint8_t, 188>;

int PidOf(const Packet &packet) {
    return (packet[1] & 0x1F) << 8 | packet[2];
}

/// In a folder of its own, where the tool and the sample are, too.
class MoxPvr : public testing::Test {
  protected:
    void SetUp() override {
        fs::create_directory(TemporaryFolder() + "files");
        fs::current_path(TemporaryFolder() + "files");
        fs::create_symlink(MOXPVR_TOOL_FILE, "mox-pvr");
        fs::create_symlink(MOXPVR_SAMPLE_FILE, MOXPVR_SAMPLE);
    }
    void TearDown() override {
        fs::current_path(TemporaryFolder());
        fs::remove_all("files");
    }

    /// @return number of files besides the tool and the sample
    static std::ptrdiff_t FileCount() { return std::distance(fs::directory_iterator("."), {}) - 2; }
    static void Write(const std::string &name, const std::string &text) {
        std::ofstream(name) << text;
    }

    static Outcome Run(const std::string &arguments) {
        return Execute(MOXPVR_TOOL " " + arguments);
    }

    /// @param onLine  told of every line as it comes
    static Outcome Execute(const std::string &command,
                           const std::function<void(const std::string &)> &onLine = {}) {
        Outcome outcome;
        FILE *pipe = popen((command + " 2>&1").c_str(), "r");
        char buffer[4096];
        while (pipe != nullptr && std::fgets(buffer, sizeof buffer, pipe) != nullptr) {
            outcome.output += buffer;
            if (onLine)
                onLine(buffer);
        }
        const int status = pclose(pipe);
        outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return outcome;
    }

    static Outcome Record(const std::string &arguments) {
        return Run("record " MOXPVR_SAMPLE " --speed max --service 1 --out " + arguments);
    }

    /// Copies the packets that `isKept`, which may change them, with bytes around each.
    static void Copy(const std::string &from, const std::string &to,
                     const std::function<bool(Packet &, std::size_t)> &isKept,
                     std::size_t before = 0, std::size_t after = 0) {
        std::ifstream source(from, std::ios::binary);
        std::ofstream copy(to, std::ios::binary);
        Packet packet;
        for (std::size_t i = 0; source.read(reinterpret_cast<char *>(packet.data()), 188); ++i) {
            if (!isKept(packet, i))
                continue;
            copy << std::string(before, static_cast<char>(i));
            copy.write(reinterpret_cast<const char *>(packet.data()), 188);
            copy << std::string(after, static_cast<char>(i));
        }
    }

    /// A recording from beginning to end of the source: all packets of its PIDs, in order.
    static void ExpectWhole(const std::string &path, const std::set<std::uint16_t> &pids,
                            const std::string &source = MOXPVR_SAMPLE) {
        EXPECT_EQ(PidsIn(path), pids);
        EXPECT_EQ(DifferenceFromSource(path, source), "");
        Copy(source, "expected", [&](const Packet &packet, std::size_t) {
            return pids.count(static_cast<std::uint16_t>(PidOf(packet))) != 0;
        });
        EXPECT_EQ(fs::file_size(path), fs::file_size("expected"));
        fs::remove("expected");
    }

    static void ExpectSaid(const Outcome &run, int exitCode, const std::string &said) {
        EXPECT_EQ(run.exitCode, exitCode) << run.output;
        EXPECT_NE(run.output.find(said), std::string::npos) << said << '\n' << run.output;
    }
};

const std::set<std::uint16_t> kFirstService = {0, 0x1000, 0x101, 0x102, 0x103};

TEST_F(MoxPvr, RecordsExactlyThePacketsOfAService) {
    ASSERT_EQ(Record("a.srf").exitCode, 0);
    ExpectWhole("a.srf", kFirstService);
    EXPECT_EQ(fs::file_size("a.inf"), 10645U);
}

TEST_F(MoxPvr, SwapsATimeshiftBufferWithoutLosingOrDoublingAPacket) {
    for (const char *earlier : {"kept.srf", "kept.srf.chan", "kept.inf"})
        Write(earlier, "earlier");
    const Outcome run = Run("record " MOXPVR_SAMPLE
                            " --speed 20 --service 1 --timeshift --out t.tsb --force"
                            " --swap-after 5 --swap-to kept.srf");
    ASSERT_EQ(run.exitCode, 0) << run.output;
    ExpectWhole("kept.srf", kFirstService);
    EXPECT_EQ(fs::file_size("kept.inf"), 10645U);
    EXPECT_EQ(FileCount(), 3) << "besides recording, side file and information file";
}

TEST_F(MoxPvr, SwapsOntoNothingThatAppearedMeanwhile) {
    const struct {
        const char *name, *force, *said;
    } rows[] = {{"kept.inf", "", "kept.inf: it exists"},
                {"kept.srf", " --force", "another recorder is writing it"}};
    for (const auto &row : rows) {
        int lock = -1;
        const Outcome run =
            Execute(MOXPVR_TOOL " record " MOXPVR_SAMPLE
                                " --speed 20 --service 1 --timeshift --out t.tsb --swap-after 5"
                                " --swap-to kept.srf" +
                        std::string(row.force),
                    [&](const std::string &line) {
                        if (line.find("first packets") == std::string::npos)
                            return;
                        Write(row.name, "letter");
                        lock = open(row.name, O_RDWR | O_CLOEXEC);
                        tvdesktop::TakeWriterLock(lock);
                    });
        close(lock);
        ExpectSaid(run, 1, row.said);
        ExpectSaid(run, 1, "still in t.tsb");
        EXPECT_EQ(fs::file_size(row.name), 6U) << row.name;
        for (const char *made : {"t.tsb", "t.tsb.chan", "t.inf"})
            fs::remove(made);
    }
}

TEST_F(MoxPvr, BringsAnEarlierRecordingBackUnlessItIsReplaced) {
    for (const bool isReplaced : {false, true}) {
        for (const char *earlierFile : {"a.srf", "a.srf.chan", "a.inf"})
            Write(earlierFile, "earlier");
        {
            SetAside earlier;
            earlier.Take("a.srf");
            EXPECT_EQ(FileCount(), 3);
            EXPECT_FALSE(fs::exists("a.srf") || fs::exists("a.inf"));
            if (isReplaced)
                earlier.Remove();
        }
        EXPECT_EQ(fs::exists("a.srf") && fs::exists("a.srf.chan"), !isReplaced);
        EXPECT_EQ(FileCount(), isReplaced ? 0 : 3);
    }
}

TEST_F(MoxPvr, TakesTwoStopSignalsInARowForOne) {
    pid_t tool = 0;
    const Outcome run =
        Execute("echo $$; exec " MOXPVR_TOOL " record " MOXPVR_SAMPLE " --service 1 --out a.srf",
                [&](const std::string &line) {
                    tool = tool == 0 ? std::stoi(line) : tool;
                    if (line.find("first packets") == std::string::npos)
                        return;
                    for (const int signal : {SIGTERM, SIGTERM, SIGINT})
                        EXPECT_EQ(::kill(tool, signal), 0);
                });
    ExpectSaid(run, 0, "\nrecorded 00:");
}

/// Every line of refusals.txt, whose beginning tells which files there are.
TEST_F(MoxPvr, EndsWithOneClearMessageWhenItCannotDoIt) {
    ASSERT_EQ(Record("short.srf --seconds 1").exitCode, 0);
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    Write("old.srf", "precious");
    Write("own.srf.chan", "precious");
    Write("no.ts", std::string(100'000, 'x'));
    Write("no.log", "MoxPvrRecord.cpp: CtrlRecorder(1) > [PVR][MOX]inSize[8] inData[09000000]\n");
    Write("cut.log", "MoxPvrRecord.cpp: CtrlRecorder(1) > [PVR]");
    Write("log.gz", "\x1f\x8b and more");
    Write("log.utf16", std::string("\xff\xfeM\0o\0x\0", 8));
    fs::create_directory("d.srf.chan");
    fs::copy_file(MOXPVR_SAMPLE, "in.srf");
    fs::create_hard_link("in.srf", "x.srf.chan");
    fs::create_hard_link("in.srf", "y.inf");
    std::ifstream rows(REFUSALS);
    for (std::string row; std::getline(rows, row);) {
        const std::size_t arrow = row.find(" -> ");
        if (row[0] == '#')
            continue;
        SCOPED_TRACE(row);
        const Outcome run = Run(row.substr(2, arrow - 2));
        ExpectSaid(run, row[0] - '0', row.substr(arrow + 4));
        ExpectSaid(run, row[0] - '0', "mox-pvr: ");
    }
    std::ostringstream page;
    page << std::ifstream("page.html").rdbuf();
    EXPECT_NE(page.str().find("The run failed: no.ts is not a transport"), std::string::npos);
    for (const char *precious : {"old.srf", "own.srf.chan"})
        EXPECT_EQ(fs::file_size(precious), 8U) << "a refused recording was touched";
    EXPECT_EQ(fs::hard_link_count("in.srf"), 3U) << "a name of the input was taken";
    EXPECT_EQ(fs::file_size("in.srf"), fs::file_size(MOXPVR_SAMPLE));
    for (const char *verb :
         {"--help", "services " MOXPVR_SAMPLE, "play --clock 50 short.srf", "repair short.srf"})
        EXPECT_EQ(Execute(MOXPVR_TOOL " " + std::string(verb) + " >/dev/full").exitCode, 1) << verb;
}

TEST_F(MoxPvr, RecordsWholePacketsOfAnyLayoutAndSaysWhatIsMissing) {
    using Which = bool (*)(const Packet &, std::size_t);
    const Which none = [](const Packet &, std::size_t) { return false; };
    const Which all = [](const Packet &, std::size_t) { return true; };
    const Which one = [](const Packet &, std::size_t i) { return i == 700; };
    const Which media = [](const Packet &packet, std::size_t) {
        return PidOf(packet) < 0x1000 && packet[2] != 0;
    };
    const struct {
        const char *what;
        std::size_t before, after;  ///< bytes around each packet
        Which which;                ///< packets that are changed
        std::size_t at;
        int kept, set;  ///< bits of that byte
        int exitCode;
        const char *said;
    } rows[] = {
        {"192 bytes", 4, 0, none, 0, 0, 0, 0, "recorded 00:29.9"},
        {"204 bytes", 0, 16, none, 0, 0, 0, 0, "recorded 00:29.9"},
        {"damaged", 0, 0, one, 1, 0xFF, 0x80, 0,
         "left out 1 packet of the source with a transport error"},
        {"without sync", 0, 0, one, 0, 0, 0, 0, "left out about 1 packet of the source"},
        {"scrambled", 0, 0, media, 3, 0xFF, 0x80, 1, "the service is scrambled"},
        {"without PCR", 0, 0, all, 5, 0xEF, 0, 1, "no PCR"},
        {"tables only", 0, 0, media, 2, 0, 9, 1, "none came on the PIDs"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        const auto change = [&](Packet &packet, std::size_t i) {
            if (row.which(packet, i))
                packet[row.at] = static_cast<std::uint8_t>((packet[row.at] & row.kept) | row.set);
            return true;
        };
        Copy(MOXPVR_SAMPLE, "changed.ts", change, row.before, row.after);
        const bool isKept = row.what == std::string("tables only");
        const std::uintmax_t earlier = isKept ? fs::file_size("changed.srf") : 0;
        ExpectSaid(Run("record changed.ts --speed max --force --service 1 --out changed.srf"),
                   row.exitCode, row.said);
        EXPECT_EQ(isKept, earlier == fs::file_size("changed.srf"));
        EXPECT_EQ(FileCount(), 4);
        if (row.before + row.after > 0)
            ExpectWhole("changed.srf", kFirstService);
    }
}

/// The sample, whose first service moves its audio to another PID at the middle.
TEST_F(MoxPvr, FollowsAServiceThatMovesItsAudioToAnotherPid) {
    const Bytes pmt =
        TsBuilder()
            .Pmt(0x1000, 1, 0x101,
                 {{0x1B, 0x101}, {3, 0x112}, {3, 0x103, {10, 4, 'e', 'n', 'g', 3}}}, 0xC3)
            .data;
    const std::uintmax_t middle = fs::file_size(MOXPVR_SAMPLE) / 188 / 2;
    bool isChanged = false;
    Copy(MOXPVR_SAMPLE, "changed.ts", [&](Packet &packet, std::size_t i) {
        isChanged = isChanged || (i > middle && PidOf(packet) == 0x1000);
        if (isChanged && PidOf(packet) == 0x1000)
            std::copy(pmt.begin() + 4, pmt.end(), packet.begin() + 4);
        if (isChanged && PidOf(packet) == 0x102)
            packet[2] = 0x12;
        return true;
    });
    std::set<std::uint16_t> pids = kFirstService;
    pids.insert(0x112);
    for (const std::string speed : {"max", "20"}) {
        ExpectSaid(Run("record changed.ts --service 1 --force --out a.srf --speed " + speed), 0,
                   "changed its streams at 00:14.9: audio 0x102 -> 0x112\n");
        ExpectWhole("a.srf", pids, "changed.ts");
    }
    ExpectSaid(Run("play --clock 50 a.srf"), 0, "audio 0x112");
    EXPECT_EQ(Run("repair a.srf").output.find("ebuilt"), std::string::npos);
    EXPECT_EQ(Run("services a.srf").exitCode, 0);
}

TEST_F(MoxPvr, PlaysToTheEndAndSaysWhenThereIsNothingToSee) {
    ASSERT_EQ(Record("a.srf --seconds 4").exitCode, 0);
    ExpectSaid(Run("play --clock 50 a.srf"), 0, "picture and sound");
    ExpectSaid(Run("play --clock 50 --video-pid 0x777 a.srf"), 1, "no picture on video PID 0x777");
    Copy("a.srf", "bare.srf",  // without tables
         [](const Packet &packet, std::size_t) { return PidOf(packet) >> 8 == 1; });
    EXPECT_EQ(Run("play --clock 50 bare.srf").exitCode, 1) << "nothing describes it";
    fs::copy_file("a.srf.chan", "bare.srf.chan");
    ExpectSaid(Run("play --clock 50 bare.srf"), 0, "picture and sound  service 1");
}

TEST_F(MoxPvr, FollowsABufferAsLongAsItsRecorderHoldsIt) {
    ASSERT_EQ(Record("a.srf --seconds 8").exitCode, 0);
    std::ifstream whole("a.srf", std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(whole), {});
    fs::copy_file("a.srf.chan", "b.tsb.chan");
    std::ofstream buffer("b.tsb", std::ios::binary);
    int lock = open("b.tsb", O_RDWR | O_CLOEXEC);
    ASSERT_TRUE(tvdesktop::TakeWriterLock(lock));
    int ends = 0;
    const auto grow = [&](std::size_t from, std::size_t to) {
        buffer.write(&bytes[from], static_cast<std::streamsize>(to - from)).flush();
    };
    const Outcome run =
        Execute(MOXPVR_TOOL " --show-requests play --timeshift --clock 50 b.tsb",
                [&](const std::string &line) {
                    if (line.find("result 207") != std::string::npos && ends == 0)
                        grow(0, bytes.size() / 3);  // it was empty at first
                    if (line.find("(end of the recording)") != std::string::npos && ++ends == 1)
                        grow(bytes.size() / 3, bytes.size());
                    if (ends == 2 && lock >= 0)
                        close(std::exchange(lock, -1));
                });
    EXPECT_EQ(run.exitCode, 0) << run.output;
    EXPECT_EQ(ends, 2) << run.output;
}

TEST_F(MoxPvr, UsesEscapesOnlyOnTerminalsThatUnderstandThem) {
    ASSERT_EQ(Record("a.srf --seconds 1").exitCode, 0);
    const struct {
        const char *environment;
        bool hasColour, hasStatusLine;
    } rows[] = {{"TERM=xterm NO_COLOR=", true, true},
                {"TERM=xterm NO_COLOR=1", false, true},
                {"TERM=dumb NO_COLOR=", false, false},
                {"TERM= NO_COLOR=", false, false}};
    for (const auto &row : rows) {
        const Outcome run =
            Execute(std::string("env ") + row.environment +
                    " script -qec '" MOXPVR_TOOL " services " MOXPVR_SAMPLE "; " MOXPVR_TOOL
                    " play --clock 50 a.srf' /dev/null </dev/null");
        ExpectSaid(run, 0, "playing 1x  picture and sound");
        EXPECT_EQ(run.output.find("\033[1m") != std::string::npos, row.hasColour) << run.output;
        EXPECT_EQ(run.output.find("\033[K") != std::string::npos, row.hasStatusLine) << run.output;
        EXPECT_EQ(run.output.find('\033') != std::string::npos, row.hasStatusLine) << run.output;
    }
}

TEST_F(MoxPvr, DemoMeetsEveryExpectation) {
    const Outcome run = Run("demo --input " MOXPVR_SAMPLE);
    EXPECT_EQ(run.exitCode, 0) << run.output;
}

TEST_F(MoxPvr, ReplaysALogWhosePathsHaveNoRoomHere) {
    std::string request = "030000002f";
    for (int i = 0; i < 240; ++i)
        request += "78";
    request += "2e737266";
    std::ofstream("long.log")
        << "MoxPvrRecord.cpp: CtrlRecorder(7) > [PVR][MOX]CtrlRecorder | inSize[" << request.size()
        << "] inData[" << request << "]\n"
        << "MoxPvrRecord.cpp: CtrlRecorder(7) > [PVR][MOX]CtrlRecorder | inSize[8] "
           "inData[09000000]\n"
           "MoxPvrRecord.cpp: CtrlRecorder(7) > [PVR][MOX]CtrlRecorder | cmd [9]\n"
           "MoxPvrRecord.cpp: Stop(7) > [PVR][MOX]Stop | this func is ended, result [99]\n";
    ExpectSaid(Run("replay --input " MOXPVR_SAMPLE " long.log"), 0,
               "2 sent, 0 not sent, 1 with another result");
}

}  // namespace
}  // namespace tool
