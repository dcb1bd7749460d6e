// The codec beside its floor, a plain copy of the text, and beside libraries for the same work
// where they are installed.
#include <benchmark/benchmark.h>
#include <MoxPvr.h>
#ifdef MOXPVR_BENCH_SODIUM
#include <sodium.h>
#endif
#ifdef MOXPVR_BENCH_OPENSSL
#include <openssl/crypto.h>
#endif

#include <cstring>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

/// Digits in an order that no processor foresees.
std::string Digits(std::int64_t length) {
    std::string text(static_cast<std::size_t>(length), '0');
    unsigned int random = 1;
    for (char &digit : text) {
        random = random * 1103515245 + 12345;
        digit = "0123456789abcdef"[random >> 16 & 0x0F];
    }
    return text;
}

/// Runs `decode(text, length, bytes)` over texts of the length that the benchmark is run for.
template <typename Decoder>
void RunDecoder(benchmark::State &state, Decoder &&decode) {
    std::string text = Digits(state.range(0));
    Bytes bytes(text.size());
    const volatile std::size_t length = text.size();  // so that no copy is made for it alone
    while (state.KeepRunning()) {
        decode(text.data(), length, bytes.data());
        benchmark::DoNotOptimize(bytes.data());
        benchmark::ClobberMemory();
    }
}

/// The same of `encode(bytes, length, text)`.
template <typename Encoder>
void RunEncoder(benchmark::State &state, Encoder &&encode) {
    Bytes bytes(static_cast<std::size_t>(state.range(0)), 0x7F);
    std::vector<char> text(2 * bytes.size() + 1);
    const volatile std::size_t length = bytes.size();  // so that no copy is made for it alone
    while (state.KeepRunning()) {
        encode(bytes.data(), length, text.data());
        benchmark::DoNotOptimize(text.data());
        benchmark::ClobberMemory();
    }
}

void RequestLengths(benchmark::internal::Benchmark *decoder) {
    decoder->Arg(8)->Arg(32)->Arg(544)->Arg(16384);
}

void ReplyLengths(benchmark::internal::Benchmark *encoder) {
    encoder->Arg(4)->Arg(12);
}

void DecodeFloor(benchmark::State &state) {
    RunDecoder(state, [](const char *text, std::size_t length, unsigned char *bytes) {
        std::memcpy(bytes, text, length);
    });
}
BENCHMARK(DecodeFloor)->Apply(RequestLengths);

void Decode(benchmark::State &state) {
    RunDecoder(state, [](char *text, std::size_t length, unsigned char *bytes) {
        int decoded = 0;
        parse_string_to_buf(text, static_cast<int>(length), bytes, &decoded);
    });
}
BENCHMARK(Decode)->Apply(RequestLengths);

void EncodeFloor(benchmark::State &state) {
    const std::string text = Digits(2 * state.range(0) + 1);
    RunEncoder(state, [&](const unsigned char *, std::size_t length, char *to) {
        std::memcpy(to, text.data(), 2 * length + 1);
    });
}
BENCHMARK(EncodeFloor)->Apply(ReplyLengths);

void Encode(benchmark::State &state) {
    RunEncoder(state, [](unsigned char *bytes, std::size_t length, char *text) {
        unsigned int encoded = 0;
        build_buf_to_string(bytes, static_cast<unsigned int>(length), text, &encoded);
    });
}
BENCHMARK(Encode)->Apply(ReplyLengths);

#ifdef MOXPVR_BENCH_SODIUM
void DecodeSodium(benchmark::State &state) {
    RunDecoder(state, [](const char *text, std::size_t length, unsigned char *bytes) {
        sodium_hex2bin(bytes, length, text, length, nullptr, nullptr, nullptr);
    });
}
BENCHMARK(DecodeSodium)->Apply(RequestLengths);

void EncodeSodium(benchmark::State &state) {
    RunEncoder(state, [](const unsigned char *bytes, std::size_t length, char *text) {
        sodium_bin2hex(text, 2 * length + 1, bytes, length);
    });
}
BENCHMARK(EncodeSodium)->Apply(ReplyLengths);
#endif

#ifdef MOXPVR_BENCH_OPENSSL
void DecodeOpenssl(benchmark::State &state) {
    RunDecoder(state, [](const char *text, std::size_t length, unsigned char *bytes) {
        std::size_t decoded = 0;  // its text ends with a NUL, as a std::string's does
        OPENSSL_hexstr2buf_ex(bytes, length, &decoded, text, '\0');
    });
}
BENCHMARK(DecodeOpenssl)->Apply(RequestLengths);

void EncodeOpenssl(benchmark::State &state) {
    RunEncoder(state, [](const unsigned char *bytes, std::size_t length, char *text) {
        std::size_t encoded = 0;
        OPENSSL_buf2hexstr_ex(text, 2 * length + 1, &encoded, bytes, length, '\0');
    });
}
BENCHMARK(EncodeOpenssl)->Apply(ReplyLengths);
#endif

}  // namespace
