// Files that lie: whatever they say, the reader refuses them or reads on inside of them.
#include "ElfLibrary.h"

#include <gtest/gtest.h>
#include <link.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

namespace doctor {
namespace {

using Bytes = std::vector<unsigned char>;

Bytes TheLibrary() {
    std::ifstream file(MOXPVR_LIBRARY, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool IsTaken(const Bytes &bytes) {
    try {
        ParseElf(bytes);
        return true;
    } catch (const NotALibrary &) {
        return false;
    }
}

ElfW(Phdr) DynamicSegment(const Bytes &bytes) {
    ElfW(Ehdr) header;
    std::memcpy(&header, bytes.data(), sizeof header);
    ElfW(Phdr) segment{};
    for (std::size_t i = 0; segment.p_type != PT_DYNAMIC; ++i)
        std::memcpy(&segment, &bytes[header.e_phoff + i * sizeof segment], sizeof segment);
    return segment;
}

TEST(ElfLibrary, IsReadByItsDynamicSegmentAlone) {
    Bytes bytes = TheLibrary();
    const ElfLibrary whole = ParseElf(bytes);
    EXPECT_TRUE(whole.machine == ThisMachine());
    EXPECT_EQ(std::count(whole.exported.begin(), whole.exported.end(), "_Z15mox_pvr_versionv"), 1);
    EXPECT_EQ(std::count(whole.required.begin(), whole.required.end(), "tv_recorder_start"), 1);
    ElfW(Ehdr) header;
    std::memcpy(&header, bytes.data(), sizeof header);
    header.e_shoff = ~header.e_shoff;
    header.e_shnum = 0xFFFF;
    std::memcpy(bytes.data(), &header, sizeof header);
    EXPECT_EQ(ParseElf(bytes).exported, whole.exported);
    header.e_phnum = 1;
    std::memcpy(bytes.data(), &header, sizeof header);
    EXPECT_FALSE(IsTaken(bytes)) << "the dynamic segment is not the first";
}

TEST(ElfLibrary, IsRefusedWhenCutShort) {
    const Bytes whole = TheLibrary();
    for (std::size_t size = 0; size < 4096; ++size)
        EXPECT_FALSE(IsTaken({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)}))
            << size;
}

TEST(ElfLibrary, HasAnEndOfItsEntriesOrTheirSegment) {
    Bytes bytes = TheLibrary();
    const std::size_t needed = ParseElf(bytes).needed.size();
    const ElfW(Phdr) segment = DynamicSegment(bytes);
    const ElfW(Dyn) end{DT_NULL, {0}};
    const ElfW(Dyn) another{DT_NEEDED, {0}};
    std::vector<std::size_t> ends;  // the linker leaves some spare entries
    for (std::size_t at = 0; at < segment.p_filesz; at += sizeof end)
        if (std::memcmp(&bytes[segment.p_offset + at], &end, sizeof end) == 0)
            ends.push_back(segment.p_offset + at);
    ASSERT_GT(ends.size(), 1U);
    for (std::size_t i = ends.size(); i-- > 0;) {
        EXPECT_EQ(ParseElf(bytes).needed.size(), needed) << "entries after the end";
        std::memcpy(&bytes[ends[i]], &another, sizeof another);
    }
    EXPECT_EQ(ParseElf(bytes).needed.size(), needed + ends.size()) << "no end but the segment's";
}

TEST(ElfLibrary, IsReadInsideOfItsBytesWhateverTheySay) {
    Bytes bytes = TheLibrary();
    const std::size_t dynamic = DynamicSegment(bytes).p_offset;
    const std::pair<std::size_t, std::size_t> places[] = {
        {0, 4096},  // headers, hash table and symbols come first
        {dynamic, dynamic + 512},
    };
    for (const auto &[from, to] : places) {
        int refused = 0;
        for (std::size_t at = from; at + 4 <= to; at += 4)
            for (const unsigned int lie : {0xFFFFFFFFU, 0x7FFFFFFFU, 0x10000U, 1U}) {
                unsigned char truth[4];
                std::memcpy(truth, &bytes[at], 4);
                std::memcpy(&bytes[at], &lie, 4);
                refused += IsTaken(bytes) ? 0 : 1;
                std::memcpy(&bytes[at], truth, 4);
            }
        EXPECT_GT(refused, 10) << from;
    }
}

}  // namespace
}  // namespace doctor
