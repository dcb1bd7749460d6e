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

class MoxPvr : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        fs::current_path(TemporaryFolder());
        fs::create_symlink(MOXPVR_TOOL_FILE, "mox-pvr");
        fs::create_symlink(MOXPVR_SAMPLE_FILE, MOXPVR_SAMPLE);
    }
    static void TearDownTestSuite() {
        fs::remove("mox-pvr");
        fs::remove(MOXPVR_SAMPLE);
    }

    void SetUp() override {
        m_directory = TemporaryFolder() + "files";
        fs::create_directory(m_directory);
        std::ofstream(In("no.ts")) << std::string(100'000, 'x');
    }
    void TearDown() override { fs::remove_all(m_directory); }

    std::string In(const std::string &name) const { return m_directory + "/" + name; }

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

    Outcome Record(const std::string &arguments) const {
        return Run("record " MOXPVR_SAMPLE " --speed max " + arguments);
    }

    /// Packets of some PIDs in a file, to be compared with a recording's size.
    static std::uintmax_t BytesOf(const std::string &path, const std::set<std::uint16_t> &pids) {
        std::ifstream file(path, std::ios::binary);
        std::uintmax_t bytes = 0;
        unsigned char packet[188];
        while (file.read(reinterpret_cast<char *>(packet), sizeof packet))
            bytes += sizeof packet *
                     pids.count(static_cast<std::uint16_t>((packet[1] & 0x1F) << 8 | packet[2]));
        return bytes;
    }

    /// A recording from beginning to end of the source: all packets of its PIDs, in order.
    static void ExpectWhole(const std::string &path, const std::set<std::uint16_t> &pids) {
        EXPECT_EQ(PidsIn(path), pids);
        EXPECT_EQ(DifferenceFromSource(path, MOXPVR_SAMPLE), "");
        EXPECT_EQ(fs::file_size(path), BytesOf(MOXPVR_SAMPLE, pids));
    }

    std::string m_directory;
};

const std::set<std::uint16_t> kFirstService = {0, 0x1000, 0x101, 0x102, 0x103};

TEST_F(MoxPvr, RecordsExactlyThePacketsOfAService) {
    ASSERT_EQ(Record("--service 1 --out " + In("a.srf")).exitCode, 0);
    ExpectWhole(In("a.srf"), kFirstService);
    EXPECT_EQ(fs::file_size(In("a.inf")), 10645U);
}

TEST_F(MoxPvr, SwapsATimeshiftBufferWithoutLosingOrDoublingAPacket) {
    for (const char *earlier : {"kept.srf", "kept.srf.chan", "kept.inf"})
        std::ofstream(In(earlier)) << "earlier";
    const Outcome run = Run("record " MOXPVR_SAMPLE " --speed 20 --service 1 --timeshift --out " +
                            In("t.tsb") + " --force --swap-after 5 --swap-to " + In("kept.srf"));
    ASSERT_EQ(run.exitCode, 0) << run.output;
    ExpectWhole(In("kept.srf"), kFirstService);
    EXPECT_EQ(fs::file_size(In("kept.inf")), 10645U);
    EXPECT_EQ(std::distance(fs::directory_iterator(m_directory), {}), 4)
        << "something was left beside recording, side file, information file and no.ts";
    EXPECT_FALSE(fs::exists(In("t.inf"))) << "the information file of a buffer that is gone";
}

TEST_F(MoxPvr, SwapsOntoNothingThatAppearedMeanwhile) {
    const struct {
        const char *name, *force, *said;
    } rows[] = {{"kept.inf", "", "kept.inf: it exists"},
                {"kept.srf", "--force", "another recorder is writing it"}};
    for (const auto &row : rows) {
        int lock = -1;
        const Outcome run = Execute(
            MOXPVR_TOOL " record " MOXPVR_SAMPLE " --speed 20 --service 1 --timeshift --out " +
                In("t.tsb") + " --swap-after 5 --swap-to " + In("kept.srf ") + row.force,
            [&](const std::string &line) {
                if (line.find("first packets") == std::string::npos)
                    return;
                std::ofstream(In(row.name)) << "letter";
                lock = open(In(row.name).c_str(), O_RDWR | O_CLOEXEC);
                tvdesktop::TakeWriterLock(lock);
            });
        close(lock);
        EXPECT_EQ(run.exitCode, 1) << run.output;
        EXPECT_NE(run.output.find(row.said), std::string::npos) << run.output;
        EXPECT_NE(run.output.find("still in " + In("t.tsb")), std::string::npos) << run.output;
        EXPECT_EQ(fs::file_size(In(row.name)), 6U) << row.name;
        for (const char *made : {"t.tsb", "t.tsb.chan", "t.inf"})
            fs::remove(In(made));
    }
}

TEST_F(MoxPvr, BringsAnEarlierRecordingBackUnlessItIsReplaced) {
    for (const bool isReplaced : {false, true}) {
        std::ofstream(In("a.srf")) << "earlier";
        std::ofstream(In("a.srf.chan")) << "earlier";
        std::ofstream(In("a.inf")) << "earlier";
        {
            SetAside earlier;
            earlier.Take(In("a.srf"));
            EXPECT_EQ(std::distance(fs::directory_iterator(m_directory), {}), 4);
            EXPECT_FALSE(fs::exists(In("a.srf")) || fs::exists(In("a.inf")));
            if (isReplaced)
                earlier.Remove();
        }
        EXPECT_EQ(fs::exists(In("a.srf")) && fs::exists(In("a.srf.chan")), !isReplaced);
        EXPECT_EQ(std::distance(fs::directory_iterator(m_directory), {}), isReplaced ? 1 : 4);
    }
}

TEST_F(MoxPvr, TakesTwoStopSignalsInARowForOne) {
    FILE *pipe =
        popen(("echo $$; exec " MOXPVR_TOOL " record " MOXPVR_SAMPLE " --service 1 --out " +
               In("a.srf") + " 2>&1")
                  .c_str(),
              "r");
    ASSERT_NE(pipe, nullptr);
    char line[1000] = "";
    ASSERT_NE(std::fgets(line, sizeof line, pipe), nullptr);
    const pid_t tool = std::atoi(line);
    while (std::fgets(line, sizeof line, pipe) != nullptr &&
           std::strstr(line, "first packets") == nullptr)
        continue;
    for (const int signal : {SIGTERM, SIGTERM, SIGINT})
        EXPECT_EQ(::kill(tool, signal), 0);
    while (std::fgets(line, sizeof line, pipe) != nullptr)
        continue;
    EXPECT_EQ(pclose(pipe), 0) << line;
    EXPECT_NE(std::strstr(line, "recorded 00:"), nullptr) << line;
}

TEST_F(MoxPvr, EndsWithOneClearMessageWhenItCannotDoIt) {
    std::ofstream(In("old.srf")) << "precious";
    fs::copy_file(MOXPVR_SAMPLE, In("in.srf"));
    fs::create_hard_link(In("in.srf"), In("x.srf.chan"));
    fs::create_hard_link(In("in.srf"), In("y.inf"));
    std::ofstream(In("own.srf.chan")) << "precious";
    fs::create_directory(In("d.srf.chan"));
    const std::string record = "record " MOXPVR_SAMPLE " --speed max --service ";
    const struct {
        std::string arguments;
        int exitCode;
        std::string said;
    } rows[] = {
        {"services " + In("none.ts"), 1, "none.ts"},
        {"services " + In("no.ts"), 1, "transport stream"},
        {record + "9 --out " + In("a.srf"), 1, "service 9: the input has only 1, 2, 3"},
        {record + "1 --out /dev/full", 1, "detail 153"},
        {record + "1 --out " + In("old.srf"), 1, "--force"},
        {"record " + In("in.srf") + " --service 1 --force --out " + In("in.srf"), 1,
         "input itself"},
        {"record " + In("in.srf") + " --service 1 --force --out " + In("x.srf"), 1,
         "x.srf.chan: it is the input itself"},
        {"record " + In("in.srf") + " --service 1 --force --out " + In("y.srf"), 1,
         "y.inf: it is the input itself"},
        {record + "1 --out " + In("own.srf"), 1, "own.srf.chan: it exists"},
        {record + "1 --force --out " + In("d.srf"), 1, "not a regular file"},
        {"--log " + In("in.srf") + " services " + In("y.inf"), 2, "choose another name"},
        {"--log " + In("./z.inf") + ' ' + record + "1 --out " + In("z.srf"), 2, "beside a file"},
        {record + "1 --out " + std::string(250, 'l') + ".srf", 1, "File name too long"},
        {record + "1 --out /dev/stdout", 2, "own standard output"},
        {record + "1 --out /proc/a.srf", 1, "cannot write /proc/a.srf: No such file"},
        {record + "1 --timeshift --swap-after 3 --out " + In("a.tsb") + " --swap-to " + In("b.srf"),
         2, "--speed"},
        {record + "1 --out " + In("a"), 2, "three letters"},
        {record + "1 --out " + In("none/a.srf"), 1, "none does not exist"},
        {record + "1 --swap-after 3 --out " + In("a.srf"), 2, "--swap-to"},
        {record + "1 --timeshift --swap-after 3 --out " + In("a.tsb") + " --swap-to " +
             In("./a.tsb"),
         2, "buffer itself"},
        {record + "1 --seconds 0 --out " + In("a.srf"), 2, "records nothing"},
        {"record " MOXPVR_SAMPLE, 2, "--service"},
    };
    for (const auto &row : rows) {
        const Outcome run = Run(row.arguments);
        EXPECT_EQ(run.exitCode, row.exitCode) << row.arguments << '\n' << run.output;
        EXPECT_NE(run.output.find(row.said), std::string::npos) << row.arguments << run.output;
    }
    EXPECT_EQ(fs::file_size(In("old.srf")), 8U) << "a refused recording was touched";
    EXPECT_EQ(fs::file_size(In("own.srf.chan")), 8U);
    EXPECT_EQ(fs::hard_link_count(In("in.srf")), 3U) << "a name of the input was taken";
    EXPECT_EQ(fs::file_size(In("in.srf")), fs::file_size(MOXPVR_SAMPLE));
}

TEST_F(MoxPvr, RecordsWholePacketsOfAnyLayoutAndSaysWhatIsMissing) {
    using Packet = std::array<std::uint8_t, 188>;
    const auto isMedia = [](const Packet &packet) {
        return (packet[1] & 0x1F) < 0x10 && packet[2];
    };
    const struct {
        const char *what;
        std::function<void(Packet &, std::size_t)> change;
        std::size_t before, after;
        int exitCode;
        const char *said;
    } rows[] = {
        {"192 bytes", [](Packet &, std::size_t) {}, 4, 0, 0, "recorded 00:29.9"},
        {"204 bytes", [](Packet &, std::size_t) {}, 0, 16, 0, "recorded 00:29.9"},
        {"damaged",
         [](Packet &packet, std::size_t i) {
             if (i == 700)
                 packet[1] |= 0x80;
         },
         0, 0, 0, "left out 1 packet of the source with a transport error"},
        {"without sync",
         [](Packet &packet, std::size_t i) {
             if (i == 700)
                 packet[0] = 0;
         },
         0, 0, 0, "left out about 1 packet of the source"},
        {"scrambled",
         [&](Packet &packet, std::size_t) {
             if (isMedia(packet))
                 packet[3] |= 0x80;
         },
         0, 0, 1, "the service is scrambled"},
        {"without PCR", [](Packet &packet, std::size_t) { packet[5] &= 0xEF; }, 0, 0, 1, "no PCR"},
        {"tables only",
         [&](Packet &packet, std::size_t) {
             if (isMedia(packet))
                 packet[2] = 9;
         },
         0, 0, 1, "none came on the PIDs"},
    };
    for (const auto &row : rows) {
        std::ifstream source(MOXPVR_SAMPLE, std::ios::binary);
        std::ofstream changed(In("changed.ts"), std::ios::binary);
        Packet packet;
        for (std::size_t i = 0; source.read(reinterpret_cast<char *>(packet.data()), 188); ++i) {
            row.change(packet, i);
            changed << std::string(row.before, static_cast<char>(i));
            changed.write(reinterpret_cast<const char *>(packet.data()), 188);
            changed << std::string(row.after, static_cast<char>(i));
        }
        changed.close();
        const bool isKept = row.said == std::string("none came on the PIDs");
        const std::uintmax_t earlier = isKept ? fs::file_size(In("changed.srf")) : 0;
        const Outcome run = Run("record " + In("changed.ts") +
                                " --speed max --force --service 1 --out " + In("changed.srf"));
        EXPECT_EQ(run.exitCode, row.exitCode) << row.what << '\n' << run.output;
        EXPECT_NE(run.output.find(row.said), std::string::npos) << row.what << '\n' << run.output;
        EXPECT_EQ(isKept, earlier == fs::file_size(In("changed.srf"))) << row.what;
        EXPECT_EQ(std::distance(fs::directory_iterator(m_directory), {}), 5) << row.what;
        if (row.before + row.after > 0)
            ExpectWhole(In("changed.srf"), kFirstService);
    }
}

/// The sample, whose first service moves its audio to another PID at the middle.
TEST_F(MoxPvr, FollowsAServiceThatMovesItsAudioToAnotherPid) {
    const Bytes pmt =
        TsBuilder()
            .Pmt(0x1000, 1, 0x101,
                 {{0x1B, 0x101}, {3, 0x112}, {3, 0x103, {10, 4, 'e', 'n', 'g', 3}}}, 0xC3)
            .data;
    std::ifstream source(MOXPVR_SAMPLE, std::ios::binary);
    std::ofstream changed(In("changed.ts"), std::ios::binary);
    const std::uintmax_t middle = fs::file_size(MOXPVR_SAMPLE) / 188 / 2;
    bool isChanged = false;
    std::array<std::uint8_t, 188> packet{};
    for (std::size_t i = 0; source.read(reinterpret_cast<char *>(packet.data()), 188); ++i) {
        const int pid = (packet[1] & 0x1F) << 8 | packet[2];
        isChanged = isChanged || (i > middle && pid == 0x1000);
        if (isChanged && pid == 0x1000)
            std::copy(pmt.begin() + 4, pmt.end(), packet.begin() + 4);
        if (isChanged && pid == 0x102)
            packet[2] = 0x12;
        changed.write(reinterpret_cast<const char *>(packet.data()), 188);
    }
    changed.close();

    std::set<std::uint16_t> pids = kFirstService;
    pids.insert(0x112);
    for (const std::string speed : {"max", "20"}) {
        const Outcome run = Run("record " + In("changed.ts") + " --service 1 --force --speed " +
                                speed + " --out " + In("a.srf"));
        EXPECT_EQ(run.exitCode, 0) << run.output;
        EXPECT_NE(run.output.find("changed its streams at 00:14.9: audio 0x102 -> 0x112\n"),
                  std::string::npos)
            << run.output;
        EXPECT_EQ(DifferenceFromSource(In("a.srf"), In("changed.ts")), "");
        EXPECT_EQ(fs::file_size(In("a.srf")), BytesOf(In("changed.ts"), pids));
    }
    const Outcome play = Run("play --clock 50 " + In("a.srf"));
    EXPECT_EQ(play.exitCode, 0) << play.output;
    EXPECT_NE(play.output.find("audio 0x112"), std::string::npos) << play.output;
    const Outcome repair = Run("repair " + In("a.srf"));
    EXPECT_EQ(repair.output.find("ebuilt"), std::string::npos) << repair.output;
    EXPECT_EQ(Run("services " + In("a.srf")).exitCode, 0);
}

TEST_F(MoxPvr, PlaysToTheEndAndSaysWhenThereIsNothingToSee) {
    ASSERT_EQ(Record("--service 1 --seconds 4 --out " + In("a.srf")).exitCode, 0);
    const Outcome right = Run("play --clock 50 " + In("a.srf"));
    EXPECT_EQ(right.exitCode, 0) << right.output;
    EXPECT_NE(right.output.find("picture and sound"), std::string::npos) << right.output;
    const Outcome wrong = Run("play --clock 50 --video-pid 0x777 " + In("a.srf"));
    EXPECT_EQ(wrong.exitCode, 1);
    EXPECT_NE(wrong.output.find("no picture on video PID 0x777"), std::string::npos);
}

TEST_F(MoxPvr, PlaysWhatTheSideFileDescribesWithoutTables) {
    ASSERT_EQ(Record("--service 1 --seconds 4 --out " + In("a.srf")).exitCode, 0);
    std::ifstream whole(In("a.srf"), std::ios::binary);
    std::ofstream bare(In("bare.srf"), std::ios::binary);
    for (std::array<char, 188> packet; whole.read(packet.data(), packet.size());)
        if ((packet[1] & 0x1F) == 0x01)  // PIDs 0x100 to 0x1FF
            bare.write(packet.data(), packet.size());
    bare.close();
    EXPECT_EQ(Run("play --clock 50 " + In("bare.srf")).exitCode, 1) << "nothing describes it";
    fs::copy_file(In("a.srf.chan"), In("bare.srf.chan"));
    const Outcome run = Run("play --clock 50 " + In("bare.srf"));
    EXPECT_EQ(run.exitCode, 0) << run.output;
    EXPECT_NE(run.output.find("picture and sound  service 1"), std::string::npos) << run.output;
}

TEST_F(MoxPvr, FollowsABufferAsLongAsItsRecorderHoldsIt) {
    ASSERT_EQ(Record("--service 1 --seconds 8 --out " + In("a.srf")).exitCode, 0);
    std::ifstream whole(In("a.srf"), std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(whole), {});
    fs::copy_file(In("a.srf.chan"), In("b.tsb.chan"));
    std::ofstream buffer(In("b.tsb"), std::ios::binary);
    int lock = open(In("b.tsb").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_TRUE(tvdesktop::TakeWriterLock(lock));
    int ends = 0;
    const auto grow = [&](std::size_t from, std::size_t to) {
        buffer.write(&bytes[from], static_cast<std::streamsize>(to - from)).flush();
    };
    const Outcome run =
        Execute(MOXPVR_TOOL " --show-requests play --timeshift --clock 50 " + In("b.tsb"),
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
    ASSERT_EQ(Record("--service 1 --seconds 1 --out " + In("a.srf")).exitCode, 0);
    const struct {
        const char *environment;
        bool hasColour, HasStatusLine;
    } rows[] = {{"TERM=xterm NO_COLOR=", true, true},
                {"TERM=xterm NO_COLOR=1", false, true},
                {"TERM=dumb NO_COLOR=", false, false},
                {"TERM= NO_COLOR=", false, false}};
    const std::string command =
        MOXPVR_TOOL " services " MOXPVR_SAMPLE "; " MOXPVR_TOOL " play --clock 50 " + In("a.srf");
    ASSERT_EQ(setenv("COMMAND", command.c_str(), 1), 0);
    for (const auto &row : rows) {
        const Outcome run = Execute(std::string("env ") + row.environment +
                                    " script -qec \"$COMMAND\" /dev/null </dev/null");
        EXPECT_NE(run.output.find("playing 1x  picture and sound"), std::string::npos);
        EXPECT_EQ(run.output.find("\033[1m") != std::string::npos, row.hasColour) << run.output;
        EXPECT_EQ(run.output.find("\033[K") != std::string::npos, row.HasStatusLine) << run.output;
        EXPECT_EQ(run.output.find('\033') != std::string::npos, row.HasStatusLine) << run.output;
    }
}

TEST_F(MoxPvr, RefusesACommandLineThatItCannotCarryOut) {
    ASSERT_EQ(Record("--service 1 --seconds 1 --out " + In("a.srf")).exitCode, 0);
    ASSERT_EQ(mkfifo(In("fifo").c_str(), 0600), 0);
    const std::string play = "play --clock 50 ";
    const std::pair<std::string, std::string> rows[] = {
        {"fly " MOXPVR_SAMPLE, "'fly' is neither a verb nor an option"},
        {"", "without a verb"},
        {"services " MOXPVR_SAMPLE " more", "not expected: more"},
        {play + "--speed nan " + In("a.srf"), "'nan' is not a speed"},
        {play + "--speed -inf " + In("a.srf"), "'-inf' is not a speed"},
        {"play --clock nan " + In("a.srf"), "'nan' is not a factor"},
        {"play --clock -1 " + In("a.srf"), "'-1' is not a factor"},
        {"record " MOXPVR_SAMPLE " --service 1 --speed nan --out " + In("b.srf"), "'nan' is not"},
        {"--log-level 3 services " MOXPVR_SAMPLE, "write trace"},
        {"--log " + In("none/log") + " services " MOXPVR_SAMPLE, "No such file or directory"},
        {play + In("none.srf"), "No such file or directory"},
        {play + In("fifo"), "not a regular file"},
        {play + In("no.ts"), "not a transport stream"},
        {play + "--from 9 " + In("a.srf"), "the recording ends at 00:01.0"},
        {"demo --input " + In("a.srf"), "too short"},
        {"demo --out " + In("a.srf"), "cannot use the directory"},
    };
    for (const auto &[arguments, said] : rows) {
        const Outcome run = Run(arguments);
        EXPECT_NE(run.exitCode, 0) << arguments;
        EXPECT_NE(run.output.find("mox-pvr: "), std::string::npos) << arguments << run.output;
        EXPECT_NE(run.output.find(said), std::string::npos) << arguments << run.output;
    }
    const std::string verbs[] = {"--help", "services " MOXPVR_SAMPLE, play + In("a.srf"),
                                 "repair " + In("a.srf")};
    for (const std::string &verb : verbs)
        EXPECT_EQ(Execute(MOXPVR_TOOL " " + verb + " >/dev/full").exitCode, 1) << verb;
}

TEST_F(MoxPvr, DemoMeetsEveryExpectation) {
    const Outcome run = Run("demo --input " MOXPVR_SAMPLE);
    EXPECT_EQ(run.exitCode, 0) << run.output;
}

}  // namespace
}  // namespace tool
