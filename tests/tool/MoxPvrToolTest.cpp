// The built mox-pvr from its command line to its files, on the sample stream.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Failure.h"
#include "PacketFile.h"
#include "TemporaryFolder.h"

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
        Outcome outcome;
        FILE *pipe = popen((MOXPVR_TOOL " " + arguments + " 2>&1").c_str(), "r");
        char buffer[4096];
        while (pipe != nullptr && std::fgets(buffer, sizeof buffer, pipe) != nullptr)
            outcome.output += buffer;
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
    const Outcome run = Run("record " MOXPVR_SAMPLE " --speed 20 --service 1 --timeshift --out " +
                            In("t.tsb") + " --swap-after 5 --swap-to " + In("kept.srf"));
    ASSERT_EQ(run.exitCode, 0) << run.output;
    ExpectWhole(In("kept.srf"), kFirstService);
    EXPECT_TRUE(fs::exists(In("kept.inf")));
    EXPECT_FALSE(fs::exists(In("t.inf"))) << "the information file of a buffer that is gone";
}

TEST_F(MoxPvr, EndsWithOneClearMessageWhenItCannotDoIt) {
    std::ofstream(In("old.srf")) << "precious";
    fs::copy_file(MOXPVR_SAMPLE, In("in.srf"));
    const std::string record = "record " MOXPVR_SAMPLE " --speed max --service ";
    const struct {
        std::string arguments;
        int exitCode;
        std::string said;
    } rows[] = {
        {"services " + In("none.ts"), 1, "none.ts"},
        {"services " + In("no.ts"), 1, "transport stream"},
        {record + "9 --out " + In("a.srf"), 1, "no service 9 in the input; it has 1, 2, 3"},
        {record + "1 --out /dev/full", 1, "detail 153"},
        {record + "1 --out " + In("old.srf"), 1, "--force"},
        {"record " + In("in.srf") + " --service 1 --force --out " + In("in.srf"), 1,
         "input itself"},
        {record + "1 --out " + In("a"), 2, "three letters"},
        {record + "1 --out " + In("none/a.srf"), 1, "none' does not exist"},
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
    EXPECT_EQ(fs::file_size(In("in.srf")), fs::file_size(MOXPVR_SAMPLE));
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

TEST_F(MoxPvr, DemoMeetsEveryExpectation) {
    const Outcome run = Run("demo --input " MOXPVR_SAMPLE);
    EXPECT_EQ(run.exitCode, 0) << run.output;
}

}  // namespace
}  // namespace tool
