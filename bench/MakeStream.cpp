// Makes a stream of one service with a PCR every 40 ms, as large as wanted.
//
//   make_stream FILE MIB MBITS [half]    half: every second packet belongs to no service
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "TsBuilder.h"

int main(int argc, char **argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: %s FILE MIB MBITS [half]\n", argv[0]);
        return 2;
    }
    const std::uint64_t size = std::strtoull(argv[2], nullptr, 10) << 20;
    const auto packets = static_cast<int>(std::atof(argv[3]) * 1e6 / 8 * 0.04 / 188);
    const bool isHalf = argc > 4 && std::strcmp(argv[4], "half") == 0;
    std::FILE *file = std::fopen(argv[1], "wb");
    if (file == nullptr)
        return 1;
    TsBuilder filler;
    for (int i = 0; i < packets; ++i)
        filler.Media(isHalf && i % 2 == 1 ? 0x200 : 0x100);
    std::uint64_t written = 0;
    for (std::int64_t pcr = 0; written < size; pcr += 40 * kMs) {
        TsBuilder stream;
        stream.Pat({{1, 0x30}}).Pmt(0x30, 1, 0x100, {{0x1B, 0x100}, {0x03, 0x101}});
        stream.Pcr(0x100, pcr, true);
        stream.Media(0x101, 1, true).data[stream.data.size() - 188 + 7] = 0xC0;
        stream.data.insert(stream.data.end(), filler.data.begin(), filler.data.end());
        if (std::fwrite(stream.data.data(), 1, stream.data.size(), file) != stream.data.size())
            return 1;
        written += stream.data.size();
    }
    return std::fclose(file) == 0 ? 0 : 1;
}
