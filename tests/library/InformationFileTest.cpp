// The information file beside a recording.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "InstanceTest.h"
#include "TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;

class InformationFileTest : public PlaybackTest {
  protected:
    void SetUp() override {
        PlaybackTest::SetUp();
        m_folder = TemporaryFolder() + "inf-" +
                   testing::UnitTest::GetInstance()->current_test_info()->name() + '/';
        fs::create_directories(m_folder);
    }
    void TearDown() override { fs::remove_all(m_folder); }

    /// An information file of `size` bytes, each field filled as far as it reaches.
    void Write(const std::string &path, std::size_t size, unsigned int channelType = 3) {
        std::string content(11000, '\x7f');
        const unsigned char pids[] = {1, 1, 0, 0x80, 2, 1, 0, 0, 3, 1, 0, 0};  // video, PCR, audio
        content.replace(798, 12, reinterpret_cast<const char *>(pids), 12);
        content[824] = static_cast<char>(channelType);
        content[825] = static_cast<char>(channelType >> 8);
        std::ofstream(path, std::ios::binary) << content.substr(0, size);
    }

    std::string FileType(const std::string &recording) {
        moxpvr::playback::SetProperty open;
        EXPECT_TRUE(open.path.Set(recording));
        moxpvr::RequestText text(open);
        Send(reinterpret_cast<char *>(text.data()), text.size(), nullptr);
        Fake().All();
        auto type = static_cast<IMOXPVRPlayback::eRecordedFileType>(9);
        const unsigned int result = m_instance.GetFileType(type);
        return Format("%u %u", result, type);
    }

    std::string Pids(const std::string &recording) {
        unsigned int video = 9, audio = 9, pcr = 9;
        const unsigned int result = m_instance.GetPidPropertyByUri(recording, video, audio, pcr);
        return Format("%u %x %x %x", result, video, audio, pcr);
    }

    std::string m_folder;
};

TEST_F(InformationFileTest, ReadsWhatTheFileHolds) {
    struct Row {
        std::size_t size;
        const char *pids;
        const char *type;
    };
    const Row rows[] = {{1, "0 0 0 0", "0 0"},
                        {100, "0 0 0 0", "0 0"},
                        {798, "0 0 0 0", "0 0"},
                        {799, "0 1 0 0", "0 0"},
                        {801, "0 101 0 0", "0 0"},
                        {802, "0 80000101 0 0", "0 0"},
                        {804, "0 80000101 0 102", "0 0"},
                        {807, "0 80000101 3 102", "0 0"},
                        {810, "0 80000101 103 102", "0 0"},
                        {824, "0 80000101 103 102", "0 0"},
                        {825, "0 80000101 103 102", "0 1"},
                        {11000, "0 80000101 103 102", "0 1"}};
    for (const Row &row : rows) {
        Write(m_folder + "a.inf", row.size);
        EXPECT_EQ(Pids(m_folder + "a.srf"), row.pids) << row.size;
        EXPECT_EQ(FileType(m_folder + "a.srf"), row.type) << row.size;
    }
    for (const auto &[channelType, type] : {std::pair(0U, "0 0"),
                                            {1U, "0 1"},
                                            {2U, "0 0"},
                                            {4U, "0 0"},
                                            {5U, "0 0"},
                                            {0x101U, "0 0"}}) {
        Write(m_folder + "a.inf", 826, channelType);
        EXPECT_EQ(FileType(m_folder + "a.ts4"), type) << channelType;
    }
}

TEST_F(InformationFileTest, ReportsEveryStep) {
    const auto expect = [this](const char *operation, const std::string &journal) {
        Expect(operation, "4 [FAT]|the path of inf file is [" + m_folder + "a.inf]\n" + journal);
    };
    const std::string recording = m_folder + "a.srf";
    EXPECT_EQ(Pids(recording), "1 9 9 9");
    expect("GetPidPropertyByUri", "16 the file path of srf is null");
    EXPECT_EQ(FileType(recording), "1 9");
    expect("GetFileType", "16 the file path of srf is null");
    Write(m_folder + "a.inf", 0);
    EXPECT_EQ(Pids(recording), "1 9 9 9");
    expect("GetPidPropertyByUri", "4 the file path of srf exists; 16 [FAT]fread failed, ret [0]");
    Write(m_folder + "a.inf", 826);
    EXPECT_EQ(FileType(recording), "0 1");
    expect("GetFileType",
           "4 the file path of srf exists; 16 [FAT]ATV channel; 16 ChannelType:3 fileType:1");
}

TEST_F(InformationFileTest, ReadsOnlyARegularFileAndNeverWaitsForAnother) {
    const std::string name = m_folder + "a.inf";
    const std::pair<std::function<int(const char *)>, std::string> others[] = {
        {[](auto path) { return mkfifo(path, 0600); }, "[FAT]fopen failed [" + name + "]"},
        {[](auto path) { return mkdir(path, 0700); }, "[FAT]fopen failed [" + name + "]"},
        {[](auto path) { return mknod(path, S_IFSOCK, 0); }, "[FAT]fopen failed [" + name + "]"},
        {[](auto path) { return symlink("/dev/zero", path); }, "[FAT]fopen failed [" + name + "]"},
        // Regular, and unreadable at its start.
        {[](auto path) { return symlink("/proc/self/mem", path); }, "[FAT]fread failed, ret [0]"},
    };
    for (const auto &[make, reason] : others) {
        ASSERT_EQ(make(name.c_str()), 0);
        EXPECT_EQ(FileType(m_folder + "a.srf"), "1 9");
        EXPECT_THAT(Fake().All(),
                    testing::EndsWith("16 GetFileType(MoxPvrPlayback): " + reason + '\n'));
        EXPECT_EQ(Pids(m_folder + "a.srf"), "1 9 9 9");
        fs::remove(name);
    }
    Write(m_folder + "b", 826);
    fs::create_symlink("b", name);
    EXPECT_EQ(Pids(m_folder + "a.srf"), "0 80000101 103 102");
}

TEST_F(InformationFileTest, DerivesItsPath) {
    const std::string fill = m_folder + std::string(100, 'x') + '/';
    fs::create_directories(fill);
    const std::string cut = fill + std::string(252 - fill.size(), 'n');
    Write(cut + "inf", 826);
    for (const char *rest : {"srf", "ts?", "srf.and.more"})
        EXPECT_EQ(Pids(cut + rest), "0 80000101 103 102") << rest;
    const fs::path before = fs::current_path();
    fs::current_path(m_folder);
    for (const char *name : {"inf", "nf", "f"})
        Write(name, 826);
    EXPECT_EQ(Pids("srf"), "0 80000101 103 102");
    for (const char *name : {"rf", "f", ""})
        EXPECT_EQ(Pids(name), "1 9 9 9") << name;
    CMOXPVRPlayback fresh;
    auto type = static_cast<IMOXPVRPlayback::eRecordedFileType>(9);
    EXPECT_EQ(fresh.GetFileType(type), 1U);
    EXPECT_EQ(type, 9U);
    fs::current_path(before);
}

}  // namespace
